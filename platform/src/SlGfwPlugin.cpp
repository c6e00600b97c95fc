#include "SlGfwPlugin.h"

#include <algorithm>

SlGfwPlugin::SlGfwPlugin(const QString& name) : m_name(name) {}

SlGfwPlugin::~SlGfwPlugin() = default;

long SlGfwPlugin::queryInterface(const QUuid& id, void** result)
{
    if (!result)
        return -1;
    *result = nullptr;
    if (id == SL_GFW_IID_PLUGIN()) {
        *result = this;
        return 0;
    }
    return SL_GFW_E_NOINTERFACE;
}

void SlGfwPlugin::registerObject(QObject* object)
{
    if (!object)
        return;
    // Drop entries of objects that are gone, so a long session that makes
    // and deletes many objects does not grow the list for ever.
    m_objects.erase(std::remove_if(m_objects.begin(), m_objects.end(),
                                   [](const QPointer<QObject>& p) { return p.isNull(); }),
                    m_objects.end());
    m_objects.append(object);
}

QList<QObject*> SlGfwPlugin::registeredObjects() const
{
    QList<QObject*> alive;
    for (const QPointer<QObject>& p : m_objects)
        if (p)
            alive.append(p.data());
    return alive;
}

#include "SlGfwPluginByMakroBaseV2.h"

#include <QObject>
#include <QWidget>

SlGfwPluginByMakroBaseV2::SlGfwPluginByMakroBaseV2(const QString& name) : SlGfwPlugin(name) {}

SlGfwPluginByMakroBaseV2::~SlGfwPluginByMakroBaseV2()
{
    qDeleteAll(m_creators);
}

void SlGfwPluginByMakroBaseV2::registerCreator(SlGfwCreatorBaseV2* creator)
{
    if (creator)
        m_creators.append(creator);
}

long SlGfwPluginByMakroBaseV2::queryInterface(const QUuid& id, void** result)
{
    if (!result)
        return -1;
    *result = nullptr;
    // Each interface is a different sub-object, so the pointer must be cast
    // to exactly the type the caller will use it as.
    if (id == SL_GFW_IID_PLUGIN())
        *result = static_cast<SlGfwPlugin*>(this);
    else if (id == SL_GFW_IID_GUI_COMPONENT_FACTORY())
        *result = static_cast<SlGfwGuiComponentFactory*>(this);
    else if (id == SL_GFW_IID_DIALOG_FORM_FACTORY())
        *result = static_cast<SlGfwDialogFormFactory*>(this);
    else if (id == SL_GFW_IID_PANEL_FORM_FACTORY())
        *result = static_cast<SlGfwPanelFormFactory*>(this);
    else if (id == SL_GFW_IID_SCREEN_FACTORY())
        *result = static_cast<SlGfwScreenFactory*>(this);
    else if (id == SL_GFW_IID_SOFTKEY_FACTORY())
        *result = static_cast<SlGfwSoftkeyFactory*>(this);
    else if (id == SL_GFW_IID_DIALOG_BAR_FACTORY())
        *result = static_cast<SlGfwDialogBarFactory*>(this);
    else if (id == SL_GFW_IID_FUNCTION_BLOCK_FACTORY())
        *result = static_cast<SlGfwFunctionBlockFactory*>(this);
    else
        return SL_GFW_E_NOINTERFACE;
    return 0;
}

SlGfwCreatorBaseV2* SlGfwPluginByMakroBaseV2::findCreator(int rtti, const QString& className) const
{
    for (SlGfwCreatorBaseV2* c : m_creators)
        if (c->rtti() == rtti && c->className() == className)
            return c;
    return nullptr;
}

QStringList SlGfwPluginByMakroBaseV2::classesOf(int rtti) const
{
    QStringList names;
    for (const SlGfwCreatorBaseV2* c : m_creators)
        if (c->rtti() == rtti)
            names << c->className();
    return names;
}

QObject* SlGfwPluginByMakroBaseV2::createGuiComponent(const QString& className, QObject* parent, const QString& name)
{
    for (int rtti : {2, 3, 1}) {
        if (SlGfwCreatorBaseV2* c = findCreator(rtti, className)) {
            QObject* object = c->createObject(parent, name);
            registerObject(object);
            return object;
        }
    }
    return nullptr;
}

QStringList SlGfwPluginByMakroBaseV2::guiComponentClasses() const
{
    return classesOf(1) + classesOf(2) + classesOf(3);
}

QWidget* SlGfwPluginByMakroBaseV2::createWidgetOf(int rtti, const QString& className, QWidget* parent,
                                                  const QString& name)
{
    SlGfwCreatorBaseV2* c = findCreator(rtti, className);
    if (!c)
        return nullptr;
    QWidget* widget = c->createWidget(parent, name);
    registerObject(widget);
    return widget;
}

QWidget* SlGfwPluginByMakroBaseV2::createDialogForm(const QString& className, QWidget* parent, const QString& name)
{
    return createWidgetOf(10, className, parent, name);
}
QStringList SlGfwPluginByMakroBaseV2::dialogFormClasses() const { return classesOf(10); }

QWidget* SlGfwPluginByMakroBaseV2::createPanelForm(const QString& className, QWidget* parent, const QString& name)
{
    return createWidgetOf(11, className, parent, name);
}
QStringList SlGfwPluginByMakroBaseV2::panelFormClasses() const { return classesOf(11); }

QObject* SlGfwPluginByMakroBaseV2::createScreen(const QString& className, SlGfwHmiDialog* parent, const QString& name)
{
    SlGfwCreatorBaseV2* c = findCreator(20, className);
    if (!c)
        return nullptr;
    QObject* object = c->createScreen(parent, name);
    registerObject(object);
    return object;
}
QStringList SlGfwPluginByMakroBaseV2::screenClasses() const { return classesOf(20); }

QWidget* SlGfwPluginByMakroBaseV2::createSoftkey(const QString& className, QWidget* parent, const QString& name)
{
    return createWidgetOf(40, className, parent, name);
}
QStringList SlGfwPluginByMakroBaseV2::softkeyClasses() const { return classesOf(40); }

QWidget* SlGfwPluginByMakroBaseV2::createDialogBar(const QString& className, QWidget* parent, const QString& name)
{
    return createWidgetOf(80, className, parent, name);
}
QStringList SlGfwPluginByMakroBaseV2::dialogBarClasses() const { return classesOf(80); }

QWidget* SlGfwPluginByMakroBaseV2::createFunctionBlock(const QString& className, QWidget* parent,
                                                       const QString& name)
{
    return createWidgetOf(81, className, parent, name);
}
QStringList SlGfwPluginByMakroBaseV2::functionBlockClasses() const { return classesOf(81); }

int SlGfwPluginByMakroBaseV2::metaType(const QString& className) const
{
    for (const SlGfwCreatorBaseV2* c : m_creators) {
        if (c->className() != className)
            continue;
        switch (c->rtti()) {
        case 1: return 1;
        case 2: return 2;
        case 3: return 3;
        case 10: return 16;
        case 11: return 17;
        case 20: return 32;
        case 40: return 64;
        case 80: return 128;
        case 81: return 129;
        default: return 0;
        }
    }
    return 0;
}

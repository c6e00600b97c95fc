#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QUuid>

// Result of queryInterface for an id the plug-in does not implement.
constexpr long SL_GFW_E_NOINTERFACE = static_cast<long>(0x80000003L);

// Interface ids a host passes to SlGfwPlugin::queryInterface.
inline QUuid SL_GFW_IID_PLUGIN() { return QUuid(QStringLiteral("{a5de2c68-6aaa-4479-9062-369b62052eaa}")); }
inline QUuid SL_GFW_IID_GUI_COMPONENT_FACTORY() { return QUuid(QStringLiteral("{24442ea6-c087-4801-80c7-12f385acfdb3}")); }
inline QUuid SL_GFW_IID_DIALOG_FORM_FACTORY() { return QUuid(QStringLiteral("{a2025d53-e7a8-4941-bad4-25399dc3d201}")); }
inline QUuid SL_GFW_IID_PANEL_FORM_FACTORY() { return QUuid(QStringLiteral("{ee23ac07-97c0-4d16-aa8b-bee32e5b44dd}")); }
inline QUuid SL_GFW_IID_SCREEN_FACTORY() { return QUuid(QStringLiteral("{d0d67d4b-5429-490c-a8d9-196cfe05f74f}")); }
inline QUuid SL_GFW_IID_SOFTKEY_FACTORY() { return QUuid(QStringLiteral("{14c89d6a-2499-4616-b579-8e1fe863c806}")); }
inline QUuid SL_GFW_IID_DIALOG_BAR_FACTORY() { return QUuid(QStringLiteral("{14d1493d-0808-4c59-be3f-8f47876696cb}")); }
inline QUuid SL_GFW_IID_FUNCTION_BLOCK_FACTORY() { return QUuid(QStringLiteral("{dbf00d9a-76d4-4498-ba81-e8253a087744}")); }

// The object a plug-in library hands out through sl_gfw_instantiate_plugin.
// The host asks it for interfaces by id; everything the plug-in makes is
// registered here so the host can tell which objects came from which
// library before it unloads one.
class SlGfwPlugin
{
public:
    explicit SlGfwPlugin(const QString& name = QString());
    virtual ~SlGfwPlugin();

    QString pluginName() const { return m_name; }

    // 0 and *result set for a known id; SL_GFW_E_NOINTERFACE with *result
    // null for an unknown one; -1 for a null result pointer.
    virtual long queryInterface(const QUuid& id, void** result);

    void registerObject(QObject* object);
    // The objects made through this plug-in that still exist.
    QList<QObject*> registeredObjects() const;

private:
    QString m_name;
    QList<QPointer<QObject>> m_objects;
};

// Signatures of the two C entry points a plug-in library exports.
extern "C" {
typedef SlGfwPlugin* (*SlGfwInstantiatePluginFn)();
typedef const char* (*SlVerGetVersionFn)();
}

#include "HmiPluginLibrary.h"

#include "SlGfwDialogFormFactory.h"
#include "SlGfwGuiComponentFactory.h"
#include "SlGfwPlugin.h"

#include <QFileInfo>

HmiPluginLibrary::HmiPluginLibrary(const QString& path) : m_library(path) {}

HmiPluginLibrary::~HmiPluginLibrary()
{
    delete m_plugin;
}

bool HmiPluginLibrary::load(QString& error)
{
    const QString path = m_library.fileName();
    if (!QFileInfo(path).isFile()) {
        error = QStringLiteral("plug-in library %1 does not exist").arg(path);
        return false;
    }
    if (!m_library.load()) {
        error = QStringLiteral("cannot load plug-in library %1: %2").arg(path, m_library.errorString());
        return false;
    }
    auto instantiate = reinterpret_cast<SlGfwInstantiatePluginFn>(m_library.resolve("sl_gfw_instantiate_plugin"));
    if (!instantiate) {
        error = QStringLiteral("plug-in library %1 exports no sl_gfw_instantiate_plugin").arg(path);
        return false;
    }
    if (auto version = reinterpret_cast<SlVerGetVersionFn>(m_library.resolve("slVerGetVersion"))) {
        if (const char* text = version())
            m_version = QString::fromLatin1(text).section(QLatin1Char('\n'), 1, 1).trimmed();
    }
    m_plugin = instantiate();
    if (!m_plugin) {
        error = QStringLiteral("sl_gfw_instantiate_plugin of %1 returned no plug-in").arg(path);
        return false;
    }
    void* iface = nullptr;
    if (m_plugin->queryInterface(SL_GFW_IID_GUI_COMPONENT_FACTORY(), &iface) != 0 || !iface) {
        error = QStringLiteral("plug-in %1 offers no gui component interface").arg(path);
        return false;
    }
    m_components = static_cast<SlGfwGuiComponentFactory*>(iface);
    iface = nullptr;
    if (m_plugin->queryInterface(SL_GFW_IID_DIALOG_FORM_FACTORY(), &iface) != 0 || !iface) {
        error = QStringLiteral("plug-in %1 offers no dialog form interface").arg(path);
        return false;
    }
    m_forms = static_cast<SlGfwDialogFormFactory*>(iface);
    return true;
}

#pragma once

#include <QLibrary>
#include <QString>

class SlGfwDialogFormFactory;
class SlGfwGuiComponentFactory;
class SlGfwPlugin;

// One plug-in library: loaded, asked for its plug-in object through
// sl_gfw_instantiate_plugin and for the factories the operator interface
// uses. The library stays loaded for the life of the process: objects it
// made may still be referenced by Qt's meta data after they are gone.
class HmiPluginLibrary
{
public:
    explicit HmiPluginLibrary(const QString& path);
    ~HmiPluginLibrary();
    HmiPluginLibrary(const HmiPluginLibrary&) = delete;
    HmiPluginLibrary& operator=(const HmiPluginLibrary&) = delete;

    bool load(QString& error);

    QString path() const { return m_library.fileName(); }
    QString version() const { return m_version; }
    SlGfwPlugin* plugin() const { return m_plugin; }
    SlGfwGuiComponentFactory* guiComponents() const { return m_components; }
    SlGfwDialogFormFactory* dialogForms() const { return m_forms; }

private:
    QLibrary m_library;
    SlGfwPlugin* m_plugin = nullptr;
    SlGfwGuiComponentFactory* m_components = nullptr;
    SlGfwDialogFormFactory* m_forms = nullptr;
    QString m_version;
};

#include "HmiFramework.h"

#include "HmiErrorForm.h"
#include "HmiPluginLibrary.h"
#include "SlGfwDialogForm.h"
#include "SlGfwDialogFormFactory.h"
#include "SlGfwGuiComponentFactory.h"
#include "SlGfwHmiDialog.h"

#include <QDir>
#include <QFileInfo>
#include <QtDebug>

HmiFramework::HmiFramework(QObject* parent) : QObject(parent) {}

HmiFramework::~HmiFramework()
{
    shutdown();
}

void HmiFramework::beginClosing()
{
    for (Area* a : qAsConst(m_areas))
        if (a->dialog)
            a->dialog->setClosing(true);
}

void HmiFramework::shutdown()
{
    beginClosing();
    for (Area* a : qAsConst(m_areas)) {
        if (a->dialog) {
            a->dialog->teardown();
            delete a->dialog.data();
        }
    }
    qDeleteAll(m_areas);
    m_areas.clear();
    m_current = -1;
    // The plug-in objects go after everything they made.
    qDeleteAll(m_libraries);
    m_libraries.clear();
}

int HmiFramework::addArea(std::unique_ptr<Area> area, const SlGfwAreaConfig& config)
{
    Area* a = area.release();
    m_areas.append(a);
    const int index = m_areas.size() - 1;
    connect(a->dialog, &SlGfwHmiDialog::activeScreenChanged, this,
            [this, dialog = a->dialog](const QString& screen) { emit activeScreenChanged(dialog, screen); });
    a->dialog->setupArea(a->name, config, this);
    emit areaAdded(index);
    return index;
}

void HmiFramework::addBuiltinArea(const QString& name, const QString& text, SlGfwHmiDialog* dialog,
                                  const SlGfwAreaConfig& config, const QHash<QString, FormMaker>& forms)
{
    auto area = std::make_unique<Area>();
    area->name = name;
    area->dialogName = dialog->objectName();
    area->text = text;
    area->dialog = dialog;
    area->builtinForms = forms;
    addArea(std::move(area), config);
}

void HmiFramework::addErrorArea(const HmiSystemConfig::Area& entry, const QString& error)
{
    auto area = std::make_unique<Area>();
    area->name = entry.name;
    area->dialogName = entry.dialog;
    area->text = entry.text;
    area->error = error;
    area->dialog = new SlGfwHmiDialog(nullptr, entry.dialog);
    area->builtinForms.insert(QStringLiteral("HmiErrorForm"), [error, entry](const QString& formName) {
        return new HmiErrorForm(entry.text, error, nullptr, formName);
    });
    addArea(std::move(area), SlGfwAreaConfig::singleScreen(entry.dialog, QStringLiteral("screenError"),
                                                           QStringLiteral("formError"), QStringLiteral("HmiErrorForm")));
}

QStringList HmiFramework::loadConfiguredAreas(const QString& machineDir)
{
    QStringList errors;
    HmiSystemConfig config;
    config.load(machineDir, errors);
    for (const HmiSystemConfig::Area& entry : config.areas()) {
        QString error;
        if (!addPluginArea(entry, error))
            errors << error;
    }
    return errors;
}

bool HmiFramework::addPluginArea(const HmiSystemConfig::Area& entry, QString& error)
{
    const QString where = entry.source.isEmpty() ? entry.name : entry.source;
    if (indexOfArea(entry.name) >= 0) {
        error = QStringLiteral("%1: area %2 is defined twice").arg(where, entry.name);
        return false;
    }
    SlGfwAreaConfig config;
    if (!config.load(entry.cfg, error)) {
        error = QStringLiteral("area %1 (%2): %3").arg(entry.name, where, error);
        addErrorArea(entry, error);
        return false;
    }
    if (config.dialogClass() != entry.dialog) {
        error = QStringLiteral("area %1 (%2): its configuration %3 is for dialog %4, not %5")
                    .arg(entry.name, where, entry.cfg, config.dialogClass(), entry.dialog);
        addErrorArea(entry, error);
        return false;
    }
    const QString libPath = QFileInfo(entry.library).absoluteFilePath();
    HmiPluginLibrary* library = m_libraries.value(libPath);
    if (!library) {
        auto loaded = std::make_unique<HmiPluginLibrary>(libPath);
        if (!loaded->load(error)) {
            error = QStringLiteral("area %1 (%2): %3").arg(entry.name, where, error);
            addErrorArea(entry, error);
            // A failed library is kept so its plug-in object, if any, is
            // deleted at the end and not asked again for another area.
            m_libraries.insert(libPath, loaded.release());
            return false;
        }
        library = loaded.release();
        m_libraries.insert(libPath, library);
    } else if (!library->guiComponents()) {
        error = QStringLiteral("area %1 (%2): plug-in library %3 failed to load before").arg(entry.name, where, libPath);
        addErrorArea(entry, error);
        return false;
    }
    QObject* object = library->guiComponents()->createGuiComponent(entry.dialog, nullptr, entry.dialog);
    auto* dialog = qobject_cast<SlGfwHmiDialog*>(object);
    if (!dialog) {
        delete object;
        error = QStringLiteral("area %1 (%2): plug-in %3 makes no dialog of class %4")
                    .arg(entry.name, where, libPath, entry.dialog);
        addErrorArea(entry, error);
        return false;
    }
    if (dialog->objectName().isEmpty())
        dialog->setObjectName(entry.dialog);
    auto area = std::make_unique<Area>();
    area->name = entry.name;
    area->dialogName = entry.dialog;
    area->text = entry.text;
    area->version = library->version();
    area->dialog = dialog;
    area->library = library;
    addArea(std::move(area), config);
    return true;
}

int HmiFramework::indexOfArea(const QString& name) const
{
    for (int i = 0; i < m_areas.size(); ++i)
        if (m_areas.at(i)->name == name)
            return i;
    return -1;
}

SlGfwHmiDialog* HmiFramework::currentDialog() const
{
    return m_current >= 0 ? m_areas.at(m_current)->dialog.data() : nullptr;
}

QString HmiFramework::currentAreaName() const
{
    return m_current >= 0 ? m_areas.at(m_current)->name : QString();
}

HmiFramework::Area* HmiFramework::areaOf(const SlGfwHmiDialog* dialog) const
{
    for (Area* a : m_areas)
        if (a->dialog == dialog)
            return a;
    return nullptr;
}

SlGfwDialogForm* HmiFramework::createDialogForm(SlGfwHmiDialog* dialog, const QString& className,
                                                const QString& formName, QString& error)
{
    Area* area = areaOf(dialog);
    if (!area) {
        error = QStringLiteral("dialog %1 belongs to no area").arg(dialog ? dialog->objectName() : QString());
        return nullptr;
    }
    if (area->builtinForms.contains(className))
        return area->builtinForms.value(className)(formName);
    if (!area->library || !area->library->dialogForms()) {
        error = QStringLiteral("area %1 knows no form class %2").arg(area->name, className);
        return nullptr;
    }
    QWidget* widget = area->library->dialogForms()->createDialogForm(className, nullptr, formName);
    if (!widget) {
        error = QStringLiteral("plug-in %1 makes no dialog form of class %2").arg(area->library->path(), className);
        return nullptr;
    }
    auto* form = qobject_cast<SlGfwDialogForm*>(widget);
    if (!form) {
        delete widget;
        error = QStringLiteral("class %1 of plug-in %2 is no SlGfwDialogForm").arg(className, area->library->path());
        return nullptr;
    }
    return form;
}

bool HmiFramework::bringToFront(int index, const QString& screen, QString& error)
{
    Area* target = m_areas.at(index);
    if (index != m_current && m_current >= 0) {
        Area* front = m_areas.at(m_current);
        QString targetScreen = screen;
        bool allowed = true;
        if (front->dialog)
            front->dialog->onSwitchToArea(target->name, target->dialogName, targetScreen, allowed);
        if (!allowed) {
            error = QStringLiteral("area %1 cannot be left now").arg(front->name);
            return false;
        }
        m_current = index;
        emit currentAreaChanged(index);
        if (!targetScreen.isEmpty())
            target->dialog->switchToScreen(targetScreen);
        else if (target->dialog->activeScreen().isEmpty())
            target->dialog->switchToScreen(target->dialog->startScreen());
        else
            target->dialog->showMenus();
        return true;
    }
    const bool changed = index != m_current;
    m_current = index;
    if (changed)
        emit currentAreaChanged(index);
    if (!screen.isEmpty())
        target->dialog->switchToScreen(screen);
    else if (target->dialog->activeScreen().isEmpty())
        target->dialog->switchToScreen(target->dialog->startScreen());
    return true;
}

bool HmiFramework::activateArea(const QString& name, QString& error)
{
    const int index = indexOfArea(name);
    if (index < 0) {
        QStringList names;
        for (const Area* a : qAsConst(m_areas))
            names << a->name;
        error = QStringLiteral("no area %1 (areas: %2)").arg(name, names.join(QStringLiteral(", ")));
        return false;
    }
    // The key of the area in front shows its menus afresh, as coming back
    // to it does; the screen stays as it is.
    if (index == m_current && m_areas.at(index)->dialog && !m_areas.at(index)->dialog->activeScreen().isEmpty()) {
        m_areas.at(index)->dialog->showMenus();
        return true;
    }
    return bringToFront(index, QString(), error);
}

bool HmiFramework::switchToArea(SlGfwHmiDialog* caller, const QString& area, const QString& dialog,
                                const QString& screen, bool flag)
{
    int index = -1;
    for (int i = 0; i < m_areas.size(); ++i) {
        if (m_areas.at(i)->name == area && (dialog.isEmpty() || m_areas.at(i)->dialogName == dialog)) {
            index = i;
            break;
        }
    }
    if (index < 0) {
        qWarning().noquote() << QStringLiteral("switchToArea: no area %1 with dialog %2").arg(area, dialog);
        return false;
    }
    QString error;
    if (!bringToFront(index, screen, error)) {
        qWarning().noquote() << QStringLiteral("switchToArea %1: %2").arg(area, error);
        return false;
    }
    return true;
}

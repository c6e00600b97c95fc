#pragma once

#include "HmiSystemConfig.h"
#include "SlGfwAreaConfig.h"
#include "SlGfwAreaHost.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>

class HmiPluginLibrary;
class SlGfwDialogForm;
class SlGfwHmiDialog;

// The operator interface's areas: the host's own (the machine area) and
// those the machine's configuration names, each with its dialog, made by
// its plug-in, and its area configuration. It is the dialogs' host: it
// makes their forms and switches between areas. An area whose plug-in or
// configuration is broken still gets a place, showing why.
class HmiFramework : public QObject, public SlGfwAreaHost
{
    Q_OBJECT
public:
    using FormMaker = std::function<SlGfwDialogForm*(const QString& formName)>;

    struct Area
    {
        QString name;
        QString dialogName;
        QString text;
        QString error;   // empty when the area works
        QString version; // of its plug-in
        QPointer<SlGfwHmiDialog> dialog;
        HmiPluginLibrary* library = nullptr;
        QHash<QString, FormMaker> builtinForms;
    };

    explicit HmiFramework(QObject* parent = nullptr);
    ~HmiFramework() override;

    // An area whose dialog and forms the host makes itself; takes the dialog.
    void addBuiltinArea(const QString& name, const QString& text, SlGfwHmiDialog* dialog,
                        const SlGfwAreaConfig& config, const QHash<QString, FormMaker>& forms);
    // All areas of the machine's system configuration; the messages of
    // everything that failed, each naming its file or library.
    QStringList loadConfiguredAreas(const QString& machineDir);
    // One area from its entry; false with the reason, but the area is added
    // in any case, showing the reason, so the operator sees it too.
    bool addPluginArea(const HmiSystemConfig::Area& entry, QString& error);

    int areaCount() const { return m_areas.size(); }
    const Area& area(int index) const { return *m_areas.at(index); }
    int indexOfArea(const QString& name) const;
    int currentIndex() const { return m_current; }
    SlGfwHmiDialog* currentDialog() const;
    QString currentAreaName() const;

    // The operator's area key: asks the area in front whether it may go.
    bool activateArea(const QString& name, QString& error);

    SlGfwDialogForm* createDialogForm(SlGfwHmiDialog* dialog, const QString& className, const QString& formName,
                                      QString& error) override;
    bool switchToArea(SlGfwHmiDialog* caller, const QString& area, const QString& dialog, const QString& screen,
                      bool flag) override;

    // Tells every dialog that the operator interface closes, before the
    // event loops end and take their modal screens along.
    void beginClosing();
    // Ends every dialog while the plug-ins are still loaded.
    void shutdown();

signals:
    void areaAdded(int index);
    void currentAreaChanged(int index);
    void activeScreenChanged(SlGfwHmiDialog* dialog, const QString& screen);

private:
    int addArea(std::unique_ptr<Area> area, const SlGfwAreaConfig& config);
    void addErrorArea(const HmiSystemConfig::Area& entry, const QString& error);
    bool bringToFront(int index, const QString& screen, QString& error);
    Area* areaOf(const SlGfwHmiDialog* dialog) const;

    QList<Area*> m_areas;
    QHash<QString, HmiPluginLibrary*> m_libraries;
    int m_current = -1;
};

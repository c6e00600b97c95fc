#pragma once

#include "SlGfwAreaConfig.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPair>
#include <QPointer>
#include <QSet>
#include <QVariant>

class QEventLoop;
class SlGfwAreaHost;
class SlGfwDialogForm;
class SlGfwScreen;

// The dialog of an operating area: owns its screens and forms, switches
// between them, runs screens modally in a nested event loop and asks the
// operator interface to change areas. A plug-in derives its gui component
// from it and overrides the on... hooks.
class SlGfwHmiDialog : public QObject
{
    Q_OBJECT
public:
    explicit SlGfwHmiDialog(QObject* parent = nullptr, const QString& name = QString());
    ~SlGfwHmiDialog() override;

    // The name of the screen shown, empty if none has been shown yet.
    QString activeScreen() const;
    SlGfwScreen* screenRef(const QString& screen) const;
    // The form of that name, made on first use, with a reference held; null
    // for a form no screen of the area holds or one that cannot be made.
    SlGfwDialogForm* formRef(const QString& form);
    void releaseFormRef(SlGfwDialogForm* form);

    // Shows the screen: the form of the screen shown so far is detached,
    // the menus are rebuilt, the properties written, the new form attached.
    // Switching away from a modal screen ends its execModalScreen.
    bool switchToScreen(const QString& screen, const QString& properties = QString());
    // Shows the screen and returns only once it is left, with the value the
    // form gave setModalResult. Events go on meanwhile.
    QVariant execModalScreen(const QString& screen, const QString& properties = QString());
    bool switchToArea(const QString& area, const QString& dialog, const QString& screen = QString(),
                      bool flag = false);

    // Asked before the operator interface leaves this dialog's area for
    // another; clearing allowed keeps the area in front.
    virtual void onSwitchToArea(const QString& area, const QString& dialog, QString& screen, bool& allowed);
    // A menu of the screen has just been rebuilt with its configured keys.
    virtual void onShowMenu(const QString& menu, const QString& screen);
    // A soft key the form did not take.
    virtual void onFunction(const QString& name, const QString& args, bool& handled);

    // --- what the operator interface uses ---
    void setupArea(const QString& area, const SlGfwAreaConfig& config, SlGfwAreaHost* host);
    QString areaName() const { return m_area; }
    QString startScreen() const { return m_config.startScreen(); }
    QStringList screenNames() const;
    SlGfwAreaHost* areaHost() const { return m_host; }
    // The form if it exists, without taking a reference.
    SlGfwDialogForm* existingForm(const QString& form) const;
    int formRefCount(const QString& form) const;
    int modalDepth() const { return m_modal.size(); }
    // The operator interface is closing: a modal screen that ends from now
    // on ends because everything does, not because the operator left it.
    bool isClosing() const { return m_closing; }
    void setClosing(bool closing) { m_closing = closing; }

    // Presses a key of the active screen as the operator would; false with
    // the reason if there is no such key or it is disabled.
    bool pressSoftkey(const QString& menu, int position, QString& error);
    bool pressAction(const QString& action, QString& error);
    // Rebuilds the active screen's menus, as when the area comes back.
    void showMenus();
    // Detaches the shown form and deletes every screen and form, while the
    // derived dialog still exists.
    void teardown();

signals:
    void activeScreenChanged(const QString& screen);

private:
    struct ModalFrame
    {
        QString screen;
        QString caller;
        QEventLoop* loop = nullptr;
        bool done = false;
        // Until its screen has been switched to, a run cannot be left.
        bool opening = true;
        // What the screen's form gave setModalResult when the run ended.
        QVariant result;
        // A run of the screen over itself: the form's properties as they
        // were, to be written back when the run ends.
        QList<QPair<int, QVariant>> savedProperties;
    };

    SlGfwDialogForm* ensureForm(const QString& form);
    void applyProperties(const QString& screen, const QString& properties);
    // Ends the modal runs that showing target instead of left leaves, with
    // the results their screens hold now; returns them, outermost first.
    QList<ModalFrame*> endModalFrames(const QString& left, const QString& target);
    void trigger(SlGfwScreen* screen, const QString& menu, int position);

    QString m_area;
    SlGfwAreaConfig m_config;
    SlGfwAreaHost* m_host = nullptr;
    QHash<QString, SlGfwScreen*> m_screens;
    QHash<QString, QPointer<SlGfwDialogForm>> m_forms;
    QHash<QString, int> m_formRefs;
    // Forms that could not be made and have been reported: a plug-in that
    // asks again on every event would otherwise flood the output.
    QSet<QString> m_formErrorsReported;
    QString m_activeScreen;
    QList<ModalFrame*> m_modal;
    bool m_closing = false;
};

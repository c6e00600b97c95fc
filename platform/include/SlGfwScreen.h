#pragma once

#include "SlGfwAreaConfig.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QVariant>

class SlGfwDialogForm;
class SlGfwHmiDialog;
class SlGfwScreenFrame;
class SlGfwSoftkey;
class SlGfwSoftkeyBar;

// A named screen of a dialog: the form that lies on it, its soft key menus
// and, while it runs modally, the result its opener will get back.
class SlGfwScreen : public QObject
{
    Q_OBJECT
public:
    SlGfwScreen(const SlGfwAreaConfig::Screen& definition, SlGfwHmiDialog* dialog);
    ~SlGfwScreen() override;

    QString name() const { return m_definition.name; }
    QString formName() const { return m_definition.form; }
    QString formClass() const { return m_definition.formClass; }
    SlGfwHmiDialog* dialog() const;

    // The value execModalScreen returns once the form leaves the screen.
    void setModalResult(const QVariant& value) { m_modalResult = value; }
    QVariant modalResult() const { return m_modalResult; }

    // The key at that position of that menu, or null. The name, when
    // given, must match the key's action.
    QWidget* menuSoftkey(const QString& menu, int position, const QString& name = QString()) const;
    SlGfwSoftkey* softkey(const QString& menu, int position) const;
    QList<SlGfwSoftkey*> softkeys(const QString& menu) const;
    SlGfwSoftkey* softkeyByAction(const QString& action) const;

    // The operator interface shows these: the frame with caption bar, form
    // and status bar, and one bar per menu.
    QWidget* frame() const;
    QWidget* menuBar(const QString& menu) const;
    SlGfwDialogForm* form() const;

signals:
    void softkeyClicked(SlGfwSoftkey* key);

private:
    friend class SlGfwHmiDialog;
    // Rebuilds the menu: every key back to its configured state.
    void resetMenu(const QString& menu);
    void placeForm(SlGfwDialogForm* form);
    void setFormError(const QString& text);

    SlGfwAreaConfig::Screen m_definition;
    QPointer<SlGfwHmiDialog> m_dialog;
    QVariant m_modalResult;
    QPointer<SlGfwScreenFrame> m_frame;
    QHash<QString, QPointer<SlGfwSoftkeyBar>> m_bars;
    QHash<QString, QList<SlGfwSoftkey*>> m_keys;
};

#include "SlGfwScreen.h"

#include "SlGfwDialogForm.h"
#include "SlGfwHmiDialog.h"
#include "SlGfwScreenFrame.h"
#include "SlGfwSoftkey.h"
#include "SlGfwSoftkeyBar.h"

SlGfwScreen::SlGfwScreen(const SlGfwAreaConfig::Screen& definition, SlGfwHmiDialog* dialog)
    : QObject(dialog), m_definition(definition), m_dialog(dialog), m_frame(new SlGfwScreenFrame(definition.name))
{
    setObjectName(definition.name);
    for (const QString& menu : SlGfwAreaConfig::menus()) {
        auto* bar = new SlGfwSoftkeyBar(menu, menu == QLatin1String("myVr") ? Qt::Vertical : Qt::Horizontal);
        m_bars.insert(menu, bar);
        QList<SlGfwSoftkey*>& keys = m_keys[menu];
        for (const SlGfwAreaConfig::Softkey& def : definition.softkeys) {
            if (def.menu != menu)
                continue;
            auto* key = new SlGfwSoftkey(menu, def.position, def.text, def.action);
            key->setTargetScreen(def.screen);
            key->setArgs(def.args);
            key->setEnabledByDefault(def.enabled);
            bar->setKey(key);
            keys.append(key);
            connect(key, &QPushButton::clicked, this, [this, key] { emit softkeyClicked(key); });
        }
        std::sort(keys.begin(), keys.end(),
                  [](const SlGfwSoftkey* a, const SlGfwSoftkey* b) { return a->position() < b->position(); });
    }
}

SlGfwScreen::~SlGfwScreen()
{
    // The operator interface may have taken frame and bars into its own
    // widgets; whoever goes first deletes them.
    delete m_frame.data();
    for (const QPointer<SlGfwSoftkeyBar>& bar : qAsConst(m_bars))
        delete bar.data();
}

SlGfwHmiDialog* SlGfwScreen::dialog() const
{
    return m_dialog.data();
}

QWidget* SlGfwScreen::menuSoftkey(const QString& menu, int position, const QString& name) const
{
    SlGfwSoftkey* key = softkey(menu, position);
    if (key && !name.isEmpty() && key->action() != name)
        return nullptr;
    return key;
}

SlGfwSoftkey* SlGfwScreen::softkey(const QString& menu, int position) const
{
    for (SlGfwSoftkey* key : m_keys.value(menu))
        if (key->position() == position)
            return key;
    return nullptr;
}

QList<SlGfwSoftkey*> SlGfwScreen::softkeys(const QString& menu) const
{
    return m_keys.value(menu);
}

SlGfwSoftkey* SlGfwScreen::softkeyByAction(const QString& action) const
{
    for (const QString& menu : SlGfwAreaConfig::menus())
        for (SlGfwSoftkey* key : m_keys.value(menu))
            if (key->action() == action)
                return key;
    return nullptr;
}

QWidget* SlGfwScreen::frame() const
{
    return m_frame.data();
}

QWidget* SlGfwScreen::menuBar(const QString& menu) const
{
    return m_bars.value(menu).data();
}

SlGfwDialogForm* SlGfwScreen::form() const
{
    return m_frame ? m_frame->form() : nullptr;
}

void SlGfwScreen::resetMenu(const QString& menu)
{
    for (SlGfwSoftkey* key : m_keys.value(menu))
        key->reset();
}

void SlGfwScreen::placeForm(SlGfwDialogForm* form)
{
    if (m_frame)
        m_frame->setForm(form);
}

void SlGfwScreen::setFormError(const QString& text)
{
    if (m_frame)
        m_frame->setError(text);
}

#include "SlGfwHmiDialog.h"

#include "SlGfwAreaHost.h"
#include "SlGfwDialogForm.h"
#include "SlGfwPropertyString.h"
#include "SlGfwScreen.h"
#include "SlGfwSoftkey.h"

#include <QEventLoop>
#include <QMetaProperty>
#include <QtDebug>

namespace {
// A value that does not fit the declared type is written as what the
// conversion leaves, 0 for a number out of range, never a wrapped number;
// the form sees its own type in every case.
QVariant convertProperty(const QString& text, int type)
{
    bool ok = false;
    switch (type) {
    case QMetaType::Int: {
        const int v = text.trimmed().toInt(&ok);
        return ok ? v : 0;
    }
    case QMetaType::UInt: {
        const uint v = text.trimmed().toUInt(&ok);
        return ok ? v : 0u;
    }
    case QMetaType::LongLong: {
        const qlonglong v = text.trimmed().toLongLong(&ok);
        return ok ? v : qlonglong(0);
    }
    case QMetaType::ULongLong: {
        const qulonglong v = text.trimmed().toULongLong(&ok);
        return ok ? v : qulonglong(0);
    }
    case QMetaType::Double: {
        const double v = text.trimmed().toDouble(&ok);
        return ok ? v : 0.0;
    }
    case QMetaType::Bool: {
        const QString t = text.trimmed().toLower();
        if (t == QLatin1String("1") || t == QLatin1String("true"))
            return true;
        if (t.isEmpty() || t == QLatin1String("0") || t == QLatin1String("false"))
            return false;
        return t.toInt(&ok) != 0 || !ok;
    }
    default: {
        QVariant value(text);
        value.convert(type);
        return value;
    }
    }
}
}

SlGfwHmiDialog::SlGfwHmiDialog(QObject* parent, const QString& name) : QObject(parent)
{
    setObjectName(name);
}

SlGfwHmiDialog::~SlGfwHmiDialog()
{
    teardown();
}

QString SlGfwHmiDialog::activeScreen() const
{
    return m_activeScreen;
}

SlGfwScreen* SlGfwHmiDialog::screenRef(const QString& screen) const
{
    return m_screens.value(screen, nullptr);
}

QStringList SlGfwHmiDialog::screenNames() const
{
    QStringList names;
    for (const SlGfwAreaConfig::Screen& s : m_config.screens())
        names << s.name;
    return names;
}

void SlGfwHmiDialog::setupArea(const QString& area, const SlGfwAreaConfig& config, SlGfwAreaHost* host)
{
    teardown();
    m_area = area;
    m_config = config;
    m_host = host;
    for (const SlGfwAreaConfig::Screen& def : config.screens()) {
        auto* screen = new SlGfwScreen(def, this);
        m_screens.insert(def.name, screen);
        connect(screen, &SlGfwScreen::softkeyClicked, this,
                [this, screen](SlGfwSoftkey* key) { trigger(screen, key->menu(), key->position()); });
    }
}

void SlGfwHmiDialog::teardown()
{
    if (!m_activeScreen.isEmpty()) {
        const QString screen = m_activeScreen;
        m_activeScreen.clear();
        if (SlGfwDialogForm* form = existingForm(m_config.screen(screen) ? m_config.screen(screen)->form : QString()))
            form->detachedFromScreen(screen);
    }
    for (ModalFrame* f : qAsConst(m_modal)) {
        f->done = true;
        f->loop->quit();
    }
    // Forms first: a form's destructor may still reach its dialog.
    for (const QPointer<SlGfwDialogForm>& form : qAsConst(m_forms))
        delete form.data();
    m_forms.clear();
    m_formRefs.clear();
    qDeleteAll(m_screens);
    m_screens.clear();
}

SlGfwDialogForm* SlGfwHmiDialog::existingForm(const QString& form) const
{
    return m_forms.value(form).data();
}

int SlGfwHmiDialog::formRefCount(const QString& form) const
{
    return m_formRefs.value(form, 0);
}

SlGfwDialogForm* SlGfwHmiDialog::ensureForm(const QString& name)
{
    if (SlGfwDialogForm* form = existingForm(name))
        return form;
    const QString cls = m_config.formClass(name);
    if (cls.isEmpty())
        return nullptr;
    QString error;
    SlGfwDialogForm* form = m_host ? m_host->createDialogForm(this, cls, name, error) : nullptr;
    if (!m_host)
        error = QStringLiteral("no operator interface to make it");
    if (!form) {
        const QString text = QStringLiteral("Form %1 of class %2 cannot be made: %3").arg(name, cls, error);
        if (!m_formErrorsReported.contains(name)) {
            m_formErrorsReported.insert(name);
            qWarning().noquote() << text;
        }
        for (SlGfwScreen* screen : qAsConst(m_screens))
            if (screen->formName() == name)
                screen->setFormError(text);
        return nullptr;
    }
    form->setDialog(this);
    if (form->objectName().isEmpty())
        form->setObjectName(name);
    m_forms.insert(name, form);
    // Until its screen is shown the form waits, hidden, in the frame of the
    // first screen that holds it.
    for (SlGfwScreen* screen : qAsConst(m_screens)) {
        if (screen->formName() == name) {
            screen->placeForm(form);
            break;
        }
    }
    return form;
}

SlGfwDialogForm* SlGfwHmiDialog::formRef(const QString& name)
{
    SlGfwDialogForm* form = ensureForm(name);
    if (form)
        ++m_formRefs[name];
    return form;
}

void SlGfwHmiDialog::releaseFormRef(SlGfwDialogForm* form)
{
    if (!form)
        return;
    for (auto it = m_forms.constBegin(); it != m_forms.constEnd(); ++it) {
        if (it.value() != form)
            continue;
        int& refs = m_formRefs[it.key()];
        if (refs > 0)
            --refs;
        else
            qWarning().noquote() << QStringLiteral("releaseFormRef of form %1, which holds no reference").arg(it.key());
        return;
    }
    qWarning().noquote() << QStringLiteral("releaseFormRef of a form that is not of dialog %1").arg(objectName());
}

void SlGfwHmiDialog::applyProperties(const QString& screen, const QString& properties)
{
    QList<SlGfwPropertyString::Entry> entries;
    QString error;
    if (!SlGfwPropertyString::parse(properties, entries, error)) {
        qWarning().noquote() << QStringLiteral("Screen %1: %2").arg(screen, error);
        return;
    }
    for (const SlGfwPropertyString::Entry& e : entries) {
        SlGfwDialogForm* form = ensureForm(e.form);
        if (!form) {
            qWarning().noquote() << QStringLiteral("Screen %1: property %2 names form %3, which the area does not have")
                                        .arg(screen).arg(e.number).arg(e.form);
            continue;
        }
        const QMetaObject* meta = form->metaObject();
        const int index = meta->indexOfProperty(e.property.toLatin1().constData());
        if (index < 0) {
            qWarning().noquote() << QStringLiteral("Screen %1: form %2 (%3) declares no property %4")
                                        .arg(screen, e.form, QLatin1String(meta->className()), e.property);
            continue;
        }
        const QMetaProperty prop = meta->property(index);
        const QVariant value = convertProperty(e.value, prop.userType());
        if (!prop.write(form, value))
            qWarning().noquote() << QStringLiteral("Screen %1: property %2.%3 cannot be written").arg(screen, e.form, e.property);
    }
}

bool SlGfwHmiDialog::switchToScreen(const QString& screenName, const QString& properties)
{
    SlGfwScreen* screen = screenRef(screenName);
    if (!screen) {
        qWarning().noquote() << QStringLiteral("Dialog %1 has no screen %2").arg(objectName(), screenName);
        return false;
    }
    const QString left = m_activeScreen;
    // Before anything is reset: the runs that end take their results along.
    const QList<ModalFrame*> ended = endModalFrames(left, screenName);
    if (!left.isEmpty()) {
        if (SlGfwScreen* old = screenRef(left))
            if (SlGfwDialogForm* form = existingForm(old->formName()))
                form->detachedFromScreen(left);
    }
    m_activeScreen = screenName;
    SlGfwDialogForm* form = ensureForm(screen->formName());
    if (form)
        screen->placeForm(form);
    // Menus before properties and attach: a form sets its keys when it is
    // attached, and a rebuild afterwards would undo that.
    for (const QString& menu : SlGfwAreaConfig::menus()) {
        screen->resetMenu(menu);
        onShowMenu(menu, screenName);
    }
    screen->setModalResult(QVariant());
    // Leaving a run of this screen over itself brings back what the screen
    // showed before it.
    for (ModalFrame* f : ended) {
        if (form && f->screen == screenName && f->caller == screenName) {
            for (const QPair<int, QVariant>& saved : qAsConst(f->savedProperties))
                form->metaObject()->property(saved.first).write(form, saved.second);
            break;
        }
    }
    applyProperties(screenName, properties);
    for (ModalFrame* f : qAsConst(m_modal))
        f->opening = false;
    if (form)
        form->attachedToScreen(screenName);
    emit activeScreenChanged(screenName);
    return true;
}

QList<SlGfwHmiDialog::ModalFrame*> SlGfwHmiDialog::endModalFrames(const QString& left, const QString& target)
{
    int from = -1;
    if (left == target) {
        // Showing a screen again leaves nothing, but for a run of that screen
        // opened over itself, once it is under way: going back to its caller
        // is going back to the same screen.
        for (int i = m_modal.size() - 1; i >= 0; --i) {
            const ModalFrame* f = m_modal.at(i);
            if (f->done)
                continue;
            if (!f->opening && f->screen == target && f->caller == target)
                from = i;
            break;
        }
    } else {
        // Going back to the screen that opened a modal screen ends that one
        // and every modal screen opened above it; leaving the topmost modal
        // screen for any other screen ends just that one.
        for (int i = m_modal.size() - 1; i >= 0; --i) {
            if (!m_modal.at(i)->done && m_modal.at(i)->caller == target) {
                from = i;
                break;
            }
        }
        if (from < 0) {
            for (int i = m_modal.size() - 1; i >= 0; --i) {
                if (m_modal.at(i)->done)
                    continue;
                if (m_modal.at(i)->screen == left)
                    from = i;
                break;
            }
        }
    }
    QList<ModalFrame*> ended;
    if (from < 0)
        return ended;
    for (int i = from; i < m_modal.size(); ++i) {
        ModalFrame* f = m_modal.at(i);
        if (f->done)
            continue;
        if (SlGfwScreen* s = screenRef(f->screen))
            f->result = s->modalResult();
        f->done = true;
        f->loop->quit();
        ended.append(f);
    }
    return ended;
}

QVariant SlGfwHmiDialog::execModalScreen(const QString& screenName, const QString& properties)
{
    SlGfwScreen* screen = screenRef(screenName);
    if (!screen) {
        qWarning().noquote() << QStringLiteral("Dialog %1 has no screen %2 to run modally").arg(objectName(), screenName);
        return QVariant();
    }
    QEventLoop loop;
    ModalFrame frame;
    frame.screen = screenName;
    frame.caller = m_activeScreen;
    frame.loop = &loop;
    if (frame.caller == screenName) {
        // Run over itself: the opener comes back to this screen as it is now.
        if (SlGfwDialogForm* form = existingForm(screen->formName())) {
            const QMetaObject* meta = form->metaObject();
            for (int i = SlGfwDialogForm::staticMetaObject.propertyCount(); i < meta->propertyCount(); ++i) {
                const QMetaProperty prop = meta->property(i);
                if (prop.isReadable() && prop.isWritable())
                    frame.savedProperties.append(qMakePair(i, prop.read(form)));
            }
        }
    }
    m_modal.append(&frame);
    QPointer<SlGfwScreen> guard(screen);
    switchToScreen(screenName, properties);
    // The form may have left the screen already while being attached.
    if (!frame.done)
        loop.exec();
    m_modal.removeOne(&frame);
    if (frame.done)
        return frame.result;
    return guard ? guard->modalResult() : QVariant();
}

bool SlGfwHmiDialog::switchToArea(const QString& area, const QString& dialog, const QString& screen, bool flag)
{
    if (!m_host) {
        qWarning().noquote() << QStringLiteral("Dialog %1 cannot switch to area %2: no operator interface")
                                    .arg(objectName(), area);
        return false;
    }
    return m_host->switchToArea(this, area, dialog, screen, flag);
}

void SlGfwHmiDialog::onSwitchToArea(const QString& area, const QString& dialog, QString& screen, bool& allowed) {}

void SlGfwHmiDialog::onShowMenu(const QString& menu, const QString& screen) {}

void SlGfwHmiDialog::onFunction(const QString& name, const QString& args, bool& handled) {}

void SlGfwHmiDialog::showMenus()
{
    SlGfwScreen* screen = screenRef(m_activeScreen);
    if (!screen)
        return;
    for (const QString& menu : SlGfwAreaConfig::menus()) {
        screen->resetMenu(menu);
        onShowMenu(menu, m_activeScreen);
    }
}

void SlGfwHmiDialog::trigger(SlGfwScreen* screen, const QString& menu, int position)
{
    SlGfwSoftkey* key = screen->softkey(menu, position);
    if (!key || !key->isEnabled() || screen->name() != m_activeScreen)
        return;
    if (!key->targetScreen().isEmpty()) {
        switchToScreen(key->targetScreen());
        return;
    }
    const QString action = key->action();
    const QString args = key->args();
    bool handled = false;
    if (SlGfwDialogForm* form = existingForm(screen->formName()))
        form->onFunction(action, args, handled);
    if (!handled)
        onFunction(action, args, handled);
}

bool SlGfwHmiDialog::pressSoftkey(const QString& menu, int position, QString& error)
{
    SlGfwScreen* screen = screenRef(m_activeScreen);
    if (!screen) {
        error = QStringLiteral("area %1 shows no screen").arg(m_area);
        return false;
    }
    SlGfwSoftkey* key = screen->softkey(menu, position);
    if (!key) {
        error = QStringLiteral("screen %1 has no soft key at %2 position %3").arg(m_activeScreen, menu).arg(position);
        return false;
    }
    if (!key->isEnabled()) {
        error = QStringLiteral("soft key %1 (%2 %3) on screen %4 is disabled")
                    .arg(key->action(), menu).arg(position).arg(m_activeScreen);
        return false;
    }
    trigger(screen, menu, position);
    return true;
}

bool SlGfwHmiDialog::pressAction(const QString& action, QString& error)
{
    SlGfwScreen* screen = screenRef(m_activeScreen);
    if (!screen) {
        error = QStringLiteral("area %1 shows no screen").arg(m_area);
        return false;
    }
    SlGfwSoftkey* key = screen->softkeyByAction(action);
    if (!key) {
        error = QStringLiteral("screen %1 has no soft key with action %2").arg(m_activeScreen, action);
        return false;
    }
    return pressSoftkey(key->menu(), key->position(), error);
}

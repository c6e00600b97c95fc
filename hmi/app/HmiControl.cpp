#include "HmiControl.h"

#include "HmiFramework.h"
#include "HmiScreenCommands.h"
#include "HmiWidgetAccess.h"
#include "HmiWindow.h"
#include "SlGfwAreaConfig.h"
#include "SlGfwDialogForm.h"
#include "SlGfwHmiDialog.h"
#include "SlGfwScreen.h"
#include "SlGfwSoftkey.h"

#include <QApplication>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QKeyEvent>

HmiControl::HmiControl(HmiFramework* framework, HmiWindow* window)
    : m_framework(framework), m_window(window), m_widgets([this] { return activeForm(); })
{
    auto bind = [this](CtlResult (HmiControl::*f)(const QStringList&)) {
        return [this, f](const QStringList& args) { return (this->*f)(args); };
    };
    auto bindConst = [this](CtlResult (HmiControl::*f)(const QStringList&) const) {
        return [this, f](const QStringList& args) { return (this->*f)(args); };
    };
    m_table.add(QStringLiteral("state"), QStringLiteral("state [--json]"), bindConst(&HmiControl::doState));
    m_table.add(QStringLiteral("key"), QStringLiteral("key ACTION | key --menu MENU --position N"), bind(&HmiControl::doKey));
    m_table.add(QStringLiteral("type"), QStringLiteral("type [--clear] TEXT"), bind(&HmiControl::doType));
    m_table.add(QStringLiteral("focus"), QStringLiteral("focus NAME"), bind(&HmiControl::doFocus));
    m_table.add(QStringLiteral("read"), QStringLiteral("read NAME"), bindConst(&HmiControl::doRead));
    m_table.add(QStringLiteral("screenshot"), QStringLiteral("screenshot FILE"), bind(&HmiControl::doScreenshot));
    m_table.add(QStringLiteral("area"), QStringLiteral("area NAME"), bind(&HmiControl::doArea));
    m_table.add(QStringLiteral("areas"), QStringLiteral("areas"), bindConst(&HmiControl::doAreas));
    m_widgets.registerWith(m_table);
    HmiScreenCommands::registerWith(m_table, [this] { return m_framework->currentDialog(); });
}

void HmiControl::registerWith(CtlServer* server)
{
    server->registerHandler(QStringLiteral("hmi"), [this](const QStringList& args) { return handle(args); });
}

CtlResult HmiControl::handle(const QStringList& args)
{
    return m_table.dispatch(args);
}

QWidget* HmiControl::activeForm() const
{
    SlGfwHmiDialog* dialog = m_framework->currentDialog();
    SlGfwScreen* screen = dialog ? dialog->screenRef(dialog->activeScreen()) : nullptr;
    return screen ? screen->form() : nullptr;
}

QJsonObject HmiControl::state() const
{
    QJsonObject o;
    SlGfwHmiDialog* dialog = m_framework->currentDialog();
    const QString screenName = dialog ? dialog->activeScreen() : QString();
    SlGfwScreen* screen = dialog ? dialog->screenRef(screenName) : nullptr;
    auto* form = qobject_cast<SlGfwDialogForm*>(screen ? screen->form() : nullptr);
    o.insert(QStringLiteral("area"), m_framework->currentAreaName());
    o.insert(QStringLiteral("dialog"), dialog ? dialog->objectName() : QString());
    o.insert(QStringLiteral("screen"), screenName);
    o.insert(QStringLiteral("modal"), dialog ? dialog->modalDepth() : 0);
    QJsonArray caption, status;
    if (form && form->isCaptionBarVisible())
        for (int i = 0; i < form->captionBarElementCount(); ++i)
            caption.append(form->captionBarElementText(i));
    if (form && form->isStatusBarVisible())
        for (int i = 0; i < form->statusBarElementCount(); ++i)
            status.append(form->statusBarElementText(i));
    o.insert(QStringLiteral("caption"), caption);
    o.insert(QStringLiteral("status"), status);
    QJsonObject softkeys;
    for (const QString& menu : SlGfwAreaConfig::menus()) {
        QJsonArray keys;
        if (screen) {
            for (const SlGfwSoftkey* key : screen->softkeys(menu)) {
                QJsonObject k;
                k.insert(QStringLiteral("position"), key->position());
                k.insert(QStringLiteral("text"), key->text());
                k.insert(QStringLiteral("action"), key->action());
                k.insert(QStringLiteral("enabled"), key->isEnabled());
                keys.append(k);
            }
        }
        softkeys.insert(menu, keys);
    }
    o.insert(QStringLiteral("softkeys"), softkeys);
    QWidget* focus = m_window ? m_window->focusWidget() : nullptr;
    o.insert(QStringLiteral("focus"), focus ? focus->objectName() : QString());
    if (m_window && !m_window->notice().isEmpty())
        o.insert(QStringLiteral("notice"), m_window->notice());
    return o;
}

CtlResult HmiControl::doState(const QStringList& args) const
{
    if (args.size() > 1 || (args.size() == 1 && args.first() != QLatin1String("--json")))
        return CtlResult::fail(QStringLiteral("usage: hmi state [--json]"), 2);
    const QJsonObject o = state();
    if (!args.isEmpty())
        return CtlResult::ok(QString::fromUtf8(QJsonDocument(o).toJson(QJsonDocument::Compact)));
    auto join = [](const QJsonArray& a) {
        QStringList parts;
        for (const QJsonValue& v : a)
            parts << v.toString();
        return parts.join(QStringLiteral(" | "));
    };
    QString out;
    out += QStringLiteral("area: %1\n").arg(o.value(QStringLiteral("area")).toString());
    out += QStringLiteral("screen: %1\n").arg(o.value(QStringLiteral("screen")).toString());
    out += QStringLiteral("caption: %1\n").arg(join(o.value(QStringLiteral("caption")).toArray()));
    out += QStringLiteral("status: %1\n").arg(join(o.value(QStringLiteral("status")).toArray()));
    const QJsonObject softkeys = o.value(QStringLiteral("softkeys")).toObject();
    for (const QString& menu : SlGfwAreaConfig::menus()) {
        for (const QJsonValue& v : softkeys.value(menu).toArray()) {
            const QJsonObject k = v.toObject();
            out += QStringLiteral("%1 %2 %3 %4 \"%5\"\n")
                       .arg(menu)
                       .arg(k.value(QStringLiteral("position")).toInt())
                       .arg(k.value(QStringLiteral("enabled")).toBool() ? QStringLiteral("enabled ")
                                                                         : QStringLiteral("disabled"))
                       .arg(k.value(QStringLiteral("action")).toString(),
                            k.value(QStringLiteral("text")).toString().replace(QLatin1Char('\n'), QLatin1Char(' ')));
        }
    }
    return CtlResult::ok(out);
}

CtlResult HmiControl::doKey(const QStringList& args)
{
    SlGfwHmiDialog* dialog = m_framework->currentDialog();
    SlGfwScreen* screen = dialog ? dialog->screenRef(dialog->activeScreen()) : nullptr;
    if (!screen)
        return CtlResult::fail(QStringLiteral("no screen is shown"));
    SlGfwSoftkey* key = nullptr;
    if (args.size() == 1 && !args.first().startsWith(QLatin1String("--"))) {
        key = screen->softkeyByAction(args.first());
        if (!key)
            return CtlResult::fail(QStringLiteral("screen %1 has no soft key with action %2").arg(screen->name(), args.first()));
    } else if (args.size() == 4 && args.at(0) == QLatin1String("--menu") && args.at(2) == QLatin1String("--position")) {
        bool ok = false;
        const int position = args.at(3).toInt(&ok);
        if (!SlGfwAreaConfig::menus().contains(args.at(1)) || !ok || position < 1 || position > SlGfwAreaConfig::kMenuSize)
            return CtlResult::fail(QStringLiteral("menu must be myVr or myHu and position 1 to %1").arg(SlGfwAreaConfig::kMenuSize), 2);
        key = screen->softkey(args.at(1), position);
        if (!key)
            return CtlResult::fail(QStringLiteral("screen %1 has no soft key at %2 position %3")
                                       .arg(screen->name(), args.at(1)).arg(position));
    } else {
        return CtlResult::fail(QStringLiteral("usage: hmi key ACTION | hmi key --menu MENU --position N"), 2);
    }
    if (!key->isEnabled())
        return CtlResult::fail(QStringLiteral("soft key %1 (%2 %3) on screen %4 is disabled")
                                   .arg(key->action(), key->menu()).arg(key->position()).arg(screen->name()));
    QPointer<SlGfwSoftkey> guard(key);
    // A posted call, not a timer: it runs before the next request on the
    // socket is read, so the script's next command sees the key's effect.
    QMetaObject::invokeMethod(
        dialog,
        [guard] {
            if (guard && guard->isEnabled())
                guard->click();
        },
        Qt::QueuedConnection);
    return CtlResult::ok();
}

CtlResult HmiControl::doType(const QStringList& args)
{
    const bool clear = args.size() == 2 && args.first() == QLatin1String("--clear");
    if (args.size() != 1 && !clear)
        return CtlResult::fail(QStringLiteral("usage: hmi type [--clear] TEXT"), 2);
    QWidget* target = m_window ? m_window->focusWidget() : nullptr;
    if (!target)
        return CtlResult::fail(QStringLiteral("no widget has the focus; use hmi focus NAME first"));
    // Real key events, so the widget's own input handling and its signals
    // behave as with a keyboard: select all, then delete, as an operator
    // empties a field.
    if (clear) {
        for (const auto& key : {std::make_pair(int(Qt::Key_A), Qt::KeyboardModifiers(Qt::ControlModifier)),
                                std::make_pair(int(Qt::Key_Delete), Qt::KeyboardModifiers(Qt::NoModifier))}) {
            QKeyEvent press(QEvent::KeyPress, key.first, key.second);
            QKeyEvent release(QEvent::KeyRelease, key.first, key.second);
            QApplication::sendEvent(target, &press);
            QApplication::sendEvent(target, &release);
        }
    }
    for (const QChar c : args.last()) {
        QWidget* receiver = m_window->focusWidget();
        if (!receiver)
            break;
        const bool enter = c == QLatin1Char('\n');
        const int code = enter ? Qt::Key_Return : (c == QLatin1Char('\t') ? Qt::Key_Tab : 0);
        const QString text = enter ? QStringLiteral("\r") : QString(c);
        QKeyEvent press(QEvent::KeyPress, code, Qt::NoModifier, text);
        QKeyEvent release(QEvent::KeyRelease, code, Qt::NoModifier, text);
        QApplication::sendEvent(receiver, &press);
        QApplication::sendEvent(receiver, &release);
    }
    return CtlResult::ok();
}

CtlResult HmiControl::doFocus(const QStringList& args)
{
    if (args.size() != 1)
        return CtlResult::fail(QStringLiteral("usage: hmi focus NAME"), 2);
    QWidget* form = activeForm();
    if (!form)
        return CtlResult::fail(QStringLiteral("no form is shown"));
    const QString name = args.first();
    QWidget* target = HmiWidgetAccess::find(form, name, false);
    if (!target)
        return CtlResult::fail(QStringLiteral("form %1 has no widget named or labelled '%2'").arg(form->objectName(), name));
    if (!target->isEnabled() || !target->isVisibleTo(form) || target->focusPolicy() == Qt::NoFocus)
        return CtlResult::fail(QStringLiteral("widget '%1' cannot take the focus (disabled, hidden or not focusable)").arg(name));
    if (m_window) {
        m_window->activateWindow();
        QApplication::setActiveWindow(m_window);
    }
    target->setFocus(Qt::OtherFocusReason);
    return CtlResult::ok();
}

CtlResult HmiControl::doRead(const QStringList& args) const
{
    if (args.size() != 1)
        return CtlResult::fail(QStringLiteral("usage: hmi read NAME"), 2);
    QWidget* form = activeForm();
    if (!form)
        return CtlResult::fail(QStringLiteral("no form is shown"));
    QWidget* target = HmiWidgetAccess::find(form, args.first(), true);
    if (!target)
        return CtlResult::fail(QStringLiteral("form %1 has no widget named or labelled '%2'").arg(form->objectName(), args.first()));
    QString text;
    if (!HmiWidgetAccess::text(target, text))
        return CtlResult::fail(QStringLiteral("widget '%1' (%2) has no text to read")
                                   .arg(args.first(), QLatin1String(target->metaObject()->className())));
    // The answer ends in a line feed; a value that has its own keeps it.
    return CtlResult::ok(text.endsWith(QLatin1Char('\n')) ? text + QLatin1Char('\n') : text);
}

CtlResult HmiControl::doScreenshot(const QStringList& args)
{
    if (args.size() != 1)
        return CtlResult::fail(QStringLiteral("usage: hmi screenshot FILE"), 2);
    if (!m_window)
        return CtlResult::fail(QStringLiteral("there is no window"));
    const QString file = QFileInfo(args.first()).absoluteFilePath();
    const QPixmap shot = m_window->grab();
    if (shot.isNull() || !shot.save(file))
        return CtlResult::fail(QStringLiteral("cannot write screenshot %1").arg(file));
    return CtlResult::ok(file);
}

CtlResult HmiControl::doArea(const QStringList& args)
{
    if (args.size() != 1)
        return CtlResult::fail(QStringLiteral("usage: hmi area NAME"), 2);
    QString error;
    if (!m_framework->activateArea(args.first(), error))
        return CtlResult::fail(error);
    return CtlResult::ok();
}

CtlResult HmiControl::doAreas(const QStringList& args) const
{
    if (!args.isEmpty())
        return CtlResult::fail(QStringLiteral("usage: hmi areas"), 2);
    QString out;
    for (int i = 0; i < m_framework->areaCount(); ++i) {
        const HmiFramework::Area& a = m_framework->area(i);
        out += QStringLiteral("%1 %2 %3%4\n")
                   .arg(a.name, a.dialogName, a.error.isEmpty() ? QStringLiteral("ok") : QStringLiteral("failed: "),
                        a.error);
    }
    return CtlResult::ok(out);
}

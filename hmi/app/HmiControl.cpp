#include "HmiControl.h"

#include "HmiFramework.h"
#include "HmiWindow.h"
#include "SlGfwAreaConfig.h"
#include "SlGfwDialogForm.h"
#include "SlGfwHmiDialog.h"
#include "SlGfwScreen.h"
#include "SlGfwSoftkey.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QFileInfo>
#include <QGridLayout>
#include <QJsonArray>
#include <QJsonDocument>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QTableWidget>
#include <QTextEdit>
#include <QTreeWidget>

namespace {
const char* kUsage = "hmi state [--json] | key ACTION | key --menu MENU --position N | type [--clear] TEXT | focus NAME | "
                     "read NAME | screenshot FILE | area NAME | areas";

// The widget a label stands for: its buddy, or its right-hand neighbour
// in a grid or form layout.
QWidget* labelledWidget(QLabel* label)
{
    if (label->buddy())
        return label->buddy();
    QWidget* parent = label->parentWidget();
    auto* grid = parent ? qobject_cast<QGridLayout*>(parent->layout()) : nullptr;
    if (!grid)
        return nullptr;
    const int index = grid->indexOf(label);
    if (index < 0)
        return nullptr;
    int row, column, rowSpan, columnSpan;
    grid->getItemPosition(index, &row, &column, &rowSpan, &columnSpan);
    QLayoutItem* next = grid->itemAtPosition(row, column + columnSpan);
    return next ? next->widget() : nullptr;
}

QString normalisedLabel(QString text)
{
    text = text.trimmed();
    while (text.endsWith(QLatin1Char(':')))
        text.chop(1);
    return text.trimmed();
}

// A widget of the form by object name, then accessible name, then the
// text of the label in front of it. A label itself counts by its object
// name only when it is to be read.
QWidget* findWidget(QWidget* form, const QString& name, bool labels)
{
    const QList<QWidget*> widgets = form->findChildren<QWidget*>();
    for (QWidget* w : widgets)
        if (w->objectName() == name && (labels || !qobject_cast<QLabel*>(w)))
            return w;
    for (QWidget* w : widgets)
        if (w->accessibleName() == name)
            return w;
    for (QLabel* l : form->findChildren<QLabel*>())
        if (normalisedLabel(l->text()) == normalisedLabel(name))
            if (QWidget* w = labelledWidget(l))
                return w;
    return nullptr;
}

QString cellText(const QTableWidgetItem* item)
{
    if (!item)
        return QString();
    // Every plain cell may be checkable; a check box cell has a state.
    if (item->data(Qt::CheckStateRole).isValid())
        return (item->checkState() == Qt::Checked ? QStringLiteral("[x]") : QStringLiteral("[ ]")) +
               (item->text().isEmpty() ? QString() : QLatin1Char(' ') + item->text());
    return item->text();
}

void treeLines(const QTreeWidgetItem* item, int depth, QStringList& lines)
{
    lines << QString(depth * 2, QLatin1Char(' ')) + item->text(0);
    for (int i = 0; i < item->childCount(); ++i)
        treeLines(item->child(i), depth + 1, lines);
}

// What the operator sees of a widget, as text; false for a kind of widget
// that has no text to read.
bool widgetText(QWidget* w, QString& text)
{
    QStringList lines;
    if (auto* e = qobject_cast<QLineEdit*>(w)) {
        text = e->text();
    } else if (auto* t = qobject_cast<QTextEdit*>(w)) {
        text = t->toPlainText();
    } else if (auto* p = qobject_cast<QPlainTextEdit*>(w)) {
        text = p->toPlainText();
    } else if (auto* l = qobject_cast<QLabel*>(w)) {
        text = l->text();
    } else if (auto* c = qobject_cast<QComboBox*>(w)) {
        text = c->currentText();
    } else if (auto* b = qobject_cast<QAbstractButton*>(w)) {
        text = b->isCheckable() ? (b->isChecked() ? QStringLiteral("checked") : QStringLiteral("unchecked")) : b->text();
    } else if (auto* list = qobject_cast<QListWidget*>(w)) {
        for (int i = 0; i < list->count(); ++i)
            lines << list->item(i)->text();
        text = lines.join(QLatin1Char('\n'));
    } else if (auto* table = qobject_cast<QTableWidget*>(w)) {
        for (int r = 0; r < table->rowCount(); ++r) {
            QStringList cells;
            for (int c = 0; c < table->columnCount(); ++c)
                if (!table->isColumnHidden(c))
                    cells << cellText(table->item(r, c));
            lines << cells.join(QLatin1Char('\t'));
        }
        text = lines.join(QLatin1Char('\n'));
    } else if (auto* tree = qobject_cast<QTreeWidget*>(w)) {
        for (int i = 0; i < tree->topLevelItemCount(); ++i)
            treeLines(tree->topLevelItem(i), 0, lines);
        text = lines.join(QLatin1Char('\n'));
    } else {
        return false;
    }
    return true;
}
}

HmiControl::HmiControl(HmiFramework* framework, HmiWindow* window) : m_framework(framework), m_window(window) {}

void HmiControl::registerWith(CtlServer* server)
{
    server->registerHandler(QStringLiteral("hmi"), [this](const QStringList& args) { return handle(args); });
}

CtlResult HmiControl::handle(const QStringList& args)
{
    if (args.isEmpty())
        return CtlResult::fail(QStringLiteral("usage: %1").arg(QLatin1String(kUsage)), 2);
    const QString verb = args.first();
    const QStringList rest = args.mid(1);
    if (verb == QLatin1String("state"))
        return doState(rest);
    if (verb == QLatin1String("key"))
        return doKey(rest);
    if (verb == QLatin1String("type"))
        return doType(rest);
    if (verb == QLatin1String("focus"))
        return doFocus(rest);
    if (verb == QLatin1String("screenshot"))
        return doScreenshot(rest);
    if (verb == QLatin1String("read"))
        return doRead(rest);
    if (verb == QLatin1String("area"))
        return doArea(rest);
    if (verb == QLatin1String("areas"))
        return doAreas();
    return CtlResult::fail(QStringLiteral("unknown hmi command '%1'; usage: %2").arg(verb, QLatin1String(kUsage)), 2);
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
    QWidget* target = findWidget(form, name, false);
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
    QWidget* target = findWidget(form, args.first(), true);
    if (!target)
        return CtlResult::fail(QStringLiteral("form %1 has no widget named or labelled '%2'").arg(form->objectName(), args.first()));
    QString text;
    if (!widgetText(target, text))
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

CtlResult HmiControl::doAreas() const
{
    QString out;
    for (int i = 0; i < m_framework->areaCount(); ++i) {
        const HmiFramework::Area& a = m_framework->area(i);
        out += QStringLiteral("%1 %2 %3%4\n")
                   .arg(a.name, a.dialogName, a.error.isEmpty() ? QStringLiteral("ok") : QStringLiteral("failed: "),
                        a.error);
    }
    return CtlResult::ok(out);
}

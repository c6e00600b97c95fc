#include "HmiWidgetCommands.h"

#include "HmiCommandTable.h"
#include "HmiWidgetAccess.h"
#include "XpdfWidget.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QJsonArray>
#include <QJsonDocument>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMetaProperty>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QPointer>
#include <QRadioButton>
#include <QTextEdit>
#include <QTreeView>

namespace {
// Runs after the answer has gone out, and only if the widget still lives.
template <typename W, typename F>
void post(W* widget, F&& action)
{
    QPointer<W> guard(widget);
    QMetaObject::invokeMethod(
        widget,
        [guard, action] {
            if (guard)
                action(guard.data());
        },
        Qt::QueuedConnection);
}

void sendKey(QWidget* receiver, int key)
{
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier);
    QApplication::sendEvent(receiver, &press);
    QApplication::sendEvent(receiver, &release);
}

// A click (or double click) of the mouse in the middle of an item, so the
// view emits everything a real click makes it emit.
void clickItem(QAbstractItemView* view, const QModelIndex& index, bool twice)
{
    view->scrollTo(index);
    const QPoint at = view->visualRect(index).center();
    QWidget* port = view->viewport();
    auto send = [port, at](QEvent::Type type, Qt::MouseButtons buttons) {
        QMouseEvent e(type, at, port->mapToGlobal(at), Qt::LeftButton, buttons, Qt::NoModifier);
        QApplication::sendEvent(port, &e);
    };
    send(QEvent::MouseButtonPress, Qt::LeftButton);
    send(QEvent::MouseButtonRelease, Qt::NoButton);
    if (twice) {
        send(QEvent::MouseButtonDblClick, Qt::LeftButton);
        send(QEvent::MouseButtonRelease, Qt::NoButton);
    }
}

bool parseOnOff(const QString& word, bool& on)
{
    if (word != QLatin1String("on") && word != QLatin1String("off"))
        return false;
    on = word == QLatin1String("on");
    return true;
}

// The item whose column-0 texts from the top spell PATH. An item's text may
// itself hold a '/', so each level takes the longest text that fits.
QModelIndex findPath(const QAbstractItemModel* model, const QModelIndex& parent, const QString& path)
{
    QModelIndex best;
    int bestLength = -1;
    for (int r = 0; r < model->rowCount(parent); ++r) {
        const QModelIndex child = model->index(r, 0, parent);
        const QString text = child.data().toString();
        if (text == path)
            return child;
        if (path.startsWith(text + QLatin1Char('/')) && text.size() > bestLength) {
            const QModelIndex deeper = findPath(model, child, path.mid(text.size() + 1));
            if (deeper.isValid()) {
                best = deeper;
                bestLength = text.size();
            }
        }
    }
    return best;
}

QStringList comboEntries(const QComboBox* combo)
{
    QStringList entries;
    for (int i = 0; i < combo->count(); ++i)
        entries << combo->itemText(i);
    return entries;
}

// Parts of a composite widget (a combo's line edit, a view's scroll bars, a
// PDF view's pages) are not the operator's to address on their own.
bool isInnerPart(const QWidget* widget, const QWidget* form)
{
    if (widget->objectName().startsWith(QLatin1String("qt_")))
        return true;
    for (const QWidget* p = widget->parentWidget(); p && p != form; p = p->parentWidget())
        if (qobject_cast<const QComboBox*>(p) || qobject_cast<const QAbstractSpinBox*>(p) ||
            qobject_cast<const QAbstractScrollArea*>(p) || qobject_cast<const XpdfWidget*>(p))
            return true;
    return false;
}

bool isOperable(const QWidget* w)
{
    return qobject_cast<const QAbstractButton*>(w) || qobject_cast<const QLineEdit*>(w) ||
           qobject_cast<const QTextEdit*>(w) || qobject_cast<const QPlainTextEdit*>(w) ||
           qobject_cast<const QComboBox*>(w) || qobject_cast<const QAbstractItemView*>(w) ||
           qobject_cast<const XpdfWidget*>(w) ||
           (qobject_cast<const QLabel*>(w) && !static_cast<const QLabel*>(w)->text().isEmpty());
}
}

HmiWidgetCommands::HmiWidgetCommands(std::function<QWidget*()> activeForm) : m_activeForm(std::move(activeForm)) {}

void HmiWidgetCommands::registerWith(HmiCommandTable& table)
{
    table.add(QStringLiteral("click"), QStringLiteral("click NAME"), [this](const QStringList& a) { return doClick(a); });
    table.add(QStringLiteral("check"), QStringLiteral("check NAME on|off"),
              [this](const QStringList& a) { return doCheck(a); });
    table.add(QStringLiteral("choose"), QStringLiteral("choose NAME TEXT"),
              [this](const QStringList& a) { return doChoose(a); });
    table.add(QStringLiteral("cell"), QStringLiteral("cell NAME ROW COL [--check on|off | --choose TEXT | --text TEXT]"),
              [this](const QStringList& a) { return doCell(a); });
    table.add(QStringLiteral("tree"), QStringLiteral("tree NAME expand|collapse|select|activate PATH"),
              [this](const QStringList& a) { return doTree(a); });
    table.add(QStringLiteral("widgets"), QStringLiteral("widgets [--json]"),
              [this](const QStringList& a) { return doWidgets(a); });
}

CtlResult HmiWidgetCommands::locate(const QString& name, bool buttonText, QWidget*& widget) const
{
    QWidget* form = m_activeForm();
    if (!form)
        return CtlResult::fail(QStringLiteral("no form is shown"));
    widget = HmiWidgetAccess::find(form, name, false, buttonText);
    if (!widget)
        return CtlResult::fail(QStringLiteral("form %1 has no widget named or labelled '%2'").arg(form->objectName(), name));
    if (!widget->isVisibleTo(form))
        return CtlResult::fail(QStringLiteral("widget '%1' is hidden").arg(name));
    if (!widget->isEnabled())
        return CtlResult::fail(QStringLiteral("widget '%1' is disabled").arg(name));
    return CtlResult::ok();
}

CtlResult HmiWidgetCommands::doClick(const QStringList& args) const
{
    if (args.size() != 1)
        return CtlResult::fail(QStringLiteral("usage: hmi click NAME"), 2);
    QWidget* w = nullptr;
    const CtlResult found = locate(args.first(), true, w);
    if (found.code != 0)
        return found;
    auto* button = qobject_cast<QAbstractButton*>(w);
    if (!button)
        return CtlResult::fail(QStringLiteral("widget '%1' (%2) is no button")
                                   .arg(args.first(), QLatin1String(w->metaObject()->className())));
    post(button, [](QAbstractButton* b) { b->click(); });
    return CtlResult::ok();
}

CtlResult HmiWidgetCommands::doCheck(const QStringList& args) const
{
    bool on = false;
    if (args.size() != 2 || !parseOnOff(args.at(1), on))
        return CtlResult::fail(QStringLiteral("usage: hmi check NAME on|off"), 2);
    QWidget* w = nullptr;
    const CtlResult found = locate(args.first(), true, w);
    if (found.code != 0)
        return found;
    auto* button = qobject_cast<QAbstractButton*>(w);
    if (!button || !button->isCheckable())
        return CtlResult::fail(QStringLiteral("widget '%1' is no check box or radio button").arg(args.first()));
    if (button->isChecked() == on)
        return CtlResult::ok();
    if (!on && qobject_cast<QRadioButton*>(button) && button->autoExclusive())
        return CtlResult::fail(QStringLiteral("radio button '%1' is unset by choosing another").arg(args.first()));
    post(button, [](QAbstractButton* b) { b->click(); });
    return CtlResult::ok();
}

CtlResult HmiWidgetCommands::doChoose(const QStringList& args) const
{
    if (args.size() != 2)
        return CtlResult::fail(QStringLiteral("usage: hmi choose NAME TEXT"), 2);
    QWidget* w = nullptr;
    const CtlResult found = locate(args.first(), false, w);
    if (found.code != 0)
        return found;
    auto* combo = qobject_cast<QComboBox*>(w);
    if (!combo)
        return CtlResult::fail(QStringLiteral("widget '%1' is no combo box").arg(args.first()));
    const int index = combo->findText(args.at(1), Qt::MatchExactly);
    if (index < 0)
        return CtlResult::fail(QStringLiteral("combo box '%1' has no entry '%2'; it has: %3")
                                   .arg(args.first(), args.at(1), comboEntries(combo).join(QStringLiteral(", "))));
    // Through the open list and the Return key, as the operator picks: only
    // that path emits activated(), which screens take as the operator's choice.
    post(combo, [index](QComboBox* c) {
        c->showPopup();
        QAbstractItemView* list = c->view();
        list->setCurrentIndex(c->model()->index(index, c->modelColumn(), c->rootModelIndex()));
        sendKey(list, Qt::Key_Return);
        if (c->currentIndex() != index) { // no popup on this platform
            c->hidePopup();
            c->setCurrentIndex(index);
            emit c->activated(index);
        }
    });
    return CtlResult::ok();
}

CtlResult HmiWidgetCommands::doCell(const QStringList& args) const
{
    static const QString usage = QStringLiteral("usage: hmi cell NAME ROW COL [--check on|off | --choose TEXT | --text TEXT]");
    if (args.size() != 3 && args.size() != 5)
        return CtlResult::fail(usage, 2);
    bool rowOk = false, columnOk = false;
    const int row = args.at(1).toInt(&rowOk);
    const int column = args.at(2).toInt(&columnOk);
    const QString mode = args.size() == 5 ? args.at(3) : QString();
    bool on = false;
    if (!rowOk || !columnOk ||
        !(mode.isEmpty() || (mode == QLatin1String("--check") && parseOnOff(args.at(4), on)) ||
          mode == QLatin1String("--choose") || mode == QLatin1String("--text")))
        return CtlResult::fail(usage, 2);
    QWidget* w = nullptr;
    const CtlResult found = locate(args.first(), false, w);
    if (found.code != 0)
        return found;
    auto* view = qobject_cast<QAbstractItemView*>(w);
    if (!view || !view->model())
        return CtlResult::fail(QStringLiteral("widget '%1' has no cells").arg(args.first()));
    const QModelIndex index = view->model()->index(row, column, view->rootIndex());
    if (!index.isValid())
        return CtlResult::fail(QStringLiteral("'%1' has no cell %2 %3 (%4 rows, %5 columns)")
                                   .arg(args.first())
                                   .arg(row)
                                   .arg(column)
                                   .arg(view->model()->rowCount(view->rootIndex()))
                                   .arg(view->model()->columnCount(view->rootIndex())));
    const Qt::ItemFlags flags = index.flags();
    if (mode.isEmpty()) {
        if (!(flags & Qt::ItemIsEnabled))
            return CtlResult::fail(QStringLiteral("cell %1 %2 of '%3' is disabled").arg(row).arg(column).arg(args.first()));
        post(view, [index](QAbstractItemView* v) { clickItem(v, index, false); });
        return CtlResult::ok();
    }
    const QString value = args.at(4);
    const QString where = QStringLiteral("cell %1 %2 of '%3'").arg(row).arg(column).arg(args.first());
    if (mode == QLatin1String("--check")) {
        if (!index.data(Qt::CheckStateRole).isValid())
            return CtlResult::fail(where + QStringLiteral(" has no check box"));
        if (!(flags & Qt::ItemIsEnabled) || !(flags & Qt::ItemIsUserCheckable))
            return CtlResult::fail(where + QStringLiteral(" is read-only"));
        if ((index.data(Qt::CheckStateRole).toInt() == Qt::Checked) == on)
            return CtlResult::ok();
        // The space key on the current cell is the operator's tick.
        post(view, [index](QAbstractItemView* v) {
            v->setCurrentIndex(index);
            sendKey(v, Qt::Key_Space);
        });
        return CtlResult::ok();
    }
    if (!(flags & Qt::ItemIsEditable) || !HmiWidgetAccess::isCellEditable(view, index))
        return CtlResult::fail(where + QStringLiteral(" is read-only"));
    // The delegate's editor, filled and closed with Return, so the value
    // reaches the model the way an operator's edit does.
    auto edit = [index](QAbstractItemView* v, const std::function<void(QWidget*)>& fill) {
        v->setCurrentIndex(index);
        v->edit(index);
        QWidget* editor = v->indexWidget(index);
        if (!editor)
            return;
        fill(editor);
        sendKey(editor, Qt::Key_Return);
    };
    if (mode == QLatin1String("--choose")) {
        // Which entries the cell offers, from an editor opened and closed
        // again before anything is changed.
        view->edit(index);
        auto* probe = qobject_cast<QComboBox*>(view->indexWidget(index));
        const QStringList entries = probe ? comboEntries(probe) : QStringList();
        if (probe)
            sendKey(probe, Qt::Key_Escape);
        if (!probe)
            return CtlResult::fail(where + QStringLiteral(" offers no choice"));
        if (!entries.contains(value))
            return CtlResult::fail(where + QStringLiteral(" has no entry '%1'; it has: %2").arg(value, entries.join(QStringLiteral(", "))));
        post(view, [edit, value](QAbstractItemView* v) {
            edit(v, [value](QWidget* e) {
                auto* box = qobject_cast<QComboBox*>(e);
                if (box)
                    box->setCurrentIndex(box->findText(value, Qt::MatchExactly));
            });
        });
        return CtlResult::ok();
    }
    post(view, [edit, value](QAbstractItemView* v) {
        edit(v, [value](QWidget* e) {
            if (auto* line = qobject_cast<QLineEdit*>(e))
                line->setText(value);
            else
                e->setProperty(e->metaObject()->userProperty().name(), value);
        });
    });
    return CtlResult::ok();
}

CtlResult HmiWidgetCommands::doTree(const QStringList& args) const
{
    static const QStringList actions = {QStringLiteral("expand"), QStringLiteral("collapse"), QStringLiteral("select"),
                                        QStringLiteral("activate")};
    if (args.size() != 3 || !actions.contains(args.at(1)))
        return CtlResult::fail(QStringLiteral("usage: hmi tree NAME expand|collapse|select|activate PATH"), 2);
    QWidget* w = nullptr;
    const CtlResult found = locate(args.first(), false, w);
    if (found.code != 0)
        return found;
    auto* tree = qobject_cast<QTreeView*>(w);
    if (!tree || !tree->model())
        return CtlResult::fail(QStringLiteral("widget '%1' is no tree").arg(args.first()));
    const QModelIndex index = findPath(tree->model(), tree->rootIndex(), args.at(2));
    if (!index.isValid())
        return CtlResult::fail(QStringLiteral("tree '%1' has no item '%2' (a folder's items show once it is expanded)")
                                   .arg(args.first(), args.at(2)));
    const QString action = args.at(1);
    if (action == QLatin1String("expand") || action == QLatin1String("collapse")) {
        const bool expand = action == QLatin1String("expand");
        post(tree, [index, expand](QTreeView* t) { expand ? t->expand(index) : t->collapse(index); });
        return CtlResult::ok();
    }
    if (!(index.flags() & Qt::ItemIsEnabled))
        return CtlResult::fail(QStringLiteral("item '%1' of '%2' is disabled").arg(args.at(2), args.first()));
    const bool twice = action == QLatin1String("activate");
    post(tree, [index, twice](QTreeView* t) {
        // An item inside a collapsed folder has no place on the screen
        // until its parents are open.
        for (QModelIndex p = index.parent(); p.isValid(); p = p.parent())
            t->expand(p);
        clickItem(t, index, twice);
    });
    return CtlResult::ok();
}

CtlResult HmiWidgetCommands::doWidgets(const QStringList& args) const
{
    const bool json = args.size() == 1 && args.first() == QLatin1String("--json");
    if (!args.isEmpty() && !json)
        return CtlResult::fail(QStringLiteral("usage: hmi widgets [--json]"), 2);
    QWidget* form = m_activeForm();
    if (!form)
        return CtlResult::fail(QStringLiteral("no form is shown"));
    QJsonArray all;
    QString out;
    for (QWidget* w : form->findChildren<QWidget*>()) {
        if (isInnerPart(w, form) || (w->objectName().isEmpty() && !isOperable(w)))
            continue;
        const QJsonObject o = HmiWidgetAccess::describe(w, form);
        all.append(o);
        QString text = o.value(QStringLiteral("text")).toString();
        text.replace(QLatin1Char('\n'), QLatin1String("\\n")).replace(QLatin1Char('\t'), QLatin1Char(' '));
        out += QStringLiteral("%1\t%2\t%3\t%4\t%5\t\"%6\"\n")
                   .arg(o.value(QStringLiteral("name")).toString(), o.value(QStringLiteral("class")).toString(),
                        o.value(QStringLiteral("visible")).toBool() ? QStringLiteral("visible") : QStringLiteral("hidden"),
                        o.value(QStringLiteral("enabled")).toBool() ? QStringLiteral("enabled") : QStringLiteral("disabled"),
                        o.value(QStringLiteral("readOnly")).toBool() ? QStringLiteral("read-only") : QStringLiteral("editable"),
                        text);
    }
    if (json)
        return CtlResult::ok(QString::fromUtf8(QJsonDocument(all).toJson(QJsonDocument::Compact)));
    return CtlResult::ok(out);
}

#include "HmiWidgetAccess.h"

#include "XpdfWidget.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QTableWidget>
#include <QTextEdit>
#include <QTreeView>
#include <QTreeWidget>

namespace {
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

void treeLines(const QAbstractItemModel* model, const QModelIndex& parent, int depth, QStringList& lines)
{
    for (int r = 0; r < model->rowCount(parent); ++r) {
        const QModelIndex index = model->index(r, 0, parent);
        lines << QString(depth * 2, QLatin1Char(' ')) + index.data().toString();
        treeLines(model, index, depth + 1, lines);
    }
}

}

bool HmiWidgetAccess::isCellEditable(const QAbstractItemView* view, const QModelIndex& index)
{
    const Qt::ItemFlags flags = index.flags();
    if (!(flags & Qt::ItemIsEnabled))
        return false;
    // A plain cell carries the checkable flag too; only one with a check
    // state shows a box to tick.
    return ((flags & Qt::ItemIsUserCheckable) && index.data(Qt::CheckStateRole).isValid()) ||
           ((flags & Qt::ItemIsEditable) && view->editTriggers() != QAbstractItemView::NoEditTriggers);
}

QWidget* HmiWidgetAccess::find(QWidget* form, const QString& name, bool labels, bool buttonText)
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
    if (buttonText)
        for (QAbstractButton* b : form->findChildren<QAbstractButton*>())
            if (normalisedLabel(b->text().remove(QLatin1Char('&'))) == normalisedLabel(name))
                return b;
    return nullptr;
}

bool HmiWidgetAccess::text(QWidget* w, QString& text)
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
    } else if (auto* tree = qobject_cast<QTreeView*>(w)) {
        if (tree->model())
            treeLines(tree->model(), tree->rootIndex(), 0, lines);
        text = lines.join(QLatin1Char('\n'));
    } else if (auto* pdf = qobject_cast<XpdfWidget*>(w)) {
        // The zoom the pages on show were drawn at, as the operator sees
        // them; only before they are drawn the one the view would use.
        double zoom = pdf->getZoom();
        if (pdf->hasOpenDocument())
            zoom = pdf->getRenderedZoomPercent() > 0 ? pdf->getRenderedZoomPercent() : pdf->getZoomPercent();
        text = QStringLiteral("file: %1\npages: %2\nzoom: %3")
                   .arg(pdf->hasOpenDocument() ? pdf->getFileName() : QString())
                   .arg(pdf->hasOpenDocument() ? pdf->getNumPages() : 0)
                   .arg(zoom);
    } else {
        return false;
    }
    return true;
}

bool HmiWidgetAccess::isReadOnly(const QWidget* w)
{
    if (auto* e = qobject_cast<const QLineEdit*>(w))
        return e->isReadOnly();
    if (auto* t = qobject_cast<const QTextEdit*>(w))
        return t->isReadOnly();
    if (auto* p = qobject_cast<const QPlainTextEdit*>(w))
        return p->isReadOnly();
    if (qobject_cast<const QComboBox*>(w) || qobject_cast<const QAbstractButton*>(w))
        return false;
    // An item view is read-only when none of its cells takes an edit or a
    // tick; choosing a row is not a change of what it holds.
    if (auto* view = qobject_cast<const QAbstractItemView*>(w)) {
        const QAbstractItemModel* model = view->model();
        if (!model)
            return true;
        for (int r = 0; r < model->rowCount(view->rootIndex()); ++r)
            for (int c = 0; c < model->columnCount(view->rootIndex()); ++c)
                if (isCellEditable(view, model->index(r, c, view->rootIndex())))
                    return false;
        return true;
    }
    return true;
}

QJsonObject HmiWidgetAccess::describe(QWidget* w, const QWidget* form)
{
    QJsonObject o;
    o.insert(QStringLiteral("name"), w->objectName().isEmpty() ? w->accessibleName() : w->objectName());
    o.insert(QStringLiteral("class"), QLatin1String(w->metaObject()->className()));
    o.insert(QStringLiteral("visible"), w->isVisibleTo(form) && form->isVisible());
    o.insert(QStringLiteral("enabled"), w->isEnabled());
    o.insert(QStringLiteral("readOnly"), isReadOnly(w));
    QString value;
    if (text(w, value))
        o.insert(QStringLiteral("text"), value);
    return o;
}

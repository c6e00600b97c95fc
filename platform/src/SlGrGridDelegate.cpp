#include "SlGrGridDelegate.h"

#include "SlGrComboGridItem.h"
#include "SlGrGrid.h"

#include <QComboBox>

SlGrGridDelegate::SlGrGridDelegate(SlGrGrid* grid) : QStyledItemDelegate(grid), m_grid(grid) {}

void SlGrGridDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    const QPalette palette = m_grid->getCellColorPalette(index.row(), index.column());
    option->palette = palette;
    if (palette.color(QPalette::Base) != m_grid->palette().color(QPalette::Base))
        option->backgroundBrush = palette.brush(QPalette::Base);
    option->displayAlignment = m_grid->columnAlignment(index.column());
}

QWidget* SlGrGridDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                        const QModelIndex& index) const
{
    if (auto* combo = dynamic_cast<SlGrComboGridItem*>(m_grid->item(index.row(), index.column()))) {
        auto* editor = new QComboBox(parent);
        editor->addItems(combo->items());
        return editor;
    }
    return QStyledItemDelegate::createEditor(parent, option, index);
}

void SlGrGridDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const
{
    if (auto* box = qobject_cast<QComboBox*>(editor)) {
        if (auto* combo = dynamic_cast<SlGrComboGridItem*>(m_grid->item(index.row(), index.column()))) {
            box->setCurrentIndex(combo->currentIndex());
            return;
        }
    }
    QStyledItemDelegate::setEditorData(editor, index);
}

void SlGrGridDelegate::setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const
{
    if (auto* box = qobject_cast<QComboBox*>(editor)) {
        if (auto* combo = dynamic_cast<SlGrComboGridItem*>(m_grid->item(index.row(), index.column()))) {
            combo->setCurrentIndex(box->currentIndex());
            return;
        }
    }
    QStyledItemDelegate::setModelData(editor, model, index);
}

QSize SlGrGridDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    return QStyledItemDelegate::sizeHint(option, index) + QSize(m_grid->columnDistance(), m_grid->rowDistance());
}

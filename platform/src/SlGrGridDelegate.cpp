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
        // A choice counts the moment it is made, as on the panel, not only
        // when the editor loses the focus.
        auto* self = const_cast<SlGrGridDelegate*>(this);
        connect(editor, qOverload<int>(&QComboBox::activated), self, [self, editor](int) {
            emit self->commitData(editor);
        });
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
    ++m_grid->m_operatorEdit;
    auto* box = qobject_cast<QComboBox*>(editor);
    auto* combo = box ? dynamic_cast<SlGrComboGridItem*>(m_grid->item(index.row(), index.column())) : nullptr;
    if (combo)
        combo->setCurrentIndex(box->currentIndex());
    else
        QStyledItemDelegate::setModelData(editor, model, index);
    --m_grid->m_operatorEdit;
}

bool SlGrGridDelegate::editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                                   const QModelIndex& index)
{
    // A click or the space key on a check cell ticks it here, without an
    // editor.
    ++m_grid->m_operatorEdit;
    const bool taken = QStyledItemDelegate::editorEvent(event, model, option, index);
    --m_grid->m_operatorEdit;
    return taken;
}

QSize SlGrGridDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    return QStyledItemDelegate::sizeHint(option, index) + QSize(m_grid->columnDistance(), m_grid->rowDistance());
}

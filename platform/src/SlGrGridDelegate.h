#pragma once

#include <QStyledItemDelegate>

class SlGrGrid;

// Paints an SlGrGrid's cells in their palettes and alignments, and edits
// combo cells with a combo box. What it writes into the grid is the
// operator's doing, and only that makes the grid emit valueChanged.
class SlGrGridDelegate : public QStyledItemDelegate
{
    Q_OBJECT
public:
    explicit SlGrGridDelegate(SlGrGrid* grid);

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;

private:
    SlGrGrid* m_grid;
};

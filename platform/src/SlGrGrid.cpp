#include "SlGrGrid.h"

#include "SlGrGridDelegate.h"

SlGrGrid::SlGrGrid(int rows, int columns, QWidget* parent, const QString& name) : QTableWidget(rows, columns, parent)
{
    setObjectName(name);
    setHorizontalHeader(new SlGrHeader(Qt::Horizontal, this));
    setVerticalHeader(new SlGrHeader(Qt::Vertical, this));
    setItemDelegate(new SlGrGridDelegate(this));
    // Columns without a head text would show their numbers.
    for (int c = 0; c < columns; ++c)
        setHorizontalHeaderItem(c, new QTableWidgetItem(QString()));
    setSelectionMode(SingleCell);
    setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::SelectedClicked |
                    QAbstractItemView::EditKeyPressed);
    connect(this, &QTableWidget::itemChanged, this, [this](QTableWidgetItem* item) {
        if (m_operatorEdit > 0)
            emit valueChanged(item->row(), item->column());
    });
    connect(this, &QTableWidget::currentCellChanged, this,
            [this](int row, int column, int, int) { emit currentChanged(row, column); });
}

SlGrHeader* SlGrGrid::horizontalHeader() const
{
    return static_cast<SlGrHeader*>(QTableWidget::horizontalHeader());
}

SlGrHeader* SlGrGrid::verticalHeader() const
{
    return static_cast<SlGrHeader*>(QTableWidget::verticalHeader());
}

int SlGrGrid::appendRow()
{
    const int row = rowCount();
    insertRow(row);
    return row;
}

QString SlGrGrid::text(int row, int column) const
{
    const QTableWidgetItem* it = item(row, column);
    return it ? it->text() : QString();
}

void SlGrGrid::setText(int row, int column, const QString& text)
{
    if (row < 0 || row >= rowCount() || column < 0 || column >= columnCount())
        return;
    if (QTableWidgetItem* it = item(row, column))
        it->setText(text);
    else
        setItem(row, column, new QTableWidgetItem(text));
}

void SlGrGrid::setColumnColorPalette(int column, const QPalette& palette)
{
    m_columnPalettes.insert(column, palette);
    viewport()->update();
}

QPalette SlGrGrid::columnColorPalette(int column) const
{
    return m_columnPalettes.value(column, palette());
}

QPalette SlGrGrid::getCellColorPalette(int row, int column) const
{
    if (const QTableWidgetItem* it = item(row, column)) {
        const QVariant own = it->data(CellPaletteRole);
        if (own.canConvert<QPalette>())
            return own.value<QPalette>();
    }
    return columnColorPalette(column);
}

void SlGrGrid::setCellColorPalette(int row, int column, const QPalette& palette)
{
    QTableWidgetItem* it = item(row, column);
    if (!it) {
        if (row < 0 || row >= rowCount() || column < 0 || column >= columnCount())
            return;
        it = new QTableWidgetItem;
        setItem(row, column, it);
    }
    it->setData(CellPaletteRole, QVariant::fromValue(palette));
}

void SlGrGrid::setColumnAlignment(int column, Qt::Alignment alignment)
{
    m_columnAlignments.insert(column, alignment);
    viewport()->update();
}

Qt::Alignment SlGrGrid::columnAlignment(int column) const
{
    return m_columnAlignments.value(column, Qt::AlignLeft | Qt::AlignVCenter);
}

void SlGrGrid::setSelectionMode(int mode)
{
    m_selection = mode;
    switch (mode) {
    case NoSelection:
        QTableWidget::setSelectionMode(QAbstractItemView::NoSelection);
        break;
    case SingleRow:
        QTableWidget::setSelectionMode(QAbstractItemView::SingleSelection);
        setSelectionBehavior(QAbstractItemView::SelectRows);
        break;
    case MultiRow:
        QTableWidget::setSelectionMode(QAbstractItemView::MultiSelection);
        setSelectionBehavior(QAbstractItemView::SelectRows);
        break;
    default:
        QTableWidget::setSelectionMode(QAbstractItemView::SingleSelection);
        setSelectionBehavior(QAbstractItemView::SelectItems);
        break;
    }
}

void SlGrGrid::setColumnDistance(int pixels)
{
    m_columnDistance = qMax(0, pixels);
    doItemsLayout();
}

void SlGrGrid::setRowDistance(int pixels)
{
    m_rowDistance = qMax(0, pixels);
    doItemsLayout();
}

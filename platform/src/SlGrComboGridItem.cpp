#include "SlGrComboGridItem.h"

SlGrComboGridItem::SlGrComboGridItem(const QStringList& items) : QTableWidgetItem(Type), m_items(items)
{
    setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsEditable);
    QTableWidgetItem::setData(CurrentIndexRole, items.isEmpty() ? -1 : 0);
}

void SlGrComboGridItem::setItems(const QStringList& items)
{
    m_items = items;
    setCurrentIndex(items.isEmpty() ? -1 : 0);
}

int SlGrComboGridItem::currentIndex() const
{
    return QTableWidgetItem::data(CurrentIndexRole).toInt();
}

void SlGrComboGridItem::setCurrentIndex(int index)
{
    if (index < -1 || index >= m_items.size())
        return;
    QTableWidgetItem::setData(CurrentIndexRole, index);
}

QString SlGrComboGridItem::currentText() const
{
    return m_items.value(currentIndex());
}

QVariant SlGrComboGridItem::data(int role) const
{
    if (role == Qt::DisplayRole || role == Qt::EditRole)
        return currentText();
    return QTableWidgetItem::data(role);
}

void SlGrComboGridItem::setData(int role, const QVariant& value)
{
    // An editor hands back the chosen text; the cell keeps the index.
    if (role == Qt::EditRole || role == Qt::DisplayRole) {
        const int index = m_items.indexOf(value.toString());
        if (index >= 0)
            setCurrentIndex(index);
        return;
    }
    QTableWidgetItem::setData(role, value);
}

QTableWidgetItem* SlGrComboGridItem::clone() const
{
    return new SlGrComboGridItem(*this);
}

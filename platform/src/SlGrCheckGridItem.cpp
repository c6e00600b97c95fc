#include "SlGrCheckGridItem.h"

SlGrCheckGridItem::SlGrCheckGridItem(const QString& text, bool checked) : QTableWidgetItem(text, Type)
{
    setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
    setCheckState(checked ? Qt::Checked : Qt::Unchecked);
}

bool SlGrCheckGridItem::isChecked() const
{
    return checkState() == Qt::Checked;
}

void SlGrCheckGridItem::setChecked(bool checked)
{
    if (isChecked() != checked)
        setCheckState(checked ? Qt::Checked : Qt::Unchecked);
}

QTableWidgetItem* SlGrCheckGridItem::clone() const
{
    return new SlGrCheckGridItem(*this);
}

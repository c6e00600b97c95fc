#pragma once

#include <QTableWidgetItem>

// A grid cell with a check box; a tick by the operator makes the grid
// emit valueChanged for the cell.
class SlGrCheckGridItem : public QTableWidgetItem
{
public:
    static const int Type = QTableWidgetItem::UserType + 1;

    explicit SlGrCheckGridItem(const QString& text = QString(), bool checked = false);

    bool isChecked() const;
    void setChecked(bool checked);

    QTableWidgetItem* clone() const override;
};

#pragma once

#include <QStringList>
#include <QTableWidgetItem>

// A grid cell that offers a choice from a list; the cell shows the
// current entry and opens a combo box when edited. A change of the
// current entry by the operator makes the grid emit valueChanged for the
// cell; one set by code does not.
class SlGrComboGridItem : public QTableWidgetItem
{
public:
    static const int Type = QTableWidgetItem::UserType + 2;
    static const int CurrentIndexRole = Qt::UserRole + 2;

    explicit SlGrComboGridItem(const QStringList& items = QStringList());

    void setItems(const QStringList& items);
    QStringList items() const { return m_items; }
    int count() const { return m_items.size(); }

    int currentIndex() const;
    void setCurrentIndex(int index);
    QString currentText() const;

    QVariant data(int role) const override;
    void setData(int role, const QVariant& value) override;
    QTableWidgetItem* clone() const override;

private:
    QStringList m_items;
};

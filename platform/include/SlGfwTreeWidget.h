#pragma once

#include "SlGfwTreeWidgetItem.h"

#include <QTreeWidget>

// The platform's tree. It holds SlGfwTreeWidgetItem only, and its item
// signals carry that type; the Qt signals of the same names go on too.
class SlGfwTreeWidget : public QTreeWidget
{
    Q_OBJECT
public:
    explicit SlGfwTreeWidget(QWidget* parent = nullptr);

    SlGfwTreeWidgetItem* topLevelItem(int index) const;
    SlGfwTreeWidgetItem* takeTopLevelItem(int index);
    SlGfwTreeWidgetItem* currentItem() const;

signals:
    void itemDoubleClicked(SlGfwTreeWidgetItem* item, int column);
    void itemClicked(SlGfwTreeWidgetItem* item, int column);
    void itemExpanded(SlGfwTreeWidgetItem* item);
    void itemCollapsed(SlGfwTreeWidgetItem* item);
};

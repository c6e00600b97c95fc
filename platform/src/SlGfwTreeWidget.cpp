#include "SlGfwTreeWidget.h"

namespace {
// Items of another class would make the typed signals lie, so they are
// passed on as null rather than cast blindly.
SlGfwTreeWidgetItem* typed(QTreeWidgetItem* item)
{
    return item && item->type() >= QTreeWidgetItem::UserType ? static_cast<SlGfwTreeWidgetItem*>(item) : nullptr;
}
}

SlGfwTreeWidget::SlGfwTreeWidget(QWidget* parent) : QTreeWidget(parent)
{
    connect(this, qOverload<QTreeWidgetItem*, int>(&QTreeWidget::itemDoubleClicked), this,
            [this](QTreeWidgetItem* item, int column) { emit itemDoubleClicked(typed(item), column); });
    connect(this, qOverload<QTreeWidgetItem*, int>(&QTreeWidget::itemClicked), this,
            [this](QTreeWidgetItem* item, int column) { emit itemClicked(typed(item), column); });
    connect(this, qOverload<QTreeWidgetItem*>(&QTreeWidget::itemExpanded), this,
            [this](QTreeWidgetItem* item) { emit itemExpanded(typed(item)); });
    connect(this, qOverload<QTreeWidgetItem*>(&QTreeWidget::itemCollapsed), this,
            [this](QTreeWidgetItem* item) { emit itemCollapsed(typed(item)); });
}

SlGfwTreeWidgetItem* SlGfwTreeWidget::topLevelItem(int index) const
{
    return typed(QTreeWidget::topLevelItem(index));
}

SlGfwTreeWidgetItem* SlGfwTreeWidget::takeTopLevelItem(int index)
{
    return typed(QTreeWidget::takeTopLevelItem(index));
}

SlGfwTreeWidgetItem* SlGfwTreeWidget::currentItem() const
{
    return typed(QTreeWidget::currentItem());
}

#include "SlGfwTreeWidgetItem.h"

SlGfwTreeWidgetItem::SlGfwTreeWidgetItem(int type) : QTreeWidgetItem(type) {}
SlGfwTreeWidgetItem::SlGfwTreeWidgetItem(const QStringList& texts, int type) : QTreeWidgetItem(texts, type) {}
SlGfwTreeWidgetItem::SlGfwTreeWidgetItem(SlGfwTreeWidgetItem* parent, int type) : QTreeWidgetItem(parent, type) {}
SlGfwTreeWidgetItem::SlGfwTreeWidgetItem(QTreeWidget* parent, int type) : QTreeWidgetItem(parent, type) {}

SlGfwTreeWidgetItem* SlGfwTreeWidgetItem::parent() const
{
    return static_cast<SlGfwTreeWidgetItem*>(QTreeWidgetItem::parent());
}

SlGfwTreeWidgetItem* SlGfwTreeWidgetItem::child(int index) const
{
    return static_cast<SlGfwTreeWidgetItem*>(QTreeWidgetItem::child(index));
}

SlGfwTreeWidgetItem* SlGfwTreeWidgetItem::takeChild(int index)
{
    return static_cast<SlGfwTreeWidgetItem*>(QTreeWidgetItem::takeChild(index));
}

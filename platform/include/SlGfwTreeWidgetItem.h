#pragma once

#include <QTreeWidgetItem>

// An item of SlGfwTreeWidget; the typed accessors spare the caller casts.
class SlGfwTreeWidgetItem : public QTreeWidgetItem
{
public:
    explicit SlGfwTreeWidgetItem(int type = UserType);
    explicit SlGfwTreeWidgetItem(const QStringList& texts, int type = UserType);
    explicit SlGfwTreeWidgetItem(SlGfwTreeWidgetItem* parent, int type = UserType);
    explicit SlGfwTreeWidgetItem(QTreeWidget* parent, int type = UserType);

    SlGfwTreeWidgetItem* parent() const;
    SlGfwTreeWidgetItem* child(int index) const;
    SlGfwTreeWidgetItem* takeChild(int index);
};

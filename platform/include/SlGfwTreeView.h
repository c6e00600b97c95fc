#pragma once

#include <QTreeView>

// The platform's tree view, with the behaviour of the Qt widget it extends.
class SlGfwTreeView : public QTreeView
{
    Q_OBJECT
public:
    explicit SlGfwTreeView(QWidget* parent = nullptr) : QTreeView(parent) {}
};

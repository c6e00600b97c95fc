#pragma once

#include <QListWidget>

// The platform's list, with the behaviour of the Qt widget it extends.
class SlGfwListWidget : public QListWidget
{
    Q_OBJECT
public:
    explicit SlGfwListWidget(QWidget* parent = nullptr) : QListWidget(parent) {}
};

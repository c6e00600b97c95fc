#pragma once

#include <QLabel>

// The platform's label, with the behaviour of the Qt widget it extends.
class SlGfwLabel : public QLabel
{
    Q_OBJECT
public:
    explicit SlGfwLabel(QWidget* parent = nullptr) : QLabel(parent) {}
    explicit SlGfwLabel(const QString& text, QWidget* parent = nullptr) : QLabel(text, parent) {}
};

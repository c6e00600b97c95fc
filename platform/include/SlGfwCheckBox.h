#pragma once

#include <QCheckBox>

// The platform's check box, with the behaviour of the Qt widget it extends.
class SlGfwCheckBox : public QCheckBox
{
    Q_OBJECT
public:
    explicit SlGfwCheckBox(QWidget* parent = nullptr) : QCheckBox(parent) {}
    explicit SlGfwCheckBox(const QString& text, QWidget* parent = nullptr) : QCheckBox(text, parent) {}
};

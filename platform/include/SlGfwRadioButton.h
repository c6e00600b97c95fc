#pragma once

#include <QRadioButton>

// The platform's radio button, with the behaviour of the Qt widget it extends.
class SlGfwRadioButton : public QRadioButton
{
    Q_OBJECT
public:
    explicit SlGfwRadioButton(QWidget* parent = nullptr) : QRadioButton(parent) {}
    explicit SlGfwRadioButton(const QString& text, QWidget* parent = nullptr) : QRadioButton(text, parent) {}
};

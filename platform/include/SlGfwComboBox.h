#pragma once

#include <QComboBox>

// The platform's combo box; valueChanged names the widget whose choice
// changed, so one slot can serve many boxes.
class SlGfwComboBox : public QComboBox
{
    Q_OBJECT
public:
    explicit SlGfwComboBox(QWidget* parent = nullptr);

signals:
    void valueChanged(QWidget* source);
};

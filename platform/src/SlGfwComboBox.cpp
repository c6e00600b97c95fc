#include "SlGfwComboBox.h"

SlGfwComboBox::SlGfwComboBox(QWidget* parent) : QComboBox(parent)
{
    connect(this, qOverload<int>(&QComboBox::currentIndexChanged), this, [this](int) { emit valueChanged(this); });
}

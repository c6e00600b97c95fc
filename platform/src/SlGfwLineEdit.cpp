#include "SlGfwLineEdit.h"

SlGfwLineEdit::SlGfwLineEdit(QWidget* parent) : QLineEdit(parent)
{
    connect(this, qOverload<const QString&>(&QLineEdit::textChanged), this,
            [this](const QString& text) { emit textChanged(text, this); });
}

void SlGfwLineEdit::setValue(const QVariant& value)
{
    if (value.type() == QVariant::Double)
        setText(QString::number(value.toDouble(), 'g', 15));
    else
        setText(value.toString());
}

#include "SlGfwLineEdit.h"

SlGfwLineEdit::SlGfwLineEdit(QWidget* parent) : QLineEdit(parent)
{
    connect(this, qOverload<const QString&>(&QLineEdit::textChanged), this,
            [this](const QString& text) { emit textChanged(text, this); });
}

void SlGfwLineEdit::setValue(const QVariant& value)
{
    // Twelve significant digits keep a nanometre on a metre of travel but
    // drop the binary noise of NC arithmetic (0.567, not 0.566999999999999).
    if (value.type() == QVariant::Double)
        setText(QString::number(value.toDouble(), 'g', 12));
    else
        setText(value.toString());
}

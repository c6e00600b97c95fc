#pragma once

#include <QLineEdit>
#include <QVariant>

// The platform's line edit. It takes values of any type and tells its
// listeners which widget changed, so one slot can serve many edits.
class SlGfwLineEdit : public QLineEdit
{
    Q_OBJECT
public:
    explicit SlGfwLineEdit(QWidget* parent = nullptr);

    // Shows the value as text: numbers in the C locale, so a double reads
    // back through toDouble.
    void setValue(const QVariant& value);
    QVariant value() const { return text(); }

signals:
    void textChanged(const QString& text, QWidget* source);
};

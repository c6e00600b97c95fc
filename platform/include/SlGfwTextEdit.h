#pragma once

#include <QTextEdit>

// The platform's text edit, with the behaviour of the Qt widget it extends.
class SlGfwTextEdit : public QTextEdit
{
    Q_OBJECT
public:
    explicit SlGfwTextEdit(QWidget* parent = nullptr) : QTextEdit(parent) {}
};

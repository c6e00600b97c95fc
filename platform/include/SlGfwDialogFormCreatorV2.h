#pragma once

#include "SlGfwCreatorBaseV2.h"

#include <Qt>

// Makes a form T(parent, name, flags) with no window flags.
template <class T>
class SlGfwDialogFormCreatorV2 : public SlGfwCreatorBaseV2
{
public:
    using SlGfwCreatorBaseV2::SlGfwCreatorBaseV2;
    QWidget* createWidget(QWidget* parent, const QString& name) override
    {
        return new T(parent, name, Qt::WindowFlags());
    }
    int rtti() const override { return 10; }
};

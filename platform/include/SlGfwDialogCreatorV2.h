#pragma once

#include "SlGfwCreatorBaseV2.h"

// Makes the dialog of an area, T(parent, name); T derives from SlGfwHmiDialog.
template <class T>
class SlGfwDialogCreatorV2 : public SlGfwCreatorBaseV2
{
public:
    using SlGfwCreatorBaseV2::SlGfwCreatorBaseV2;
    QObject* createObject(QObject* parent, const QString& name) override { return new T(parent, name); }
    int rtti() const override { return 2; }
};

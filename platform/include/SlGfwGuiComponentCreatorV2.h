#pragma once

#include "SlGfwCreatorBaseV2.h"

// Makes a plain gui component T(parent, name).
template <class T>
class SlGfwGuiComponentCreatorV2 : public SlGfwCreatorBaseV2
{
public:
    using SlGfwCreatorBaseV2::SlGfwCreatorBaseV2;
    QObject* createObject(QObject* parent, const QString& name) override { return new T(parent, name); }
    int rtti() const override { return 1; }
};

#pragma once

#include <QString>

// Records of the NC vocabulary shared by the NC access layer, the
// configuration and the screens.

enum tagWorkofsType
{
    WORKOFS_COARSE = 0,
    WORKOFS_FINE = 1,
    WORKOFS_ROTATION = 2
};

enum tagAxisType
{
    AXIS_UNKNOWN = -1,
    AXIS_LINEAR = 0,
    AXIS_ROTARY = 1,
    AXIS_SPINDLE = 2
};

struct tagAxisInfo
{
    int index = 0;               // place in the channel's full axis array
    tagAxisType type = AXIS_UNKNOWN;
    QString name;
    double value = 0.0;
};

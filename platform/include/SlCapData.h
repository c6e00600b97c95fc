#pragma once

#include <QString>

// The variable service's defaults.
class SlCapData
{
public:
    // Milliseconds between two notifications of one subscription: the update
    // period of the running NC, 100 when none runs.
    static unsigned int standardUpdateRate();
    static unsigned int standardTimeout();
    static unsigned int extendedTimeout();
    static const QString& nullString();
};

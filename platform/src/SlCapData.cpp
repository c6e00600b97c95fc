#include "SlCapData.h"

#include "VirtualNc.h"

unsigned int SlCapData::standardUpdateRate()
{
    const VirtualNc* nc = VirtualNc::current();
    return nc ? static_cast<unsigned int>(nc->updatePeriodMs()) : 100u;
}

unsigned int SlCapData::standardTimeout()
{
    return 5000;
}

unsigned int SlCapData::extendedTimeout()
{
    return 30000;
}

const QString& SlCapData::nullString()
{
    static const QString empty;
    return empty;
}

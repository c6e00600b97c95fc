#pragma once

#include <QDateTime>
#include <QMetaType>

// What the service tells about a value besides the value itself.
class SlCapSupplementInfoType
{
public:
    QDateTime m_timeStamp; // when the NC delivered the value
    unsigned int m_handleId = 0; // the subscription that delivered it, 0 for a read
};

Q_DECLARE_METATYPE(SlCapSupplementInfoType)

#pragma once

#include "SlCapErrorEnum.h"

#include <QMetaType>
#include <QVariant>

// One variable of a multi-variable notification, in the order of the specs.
class SlCapAdviseResultType
{
public:
    SlCapErrorEnum m_error = SL_CAP_OK;
    // True when this notification carries a new value (or a new error) for the
    // variable; the first notification after advise carries all of them.
    bool m_hasValue = false;
    QVariant m_value;
};

using SlCapAdviseResult = SlCapAdviseResultType;

Q_DECLARE_METATYPE(SlCapAdviseResultType)

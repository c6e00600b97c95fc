#pragma once

#include <QMetaType>
#include <QString>

// One variable of a subscription.
class SlCapAdviseSpec
{
public:
    SlCapAdviseSpec() = default;
    SlCapAdviseSpec(const QString& item, unsigned int updateRate, double hysteresis = 0.0,
                    unsigned int flags = 0, unsigned long long context = 0)
        : m_item(item), m_updateRate(updateRate), m_hysteresis(hysteresis), m_flags(flags), m_context(context)
    {
    }

    QString m_item;              // the variable's address
    unsigned int m_updateRate = 0; // milliseconds; never faster than the NC's update period
    double m_hysteresis = 0.0;   // numeric changes smaller than this are not notified
    unsigned int m_flags = 0;    // reserved, 0
    unsigned long long m_context = 0; // handed to SlQCap::advise as its last argument
};

Q_DECLARE_METATYPE(SlCapAdviseSpec)

#pragma once

#include <QDateTime>
#include <QHash>
#include <QString>
#include <QVariant>

// One alarm event. The sink owns it; it is valid while the signal runs.
class SlAeEvent
{
public:
    enum AlarmState {
        STATE_CLEARED = 20,   // the alarm went away
        STATE_RAISED = 21,    // the alarm came
        STATE_ACKNOWLEDGED = 22
    };
    enum Attribute {
        ATTR_MESSAGE_TEXT = -1, // QString, in the sink's language
        ATTR_SOURCE_TEXT = -2,  // QString, "NCK" or "HMI"
        ATTR_CHANNEL = -3,      // uint, 1 for a channel alarm, 0 otherwise
        ATTR_KIND = -9          // uint, the alarm's kind (2: the channel is not stopped)
    };

    SlAeEvent(int state, long alarmId, unsigned int sourceId, const QDateTime& time,
              const QHash<int, QVariant>& attributes);

    int getAlarmState() const { return m_state; }
    long getAlarmId() const { return m_alarmId; }
    unsigned int getSourceId() const { return m_sourceId; }
    QDateTime getTimeStamp() const { return m_time; }
    // Only attributes named with setReturnAttributes are delivered.
    QVariant getAttribute(int attribute) const { return m_attributes.value(attribute); }

private:
    int m_state;
    long m_alarmId;
    unsigned int m_sourceId;
    QDateTime m_time;
    QHash<int, QVariant> m_attributes;
};

#include "SlAeEvent.h"

SlAeEvent::SlAeEvent(int state, long alarmId, unsigned int sourceId, const QDateTime& time,
                     const QHash<int, QVariant>& attributes)
    : m_state(state), m_alarmId(alarmId), m_sourceId(sourceId), m_time(time), m_attributes(attributes)
{
}

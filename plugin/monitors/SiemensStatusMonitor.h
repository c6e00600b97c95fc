#pragma once

#include "SiemensAPITypes.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QVector>

class CSiemensAPI;
class CSiemensHotlink;
class SlAeEvent;
class SlAeQEventSink;

// Tells the measurement application what the machine and its program are
// doing: channel status, program start and end, and alarms that stop the
// channel, derived from one hotlink on three channel variables and from the
// HMI's alarm stream.
class CSiemensStatusMonitor : public QObject
{
    Q_OBJECT
public:
    explicit CSiemensStatusMonitor(CSiemensAPI* api);
    ~CSiemensStatusMonitor() override;

    int Initialize();
    int CreateAlarmHandle();
    int CreateStatusHandle();

public slots:
    void slotStatusHandle(unsigned int handleID, const QVector<HotlinkResultType>& results);
    void slotAlramHandle(const QList<SlAeEvent*>& rEventList);

private:
    CSiemensAPI* m_pAPI = nullptr;
    CSiemensHotlink* m_pHotlink = nullptr;
    SlAeQEventSink* m_pAlarmSink = nullptr;
    bool m_isOpMode2 = false;
    QString m_currProgram;
    bool m_chanAlarm = false;
    int m_progEndCount = 0;
    qint64 m_alarmId = -1;
    QString m_alarmText;
    unsigned int m_alarmSource = 0;
    quint16 m_alarmKind = 0;
};

#pragma once

#include "SiemensAPITypes.h"

#include <QObject>
#include <QVector>

class CSiemensAPI;
class CSiemensNC;
class CSiemensHotlink;

// Follows the sphere centre program through the state word of
// TMR_FINDSPHERE: 1 while it runs, 2 when the centre stands in the array.
// A finished run is taken, the state word set back to 0 and the centre
// handed to the sphere centre screen.
class CSiemensFindSphereCenterMonitor : public QObject
{
    Q_OBJECT
public:
    CSiemensFindSphereCenterMonitor(CSiemensAPI* api, CSiemensNC* nc);
    ~CSiemensFindSphereCenterMonitor() override;

    int Initialize();
    int CreateHotlink();

public slots:
    void slotHotlinkResult(unsigned int handleID, const QVector<HotlinkResultType>& results);

private:
    CSiemensAPI* m_pAPI = nullptr;
    CSiemensNC* m_pNC = nullptr;
    CSiemensHotlink* m_pHotlink = nullptr;
    int m_lastState = 0;
};

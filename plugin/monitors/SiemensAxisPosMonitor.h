#pragma once

#include "SiemensAPITypes.h"

#include <QList>
#include <QObject>
#include <QVector>

class CSiemensAPI;
class CSiemensHotlink;

// Keeps the measurement application informed of the axis positions: one
// array hotlink over all axes of the channel, and a notice only when a
// watched axis has really moved.
class CSiemensAxisPosMonitor : public QObject
{
    Q_OBJECT
public:
    // allTypes false watches only the axis types the configuration allows.
    CSiemensAxisPosMonitor(CSiemensAPI* api, bool allTypes);
    ~CSiemensAxisPosMonitor() override;

    int Initialize();
    int CreateAxisList();
    int CreateHotlink();

public slots:
    void slotHotlinkResult(unsigned int handleID, const QVector<HotlinkResultType>& results);

private:
    CSiemensAPI* m_pAPI = nullptr;
    CSiemensHotlink* m_pHotlink = nullptr;
    bool m_allTypes = false;
    int m_axisCount = 0;
    // Each with its last known position; index is the place in the NC's
    // array, which may have more elements than this list.
    QList<tagAxisInfo> m_axes;
};

#include "SiemensStatusMonitor.h"

#include "SiemensHotlink.h"
#include "SlAeQEventSink.h"

CSiemensStatusMonitor::CSiemensStatusMonitor(CSiemensAPI* api) : m_pAPI(api) {}

CSiemensStatusMonitor::~CSiemensStatusMonitor()
{
    delete m_pHotlink;
}

int CSiemensStatusMonitor::Initialize()
{
    return 0;
}

int CSiemensStatusMonitor::CreateAlarmHandle()
{
    return -100;
}

int CSiemensStatusMonitor::CreateStatusHandle()
{
    return -100;
}

void CSiemensStatusMonitor::slotStatusHandle(unsigned int, const QVector<HotlinkResultType>&) {}

void CSiemensStatusMonitor::slotAlramHandle(const QList<SlAeEvent*>&) {}

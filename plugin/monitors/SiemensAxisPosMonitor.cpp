#include "SiemensAxisPosMonitor.h"

#include "SiemensHotlink.h"

CSiemensAxisPosMonitor::CSiemensAxisPosMonitor(CSiemensAPI* api, bool allTypes) : m_pAPI(api), m_allTypes(allTypes) {}

CSiemensAxisPosMonitor::~CSiemensAxisPosMonitor()
{
    delete m_pHotlink;
    m_axes.clear();
}

int CSiemensAxisPosMonitor::Initialize()
{
    return 0;
}

int CSiemensAxisPosMonitor::CreateAxisList()
{
    return 0;
}

int CSiemensAxisPosMonitor::CreateHotlink()
{
    return -100;
}

void CSiemensAxisPosMonitor::slotHotlinkResult(unsigned int, const QVector<HotlinkResultType>&) {}

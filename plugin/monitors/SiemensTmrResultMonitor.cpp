#include "SiemensTmrResultMonitor.h"

#include "SiemensHotlink.h"

CSiemensTmrResultMonitor::CSiemensTmrResultMonitor(CSiemensAPI* api, CSiemensNC* nc) : m_pAPI(api), m_pNC(nc) {}

CSiemensTmrResultMonitor::~CSiemensTmrResultMonitor()
{
    delete m_pHotlink;
}

int CSiemensTmrResultMonitor::Initialize()
{
    return 0;
}

int CSiemensTmrResultMonitor::CreateHotlink()
{
    return -100;
}

int CSiemensTmrResultMonitor::CreateTmrResultFile()
{
    return 0;
}

int CSiemensTmrResultMonitor::HandleTmrResultFile()
{
    return 0;
}

void CSiemensTmrResultMonitor::slotHotlinkResult(unsigned int, const QVector<HotlinkResultType>&) {}

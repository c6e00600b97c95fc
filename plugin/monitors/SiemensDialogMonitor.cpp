#include "SiemensDialogMonitor.h"

#include "SiemensHotlink.h"

CSiemensDialogMonitor::CSiemensDialogMonitor(CSiemensAPI* api, CSiemensNC* nc) : m_pAPI(api), m_pNC(nc) {}

CSiemensDialogMonitor::~CSiemensDialogMonitor()
{
    delete m_pHotlink;
}

int CSiemensDialogMonitor::Initialize()
{
    return 0;
}

int CSiemensDialogMonitor::CreateDialogHandle()
{
    return -100;
}

void CSiemensDialogMonitor::slotDialogHandle(unsigned int, const QVector<HotlinkResultType>&) {}

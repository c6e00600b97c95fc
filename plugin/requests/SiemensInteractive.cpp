#include "SiemensInteractive.h"

CSiemensInteractive::CSiemensInteractive(const QString& applDir, CSiemensAPI* api) : m_api(api), m_applDir(applDir) {}

CSiemensInteractive::~CSiemensInteractive() {}

int CSiemensInteractive::Initialize()
{
    return 0;
}

void CSiemensInteractive::ReceivedReqFile(const QString&) {}

void CSiemensInteractive::slotTimer() {}

void CSiemensInteractive::slotListReqFilesFinished(long, NodeInfoArray&, long) {}

void CSiemensInteractive::slotListReqFilesCanceled(long) {}

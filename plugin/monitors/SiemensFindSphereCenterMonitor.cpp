#include "SiemensFindSphereCenterMonitor.h"

#include "Logger.h"
#include "MiscUtility.h"
#include "SiemensAPI.h"
#include "SiemensHotlink.h"
#include "SiemensNC.h"

#include "SlCapAdviseSpec.h"
#include "SlCapData.h"

#include <new>

namespace {
const char* const kSphereStateVar = "/NC/_N_NC_GD3_ACX/TMR_FINDSPHERE[4]";
} // namespace

CSiemensFindSphereCenterMonitor::CSiemensFindSphereCenterMonitor(CSiemensAPI* api, CSiemensNC* nc)
    : m_pAPI(api), m_pNC(nc)
{
}

CSiemensFindSphereCenterMonitor::~CSiemensFindSphereCenterMonitor()
{
    delete m_pHotlink;
}

int CSiemensFindSphereCenterMonitor::Initialize()
{
    // Without the subscription the screen hears nothing of a run; the rest
    // of the plug-in does not depend on it, and the reason is in the log.
    CreateHotlink();
    return 0;
}

int CSiemensFindSphereCenterMonitor::CreateHotlink()
{
    QVector<SlCapAdviseSpec> specs;
    specs.append(SlCapAdviseSpec(QLatin1String(kSphereStateVar), SlCapData::standardUpdateRate(), 0.0, 0, 0));
    m_pHotlink = new (std::nothrow) CSiemensHotlink(specs);
    if (!m_pHotlink) {
        CLogger::Error(QStringLiteral("Cannot create findspherecenter handle"), true);
        return -100;
    }
    if (!connect(m_pHotlink, &CSiemensHotlink::signalHotlinkResult, this,
                 &CSiemensFindSphereCenterMonitor::slotHotlinkResult)) {
        CLogger::Error(QStringLiteral("Cannot connect signal slot for findspherecenter handle"), true);
        return -100;
    }
    if (!m_pHotlink->Advise(SlCapData::standardTimeout()))
        return -100;
    return 0;
}

void CSiemensFindSphereCenterMonitor::slotHotlinkResult(unsigned int handleID,
                                                        const QVector<HotlinkResultType>& results)
{
    if (!m_pHotlink || handleID != m_pHotlink->HandleID() || results.isEmpty())
        return;
    const HotlinkResultType& entry = results.first();
    if (entry.errCode != 0) {
        CLogger::Error(QStringLiteral("Get findspherecenter state failed. HandleID=%1, VarName=%2, ErrCode=0x%3")
                           .arg(QString::number(handleID), CMiscUtility::GetFileName(entry.varName),
                                CMiscUtility::GetHexQStr<unsigned int>(entry.errCode, QString())),
                       true);
        return;
    }
    if (!entry.flag)
        return;

    // The state word is a REAL on the NC; a text that is no whole number
    // counts as no run.
    const int state = entry.value.toString().toInt(nullptr, 10);
    if (state == 2) {
        CLogger::Info(QStringLiteral("Execute findspherecenter program succeeded"), true);
        double x = 0.0;
        double y = 0.0;
        double z = 0.0;
        int ret = m_pAPI->GetFindSphereResult(x, y, z);
        if (ret != 0) {
            // The state word stays at 2; the next run's 1 starts over.
            CLogger::Error(QStringLiteral("Get findspherecenter result failed. ErrCode=%1").arg(ret), true);
            return;
        }
        m_lastState = 2;
        ret = m_pAPI->SetFindSphereState(0);
        if (ret != 0) {
            CLogger::Error(QStringLiteral("Set findspherecenter state failed. ErrCode=%1").arg(ret), true);
            return;
        }
        m_pNC->ProcessFindSphereResult(2, x, y, z);
        return;
    }
    if (m_lastState == 2) {
        // The 0 written above comes back through the subscription; the
        // screen keeps showing the centre.
        m_lastState = state;
        return;
    }
    m_lastState = state;
    m_pNC->ProcessFindSphereResult(state, 0.0, 0.0, 0.0);
}

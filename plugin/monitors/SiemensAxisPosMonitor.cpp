#include "SiemensAxisPosMonitor.h"

#include "AppCfg.h"
#include "Logger.h"
#include "MiscUtility.h"
#include "SiemensAPI.h"
#include "SiemensHotlink.h"
#include "ZynNetServerHost.h"

#include "SlCapAdviseSpec.h"
#include "SlCapData.h"

#include <new>

CSiemensAxisPosMonitor::CSiemensAxisPosMonitor(CSiemensAPI* api, bool allTypes) : m_pAPI(api), m_allTypes(allTypes) {}

CSiemensAxisPosMonitor::~CSiemensAxisPosMonitor()
{
    delete m_pHotlink;
    m_pHotlink = nullptr;
    m_axes.clear();
}

int CSiemensAxisPosMonitor::Initialize()
{
    CreateAxisList();
    CreateHotlink();
    return 0;
}

int CSiemensAxisPosMonitor::CreateAxisList()
{
    // A failed read leaves the list empty, which is all the rest needs to know.
    QList<tagAxisInfo> axes;
    m_pAPI->GetAxesPos(axes, true);
    m_axisCount = axes.size();

    for (const tagAxisInfo& axis : axes) {
        if (m_allTypes || CMiscUtility::IsAllowAxisType(axis.type))
            m_axes.append(axis);
    }

    // Unfiltered: the work offset map has to see every axis of the channel.
    CAppCfg::m_instance.SetMachAxisList(axes);

    if (!m_axes.isEmpty() && CZynNetServerHost::m_isRunning)
        CZynNetServerHost::NotifyAxisPosChanged(m_axes);
    return 0;
}

int CSiemensAxisPosMonitor::CreateHotlink()
{
    if (m_axisCount < 1) {
        CLogger::Error(QStringLiteral("Axis not found"), true);
        return -100;
    }

    // Column 1 here, while the one-off read takes column 2: the same axes,
    // the subscription is meant to differ.
    QVector<SlCapAdviseSpec> specs;
    specs << SlCapAdviseSpec(m_pAPI->TmrAxesPosVarName(1, m_axisCount), SlCapData::standardUpdateRate(), 0.0);

    m_pHotlink = new (std::nothrow) CSiemensHotlink(specs);
    if (!m_pHotlink) {
        CLogger::Error(QStringLiteral("Cannot create axespos handle"), true);
        return -100;
    }
    if (!connect(m_pHotlink, &CSiemensHotlink::signalHotlinkResult, this,
                 &CSiemensAxisPosMonitor::slotHotlinkResult)) {
        CLogger::Error(QStringLiteral("Cannot connect signal slot for axespos handle"), true);
        return -100;
    }
    return m_pHotlink->Advise(SlCapData::standardTimeout()) ? 0 : -100;
}

void CSiemensAxisPosMonitor::slotHotlinkResult(unsigned int handleID, const QVector<HotlinkResultType>& results)
{
    if (!m_pHotlink || handleID != m_pHotlink->HandleID() || results.isEmpty())
        return;

    const HotlinkResultType& result = results.first();
    if (result.errCode != 0) {
        CLogger::Error(QStringLiteral("Get axespos failed. HandleID=%1, VarName=%2, ErrCode=%3")
                           .arg(handleID)
                           .arg(CMiscUtility::GetFileName(result.varName),
                                CMiscUtility::GetHexQStr<unsigned int>(result.errCode, QStringLiteral("0x"))),
                       true);
        return;
    }
    if (!result.flag || result.value.type() != QVariant::List)
        return;

    // An array that does not match the axis list cannot be mapped onto it.
    const QVariantList positions = result.value.toList();
    if (positions.size() != m_axisCount)
        return;

    // The watched list may skip axes (a spindle): each axis finds its
    // element through its place in the NC's array, not its place here.
    bool changed = false;
    for (tagAxisInfo& axis : m_axes) {
        if (axis.index < 0 || axis.index >= m_axisCount)
            continue;
        const QVariant& position = positions.at(axis.index);
        if (position.type() != QVariant::Double)
            continue;
        const double value = position.toDouble();
        if (!CMiscUtility::DoubleIsEqual(value, axis.value)) {
            axis.value = value;
            changed = true;
        }
    }

    // Positions are kept up to date without the net, so that the first
    // notice after it comes up is right.
    if (changed && CZynNetServerHost::m_isRunning)
        CZynNetServerHost::NotifyAxisPosChanged(m_axes);
}

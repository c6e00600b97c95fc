#include "SiemensHotlink.h"

#include "Logger.h"
#include "MiscUtility.h"

#include "SlCapData.h"

namespace {

const char* const kClientName = "SiemensHarvel";

} // namespace

CSiemensHotlink::CSiemensHotlink(const QVector<SlCapAdviseSpec>& specs)
    : QObject(nullptr), m_capSvc(kClientName)
{
    qRegisterMetaType<HotlinkResultType>("HotlinkResultType");
    qRegisterMetaType<QVector<HotlinkResultType>>("QVector<HotlinkResultType>");

    for (const SlCapAdviseSpec& spec : specs) {
        m_specs.append(spec);
        if (!m_varNames.isEmpty())
            m_varNames.append(QLatin1Char(';'));
        m_varNames.append(spec.m_item);
    }

    // The service speaks in two forms; the monitors want one, so each form
    // has its slot and both end in the same signal.
    if (m_specs.size() == 1) {
        if (!connect(&m_capSvc, &SlQCap::adviseData, this, &CSiemensHotlink::slotAdviseData))
            CLogger::Error(QStringLiteral("Cannot connect signal slot for adviseData"), true);
    } else if (m_specs.size() > 1) {
        if (!connect(&m_capSvc, &SlQCap::multiAdviseData, this, &CSiemensHotlink::slotMultiAdviseData))
            CLogger::Error(QStringLiteral("Cannot connect signal slot for multiAdviseData"), true);
    }
}

CSiemensHotlink::~CSiemensHotlink()
{
    UnAdvise();
}

bool CSiemensHotlink::Advise(unsigned int timeout)
{
    if (m_specs.isEmpty()) {
        CLogger::Error(QStringLiteral("Advise hotlink failed. ErrInfo=No variables"), true);
        return false;
    }

    SlCapErrorEnum ret = SL_CAP_OK;
    if (m_specs.size() == 1) {
        const SlCapAdviseSpec& spec = m_specs.first();
        ret = m_capSvc.advise(spec.m_item, m_handle, spec.m_updateRate, spec.m_hysteresis, timeout,
                              spec.m_context);
    } else {
        ret = m_capSvc.multiAdvise(m_specs, m_handle, SlCapData::standardTimeout());
    }
    if (ret != SL_CAP_OK) {
        CLogger::Error(QStringLiteral("Advise hotlink failed. VarNames=%1, ErrCode=%2")
                           .arg(m_varNames, CMiscUtility::GetHexQStr<int>(static_cast<int>(ret),
                                                                          QStringLiteral("0x"))),
                       true);
        return false;
    }
    return true;
}

void CSiemensHotlink::UnAdvise()
{
    const SlCapErrorEnum ret = m_capSvc.unadvise(m_handle);
    if (ret != SL_CAP_OK) {
        CLogger::Error(QStringLiteral("Unadvise hotlink failed. VarNames=%1, HandleID=%2, ErrCode=%3")
                           .arg(m_varNames)
                           .arg(m_handle.m_id)
                           .arg(CMiscUtility::GetHexQStr<int>(static_cast<int>(ret), QStringLiteral("0x"))),
                       true);
    }
}

void CSiemensHotlink::slotAdviseData(SlCapErrorEnum error, const QVariant& value, const SlCapSupplementInfoType& info)
{
    HotlinkResult result;
    result.varName = m_specs.isEmpty() ? QString() : m_specs.first().m_item;
    result.errCode = static_cast<unsigned int>(error);
    result.flag = true;
    result.value = value;

    QVector<HotlinkResultType> results;
    results.append(result);
    emit signalHotlinkResult(m_handle.m_id, results);
}

void CSiemensHotlink::slotMultiAdviseData(SlCapErrorEnum error, const QVector<SlCapAdviseResultType>& results)
{
    QVector<HotlinkResultType> out;
    out.reserve(results.size());
    for (int i = 0; i < results.size(); ++i) {
        HotlinkResult result;
        result.varName = i < m_specs.size() ? m_specs.at(i).m_item : QString();
        result.errCode = static_cast<unsigned int>(results.at(i).m_error);
        result.flag = results.at(i).m_hasValue;
        result.value = results.at(i).m_value;
        out.append(result);
    }
    emit signalHotlinkResult(m_handle.m_id, out);
}

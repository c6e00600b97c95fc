#include "SiemensStatusMonitor.h"

#include "Logger.h"
#include "MiscUtility.h"
#include "SiemensAPI.h"
#include "SiemensHotlink.h"
#include "ZynNetServerHost.h"

#include "SlAeCategoryInfo.h"
#include "SlAeEvent.h"
#include "SlAeQEventSink.h"
#include "SlCapAdviseSpec.h"
#include "SlCapData.h"

#include <new>

namespace {

const char* const kChanStatusVarName = "/Channel/State/chanStatus[u1,1]";
const char* const kAcProgVarName = "/Channel/State/acProg[u1,1]";
const char* const kChanAlarmVarName = "/Channel/State/chanAlarm[u1,1]";

// The alarm server's numbers: the state of a raised alarm, and the
// attributes asked for with every event (message text, alarm kind).
constexpr int kAlarmStateRaised = 21;
constexpr long kAttrMessageText = -1;
constexpr long kAttrAlarmKind = -9;
// An alarm of this kind is shown but does not stop the channel.
constexpr quint16 kAlarmKindNoStop = 2;

constexpr int kAcProgRunning = 2;
constexpr int kAcProgAborted = 0;
constexpr int kChanStatusReset = 0;
constexpr int kChanStatusActive = 1;
constexpr int kOpModeAuto = 2;

} // namespace

CSiemensStatusMonitor::CSiemensStatusMonitor(CSiemensAPI* api) : m_pAPI(api) {}

CSiemensStatusMonitor::~CSiemensStatusMonitor()
{
    delete m_pHotlink;
    m_pHotlink = nullptr;
    if (m_pAlarmSink) {
        m_pAlarmSink->deactivate();
        m_pAlarmSink->fini();
        delete m_pAlarmSink;
        m_pAlarmSink = nullptr;
    }
}

int CSiemensStatusMonitor::Initialize()
{
    // The application starts from a known state: a machine without alarms
    // and no program being followed.
    if (CZynNetServerHost::m_isRunning) {
        CZynNetServerHost::NotifyMachineStatusChanged(ZYN_MACH_NORMAL, false, QString(), QString(), QString());
        CZynNetServerHost::NotifyProgramStatusChanged(ZYN_PROG_INITIAL, true, QString(), QString());
    }

    // The alarm sink first: its alarms already active come in a later turn
    // of the event loop, after the hotlink has been made.
    CreateAlarmHandle();
    CreateStatusHandle();
    return 0;
}

int CSiemensStatusMonitor::CreateAlarmHandle()
{
    m_pAlarmSink = new (std::nothrow) SlAeQEventSink(this, nullptr);
    if (!m_pAlarmSink) {
        CLogger::Error(QStringLiteral("Cannot create alarm handle"), true);
        return -100;
    }

    // English whatever the HMI speaks: the texts are for the measurement
    // application, not for the operator.
    long ret = m_pAlarmSink->init(QStringLiteral("eng"));
    if (ret < 0) {
        CLogger::Error(QStringLiteral("Cannot init alarm handle. ErrCode=%1").arg(ret), true);
        return -100;
    }

    QList<long> attributes;
    attributes << kAttrMessageText << kAttrAlarmKind;

    QVector<SlAeCategoryInfo> categories;
    ret = m_pAlarmSink->queryCategories(categories);
    if (ret < 0) {
        CLogger::Error(QStringLiteral("Cannot qurey categories of alarm handle. ErrCode=%1").arg(ret), true);
        return -100;
    }
    for (const SlAeCategoryInfo& category : categories) {
        ret = m_pAlarmSink->setReturnAttributes(category.getCategoryId(), attributes);
        if (ret < 0) {
            CLogger::Error(QStringLiteral("Cannot set attributes of alarm handle. ErrCode=%1").arg(ret), true);
            return -100;
        }
    }

    if (!connect(m_pAlarmSink, &SlAeQEventSink::newEvent, this, &CSiemensStatusMonitor::slotAlramHandle)) {
        CLogger::Error(QStringLiteral("Cannot connect signal slot for alarm handle"), true);
        return -100;
    }

    ret = m_pAlarmSink->activate();
    if (ret < 0) {
        CLogger::Error(QStringLiteral("Cannot activate alarm handle. ErrCode=%1").arg(ret), true);
        return -100;
    }
    return 0;
}

int CSiemensStatusMonitor::CreateStatusHandle()
{
    // The slot reads the entries by position: the order here is the contract.
    QVector<SlCapAdviseSpec> specs;
    specs << SlCapAdviseSpec(QString::fromLatin1(kChanStatusVarName), SlCapData::standardUpdateRate(), 0.0)
          << SlCapAdviseSpec(QString::fromLatin1(kAcProgVarName), SlCapData::standardUpdateRate(), 0.0)
          << SlCapAdviseSpec(QString::fromLatin1(kChanAlarmVarName), SlCapData::standardUpdateRate(), 0.0);

    m_pHotlink = new (std::nothrow) CSiemensHotlink(specs);
    if (!m_pHotlink) {
        CLogger::Error(QStringLiteral("Cannot create status handle"), true);
        return -100;
    }
    if (!connect(m_pHotlink, &CSiemensHotlink::signalHotlinkResult, this,
                 &CSiemensStatusMonitor::slotStatusHandle)) {
        CLogger::Error(QStringLiteral("Cannot connect signal slot for status handle"), true);
        return -100;
    }
    if (!m_pHotlink->Advise(SlCapData::standardTimeout()))
        return -100;
    return 0;
}

void CSiemensStatusMonitor::slotStatusHandle(unsigned int handleID, const QVector<HotlinkResultType>& results)
{
    if (!m_pHotlink || handleID != m_pHotlink->HandleID() || results.isEmpty())
        return;

    // One bad entry spoils the notification: the three values only make
    // sense together.
    for (const HotlinkResultType& result : results) {
        if (result.errCode != 0) {
            CLogger::Error(QStringLiteral("Get status failed. HandleID=%1, VarName=%2, ErrCode=%3")
                               .arg(handleID)
                               .arg(CMiscUtility::GetFileName(result.varName),
                                    CMiscUtility::GetHexQStr<unsigned int>(result.errCode, QStringLiteral("0x"))),
                           true);
            return;
        }
    }

    const HotlinkResultType chanStatus = results.value(0);
    const HotlinkResultType acProg = results.value(1);
    const HotlinkResultType chanAlarm = results.value(2);
    const int chanStatusValue = chanStatus.value.toString().toInt();
    const int acProgValue = acProg.value.toString().toInt();
    // Kept whatever the net does: the alarm slot decides with it whether an
    // alarm stops the channel.
    m_chanAlarm = chanAlarm.value.toString() != QLatin1String("0");

    if (!CZynNetServerHost::m_isRunning)
        return;

    if (chanStatus.flag) {
        if (chanStatusValue == kChanStatusActive)
            CZynNetServerHost::NotifyMachineStatusChanged(ZYN_MACH_INTERRUPTED, false, QString(), QString(),
                                                          QString());
        else if (chanStatusValue == kChanStatusReset)
            CZynNetServerHost::NotifyMachineStatusChanged(ZYN_MACH_NORMAL, false, QString(), QString(), QString());
    }

    if (!acProg.flag)
        return;

    if (acProgValue == kAcProgRunning) {
        if (!m_currProgram.isEmpty())
            return; // reported already
        int mode = 0;
        if (m_pAPI->GetCurrOpMode(mode) != 0)
            mode = 0;
        m_isOpMode2 = mode == kOpModeAuto;
        m_pAPI->GetCurrProgEndCount(m_progEndCount);
        m_pAPI->GetCurrProgName(m_currProgram, true);
        CZynNetServerHost::NotifyProgramStatusChanged(ZYN_PROG_STARTED, m_isOpMode2, m_currProgram, QString());
    } else if (acProgValue == kAcProgAborted) {
        if (m_currProgram.isEmpty())
            return; // never reported as started, or its end is out already
        // Only a normal end raises the counter; a reset leaves it alone.
        int endCount = 0;
        if (m_pAPI->GetCurrProgEndCount(endCount) != 0)
            endCount = 0;
        if (m_progEndCount < endCount)
            CZynNetServerHost::NotifyProgramStatusChanged(ZYN_PROG_FINISHED, m_isOpMode2, m_currProgram, QString());
        else
            CZynNetServerHost::NotifyProgramStatusChanged(ZYN_PROG_ENDED_OTHERWISE, m_isOpMode2, m_currProgram,
                                                          QStringLiteral("Program execution canceled"));
        m_currProgram.clear();
    }
}

void CSiemensStatusMonitor::slotAlramHandle(const QList<SlAeEvent*>& rEventList)
{
    if (rEventList.isEmpty())
        return;

    for (const SlAeEvent* event : rEventList) {
        if (!event)
            continue;
        const int state = event->getAlarmState();
        const qint64 id = event->getAlarmId();
        const QString text = event->getAttribute(kAttrMessageText).toString();
        const unsigned int source = event->getSourceId();
        const quint16 kind = static_cast<quint16>(event->getAttribute(kAttrAlarmKind).toUInt());
        if (state == kAlarmStateRaised) {
            // The alarm raised last is the one the application is told of.
            m_alarmId = id;
            m_alarmText = text;
            m_alarmSource = source;
            m_alarmKind = kind;
        } else if (id == m_alarmId) {
            // Only the remembered alarm's going away clears; another one
            // going away leaves it standing.
            m_alarmId = -1;
            m_alarmText.clear();
            m_alarmSource = 0;
            m_alarmKind = 0;
        }
    }

    if (!CZynNetServerHost::m_isRunning)
        return;

    if (m_alarmId < 0) {
        CZynNetServerHost::NotifyMachineStatusChanged(ZYN_MACH_NORMAL, false, QString(), QString(), QString());
        return;
    }
    if (!m_chanAlarm || m_alarmKind == kAlarmKindNoStop)
        return;

    CZynNetServerHost::NotifyMachineStatusChanged(ZYN_MACH_ALARM, false, m_alarmText, QString(), QString());
    if (!m_currProgram.isEmpty()) {
        // The program is over for the application: the later acProg 0 of
        // the reset must not report it a second time.
        CZynNetServerHost::NotifyProgramStatusChanged(ZYN_PROG_ENDED_OTHERWISE, m_isOpMode2, m_currProgram,
                                                      m_alarmText);
        m_currProgram.clear();
    }
}

// The status and axis position monitors on virtual NCs (the template machine: X Y Z A SP1 C, the spindle before
// the rotary axis C), with what they report checked where the measurement application sees it: in a harvel-client
// subscribed to the real net server.

#include "AppCfg.h"
#include "NcAccessFixture.h"
#include "NetLinkFixture.h"
#include "SiemensAPIOperate.h"
#include "SiemensAxisPosMonitor.h"
#include "SiemensStatusMonitor.h"
#include "ZynNetServerHost.h"

#include <QProcess>

namespace {
const char* const kPositions = "/Channel/GeometricAxis/actProgPos[u1,1,1,#6]";

QString mach(int status, const QString& text = QString())
{
    return QStringLiteral("machine-status status=%1 flag=0 text1=\"%2\" text2=\"\" text3=\"\"").arg(status).arg(text);
}
QString prog(int status, const QString& text = QString(), bool flag = true, const QString& program = "MAIN")
{
    return QStringLiteral("program-status status=%1 flag=%2 program=\"%3\" text=\"%4\"").arg(status).arg(int(flag)).arg(program, text);
}
QString axes(const char* positions) { return QStringLiteral("axis-positions ") + positions; }

// The measurement application's side: the real net server library, started by the plug-in's host from an
// application folder, and harvel-client watching every notification it sends.
class NotificationWatch
{
public:
    ~NotificationWatch() { Stop(); }
    // Starts the server and a subscribed client; false when either failed.
    bool Start(const QString& applDir)
    {
        Stop();
        if (!QDir().mkpath(applDir) || !NetLinkFixture::InstallNetServer(applDir))
            return false;
        CZynNetServerHost::Initialize(applDir);
        if (!CZynNetServerHost::Start(true, "127.0.0.1", 0))
            return false;
        m_client.reset(new QProcess);
        m_client->start(NetLinkFixture::BinaryDir() + "/bin/harvel-client",
                        {"--server", QStringLiteral("127.0.0.1:%1").arg(NetLinkFixture::ServerPort(applDir)), "watch"});
        // The library takes a notice only once somebody listens; the probes are thrown away with everything else
        // before Take.
        if (!m_client->waitForStarted() || !NetLinkFixture::RetryUntil([] {
                return CZynNetServerHost::NotifyMachineStatusChanged(ZYN_MACH_NORMAL, false, "probe", {}, {});
            }))
            return false;
        Take();
        return true;
    }

    void Stop()
    {
        CZynNetServerHost::Stop();
        if (m_client) {
            m_client->kill();
            m_client->waitForFinished();
            m_client.reset();
        }
        m_lines.clear();
    }
    // Waits until count lines that start with prefix have come and not been taken yet.
    bool WaitFor(const QString& prefix, int count = 1)
    {
        for (int i = 0; i < 3000; ++i) {
            while (m_client && m_client->canReadLine())
                m_lines << QString::fromUtf8(m_client->readLine()).chopped(1);
            if (std::count_if(m_lines.begin(), m_lines.end(), [&](const QString& l) { return l.startsWith(prefix); })
                >= count)
                return true;
            QTest::qWait(10);
        }
        return false;
    }
    // Everything sent since the last Take. A marker goes out from this thread behind what the monitors have sent
    // so far, and the lines before it are the whole story.
    QStringList Take()
    {
        const QString marker = QStringLiteral("marker %1").arg(++m_markers);
        CZynNetServerHost::NotifyMachineStatusChanged(ZYN_MACH_NORMAL, false, marker, QString(), QString());
        const QString markerLine = QStringLiteral("machine-status status=1 flag=0 text1=\"%1\"").arg(marker);
        if (!WaitFor(markerLine))
            return {"<no marker>"};
        QStringList taken;
        for (QString line; !m_lines.isEmpty() && !(line = m_lines.takeFirst()).startsWith(markerLine);)
            if (!line.contains("text1=\"probe\""))
                taken << line;
        return taken;
    }

private:
    QScopedPointer<QProcess> m_client;
    QStringList m_lines;
    int m_markers = 0;
};

// An NC access that subscribes one axis fewer than the channel has, as when the NC's axis configuration no longer
// matches what was read.
class ShortSubscriptionAPI : public CSiemensAPIOperate
{
public:
    QString TmrAxesPosVarName(int first, int count) const override { return CSiemensAPIOperate::TmrAxesPosVarName(first, count - 1); }
};
} // namespace

class TestSiemensMonitors : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_log.start();
        QVERIFY(m_watch.Start(applDir()));
    }
    void cleanupTestCase()
    {
        m_watch.Stop();
        TestLog::stop();
    }
    void init();
    void cleanup();

    void programStartEndAndCancel();
    void alarmThatStopsTheChannelEndsTheProgram();
    void alarmsThatDoNotStopTheChannel();
    void oneBadEntryDropsTheNotification();
    void positionsFollowTheAxisIndex();

private:
    // The NC notifies a change within one update period; a step that should send nothing has had its chance after this.
    void settle() { QTest::qWait(3 * m_nc->nc->updatePeriodMs()); }
    bool start() { return m_nc->nc->selectProgram("//NC/MPF.DIR/MAIN.MPF") == 0 && m_nc->nc->startProgram(); }
    // Waits for count lines starting with prefix, then all that came must be expected.
    void expect(const QString& prefix, const QStringList& expected, int count = 1)
    {
        if (!prefix.isEmpty())
            QVERIFY2(m_watch.WaitFor(prefix, count), qPrintable(prefix));
        else
            settle();
        QCOMPARE(m_watch.Take(), expected);
    }
    void startStatusMonitor()
    {
        m_api.reset(new CSiemensAPIOperate);
        m_status.reset(new CSiemensStatusMonitor(m_api.data()));
        QCOMPARE(m_status->Initialize(), 0);
    }
    void startAxisMonitor(CSiemensAPIOperate* api)
    {
        m_axes.reset();
        m_api.reset(api);
        m_axes.reset(new CSiemensAxisPosMonitor(m_api.data(), false));
        QCOMPARE(m_axes->Initialize(), 0);
    }
    bool setPositions(const QString& values) { return m_nc->set(kPositions, values); }
    QString applDir() const { return m_dir.path() + "/appl"; }

    QTemporaryDir m_dir;
    TestLog m_log;
    NotificationWatch m_watch;
    QScopedPointer<NcMachine> m_nc;
    QScopedPointer<CSiemensAPIOperate> m_api;
    QScopedPointer<CSiemensStatusMonitor> m_status;
    QScopedPointer<CSiemensAxisPosMonitor> m_axes;
};

void TestSiemensMonitors::init()
{
    m_nc.reset(new NcMachine);
    QVERIFY(m_nc->nc);
    if (QString(QTest::currentTestFunction()).startsWith("positions"))
        return;
    startStatusMonitor();
    // The start state, then the channel in reset as the hotlink first sees it.
    expect(mach(1), {mach(1), prog(0, QString(), true, QString()), mach(1)}, 2);
}

void TestSiemensMonitors::cleanup()
{
    m_status.reset();
    m_axes.reset();
    m_api.reset();
    m_nc.reset();
    // What a failed test left behind is not the next one's.
    m_watch.Take();
}

void TestSiemensMonitors::programStartEndAndCancel()
{
    QVERIFY(start());
    expect("program-status", {mach(2), prog(1)});
    // A normal end raises the end counter.
    QVERIFY(m_nc->nc->endProgram());
    expect("program-status", {mach(1), prog(2)});
    // Stopped and started again, the same program goes on: nothing new about it, and the stop itself is no status
    // of the machine's.
    QVERIFY(start());
    expect("program-status", {mach(2), prog(1)});
    QVERIFY(m_nc->nc->stopProgram());
    settle();
    QVERIFY(m_nc->nc->startProgram());
    expect(mach(2), {mach(2)});
    // A reset leaves the counter alone.
    QVERIFY(m_nc->nc->resetProgram());
    expect("program-status", {mach(1), prog(3, "Program execution canceled")});
    // A program that runs in another mode than AUTO (an MDA block) says so with the flag.
    QVERIFY(m_nc->set("/Bag/State/opMode[u1,1]", "1") && m_nc->set("/Channel/State/acProg[u1,1]", "2"));
    expect("program-status", {prog(1, QString(), false)});
}

void TestSiemensMonitors::alarmThatStopsTheChannelEndsTheProgram()
{
    m_nc->nc->raiseAlarm(700100, "Door open", 1, false);
    settle();
    QVERIFY(start());
    expect("program-status", {mach(2), prog(1)});
    m_nc->nc->raiseAlarm(14000, "Channel 1 stopped", 1, true);
    expect("program-status", {mach(3, "Channel 1 stopped"), prog(3, "Channel 1 stopped")});
    // One list of events: the new alarm is the one told of, the older one going away does not clear it. The
    // program is closed already.
    m_nc->nc->raiseAlarm(700200, "Probe broken", 1, false);
    QVERIFY(m_nc->nc->clearAlarm(700100));
    expect("machine-status status=3", {mach(3, "Probe broken")});
    QVERIFY(m_nc->nc->clearAlarm(700200));
    expect(mach(1), {mach(1)});
    // The reset ends the stopped program on the NC and clears the channel alarm: the channel is normal again, the
    // program is not reported twice.
    QVERIFY(m_nc->nc->resetProgram());
    expect(mach(1), {mach(1), mach(1)}, 2);
    QCOMPARE(m_nc->nc->programEndCount(), 0);
}

void TestSiemensMonitors::alarmsThatDoNotStopTheChannel()
{
    QVERIFY(start());
    expect("program-status", {mach(2), prog(1)});
    // An alarm outside the channel, then a channel alarm of kind 2: neither stops anything, and the second is the
    // one remembered, so the first going away changes nothing.
    m_nc->nc->raiseAlarm(700300, "Hint", 1, false);
    settle();
    m_nc->nc->raiseAlarm(700301, "Coolant low", 2, true);
    QVERIFY(m_nc->nc->clearAlarm(700300));
    expect(QString(), {});
    QCOMPARE(m_nc->nc->programStatus(), VirtualNc::ProgramRunning);
    QVERIFY(m_nc->nc->clearAlarm(700301));
    expect(mach(1), {mach(1)});
    // Remembered while chanAlarm reads 0; chanAlarm changing alone sends nothing, the next list of events looks at
    // it again.
    m_nc->nc->raiseAlarm(700400, "Lubrication", 1, false);
    m_nc->nc->raiseAlarm(700401, "Spindle load", 1, false);
    settle();
    QVERIFY(m_nc->set("/Channel/State/chanAlarm[u1,1]", "1"));
    expect(QString(), {});
    // The clear puts chanAlarm back to 0 on the NC; set again at once, the hotlink sees no change and the alarm
    // list alone decides.
    QVERIFY(m_nc->nc->clearAlarm(700400) && m_nc->set("/Channel/State/chanAlarm[u1,1]", "1"));
    expect("program-status", {mach(3, "Spindle load"), prog(3, "Spindle load")});
}

void TestSiemensMonitors::oneBadEntryDropsTheNotification()
{
    // The start reaches the hotlink with chanStatus and acProg good and the last entry failing: all three are lost.
    m_nc->fail("read", "/Channel/State/chanAlarm", 0x80320006u);
    QVERIFY(start());
    QTRY_VERIFY_WITH_TIMEOUT(m_log.text().contains(QRegularExpression(
        R"(\| ERR \| \w+ \| Get status failed\. HandleID=\d+, VarName=chanAlarm\[u1,1\], ErrCode=0x80320006\n)")), 20000);
    QCOMPARE(m_watch.Take(), QStringList());
    // The start was never reported, so neither is the end.
    m_nc->nc->faults().clear();
    QVERIFY(m_nc->nc->endProgram() && m_watch.WaitFor(mach(1)));
    expect(QString(), {mach(1)});
    // Nor is a start missed while the net was off; the channel status is.
    m_watch.Stop();
    QVERIFY(start());
    settle();
    QVERIFY(m_watch.Start(applDir()) && m_nc->nc->endProgram());
    QVERIFY(m_watch.WaitFor(mach(1)));
    expect(QString(), {mach(1)});
    // Without an NC the alarm service refuses the sink; the start state is told all the same.
    cleanup();
    startStatusMonitor();
    QVERIFY(m_log.has(" | Cannot init alarm handle. ErrCode=-5\n"));
    QCOMPARE(m_watch.Take(), (QStringList{mach(1), prog(0, QString(), true, QString())}));
}

void TestSiemensMonitors::positionsFollowTheAxisIndex()
{
    // One axis fewer subscribed than the channel has: the first positions come, an array of the wrong size later
    // is dropped without a word.
    startAxisMonitor(new ShortSubscriptionAPI);
    expect("axis-positions", {axes("X=0 Y=0 Z=250 A=0 C=0")});
    QVERIFY(m_log.flushed());
    const int logged = m_log.text().count("axespos");
    QVERIFY(setPositions("1,2,3,4,5,6"));
    expect(QString(), {});
    QVERIFY(m_log.flushed());
    QCOMPARE(m_log.text().count("axespos"), logged);
    // The first positions at once, the spindle left out; the configuration gets every axis.
    startAxisMonitor(new CSiemensAPIOperate);
    expect("axis-positions", {axes("X=1 Y=2 Z=3 A=4 C=6")});
    QList<tagAxisInfo> list;
    QStringList names;
    CAppCfg::m_instance.GetMachAxisList(list, names, false);
    QCOMPARE(names, (QStringList{"X", "Y", "Z", "A", "SP1", "C"}));
    // C takes its own element, not the spindle's before it.
    QVERIFY(setPositions("1,2,3,45,1234,90.5"));
    expect("axis-positions", {axes("X=1 Y=2 Z=3 A=45 C=90.5")});
    // The spindle turning moves no watched axis.
    QVERIFY(setPositions("1,2,3,45,2000,90.5"));
    expect(QString(), {});
    // A failing subscription is logged and reports nothing.
    m_nc->fail("read", "/Channel/GeometricAxis/actProgPos", 0x80320006u);
    QVERIFY(setPositions("1,7,3,45,2000,90.5"));
    QTRY_VERIFY_WITH_TIMEOUT(m_log.text().contains(QRegularExpression(
        R"(\| ERR \| \w+ \| Get axespos failed\. HandleID=\d+, VarName=actProgPos\[u1,1,1,#6\], ErrCode=0x80320006\n)")), 20000);
    QCOMPARE(m_watch.Take(), QStringList());
    m_nc->nc->faults().clear();
    QVERIFY(setPositions("1,7,3,45,2000,-0.25"));
    expect("axis-positions", {axes("X=1 Y=7 Z=3 A=45 C=-0.25")});
    // X taken in while nobody listened: the spindle alone changes no watched axis, and the next notice has X where
    // it stands.
    m_watch.Stop();
    QVERIFY(setPositions("5,7,3,45,2000,-0.25"));
    settle();
    QVERIFY(m_watch.Start(applDir()) && setPositions("5,7,3,45,99,-0.25"));
    expect(QString(), {});
    QVERIFY(setPositions("5,8,3,45,99,-0.25"));
    expect("axis-positions", {axes("X=5 Y=8 Z=3 A=45 C=-0.25")});
}

QTEST_GUILESS_MAIN(TestSiemensMonitors)
#include "TestSiemensMonitors.moc"

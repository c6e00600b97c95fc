// The axis position monitor on the template machine (X Y Z A SP1 C, the
// spindle before the rotary axis C), with what it reports checked in a
// harvel-client subscribed to the real net server.

#include "AppCfg.h"
#include "NcAccessFixture.h"
#include "NotificationWatch.h"
#include "SiemensAPIOperate.h"
#include "SiemensAxisPosMonitor.h"


namespace {

const char* const kPositions = "/Channel/GeometricAxis/actProgPos[u1,1,1,#6]";

// An NC access that subscribes one axis fewer than the channel has, as
// when the NC's axis configuration no longer matches what was read.
class ShortSubscriptionAPI : public CSiemensAPIOperate
{
public:
    QString TmrAxesPosVarName(int first, int count) const override
    {
        return CSiemensAPIOperate::TmrAxesPosVarName(first, count - 1);
    }
};

} // namespace

class TestSiemensAxisPosMonitor : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void positionsFollowTheAxisIndex();
    void positionsTrackedWhileTheNetIsOff();
    void arrayOfTheWrongSizeIgnored();

private:
    void Settle() { QTest::qWait(3 * m_nc->nc->updatePeriodMs()); }
    bool SetPositions(const QString& values) { return m_nc->set(QString::fromLatin1(kPositions), values); }
    QString ApplDir() const { return m_dir.path() + QStringLiteral("/appl"); }

    QTemporaryDir m_dir;
    TestLog m_log;
    NotificationWatch m_watch;
    QScopedPointer<NcMachine> m_nc;
    QScopedPointer<CSiemensAPIOperate> m_api;
    QScopedPointer<CSiemensAxisPosMonitor> m_monitor;
};

void TestSiemensAxisPosMonitor::initTestCase()
{
    m_log.start();
    QVERIFY(m_watch.Start(ApplDir()));
}

void TestSiemensAxisPosMonitor::cleanupTestCase()
{
    m_watch.Stop();
    TestLog::stop();
}

void TestSiemensAxisPosMonitor::init()
{
    m_nc.reset(new NcMachine);
    QVERIFY(m_nc->nc);
}

void TestSiemensAxisPosMonitor::cleanup()
{
    m_monitor.reset();
    m_api.reset();
    m_nc.reset();
}

void TestSiemensAxisPosMonitor::positionsFollowTheAxisIndex()
{
    m_api.reset(new CSiemensAPIOperate);
    m_monitor.reset(new CSiemensAxisPosMonitor(m_api.data(), false));
    QCOMPARE(m_monitor->Initialize(), 0);

    // The first positions at once, the spindle left out; the configuration
    // gets every axis.
    QVERIFY(m_watch.WaitFor(QStringLiteral("axis-positions")));
    Settle();
    QCOMPARE(m_watch.Take(), QStringList{QStringLiteral("axis-positions X=0 Y=0 Z=250 A=0 C=0")});
    QList<tagAxisInfo> axes;
    QStringList names;
    CAppCfg::m_instance.GetMachAxisList(axes, names, false);
    QCOMPARE(names, (QStringList{"X", "Y", "Z", "A", "SP1", "C"}));

    // C takes its own element, not the spindle's before it.
    QVERIFY(SetPositions(QStringLiteral("1,2,3,45,1234,90.5")));
    QVERIFY(m_watch.WaitFor(QStringLiteral("axis-positions")));
    QCOMPARE(m_watch.Take(), QStringList{QStringLiteral("axis-positions X=1 Y=2 Z=3 A=45 C=90.5")});

    // The spindle turning moves no watched axis.
    QVERIFY(SetPositions(QStringLiteral("1,2,3,45,2000,90.5")));
    Settle();
    QCOMPARE(m_watch.Take(), QStringList());

    // A failing subscription is logged and reports nothing.
    m_nc->fail(QStringLiteral("read"), QStringLiteral("/Channel/GeometricAxis/actProgPos"), 0x80320006u);
    QVERIFY(SetPositions(QStringLiteral("1,7,3,45,2000,90.5")));
    QVERIFY(m_log.has(QStringLiteral(", VarName=actProgPos[u1,1,1,#6], ErrCode=0x80320006\n")));
    QVERIFY(m_log.text().contains(QRegularExpression(QStringLiteral(
        R"(\| ERR \| \w+ \| Get axespos failed\. HandleID=\d+, VarName=actProgPos\[u1,1,1,#6\], ErrCode=0x80320006\n)"))));
    QCOMPARE(m_watch.Take(), QStringList());
    m_nc->nc->faults().clear();
    QVERIFY(SetPositions(QStringLiteral("1,7,3,45,2000,-0.25")));
    QVERIFY(m_watch.WaitFor(QStringLiteral("axis-positions")));
    QCOMPARE(m_watch.Take(), QStringList{QStringLiteral("axis-positions X=1 Y=7 Z=3 A=45 C=-0.25")});
}

void TestSiemensAxisPosMonitor::positionsTrackedWhileTheNetIsOff()
{
    m_watch.Stop();
    m_api.reset(new CSiemensAPIOperate);
    m_monitor.reset(new CSiemensAxisPosMonitor(m_api.data(), false));
    QCOMPARE(m_monitor->Initialize(), 0);
    QVERIFY(SetPositions(QStringLiteral("5,0,250,0,0,0")));
    Settle();
    QVERIFY(m_watch.Start(ApplDir()));

    // X was taken in while nobody listened: the spindle alone changes no
    // watched axis, and the next notice has X where it stands.
    QVERIFY(SetPositions(QStringLiteral("5,0,250,0,99,0")));
    Settle();
    QCOMPARE(m_watch.Take(), QStringList());
    QVERIFY(SetPositions(QStringLiteral("5,7,250,0,99,0")));
    QVERIFY(m_watch.WaitFor(QStringLiteral("axis-positions")));
    QCOMPARE(m_watch.Take(), QStringList{QStringLiteral("axis-positions X=5 Y=7 Z=250 A=0 C=0")});
}

void TestSiemensAxisPosMonitor::arrayOfTheWrongSizeIgnored()
{
    m_api.reset(new ShortSubscriptionAPI);
    m_monitor.reset(new CSiemensAxisPosMonitor(m_api.data(), false));
    QCOMPARE(m_monitor->Initialize(), 0);
    QVERIFY(m_watch.WaitFor(QStringLiteral("axis-positions")));
    QCOMPARE(m_watch.Take(), QStringList{QStringLiteral("axis-positions X=0 Y=0 Z=250 A=0 C=0")});

    // Dropped without a word in the log.
    QVERIFY(m_log.flushed());
    const int logged = m_log.text().count(QLatin1String("axespos"));
    QVERIFY(SetPositions(QStringLiteral("1,2,3,4,5,6")));
    Settle();
    QCOMPARE(m_watch.Take(), QStringList());
    QVERIFY(m_log.flushed());
    QCOMPARE(m_log.text().count(QLatin1String("axespos")), logged);
}

QTEST_GUILESS_MAIN(TestSiemensAxisPosMonitor)
#include "TestSiemensAxisPosMonitor.moc"

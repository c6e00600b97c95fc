// The status monitor on a virtual NC, with what it reports checked where
// the measurement application sees it: in a harvel-client subscribed to
// the real net server.

#include "NcAccessFixture.h"
#include "NotificationWatch.h"
#include "SiemensAPIOperate.h"
#include "SiemensStatusMonitor.h"


class TestSiemensStatusMonitor : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void programStartEndAndCancel();
    void alarmThatStopsTheChannelEndsTheProgram();
    void alarmsThatDoNotStopTheChannel();
    void oneBadEntryDropsTheNotification();
    void startMissedWhileTheNetIsOff();
    void startsWithoutAlarmsWhenTheAlarmServiceFails();

private:
    static QString Mach(int status, const QString& text = QString())
    {
        return QStringLiteral("machine-status status=%1 flag=0 text1=\"%2\" text2=\"\" text3=\"\"").arg(status).arg(text);
    }
    static QString Prog(int status, const QString& text = QString(), bool flag = true,
                        const QString& program = QStringLiteral("MAIN"))
    {
        return QStringLiteral("program-status status=%1 flag=%2 program=\"%3\" text=\"%4\"")
            .arg(status)
            .arg(int(flag))
            .arg(program, text);
    }
    // The NC notifies a change within one update period; a step that
    // should send nothing has had its chance after this.
    void Settle() { QTest::qWait(3 * m_nc->nc->updatePeriodMs()); }
    bool Start()
    {
        return m_nc->nc->selectProgram(QStringLiteral("//NC/MPF.DIR/MAIN.MPF")) == 0 && m_nc->nc->startProgram();
    }
    QString ApplDir() const { return m_dir.path() + QStringLiteral("/appl"); }

    QTemporaryDir m_dir;
    TestLog m_log;
    NotificationWatch m_watch;
    QScopedPointer<NcMachine> m_nc;
    QScopedPointer<CSiemensAPIOperate> m_api;
    QScopedPointer<CSiemensStatusMonitor> m_monitor;
};

void TestSiemensStatusMonitor::initTestCase()
{
    m_log.start();
    QVERIFY(m_watch.Start(ApplDir()));
}

void TestSiemensStatusMonitor::cleanupTestCase()
{
    m_watch.Stop();
    TestLog::stop();
}

void TestSiemensStatusMonitor::init()
{
    m_nc.reset(new NcMachine);
    QVERIFY(m_nc->nc);
    m_api.reset(new CSiemensAPIOperate);
    m_monitor.reset(new CSiemensStatusMonitor(m_api.data()));
    QCOMPARE(m_monitor->Initialize(), 0);
    // The start state, then the channel in reset as the hotlink first sees it.
    QVERIFY(m_watch.WaitFor(Mach(1), 2));
    QCOMPARE(m_watch.Take(), (QStringList{Mach(1), Prog(0, QString(), true, QString()), Mach(1)}));
}

void TestSiemensStatusMonitor::cleanup()
{
    m_monitor.reset();
    m_api.reset();
    m_nc.reset();
    // What a failed test left behind is not the next one's.
    m_watch.Take();
}

void TestSiemensStatusMonitor::programStartEndAndCancel()
{
    QVERIFY(Start());
    QVERIFY(m_watch.WaitFor(QStringLiteral("program-status")));
    QCOMPARE(m_watch.Take(), (QStringList{Mach(2), Prog(1)}));

    // A normal end raises the end counter.
    QVERIFY(m_nc->nc->endProgram());
    QVERIFY(m_watch.WaitFor(QStringLiteral("program-status")));
    QCOMPARE(m_watch.Take(), (QStringList{Mach(1), Prog(2)}));

    // Stopped and started again, the same program goes on: nothing new
    // about it, and the stop itself is no status of the machine's.
    QVERIFY(Start());
    QVERIFY(m_watch.WaitFor(QStringLiteral("program-status")));
    QCOMPARE(m_watch.Take(), (QStringList{Mach(2), Prog(1)}));
    QVERIFY(m_nc->nc->stopProgram());
    Settle();
    QVERIFY(m_nc->nc->startProgram());
    QVERIFY(m_watch.WaitFor(Mach(2)));
    QCOMPARE(m_watch.Take(), (QStringList{Mach(2)}));

    // A reset leaves the counter alone.
    QVERIFY(m_nc->nc->resetProgram());
    QVERIFY(m_watch.WaitFor(QStringLiteral("program-status")));
    QCOMPARE(m_watch.Take(), (QStringList{Mach(1), Prog(3, QStringLiteral("Program execution canceled"))}));

    // A program that runs in another mode than AUTO (an MDA block) says so
    // with the flag.
    QVERIFY(m_nc->set(QStringLiteral("/Bag/State/opMode[u1,1]"), QStringLiteral("1")));
    QVERIFY(m_nc->set(QStringLiteral("/Channel/State/acProg[u1,1]"), QStringLiteral("2")));
    QVERIFY(m_watch.WaitFor(QStringLiteral("program-status")));
    QCOMPARE(m_watch.Take(), (QStringList{Prog(1, QString(), false)}));
}

void TestSiemensStatusMonitor::alarmThatStopsTheChannelEndsTheProgram()
{
    m_nc->nc->raiseAlarm(700100, QStringLiteral("Door open"), 1, false);
    Settle();
    QVERIFY(Start());
    QVERIFY(m_watch.WaitFor(QStringLiteral("program-status")));
    QCOMPARE(m_watch.Take(), (QStringList{Mach(2), Prog(1)}));

    m_nc->nc->raiseAlarm(14000, QStringLiteral("Channel 1 stopped"), 1, true);
    QVERIFY(m_watch.WaitFor(QStringLiteral("program-status")));
    QCOMPARE(m_watch.Take(),
             (QStringList{Mach(3, QStringLiteral("Channel 1 stopped")), Prog(3, QStringLiteral("Channel 1 stopped"))}));

    // One list of events: the new alarm is the one told of, the older one
    // going away does not clear it. The program is closed already.
    m_nc->nc->raiseAlarm(700200, QStringLiteral("Probe broken"), 1, false);
    QVERIFY(m_nc->nc->clearAlarm(700100));
    QVERIFY(m_watch.WaitFor(QStringLiteral("machine-status status=3")));
    QCOMPARE(m_watch.Take(), (QStringList{Mach(3, QStringLiteral("Probe broken"))}));

    QVERIFY(m_nc->nc->clearAlarm(700200));
    QVERIFY(m_watch.WaitFor(Mach(1)));
    QCOMPARE(m_watch.Take(), (QStringList{Mach(1)}));

    // The reset ends the stopped program on the NC and clears the channel
    // alarm: the channel is normal again, the program is not reported twice.
    QVERIFY(m_nc->nc->resetProgram());
    QVERIFY(m_watch.WaitFor(Mach(1), 2));
    QCOMPARE(m_watch.Take(), (QStringList{Mach(1), Mach(1)}));
    QCOMPARE(m_nc->nc->programEndCount(), 0);
}

void TestSiemensStatusMonitor::alarmsThatDoNotStopTheChannel()
{
    QVERIFY(Start());
    QVERIFY(m_watch.WaitFor(QStringLiteral("program-status")));
    QCOMPARE(m_watch.Take(), (QStringList{Mach(2), Prog(1)}));

    // An alarm outside the channel, then a channel alarm of kind 2: neither
    // stops anything, and the second is the one remembered, so the first
    // going away changes nothing.
    m_nc->nc->raiseAlarm(700300, QStringLiteral("Hint"), 1, false);
    Settle();
    m_nc->nc->raiseAlarm(700301, QStringLiteral("Coolant low"), 2, true);
    QVERIFY(m_nc->nc->clearAlarm(700300));
    Settle();
    QCOMPARE(m_watch.Take(), QStringList());
    QCOMPARE(m_nc->nc->programStatus(), VirtualNc::ProgramRunning);
    QVERIFY(m_nc->nc->clearAlarm(700301));
    QVERIFY(m_watch.WaitFor(Mach(1)));
    QCOMPARE(m_watch.Take(), (QStringList{Mach(1)}));

    // Remembered while chanAlarm reads 0; chanAlarm changing alone sends
    // nothing, the next list of events looks at it again.
    m_nc->nc->raiseAlarm(700400, QStringLiteral("Lubrication"), 1, false);
    m_nc->nc->raiseAlarm(700401, QStringLiteral("Spindle load"), 1, false);
    Settle();
    QVERIFY(m_nc->set(QStringLiteral("/Channel/State/chanAlarm[u1,1]"), QStringLiteral("1")));
    Settle();
    QCOMPARE(m_watch.Take(), QStringList());
    // The clear puts chanAlarm back to 0 on the NC; set again at once, the
    // hotlink sees no change and the alarm list alone decides.
    QVERIFY(m_nc->nc->clearAlarm(700400));
    QVERIFY(m_nc->set(QStringLiteral("/Channel/State/chanAlarm[u1,1]"), QStringLiteral("1")));
    QVERIFY(m_watch.WaitFor(QStringLiteral("program-status")));
    QCOMPARE(m_watch.Take(),
             (QStringList{Mach(3, QStringLiteral("Spindle load")), Prog(3, QStringLiteral("Spindle load"))}));
}

void TestSiemensStatusMonitor::oneBadEntryDropsTheNotification()
{
    // The start reaches the hotlink with chanStatus and acProg good and the
    // last entry failing: all three are lost.
    m_nc->fail(QStringLiteral("read"), QStringLiteral("/Channel/State/chanAlarm"), 0x80320006u);
    QVERIFY(Start());
    QVERIFY(m_log.has(QStringLiteral(", VarName=chanAlarm[u1,1], ErrCode=0x80320006\n")));
    QVERIFY(m_log.text().contains(QRegularExpression(
        QStringLiteral(R"(\| ERR \| \w+ \| Get status failed\. HandleID=\d+, VarName=chanAlarm\[u1,1\], ErrCode=0x80320006\n)"))));
    QCOMPARE(m_watch.Take(), QStringList());

    // The start was never reported, so neither is the end.
    m_nc->nc->faults().clear();
    QVERIFY(m_nc->nc->endProgram());
    QVERIFY(m_watch.WaitFor(Mach(1)));
    Settle();
    QCOMPARE(m_watch.Take(), (QStringList{Mach(1)}));
}

void TestSiemensStatusMonitor::startMissedWhileTheNetIsOff()
{
    m_watch.Stop();
    QVERIFY(Start());
    Settle();
    QVERIFY(m_watch.Start(ApplDir()));

    // The start was not followed without the net, so its end is not
    // reported either; the channel status is.
    QVERIFY(m_nc->nc->endProgram());
    QVERIFY(m_watch.WaitFor(Mach(1)));
    Settle();
    QCOMPARE(m_watch.Take(), (QStringList{Mach(1)}));
}

void TestSiemensStatusMonitor::startsWithoutAlarmsWhenTheAlarmServiceFails()
{
    // Without an NC the alarm service refuses the sink; the start state is
    // told all the same.
    m_monitor.reset();
    m_api.reset();
    m_nc.reset();
    m_api.reset(new CSiemensAPIOperate);
    m_monitor.reset(new CSiemensStatusMonitor(m_api.data()));
    QCOMPARE(m_monitor->Initialize(), 0);
    QVERIFY(m_log.has(QStringLiteral(" | Cannot init alarm handle. ErrCode=-5\n")));
    QCOMPARE(m_watch.Take(), (QStringList{Mach(1), Prog(0, QString(), true, QString())}));
}

QTEST_GUILESS_MAIN(TestSiemensStatusMonitor)
#include "TestSiemensStatusMonitor.moc"

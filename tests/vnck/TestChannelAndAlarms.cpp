#include "MachineFixture.h"
#include "SlAeQEventSink.h"
#include "SlQCap.h"

#include <QSignalSpy>

namespace {
bool openSink(SlAeQEventSink& sink)
{
    QVector<SlAeCategoryInfo> categories;
    QList<long> attrs{-1, -9};
    if (sink.init("eng") < 0 || sink.queryCategories(categories) < 0 || categories.isEmpty())
        return false;
    for (const SlAeCategoryInfo& c : categories)
        if (sink.setReturnAttributes(c.getCategoryId(), attrs) < 0)
            return false;
    return sink.activate() >= 0;
}

// One line per list of events, copied while they are valid, in the slot:
// "state id text kind source" per event, ',' between events.
QStringList* collect(SlAeQEventSink& sink, QObject* context)
{
    auto* lists = new QStringList;
    QObject::connect(&sink, &SlAeQEventSink::newEvent, context, [lists](const QList<SlAeEvent*>& events) {
        QStringList list;
        for (const SlAeEvent* e : events)
            list << QStringLiteral("%1 %2 %3 %4 %5").arg(e->getAlarmState()).arg(e->getAlarmId())
                        .arg(e->getAttribute(-1).toString(), e->getAttribute(-9).toString())
                        .arg(e->getAttribute(-2).isValid() ? "source" : "-");
        *lists << list.join(',');
    });
    return lists;
}
} // namespace

class TestChannelAndAlarms : public QObject
{
    Q_OBJECT
private slots:
    void programRunsToItsEndOrIsStoppedByAnAlarm();
    void alarmsReachTheSinkInTheNcOrder();
    void sinkRefusesWhatIsNotSetUp();
};

void TestChannelAndAlarms::programRunsToItsEndOrIsStoppedByAnAlarm()
{
    MachineFixture m;
    QSignalSpy changed(m.nc.data(), &VirtualNc::channelChanged);
    QString why;
    QVERIFY(!m.nc->startProgram(&why));
    QVERIFY(why.contains(QLatin1String("selected")));
    QCOMPARE(m.nc->selectProgram("//NC/MPF.DIR/MAIN.MPF"), 0L);
    QVERIFY(m.nc->setOperatingMode(VirtualNc::ModeJog));
    QVERIFY(!m.nc->startProgram(&why));
    QVERIFY(why.contains(QLatin1String("AUTO")));
    QVERIFY(m.nc->setOperatingMode(VirtualNc::ModeAuto));
    QVERIFY(m.nc->startProgram());
    auto status = [&] { return QPair<int, int>(m.nc->channelStatus(), m.nc->programStatus()); };
    QCOMPARE(status(), qMakePair(int(VirtualNc::ChannelActive), int(VirtualNc::ProgramRunning)));
    QVERIFY(!m.nc->setOperatingMode(VirtualNc::ModeJog));
    QVERIFY(m.nc->stopProgram());
    QCOMPARE(status(), qMakePair(int(VirtualNc::ChannelInterrupted), int(VirtualNc::ProgramStopped)));
    QVERIFY(!m.nc->endProgram()); // a stopped program does not reach M30
    QVERIFY(m.nc->startProgram());
    QVERIFY(m.nc->endProgram());
    QCOMPARE(status(), qMakePair(int(VirtualNc::ChannelReset), int(VirtualNc::ProgramAborted)));
    QVariant v;
    QCOMPARE(m.nc->read("/Channel/State/ncProgEndCounter[u1,1]", v), SL_CAP_OK);
    QCOMPARE(v, QVariant(1));
    QVERIFY(!m.nc->endProgram());
    QCOMPARE(m.nc->programEndCount(), 1);
    QVERIFY(changed.count() >= 6);

    // A channel alarm stops the program; the channel's variable is notified before the alarm arrives.
    QStringList order;
    SlQCap cap("test");
    connect(&cap, &SlQCap::adviseData, this, [&](SlCapErrorEnum, const QVariant& v, const SlCapSupplementInfoType&) {
        order << QStringLiteral("chanAlarm=%1").arg(v.toString());
    });
    SlQCapHandle h;
    QCOMPARE(cap.advise("/Channel/State/chanAlarm[u1,1]", h), SL_CAP_OK);
    QTRY_COMPARE_WITH_TIMEOUT(order.size(), 1, 5000);
    SlAeQEventSink sink(this, nullptr);
    connect(&sink, &SlAeQEventSink::newEvent, this, [&](const QList<SlAeEvent*>& events) {
        for (const SlAeEvent* e : events)
            order << QStringLiteral("event %1 %2").arg(e->getAlarmState()).arg(e->getAlarmId());
    });
    QVERIFY(openSink(sink));
    QVERIFY(m.nc->startProgram());
    m.nc->raiseAlarm(14000, "Channel stops", 1, true);
    QCOMPARE(status(), qMakePair(int(VirtualNc::ChannelInterrupted), int(VirtualNc::ProgramInterrupted)));
    QTRY_COMPARE_WITH_TIMEOUT(order.size(), 3, 5000);
    QCOMPARE(order, (QStringList{"chanAlarm=0", "chanAlarm=1", "event 21 14000"}));
    // A reset clears it and cancels without counting; the selection stays for the next start.
    QVERIFY(m.nc->resetProgram());
    QTRY_COMPARE_WITH_TIMEOUT(order.size(), 5, 5000);
    QStringList after = order.mid(3);
    after.sort();
    QCOMPARE(after, (QStringList{"chanAlarm=0", "event 20 14000"}));
    QVERIFY(m.nc->alarms().isEmpty());
    QCOMPARE(m.nc->programEndCount(), 1);
    QCOMPARE(m.nc->selectedProgram(), QStringLiteral("//NC/MPF.DIR/MAIN.MPF"));
}

void TestChannelAndAlarms::alarmsReachTheSinkInTheNcOrder()
{
    MachineFixture m;
    m.nc->raiseAlarm(1, "first", 1, false);
    SlAeQEventSink sink(this, nullptr);
    QScopedPointer<QStringList> lists(collect(sink, this));
    QVERIFY(openSink(sink));
    // Active alarms come on activation; attributes only as asked for.
    QTRY_COMPARE_WITH_TIMEOUT(lists->size(), 1, 5000);
    QCOMPARE(lists->last(), QStringLiteral("21 1 first 1 -"));
    m.nc->raiseAlarm(700010, "Probe not deflected", 2, false);
    QTRY_COMPARE_WITH_TIMEOUT(lists->size(), 2, 5000);
    QCOMPARE(lists->last(), QStringLiteral("21 700010 Probe not deflected 2 -"));
    QVERIFY(m.nc->clearAlarm(700010));
    QVERIFY(!m.nc->clearAlarm(700010));
    QTRY_COMPARE_WITH_TIMEOUT(lists->size(), 3, 5000);
    QVERIFY(lists->last().startsWith("20 700010 "));

    // A channel alarm comes late; what happens after it must not overtake it.
    m.nc->raiseAlarm(14000, "Channel stops", 1, true);
    QVERIFY(m.nc->clearAlarm(14000));
    m.nc->raiseAlarm(2, "next", 1, false);
    QVERIFY(m.nc->clearAlarm(1));
    QTRY_COMPARE_WITH_TIMEOUT(lists->size(), 4, 5000);
    QCOMPARE(lists->last(), QStringLiteral("21 14000 Channel stops 1 -,20 14000 Channel stops 1 -,21 2 next 1 -,20 1 first 1 -"));
    QCOMPARE(m.nc->alarms().size(), 1);
    sink.deactivate();
    m.nc->raiseAlarm(700012, "unseen", 1, false);
    QTest::qWait(50);
    QCOMPARE(lists->size(), 4);
}

void TestChannelAndAlarms::sinkRefusesWhatIsNotSetUp()
{
    {
        SlAeQEventSink sink(nullptr, nullptr);
        QVERIFY(sink.init("eng") < 0); // no NC in the process
    }
    MachineFixture m;
    SlAeQEventSink sink(nullptr, "named");
    QVector<SlAeCategoryInfo> categories;
    QList<long> attrs{-1};
    QVERIFY(sink.activate() < 0);
    QVERIFY(sink.queryCategories(categories) < 0);
    QVERIFY(sink.init("klingon") < 0);
    QCOMPARE(sink.init("eng"), 0L);
    QVERIFY(sink.setReturnAttributes(99, attrs) < 0);
    QCOMPARE(sink.fini(), 0L);
    QVERIFY(sink.activate() < 0);
}

QTEST_GUILESS_MAIN(TestChannelAndAlarms)
#include "TestChannelAndAlarms.moc"

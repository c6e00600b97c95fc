#include "MachineFixture.h"
#include "SlAeQEventSink.h"
#include "SlQCap.h"

#include <QSignalSpy>

namespace {
struct Seen
{
    int state;
    long id;
    QVariant text;
    QVariant kind;
    QVariant source;
    unsigned int sourceId;
};

// Copies what the events say while they are valid, in the slot.
QList<Seen>* collect(SlAeQEventSink& sink, QObject* context)
{
    auto* seen = new QList<Seen>;
    QObject::connect(&sink, &SlAeQEventSink::newEvent, context, [seen](const QList<SlAeEvent*>& events) {
        for (const SlAeEvent* e : events)
            *seen << Seen{e->getAlarmState(), e->getAlarmId(), e->getAttribute(-1), e->getAttribute(-9),
                          e->getAttribute(-2), e->getSourceId()};
    });
    return seen;
}

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
} // namespace

class TestChannelAndAlarms : public QObject
{
    Q_OBJECT
private slots:
    void programRunsToItsEnd();
    void alarmsReachTheSink();
    void activeAlarmsComeOnActivation();
    void channelAlarmStopsTheProgramAndFollowsItsVariable();
    void eventsKeepTheNcOrderAndComeTogether();
    void sinkRefusesWhatIsNotSetUp();
};

void TestChannelAndAlarms::programRunsToItsEnd()
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
    QCOMPARE(m.nc->channelStatus(), VirtualNc::ChannelActive);
    QCOMPARE(m.nc->programStatus(), VirtualNc::ProgramRunning);
    QVERIFY(!m.nc->setOperatingMode(VirtualNc::ModeJog));
    QVERIFY(m.nc->stopProgram());
    QCOMPARE(m.nc->channelStatus(), VirtualNc::ChannelInterrupted);
    QCOMPARE(m.nc->programStatus(), VirtualNc::ProgramStopped);
    QVERIFY(!m.nc->endProgram()); // a stopped program does not reach M30
    QVERIFY(m.nc->startProgram());
    QVERIFY(m.nc->endProgram());
    QCOMPARE(m.nc->channelStatus(), VirtualNc::ChannelReset);
    QCOMPARE(m.nc->programStatus(), VirtualNc::ProgramAborted);
    QCOMPARE(m.nc->programEndCount(), 1);
    QVariant v;
    QCOMPARE(m.nc->read("/Channel/State/ncProgEndCounter[u1,1]", v), SL_CAP_OK);
    QCOMPARE(v, QVariant(1));
    QVERIFY(!m.nc->endProgram());
    QCOMPARE(m.nc->programEndCount(), 1);
    QVERIFY(changed.count() >= 6);
}

void TestChannelAndAlarms::alarmsReachTheSink()
{
    MachineFixture m;
    SlAeQEventSink sink(this, nullptr);
    QScopedPointer<QList<Seen>> seen(collect(sink, this));
    QVERIFY(openSink(sink));
    m.nc->raiseAlarm(700010, "Probe not deflected", 1, false);
    m.nc->raiseAlarm(700011, "Hint", 2, false);
    QTRY_COMPARE_WITH_TIMEOUT(seen->size(), 2, 5000);
    QCOMPARE(seen->at(0).state, 21);
    QCOMPARE(seen->at(0).id, 700010L);
    QCOMPARE(seen->at(0).text, QVariant("Probe not deflected"));
    QCOMPARE(seen->at(0).kind.toUInt(), 1u);
    QVERIFY(!seen->at(0).source.isValid()); // not asked for
    QCOMPARE(seen->at(1).kind.toUInt(), 2u);
    QVERIFY(m.nc->clearAlarm(700010));
    QVERIFY(!m.nc->clearAlarm(700010));
    QTRY_COMPARE_WITH_TIMEOUT(seen->size(), 3, 5000);
    QCOMPARE(seen->at(2).state, 20);
    QCOMPARE(seen->at(2).id, 700010L);
    QCOMPARE(m.nc->alarms().size(), 1);
    sink.deactivate();
    m.nc->raiseAlarm(700012, "unseen", 1, false);
    QTest::qWait(50);
    QCOMPARE(seen->size(), 3);
}

void TestChannelAndAlarms::activeAlarmsComeOnActivation()
{
    MachineFixture m;
    m.nc->raiseAlarm(1, "first", 1, false);
    m.nc->raiseAlarm(2, "second", 1, false);
    SlAeQEventSink sink(this, nullptr);
    QScopedPointer<QList<Seen>> seen(collect(sink, this));
    QVERIFY(openSink(sink));
    QTRY_COMPARE_WITH_TIMEOUT(seen->size(), 2, 5000);
    QCOMPARE(seen->at(0).id, 1L);
    QCOMPARE(seen->at(1).id, 2L);
    QCOMPARE(seen->at(1).state, 21);
}

void TestChannelAndAlarms::channelAlarmStopsTheProgramAndFollowsItsVariable()
{
    MachineFixture m;
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
    QCOMPARE(m.nc->selectProgram("//NC/MPF.DIR/MAIN.MPF"), 0L);
    QVERIFY(m.nc->startProgram());

    m.nc->raiseAlarm(14000, "Channel stops", 1, true);
    QCOMPARE(m.nc->channelStatus(), VirtualNc::ChannelInterrupted);
    QCOMPARE(m.nc->programStatus(), VirtualNc::ProgramInterrupted);
    QTRY_COMPARE_WITH_TIMEOUT(order.size(), 3, 5000);
    // The channel's variable is notified before the alarm arrives.
    QCOMPARE(order, (QStringList{"chanAlarm=0", "chanAlarm=1", "event 21 14000"}));

    QVERIFY(m.nc->resetProgram());
    QTRY_COMPARE_WITH_TIMEOUT(order.size(), 5, 5000);
    QVERIFY(order.contains("event 20 14000"));
    QVERIFY(order.contains("chanAlarm=0"));
    QVERIFY(m.nc->alarms().isEmpty());
    // A reset cancels without counting, and the selection stays for the next start.
    QCOMPARE(m.nc->programEndCount(), 0);
    QCOMPARE(m.nc->selectedProgram(), QStringLiteral("//NC/MPF.DIR/MAIN.MPF"));
}

void TestChannelAndAlarms::eventsKeepTheNcOrderAndComeTogether()
{
    MachineFixture m;
    SlAeQEventSink sink(this, nullptr);
    QStringList lists;
    connect(&sink, &SlAeQEventSink::newEvent, this, [&](const QList<SlAeEvent*>& events) {
        QStringList list;
        for (const SlAeEvent* e : events)
            list << QStringLiteral("%1 %2").arg(e->getAlarmState()).arg(e->getAlarmId());
        lists << list.join(QLatin1Char(','));
    });
    QVERIFY(openSink(sink));
    m.nc->raiseAlarm(1, "other", 1, false);
    QTRY_COMPARE_WITH_TIMEOUT(lists.size(), 1, 5000);

    // A channel alarm comes late; what happens after it must not overtake it.
    m.nc->raiseAlarm(14000, "Channel stops", 1, true);
    QVERIFY(m.nc->clearAlarm(14000));
    m.nc->raiseAlarm(2, "next", 1, false);
    QVERIFY(m.nc->clearAlarm(1));
    QTRY_COMPARE_WITH_TIMEOUT(lists.size(), 2, 5000);
    QCOMPARE(lists, (QStringList{"21 1", "21 14000,20 14000,21 2,20 1"}));
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

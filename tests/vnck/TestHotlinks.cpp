#include "MachineFixture.h"
#include "NcFaults.h"
#include "SlAeQEventSink.h"
#include "SlQCap.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QSettings>
#include <QSignalSpy>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <future>
#include <mutex>

namespace {
const QString tmrFile = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_FILE");
const QString tmrVar1 = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_VAR[1]");
using Results = QVector<SlCapAdviseResultType>;

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

// What the NC tells by itself: hotlinks, the channel's program and alarms.
class TestHotlinks : public QObject
{
    Q_OBJECT
private slots:
    void adviseAndUnadvise();
    void latestValueAtMostOncePerPeriod();
    void multiAdviseFlagsWhatChangedAndCarriesErrors();
    void deliveredOnTheOwnersThread();
    void programRunsToItsEndOrIsStoppedByAnAlarm();
    void alarmsReachTheSinkInTheNcOrder();
};

void TestHotlinks::adviseAndUnadvise()
{
    {
        MachineFixture blank(VirtualNc::Variant::Blank);
        SlQCap cap("test");
        SlQCapHandle h;
        QCOMPARE(cap.advise(tmrFile, h), SL_CAP_ERR_UNKNOWN_ITEM);
        QVERIFY(!h.isValid());
        QCOMPARE(cap.multiAdvise({}, h), SL_CAP_ERR_SYNTAX);
    }
    MachineFixture m;
    SlQCap cap("test");
    QCOMPARE(cap.write(tmrFile, 7), SL_CAP_OK);
    QSignalSpy spy(&cap, &SlQCap::adviseData);
    SlQCapHandle h;
    QCOMPARE(cap.advise(tmrFile, h, SlCapData::standardUpdateRate(), 0.0, SlCapData::standardTimeout(), 0), SL_CAP_OK);
    // The current value, but not inside advise: the caller connects and stores the handle first.
    QCOMPARE(spy.count(), 0);
    QVERIFY(spy.wait(5000));
    QCOMPARE(spy.first().at(0).value<SlCapErrorEnum>(), SL_CAP_OK);
    QCOMPARE(spy.first().at(1), QVariant(7));
    QCOMPARE(spy.first().at(2).value<SlCapSupplementInfoType>().m_handleId, h.m_id);
    // Nothing changes, nothing comes.
    QVERIFY(!spy.wait(3 * m.nc->updatePeriodMs()));
    QCOMPARE(cap.unadvise(h), SL_CAP_OK);
    QVERIFY(!h.isValid());
    QCOMPARE(cap.unadvise(h), SL_CAP_ERR_INVALID_HANDLE);

    // A fault for one call only; the channel variables follow the channel.
    m.nc->faults().add({"advise", "/Channel/*", long(int(0x80bb0002u)), 0, 1});
    QCOMPARE(unsigned(cap.advise("/Channel/State/acProg[u1,1]", h)), 0x80bb0002u);
    spy.clear();
    QCOMPARE(cap.advise("/Channel/State/acProg[u1,1]", h), SL_CAP_OK);
    QVERIFY(spy.wait(5000));
    QCOMPARE(m.nc->selectProgram("//NC/MPF.DIR/MAIN.MPF"), 0L);
    QVERIFY(m.nc->startProgram());
    QTRY_VERIFY_WITH_TIMEOUT(spy.count() >= 2 && spy.last().at(1) == QVariant(2), 5000);
    QCOMPARE(cap.unadvise(h), SL_CAP_OK);
    QVERIFY(m.nc->resetProgram());
    QVERIFY(!spy.wait(3 * m.nc->updatePeriodMs()));
}

void TestHotlinks::latestValueAtMostOncePerPeriod()
{
    MachineFixture m;
    m.nc.reset();
    QSettings(m.path("machine.ini"), QSettings::IniFormat).setValue("Hotlink/UpdatePeriodMs", 50);
    QVERIFY(m.open());
    QCOMPARE(m.nc->updatePeriodMs(), 50);
    SlQCap cap("test");
    QList<qint64> at;
    QVariant last;
    QElapsedTimer clock;
    clock.start();
    connect(&cap, &SlQCap::adviseData, this, [&](SlCapErrorEnum, const QVariant& v, const SlCapSupplementInfoType&) {
        at << clock.elapsed();
        last = v;
    });
    SlQCapHandle h;
    // Asking for faster than the NC's period gets the NC's period.
    QCOMPARE(cap.advise(tmrVar1, h, 5, 0.0, SlCapData::standardTimeout(), 0), SL_CAP_OK);
    QTimer writer;
    int n = 0;
    connect(&writer, &QTimer::timeout, this, [&] { cap.write(tmrVar1, double(++n)); });
    writer.start(7);
    QTRY_VERIFY_WITH_TIMEOUT(at.size() >= 8, 10000);
    writer.stop();
    // Coalesced to the latest value; the slack covers the slot starting a
    // little late after one send and on time after the next.
    QTRY_COMPARE_WITH_TIMEOUT(last, QVariant(double(n)), 5000);
    for (int i = 1; i < at.size(); ++i)
        QVERIFY2(at[i] - at[i - 1] >= 40, qPrintable(QStringLiteral("interval %1 ms").arg(at[i] - at[i - 1])));
}

void TestHotlinks::multiAdviseFlagsWhatChangedAndCarriesErrors()
{
    MachineFixture m;
    SlQCap cap("test");
    QSignalSpy spy(&cap, &SlQCap::multiAdviseData);
    const QStringList names{"/Channel/State/chanStatus[u1,1]", "/Channel/State/acProg[u1,1]",
                            "/Channel/State/chanAlarm[u1,1]", tmrVar1};
    QVector<SlCapAdviseSpec> specs;
    for (const QString& name : names)
        specs << SlCapAdviseSpec(name, SlCapData::standardUpdateRate());
    SlQCapHandle h;
    QCOMPARE(cap.multiAdvise(specs, h, SlCapData::standardTimeout()), SL_CAP_OK);
    QVERIFY(spy.wait(5000));
    auto flags = [&] { // "*" for flagged, then the value or the error
        QStringList s;
        for (const SlCapAdviseResultType& r : spy.last().at(1).value<Results>())
            s << (r.m_hasValue ? "*" : "") + (r.m_error ? QString::number(r.m_error, 16) : r.m_value.toString());
        return s.join(' ');
    };
    QCOMPARE(flags(), QStringLiteral("*0 *0 *0 *0"));
    m.nc->raiseAlarm(10000, "channel alarm", 1, true);
    QVERIFY(spy.wait(5000));
    // Unflagged entries still carry their value.
    QCOMPARE(flags(), QStringLiteral("0 0 *1 0"));
    QCOMPARE(spy.last().at(0).value<SlCapErrorEnum>(), SL_CAP_OK);
    // An error travels in its entry and in the notification.
    m.nc->faults().add({"read", "/NC/_N_NC_GD3_ACX/TMR_VAR", long(int(0x80aa0001u)), 0, -1});
    QVERIFY(m.nc->clearAlarm(10000));
    QVERIFY(spy.wait(5000));
    QCOMPARE(unsigned(spy.last().at(0).value<SlCapErrorEnum>()), 0x80aa0001u);
    QCOMPARE(flags(), QStringLiteral("0 0 *0 *80aa0001"));
}

void TestHotlinks::deliveredOnTheOwnersThread()
{
    MachineFixture m;
    // The subscriber lives and dies on a thread of its own. Standard locks,
    // futures and the thread's start rather than Qt's queued calls hand data
    // across: the thread checker sees only what synchronises in our code.
    QThread* seen = nullptr;
    QVariant last;
    std::mutex mutex;
    std::promise<SlCapErrorEnum> advised;
    std::atomic<bool> stop{false};
    QScopedPointer<QThread> worker(QThread::create([&] {
        SlQCap cap("worker");
        connect(&cap, &SlQCap::adviseData, [&](SlCapErrorEnum, const QVariant& v, const SlCapSupplementInfoType&) {
            std::lock_guard<std::mutex> lock(mutex);
            seen = QThread::currentThread();
            last = v;
        });
        SlQCapHandle h;
        advised.set_value(cap.advise(tmrFile, h));
        QEventLoop loop;
        QTimer poll;
        connect(&poll, &QTimer::timeout, [&] {
            if (stop)
                loop.quit();
        });
        poll.start(10);
        loop.exec();
    }));
    worker->start();
    QCOMPARE(advised.get_future().get(), SL_CAP_OK);
    SlQCap mine("main");
    QCOMPARE(mine.write(tmrFile, 42), SL_CAP_OK);
    QTRY_VERIFY_WITH_TIMEOUT((std::lock_guard<std::mutex>(mutex), last == QVariant(42)), 5000);
    {
        std::lock_guard<std::mutex> lock(mutex);
        QCOMPARE(seen, worker.data());
    }
    stop = true;
    QVERIFY(worker->wait(5000));
}

void TestHotlinks::programRunsToItsEndOrIsStoppedByAnAlarm()
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

void TestHotlinks::alarmsReachTheSinkInTheNcOrder()
{
    {
        SlAeQEventSink sink(nullptr, nullptr);
        QVERIFY(sink.init("eng") < 0); // no NC in the process
    }
    MachineFixture m;
    {
        // Each step in its turn.
        SlAeQEventSink sink(nullptr, "named");
        QVector<SlAeCategoryInfo> categories;
        QList<long> attrs{-1};
        QVERIFY(sink.activate() < 0 && sink.queryCategories(categories) < 0 && sink.init("klingon") < 0);
        QCOMPARE(sink.init("eng"), 0L);
        QVERIFY(sink.setReturnAttributes(99, attrs) < 0);
        QCOMPARE(sink.fini(), 0L);
        QVERIFY(sink.activate() < 0);
    }
    m.nc->raiseAlarm(1, "first", 1, false);
    SlAeQEventSink sink(this, nullptr);
    // One line per list of events, copied while they are valid, in the slot:
    // "state id text kind source" per event, ',' between events.
    QStringList lists;
    connect(&sink, &SlAeQEventSink::newEvent, this, [&lists](const QList<SlAeEvent*>& events) {
        QStringList list;
        for (const SlAeEvent* e : events)
            list << QStringLiteral("%1 %2 %3 %4 %5").arg(e->getAlarmState()).arg(e->getAlarmId())
                        .arg(e->getAttribute(-1).toString(), e->getAttribute(-9).toString())
                        .arg(e->getAttribute(-2).isValid() ? "source" : "-");
        lists << list.join(',');
    });
    QVERIFY(openSink(sink));
    // Active alarms come on activation; attributes only as asked for.
    QTRY_COMPARE_WITH_TIMEOUT(lists.size(), 1, 5000);
    QCOMPARE(lists.last(), QStringLiteral("21 1 first 1 -"));
    m.nc->raiseAlarm(700010, "Probe not deflected", 2, false);
    QTRY_COMPARE_WITH_TIMEOUT(lists.size(), 2, 5000);
    QCOMPARE(lists.last(), QStringLiteral("21 700010 Probe not deflected 2 -"));
    QVERIFY(m.nc->clearAlarm(700010));
    QVERIFY(!m.nc->clearAlarm(700010));
    QTRY_COMPARE_WITH_TIMEOUT(lists.size(), 3, 5000);
    QVERIFY(lists.last().startsWith("20 700010 "));

    // A channel alarm comes late; what happens after it must not overtake it.
    m.nc->raiseAlarm(14000, "Channel stops", 1, true);
    QVERIFY(m.nc->clearAlarm(14000));
    m.nc->raiseAlarm(2, "next", 1, false);
    QVERIFY(m.nc->clearAlarm(1));
    QTRY_COMPARE_WITH_TIMEOUT(lists.size(), 4, 5000);
    QCOMPARE(lists.last(), QStringLiteral("21 14000 Channel stops 1 -,20 14000 Channel stops 1 -,21 2 next 1 -,20 1 first 1 -"));
    QCOMPARE(m.nc->alarms().size(), 1);
    sink.deactivate();
    m.nc->raiseAlarm(700012, "unseen", 1, false);
    QTest::qWait(50);
    QCOMPARE(lists.size(), 4);
}

QTEST_GUILESS_MAIN(TestHotlinks)
#include "TestHotlinks.moc"

#include "MachineFixture.h"
#include "NcFaults.h"
#include "SlQCap.h"

#include <QElapsedTimer>
#include <QSettings>
#include <QSignalSpy>
#include <QThread>

namespace {
const QString tmrFile = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_FILE");
const QString tmrVar1 = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_VAR[1]");

// A machine whose hotlinks run at the given period.
void setPeriod(MachineFixture& m, int periodMs)
{
    m.nc.reset();
    {
        QSettings ini(m.path("machine.ini"), QSettings::IniFormat);
        ini.setValue("Hotlink/UpdatePeriodMs", periodMs);
    }
    QVERIFY(m.open());
    QCOMPARE(m.nc->updatePeriodMs(), periodMs);
}

struct Received
{
    QList<qint64> at;
    QList<QVariant> values;
};
} // namespace

class TestHotlinks : public QObject
{
    Q_OBJECT
private slots:
    void currentValueRightAfterAdvise();
    void latestValueOncePerPeriod();
    void intervalsNeverShorterThanThePeriod();
    void multiAdviseFlagsWhatChanged();
    void errorsTravelInTheNotification();
    void adviseAndUnadviseFailures();
    void deliveredOnTheOwnersThread();
};

void TestHotlinks::currentValueRightAfterAdvise()
{
    MachineFixture m;
    SlQCap cap("test");
    QCOMPARE(cap.write(tmrFile, 7), SL_CAP_OK);
    QSignalSpy spy(&cap, &SlQCap::adviseData);
    SlQCapHandle h;
    QCOMPARE(cap.advise(tmrFile, h, SlCapData::standardUpdateRate(), 0.0, SlCapData::standardTimeout(), 0), SL_CAP_OK);
    QVERIFY(h.isValid());
    // Not inside advise: the caller connects and stores the handle first.
    QCOMPARE(spy.count(), 0);
    QVERIFY(spy.wait(5000));
    QCOMPARE(spy.first().at(0).value<SlCapErrorEnum>(), SL_CAP_OK);
    QCOMPARE(spy.first().at(1), QVariant(7));
    QCOMPARE(spy.first().at(2).value<SlCapSupplementInfoType>().m_handleId, h.m_id);
    // Nothing changes, nothing comes.
    QVERIFY(!spy.wait(3 * m.nc->updatePeriodMs()));
    QCOMPARE(spy.count(), 1);
    // The channel variables follow the channel.
    SlQCapHandle hp;
    QSignalSpy prog(&cap, &SlQCap::adviseData);
    QCOMPARE(cap.advise("/Channel/State/acProg[u1,1]", hp), SL_CAP_OK);
    QVERIFY(prog.wait(5000));
    QCOMPARE(m.nc->selectProgram("//NC/MPF.DIR/MAIN.MPF"), 0L);
    QVERIFY(m.nc->startProgram());
    QTRY_VERIFY_WITH_TIMEOUT(prog.count() >= 2 && prog.last().at(1) == QVariant(2), 5000);
}

void TestHotlinks::latestValueOncePerPeriod()
{
    MachineFixture m;
    setPeriod(m, 200);
    SlQCap cap("test");
    Received got;
    QElapsedTimer clock;
    clock.start();
    connect(&cap, &SlQCap::adviseData, this, [&](SlCapErrorEnum, const QVariant& v, const SlCapSupplementInfoType&) {
        got.at << clock.elapsed();
        got.values << v;
    });
    SlQCapHandle h;
    QCOMPARE(cap.advise(tmrVar1, h), SL_CAP_OK);
    QTRY_COMPARE_WITH_TIMEOUT(got.values.size(), 1, 5000);

    QElapsedTimer burst;
    burst.start();
    for (int i = 1; i <= 50; ++i)
        QCOMPARE(cap.write(tmrVar1, double(i)), SL_CAP_OK);
    const qint64 burstMs = burst.elapsed();
    QTRY_VERIFY_WITH_TIMEOUT(got.values.last() == QVariant(50.0), 5000);
    QTest::qWait(2 * 200);
    // 50 changes, coalesced: one notification per period the burst spanned, plus one.
    const int after = got.values.size() - 1;
    QVERIFY2(after >= 1 && after <= burstMs / 200 + 2,
             qPrintable(QStringLiteral("%1 notifications for a burst of %2 ms").arg(after).arg(burstMs)));
    QCOMPARE(got.values.last(), QVariant(50.0));
}

void TestHotlinks::intervalsNeverShorterThanThePeriod()
{
    MachineFixture m;
    setPeriod(m, 50);
    SlQCap cap("test");
    QList<qint64> at;
    QElapsedTimer clock;
    clock.start();
    connect(&cap, &SlQCap::adviseData, this,
            [&](SlCapErrorEnum, const QVariant&, const SlCapSupplementInfoType&) { at << clock.elapsed(); });
    SlQCapHandle h;
    // Asking for faster than the NC's period gets the NC's period.
    QCOMPARE(cap.advise(tmrVar1, h, 5, 0.0, SlCapData::standardTimeout(), 0), SL_CAP_OK);
    QTimer writer;
    int n = 0;
    connect(&writer, &QTimer::timeout, this, [&] { cap.write(tmrVar1, double(++n)); });
    writer.start(7);
    QTRY_VERIFY_WITH_TIMEOUT(at.size() >= 8, 10000);
    writer.stop();
    // The service keeps 50 ms between its sends; the slack covers the slot
    // starting a little late after one send and on time after the next.
    for (int i = 1; i < at.size(); ++i)
        QVERIFY2(at[i] - at[i - 1] >= 40, qPrintable(QStringLiteral("interval %1 ms").arg(at[i] - at[i - 1])));
}

void TestHotlinks::multiAdviseFlagsWhatChanged()
{
    MachineFixture m;
    SlQCap cap("test");
    QSignalSpy spy(&cap, &SlQCap::multiAdviseData);
    const QVector<SlCapAdviseSpec> specs{
        SlCapAdviseSpec("/Channel/State/chanStatus[u1,1]", SlCapData::standardUpdateRate()),
        SlCapAdviseSpec("/Channel/State/acProg[u1,1]", SlCapData::standardUpdateRate()),
        SlCapAdviseSpec("/Channel/State/chanAlarm[u1,1]", SlCapData::standardUpdateRate())};
    SlQCapHandle h;
    QCOMPARE(cap.multiAdvise(specs, h, SlCapData::standardTimeout()), SL_CAP_OK);
    QVERIFY(spy.wait(5000));
    auto results = spy.last().at(1).value<QVector<SlCapAdviseResultType>>();
    QCOMPARE(results.size(), 3);
    for (const SlCapAdviseResultType& r : results) {
        QVERIFY(r.m_hasValue);
        QCOMPARE(r.m_value, QVariant(0));
    }
    m.nc->raiseAlarm(10000, "channel alarm", 1, true);
    QVERIFY(spy.wait(5000));
    results = spy.last().at(1).value<QVector<SlCapAdviseResultType>>();
    QCOMPARE(results.size(), 3);
    QVERIFY(!results[0].m_hasValue);
    QVERIFY(!results[1].m_hasValue);
    QVERIFY(results[2].m_hasValue);
    QCOMPARE(results[2].m_value, QVariant(1));
    // Unflagged entries still carry their value.
    QCOMPARE(results[0].m_value, QVariant(0));
}

void TestHotlinks::errorsTravelInTheNotification()
{
    MachineFixture m;
    SlQCap cap("test");
    QSignalSpy spy(&cap, &SlQCap::multiAdviseData);
    SlQCapHandle h;
    QCOMPARE(cap.multiAdvise({SlCapAdviseSpec(tmrFile, 0), SlCapAdviseSpec(tmrVar1, 0)}, h), SL_CAP_OK);
    QVERIFY(spy.wait(5000));
    m.nc->faults().add({"read", "/NC/_N_NC_GD3_ACX/TMR_VAR", long(int(0x80aa0001u)), 0, -1});
    QCOMPARE(cap.write(tmrFile, 1), SL_CAP_OK);
    QVERIFY(spy.wait(5000));
    const auto results = spy.last().at(1).value<QVector<SlCapAdviseResultType>>();
    QCOMPARE(unsigned(spy.last().at(0).value<SlCapErrorEnum>()), 0x80aa0001u);
    QCOMPARE(results[0].m_error, SL_CAP_OK);
    QCOMPARE(results[0].m_value, QVariant(1));
    QCOMPARE(unsigned(results[1].m_error), 0x80aa0001u);
    QVERIFY(results[1].m_hasValue);
}

void TestHotlinks::adviseAndUnadviseFailures()
{
    MachineFixture m(VirtualNc::Variant::Blank);
    SlQCap cap("test");
    SlQCapHandle h;
    QCOMPARE(cap.advise(tmrFile, h), SL_CAP_ERR_UNKNOWN_ITEM);
    QVERIFY(!h.isValid());
    QCOMPARE(cap.multiAdvise({}, h), SL_CAP_ERR_SYNTAX);
    m.nc->faults().add({"advise", "/Channel/*", long(int(0x80bb0002u)), 0, 1});
    QCOMPARE(unsigned(cap.advise("/Channel/State/acProg[u1,1]", h)), 0x80bb0002u);
    // The fault was for one call only.
    QSignalSpy spy(&cap, &SlQCap::adviseData);
    QCOMPARE(cap.advise("/Channel/State/acProg[u1,1]", h), SL_CAP_OK);
    QVERIFY(spy.wait(5000));
    QCOMPARE(cap.unadvise(h), SL_CAP_OK);
    QVERIFY(!h.isValid());
    SlQCapHandle stale;
    stale.m_id = 12345;
    QCOMPARE(cap.unadvise(stale), SL_CAP_ERR_INVALID_HANDLE);
    QVERIFY(m.nc->startProgram() == false); // nothing selected
    QCOMPARE(m.nc->selectProgram("//NC/MPF.DIR/MAIN.MPF"), 0L);
    QVERIFY(m.nc->startProgram());
    QVERIFY(!spy.wait(3 * m.nc->updatePeriodMs()));
    QCOMPARE(spy.count(), 1);
}

void TestHotlinks::deliveredOnTheOwnersThread()
{
    MachineFixture m;
    QThread worker;
    worker.start();
    auto* cap = new SlQCap("worker");
    cap->moveToThread(&worker);
    QThread* seen = nullptr;
    QVariant last;
    QMutex mutex;
    connect(cap, &SlQCap::adviseData, cap, [&](SlCapErrorEnum, const QVariant& v, const SlCapSupplementInfoType&) {
        QMutexLocker lock(&mutex);
        seen = QThread::currentThread();
        last = v;
    }, Qt::DirectConnection);
    SlQCapHandle h;
    SlCapErrorEnum e = SL_CAP_ERR_NOT_INITIALIZED;
    QMetaObject::invokeMethod(cap, [&] { e = cap->advise(tmrFile, h); }, Qt::BlockingQueuedConnection);
    QCOMPARE(e, SL_CAP_OK);
    SlQCap mine("main");
    QCOMPARE(mine.write(tmrFile, 42), SL_CAP_OK);
    QTRY_VERIFY_WITH_TIMEOUT((QMutexLocker(&mutex), last == QVariant(42)), 5000);
    {
        QMutexLocker lock(&mutex);
        QCOMPARE(seen, &worker);
    }
    QMetaObject::invokeMethod(cap, [cap] { delete cap; }, Qt::BlockingQueuedConnection);
    worker.quit();
    worker.wait();
}

QTEST_GUILESS_MAIN(TestHotlinks)
#include "TestHotlinks.moc"

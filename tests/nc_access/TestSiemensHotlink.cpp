// Subscriptions through CSiemensHotlink on a virtual NC: one signal form for
// one or several variables, and the failures that are only logged.
#include "NcAccessFixture.h"
#include "SiemensHotlink.h"

#include "SlCapData.h"

#include <QSignalSpy>

namespace {
const QString tmrFile = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_FILE");
const QString vint1 = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_VINT[1]");

SlCapAdviseSpec Spec(const QString& name)
{
    return SlCapAdviseSpec(name, SlCapData::standardUpdateRate(), 0.0, 0, 0);
}

QVector<HotlinkResultType> Results(const QSignalSpy& spy, int i)
{
    return spy.at(i).at(1).value<QVector<HotlinkResultType>>();
}

// Waits for notifications until one satisfies pred; the NC sends at most one
// per update period, so this is a wait for an event, not a measurement.
template <typename Pred>
bool WaitFor(QSignalSpy& spy, Pred pred)
{
    int seen = 0;
    for (int round = 0; round < 300; ++round) {
        while (seen < spy.count()) {
            if (pred(Results(spy, seen++)))
                return true;
        }
        spy.wait(100);
    }
    return false;
}
} // namespace

class TestSiemensHotlink : public QObject
{
    Q_OBJECT
private:
    TestLog m_log;

private slots:
    void initTestCase() { m_log.start(); }
    void cleanupTestCase() { TestLog::stop(); }

    void oneVariable();
    void severalVariablesByPosition();
    void failuresAreLogged();
};

void TestSiemensHotlink::oneVariable()
{
    NcMachine m;
    CSiemensHotlink hotlink({Spec(tmrFile)});
    QSignalSpy spy(&hotlink, &CSiemensHotlink::signalHotlinkResult);
    QCOMPARE(hotlink.HandleID(), 0u);

    QVERIFY(hotlink.Advise(SlCapData::standardTimeout()));
    QVERIFY(hotlink.HandleID() != 0);
    QCOMPARE(spy.count(), 0); // never from inside Advise

    QVERIFY(WaitFor(spy, [](const QVector<HotlinkResultType>& r) { return !r.isEmpty(); }));
    QCOMPARE(spy.at(0).at(0).toUInt(), hotlink.HandleID());
    QVector<HotlinkResultType> first = Results(spy, 0);
    QCOMPARE(first.size(), 1);
    QCOMPARE(first[0].varName, tmrFile);
    QCOMPARE(first[0].errCode, 0u);
    QVERIFY(first[0].flag);
    QCOMPARE(first[0].value, QVariant(0));

    QVERIFY(m.set(tmrFile, "1"));
    QVERIFY(WaitFor(spy, [](const QVector<HotlinkResultType>& r) {
        return r.size() == 1 && r[0].flag && r[0].value == QVariant(1);
    }));

    // Unadvise is quiet; of no subscription it is logged.
    const unsigned int id = hotlink.HandleID();
    hotlink.UnAdvise();
    QVERIFY(m_log.flushed());
    QVERIFY(!m_log.text().contains(QStringLiteral("HandleID=%1,").arg(id)));
    hotlink.UnAdvise();
    QVERIFY(m_log.has("Unadvise hotlink failed. VarNames=" + tmrFile + ", HandleID=0, ErrCode=0x80320007\n"));
}

void TestSiemensHotlink::severalVariablesByPosition()
{
    NcMachine m;
    CSiemensHotlink hotlink({Spec(tmrFile), Spec(vint1)});
    QSignalSpy spy(&hotlink, &CSiemensHotlink::signalHotlinkResult);
    QVERIFY(hotlink.Advise(SlCapData::standardTimeout()));

    QVERIFY(WaitFor(spy, [](const QVector<HotlinkResultType>& r) { return !r.isEmpty(); }));
    QVector<HotlinkResultType> first = Results(spy, 0);
    QCOMPARE(first.size(), 2);
    QCOMPARE(first[0].varName, tmrFile);
    QCOMPARE(first[1].varName, vint1);
    QVERIFY(first[0].flag && first[1].flag);
    QCOMPARE(spy.at(0).at(0).toUInt(), hotlink.HandleID());

    // Only the changed variable is flagged; both entries stay in place.
    QVERIFY(m.set(vint1, "3"));
    QVERIFY(WaitFor(spy, [](const QVector<HotlinkResultType>& r) {
        return r.size() == 2 && !r[0].flag && r[1].flag && r[1].value == QVariant(3)
               && r[1].varName == vint1;
    }));

    // A variable the NC cannot read any more reports its own error.
    m.fail("read", tmrFile, 0x8032000Au);
    QVERIFY(m.set(vint1, "4"));
    QVERIFY(WaitFor(spy, [](const QVector<HotlinkResultType>& r) {
        return r.size() == 2 && r[0].flag && r[0].errCode == 0x8032000Au && r[1].errCode == 0;
    }));
}

void TestSiemensHotlink::failuresAreLogged()
{
    NcMachine m;
    {
        CSiemensHotlink none({});
        QVERIFY(!none.Advise(SlCapData::standardTimeout()));
        QVERIFY(m_log.has("Advise hotlink failed. ErrInfo=No variables\n"));
    }

    m.fail("advise", tmrFile, 0x80320002u);
    CSiemensHotlink single({Spec(tmrFile)});
    QVERIFY(!single.Advise(SlCapData::standardTimeout()));
    QVERIFY(m_log.has(" | ERR | "));
    QVERIFY(m_log.has("Advise hotlink failed. VarNames=" + tmrFile + ", ErrCode=0x80320002\n"));

    CSiemensHotlink several({Spec(vint1), Spec(tmrFile)});
    QVERIFY(!several.Advise(SlCapData::standardTimeout()));
    QVERIFY(m_log.has("Advise hotlink failed. VarNames=" + vint1 + ";" + tmrFile + ", ErrCode=0x80320002\n"));

    // The NC takes longer than the caller's time-out but well within the
    // standard one: only the single-variable path gives up.
    m.nc->faults().clear();
    m.nc->faults().add({"advise", tmrFile, 0, 200, -1});

    CSiemensHotlink slow({Spec(tmrFile)});
    QVERIFY(!slow.Advise(50));
    QVERIFY(m_log.has("VarNames=" + tmrFile + ", ErrCode=0x8032000a\n"));

    CSiemensHotlink slowSeveral({Spec(tmrFile), Spec(vint1)});
    QVERIFY(slowSeveral.Advise(50));
}

QTEST_MAIN(TestSiemensHotlink)
#include "TestSiemensHotlink.moc"

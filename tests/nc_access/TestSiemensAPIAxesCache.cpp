// The axis list behind GetAxesPos is read once per process; this case needs
// a process of its own, whose first read fails.
#include "NcAccessFixture.h"
#include "SiemensAPIOperate.h"

class TestSiemensAPIAxesCache : public QObject
{
    Q_OBJECT
private slots:
    void aFailedFirstReadIsNeverRetried()
    {
        NcMachine m;
        CSiemensAPIOperate api;
        QList<tagAxisInfo> axes;
        m.fail("read", "/Channel/GeometricAxis/name", 0x8032000Au, 1);
        QCOMPARE(api.GetAxesPos(axes, true), -106);
        // The NC answers again, but the cache stays empty for good.
        QCOMPARE(api.GetAxes(axes, true), 0);
        axes.clear();
        QCOMPARE(api.GetAxesPos(axes, true), -108);
        QCOMPARE(CSiemensAPIOperate().GetAxesPos(axes, false), -108);
        QVERIFY(axes.isEmpty());
    }
};

QTEST_MAIN(TestSiemensAPIAxesCache)
#include "TestSiemensAPIAxesCache.moc"

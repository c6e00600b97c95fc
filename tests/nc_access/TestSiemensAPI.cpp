// The upper layer of CSiemensAPI turns the plug-in's vocabulary into NC
// addresses. It runs here on the production back end against a virtual NC,
// so an index shifted by one or a wrong template shows as a wrong variable.
#include "NcAccessFixture.h"
#include "SiemensAPIOperate.h"

namespace {
const QString gd3 = QStringLiteral("/NC/_N_NC_GD3_ACX/");
}

class TestSiemensAPI : public QObject
{
    Q_OBJECT
private slots:
    void tmrArraysCountFromZeroRParametersDoNot();
    void workOffsetActivatedOnlyAfterAGoodWrite();
    void toolNumberByExactName();
    void axesKeepTheirPlaceInTheFullList();
    void axisReadFailures();
    void axisPositionsFromTheListReadOnce();
};

void TestSiemensAPI::tmrArraysCountFromZeroRParametersDoNot()
{
    NcMachine m;
    CSiemensAPIOperate api;

    QVERIFY(m.set(gd3 + "TMR_VAR[1]", "1.5"));
    double value = 0;
    QCOMPARE(api.ReadTmrVar(0, value), 0);
    QCOMPARE(value, 1.5);
    QCOMPARE(api.WriteTmrVar(999, 7.25), 0);
    QCOMPARE(m.get(gd3 + "TMR_VAR[1000]").toDouble(), 7.25);
    QCOMPARE(api.WriteTmrVar(9, 3, QList<double>{10.0, 11.0, 12.0}), 0);
    QCOMPARE(m.get(gd3 + "TMR_VAR[10]").toDouble(), 10.0);
    QList<double> values{-1.0}; // appended to, not replaced
    QCOMPARE(api.ReadTmrVar(9, 3, values), 0);
    QCOMPARE(values, (QList<double>{-1.0, 10.0, 11.0, 12.0}));
    QCOMPARE(api.WriteTmrVint(0, 4), 0);
    QCOMPARE(m.get(gd3 + "TMR_VINT[1]").toInt(), 4);

    QCOMPARE(api.WriteRVar(0, 3.5), 0);
    QCOMPARE(m.get("/Channel/Parameter/r[u1,0]").toDouble(), 3.5);

    // Result arguments stay as they were when the read fails.
    m.fail("read", gd3 + "TMR_VAR", 0x80320006u);
    value = 42.0;
    QCOMPARE(api.ReadTmrVar(0, value), -78);
    QCOMPARE(value, 42.0);
}

void TestSiemensAPI::workOffsetActivatedOnlyAfterAGoodWrite()
{
    NcMachine m;
    CSiemensAPIOperate api;
    const int row = 2 + 1 * 6; // axis column 2 of G54 on a six-axis channel
    const QString coarse = QStringLiteral("/Channel/UserFrame/linShift[u1,%1]").arg(row);

    QCOMPARE(api.SetWorkOffset(WORKOFS_COARSE, row, 12.5), 0);
    QCOMPARE(api.SetWorkOffset(WORKOFS_FINE, row, 0.25), 0);
    QCOMPARE(api.SetWorkOffset(WORKOFS_ROTATION, row, 30.0), 0);
    QCOMPARE(m.nc->userFrameActivations(), 3);
    QCOMPARE(m.nc->activeFrameValue("linShift", row), 12.5);
    QCOMPARE(m.nc->activeFrameValue("linShiftFine", row), 0.25);
    QCOMPARE(m.nc->activeFrameValue("rotation", row), 30.0);

    // A type the NC does not have changes nothing and activates nothing.
    QCOMPARE(api.SetWorkOffset(static_cast<tagWorkofsType>(3), row, 99.0), 0);
    QCOMPARE(m.nc->userFrameActivations(), 3);

    m.fail("write", "/Channel/UserFrame/linShift", 0x80320005u, 1);
    QCOMPARE(api.SetWorkOffset(WORKOFS_COARSE, row, 50.0), -77);
    QCOMPARE(m.nc->userFrameActivations(), 3);
    QCOMPARE(m.get(coarse).toDouble(), 12.5);

    m.fail("pi", "_N_SETUFR", 0x81601004u, 1);
    QCOMPARE(api.SetWorkOffset(WORKOFS_COARSE, row, 60.0), -81);
    QCOMPARE(m.get(coarse).toDouble(), 60.0);
    QCOMPARE(m.nc->activeFrameValue("linShift", row), 12.5);
}

void TestSiemensAPI::toolNumberByExactName()
{
    NcMachine m;
    CSiemensAPIOperate api;
    int number = -1;

    QCOMPARE(api.GetToolNumberByName("PROBE_3D", number), 0);
    QCOMPARE(number, 12);
    number = -1;
    QCOMPARE(api.GetToolNumberByName("probe_3d", number), -104);
    QCOMPARE(number, -1);

    // An unreadable entry before the match does not end the search.
    m.fail("read", "/Tool/Catalogue/toolIdent[u1,1]", 0x8032000Au, 1);
    QCOMPARE(api.GetToolNumberByName("DRILL_8", number), 0);
    QCOMPARE(number, 8);
    m.fail("read", "/Tool/Catalogue/toolIdent[u1,2]", 0x8032000Au, 1);
    QCOMPARE(api.GetToolNumberByName("DRILL_8", number), -104);
    m.fail("read", "/Tool/Catalogue/toolNo[u1,3]", 0x8032000Au, 1);
    QCOMPARE(api.GetToolNumberByName("PROBE_3D", number), -103);
    m.fail("read", "/Tool/Catalogue/numTools[u1]", 0x8032000Au, 1);
    QCOMPARE(api.GetToolNumberByName("PROBE_3D", number), -101);
    QVERIFY(m.set("/Tool/Catalogue/numTools[u1]", "0"));
    QCOMPARE(api.GetToolNumberByName("END_MILL_D10", number), -104);
}

void TestSiemensAPI::axesKeepTheirPlaceInTheFullList()
{
    NcMachine m;
    CSiemensAPIOperate api;

    QList<tagAxisInfo> all;
    QCOMPARE(api.GetAxes(all, true), 0);
    QCOMPARE(all.size(), 6);
    QCOMPARE(all[4].name, QStringLiteral("SP1"));
    QCOMPARE(all[4].type, AXIS_SPINDLE);
    QCOMPARE(all[5].type, AXIS_ROTARY);

    // The spindle goes, C keeps its index behind it; a second call appends.
    QList<tagAxisInfo> measurable;
    QCOMPARE(api.GetAxes(measurable, false), 0);
    QCOMPARE(measurable.size(), 5);
    QCOMPARE(measurable[4].name, QStringLiteral("C"));
    QCOMPARE(measurable[4].index, 5);
    QCOMPARE(api.GetAxes(measurable, false), 0);
    QCOMPARE(measurable.size(), 10);

    // A type this system does not know is kept as unknown only on request.
    QVERIFY(m.set("/Channel/GeometricAxis/type[u1,1,2,#6]", "0,0,0,1,7,1"));
    QList<tagAxisInfo> odd;
    QCOMPARE(api.GetAxes(odd, true), 0);
    QCOMPARE(odd[4].type, AXIS_UNKNOWN);
    odd.clear();
    QCOMPARE(api.GetAxes(odd, false), 0);
    QCOMPARE(odd.size(), 5);
}

void TestSiemensAPI::axisReadFailures()
{
    NcMachine m;
    CSiemensAPIOperate api;
    QList<tagAxisInfo> axes;

    m.fail("read", "/Channel/Configuration/numMachAxes", 0x8032000Au, 1);
    QCOMPARE(api.GetAxes(axes, true), -107);
    QVERIFY(m.set("/Channel/Configuration/numMachAxes[u1,1]", "0"));
    QCOMPARE(api.GetAxes(axes, true), -107);
    // A count the lists do not have is refused, not padded.
    QVERIFY(m.set("/Channel/Configuration/numMachAxes[u1,1]", "7"));
    QCOMPARE(api.GetAxes(axes, true), -106);
    QVERIFY(m.set("/Channel/Configuration/numMachAxes[u1,1]", "6"));
    m.fail("read", "/Channel/GeometricAxis/name", 0x8032000Au, 1);
    QCOMPARE(api.GetAxes(axes, true), -106);
    m.fail("read", "/Channel/GeometricAxis/type", 0x8032000Au, 1);
    QCOMPARE(api.GetAxes(axes, true), -105);
    QVERIFY(axes.isEmpty());
}

void TestSiemensAPI::axisPositionsFromTheListReadOnce()
{
    NcMachine m;
    CSiemensAPIOperate api;
    QVERIFY(m.set("/Channel/GeometricAxis/actProgPos[u1,1,2,#6]", "10,20,30,45,0,90"));

    QList<tagAxisInfo> axes;
    QCOMPARE(api.GetAxesPos(axes, false), 0);
    QCOMPARE(axes.size(), 5);
    QCOMPARE(axes[3].value, 45.0);
    QCOMPARE(axes[4].index, 5);
    QCOMPARE(axes[4].value, 90.0);

    // A later change of the axis types is not seen, even by another instance.
    QVERIFY(m.set("/Channel/GeometricAxis/type[u1,1,2,#6]", "0,0,0,1,0,1"));
    CSiemensAPIOperate other;
    axes.clear();
    QCOMPARE(other.GetAxesPos(axes, false), 0);
    QCOMPARE(axes.size(), 5);

    m.fail("read", "/Channel/GeometricAxis/actProgPos", 0x8032000Au, 1);
    axes.clear();
    QCOMPARE(api.GetAxesPos(axes, true), -109);
    QVERIFY(axes.isEmpty());
}

QTEST_MAIN(TestSiemensAPI)
#include "TestSiemensAPI.moc"

// The upper layer of CSiemensAPI turns the plug-in's vocabulary into NC
// addresses. Each case runs the production back end against a virtual NC
// and looks at the machine, so an index shifted by one or a wrong template
// shows as a wrong variable.
#include "NcAccessFixture.h"
#include "SiemensAPIOperate.h"

namespace {
const QString gd3 = QStringLiteral("/NC/_N_NC_GD3_ACX/");
}

class TestSiemensAPI : public QObject
{
    Q_OBJECT
private slots:
    void tmrArraysCountFromZero();
    void rParametersGoThroughUnchanged();
    void tmrWordsAndProgram();
    void workOffsetActivatedOnlyAfterAGoodWrite();
    void toolNumberByExactName();
    void toolLookupFailures();
    void axesKeepTheirPlaceInTheFullList();
    void axisReadFailures();
    void axisPositionsFromTheFirstList();
};

void TestSiemensAPI::tmrArraysCountFromZero()
{
    NcMachine m;
    CSiemensAPIOperate api;

    QVERIFY(m.set(gd3 + "TMR_VAR[1]", "1.5"));
    QVERIFY(m.set(gd3 + "TMR_VAR[2]", "2.5"));
    double value = 0;
    QCOMPARE(api.ReadTmrVar(0, value), 0);
    QCOMPARE(value, 1.5);

    QCOMPARE(api.WriteTmrVar(999, 7.25), 0);
    QCOMPARE(m.get(gd3 + "TMR_VAR[1000]").toDouble(), 7.25);
    // Beyond the NC's last element: the index was not shifted twice.
    QCOMPARE(api.WriteTmrVar(1000, 1.0), -77);

    QCOMPARE(api.WriteTmrVar(9, 3, QList<double>{10.0, 11.0, 12.0}), 0);
    QCOMPARE(m.get(gd3 + "TMR_VAR[10]").toDouble(), 10.0);
    QCOMPARE(m.get(gd3 + "TMR_VAR[12]").toDouble(), 12.0);
    QList<double> values{-1.0}; // appended to, not replaced
    QCOMPARE(api.ReadTmrVar(9, 3, values), 0);
    QCOMPARE(values, (QList<double>{-1.0, 10.0, 11.0, 12.0}));

    QCOMPARE(api.WriteTmrVint(0, 4), 0);
    QCOMPARE(m.get(gd3 + "TMR_VINT[1]").toInt(), 4);
    QVERIFY(m.set(gd3 + "TMR_VINT[5]", "9"));
    int vint = 0;
    QCOMPARE(api.ReadTmrVint(4, vint), 0);
    QCOMPARE(vint, 9);

    // Result arguments stay as they were when the read fails.
    m.fail("read", gd3 + "TMR_VAR", 0x80320006u);
    value = 42.0;
    QCOMPARE(api.ReadTmrVar(0, value), -78);
    QCOMPARE(value, 42.0);
}

void TestSiemensAPI::rParametersGoThroughUnchanged()
{
    NcMachine m;
    CSiemensAPIOperate api;

    int count = 0;
    QCOMPARE(api.GetRVarCount(count), 0);
    QCOMPARE(count, 300);

    QCOMPARE(api.WriteRVar(0, 3.5), 0);
    QCOMPARE(m.get("/Channel/Parameter/r[u1,0]").toDouble(), 3.5);
    QCOMPARE(api.WriteRVar(9, 3, QList<double>{1.0, 2.0, 3.0}), 0);
    QCOMPARE(m.get("/Channel/Parameter/r[u1,9]").toDouble(), 1.0);
    QCOMPARE(m.get("/Channel/Parameter/r[u1,11]").toDouble(), 3.0);

    QList<double> values;
    QCOMPARE(api.ReadRVar(9, 3, values), 0);
    QCOMPARE(values, (QList<double>{1.0, 2.0, 3.0}));
    double value = 0;
    QCOMPARE(api.ReadRVar(299, value), 0);
    QCOMPARE(api.ReadRVar(300, value), -78);
}

void TestSiemensAPI::tmrWordsAndProgram()
{
    NcMachine m;
    CSiemensAPIOperate api;

    QCOMPARE(api.TmrFileVarName(), gd3 + "TMR_FILE");
    QCOMPARE(api.TmrAxesPosVarName(1, 6), QStringLiteral("/Channel/GeometricAxis/actProgPos[u1,1,1,#6]"));

    QCOMPARE(api.WriteTmrFile(1), 0);
    QCOMPARE(m.get(gd3 + "TMR_FILE").toInt(), 1);
    int flag = 0;
    QCOMPARE(api.ReadTmrFile(flag), 0);
    QCOMPARE(flag, 1);

    // Addressable, but in no definition line of the plug-in's block.
    int word = 0;
    QCOMPARE(api.ReadTmrState(word), -78);
    QCOMPARE(api.WriteTmrControl(1), -77);
    QString program;
    QCOMPARE(api.ReadTmrProgram(program), -78);
    QCOMPARE(api.WriteTmrData(0, 3, QList<double>{1, 2, 3}), -77);

    int axes = 0;
    QCOMPARE(api.GetNumMachAxes(axes), 0);
    QCOMPARE(axes, 6);
    QCOMPARE(api.GetNumGeoAxes(axes), 0);
    QCOMPARE(axes, 3);
    QCOMPARE(api.GetNumGlobalAxes(axes), 0);
    QCOMPARE(axes, 6);

    int status = -1;
    QCOMPARE(api.GetProgramStatus(status), 0);
    QCOMPARE(status, int(VirtualNc::ProgramAborted));
    QCOMPARE(api.GetCncStatus(status), 0);
}

void TestSiemensAPI::workOffsetActivatedOnlyAfterAGoodWrite()
{
    NcMachine m;
    CSiemensAPIOperate api;
    const int row = 2 + 1 * 6; // axis column 2 of G54 on a six-axis channel

    QCOMPARE(api.SetWorkOffset(WORKOFS_COARSE, row, 12.5), 0);
    QCOMPARE(m.nc->userFrameActivations(), 1);
    QCOMPARE(m.nc->activeFrameValue("linShift", row), 12.5);
    QCOMPARE(api.SetWorkOffset(WORKOFS_FINE, row, 0.25), 0);
    QCOMPARE(m.nc->activeFrameValue("linShiftFine", row), 0.25);
    QCOMPARE(api.SetWorkOffset(WORKOFS_ROTATION, row, 30.0), 0);
    QCOMPARE(m.nc->activeFrameValue("rotation", row), 30.0);
    QCOMPARE(m.nc->userFrameActivations(), 3);

    double value = 0;
    QCOMPARE(api.GetWorkOffset(WORKOFS_COARSE, row, value), 0);
    QCOMPARE(value, 12.5);

    // A type the NC does not have changes nothing and activates nothing.
    QCOMPARE(api.SetWorkOffset(static_cast<tagWorkofsType>(3), row, 99.0), 0);
    QCOMPARE(m.nc->userFrameActivations(), 3);

    m.fail("write", "/Channel/UserFrame/linShift", 0x80320005u, 1);
    QCOMPARE(api.SetWorkOffset(WORKOFS_COARSE, row, 50.0), -77);
    QCOMPARE(m.nc->userFrameActivations(), 3);
    QCOMPARE(m.get(QStringLiteral("/Channel/UserFrame/linShift[u1,%1]").arg(row)).toDouble(), 12.5);

    // A written offset whose activation is refused reports the PI's code.
    m.fail("pi", "_N_SETUFR", 0x81601004u, 1);
    QCOMPARE(api.SetWorkOffset(WORKOFS_COARSE, row, 60.0), -81);
    QCOMPARE(m.get(QStringLiteral("/Channel/UserFrame/linShift[u1,%1]").arg(row)).toDouble(), 60.0);
    QCOMPARE(m.nc->activeFrameValue("linShift", row), 12.5);
}

void TestSiemensAPI::toolNumberByExactName()
{
    NcMachine m;
    CSiemensAPIOperate api;

    int number = -1;
    QCOMPARE(api.GetToolNumberByName("PROBE_3D", number), 0);
    QCOMPARE(number, 12);
    QCOMPARE(api.GetToolNumberByName("FACE_MILL_D63", number), 0);
    QCOMPARE(number, 20);

    number = -1;
    QCOMPARE(api.GetToolNumberByName("probe_3d", number), -104);
    QCOMPARE(api.GetToolNumberByName("PROBE_3", number), -104);
    QCOMPARE(number, -1);

    // Wear offsets of the tool number as it stands.
    QCOMPARE(api.SetToolLengthOffset(12, 0.5), 0);
    QCOMPARE(m.get("/Tool/Compensation/edgeData[u1,c12,12]").toDouble(), 0.5);
    QCOMPARE(api.SetToolRadiusOffset(12, -0.125), 0);
    QCOMPARE(m.get("/Tool/Compensation/edgeData[u1,c12,15]").toDouble(), -0.125);
    double value = 0;
    QCOMPARE(api.GetToolLengthOffset(12, value), 0);
    QCOMPARE(value, 0.5);
    QCOMPARE(api.GetToolRadiusOffset(12, value), 0);
    QCOMPARE(value, -0.125);
}

void TestSiemensAPI::toolLookupFailures()
{
    NcMachine m;
    CSiemensAPIOperate api;
    int number = -1;

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
    QCOMPARE(number, 8);
}

void TestSiemensAPI::axesKeepTheirPlaceInTheFullList()
{
    NcMachine m;
    CSiemensAPIOperate api;

    QList<tagAxisInfo> all;
    QCOMPARE(api.GetAxes(all, true), 0);
    QCOMPARE(all.size(), 6);
    const QStringList names{"X", "Y", "Z", "A", "SP1", "C"};
    const QList<tagAxisType> types{AXIS_LINEAR, AXIS_LINEAR, AXIS_LINEAR, AXIS_ROTARY, AXIS_SPINDLE, AXIS_ROTARY};
    for (int i = 0; i < all.size(); ++i) {
        QCOMPARE(all[i].index, i);
        QCOMPARE(all[i].name, names[i]);
        QCOMPARE(all[i].type, types[i]);
        QCOMPARE(all[i].value, 0.0);
    }

    // The spindle goes, C keeps its index behind it.
    QList<tagAxisInfo> measurable;
    QCOMPARE(api.GetAxes(measurable, false), 0);
    QCOMPARE(measurable.size(), 5);
    QCOMPARE(measurable[4].name, QStringLiteral("C"));
    QCOMPARE(measurable[4].index, 5);

    // Appends: a second call on the same list doubles it.
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
    QCOMPARE(odd[4].name, QStringLiteral("C"));
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
    QVERIFY(m.set("/Channel/Configuration/numMachAxes[u1,1]", "6"));

    m.fail("read", "/Channel/GeometricAxis/name", 0x8032000Au, 1);
    QCOMPARE(api.GetAxes(axes, true), -106);
    m.fail("read", "/Channel/GeometricAxis/type", 0x8032000Au, 1);
    QCOMPARE(api.GetAxes(axes, true), -105);
    QVERIFY(axes.isEmpty());

    // A count that the lists do not match is refused, not padded.
    QVERIFY(m.set("/Channel/Configuration/numMachAxes[u1,1]", "7"));
    QCOMPARE(api.GetAxes(axes, true), -106);
    QVERIFY(axes.isEmpty());
}

void TestSiemensAPI::axisPositionsFromTheFirstList()
{
    NcMachine m;
    CSiemensAPIOperate api;
    QVERIFY(m.set("/Channel/GeometricAxis/actProgPos[u1,1,2,#6]", "10,20,30,45,0,90"));

    QList<tagAxisInfo> axes;
    QCOMPARE(api.GetAxesPos(axes, false), 0);
    QCOMPARE(axes.size(), 5);
    QCOMPARE(axes[3].name, QStringLiteral("A"));
    QCOMPARE(axes[3].value, 45.0);
    QCOMPARE(axes[4].index, 5);
    QCOMPARE(axes[4].value, 90.0);

    axes.clear();
    QCOMPARE(api.GetAxesPos(axes, true), 0);
    QCOMPARE(axes.size(), 6);
    QCOMPARE(axes[4].type, AXIS_SPINDLE);

    // The list is read once: a later change of the axis types is not seen,
    // even by another instance.
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

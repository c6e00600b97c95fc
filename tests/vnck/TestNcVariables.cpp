#include "MachineFixture.h"
#include "SlPiSvc.h"
#include "SlPmActivateDefFiles.h"
#include "SlQCap.h"
#include "SlQCapNamespace.h"
#include "MachineConfig.h"

#include <QSignalSpy>

namespace {
const QString gd3 = QStringLiteral("/NC/_N_NC_GD3_ACX/");
}

class TestNcVariables : public QObject
{
    Q_OBJECT
private slots:
    void typesAsTheNcDeliversThem_data();
    void typesAsTheNcDeliversThem();
    void rangesAtBothEnds_data();
    void rangesAtBothEnds();
    void arraysAndRangesRoundTrip();
    void writesAreConvertedOrRefused();
    void axisListsAgreeWhateverTheColumn();
    void workOffsetsTakeEffectWithSetufr();
    void blankMachineNeedsActivation();
    void activationWithErrorsKeepsTheOldDefinitions();
    void retainedDataSurviveARestart();
    void noNcMeansNoConnection();
    void machineFoldersThatCannotBeUsed();
};

void TestNcVariables::typesAsTheNcDeliversThem_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("type");
    QTest::addColumn<QVariant>("value");
    QTest::newRow("TMR_FILE") << gd3 + "TMR_FILE" << int(QVariant::Int) << QVariant(0);
    QTest::newRow("TMR_PRGISMETRIC") << gd3 + "TMR_PRGISMETRIC" << int(QVariant::Bool) << QVariant(false);
    QTest::newRow("TMR_VAR[1]") << gd3 + "TMR_VAR[1]" << int(QVariant::Double) << QVariant(0.0);
    QTest::newRow("TMR_DIALOG_VSTR[3]") << gd3 + "TMR_DIALOG_VSTR[3]" << int(QVariant::String) << QVariant(QString());
    QTest::newRow("toolIdent") << "/Tool/Catalogue/toolIdent[u1,2]" << int(QVariant::String) << QVariant("DRILL_8");
    QTest::newRow("edge length") << "/Tool/Compensation/edgeData[u1,c12,3]" << int(QVariant::Double) << QVariant(120.0);
    QTest::newRow("numMachAxes") << "/Channel/Configuration/numMachAxes[u1,1]" << int(QVariant::Int) << QVariant(6);
    QTest::newRow("numGeoAxes") << "/Channel/Configuration/numGeoAxes[u1]" << int(QVariant::Int) << QVariant(3);
    QTest::newRow("numAuxAxes") << "/Channel/Configuration/numAuxAxes[u1]" << int(QVariant::Int) << QVariant(3);
    QTest::newRow("numGlobMachAxes") << "/Nck/Configuration/numGlobMachAxes" << int(QVariant::Int) << QVariant(6);
    QTest::newRow("selected") << "/Channel/ProgramInfo/selectedWorkPProg[u1,1]" << int(QVariant::String) << QVariant(QString());
    QTest::newRow("R0") << "/Channel/Parameter/r[u1,0]" << int(QVariant::Double) << QVariant(0.0);
    QTest::newRow("frame row") << "/Channel/UserFrame/linShift[u1,7]" << int(QVariant::Double) << QVariant(0.0);
}

void TestNcVariables::typesAsTheNcDeliversThem()
{
    QFETCH(QString, address);
    QFETCH(int, type);
    QFETCH(QVariant, value);
    MachineFixture m;
    SlQCap cap("test");
    QVariant v;
    QCOMPARE(cap.read(address, v), SL_CAP_OK);
    QCOMPARE(int(v.type()), type);
    QCOMPARE(v, value);
}

void TestNcVariables::rangesAtBothEnds_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<unsigned>("error");
    QTest::newRow("gud last") << gd3 + "TMR_VAR[1000]" << unsigned(SL_CAP_OK);
    QTest::newRow("gud zero") << gd3 + "TMR_VAR[0]" << unsigned(SL_CAP_ERR_RANGE);
    QTest::newRow("gud past") << gd3 + "TMR_VAR[1001]" << unsigned(SL_CAP_ERR_RANGE);
    QTest::newRow("gud run to the end") << gd3 + "TMR_VAR[999,2]" << unsigned(SL_CAP_OK);
    QTest::newRow("gud run past the end") << gd3 + "TMR_VAR[1000,2]" << unsigned(SL_CAP_ERR_RANGE);
    QTest::newRow("gud count 0") << gd3 + "TMR_VAR[1,0]" << unsigned(SL_CAP_ERR_RANGE);
    QTest::newRow("gud scalar indexed") << gd3 + "TMR_FILE[1]" << unsigned(SL_CAP_ERR_RANGE);
    QTest::newRow("gud undefined") << gd3 + "TMR_CONTROL" << unsigned(SL_CAP_ERR_UNKNOWN_ITEM);
    QTest::newRow("R last") << "/Channel/Parameter/r[u1,299]" << unsigned(SL_CAP_OK);
    QTest::newRow("R past") << "/Channel/Parameter/r[u1,300]" << unsigned(SL_CAP_ERR_RANGE);
    QTest::newRow("R run to the end") << "/Channel/Parameter/r[u1,290,#10]" << unsigned(SL_CAP_OK);
    QTest::newRow("R run past") << "/Channel/Parameter/r[u1,290,#11]" << unsigned(SL_CAP_ERR_RANGE);
    QTest::newRow("channel 2") << "/Channel/Parameter/r[u2,1]" << unsigned(SL_CAP_ERR_RANGE);
    QTest::newRow("axes all") << "/Channel/GeometricAxis/name[u1,1,2,#6]" << unsigned(SL_CAP_OK);
    QTest::newRow("axes one too many") << "/Channel/GeometricAxis/name[u1,1,2,#7]" << unsigned(SL_CAP_ERR_RANGE);
    QTest::newRow("axes column 3") << "/Channel/GeometricAxis/name[u1,1,3,#6]" << unsigned(SL_CAP_ERR_RANGE);
    QTest::newRow("frames last row") << "/Channel/UserFrame/rotation[u1,600]" << unsigned(SL_CAP_OK);
    QTest::newRow("frames past") << "/Channel/UserFrame/rotation[u1,601]" << unsigned(SL_CAP_ERR_RANGE);
    QTest::newRow("frames row 0") << "/Channel/UserFrame/rotation[u1,0]" << unsigned(SL_CAP_ERR_RANGE);
    QTest::newRow("catalogue last") << "/Tool/Catalogue/toolIdent[u1,4]" << unsigned(SL_CAP_OK);
    QTest::newRow("catalogue past") << "/Tool/Catalogue/toolIdent[u1,5]" << unsigned(SL_CAP_ERR_RANGE);
    QTest::newRow("unknown tool") << "/Tool/Compensation/edgeData[u1,c13,12]" << unsigned(SL_CAP_ERR_RANGE);
    QTest::newRow("edge param 26") << "/Tool/Compensation/edgeData[u1,c12,26]" << unsigned(SL_CAP_ERR_RANGE);
    QTest::newRow("scalar row 2") << "/Channel/State/acProg[u1,2]" << unsigned(SL_CAP_ERR_RANGE);
    QTest::newRow("unknown variable") << "/Channel/State/noSuchThing[u1,1]" << unsigned(SL_CAP_ERR_UNKNOWN_ITEM);
    QTest::newRow("syntax") << "/Channel/State/acProg[u1" << unsigned(SL_CAP_ERR_SYNTAX);
}

void TestNcVariables::rangesAtBothEnds()
{
    QFETCH(QString, address);
    QFETCH(unsigned, error);
    MachineFixture m;
    SlQCap cap("test");
    QVariant v = QStringLiteral("untouched");
    const SlCapErrorEnum e = cap.read(address, v);
    QCOMPARE(unsigned(e), error);
    if (e != SL_CAP_OK)
        QCOMPARE(v, QVariant(QStringLiteral("untouched")));
}

void TestNcVariables::arraysAndRangesRoundTrip()
{
    MachineFixture m;
    SlQCap cap("test");
    QCOMPARE(cap.write(gd3 + "TMR_VAR[10,3]", QVariantList{1.5, -2.25, 1e-9}), SL_CAP_OK);
    QVariant v;
    QCOMPARE(cap.read(gd3 + "TMR_VAR[11]", v), SL_CAP_OK);
    QCOMPARE(v, QVariant(-2.25));
    QCOMPARE(cap.read(gd3 + "TMR_VAR[9,5]", v), SL_CAP_OK);
    QCOMPARE(v.toList(), (QVariantList{0.0, 1.5, -2.25, 1e-9, 0.0}));
    QCOMPARE(cap.write(gd3 + "TMR_DIALOG_VSTR[1,2]", QVariantList{"Message", "Input"}), SL_CAP_OK);
    QCOMPARE(cap.read(gd3 + "TMR_DIALOG_VSTR[2]", v), SL_CAP_OK);
    QCOMPARE(v, QVariant("Input"));
    // The whole array without an index.
    QCOMPARE(cap.read(gd3 + "TMR_VINT", v), SL_CAP_OK);
    QCOMPARE(v.toList().size(), 5);
    QCOMPARE(cap.write("/Channel/Parameter/r[u1,5,#2]", QVariantList{7.0, 8.0}), SL_CAP_OK);
    QCOMPARE(cap.read("/Channel/Parameter/r[u1,6]", v), SL_CAP_OK);
    QCOMPARE(v, QVariant(8.0));
    QCOMPARE(cap.read("/NC/_N_CH_TEA_ACX/$MC_TRAFO5_JOINT_OFFSET_1[U1,1,#3]", v), SL_CAP_OK);
    QCOMPARE(v.toList(), (QVariantList{12.5, -3.25, 100.0}));
}

void TestNcVariables::writesAreConvertedOrRefused()
{
    MachineFixture m;
    SlQCap cap("test");
    QVariant v;
    // An integer variable takes a real rounded, as the NC assigns it.
    QCOMPARE(cap.write(gd3 + "TMR_VINT[1]", 2.6), SL_CAP_OK);
    QCOMPARE(cap.read(gd3 + "TMR_VINT[1]", v), SL_CAP_OK);
    QCOMPARE(v, QVariant(3));
    QCOMPARE(cap.write(gd3 + "TMR_VINT[1]", QStringLiteral("abc")), SL_CAP_ERR_TYPE);
    QCOMPARE(cap.write(gd3 + "TMR_VINT[1]", 1e12), SL_CAP_ERR_TYPE);
    QCOMPARE(cap.write(gd3 + "TMR_VAR[1]", qQNaN()), SL_CAP_ERR_TYPE);
    QCOMPARE(cap.write(gd3 + "TMR_VINT[1]", QStringLiteral("nan")), SL_CAP_ERR_TYPE);
    QCOMPARE(cap.write(gd3 + "TMR_VAR[1]", QStringLiteral("inf")), SL_CAP_ERR_TYPE);
    QCOMPARE(cap.read(gd3 + "TMR_VINT[1]", v), SL_CAP_OK);
    QCOMPARE(v, QVariant(3));
    QCOMPARE(cap.write(gd3 + "TMR_VAR[1,3]", QVariantList{1.0, 2.0}), SL_CAP_ERR_TYPE);
    QCOMPARE(cap.write(gd3 + "TMR_DIALOG_VSTR[1]", QString(257, QLatin1Char('x'))), SL_CAP_ERR_STRING_LENGTH);
    QCOMPARE(cap.write(gd3 + "TMR_DIALOG_VSTR[1]", QString(256, QLatin1Char('x'))), SL_CAP_OK);
    QCOMPARE(cap.write("/Channel/State/acProg[u1,1]", 2), SL_CAP_ERR_READ_ONLY);
    QCOMPARE(cap.write("/Tool/Catalogue/numTools[u1]", 9), SL_CAP_ERR_READ_ONLY);
    QCOMPARE(cap.write("/Tool/Compensation/edgeData[u1,c12,12]", 0.04), SL_CAP_OK);
    QCOMPARE(cap.read("/Tool/Compensation/edgeData[u1,c12,12]", v), SL_CAP_OK);
    QCOMPARE(v, QVariant(0.04));
}

void TestNcVariables::axisListsAgreeWhateverTheColumn()
{
    MachineFixture m;
    SlQCap cap("test");
    QVERIFY(m.nc->set("/Channel/GeometricAxis/actProgPos[u1,6]", "-45.5") == SL_CAP_OK);
    QVariant names, types, pos1, pos2;
    QCOMPARE(cap.read("/Channel/GeometricAxis/name[u1,1,2,#6]", names), SL_CAP_OK);
    QCOMPARE(cap.read("/Channel/GeometricAxis/type[u1,1,2,#6]", types), SL_CAP_OK);
    QCOMPARE(cap.read("/Channel/GeometricAxis/actProgPos[u1,1,2,#6]", pos2), SL_CAP_OK);
    QCOMPARE(cap.read("/Channel/GeometricAxis/actProgPos[u1,1,1,#6]", pos1), SL_CAP_OK);
    QCOMPARE(names.toList(), (QVariantList{"X", "Y", "Z", "A", "SP1", "C"}));
    QCOMPARE(types.toList(), (QVariantList{0, 0, 0, 1, 2, 1}));
    QCOMPARE(pos1, pos2);
    QCOMPARE(pos1.toList().value(5), QVariant(-45.5));
    QCOMPARE(m.nc->axes().value(5).position, -45.5);
}

void TestNcVariables::workOffsetsTakeEffectWithSetufr()
{
    MachineFixture m;
    SlQCap cap("test");
    // G54 is frame 1; its X row is 1 + 1 * 6.
    QCOMPARE(cap.write("/Channel/UserFrame/linShift[u1,7]", 12.5), SL_CAP_OK);
    QCOMPARE(m.nc->activeFrameValue("linShift", 7), 0.0);
    SlVector<SlString> args;
    args.push_back("/NC");
    args.push_back("201");
    args.push_back("_N_SETUFR");
    SlPiSvc pi(args);
    SlPiSvcStatus status;
    QCOMPARE(pi.start(status), 0L);
    QCOMPARE(m.nc->activeFrameValue("linShift", 7), 12.5);
    QCOMPARE(m.nc->userFrameActivations(), 1);

    SlVector<SlString> wrongUnit;
    wrongUnit.push_back("/NC");
    wrongUnit.push_back("202");
    wrongUnit.push_back("_N_SETUFR");
    QCOMPARE(SlPiSvc(wrongUnit).start(status), SlPiSvc::E_ARGUMENTS);
    SlVector<SlString> unknown;
    unknown.push_back("/NC");
    unknown.push_back("201");
    unknown.push_back("_N_NOSUCH");
    QCOMPARE(SlPiSvc(unknown).start(status), SlPiSvc::E_UNKNOWN_PI);
    QCOMPARE(m.nc->userFrameActivations(), 1);
}

void TestNcVariables::blankMachineNeedsActivation()
{
    MachineFixture m(VirtualNc::Variant::Blank);
    SlQCap cap("test");
    QVariant v;
    QCOMPARE(cap.read(gd3 + "TMR_VAR[3]", v), SL_CAP_ERR_UNKNOWN_ITEM);
    QCOMPARE(cap.write(gd3 + "TMR_VAR[3]", 1.25), SL_CAP_ERR_UNKNOWN_ITEM);
    SlQCapNamespace ns(QStringLiteral("/NC/_N_NC_GD3_ACX"), "");
    QCOMPARE(ns.map(SlCapData::extendedTimeout(), 0), SL_CAP_ERR_UNKNOWN_ITEM);

    QVERIFY(MachineFixture::writeFile(m.path("nc/DEF.DIR/UGUD.DEF"), MachineConfig::templateUgud(true).toUtf8()));
    SlPmActivateDefFiles job;
    QSignalSpy data(&job, &SlPmActivateDefFiles::JobData);
    QSignalSpy done(&job, &SlPmActivateDefFiles::JobCompleted);
    QVERIFY(job.CheckForDefinitionFiles({"//NC/DEF.DIR/UGUD.DEF"}));
    QVERIFY(!job.CheckForDefinitionFiles({"//NC/DEF.DIR/UGUD.DEF"})); // busy
    QVERIFY(data.wait(5000));
    QCOMPARE(data.first().at(0).toStringList(), QStringList{"//NC/DEF.DIR/UGUD.DEF"});
    QVERIFY(job.ActivateDefinitionFiles(data.first().at(0).toStringList(), 3));
    QVERIFY(done.wait(5000));
    QCOMPARE(done.first().at(0).value<QVector<long>>().size(), 0);
    QCOMPARE(done.first().at(2).toBool(), false);

    QCOMPARE(cap.write(gd3 + "TMR_VAR[3]", 1.25), SL_CAP_OK);
    QCOMPARE(cap.read(gd3 + "TMR_VAR[3]", v), SL_CAP_OK);
    QCOMPARE(v, QVariant(1.25));
    QCOMPARE(ns.map(SlCapData::extendedTimeout(), 0), SL_CAP_OK);
}

void TestNcVariables::activationWithErrorsKeepsTheOldDefinitions()
{
    MachineFixture m;
    SlQCap cap("test");
    QCOMPARE(cap.write(gd3 + "TMR_VAR[3]", 4.5), SL_CAP_OK);
    QVERIFY(MachineFixture::writeFile(m.path("nc/DEF.DIR/UGUD.DEF"),
                                      "%_N_UGUD_DEF\nDEF NCK REAL TMR_VAR[1000]\nDEF NCK REAL NEWVAR\n"
                                      "DEF NCK FLOAT X\nDEF NCK INT\nM30\n"));
    SlPmActivateDefFiles job;
    QSignalSpy done(&job, &SlPmActivateDefFiles::JobCompleted);
    QVERIFY(job.ActivateDefinitionFiles({"//NC/DEF.DIR/UGUD.DEF"}, 3));
    QVERIFY(done.wait(5000));
    const QVector<long> codes = done.first().at(0).value<QVector<long>>();
    const QStringList texts = done.first().at(1).toStringList();
    QCOMPARE(codes, (QVector<long>{SlPmActivateDefFiles::E_SYNTAX, SlPmActivateDefFiles::E_SYNTAX}));
    QVERIFY(texts[0].contains(QLatin1String("line 4")));
    QVERIFY(texts[1].contains(QLatin1String("line 5")));
    QVariant v;
    QCOMPARE(cap.read(gd3 + "NEWVAR", v), SL_CAP_ERR_UNKNOWN_ITEM);
    QCOMPARE(cap.read(gd3 + "TMR_FILE", v), SL_CAP_OK);

    // A good file replaces the block; mode 1 keeps the values of what stayed.
    QVERIFY(MachineFixture::writeFile(m.path("nc/DEF.DIR/UGUD.DEF"),
                                      "DEF NCK REAL TMR_VAR[1000]\nDEF NCK REAL NEWVAR=2\nM30\n"));
    QStringList errors;
    QVERIFY(m.nc->activateDefinitions({"//NC/DEF.DIR/UGUD.DEF"}, 1, errors).isEmpty());
    QCOMPARE(cap.read(gd3 + "TMR_VAR[3]", v), SL_CAP_OK);
    QCOMPARE(v, QVariant(4.5));
    QCOMPARE(cap.read(gd3 + "NEWVAR", v), SL_CAP_OK);
    QCOMPARE(v, QVariant(2.0));
    QCOMPARE(cap.read(gd3 + "TMR_FILE", v), SL_CAP_ERR_UNKNOWN_ITEM);
    // Mode 0 starts the values over.
    QVERIFY(m.nc->activateDefinitions({"//NC/DEF.DIR/UGUD.DEF"}, 0, errors).isEmpty());
    QCOMPARE(cap.read(gd3 + "TMR_VAR[3]", v), SL_CAP_OK);
    QCOMPARE(v, QVariant(0.0));
    // Only DEF.DIR files define data.
    QCOMPARE(m.nc->activateDefinitions({"//NC/MPF.DIR/MAIN.MPF"}, 0, errors),
             QVector<long>{SlPmActivateDefFiles::E_NOT_A_DEFINITION_FILE});
    QCOMPARE(m.nc->activateDefinitions({"//NC/DEF.DIR/GUD7.DEF"}, 0, errors),
             QVector<long>{SlPmActivateDefFiles::E_FILE_NOT_FOUND});
}

void TestNcVariables::retainedDataSurviveARestart()
{
    MachineFixture m;
    {
        SlQCap cap("test");
        QCOMPARE(cap.write(gd3 + "TMR_VAR[1000]", 0.1), SL_CAP_OK);
        QCOMPARE(cap.write("/Channel/Parameter/r[u1,299]", -7.25), SL_CAP_OK);
        QCOMPARE(cap.write("/Tool/Compensation/edgeData[u1,c8,15]", 0.02), SL_CAP_OK);
        QCOMPARE(cap.write("/Channel/UserFrame/linShiftFine[u1,12]", 0.003), SL_CAP_OK);
        QCOMPARE(m.nc->selectProgram("//NC/MPF.DIR/MAIN.MPF"), 0L);
        QVERIFY(m.nc->startProgram());
        QVERIFY(m.nc->endProgram());
    }
    QVERIFY(m.open());
    SlQCap cap("test");
    QVariant v;
    QCOMPARE(cap.read(gd3 + "TMR_VAR[1000]", v), SL_CAP_OK);
    QCOMPARE(v, QVariant(0.1));
    QCOMPARE(cap.read("/Channel/Parameter/r[u1,299]", v), SL_CAP_OK);
    QCOMPARE(v, QVariant(-7.25));
    QCOMPARE(cap.read("/Tool/Compensation/edgeData[u1,c8,15]", v), SL_CAP_OK);
    QCOMPARE(v, QVariant(0.02));
    QCOMPARE(cap.read("/Channel/UserFrame/linShiftFine[u1,12]", v), SL_CAP_OK);
    QCOMPARE(v, QVariant(0.003));
    QCOMPARE(cap.read("/Channel/State/ncProgEndCounter[u1,1]", v), SL_CAP_OK);
    QCOMPARE(v, QVariant(1));
    QCOMPARE(m.nc->selectedProgram(), QStringLiteral("//NC/MPF.DIR/MAIN.MPF"));

    // A damaged state file stops the machine instead of being overwritten.
    m.nc.reset();
    QVERIFY(MachineFixture::writeFile(m.path("state/nc.json"), "{ not json"));
    QString error;
    QScopedPointer<VirtualNc> broken(VirtualNc::open(m.dir(), error));
    QVERIFY(!broken);
    QVERIFY(error.contains(QLatin1String("nc.json")));
    QCOMPARE(MachineFixture::readFile(m.path("state/nc.json")), QByteArray("{ not json"));
}

void TestNcVariables::noNcMeansNoConnection()
{
    QVERIFY(!VirtualNc::current());
    SlQCap cap("test");
    QVariant v;
    QCOMPARE(cap.read("/Channel/State/acProg[u1,1]", v), SL_CAP_ERR_NO_CONNECTION);
}

void TestNcVariables::machineFoldersThatCannotBeUsed()
{
    QTemporaryDir tmp;
    QString error;
    // An installation put in place before the first start stays.
    const QString installed = tmp.path() + "/installed";
    QVERIFY(QDir().mkpath(installed + "/card/oem/sinumerik/hmi/NorvaneZYN/appl"));
    QVERIFY(MachineFixture::writeFile(installed + "/card/versions.xml", "<info><Version>4.5</Version></info>"));
    {
        QScopedPointer<VirtualNc> nc(VirtualNc::open(installed, error));
        QVERIFY2(nc, qPrintable(error));
        QVERIFY(QFileInfo(installed + "/nc/DEF.DIR/UGUD.DEF").isFile());
    }
    QCOMPARE(MachineFixture::readFile(installed + "/card/versions.xml"), QByteArray("<info><Version>4.5</Version></info>"));

    // NC data without machine.ini is somebody's machine, not a new one.
    const QString orphan = tmp.path() + "/orphan";
    QVERIFY(QDir().mkpath(orphan + "/nc"));
    QVERIFY(!VirtualNc::open(orphan, error));
    QVERIFY(error.contains("machine.ini"));
    QVERIFY(!QFileInfo::exists(orphan + "/machine.ini"));
    QCOMPARE(QDir(orphan).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList{"nc"});
    QVERIFY(!VirtualNc::createMachine(orphan, VirtualNc::Variant::Blank, error));

    // One process at a time runs a machine.
    MachineFixture m;
    QVERIFY(!VirtualNc::open(m.dir(), error));
    QVERIFY2(error.contains("already running"), qPrintable(error));
    QCOMPARE(VirtualNc::current(), m.nc.data());

    // A bad machine.ini names what is wrong and stays as it was.
    m.nc.reset();
    const QByteArray ini = MachineFixture::readFile(m.path("machine.ini"));
    QByteArray bad = ini;
    bad.replace("2=Y, linear, 0", "2=Y, diagonal, 0");
    QVERIFY(MachineFixture::writeFile(m.path("machine.ini"), bad));
    QVERIFY(!VirtualNc::open(m.dir(), error));
    QVERIFY2(error.contains("axis 2"), qPrintable(error));
    bad = ini;
    bad.replace("RParameters=300", "RParameters=many");
    QVERIFY(MachineFixture::writeFile(m.path("machine.ini"), bad));
    QVERIFY(!VirtualNc::open(m.dir(), error));
    QVERIFY2(error.contains("RParameters"), qPrintable(error));
    QCOMPARE(MachineFixture::readFile(m.path("machine.ini")), bad);
    QVERIFY(!VirtualNc::current());
}

QTEST_GUILESS_MAIN(TestNcVariables)
#include "TestNcVariables.moc"

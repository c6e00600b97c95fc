#include "GudDefinitionFile.h"
#include "MachineConfig.h"
#include "MachineFixture.h"
#include "NcAddress.h"
#include "SlPiSvc.h"
#include "SlPmActivateDefFiles.h"
#include "SlQCap.h"
#include "SlQCapNamespace.h"

#include <QSignalSpy>

namespace {
using Var = GudDefinitionFile::Variable;
using Err = GudDefinitionFile::Error;
const QString gd3 = QStringLiteral("/NC/_N_NC_GD3_ACX/");

QVariant get(SlQCap& cap, const QString& address)
{
    QVariant v;
    const SlCapErrorEnum e = cap.read(address, v);
    return e == SL_CAP_OK ? v : QVariant(QStringLiteral("error %1").arg(unsigned(e), 0, 16));
}

QVariant err(SlCapErrorEnum e) { return QStringLiteral("error %1").arg(unsigned(e), 0, 16); }

long pi(const char* unit, const char* name)
{
    SlVector<SlString> args;
    args.push_back("/NC");
    args.push_back(unit);
    args.push_back(name);
    SlPiSvcStatus status;
    return SlPiSvc(args).start(status);
}
} // namespace

// The NC's notations read from outside (addresses, definition files) and
// its variables through the platform's variable service.
class TestNcVariables : public QObject
{
    Q_OBJECT
private slots:
    void addresses_data();
    void addresses();
    void definitionFiles();
    void readsAtBothEnds();
    void writesConvertedOrRefused();
    void definitionsActivated();
    void retainedDataAndMachineFolders();
};

void TestNcVariables::addresses_data()
{
    // parsed: "area key unit column [numbers] count", empty for refused.
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("parsed");
    const auto row = [](const char* text, const char* parsed) { QTest::newRow(text) << text << parsed; };
    row("/NC/_N_NC_GD3_ACX/TMR_FILE", "1 /nc/_n_nc_gd3_acx/tmr_file -1 -1 [] -1");
    row("/NC/_N_NC_GD3_ACX/TMR_VAR[10,3]", "1 /nc/_n_nc_gd3_acx/tmr_var -1 -1 [10,3] -1");
    row("/NC/_N_NC_GD3_ACX/TMR_CMDS[c1,u1,4,2]", "1 /nc/_n_nc_gd3_acx/tmr_cmds 1 1 [4,2] -1");
    row("/Channel/Parameter/r[u1,9,#3]", "2 /channel/parameter/r 1 -1 [9] 3");
    row("/Tool/Compensation/edgeData[u1,c12,15]", "5 /tool/compensation/edgedata 1 12 [15] -1");
    row("/Channel/GeometricAxis/actProgPos[u1,1,2,#6]", "2 /channel/geometricaxis/actprogpos 1 -1 [1,2] 6");
    row("/Nck/Configuration/nckType[1]", "3 /nck/configuration/ncktype -1 -1 [1] -1");
    row("/NC/_N_CH_TEA_ACX/$MC_TRAFO5_BASE_TOOL_1[U1,1,#3]", "1 /nc/_n_ch_tea_acx/$mc_trafo5_base_tool_1 1 -1 [1] 3");
    row("/Bag/State/opMode[u1,1]", "4 /bag/state/opmode 1 -1 [1] -1");
    row("/Channel/Parameter/r[ u1 , 2 ]", "2 /channel/parameter/r 1 -1 [2] -1");
    for (const char* bad : {"", "NC/_N_NC_GD3_ACX/X", "//NC/WKS.DIR/A.MPF", "/Channel/r[u1,1]", "/Channel/Parameter/r/x",
                            "/Plc/State/x", "/NC/GD3/TMR_VAR[1]", "/NC/_N_NC_GD3_ACX/TMR_VAR[1",
                            "/NC/_N_NC_GD3_ACX/TMR_VAR[1]x", "/NC/_N_NC_GD3_ACX/TMR_VAR[1][2]",
                            "/NC/_N_NC_GD3_ACX/TMR_VAR[1,]", "/NC/_N_NC_GD3_ACX/TMR_VAR[-1]", "/Channel/Parameter/r[u1,#3,1]",
                            "/Channel/Parameter/r[u1,u1,1]", "/Channel/Parameter/r[1,u1]", "/Channel/Parameter/r[u1,x]",
                            "/Channel/Parameter/1r[u1,1]", "/Channel/Parameter/r[u1,99999999999]"})
        row(bad, "");
}

void TestNcVariables::addresses()
{
    QFETCH(QString, text);
    QFETCH(QString, parsed);
    NcAddress a;
    QString why;
    const bool ok = NcAddress::parse(text, a, why);
    QVERIFY2(ok == !parsed.isEmpty() && ok == why.isEmpty(), qPrintable(why));
    if (!ok)
        return;
    QStringList numbers;
    for (int n : a.numbers)
        numbers << QString::number(n);
    QCOMPARE(QStringLiteral("%1 %2 %3 %4 [%5] %6").arg(a.area).arg(a.key()).arg(a.unit).arg(a.column)
                 .arg(numbers.join(',')).arg(a.count), parsed);
}

void TestNcVariables::definitionFiles()
{
    QList<Var> vars;
    QList<Err> errors;
    // Definitions in front of the header (the HMI's merge), comments, line
    // numbers, lower case, strings with ';', lists; nothing after M30.
    GudDefinitionFile::parse("DEF NCK INT TMR_VINT[5]\n%_N_UGUD_DEF\n;$PATH=/_N_DEF_DIR\n"
                             "DEF NCK INT TMR_FILE   ; the hand-over flag\r\nN10 DEF NCK REAL TMR_VAR[1000]\n"
                             "def nck bool flag=TRUE\nDEF NCK STRING[256] TMR_DIALOG_VSTR[3]\n"
                             "DEF NCK STRING[8] S=\"a;b\"\nDEF CHAN INT A, B[2]=(4,5)\nDEF NCK INT I2=2.6\n\n"
                             "M30\nthis line comes after the end and does not count\n", vars, errors);
    QVERIFY2(errors.isEmpty(), qPrintable(errors.value(0).text));
    QStringList got;
    for (const Var& v : vars) {
        QStringList init;
        for (const QVariant& i : v.init)
            init << i.toString();
        got << QStringLiteral("%1 %2 %3 %4 %5 %6").arg(v.name).arg(v.type).arg(v.size).arg(v.stringLength)
                   .arg(int(v.scope)).arg(init.join(','));
    }
    QCOMPARE(got.size(), 9);
    QCOMPARE(got.mid(1), (QStringList{"TMR_FILE 2 0 0 0 ", "TMR_VAR 6 1000 0 0 ", "FLAG 1 0 0 0 true",
                                      "TMR_DIALOG_VSTR 10 3 256 0 ", "S 10 0 8 0 a;b", "A 2 0 0 1 ", "B 2 2 0 1 4,5",
                                      "I2 2 0 0 0 3"}));

    // Each bad line is named; the good ones stay.
    vars.clear();
    GudDefinitionFile::parse("%_N_UGUD_DEF\nDEF NCK INTEGER X\nDEF NCK INT\nDEF NCK REAL R[0]\nDEF NCK REAL M[2,2]\n"
                             "DEF NCK INT OK1\nDEF NCK INT OK1\nG01 X10\nDEF NCK STRING[401] S\n"
                             "DEF NCK INT THIS_NAME_IS_LONGER_THAN_31_CHARS\nDEF NCK STRING[2] S2=\"abc\"\n"
                             "DEF NCK INT I=1.5e20\nDEF NCK INT A[2]=(1,2,3)\nM30\n", vars, errors);
    QList<int> lines;
    for (const Err& e : errors)
        lines << e.line;
    QCOMPARE(lines, (QList<int>{2, 3, 4, 5, 7, 8, 9, 10, 11, 12, 13}));
    QCOMPARE(vars.size(), 1);
    QVERIFY(errors[4].text.contains(QLatin1String("OK1")));

    QList<QPair<QString, int>> blocks{{"/x/nc/DEF.DIR/UGUD.DEF", 3}, {"sgud.def", 1}, {"MGUD.DEF", 2},
                                      {"GUD9.DEF", 9}, {"GUD3.DEF", -1}, {"UGUD.MPF", -1}};
    for (const auto& b : blocks)
        QCOMPARE(GudDefinitionFile::blockOfFile(b.first), b.second);
}

void TestNcVariables::readsAtBothEnds()
{
    // A value of the type the NC delivers, or the error of a refused read,
    // which leaves the caller's variable alone.
    const QVariant range = err(SL_CAP_ERR_RANGE);
    const QList<QPair<QString, QVariant>> reads{
        {gd3 + "TMR_FILE", 0}, {gd3 + "TMR_PRGISMETRIC", false}, {gd3 + "TMR_VAR[1000]", 0.0},
        {gd3 + "TMR_DIALOG_VSTR[3]", QVariant(QString())}, {"/Tool/Catalogue/toolIdent[u1,2]", "DRILL_8"},
        {"/Tool/Compensation/edgeData[u1,c12,3]", 120.0}, {"/Channel/Configuration/numMachAxes[u1,1]", 6},
        {"/Channel/Configuration/numAuxAxes[u1]", 3}, {"/Nck/Configuration/numGlobMachAxes", 6},
        {"/Channel/ProgramInfo/selectedWorkPProg[u1,1]", QVariant(QString())}, {"/Channel/Parameter/r[u1,0]", 0.0},
        {"/Channel/UserFrame/rotation[u1,600]", 0.0}, {"/Tool/Catalogue/toolIdent[u1,4]", "FACE_MILL_D63"},
        {gd3 + "TMR_VAR[999,2]", QVariantList{0.0, 0.0}}, {"/Channel/Parameter/r[u1,298,#2]", QVariantList{0.0, 0.0}},
        {"/NC/_N_CH_TEA_ACX/$MC_TRAFO5_JOINT_OFFSET_1[U1,1,#3]", QVariantList{12.5, -3.25, 100.0}},
        {gd3 + "TMR_VAR[0]", range}, {gd3 + "TMR_VAR[1001]", range}, {gd3 + "TMR_VAR[1000,2]", range},
        {gd3 + "TMR_VAR[1,0]", range}, {gd3 + "TMR_FILE[1]", range},
        {gd3 + "TMR_CONTROL", err(SL_CAP_ERR_UNKNOWN_ITEM)}, {"/Channel/Parameter/r[u1,300]", range},
        {"/Channel/Parameter/r[u1,290,#11]", range}, {"/Channel/Parameter/r[u2,1]", range},
        {"/Channel/GeometricAxis/name[u1,1,2,#7]", range}, {"/Channel/GeometricAxis/name[u1,1,3,#6]", range},
        {"/Channel/UserFrame/rotation[u1,601]", range}, {"/Channel/UserFrame/rotation[u1,0]", range},
        {"/Tool/Catalogue/toolIdent[u1,5]", range}, {"/Tool/Compensation/edgeData[u1,c13,12]", range},
        {"/Tool/Compensation/edgeData[u1,c12,26]", range}, {"/Channel/State/acProg[u1,2]", range},
        {"/Channel/State/noSuchThing[u1,1]", err(SL_CAP_ERR_UNKNOWN_ITEM)},
        {"/Channel/State/acProg[u1", err(SL_CAP_ERR_SYNTAX)}};
    {
        SlQCap none("test");
        QCOMPARE(get(none, reads.first().first), err(SL_CAP_ERR_NO_CONNECTION));
    }
    MachineFixture m;
    SlQCap cap("test");
    for (const auto& r : reads) {
        QVariant v = QStringLiteral("untouched");
        if (cap.read(r.first, v) != SL_CAP_OK)
            QCOMPARE(v, QVariant(QStringLiteral("untouched")));
        const QVariant got = get(cap, r.first);
        QVERIFY2(got == r.second && got.type() == r.second.type(), qPrintable(r.first + ": " + got.toString()));
    }
}

void TestNcVariables::writesConvertedOrRefused()
{
    MachineFixture m;
    SlQCap cap("test");
    QCOMPARE(cap.write(gd3 + "TMR_VAR[10,3]", QVariantList{1.5, -2.25, 1e-9}), SL_CAP_OK);
    QCOMPARE(get(cap, gd3 + "TMR_VAR[9,5]"), QVariant(QVariantList{0.0, 1.5, -2.25, 1e-9, 0.0}));
    QCOMPARE(cap.write(gd3 + "TMR_DIALOG_VSTR[1,2]", QVariantList{"Message", "Input"}), SL_CAP_OK);
    QCOMPARE(get(cap, gd3 + "TMR_DIALOG_VSTR[2]"), QVariant("Input"));
    QCOMPARE(get(cap, gd3 + "TMR_VINT").toList().size(), 5); // the whole array
    QCOMPARE(cap.write("/Channel/Parameter/r[u1,5,#2]", QVariantList{7.0, 8.0}), SL_CAP_OK);
    QCOMPARE(get(cap, "/Channel/Parameter/r[u1,6]"), QVariant(8.0));
    // An integer variable takes a real rounded, as the NC assigns it.
    QCOMPARE(cap.write(gd3 + "TMR_VINT[1]", 2.6), SL_CAP_OK);
    const QList<std::tuple<QString, QVariant, SlCapErrorEnum>> refused{
        {gd3 + "TMR_VINT[1]", "abc", SL_CAP_ERR_TYPE}, {gd3 + "TMR_VINT[1]", 1e12, SL_CAP_ERR_TYPE},
        {gd3 + "TMR_VINT[1]", "nan", SL_CAP_ERR_TYPE}, {gd3 + "TMR_VAR[1]", qQNaN(), SL_CAP_ERR_TYPE},
        {gd3 + "TMR_VAR[1]", "inf", SL_CAP_ERR_TYPE}, {gd3 + "TMR_VAR[1,3]", QVariantList{1.0, 2.0}, SL_CAP_ERR_TYPE},
        {gd3 + "TMR_DIALOG_VSTR[1]", QString(257, 'x'), SL_CAP_ERR_STRING_LENGTH},
        {"/Channel/State/acProg[u1,1]", 2, SL_CAP_ERR_READ_ONLY}, {"/Tool/Catalogue/numTools[u1]", 9, SL_CAP_ERR_READ_ONLY}};
    for (const auto& w : refused)
        QCOMPARE(cap.write(std::get<0>(w), std::get<1>(w)), std::get<2>(w));
    QCOMPARE(get(cap, gd3 + "TMR_VINT[1]"), QVariant(3));
    QCOMPARE(cap.write(gd3 + "TMR_DIALOG_VSTR[1]", QString(256, 'x')), SL_CAP_OK);
    QCOMPARE(cap.write("/Tool/Compensation/edgeData[u1,c12,12]", 0.04), SL_CAP_OK);
    QCOMPARE(get(cap, "/Tool/Compensation/edgeData[u1,c12,12]"), QVariant(0.04));

    // Axis lists agree whatever the column.
    QVERIFY(m.nc->set("/Channel/GeometricAxis/actProgPos[u1,6]", "-45.5") == SL_CAP_OK);
    QCOMPARE(get(cap, "/Channel/GeometricAxis/name[u1,1,2,#6]").toList(), (QVariantList{"X", "Y", "Z", "A", "SP1", "C"}));
    QCOMPARE(get(cap, "/Channel/GeometricAxis/type[u1,1,2,#6]").toList(), (QVariantList{0, 0, 0, 1, 2, 1}));
    const QVariant pos = get(cap, "/Channel/GeometricAxis/actProgPos[u1,1,1,#6]");
    QCOMPARE(pos, get(cap, "/Channel/GeometricAxis/actProgPos[u1,1,2,#6]"));
    QCOMPARE(pos.toList().value(5), QVariant(-45.5));
    QCOMPARE(m.nc->axes().value(5).position, -45.5);

    // Work offsets take effect with _N_SETUFR (G54 X is row 1 + 1 * 6).
    QCOMPARE(cap.write("/Channel/UserFrame/linShift[u1,7]", 12.5), SL_CAP_OK);
    QCOMPARE(m.nc->activeFrameValue("linShift", 7), 0.0);
    QCOMPARE(pi("201", "_N_SETUFR"), 0L);
    QCOMPARE(m.nc->activeFrameValue("linShift", 7), 12.5);
    QCOMPARE(pi("202", "_N_SETUFR"), long(SlPiSvc::E_ARGUMENTS));
    QCOMPARE(pi("201", "_N_NOSUCH"), long(SlPiSvc::E_UNKNOWN_PI));
    QCOMPARE(m.nc->userFrameActivations(), 1);
}

void TestNcVariables::definitionsActivated()
{
    {
        // A blank machine knows no GUD until its definitions are activated.
        MachineFixture m(VirtualNc::Variant::Blank);
        SlQCap cap("test");
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
        QCOMPARE(get(cap, gd3 + "TMR_VAR[3]"), QVariant(1.25));
        QCOMPARE(ns.map(SlCapData::extendedTimeout(), 0), SL_CAP_OK);
    }
    MachineFixture m;
    SlQCap cap("test");
    QCOMPARE(cap.write(gd3 + "TMR_VAR[3]", 4.5), SL_CAP_OK);
    // Errors keep the old definitions and name their lines.
    QVERIFY(MachineFixture::writeFile(m.path("nc/DEF.DIR/UGUD.DEF"), "%_N_UGUD_DEF\nDEF NCK REAL TMR_VAR[1000]\n"
                                      "DEF NCK REAL NEWVAR\nDEF NCK FLOAT X\nDEF NCK INT\nM30\n"));
    SlPmActivateDefFiles job;
    QSignalSpy done(&job, &SlPmActivateDefFiles::JobCompleted);
    QVERIFY(job.ActivateDefinitionFiles({"//NC/DEF.DIR/UGUD.DEF"}, 3));
    QVERIFY(done.wait(5000));
    QCOMPARE(done.first().at(0).value<QVector<long>>(), (QVector<long>{SlPmActivateDefFiles::E_SYNTAX, SlPmActivateDefFiles::E_SYNTAX}));
    const QStringList texts = done.first().at(1).toStringList();
    QVERIFY(texts[0].contains(QLatin1String("line 4")) && texts[1].contains(QLatin1String("line 5")));
    QCOMPARE(get(cap, gd3 + "NEWVAR"), get(cap, gd3 + "TMR_CONTROL"));
    QCOMPARE(get(cap, gd3 + "TMR_FILE"), QVariant(0));

    // A good file replaces the block; mode 1 keeps the values of what stayed, mode 0 starts over.
    QVERIFY(MachineFixture::writeFile(m.path("nc/DEF.DIR/UGUD.DEF"), "DEF NCK REAL TMR_VAR[1000]\nDEF NCK REAL NEWVAR=2\nM30\n"));
    QStringList errors;
    QVERIFY(m.nc->activateDefinitions({"//NC/DEF.DIR/UGUD.DEF"}, 1, errors).isEmpty());
    QCOMPARE(get(cap, gd3 + "TMR_VAR[3]"), QVariant(4.5));
    QCOMPARE(get(cap, gd3 + "NEWVAR"), QVariant(2.0));
    QCOMPARE(get(cap, gd3 + "TMR_FILE"), get(cap, gd3 + "TMR_CONTROL"));
    QVERIFY(m.nc->activateDefinitions({"//NC/DEF.DIR/UGUD.DEF"}, 0, errors).isEmpty());
    QCOMPARE(get(cap, gd3 + "TMR_VAR[3]"), QVariant(0.0));
    QCOMPARE(m.nc->activateDefinitions({"//NC/MPF.DIR/MAIN.MPF"}, 0, errors),
             QVector<long>{SlPmActivateDefFiles::E_NOT_A_DEFINITION_FILE});
    QCOMPARE(m.nc->activateDefinitions({"//NC/DEF.DIR/GUD7.DEF"}, 0, errors),
             QVector<long>{SlPmActivateDefFiles::E_FILE_NOT_FOUND});
}

void TestNcVariables::retainedDataAndMachineFolders()
{
    MachineFixture m;
    const QList<QPair<QString, QVariant>> retained{{gd3 + "TMR_VAR[1000]", 0.1}, {"/Channel/Parameter/r[u1,299]", -7.25},
                                                   {"/Tool/Compensation/edgeData[u1,c8,15]", 0.02},
                                                   {"/Channel/UserFrame/linShiftFine[u1,12]", 0.003}};
    {
        SlQCap cap("test");
        for (const auto& r : retained)
            QCOMPARE(cap.write(r.first, r.second), SL_CAP_OK);
        QCOMPARE(m.nc->selectProgram("//NC/MPF.DIR/MAIN.MPF"), 0L);
        QVERIFY(m.nc->startProgram() && m.nc->endProgram());
    }
    QVERIFY(m.open());
    SlQCap cap("test");
    for (const auto& r : retained)
        QCOMPARE(get(cap, r.first), r.second);
    QCOMPARE(get(cap, "/Channel/State/ncProgEndCounter[u1,1]"), QVariant(1));
    QCOMPARE(m.nc->selectedProgram(), QStringLiteral("//NC/MPF.DIR/MAIN.MPF"));

    // One process at a time runs a machine.
    QString error;
    QVERIFY(!VirtualNc::open(m.dir(), error));
    QVERIFY2(error.contains("already running"), qPrintable(error));
    QCOMPARE(VirtualNc::current(), m.nc.data());

    // A damaged state file or machine.ini stops the machine, names what is wrong and stays as it was.
    m.nc.reset();
    const QList<QStringList> damaged{{"state/nc.json", "{", "{ not json", "nc.json"},
                                     {"machine.ini", "2=Y, linear, 0", "2=Y, diagonal, 0", "axis 2"},
                                     {"machine.ini", "RParameters=300", "RParameters=many", "RParameters"}};
    for (const QStringList& d : damaged) {
        const QByteArray good = MachineFixture::readFile(m.path(d[0]));
        QByteArray bad = d[0] == "machine.ini" ? QByteArray(good).replace(d[1].toUtf8(), d[2].toUtf8()) : d[2].toUtf8();
        QVERIFY(MachineFixture::writeFile(m.path(d[0]), bad));
        QVERIFY(!VirtualNc::open(m.dir(), error));
        QVERIFY2(error.contains(d[3]), qPrintable(error));
        QCOMPARE(MachineFixture::readFile(m.path(d[0])), bad);
        QVERIFY(!VirtualNc::current());
        QVERIFY(MachineFixture::writeFile(m.path(d[0]), good));
    }

    // An installation put in place before the first start stays.
    QTemporaryDir tmp;
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
    QCOMPARE(QDir(orphan).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList{"nc"});
    QVERIFY(!VirtualNc::createMachine(orphan, VirtualNc::Variant::Blank, error));
}

QTEST_GUILESS_MAIN(TestNcVariables)
#include "TestNcVariables.moc"

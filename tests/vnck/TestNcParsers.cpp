// The NC's two notations read from outside: variable addresses and the
// definition files (UGUD.DEF and its kin).
#include "GudDefinitionFile.h"
#include "NcAddress.h"

#include <QtTest>

using Var = GudDefinitionFile::Variable;
using Err = GudDefinitionFile::Error;

class TestNcParsers : public QObject
{
    Q_OBJECT
private slots:
    void addresses_data();
    void addresses();
    void definitionFiles();
};

void TestNcParsers::addresses_data()
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

void TestNcParsers::addresses()
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

void TestNcParsers::definitionFiles()
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

QTEST_GUILESS_MAIN(TestNcParsers)
#include "TestNcParsers.moc"

#include "NcAddress.h"

#include <QtTest>

class TestNcAddress : public QObject
{
    Q_OBJECT
private slots:
    void parsesEveryFormThePlugInUses_data();
    void parsesEveryFormThePlugInUses();
    void rejectsMalformed_data();
    void rejectsMalformed();
};

void TestNcAddress::parsesEveryFormThePlugInUses_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("area");
    QTest::addColumn<QString>("key");
    QTest::addColumn<int>("unit");
    QTest::addColumn<int>("column");
    QTest::addColumn<QList<int>>("numbers");
    QTest::addColumn<int>("count");

    QTest::newRow("gud scalar") << "/NC/_N_NC_GD3_ACX/TMR_FILE" << int(NcAddress::DataBlock)
                                << "/nc/_n_nc_gd3_acx/tmr_file" << -1 << -1 << QList<int>{} << -1;
    QTest::newRow("gud range") << "/NC/_N_NC_GD3_ACX/TMR_VAR[10,3]" << int(NcAddress::DataBlock)
                               << "/nc/_n_nc_gd3_acx/tmr_var" << -1 << -1 << QList<int>{10, 3} << -1;
    QTest::newRow("gud with column and unit first") << "/NC/_N_NC_GD3_ACX/TMR_CMDS[c1,u1,4,2]"
                                                    << int(NcAddress::DataBlock) << "/nc/_n_nc_gd3_acx/tmr_cmds"
                                                    << 1 << 1 << QList<int>{4, 2} << -1;
    QTest::newRow("r range") << "/Channel/Parameter/r[u1,9,#3]" << int(NcAddress::Channel)
                             << "/channel/parameter/r" << 1 << -1 << QList<int>{9} << 3;
    QTest::newRow("edge data") << "/Tool/Compensation/edgeData[u1,c12,15]" << int(NcAddress::Tool)
                               << "/tool/compensation/edgedata" << 1 << 12 << QList<int>{15} << -1;
    QTest::newRow("axis list") << "/Channel/GeometricAxis/actProgPos[u1,1,2,#6]" << int(NcAddress::Channel)
                               << "/channel/geometricaxis/actprogpos" << 1 << -1 << QList<int>{1, 2} << 6;
    QTest::newRow("nck plain index") << "/Nck/Configuration/nckType[1]" << int(NcAddress::Nck)
                                     << "/nck/configuration/ncktype" << -1 << -1 << QList<int>{1} << -1;
    QTest::newRow("machine data upper U") << "/NC/_N_CH_TEA_ACX/$MC_TRAFO5_BASE_TOOL_1[U1,1,#3]"
                                          << int(NcAddress::DataBlock) << "/nc/_n_ch_tea_acx/$mc_trafo5_base_tool_1"
                                          << 1 << -1 << QList<int>{1} << 3;
    QTest::newRow("bag") << "/Bag/State/opMode[u1,1]" << int(NcAddress::Bag) << "/bag/state/opmode" << 1 << -1
                         << QList<int>{1} << -1;
    QTest::newRow("blanks inside brackets") << "/Channel/Parameter/r[ u1 , 2 ]" << int(NcAddress::Channel)
                                            << "/channel/parameter/r" << 1 << -1 << QList<int>{2} << -1;
}

void TestNcAddress::parsesEveryFormThePlugInUses()
{
    QFETCH(QString, text);
    QFETCH(int, area);
    QFETCH(QString, key);
    QFETCH(int, unit);
    QFETCH(int, column);
    QFETCH(QList<int>, numbers);
    QFETCH(int, count);
    NcAddress a;
    QString why;
    QVERIFY2(NcAddress::parse(text, a, why), qPrintable(why));
    QCOMPARE(int(a.area), area);
    QCOMPARE(a.key(), key);
    QCOMPARE(a.unit, unit);
    QCOMPARE(a.column, column);
    QCOMPARE(a.numbers, numbers);
    QCOMPARE(a.count, count);
}

void TestNcAddress::rejectsMalformed_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << "";
    QTest::newRow("relative") << "NC/_N_NC_GD3_ACX/X";
    QTest::newRow("file path") << "//NC/WKS.DIR/A.MPF";
    QTest::newRow("two parts") << "/Channel/r[u1,1]";
    QTest::newRow("four parts") << "/Channel/Parameter/r/x";
    QTest::newRow("unknown area") << "/Plc/State/x";
    QTest::newRow("not a block") << "/NC/GD3/TMR_VAR[1]";
    QTest::newRow("unclosed") << "/NC/_N_NC_GD3_ACX/TMR_VAR[1";
    QTest::newRow("text after bracket") << "/NC/_N_NC_GD3_ACX/TMR_VAR[1]x";
    QTest::newRow("two brackets") << "/NC/_N_NC_GD3_ACX/TMR_VAR[1][2]";
    QTest::newRow("empty index") << "/NC/_N_NC_GD3_ACX/TMR_VAR[1,]";
    QTest::newRow("negative") << "/NC/_N_NC_GD3_ACX/TMR_VAR[-1]";
    QTest::newRow("count not last") << "/Channel/Parameter/r[u1,#3,1]";
    QTest::newRow("unit twice") << "/Channel/Parameter/r[u1,u1,1]";
    QTest::newRow("unit after number") << "/Channel/Parameter/r[1,u1]";
    QTest::newRow("letters") << "/Channel/Parameter/r[u1,x]";
    QTest::newRow("bad name") << "/Channel/Parameter/1r[u1,1]";
    QTest::newRow("overflow") << "/Channel/Parameter/r[u1,99999999999]";
}

void TestNcAddress::rejectsMalformed()
{
    QFETCH(QString, text);
    NcAddress a;
    QString why;
    QVERIFY(!NcAddress::parse(text, a, why));
    QVERIFY(!why.isEmpty());
}

QTEST_GUILESS_MAIN(TestNcAddress)
#include "TestNcAddress.moc"

// The machine definition and the rotary table centres: what the machine
// configuration and calibration documents are built from. Failures never
// reach the caller, so the log lines are part of what is checked.
#include "NcAccessFixture.h"
#include "SiemensAPIOperate.h"

namespace {
const QString technology = QStringLiteral("/NC/_N_CH_TEA_ACX/$MCS_TECHNOLOGY[U1]");
const QString nckType = QStringLiteral("/Nck/Configuration/nckType[1]");
const QString metric = QStringLiteral("/NC/_N_NC_TEA_ACX/$MN_SCALING_SYSTEM_IS_METRIC[U1]");
}

class TestMachineDef : public QObject
{
    Q_OBJECT
private:
    TestLog m_log;

private slots:
    void initTestCase() { m_log.start(); }
    void cleanupTestCase() { TestLog::stop(); }

    void templateMachine();
    void controlAndTechnologyNames_data();
    void controlAndTechnologyNames();
    void eachFailureLeavesItsFieldAndIsLogged();
    void versionFile_data();
    void versionFile();
    void rotaryTableCentres();
    void rotaryTableWithUnreadableMachineData();
};

void TestMachineDef::templateMachine()
{
    NcMachine m;
    CSiemensAPIOperate api;
    tagMachDef def;
    QCOMPARE(api.GetMachineDef(def, m.path("card/versions.xml")), 0);
    QCOMPARE(def.model, QStringLiteral("840D sl"));
    QCOMPARE(def.cncType, QStringLiteral("Milling"));
    QCOMPARE(def.version, QStringLiteral("04.95.00.00"));
    QVERIFY(def.isMetric);
    // Every axis, the spindle included, at 0.0.
    QCOMPARE(def.axes.size(), 6);
    QCOMPARE(def.axes[4].name, QStringLiteral("SP1"));
    QCOMPARE(def.axes[4].type, AXIS_SPINDLE);
    QCOMPARE(def.axes[5].index, 5);

    QVERIFY(m.set(metric, "0"));
    QCOMPARE(api.GetMachineDef(def, m.path("card/versions.xml")), 0);
    QVERIFY(!def.isMetric);
}

void TestMachineDef::controlAndTechnologyNames_data()
{
    QTest::addColumn<int>("nck");
    QTest::addColumn<QString>("model");
    QTest::addColumn<int>("tech");
    QTest::addColumn<QString>("cncType");
    QTest::newRow("840D pl, turning") << 0 << "840D pl" << 1 << "Turning";
    QTest::newRow("802D sl T/M, grinding 3") << 14000 << "802D sl T/M" << 3 << "Grinding";
    QTest::newRow("ONE-cnci, grinding 4") << 30000 << "ONE-cnci" << 4 << "Grinding";
    QTest::newRow("828D, milling") << 16000 << "828D" << 2 << "Milling";
    QTest::newRow("unknown control, no technology") << 10701 << "" << 0 << "";
    QTest::newRow("unknown technology") << 21000 << "ONE" << 5 << "";
}

void TestMachineDef::controlAndTechnologyNames()
{
    QFETCH(int, nck);
    QFETCH(QString, model);
    QFETCH(int, tech);
    QFETCH(QString, cncType);
    NcMachine m;
    CSiemensAPIOperate api;
    QVERIFY(m.set(nckType, QString::number(nck)));
    QVERIFY(m.set(technology, QString::number(tech)));

    tagMachDef def;
    def.model = "old";
    def.cncType = "old";
    QCOMPARE(api.GetMachineDef(def, m.path("card/versions.xml")), 0);
    QCOMPARE(def.model, model);
    QCOMPARE(def.cncType, cncType);
}

void TestMachineDef::eachFailureLeavesItsFieldAndIsLogged()
{
    NcMachine m;
    CSiemensAPIOperate api;
    m.fail("read", technology, 0x8032000Au);
    m.fail("read", nckType, 0x8032000Au);
    m.fail("read", metric, 0x8032000Au);
    m.fail("read", "/Channel/Configuration/numMachAxes", 0x8032000Au);

    tagMachDef def;
    def.model = "M";
    def.cncType = "Turning";
    def.version = "V";
    def.isMetric = false;
    QCOMPARE(api.GetMachineDef(def, m.path("card/missing.xml")), 0);
    QCOMPARE(def.model, QStringLiteral("M"));
    QCOMPARE(def.cncType, QStringLiteral("Turning"));
    QCOMPARE(def.version, QStringLiteral("V"));
    QVERIFY(!def.isMetric);
    QVERIFY(def.axes.isEmpty());

    QVERIFY(m_log.has(" | ERR | "));
    QVERIFY(m_log.has("Cannot get version. ErrCode=-82\n"));
    QVERIFY(m_log.has("Cannot get cnc type. ErrCode=-78\n"));
    QVERIFY(m_log.has("Cannot get mach model. ErrCode=-78\n"));
    QVERIFY(m_log.has("Cannot get mach unit. ErrCode=-78\n"));
    QVERIFY(m_log.has("Cannot get axis list. ErrCode=-107\n"));
}

void TestMachineDef::versionFile_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("result");
    QTest::addColumn<QString>("version");
    QTest::newRow("trimmed") << QByteArray("<info><Version> 4.5 </Version></info>") << 0 << "4.5";
    QTest::newRow("first of two") << QByteArray("<info><Build>9</Build><Version>2</Version><Version>3</Version></info>")
                                  << 0 << "2";
    QTest::newRow("too deep") << QByteArray("<info><hmi><Version>1</Version></hmi></info>") << -96 << "";
    QTest::newRow("other root") << QByteArray("<root><info><Version>1</Version></info></root>") << -96 << "";
    QTest::newRow("no element") << QByteArray("<info><Name>x</Name></info>") << -96 << "";
    QTest::newRow("malformed") << QByteArray("<info><Version") << -96 << "";
}

void TestMachineDef::versionFile()
{
    QFETCH(QByteArray, content);
    QFETCH(int, result);
    QFETCH(QString, version);
    NcMachine m;
    CSiemensAPIOperate api;
    const QString file = m.path("card/v.xml");
    QVERIFY(NcMachine::writeFile(file, content));

    QString got = "unchanged";
    QCOMPARE(api.GetVersionFromXmlFile(file, got), result);
    QCOMPARE(got, result == 0 ? version : QStringLiteral("unchanged"));
}

void TestMachineDef::rotaryTableCentres()
{
    NcMachine m;
    CSiemensAPIOperate api;
    QList<tagRotabCenter> centers;
    centers.append(tagRotabCenter());

    QCOMPARE(api.GetRotabCenter(centers), 0);
    QCOMPARE(centers.size(), 2);
    const tagRotabCenter& base = centers[0];
    QCOMPARE(base.name, QStringLiteral("base"));
    QCOMPARE(base.x, 0.0);
    QCOMPARE(base.y, 0.0);
    QCOMPARE(base.z, 185.5);
    QCOMPARE(base.i, 0.0);
    QCOMPARE(base.j, 0.0);
    QCOMPARE(base.k, 1.0);
    const tagRotabCenter& part = centers[1];
    QCOMPARE(part.name, QStringLiteral("part"));
    QCOMPARE(part.x, 12.5);
    QCOMPARE(part.y, -3.25);
    QCOMPARE(part.z, 285.5);
    QCOMPARE(part.k, 1.0);
}

void TestMachineDef::rotaryTableWithUnreadableMachineData()
{
    NcMachine m;
    CSiemensAPIOperate api;
    QList<tagRotabCenter> centers;

    m.fail("read", "/NC/_N_CH_TEA_ACX/$MC_TRAFO5_JOINT_OFFSET_1", 0x8032000Au, 1);
    QCOMPARE(api.GetRotabCenter(centers), 0);
    QCOMPARE(centers.size(), 2);
    QCOMPARE(centers[1].x, centers[0].x);
    QCOMPARE(centers[1].z, 185.5);
    QVERIFY(m_log.has("Cannot read MD24560(MC_TRAFO5_JOINT_OFFSET_1). ErrCode=-78\n"));

    // A failed first read does not stop the second.
    m.fail("read", "/NC/_N_CH_TEA_ACX/$MC_TRAFO5_BASE_TOOL_1", 0x8032000Au, 1);
    QCOMPARE(api.GetRotabCenter(centers), 0);
    QCOMPARE(centers.size(), 2);
    QCOMPARE(centers[0].z, 0.0);
    QCOMPARE(centers[0].k, 1.0);
    QCOMPARE(centers[1].x, 12.5);
    QCOMPARE(centers[1].z, 100.0);
    QVERIFY(m_log.has("Cannot read MD24550(MC_TRAFO5_BASE_TOOL_1). ErrCode=-78\n"));
}

QTEST_MAIN(TestMachineDef)
#include "TestMachineDef.moc"

// The machine definition and the rotary table centres. Failures never reach
// the caller, so the log lines are part of what is checked.
#include "NcAccessFixture.h"
#include "SiemensAPIOperate.h"

namespace {
const QString technology = QStringLiteral("/NC/_N_CH_TEA_ACX/$MCS_TECHNOLOGY[U1]");
const QString nckType = QStringLiteral("/Nck/Configuration/nckType[1]");
}

class TestMachineDef : public QObject
{
    Q_OBJECT
private:
    TestLog m_log;

private slots:
    void initTestCase() { m_log.start(); }
    void cleanupTestCase() { TestLog::stop(); }

    void eachFailureLeavesItsFieldAndIsLogged();
    void versionFile_data();
    void versionFile();
    void rotaryTableCentres();
};

void TestMachineDef::eachFailureLeavesItsFieldAndIsLogged()
{
    NcMachine m;
    CSiemensAPIOperate api;
    // Values outside the tables empty the names.
    QVERIFY(m.set(nckType, "10701"));
    QVERIFY(m.set(technology, "0"));
    tagMachDef known;
    known.model = known.cncType = "old";
    QCOMPARE(api.GetMachineDef(known, m.path("card/versions.xml")), 0);
    QVERIFY(known.model.isEmpty() && known.cncType.isEmpty());
    QCOMPARE(known.version, QStringLiteral("04.95.00.00"));

    m.fail("read", technology, 0x8032000Au);
    m.fail("read", nckType, 0x8032000Au);
    m.fail("read", "/NC/_N_NC_TEA_ACX/$MN_SCALING_SYSTEM_IS_METRIC", 0x8032000Au);
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
    QTest::newRow("too deep") << QByteArray("<info><hmi><Version>1</Version></hmi></info>") << -96 << "";
    QTest::newRow("other root") << QByteArray("<root><info><Version>1</Version></info></root>") << -96 << "";
    QTest::newRow("malformed") << QByteArray("<info><Version") << -96 << "";
}

void TestMachineDef::versionFile()
{
    QFETCH(QByteArray, content);
    QFETCH(int, result);
    QFETCH(QString, version);
    NcMachine m;
    CSiemensAPIOperate api;
    QVERIFY(NcMachine::writeFile(m.path("card/v.xml"), content));

    QString got = "unchanged";
    QCOMPARE(api.GetVersionFromXmlFile(m.path("card/v.xml"), got), result);
    QCOMPARE(got, result == 0 ? version : QStringLiteral("unchanged"));
    QCOMPARE(api.GetVersionFromXmlFile(QString(), got), -93);
}

void TestMachineDef::rotaryTableCentres()
{
    NcMachine m;
    CSiemensAPIOperate api;
    QList<tagRotabCenter> centers{tagRotabCenter()};

    // The centres themselves, with and without the joint offset, are what
    // the NC service's calibration answer shows; here the log and the list
    // replaced, not appended to.
    m.fail("read", "/NC/_N_CH_TEA_ACX/$MC_TRAFO5_JOINT_OFFSET_1", 0x8032000Au, 1);
    QCOMPARE(api.GetRotabCenter(centers), 0);
    QCOMPARE(centers.size(), 2);
    QVERIFY(m_log.has("Cannot read MD24560(MC_TRAFO5_JOINT_OFFSET_1). ErrCode=-78\n"));

    // A failed first read does not stop the second.
    m.fail("read", "/NC/_N_CH_TEA_ACX/$MC_TRAFO5_BASE_TOOL_1", 0x8032000Au, 1);
    QCOMPARE(api.GetRotabCenter(centers), 0);
    QCOMPARE(centers.size(), 2);
    QCOMPARE(centers[0].z, 0.0);
    QCOMPARE(centers[1].z, 100.0);
    QVERIFY(m_log.has("Cannot read MD24550(MC_TRAFO5_BASE_TOOL_1). ErrCode=-78\n"));
}

QTEST_MAIN(TestMachineDef)
#include "TestMachineDef.moc"

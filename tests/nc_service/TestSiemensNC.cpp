// CSiemensNC's answers to the net requests, on the template machine: axes
// X Y Z A SP1 C, 300 R parameters, nckType 10700, milling, metric, base
// tool (0, 0, 185.5) and joint offset (12.5, -3.25, 100).
#include "SiemensNC.h"
#include "VirtualNc.h"

#include <QScopedPointer>
#include <QTemporaryDir>
#include <QtTest>

namespace {
const QString kUntouched = QStringLiteral("untouched");
const QString kXmlHead = QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>");

QString axesXml()
{
    QString xml;
    for (const char* axis : {"X Linear", "Y Linear", "Z Linear", "A Rotary", "SP1 Spindle", "C Rotary"})
        xml += QStringLiteral("<Axis><Name>%1</Name><Type>%2</Type><Enabled>true</Enabled><Min>0</Min><Max>0</Max></Axis>")
                   .arg(QString(axis).section(' ', 0, 0), QString(axis).section(' ', 1));
    return xml;
}
QString rotabs(const char* base, const char* part)
{
    return kXmlHead + QStringLiteral("<Rotabs><Rotab><Type>base</Type>%1<I>0</I><J>0</J><K>1</K></Rotab>"
                                     "<Rotab><Type>part</Type>%2<I>0</I><J>0</J><K>1</K></Rotab></Rotabs>").arg(base, part);
}
} // namespace

class TestSiemensNC : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_nc.reset(); }

    void rVariableChecks();
    void rVariablesSkipPositionAndPrograms();
    void machineConfiguration_data();
    void machineConfiguration();
    void calibrationResultIsReadAtEachRequest();

private:
    QString applDir() const { return m_dir.path() + "/m/card/oem/sinumerik/hmi/NorvaneZYN/appl"; }
    void nc(const QStringList& args) { QVERIFY2(m_nc->control(args).code == 0, qPrintable(args.join(' '))); }
    void fault(const QString& op, const QString& pattern, const QString& code = "0x80320002")
    {
        nc({"fault", op, pattern, "--code", code});
    }

    QTemporaryDir m_dir;
    QScopedPointer<VirtualNc> m_nc;
};

void TestSiemensNC::init()
{
    QString error;
    m_nc.reset(VirtualNc::open(m_dir.path() + "/m", error));
    QVERIFY2(m_nc, qPrintable(error));
    nc({"fault", "clear"});
}

void TestSiemensNC::rVariableChecks()
{
    const QString count = "/Channel/Configuration/numRParams", r = "/Channel/Parameter/r";
    // The NC's count unreadable in the first rows proves that the checks of
    // the arguments come before any question to the NC.
    const struct { bool write; int index, count, values; QString faultOp, faultAddress, errInfo; } rows[] = {
        {false, -1, 1, 0, "read", count, "Invalid index"}, {false, 0, 0, 0, "read", count, "Invalid count"},
        {true, -1, 1, 1, "read", count, "Invalid index"}, {true, 0, 0, 0, "read", count, "Invalid count"},
        {true, 0, 3, 2, "read", count, "Invalid values"},
        {false, 0, 1, 0, "read", count, "Cannot get the count of R variable"},
        {true, 0, 1, 1, "read", count, "Cannot get the count of R variable"},
        {false, 299, 1, 0, "", "", kUntouched}, {false, 299, 2, 0, "", "", "Address out of range [0, 299]"},
        {true, 299, 2, 2, "", "", "Address out of range [0, 299]"},
        {false, 5, 2, 0, "read", r, "Cannot read R variable"}, {true, 5, 2, 2, "write", r, "Cannot write R variable"}};
    for (const auto& row : rows) {
        nc({"fault", "clear"});
        CSiemensNC service(applDir(), nullptr);
        if (!row.faultOp.isEmpty())
            fault(row.faultOp, row.faultAddress);
        QString text = kUntouched;
        QList<double> values;
        const bool ok = row.write ? service.ProcessWriteRVar(row.index, row.count, QVector<double>(row.values, 7.0).toList(), text)
                                  : service.ProcessReadRVar(row.index, row.count, values, text);
        QVERIFY2(text == row.errInfo && ok == (row.errInfo == kUntouched), qPrintable(QString::number(row.index) + ": " + text));
    }
}

void TestSiemensNC::rVariablesSkipPositionAndPrograms()
{
    // The version file is found from the first oem folder of the application folder's path.
    QCOMPARE(CSiemensNC("/m/card/oem/x/oem/appl", nullptr).VersionFile(), QStringLiteral("/m/card/versions.xml"));
    QCOMPARE(CSiemensNC("/oem/sinumerik/appl", nullptr).VersionFile(), QString());
    QCOMPARE(CSiemensNC("/card/OEM/sinumerik/appl", nullptr).VersionFile(), QString());

    CSiemensNC service(applDir(), nullptr);
    QString errInfo = kUntouched;
    QVERIFY(service.ProcessWriteRVar(297, 3, {1.5, -2.0, 300.125}, errInfo));
    QCOMPARE(m_nc->control({"get", "/Channel/Parameter/r[u1,297,#3]"}).out.trimmed(), QStringLiteral("1.5\n-2\n300.125"));
    nc({"set", "/Channel/Parameter/r[u1,0]", "0.25"});
    QList<double> values;
    QVERIFY(service.ProcessReadRVar(0, 1, values, errInfo) && values == QList<double>{0.25} && errInfo == kUntouched);
    // The count is asked anew each time: a machine with fewer R parameters
    // refuses what it accepted before.
    nc({"set", "/Channel/Configuration/numRParams[u1,1]", "100"});
    QVERIFY(!service.ProcessReadRVar(297, 3, values, errInfo));
    QCOMPARE(errInfo, QStringLiteral("Address out of range [0, 99]"));

    // A service that cannot tell has not found it, whatever its code.
    fault("exist", "//NC/MPF.DIR/MAIN.MPF", "0x81501005");
    QVERIFY(!service.ProcessSelectProgram("//NC/MPF.DIR/MAIN.MPF", errInfo));
    QCOMPARE(errInfo, QStringLiteral("Program does not exist"));
    nc({"fault", "clear"});
    errInfo = kUntouched;
    QVERIFY(service.ProcessSelectProgram("//NC/MPF.DIR/MAIN.MPF", errInfo) && errInfo == kUntouched);
    QCOMPARE(m_nc->selectedProgram(), QStringLiteral("//NC/MPF.DIR/MAIN.MPF"));
    // While the selected program runs, the channel takes no other.
    QVERIFY(QFile::copy(m_nc->machineDir() + "/nc/MPF.DIR/MAIN.MPF", m_nc->machineDir() + "/nc/MPF.DIR/OTHER.MPF"));
    QVERIFY(m_nc->setOperatingMode(VirtualNc::ModeAuto) && m_nc->startProgram());
    QVERIFY(!service.ProcessSelectProgram("//NC/MPF.DIR/OTHER.MPF", errInfo));
    QCOMPARE(errInfo, QStringLiteral("Cannot select program (0x8300c4b0)"));
    QCOMPARE(m_nc->selectedProgram(), QStringLiteral("//NC/MPF.DIR/MAIN.MPF"));

    // The skip position is zero whatever the NC.
    fault("*", "*");
    double v[6] = {1, 2, 3, 4, 5, 6};
    errInfo = kUntouched;
    QVERIFY(service.ProcessGetSkipPosition(v[0], v[1], v[2], v[3], v[4], v[5], errInfo) && errInfo == kUntouched);
    QCOMPARE(QVector<double>(v, v + 6), QVector<double>(6, 0.0));
}

void TestSiemensNC::machineConfiguration_data()
{
    QTest::addColumn<QStringList>("readFaults");
    QTest::addColumn<bool>("withVersionFile");
    QTest::addColumn<QString>("document");
    const QString known = kXmlHead + "<Machine><Manufacturer>Siemens</Manufacturer><Model>840D sl</Model>"
                                     "<Version>04.95.00.00</Version><CncType>Milling</CncType><Unit>MM</Unit><Axes>";
    QTest::newRow("template machine") << QStringList() << true << known + axesXml() + "</Axes></Machine>";
    QTest::newRow("no axes") << QStringList{"/Channel/Configuration/numMachAxes"} << true << known + "</Axes></Machine>";
    // Nothing of the machine data readable and no version file: empty
    // elements, and still an answer.
    QTest::newRow("machine data unreadable")
        << QStringList{"/NC/_N_CH_TEA_ACX/*", "/NC/_N_NC_TEA_ACX/*", "/Nck/Configuration/nckType"} << false
        << kXmlHead + "<Machine><Manufacturer>Siemens</Manufacturer><Model></Model><Version></Version>"
                      "<CncType></CncType><Unit>MM</Unit><Axes>" + axesXml() + "</Axes></Machine>";
}

void TestSiemensNC::machineConfiguration()
{
    QFETCH(QStringList, readFaults);
    QFETCH(bool, withVersionFile);
    QFETCH(QString, document);
    for (const QString& address : readFaults)
        fault("read", address);
    CSiemensNC service(withVersionFile ? applDir() : m_dir.path() + "/appl", nullptr);
    QCOMPARE(service.Initialize(), 0);
    QString content, errInfo = kUntouched;
    QVERIFY(service.ProcessGetMachineConfiguration(content, errInfo) && errInfo == kUntouched);
    QCOMPARE(content, document);
    // The definition of the start is answered, without the NC: a changed or
    // unreachable NC gives the same text.
    nc({"set", "/Nck/Configuration/nckType[1]", "16000"});
    fault("*", "*");
    content.clear();
    QVERIFY(service.ProcessGetMachineConfiguration(content, errInfo));
    QCOMPARE(content, document);
}

void TestSiemensNC::calibrationResultIsReadAtEachRequest()
{
    CSiemensNC service(applDir(), nullptr);
    QCOMPARE(service.Initialize(), 0);
    QString content, errInfo = kUntouched;
    QVERIFY(service.ProcessGetCalibrationResult(content, errInfo) && errInfo == kUntouched);
    QCOMPARE(content, rotabs("<X>0</X><Y>0</Y><Z>185.5</Z>", "<X>12.5</X><Y>-3.25</Y><Z>285.5</Z>"));
    // A new calibration shows at once, in six significant digits; without
    // the joint offset the part lies where the base does.
    nc({"set", "/NC/_N_CH_TEA_ACX/$MC_TRAFO5_BASE_TOOL_1[U1,1,#3]", "123456.789,0.5,-1"});
    fault("read", "/NC/_N_CH_TEA_ACX/$MC_TRAFO5_JOINT_OFFSET_1");
    content.clear();
    QVERIFY(service.ProcessGetCalibrationResult(content, errInfo));
    QCOMPARE(content, rotabs("<X>123457</X><Y>0.5</Y><Z>-1</Z>", "<X>123457</X><Y>0.5</Y><Z>-1</Z>"));
}

QTEST_GUILESS_MAIN(TestSiemensNC)
#include "TestSiemensNC.moc"

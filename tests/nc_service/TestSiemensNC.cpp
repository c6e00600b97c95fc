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

QString axisXml(const QString& name, const QString& type)
{
    return QStringLiteral("<Axis><Name>%1</Name><Type>%2</Type><Enabled>true</Enabled><Min>0</Min><Max>0</Max></Axis>")
        .arg(name, type);
}

const QString kTemplateAxes = axisXml(QStringLiteral("X"), QStringLiteral("Linear"))
                              + axisXml(QStringLiteral("Y"), QStringLiteral("Linear"))
                              + axisXml(QStringLiteral("Z"), QStringLiteral("Linear"))
                              + axisXml(QStringLiteral("A"), QStringLiteral("Rotary"))
                              + axisXml(QStringLiteral("SP1"), QStringLiteral("Spindle"))
                              + axisXml(QStringLiteral("C"), QStringLiteral("Rotary"));
} // namespace

class TestSiemensNC : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void versionFileFromTheApplicationFolder_data();
    void versionFileFromTheApplicationFolder();
    void rVariableChecks_data();
    void rVariableChecks();
    void rVariablesReachTheNc();
    void skipPositionIsZeroWhateverTheNc();
    void selectProgram();
    void machineConfiguration_data();
    void machineConfiguration();
    void calibrationResultIsReadAtEachRequest();

private:
    QString applDir() const { return m_dir.path() + QStringLiteral("/m/card/oem/sinumerik/hmi/NorvaneZYN/appl"); }
    void nc(const QStringList& args)
    {
        const CtlResult result = m_nc->control(args);
        QVERIFY2(result.code == 0, qPrintable(args.join(QLatin1Char(' ')) + QStringLiteral(": ") + result.err));
    }
    QString ncGet(const QString& address) { return m_nc->control({QStringLiteral("get"), address}).out.trimmed(); }
    void fault(const QString& op, const QString& pattern, const QString& code = QStringLiteral("0x80320002"))
    {
        nc({QStringLiteral("fault"), op, pattern, QStringLiteral("--code"), code});
    }

    QTemporaryDir m_dir;
    QScopedPointer<VirtualNc> m_nc;
};

void TestSiemensNC::init()
{
    QString error;
    m_nc.reset(VirtualNc::open(m_dir.path() + QStringLiteral("/m"), error));
    QVERIFY2(m_nc, qPrintable(error));
    nc({QStringLiteral("fault"), QStringLiteral("clear")});
}

void TestSiemensNC::cleanup()
{
    m_nc.reset();
}

void TestSiemensNC::versionFileFromTheApplicationFolder_data()
{
    QTest::addColumn<QString>("applDir");
    QTest::addColumn<QString>("versionFile");
    QTest::newRow("first oem") << QStringLiteral("/m/card/oem/x/oem/appl") << QStringLiteral("/m/card/versions.xml");
    QTest::newRow("oem at the root") << QStringLiteral("/oem/sinumerik/appl") << QString();
    QTest::newRow("letter case") << QStringLiteral("/card/OEM/sinumerik/appl") << QString();
}

void TestSiemensNC::versionFileFromTheApplicationFolder()
{
    QFETCH(QString, applDir);
    QFETCH(QString, versionFile);
    CSiemensNC service(applDir, nullptr);
    QCOMPARE(service.VersionFile(), versionFile);
}

void TestSiemensNC::rVariableChecks_data()
{
    QTest::addColumn<bool>("write");
    QTest::addColumn<int>("index");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("valueCount");
    QTest::addColumn<QString>("faultOp");
    QTest::addColumn<QString>("faultAddress");
    QTest::addColumn<QString>("errInfo");

    const QString count = QStringLiteral("/Channel/Configuration/numRParams");
    const QString r = QStringLiteral("/Channel/Parameter/r");
    const QString read = QStringLiteral("read");
    const QString none;
    // The NC's count unreadable in the first rows proves that the checks of
    // the arguments come before any question to the NC.
    QTest::newRow("read, index -1") << false << -1 << 1 << 0 << read << count << QStringLiteral("Invalid index");
    QTest::newRow("read, count 0") << false << 0 << 0 << 0 << read << count << QStringLiteral("Invalid count");
    QTest::newRow("write, index -1") << true << -1 << 1 << 1 << read << count << QStringLiteral("Invalid index");
    QTest::newRow("write, count 0") << true << 0 << 0 << 0 << read << count << QStringLiteral("Invalid count");
    QTest::newRow("write, 3 for 2 values") << true << 0 << 3 << 2 << read << count << QStringLiteral("Invalid values");
    QTest::newRow("read, count unreadable") << false << 0 << 1 << 0 << read << count
                                            << QStringLiteral("Cannot get the count of R variable");
    QTest::newRow("write, count unreadable") << true << 0 << 1 << 1 << read << count
                                             << QStringLiteral("Cannot get the count of R variable");
    QTest::newRow("read, last one") << false << 299 << 1 << 0 << none << none << kUntouched;
    QTest::newRow("read, one past") << false << 299 << 2 << 0 << none << none
                                    << QStringLiteral("Address out of range [0, 299]");
    QTest::newRow("write, one past") << true << 299 << 2 << 2 << none << none
                                     << QStringLiteral("Address out of range [0, 299]");
    QTest::newRow("read refused") << false << 5 << 2 << 0 << read << r << QStringLiteral("Cannot read R variable");
    QTest::newRow("write refused") << true << 5 << 2 << 2 << QStringLiteral("write") << r
                                   << QStringLiteral("Cannot write R variable");
}

void TestSiemensNC::rVariableChecks()
{
    QFETCH(bool, write);
    QFETCH(int, index);
    QFETCH(int, count);
    QFETCH(int, valueCount);
    QFETCH(QString, faultOp);
    QFETCH(QString, faultAddress);
    QFETCH(QString, errInfo);

    CSiemensNC service(applDir(), nullptr);
    if (!faultOp.isEmpty())
        fault(faultOp, faultAddress);
    QString text = kUntouched;
    bool ok = false;
    if (write) {
        ok = service.ProcessWriteRVar(index, count, QList<double>(QVector<double>(valueCount, 7.0).toList()), text);
    } else {
        QList<double> values;
        ok = service.ProcessReadRVar(index, count, values, text);
    }
    QCOMPARE(text, errInfo);
    QCOMPARE(ok, errInfo == kUntouched);
}

void TestSiemensNC::rVariablesReachTheNc()
{
    CSiemensNC service(applDir(), nullptr);
    QString errInfo = kUntouched;
    QVERIFY(service.ProcessWriteRVar(297, 3, {1.5, -2.0, 300.125}, errInfo));
    QCOMPARE(ncGet(QStringLiteral("/Channel/Parameter/r[u1,297,#3]")), QStringLiteral("1.5\n-2\n300.125"));
    nc({QStringLiteral("set"), QStringLiteral("/Channel/Parameter/r[u1,0]"), QStringLiteral("0.25")});
    QList<double> values;
    QVERIFY(service.ProcessReadRVar(0, 1, values, errInfo));
    QCOMPARE(values, QList<double>{0.25});
    QCOMPARE(errInfo, kUntouched);

    // The count is asked anew each time: a machine with fewer R parameters
    // refuses what it accepted before.
    nc({QStringLiteral("set"), QStringLiteral("/Channel/Configuration/numRParams[u1,1]"), QStringLiteral("100")});
    QVERIFY(!service.ProcessReadRVar(297, 3, values, errInfo));
    QCOMPARE(errInfo, QStringLiteral("Address out of range [0, 99]"));
}

void TestSiemensNC::skipPositionIsZeroWhateverTheNc()
{
    CSiemensNC service(applDir(), nullptr);
    fault(QStringLiteral("*"), QStringLiteral("*"));
    double v[6] = {1, 2, 3, 4, 5, 6};
    QString errInfo = kUntouched;
    QVERIFY(service.ProcessGetSkipPosition(v[0], v[1], v[2], v[3], v[4], v[5], errInfo));
    for (double d : v)
        QCOMPARE(d, 0.0);
    QCOMPARE(errInfo, kUntouched);
}

void TestSiemensNC::selectProgram()
{
    CSiemensNC service(applDir(), nullptr);
    QString errInfo;
    QVERIFY(!service.ProcessSelectProgram(QStringLiteral("//NC/WKS.DIR/TELMOR.WPD/MISSING.MPF"), errInfo));
    QCOMPARE(errInfo, QStringLiteral("Program does not exist"));

    // A service that cannot tell has not found it, whatever its code.
    fault(QStringLiteral("exist"), QStringLiteral("//NC/MPF.DIR/MAIN.MPF"), QStringLiteral("0x81501005"));
    errInfo.clear();
    QVERIFY(!service.ProcessSelectProgram(QStringLiteral("//NC/MPF.DIR/MAIN.MPF"), errInfo));
    QCOMPARE(errInfo, QStringLiteral("Program does not exist"));
    nc({QStringLiteral("fault"), QStringLiteral("clear")});

    errInfo = kUntouched;
    QVERIFY(service.ProcessSelectProgram(QStringLiteral("//NC/MPF.DIR/MAIN.MPF"), errInfo));
    QCOMPARE(errInfo, kUntouched);
    QCOMPARE(m_nc->selectedProgram(), QStringLiteral("//NC/MPF.DIR/MAIN.MPF"));

    // While the selected program runs, the channel takes no other.
    QVERIFY(QFile::copy(m_nc->machineDir() + QStringLiteral("/nc/MPF.DIR/MAIN.MPF"),
                        m_nc->machineDir() + QStringLiteral("/nc/MPF.DIR/OTHER.MPF")));
    QVERIFY(m_nc->setOperatingMode(VirtualNc::ModeAuto));
    QVERIFY(m_nc->startProgram());
    QVERIFY(!service.ProcessSelectProgram(QStringLiteral("//NC/MPF.DIR/OTHER.MPF"), errInfo));
    QCOMPARE(errInfo, QStringLiteral("Cannot select program (0x8300c4b0)"));
    QCOMPARE(m_nc->selectedProgram(), QStringLiteral("//NC/MPF.DIR/MAIN.MPF"));
}

void TestSiemensNC::machineConfiguration_data()
{
    QTest::addColumn<QStringList>("readFaults");
    QTest::addColumn<bool>("withVersionFile");
    QTest::addColumn<QString>("document");

    QTest::newRow("template machine")
        << QStringList() << true
        << kXmlHead + QStringLiteral("<Machine><Manufacturer>Siemens</Manufacturer><Model>840D sl</Model>"
                                     "<Version>04.95.00.00</Version><CncType>Milling</CncType><Unit>MM</Unit><Axes>")
               + kTemplateAxes + QStringLiteral("</Axes></Machine>");
    QTest::newRow("no axes")
        << QStringList{QStringLiteral("/Channel/Configuration/numMachAxes")} << true
        << kXmlHead + QStringLiteral("<Machine><Manufacturer>Siemens</Manufacturer><Model>840D sl</Model>"
                                     "<Version>04.95.00.00</Version><CncType>Milling</CncType><Unit>MM</Unit>"
                                     "<Axes></Axes></Machine>");
    // Nothing of the machine data readable and no version file: empty
    // elements, and still an answer.
    QTest::newRow("machine data unreadable")
        << QStringList{QStringLiteral("/NC/_N_CH_TEA_ACX/*"), QStringLiteral("/NC/_N_NC_TEA_ACX/*"),
                       QStringLiteral("/Nck/Configuration/nckType")}
        << false
        << kXmlHead + QStringLiteral("<Machine><Manufacturer>Siemens</Manufacturer><Model></Model><Version></Version>"
                                     "<CncType></CncType><Unit>MM</Unit><Axes>")
               + kTemplateAxes + QStringLiteral("</Axes></Machine>");
}

void TestSiemensNC::machineConfiguration()
{
    QFETCH(QStringList, readFaults);
    QFETCH(bool, withVersionFile);
    QFETCH(QString, document);

    for (const QString& address : readFaults)
        fault(QStringLiteral("read"), address);
    CSiemensNC service(withVersionFile ? applDir() : m_dir.path() + QStringLiteral("/appl"), nullptr);
    QCOMPARE(service.Initialize(), 0);

    QString content;
    QString errInfo = kUntouched;
    QVERIFY(service.ProcessGetMachineConfiguration(content, errInfo));
    QCOMPARE(content, document);
    QCOMPARE(errInfo, kUntouched);

    // The definition of the start is answered, without the NC: a changed or
    // unreachable NC gives the same text.
    nc({QStringLiteral("set"), QStringLiteral("/Nck/Configuration/nckType[1]"), QStringLiteral("16000")});
    fault(QStringLiteral("*"), QStringLiteral("*"));
    content.clear();
    QVERIFY(service.ProcessGetMachineConfiguration(content, errInfo));
    QCOMPARE(content, document);
}

void TestSiemensNC::calibrationResultIsReadAtEachRequest()
{
    CSiemensNC service(applDir(), nullptr);
    QCOMPARE(service.Initialize(), 0);
    QString content;
    QString errInfo = kUntouched;
    QVERIFY(service.ProcessGetCalibrationResult(content, errInfo));
    QCOMPARE(content, kXmlHead
                          + QStringLiteral("<Rotabs>"
                                           "<Rotab><Type>base</Type><X>0</X><Y>0</Y><Z>185.5</Z><I>0</I><J>0</J><K>1</K></Rotab>"
                                           "<Rotab><Type>part</Type><X>12.5</X><Y>-3.25</Y><Z>285.5</Z><I>0</I><J>0</J><K>1</K></Rotab>"
                                           "</Rotabs>"));
    QCOMPARE(errInfo, kUntouched);

    // A new calibration shows at once, in six significant digits; without
    // the joint offset the part lies where the base does.
    nc({QStringLiteral("set"), QStringLiteral("/NC/_N_CH_TEA_ACX/$MC_TRAFO5_BASE_TOOL_1[U1,1,#3]"),
        QStringLiteral("123456.789,0.5,-1")});
    fault(QStringLiteral("read"), QStringLiteral("/NC/_N_CH_TEA_ACX/$MC_TRAFO5_JOINT_OFFSET_1"));
    content.clear();
    QVERIFY(service.ProcessGetCalibrationResult(content, errInfo));
    QCOMPARE(content, kXmlHead
                          + QStringLiteral("<Rotabs>"
                                           "<Rotab><Type>base</Type><X>123457</X><Y>0.5</Y><Z>-1</Z><I>0</I><J>0</J><K>1</K></Rotab>"
                                           "<Rotab><Type>part</Type><X>123457</X><Y>0.5</Y><Z>-1</Z><I>0</I><J>0</J><K>1</K></Rotab>"
                                           "</Rotabs>"));
}

QTEST_GUILESS_MAIN(TestSiemensNC)
#include "TestSiemensNC.moc"

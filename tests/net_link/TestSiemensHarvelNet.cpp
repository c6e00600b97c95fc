// The whole chain: the plug-in installed into a virtual machine with its
// net server enabled, started by the operator interface hosted in the test,
// and harvel-client talking to it over loopback as the measurement
// application does. What the client is told is checked against the NC.
// The axes map is in its digit form.

#include "HmiHost.h"
#include "HmiMachine.h"
#include "VirtualNc.h"

#include <QSettings>

using namespace NetLinkFixture;

namespace {
void WriteFile(const QString& path, const QByteArray& content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(content);
}
} // namespace

class TestSiemensHarvelNet : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // "::" serves IPv4 and IPv6 clients alike; port 0 lets the library
        // take a free one.
        QVERIFY(InstallPlugin(m_machine.path(), ":::0"));
        QSettings(m_machine.path() + "/card/oem/sinumerik/hmi/NorvaneZYN/cfg/TMRNC.INI", QSettings::IniFormat)
            .setValue("TMRNC/wofsaxes", "123000");
        m_host.reset(new HmiHost);
        const QStringList problems = m_host->start(m_machine.path());
        QVERIFY2(problems.isEmpty(), qPrintable(problems.join('\n')));
        const quint16 port = ServerPort(QFileInfo(ApplDir()).canonicalFilePath());
        QVERIFY2(port != 0, qPrintable(Log()));
        m_v4 = QStringLiteral("127.0.0.1:%1").arg(port);
        QTRY_VERIFY_WITH_TIMEOUT(Log().contains("Start ZYN Net Server succeeded. Address=:::0"), 20000);
    }
    void cleanupTestCase()
    {
        if (m_host)
            m_host->shutdown();
        m_host.reset();
    }

    void machineCallsReachTheNc();
    void requestFilesFromTheMeasurementApplication();
    void filesBothWays();

private:
    QString ApplDir() const { return m_machine.path() + "/card/oem/sinumerik/hmi/NorvaneZYN/appl"; }
    QString Log() const { return QString::fromUtf8(FileBytes(ApplDir() + "/logs/SiemensHarvel.log")); }
    bool Logged(const QString& pattern) const { return Log().contains(QRegularExpression(pattern)); }
    ClientRun Client(const QStringList& args) { return RunClient(m_v4, args); }
    CtlResult Nc(const QStringList& args) { return m_host->nc()->control(args); }

    QTemporaryDir m_machine;
    QScopedPointer<HmiHost> m_host;
    QString m_v4;
};

void TestSiemensHarvelNet::machineCallsReachTheNc()
{
    Nc({"set", "/Channel/Parameter/r[u1,20]", "7.75"});
    WriteFile(m_machine.path() + "/nc/WKS.DIR/TELMOR.WPD/PART1.MPF", "G0 X0\nM30\n");
    // The client's words, its exit code, what it prints or says, and the
    // plug-in's log line (a pattern). The template machine has R0 to R299;
    // a bare program name is one of the configured program folder.
    const QString peer = R"(Peer=ipv4:127\.0\.0\.1:\d+)";
    const struct { const char* args; int code; QString said; QString logged; } rows[] = {
        {"write-r 10 1.5 -2.25", 0, "", ""},
        {"read-r 19 3", 0, "\n7.75\n", R"(\| INF \| \w+ \| Read R variable succeeded\. )" + peer + R"(, Index=19, Count=3\n)"},
        {"read-r 299 2", 1, "Address out of range [0, 299]", peer + R"(, Index=299, Count=2, ErrInfo=Address out of range \[0, 299\]\n)"},
        {"write-r 300 1", 1, "Address out of range [0, 299]", ""},
        {"select PART1.MPF", 0, "", peer + R"(, Program=//NC/WKS\.DIR/TELMOR\.WPD/PART1\.MPF\n)"},
        {"select NOTHERE.MPF", 1, "Program does not exist",
         peer + R"(, Program=//NC/WKS\.DIR/TELMOR\.WPD/NOTHERE\.MPF, ErrInfo=Program does not exist\n)"},
        // The document itself is the NC service's; here only that it arrives.
        {"machine-config", 0, R"(<?xml version="1.0" encoding="utf-8"?><Machine><Manufacturer>Siemens</Manufacturer><Model>)",
         "Get machine configuration succeeded. " + peer},
    };
    QString xml;
    for (const auto& row : rows) {
        const ClientRun run = Client(QString(row.args).split(' '));
        QVERIFY2(run.exitCode == row.code && (run.out + run.err).contains(row.said), qPrintable(row.args + (": " + run.err)));
        QTRY_VERIFY2_WITH_TIMEOUT(Logged(row.logged), row.args, 20000);
        xml = run.out;
    }
    QCOMPARE(xml.count("<Axis>"), 6);
    QCOMPARE(Nc({"get", "/Channel/Parameter/r[u1,10,#2]"}).out.trimmed(), QStringLiteral("1.5\n-2.25"));
    QCOMPARE(m_host->nc()->selectedProgram(), QStringLiteral("//NC/WKS.DIR/TELMOR.WPD/PART1.MPF"));
}

void TestSiemensHarvelNet::requestFilesFromTheMeasurementApplication()
{
    const QString reqDir = ApplDir() + "/zyn/req";
    auto request = [this](const QString& line, const QString& name) {
        return Client({"request", line, "--name", name});
    };
    QCOMPARE(request("3 7 0 25 1234567.89", "W25").out, QStringLiteral("carried out\n"));
    QCOMPARE(Nc({"get", "/NC/_N_NC_GD3_ACX/TMR_VAR[26]"}).out.trimmed().toDouble(), 1234567.89);
    // The answer comes back to the client and is gone from the machine.
    QCOMPARE(request("4 7 0 25 ANS25.RES", "R25").out, QStringLiteral("carried out\n1.23457e+06\n"));
    QTRY_VERIFY_WITH_TIMEOUT(!QFile::exists(reqDir + "/ANS25.RES"), 10000);
    // G55 is frame 2 of six axes, X Y Z the digits 1 2 3 of the map.
    QCOMPARE(request("1 7 1 G55 0 0 # # # 0.01 -0.02 0.5 0", "WO").out, QStringLiteral("carried out, kept\n"));
    QCOMPARE(m_host->nc()->activeFrameValue("linShiftFine", 13), 0.5);
    QCOMPARE(QDir(reqDir).entryList({"WO.*.REC"}, QDir::Files).size(), 1);
    // The machine's no: the request stays behind as a .REP file.
    const ClientRun run = request("2 7 0 NO_SUCH_TOOL 0 0 0.04 # 1", "BAD");
    QVERIFY(run.exitCode == 1 && run.out == "failed\n");
    QCOMPARE(QDir(reqDir).entryList({"BAD.*.REP"}, QDir::Files).size(), 1);
}

void TestSiemensHarvelNet::filesBothWays()
{
    QTemporaryDir local;
    const QByteArray macro = "; probing macro\nG1 X1\nM17\n";
    WriteFile(local.path() + "/TESTMAC.SPF", macro);
    WriteFile(local.path() + "/LONGNAME.SPF", "M17\n");
    for (const char* name : {"first.pdf", "Second.PDF", "third.pdf"})
        WriteFile(local.path() + '/' + name, QByteArray("%PDF-1.4 ") + name);
    WriteFile(local.path() + "/notes.txt", "not a report");
    WriteFile(m_machine.path() + "/nc/SPF.DIR/COPYME.SPF", "M17\n");
    // A macro goes into the NC's macro folder and comes back through a
    // temporary copy; a report replaces the one before, one that is no PDF
    // is refused; a file of the plug-in's own folders is sent from where it
    // lies. Into the NC there is no second way when the service fails; a
    // local target or path is still reached by the file system. A fault of
    // the NC's file service strikes once; a rule still listed after the
    // request did not.
    const struct { const char* fault; const char* args; int code; const char* said; const char* logged; const char* reports; } rows[] = {
        {"", "upload --type macro L/TESTMAC.SPF", 0, "", ", FileType=Macro, FilePath=//NC/SPF.DIR/TESTMAC.SPF\n", ""},
        {"", "exists //NC/SPF.DIR/TESTMAC.SPF", 0, "yes\n", "", ""},
        {"", "exists //NC/SPF.DIR/NOTHERE.SPF", 0, "no\n", ", File=//NC/SPF.DIR/NOTHERE.SPF, IsExists=0\n", ""},
        {"", "download //NC/SPF.DIR/TESTMAC.SPF L/fetched.spf", 0, "", "", ""},
        {"", "download //NC/SPF.DIR/NOTHERE.SPF L/fetched.spf", 1, "File not found", "", ""},
        {"", "upload --type report L/first.pdf", 0, "", "", "first.pdf"},
        {"", "upload --type report L/Second.PDF", 0, "", "", "Second.PDF"},
        {"", "upload --type report L/notes.txt", 1, "Only support PDF report file",
         ", FileType=Report, FileName=notes.txt, ErrInfo=Only support PDF report file\n", "Second.PDF"},
        {"", "download A/report/Second.PDF L/second.pdf", 0, "", "", "Second.PDF"},
        {"move 0x81501031", "upload --type macro L/LONGNAME.SPF", 1, "File name is too long", "", ""},
        {"move 0x80000001", "upload --type report L/third.pdf", 0, "", "", "third.pdf"},
        {"exist 0x80000002", "exists A/report/third.pdf", 0, "yes\n", "", ""},
        {"copy 0x8150000B", "download //NC/SPF.DIR/COPYME.SPF L/copy.spf", 1, "Cannot copy file (0x8150000b)", "", ""},
        {"is-nc 0x80000003", "exists //NC/SPF.DIR/COPYME.SPF", 1, "Cannot check if path is NC (0x80000003)", "", ""},
    };
    for (const auto& row : rows) {
        const QStringList fault = QString(row.fault).split(' ', Qt::SkipEmptyParts);
        if (!fault.isEmpty())
            QCOMPARE(Nc({"fault", fault.at(0), "*", "--code", fault.at(1), "--times", "1"}).code, 0);
        const QStringList args = QString(row.args)
                                     .replace(" L/", ' ' + local.path() + '/')
                                     .replace(" A/", ' ' + ApplDir() + '/')
                                     .split(' ');
        const ClientRun run = Client(args);
        QVERIFY2(run.exitCode == row.code && (run.out + run.err).contains(row.said),
                 qPrintable(row.args + (": " + run.out + run.err)));
        QTRY_VERIFY2_WITH_TIMEOUT(Log().contains(row.logged), row.args, 20000);
        QCOMPARE(Nc({"fault", "list"}).out.trimmed(), QString());
        if (*row.reports)
            QCOMPARE(QDir(ApplDir() + "/report").entryList(QDir::Files), QStringList{row.reports});
        QCOMPARE(QDir(ApplDir() + "/zyn/upload").entryList(QDir::Files), QStringList());
        QTest::qWait(20); // reports one after the other must differ in their time stamps
    }
    QCOMPARE(FileBytes(m_machine.path() + "/nc/SPF.DIR/TESTMAC.SPF"), macro);
    QCOMPARE(FileBytes(local.path() + "/fetched.spf"), macro);
    QCOMPARE(FileBytes(local.path() + "/second.pdf"), QByteArray("%PDF-1.4 Second.PDF"));
    QCOMPARE(FileBytes(ApplDir() + "/report/third.pdf"), QByteArray("%PDF-1.4 third.pdf"));
    QVERIFY(!QFile::exists(m_machine.path() + "/nc/SPF.DIR/LONGNAME.SPF"));
    QTRY_COMPARE_WITH_TIMEOUT(QDir(ApplDir() + "/zyn/temp").entryList(QDir::Files).size(), 0, 20000);
}

QTEST_MAIN(TestSiemensHarvelNet)
#include "TestSiemensHarvelNet.moc"

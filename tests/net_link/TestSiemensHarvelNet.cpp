// The whole chain: the plug-in installed into a virtual machine with its
// net server enabled, started by the operator interface hosted in the test,
// and harvel-client talking to it over loopback as the measurement
// application does. What the client is told is checked against the NC.
// The axes map is in its digit form.

#include "HmiHost.h"
#include "NetLinkFixture.h"
#include "VirtualNc.h"
#include "ZynNetClientCollect.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

#include <dlfcn.h>


using namespace NetLinkFixture;

class TestSiemensHarvelNet : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void machineCallsReachTheNc();
    void requestFilesFromTheMeasurementApplication();
    void filesBothWays();
    void clientRegistryOfIpv4AndIpv6Peers();

private:
    QString ApplDir() const
    {
        return m_machine.path() + QStringLiteral("/card/oem/sinumerik/hmi/NorvaneZYN/appl");
    }
    QString Log() const;
    bool Logged(const QString& text) const { return Log().contains(text); }
    ClientRun Client(const QStringList& args) { return RunClient(m_v4, args); }
    QString NcGet(const QString& path);
    static void WriteFile(const QString& path, const QByteArray& content);
    static QByteArray ReadFile(const QString& path);
    // The registry of the plug-in that the HMI loaded: the test links no
    // copy of it, so it asks the loaded one by name.
    QList<tagClientInfo> Clients() const;

    QTemporaryDir m_machine;
    QScopedPointer<HmiHost> m_host;
    QString m_v4;
    QString m_v6;
};

void TestSiemensHarvelNet::WriteFile(const QString& path, const QByteArray& content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(content);
}

QByteArray TestSiemensHarvelNet::ReadFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

QString TestSiemensHarvelNet::Log() const
{
    return QString::fromUtf8(ReadFile(ApplDir() + QStringLiteral("/logs/SiemensHarvel.log")));
}

QString TestSiemensHarvelNet::NcGet(const QString& path)
{
    return m_host->nc()->control({QStringLiteral("get"), path}).out.trimmed();
}

QList<tagClientInfo> TestSiemensHarvelNet::Clients() const
{
    const QByteArray lib = QFile::encodeName(QFileInfo(ApplDir() + QStringLiteral("/libsiemensharvel.so")).canonicalFilePath());
    void* handle = dlopen(lib.constData(), RTLD_NOW | RTLD_NOLOAD);
    if (!handle)
        return {};
    using GetClientList = QList<tagClientInfo> (*)();
    auto get = reinterpret_cast<GetClientList>(dlsym(handle, "_ZN20CZynNetClientCollect13GetClientListEv"));
    QList<tagClientInfo> clients = get ? get() : QList<tagClientInfo>();
    dlclose(handle);
    return clients;
}

void TestSiemensHarvelNet::initTestCase()
{
    QVERIFY(m_machine.isValid());
    // "::" serves IPv4 and IPv6 clients alike; port 0 lets the library
    // take a free one.
    QVERIFY(InstallPlugin(m_machine.path(), QStringLiteral(":::0")));
    QSettings(m_machine.path() + QStringLiteral("/card/oem/sinumerik/hmi/NorvaneZYN/cfg/TMRNC.INI"), QSettings::IniFormat)
        .setValue(QStringLiteral("TMRNC/wofsaxes"), QStringLiteral("123000"));

    m_host.reset(new HmiHost);
    const QStringList problems = m_host->start(m_machine.path());
    QVERIFY2(problems.isEmpty(), qPrintable(problems.join(QLatin1Char('\n'))));
    const quint16 port = ServerPort(QFileInfo(ApplDir()).canonicalFilePath());
    QVERIFY2(port != 0, qPrintable(Log()));
    m_v4 = QStringLiteral("127.0.0.1:%1").arg(port);
    m_v6 = QStringLiteral("[::1]:%1").arg(port);
    QTRY_VERIFY_WITH_TIMEOUT(Logged(QStringLiteral("Start ZYN Net Server succeeded. Address=:::0")), 20000);
}

void TestSiemensHarvelNet::cleanupTestCase()
{
    if (m_host)
        m_host->shutdown();
    m_host.reset();
}

void TestSiemensHarvelNet::machineCallsReachTheNc()
{
    m_host->nc()->control({QStringLiteral("set"), QStringLiteral("/Channel/Parameter/r[u1,20]"), QStringLiteral("7.75")});
    WriteFile(m_machine.path() + QStringLiteral("/nc/WKS.DIR/TELMOR.WPD/PART1.MPF"), "G0 X0\nM30\n");
    // The client's words, its exit code, what it prints or says, and the
    // plug-in's log line (a pattern). The template machine has R0 to R299;
    // a bare program name is one of the configured program folder.
    const QString peer = QStringLiteral(R"(Peer=ipv4:127\.0\.0\.1:\d+)");
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
        const ClientRun run = Client(QString::fromLatin1(row.args).split(QLatin1Char(' ')));
        QVERIFY2(run.exitCode == row.code && (run.out + run.err).contains(row.said), qPrintable(row.args + (": " + run.err)));
        QTRY_VERIFY2_WITH_TIMEOUT(Log().contains(QRegularExpression(row.logged)), row.args, 20000);
        xml = run.out;
    }
    QCOMPARE(xml.count(QStringLiteral("<Axis>")), 6);
    QCOMPARE(NcGet(QStringLiteral("/Channel/Parameter/r[u1,10,#2]")), QStringLiteral("1.5\n-2.25"));
    QCOMPARE(m_host->nc()->selectedProgram(), QStringLiteral("//NC/WKS.DIR/TELMOR.WPD/PART1.MPF"));
}

void TestSiemensHarvelNet::requestFilesFromTheMeasurementApplication()
{
    const QString reqDir = ApplDir() + QStringLiteral("/zyn/req");
    auto request = [this](const QString& line, const QString& name) {
        return Client({QStringLiteral("request"), line, QStringLiteral("--name"), name});
    };
    ClientRun run = request(QStringLiteral("3 7 0 25 1234567.89"), QStringLiteral("W25"));
    QCOMPARE(run.out, QStringLiteral("carried out\n"));
    QCOMPARE(NcGet(QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_VAR[26]")).toDouble(), 1234567.89);
    // The answer comes back to the client and is gone from the machine.
    run = request(QStringLiteral("4 7 0 25 ANS25.RES"), QStringLiteral("R25"));
    QCOMPARE(run.out, QStringLiteral("carried out\n1.23457e+06\n"));
    QTRY_VERIFY_WITH_TIMEOUT(!QFile::exists(reqDir + QStringLiteral("/ANS25.RES")), 10000);
    run = request(QStringLiteral("1 7 1 G55 0 0 # # # 0.01 -0.02 0.5 0"), QStringLiteral("WO"));
    QCOMPARE(run.out, QStringLiteral("carried out, kept\n"));
    // G55 is frame 2 of six axes; the offsets are in force, not only set.
    QCOMPARE(m_host->nc()->activeFrameValue(QStringLiteral("linShiftFine"), 13), 0.5);
    QCOMPARE(m_host->nc()->activeFrameValue(QStringLiteral("linShiftFine"), 14), -0.02);
    QCOMPARE(m_host->nc()->activeFrameValue(QStringLiteral("linShiftFine"), 15), 0.01);
    QCOMPARE(QDir(reqDir).entryList({QStringLiteral("WO.*.REC")}, QDir::Files).size(), 1);
    // The machine's no: the request stays behind as a .REP file.
    run = request(QStringLiteral("2 7 0 NO_SUCH_TOOL 0 0 0.04 # 1"), QStringLiteral("BAD"));
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.out, QStringLiteral("failed\n"));
    QCOMPARE(QDir(reqDir).entryList({QStringLiteral("BAD.*.REP")}, QDir::Files).size(), 1);
    QTRY_VERIFY_WITH_TIMEOUT(Logged(QStringLiteral("ToolName=NO_SUCH_TOOL, Diameter=0.04, ErrInfo=Cannot get "
                                                   "tool number by tool name, ErrCode=-104\n")),
                             10000);
}

void TestSiemensHarvelNet::filesBothWays()
{
    QTemporaryDir local;
    const QByteArray macro = "; probing macro\nG1 X1\nM17\n";
    WriteFile(local.path() + QStringLiteral("/TESTMAC.SPF"), macro);
    WriteFile(local.path() + QStringLiteral("/LONGNAME.SPF"), "M17\n");
    for (const char* name : {"first.pdf", "Second.PDF", "third.pdf"})
        WriteFile(local.path() + QLatin1Char('/') + QLatin1String(name), QByteArray("%PDF-1.4 ") + name);
    WriteFile(local.path() + QStringLiteral("/notes.txt"), "not a report");
    WriteFile(m_machine.path() + QStringLiteral("/nc/SPF.DIR/COPYME.SPF"), "M17\n");
    // A fault of the NC's file service strikes once; a rule still listed
    // after the request did not.
    auto pending = [this] { return m_host->nc()->control({QStringLiteral("fault"), QStringLiteral("list")}).out.trimmed(); };
    // A macro goes into the NC's macro folder and comes back through a
    // temporary copy; a report replaces the one before, one that is no PDF
    // is refused; a file of the plug-in's own folders is sent from where it
    // lies. Into the NC there is no second way when the service fails; a
    // local target or path is still reached by the file system.
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
        const QStringList fault = QString::fromLatin1(row.fault).split(QLatin1Char(' '), Qt::SkipEmptyParts);
        if (!fault.isEmpty())
            QCOMPARE(m_host->nc()->control({QStringLiteral("fault"), fault.at(0), QStringLiteral("*"), QStringLiteral("--code"),
                                            fault.at(1), QStringLiteral("--times"), QStringLiteral("1")}).code, 0);
        QStringList args = QString::fromLatin1(row.args).split(QLatin1Char(' '));
        args.last().replace(QRegularExpression(QStringLiteral("^L/")), local.path() + QLatin1Char('/'));
        args.last().replace(QRegularExpression(QStringLiteral("^A/")), ApplDir() + QLatin1Char('/'));
        args[args.size() - 2].replace(QRegularExpression(QStringLiteral("^A/")), ApplDir() + QLatin1Char('/'));
        const ClientRun run = Client(args);
        QVERIFY2(run.exitCode == row.code && (run.out + run.err).contains(QLatin1String(row.said)),
                 qPrintable(QLatin1String(row.args) + QStringLiteral(": ") + run.out + run.err));
        QTRY_VERIFY2_WITH_TIMEOUT(Logged(QLatin1String(row.logged)), row.args, 20000);
        QCOMPARE(pending(), QString());
        if (*row.reports)
            QCOMPARE(QDir(ApplDir() + QStringLiteral("/report")).entryList(QDir::Files), QStringList{row.reports});
        QCOMPARE(QDir(ApplDir() + QStringLiteral("/zyn/upload")).entryList(QDir::Files), QStringList());
        QTest::qWait(20);  // reports one after the other must differ in their time stamps
    }
    QCOMPARE(ReadFile(m_machine.path() + QStringLiteral("/nc/SPF.DIR/TESTMAC.SPF")), macro);
    QCOMPARE(ReadFile(local.path() + QStringLiteral("/fetched.spf")), macro);
    QCOMPARE(ReadFile(local.path() + QStringLiteral("/second.pdf")), QByteArray("%PDF-1.4 Second.PDF"));
    QCOMPARE(ReadFile(ApplDir() + QStringLiteral("/report/third.pdf")), QByteArray("%PDF-1.4 third.pdf"));
    QVERIFY(!QFile::exists(m_machine.path() + QStringLiteral("/nc/SPF.DIR/LONGNAME.SPF")));
    QTRY_COMPARE_WITH_TIMEOUT(QDir(ApplDir() + QStringLiteral("/zyn/temp")).entryList(QDir::Files).size(), 0, 20000);
}

void TestSiemensHarvelNet::clientRegistryOfIpv4AndIpv6Peers()
{
    QSet<QString> before;
    for (const tagClientInfo& info : Clients())
        before.insert(info.peer);

    // Subscribers stay connected while the registry is looked at.
    QProcess watch4;
    QProcess watch6;
    watch4.start(BinaryDir() + QStringLiteral("/bin/harvel-client"),
                 {QStringLiteral("--server"), m_v4, QStringLiteral("watch")});
    watch6.start(BinaryDir() + QStringLiteral("/bin/harvel-client"),
                 {QStringLiteral("--server"), m_v6, QStringLiteral("watch")});
    QVERIFY(watch4.waitForStarted() && watch6.waitForStarted());
    auto newSubscribers = [&] {
        QList<tagClientInfo> clients;
        for (const tagClientInfo& info : Clients()) {
            if (!before.contains(info.peer) && info.method == QLatin1String("Subscribe"))
                clients << info;
        }
        return clients;
    };
    QTRY_COMPARE_WITH_TIMEOUT(newSubscribers().size(), 2, 30000);
    tagClientInfo v4;
    tagClientInfo v6;
    for (const tagClientInfo& info : newSubscribers())
        (info.protocol == QLatin1String("ipv6") ? v6 : v4) = info;
    QCOMPARE(v4.address, QStringLiteral("127.0.0.1"));
    QCOMPARE(v4.peer, QStringLiteral("ipv4:127.0.0.1:%1").arg(v4.port));
    QCOMPARE(v6.address, QStringLiteral("[::1]"));
    QCOMPARE(v6.peer, QStringLiteral("ipv6:[::1]:%1").arg(v6.port));
    QVERIFY(v4.id != v6.id);
    QTRY_VERIFY_WITH_TIMEOUT(Logged(QStringLiteral("ZYN Net client connected. Peer=%1, Method=Subscribe\n").arg(v6.peer)),
                             20000);

    // The same host again is another client, with a later number.
    const ClientRun run = Client({QStringLiteral("exists"), QStringLiteral("//NC/SPF.DIR/X.SPF")});
    QCOMPARE(run.exitCode, 0);
    QTRY_VERIFY_WITH_TIMEOUT(Log().contains(QRegularExpression(
                                 QStringLiteral(R"(ZYN Net client connected\. Peer=ipv4:127\.0\.0\.1:\d+, Method=CheckFileExists\n)"))),
                             20000);
    for (const tagClientInfo& info : Clients()) {
        if (info.method == QLatin1String("CheckFileExists") && !before.contains(info.peer))
            QVERIFY(info.id > qMax(v4.id, v6.id));
    }

    // Clients that vanish are reported gone and leave the registry.
    watch4.kill();
    watch6.kill();
    QTRY_COMPARE_WITH_TIMEOUT(newSubscribers().size(), 0, 60000);
    QTRY_VERIFY_WITH_TIMEOUT(Logged(QStringLiteral("ZYN Net client disconnected. Peer=%1\n").arg(v6.peer)), 20000);
    QVERIFY(Logged(QStringLiteral("ZYN Net client disconnected. Peer=%1\n").arg(v4.peer)));
}

QTEST_MAIN(TestSiemensHarvelNet)
#include "TestSiemensHarvelNet.moc"

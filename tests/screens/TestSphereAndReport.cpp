// The sphere centre cycle, the report viewer and the test screen in harvel-hmi
// as a process (their queries hold its main thread), driven through its
// control socket and, for the measurement application, through harvel-client.

#include "CtlClient.h"
#include "NetLinkFixture.h"

#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPainter>
#include <QPdfWriter>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdlib>

using namespace NetLinkFixture;

namespace {
const QString kSphere = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_FINDSPHERE[%1]");
const QString kAppl = QStringLiteral("/card/oem/sinumerik/hmi/NorvaneZYN/appl/");
} // namespace

class TestSphereAndReport : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void sphereRunAndEveryStateOfTheStateWord();
    void runOverAProgramInUse();
    void uploadedReportsInTheViewer();
    void testKeyHandsAResultToAWatcher();

private:
    CtlResult Ctl(const QStringList& args) { return CtlClient::call(m_machine.path(), args, 20000); }
    bool Hmi(const QStringList& args) { return Ctl(QStringList{"hmi"} + args).code == 0; }
    QString Read(const QString& name) { return Ctl({"hmi", "read", name}).out.trimmed(); }
    QString Get(const QString& path) { return Ctl({"nc", "get", path}).out.trimmed(); }
    bool Set(const QString& path, const QString& value) { return Ctl({"nc", "set", path, value}).code == 0; }
    bool Fault(const QString& op, const QString& path, const QString& code)
    {
        return Ctl({"nc", "fault", op, path, "--code", code, "--times", "1"}).code == 0;
    }
    // The state word as the program writes it: one change per update period
    // at most, or the subscription sees only the last.
    bool SetState(int state)
    {
        QTest::qWait(300);
        return Set(kSphere.arg(4), QString::number(state));
    }
    QJsonObject State() { return QJsonDocument::fromJson(Ctl({"hmi", "state", "--json"}).out.toUtf8()).object(); }
    QString Area() { return State().value("area").toString(); }
    QString Screen() { return State().value("screen").toString(); }
    QString Status() { return State().value("status").toArray().at(0).toString(); }
    QString Caption() { return State().value("caption").toArray().at(0).toString(); }
    bool KeyEnabled(int position)
    {
        for (const QJsonValue& v : State().value("softkeys").toObject().value("myVr").toArray())
            if (v.toObject().value("position").toInt() == position)
                return v.toObject().value("enabled").toBool();
        return false;
    }
    bool Show(int horizontalKey, const QString& screen)
    {
        return Hmi({"area", "Norvane"}) && Hmi({"key", "--menu", "myHu", "--position", QString::number(horizontalKey)})
               && QTest::qWaitFor([&] { return Screen() == screen; }, 20000);
    }
    bool Fill(const QString& field, const QString& text) { return Hmi({"focus", field}) && Hmi({"type", "--clear", text}); }
    // Presses a key that asks first, and answers the query.
    bool KeyAndAnswer(const QString& action, const QString& answer)
    {
        return Hmi({"key", action}) && QTest::qWaitFor([&] { return Screen() == "screenMessage"; }, 20000)
               && Hmi({"key", answer});
    }
    double ViewerZoom() { return Read("viewer").section("zoom: ", 1).toDouble(); }
    QByteArray File(const QString& path) const
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
    }
    QString Log() const { return QString::fromUtf8(File(m_machine.path() + kAppl + "logs/SiemensHarvel.log")); }
    static void WritePdf(const QString& path, int pages)
    {
        QPdfWriter writer(path);
        writer.setPageSize(QPageSize(QPageSize::A6));
        QPainter painter(&writer);
        for (int i = 0; i < pages; ++i) {
            painter.drawText(QRect(0, 0, writer.width(), 400), Qt::AlignCenter, QFileInfo(path).baseName());
            if (i + 1 < pages)
                writer.newPage();
        }
    }

    QTemporaryDir m_machine, m_files;
    QProcess m_hmi;
    QString m_server;
};

void TestSphereAndReport::initTestCase()
{
    QVERIFY(m_machine.isValid() && m_files.isValid());
    QTcpServer probe;
    QVERIFY(probe.listen(QHostAddress::LocalHost, 0));
    m_server = QStringLiteral("127.0.0.1:%1").arg(probe.serverPort());
    probe.close();
    const QString install = QStringLiteral("HARVEL_BUILD_DIR='%1' bash '%2' --net-server %3 '%4' >/dev/null")
                                .arg(BinaryDir(), QStringLiteral(HARVEL_INSTALL_SCRIPT), m_server, m_machine.path());
    QVERIFY(std::system(install.toLocal8Bit().constData()) == 0);
    m_hmi.start(BinaryDir() + "/bin/harvel-hmi", {"--machine", m_machine.path(), "--headless"});
    QVERIFY(m_hmi.waitForStarted(20000));
    QTRY_VERIFY_WITH_TIMEOUT(Hmi({"areas"}), 60000);
}

void TestSphereAndReport::cleanupTestCase()
{
    if (m_hmi.state() == QProcess::Running) {
        Ctl({"quit"});
        QVERIFY(m_hmi.waitForFinished(60000));
        QCOMPARE(m_hmi.exitCode(), 0);
    }
}

void TestSphereAndReport::sphereRunAndEveryStateOfTheStateWord()
{
    QVERIFY(Set(kSphere.arg(4), "0") && Show(4, "screenFindSphereCenter"));
    QCOMPARE(Caption(), QStringLiteral("NC Harvel - Find Sphere Center"));
    QVERIFY(Read("Program").startsWith("; FIND_SPHERE_CENTER\n"));
    QVERIFY(!KeyEnabled(1));

    // The run key follows the inputs: radii above 0 with a point, a work
    // offset of G54 to G57 or G500 to G599.
    const QList<QStringList> inputs{{"12.5", "0", "G54", "off"}, {"12.5", "-1", "G54", "off"}, {"1,5", "1.5", "G54", "off"},
                                    {"12.5", "1.5", "G58", "off"}, {"12.5", "1.5", "g599", "on"},
                                    {"0.001", "1.5", "G57", "on"}, {"12.5", "1.5", "G55", "on"}};
    for (const QStringList& in : inputs) {
        QVERIFY(Fill("Sphere Radius", in[0]) && Fill("Probe Radius", in[1]) && Fill("Work Offset", in[2]));
        QVERIFY2(KeyEnabled(1) == (in[3] == "on"), qPrintable(in.join(' ')));
    }
    // Nor without a program; coming back reloads the template from disk.
    QVERIFY(Fill("Program", QString()) && !KeyEnabled(1));
    QVERIFY(Show(8, "screenTest") && Show(4, "screenFindSphereCenter") && KeyEnabled(1));

    // An edit survives a declined query and is what is saved and run.
    const QString templ = m_machine.path() + kAppl + "prg/find_sphere_center.mpf";
    const QByteArray original = File(templ);
    QVERIFY(Hmi({"focus", "Program"}) && Hmi({"type", "; checked by the operator\n"}));
    QVERIFY(KeyAndAnswer("doRun", "doCancel"));
    QTRY_COMPARE_WITH_TIMEOUT(Screen(), QStringLiteral("screenFindSphereCenter"), 20000);
    QVERIFY(Read("Program").startsWith("; checked by the operator\n; FIND_SPHERE"));
    QCOMPARE(File(templ), original);

    QVERIFY(KeyAndAnswer("doRun", "doOK"));
    QTRY_COMPARE_WITH_TIMEOUT(Area(), QStringLiteral("AreaMachine"), 20000);
    // The edit's text is written as it stands, without a closing line feed.
    QCOMPARE(File(templ), "; checked by the operator\n" + original.left(original.size() - 1));
    QCOMPARE(File(m_machine.path() + "/nc/WKS.DIR/TELMOR.WPD/find_sphere_center.mpf"), File(templ));
    QVERIFY(Ctl({"nc", "program"}).out.contains("selected=//NC/WKS.DIR/TELMOR.WPD/find_sphere_center.mpf"));
    QCOMPARE(Get(kSphere.arg(1)) + ' ' + Get(kSphere.arg(2)) + ' ' + Get(kSphere.arg(3)), QStringLiteral("12.5 1.5 2"));

    // The program runs: 1 shows on the screen without bringing it up, 2
    // brings the centre to the front, the monitor's own 0 is swallowed.
    QVERIFY(SetState(1) && Set(kSphere.arg(5), "10.25") && Set(kSphere.arg(6), "-3.5") && Set(kSphere.arg(7), "42.125"));
    QTest::qWait(300);
    QCOMPARE(Area(), QStringLiteral("AreaMachine"));
    QVERIFY(SetState(2));
    QTRY_COMPARE_WITH_TIMEOUT(Area(), QStringLiteral("Norvane"), 20000);
    QCOMPARE(Screen(), QStringLiteral("screenFindSphereCenter"));
    QTRY_COMPARE_WITH_TIMEOUT(Get(kSphere.arg(4)), QStringLiteral("0"), 20000);
    QTest::qWait(400);
    QCOMPARE(Status(), QStringLiteral("The program execution finished"));
    QCOMPARE(Read("Sphere Center X") + ' ' + Read("Sphere Center Y") + ' ' + Read("Sphere Center Z"),
             QStringLiteral("10.25 -3.5 42.125"));
    QVERIFY(KeyEnabled(1));
    QTRY_COMPARE_WITH_TIMEOUT(Log().count("Execute findspherecenter program succeeded\n"), 1, 5000);

    // Any other state is shown as it is, with the centre gone; the key
    // stays off while the program runs.
    QVERIFY(SetState(1));
    QTRY_COMPARE_WITH_TIMEOUT(Status(), QStringLiteral("The program is executing"), 20000);
    QCOMPARE(Read("Sphere Center X"), QString());
    QVERIFY(!KeyEnabled(1));
    QVERIFY(SetState(3));
    QTRY_COMPARE_WITH_TIMEOUT(Status(), QString(), 20000);

    // A failed reset of the state word: the screen hears nothing, and the
    // later change away from 2 is swallowed as the 0 would have been.
    QVERIFY(Fault("write", "/NC/_N_NC_GD3_ACX/TMR_FINDSPHERE", "0x80320005") && SetState(2));
    QTRY_VERIFY_WITH_TIMEOUT(Log().contains("Set findspherecenter state failed. ErrCode=-77\n"), 20000);
    QCOMPARE(Get(kSphere.arg(4)), QStringLiteral("2"));
    QVERIFY(SetState(1));
    QTest::qWait(400);
    QCOMPARE(Status(), QString());
    // A failed read of the centre leaves the state word at 2, unreported.
    QVERIFY(Fault("read", kSphere.arg("1,7"), "0x80320002") && SetState(2));
    QTRY_VERIFY_WITH_TIMEOUT(Log().contains("Get findspherecenter result failed. ErrCode=-78\n"), 20000);
    QTest::qWait(400);
    QCOMPARE(Get(kSphere.arg(4)), QStringLiteral("2"));
    QCOMPARE(Status(), QString());
    QVERIFY(SetState(0));
}

void TestSphereAndReport::runOverAProgramInUse()
{
    // The channel holds the selected sphere program, interrupted. Without a
    // sphere radius the program, where the NC runs it, stops at once at its
    // input check, without reporting.
    QVERIFY(Set(kSphere.arg(1), "0") && Ctl({"nc", "program", "start"}).code == 0);
    QTest::qWait(300);
    Ctl({"nc", "program", "stop"});
    QVERIFY(!Ctl({"nc", "program"}).out.contains("chanStatus=0"));
    QVERIFY(Show(4, "screenFindSphereCenter") && Fill("Sphere Radius", "10") && Fill("Probe Radius", "2"));
    QVERIFY(KeyAndAnswer("doRun", "doOK"));
    QTRY_COMPARE_WITH_TIMEOUT(Status(), QStringLiteral("Run program failed. ErrInfo=Program is occupied"), 20000);
    QCOMPARE(Area(), QStringLiteral("Norvane"));
    QTRY_VERIFY_WITH_TIMEOUT(
        Log().contains("Run program failed. PrgName=find_sphere_center.mpf, ErrInfo=Program is occupied\n"), 5000);
    QCOMPARE(Get(kSphere.arg(1)), QStringLiteral("0"));
    QVERIFY(Ctl({"nc", "program", "reset"}).code == 0);
}

void TestSphereAndReport::uploadedReportsInTheViewer()
{
    const QString first = m_files.filePath("Probing_Report_A.pdf"), second = m_files.filePath("Probing_Report_B.PDF");
    WritePdf(first, 2);
    WritePdf(second, 1);

    // Arriving while another screen is shown, it is fitted when it comes up.
    QVERIFY(Show(4, "screenFindSphereCenter"));
    ClientRun run = RunClient(m_server, {"upload", "--type", "report", first});
    QVERIFY2(run.exitCode == 0, qPrintable(run.err));
    QVERIFY(Show(3, "screenReport"));
    QCOMPARE(Caption(), QStringLiteral("Probing_Report_A"));
    QVERIFY(QDateTime::fromString(State().value("caption").toArray().at(1).toString(), "MM/dd/yyyy hh:mm:ss").isValid());
    QCOMPARE(Status(), QStringLiteral("Received report file"));
    const QString reportDir = QFileInfo(m_machine.path() + kAppl + "report").canonicalFilePath();
    QVERIFY2(Read("viewer").startsWith(QStringLiteral("file: %1/Probing_Report_A.pdf\npages: 2\n").arg(reportDir)),
             qPrintable(Read("viewer")));
    const double fit = ViewerZoom();
    QVERIFY(KeyEnabled(1) && KeyEnabled(2) && KeyEnabled(3));
    QVERIFY(Hmi({"key", "resetSize"}));
    QTRY_COMPARE_WITH_TIMEOUT(ViewerZoom(), fit, 5000);

    // Each zoom key steps until it has passed its limit once.
    for (const int key : {1, 2}) {
        double zoom = fit, before = fit;
        for (int steps = 0; KeyEnabled(key) && steps < 40; ++steps) {
            before = zoom;
            QVERIFY(Hmi({"key", key == 1 ? "zoomIn" : "zoomOut"}));
            QTRY_VERIFY_WITH_TIMEOUT(qAbs(ViewerZoom() - before) > 0.01, 5000);
            zoom = ViewerZoom();
            QVERIFY(qAbs(zoom - before * (key == 1 ? 1.15 : 0.85)) < 0.05);
        }
        QVERIFY2(key == 1 ? (before <= 500.0 && zoom > 500.0) : (before >= 20.0 && zoom < 20.0),
                 qPrintable(QStringLiteral("%1 %2").arg(before).arg(zoom)));
        QVERIFY(Hmi({"key", "resetSize"}));
        QTRY_COMPARE_WITH_TIMEOUT(ViewerZoom(), fit, 5000);
        QVERIFY(KeyEnabled(1) && KeyEnabled(2));
    }

    // A second report replaces the first, on the screen and in the folder.
    run = RunClient(m_server, {"upload", "--type", "report", second});
    QVERIFY2(run.exitCode == 0, qPrintable(run.err));
    QTRY_COMPARE_WITH_TIMEOUT(Caption(), QStringLiteral("Probing_Report_B"), 20000);
    QVERIFY(Read("viewer").contains("Probing_Report_B.PDF\npages: 1\n"));
    QCOMPARE(QDir(reportDir).entryList(QDir::Files), QStringList{"Probing_Report_B.PDF"});
}

void TestSphereAndReport::testKeyHandsAResultToAWatcher()
{
    QVERIFY(QDir().mkpath(m_files.filePath("journals")));
    QProcess watch;
    watch.start(BinaryDir() + "/bin/harvel-client",
                {"--server", m_server, "watch", "--journals", m_files.filePath("journals")});
    QVERIFY(watch.waitForStarted());
    QTest::qWait(1000);
    const QByteArray result("X 1.234 Y -0.005 Z 0.5\n");
    QFile file(m_machine.path() + "/nc/WKS.DIR/TELMOR.WPD/RESULT.MPF");
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(result) == result.size() && file.flush());

    // Declined, nothing happens; accepted, one row more and the result goes.
    QVERIFY(Show(8, "screenTest"));
    QCOMPARE(Caption(), QStringLiteral("NC Harvel - Test"));
    const QString rows = Status();
    QVERIFY(KeyAndAnswer("doTriggerFileCollect", "doCancel"));
    QTRY_COMPARE_WITH_TIMEOUT(Screen(), QStringLiteral("screenTest"), 20000);
    QCOMPARE(Status(), rows);
    QCOMPARE(Get("/NC/_N_NC_GD3_ACX/TMR_FILE"), QStringLiteral("0"));
    QVERIFY(KeyAndAnswer("doTriggerFileCollect", "doOK"));
    QTRY_COMPARE_WITH_TIMEOUT(Status(), QStringLiteral("Rows %1").arg(rows.mid(5).toInt() + 1), 20000);
    QVERIFY(Read("listLog").endsWith(" | Trigger file collect succeeded"));
    QVERIFY(!Read("listLog").contains("| TST |"));

    QString out;
    QTRY_VERIFY_WITH_TIMEOUT((out += watch.readAllStandardOutput()).contains(" acknowledged"), 30000);
    const QRegularExpressionMatch m = QRegularExpression("journal Telmor\\d{14}\\.cna \\d+ saved (\\S+) acknowledged").match(out);
    QVERIFY2(m.hasMatch(), qPrintable(out));
    QCOMPARE(File(m.captured(1)), result);
    QCOMPARE(Get("/NC/_N_NC_GD3_ACX/TMR_FILE"), QStringLiteral("0"));
    // The hand-over's state shows on the report screen.
    QVERIFY(Show(3, "screenReport"));
    QCOMPARE(Status(), QStringLiteral("Waiting for NC Velmar to analyze data"));
    watch.kill();
    QVERIFY(watch.waitForFinished());
}

QTEST_MAIN(TestSphereAndReport)
#include "TestSphereAndReport.moc"

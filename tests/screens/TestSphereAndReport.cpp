// The sphere centre cycle, the report viewer and the test screen in harvel-hmi as a process (their queries hold
// its main thread), driven through its control socket and, for the measurement application, through harvel-client.

#include "HmiMachine.h"

#include <QPainter>
#include <QPdfWriter>
#include <QtTest>

using namespace NetLinkFixture;

namespace {
const QString kSphere = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_FINDSPHERE[%1]");
} // namespace

class TestSphereAndReport : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(m_files.isValid() && m.Install() && m.Start()); }
    void cleanupTestCase() { m.Stop(); }

    void sphereRunAndEveryStateOfTheStateWord();
    void uploadedReportsInTheViewer();
    void testKeyHandsAResultToAWatcher();

private:
    bool Set(const QString& path, const QString& value) { return m.Ok({"nc", "set", path, value}); }
    // The state word as the program writes it: one change per update period at most, or the subscription sees only
    // the last.
    bool SetState(int state)
    {
        QTest::qWait(300);
        return Set(kSphere.arg(4), QString::number(state));
    }
    double ViewerZoom() { return m.Read("viewer").section("zoom: ", 1).toDouble(); }
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

    HmiMachine m;
    QTemporaryDir m_files;
};

void TestSphereAndReport::sphereRunAndEveryStateOfTheStateWord()
{
    QVERIFY(Set(kSphere.arg(4), "0") && m.Show(4, "screenFindSphereCenter") && !m.KeyEnabled(1));
    QCOMPARE(m.Caption(), QStringLiteral("NC Harvel - Find Sphere Center"));
    // The run key follows the inputs: radii above 0 with a point, a work offset of G54 to G57 or G500 to G599.
    const QList<QStringList> inputs{{"12.5", "0", "G54", "off"},   {"12.5", "-1", "G54", "off"},
                                    {"1,5", "1.5", "G54", "off"},  {"12.5", "1.5", "G58", "off"},
                                    {"12.5", "1.5", "g599", "on"}, {"0.001", "1.5", "G57", "on"},
                                    {"12.5", "1.5", "G55", "on"}};
    for (const QStringList& in : inputs) {
        QVERIFY(m.Fill("Sphere Radius", in[0]) && m.Fill("Probe Radius", in[1]) && m.Fill("Work Offset", in[2]));
        QVERIFY2(m.KeyEnabled(1) == (in[3] == "on"), qPrintable(in.join(' ')));
    }
    // Nor without a program; coming back reloads the template from disk.
    QVERIFY(m.Fill("Program", QString()) && !m.KeyEnabled(1));
    QVERIFY(m.Show(8, "screenTest") && m.Show(4, "screenFindSphereCenter") && m.KeyEnabled(1));
    // An edit survives a declined query and is what is saved and run.
    const QString templ = m.Appl("prg/find_sphere_center.mpf");
    const QByteArray original = FileBytes(templ);
    QVERIFY(m.Hmi({"focus", "Program"}) && m.Hmi({"type", "; checked by the operator\n"}) && m.KeyAndAnswer("doRun", "doCancel"));
    QTRY_COMPARE_WITH_TIMEOUT(m.Screen(), QStringLiteral("screenFindSphereCenter"), 20000);
    QVERIFY(m.Read("Program").startsWith("; checked by the operator\n; FIND_SPHERE"));
    QCOMPARE(FileBytes(templ), original);

    QVERIFY(m.KeyAndAnswer("doRun", "doOK"));
    QTRY_COMPARE_WITH_TIMEOUT(m.Area(), QStringLiteral("AreaMachine"), 20000);
    // The edit's text is written as it stands, without a closing line feed.
    QCOMPARE(FileBytes(templ), "; checked by the operator\n" + original.left(original.size() - 1));
    QCOMPARE(FileBytes(m.Path("nc/WKS.DIR/TELMOR.WPD/find_sphere_center.mpf")), FileBytes(templ));
    QVERIFY(m.Ctl({"nc", "program"}).out.contains("selected=//NC/WKS.DIR/TELMOR.WPD/find_sphere_center.mpf"));
    QCOMPARE(m.Get(kSphere.arg(1)) + ' ' + m.Get(kSphere.arg(2)) + ' ' + m.Get(kSphere.arg(3)), QStringLiteral("12.5 1.5 2"));
    // The program runs: 1 shows on the screen without bringing it up, 2 brings the centre to the front, the
    // monitor's own 0 is swallowed.
    QVERIFY(SetState(1) && Set(kSphere.arg(5), "10.25") && Set(kSphere.arg(6), "-3.5") && Set(kSphere.arg(7), "42.125"));
    QTest::qWait(300);
    QVERIFY(m.Area() == "AreaMachine" && SetState(2));
    QTRY_COMPARE_WITH_TIMEOUT(m.Area() + ' ' + m.Screen(), QStringLiteral("Norvane screenFindSphereCenter"), 20000);
    QTRY_COMPARE_WITH_TIMEOUT(m.Get(kSphere.arg(4)), QStringLiteral("0"), 20000);
    QTest::qWait(400);
    QCOMPARE(m.Status(), QStringLiteral("The program execution finished"));
    QCOMPARE(m.Read("Sphere Center X") + ' ' + m.Read("Sphere Center Y") + ' ' + m.Read("Sphere Center Z") + ' '
                 + QString::number(m.KeyEnabled(1)), QStringLiteral("10.25 -3.5 42.125 1"));
    QTRY_COMPARE_WITH_TIMEOUT(m.Log().count("Execute findspherecenter program succeeded\n"), 1, 5000);
    // Any other state is shown as it is, with the centre gone; the key stays off while the program runs.
    QVERIFY(SetState(1));
    QTRY_COMPARE_WITH_TIMEOUT(m.Status(), QStringLiteral("The program is executing"), 20000);
    QVERIFY(m.Read("Sphere Center X").isEmpty() && !m.KeyEnabled(1) && SetState(3));
    QTRY_COMPARE_WITH_TIMEOUT(m.Status(), QString(), 20000);
    // A failed reset of the state word: the screen hears nothing, and the later change away from 2 is swallowed as
    // the 0 would have been.
    QVERIFY(m.Ok({"nc", "fault", "write", "/NC/_N_NC_GD3_ACX/TMR_FINDSPHERE", "--code", "0x80320005", "--times", "1"}) && SetState(2));
    QTRY_VERIFY_WITH_TIMEOUT(m.Log().contains("Set findspherecenter state failed. ErrCode=-77\n"), 20000);
    QVERIFY(m.Get(kSphere.arg(4)) == "2" && SetState(1));
    QTest::qWait(400);
    QCOMPARE(m.Status(), QString());
    // A failed read of the centre leaves the state word at 2, unreported.
    QVERIFY(m.Ok({"nc", "fault", "read", kSphere.arg("1,7"), "--code", "0x80320002", "--times", "1"}) && SetState(2));
    QTRY_VERIFY_WITH_TIMEOUT(m.Log().contains("Get findspherecenter result failed. ErrCode=-78\n"), 20000);
    QTest::qWait(400);
    QVERIFY(m.Get(kSphere.arg(4)) == "2" && m.Status().isEmpty() && SetState(0));
    // The channel holds the selected sphere program, interrupted. Without a sphere radius the program, where the
    // NC runs it, stops at once at its input check, without reporting.
    QVERIFY(Set(kSphere.arg(1), "0") && m.Ok({"nc", "program", "start"}));
    QTest::qWait(300);
    m.Ctl({"nc", "program", "stop"});
    QVERIFY(!m.Ctl({"nc", "program"}).out.contains("chanStatus=0"));
    QVERIFY(m.Show(4, "screenFindSphereCenter") && m.Fill("Sphere Radius", "10") && m.Fill("Probe Radius", "2")
            && m.KeyAndAnswer("doRun", "doOK"));
    QTRY_COMPARE_WITH_TIMEOUT(m.Status(), QStringLiteral("Run program failed. ErrInfo=Program is occupied"), 20000);
    QTRY_VERIFY_WITH_TIMEOUT(m.Log().contains("Run program failed. PrgName=find_sphere_center.mpf, ErrInfo=Program is occupied\n"), 5000);
    QVERIFY(m.Area() == "Norvane" && m.Get(kSphere.arg(1)) == "0" && m.Ok({"nc", "program", "reset"}));
}

void TestSphereAndReport::uploadedReportsInTheViewer()
{
    const QString first = m_files.filePath("Probing_Report_A.pdf"), second = m_files.filePath("Probing_Report_B.PDF");
    WritePdf(first, 2);
    WritePdf(second, 1);
    // Arriving while another screen is shown, it is fitted when it comes up.
    QVERIFY(m.Show(4, "screenFindSphereCenter"));
    QCOMPARE(RunClient(m.server, {"upload", "--type", "report", first}).exitCode, 0);
    QVERIFY(m.Show(3, "screenReport"));
    QCOMPARE(m.Caption(), QStringLiteral("Probing_Report_A"));
    QVERIFY(QDateTime::fromString(m.State().value("caption").toArray().at(1).toString(), "MM/dd/yyyy hh:mm:ss").isValid());
    QCOMPARE(m.Status(), QStringLiteral("Received report file"));
    const QString reportDir = QFileInfo(m.Appl("report")).canonicalFilePath();
    QVERIFY2(m.Read("viewer").startsWith(QStringLiteral("file: %1/Probing_Report_A.pdf\npages: 2\n").arg(reportDir)),
             qPrintable(m.Read("viewer")));
    const double fit = ViewerZoom();
    QVERIFY(m.KeyEnabled(3) && m.Hmi({"key", "resetSize"}));
    QTRY_COMPARE_WITH_TIMEOUT(ViewerZoom(), fit, 5000);
    // Each zoom key steps until it has passed its limit once.
    for (const int key : {1, 2}) {
        double zoom = fit, before = fit;
        for (int steps = 0; m.KeyEnabled(key) && steps < 40; ++steps) {
            before = zoom;
            QVERIFY(m.Hmi({"key", key == 1 ? "zoomIn" : "zoomOut"}));
            QTRY_VERIFY_WITH_TIMEOUT(qAbs(ViewerZoom() - before) > 0.01, 5000);
            zoom = ViewerZoom();
            QVERIFY(qAbs(zoom - before * (key == 1 ? 1.15 : 0.85)) < 0.05);
        }
        QVERIFY2(key == 1 ? (before <= 500.0 && zoom > 500.0) : (before >= 20.0 && zoom < 20.0),
                 qPrintable(QStringLiteral("%1 %2").arg(before).arg(zoom)));
        QVERIFY(m.Hmi({"key", "resetSize"}));
        QTRY_COMPARE_WITH_TIMEOUT(ViewerZoom(), fit, 5000);
        QVERIFY(m.KeyEnabled(1) && m.KeyEnabled(2));
    }
    // A second report replaces the first, on the screen and in the folder.
    QCOMPARE(RunClient(m.server, {"upload", "--type", "report", second}).exitCode, 0);
    QTRY_COMPARE_WITH_TIMEOUT(m.Caption(), QStringLiteral("Probing_Report_B"), 20000);
    QVERIFY(m.Read("viewer").contains("Probing_Report_B.PDF\npages: 1\n"));
    QCOMPARE(QDir(reportDir).entryList(QDir::Files), QStringList{"Probing_Report_B.PDF"});
}

void TestSphereAndReport::testKeyHandsAResultToAWatcher()
{
    QVERIFY(QDir().mkpath(m_files.filePath("journals")));
    QProcess watch;
    watch.start(BinaryDir() + "/bin/harvel-client",
                {"--server", m.server, "watch", "--journals", m_files.filePath("journals")});
    QVERIFY(watch.waitForStarted());
    QTest::qWait(1000);
    const QByteArray result("X 1.234 Y -0.005 Z 0.5\n");
    QFile file(m.Path("nc/WKS.DIR/TELMOR.WPD/RESULT.MPF"));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(result) == result.size() && file.flush());
    // Declined, nothing happens; accepted, one row more and the result goes.
    QVERIFY(m.Show(8, "screenTest"));
    QCOMPARE(m.Caption(), QStringLiteral("NC Harvel - Test"));
    const QString rows = m.Status();
    QVERIFY(m.KeyAndAnswer("doTriggerFileCollect", "doCancel"));
    QTRY_COMPARE_WITH_TIMEOUT(m.Screen(), QStringLiteral("screenTest"), 20000);
    QCOMPARE(m.Status(), rows);
    QVERIFY(m.KeyAndAnswer("doTriggerFileCollect", "doOK"));
    QTRY_COMPARE_WITH_TIMEOUT(m.Status(), QStringLiteral("Rows %1").arg(rows.mid(5).toInt() + 1), 20000);
    const QString listed = m.Read("listLog");
    QVERIFY(listed.endsWith(" | Trigger file collect succeeded") && !listed.contains("| TST |"));

    QString out;
    QTRY_VERIFY_WITH_TIMEOUT((out += watch.readAllStandardOutput()).contains(" acknowledged"), 30000);
    const QRegularExpressionMatch match =
        QRegularExpression("journal Telmor\\d{14}\\.cna \\d+ saved (\\S+) acknowledged").match(out);
    QVERIFY2(match.hasMatch(), qPrintable(out));
    QCOMPARE(FileBytes(match.captured(1)), result);
    QCOMPARE(m.Get("/NC/_N_NC_GD3_ACX/TMR_FILE"), QStringLiteral("0"));
    // The hand-over's state shows on the report screen.
    QVERIFY(m.Show(3, "screenReport"));
    QCOMPARE(m.Status(), QStringLiteral("Waiting for NC Velmar to analyze data"));
    watch.kill();
    watch.waitForFinished();
}

QTEST_MAIN(TestSphereAndReport)
#include "TestSphereAndReport.moc"

// The sphere centre cycle, the report viewer and the test screen as the
// operator meets them: harvel-hmi runs the installed plug-in with its net
// server as a process of its own (the queries of the run and the trigger
// keys hold its main thread), the test drives the panel and the NC through
// the control socket and the measurement application through harvel-client.

#include "CtlClient.h"
#include "NetLinkFixture.h"

#include <QFile>
#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPainter>
#include <QPdfWriter>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdlib>

using namespace NetLinkFixture;

namespace {
const QString kSphere = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_FINDSPHERE[%1]");
const QString kAppl = QStringLiteral("/card/oem/sinumerik/hmi/NorvaneZYN/appl");
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
    CtlResult Hmi(const QStringList& args) { return Ctl(QStringList{QStringLiteral("hmi")} + args); }
    QString Read(const QString& name) { return Hmi({QStringLiteral("read"), name}).out.trimmed(); }
    QString Get(const QString& path) { return Ctl({QStringLiteral("nc"), QStringLiteral("get"), path}).out.trimmed(); }
    bool Set(const QString& path, const QString& value)
    {
        return Ctl({QStringLiteral("nc"), QStringLiteral("set"), path, value}).code == 0;
    }
    // The state word as the program writes it: one change per update period
    // at most, or the subscription sees only the last.
    bool SetState(int state)
    {
        QTest::qWait(300);
        return Set(kSphere.arg(4), QString::number(state));
    }
    QJsonObject State()
    {
        return QJsonDocument::fromJson(Hmi({QStringLiteral("state"), QStringLiteral("--json")}).out.toUtf8()).object();
    }
    QString Screen() { return State().value(QStringLiteral("screen")).toString(); }
    QString Status() { return State().value(QStringLiteral("status")).toArray().at(0).toString(); }
    bool KeyEnabled(int position);
    bool Show(int horizontalKey, const QString& screen);
    bool Fill(const QString& field, const QString& text)
    {
        return Hmi({QStringLiteral("focus"), field}).code == 0
               && Hmi({QStringLiteral("type"), QStringLiteral("--clear"), text}).code == 0;
    }
    // Presses the key that asks first, and answers the query.
    bool KeyAndAnswer(const QString& action, const QString& answer);
    double ViewerZoom();
    QString Log() const;
    QString ApplFile(const QString& name) const { return m_machine.path() + kAppl + QLatin1Char('/') + name; }
    void WritePdf(const QString& path, int pages);

    QTemporaryDir m_machine;
    QTemporaryDir m_files;
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
    m_hmi.start(BinaryDir() + QStringLiteral("/bin/harvel-hmi"),
                {QStringLiteral("--machine"), m_machine.path(), QStringLiteral("--headless")});
    QVERIFY(m_hmi.waitForStarted(20000));
    QTRY_VERIFY_WITH_TIMEOUT(Hmi({QStringLiteral("areas")}).code == 0, 60000);
    QCOMPARE(Hmi({QStringLiteral("area"), QStringLiteral("Norvane")}).code, 0);
}

void TestSphereAndReport::cleanupTestCase()
{
    if (m_hmi.state() == QProcess::Running) {
        Ctl({QStringLiteral("quit")});
        QVERIFY(m_hmi.waitForFinished(60000));
        QCOMPARE(m_hmi.exitCode(), 0);
    }
}

bool TestSphereAndReport::KeyEnabled(int position)
{
    const QJsonArray keys = State().value(QStringLiteral("softkeys")).toObject().value(QStringLiteral("myVr")).toArray();
    for (const QJsonValue& v : keys)
        if (v.toObject().value(QStringLiteral("position")).toInt() == position)
            return v.toObject().value(QStringLiteral("enabled")).toBool();
    return false;
}

bool TestSphereAndReport::Show(int horizontalKey, const QString& screen)
{
    if (Hmi({QStringLiteral("area"), QStringLiteral("Norvane")}).code != 0
        || Hmi({QStringLiteral("key"), QStringLiteral("--menu"), QStringLiteral("myHu"), QStringLiteral("--position"),
             QString::number(horizontalKey)}).code != 0)
        return false;
    return QTest::qWaitFor([&] { return Screen() == screen; }, 20000);
}

bool TestSphereAndReport::KeyAndAnswer(const QString& action, const QString& answer)
{
    if (Hmi({QStringLiteral("key"), action}).code != 0)
        return false;
    return QTest::qWaitFor([&] { return Screen() == QLatin1String("screenMessage"); }, 20000)
           && Hmi({QStringLiteral("key"), answer}).code == 0;
}

double TestSphereAndReport::ViewerZoom()
{
    const QRegularExpressionMatch m =
        QRegularExpression(QStringLiteral("^zoom: ([0-9.]+)$"), QRegularExpression::MultilineOption).match(Read(QStringLiteral("viewer")));
    return m.hasMatch() ? m.captured(1).toDouble() : -1.0;
}

QString TestSphereAndReport::Log() const
{
    QFile log(ApplFile(QStringLiteral("logs/SiemensHarvel.log")));
    return log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll()) : QString();
}

void TestSphereAndReport::WritePdf(const QString& path, int pages)
{
    QPdfWriter writer(path);
    writer.setPageSize(QPageSize(QPageSize::A6));
    QPainter painter(&writer);
    for (int i = 0; i < pages; ++i) {
        if (i > 0)
            writer.newPage();
        painter.drawText(QRect(0, 0, writer.width(), writer.height() / 4), Qt::AlignCenter,
                         QStringLiteral("%1, page %2").arg(QFileInfo(path).baseName()).arg(i + 1));
    }
}

void TestSphereAndReport::sphereRunAndEveryStateOfTheStateWord()
{
    QVERIFY(Set(kSphere.arg(4), QStringLiteral("0")));
    QVERIFY(Show(4, QStringLiteral("screenFindSphereCenter")));
    QCOMPARE(State().value(QStringLiteral("caption")).toArray(), QJsonArray{QStringLiteral("NC Harvel - Find Sphere Center")});
    QVERIFY(Read(QStringLiteral("Program")).startsWith(QStringLiteral("; FIND_SPHERE_CENTER\n")));
    QVERIFY(!KeyEnabled(1));

    // The run key follows the inputs: radii above 0 with a point, a work
    // offset of G54 to G57 or G500 to G599.
    const struct { const char* sphere; const char* probe; const char* offset; bool run; } inputs[] = {
        {"12.5", "0", "G54", false},  {"12.5", "-1", "G54", false}, {"1,5", "1.5", "G54", false},
        {"12.5", "1.5", "G58", false}, {"12.5", "1.5", "g599", true}, {"0.001", "1.5", "G57", true},
        {"12.5", "1.5", "G55", true}};
    for (const auto& in : inputs) {
        QVERIFY(Fill(QStringLiteral("Sphere Radius"), QLatin1String(in.sphere)));
        QVERIFY(Fill(QStringLiteral("Probe Radius"), QLatin1String(in.probe)));
        QVERIFY(Fill(QStringLiteral("Work Offset"), QLatin1String(in.offset)));
        QVERIFY2(KeyEnabled(1) == in.run, in.offset);
    }
    // Nor without a program; coming back reloads the template from disk.
    QVERIFY(Fill(QStringLiteral("Program"), QString()));
    QVERIFY(!KeyEnabled(1));
    QVERIFY(Show(8, QStringLiteral("screenTest")));
    QVERIFY(Show(4, QStringLiteral("screenFindSphereCenter")));
    QVERIFY(KeyEnabled(1));

    // An edit survives a declined query and is what is saved and run.
    QFile templ(ApplFile(QStringLiteral("prg/find_sphere_center.mpf")));
    QVERIFY(templ.open(QIODevice::ReadOnly));
    const QByteArray original = templ.readAll();
    templ.close();
    QVERIFY(Hmi({QStringLiteral("focus"), QStringLiteral("Program")}).code == 0);
    QVERIFY(Hmi({QStringLiteral("type"), QStringLiteral("; checked by the operator\n")}).code == 0);
    QVERIFY(KeyAndAnswer(QStringLiteral("doRun"), QStringLiteral("doCancel")));
    QTRY_COMPARE_WITH_TIMEOUT(Screen(), QStringLiteral("screenFindSphereCenter"), 20000);
    QVERIFY(Read(QStringLiteral("Program")).startsWith(QStringLiteral("; checked by the operator\n; FIND_SPHERE")));
    QVERIFY(templ.open(QIODevice::ReadOnly));
    QCOMPARE(templ.readAll(), original);
    templ.close();

    QVERIFY(KeyAndAnswer(QStringLiteral("doRun"), QStringLiteral("doOK")));
    QTRY_COMPARE_WITH_TIMEOUT(State().value(QStringLiteral("area")).toString(), QStringLiteral("AreaMachine"), 20000);
    QVERIFY(templ.open(QIODevice::ReadOnly));
    const QByteArray saved = templ.readAll();
    // The edit's text is written as it stands, without a closing line feed.
    QCOMPARE(saved, "; checked by the operator\n" + original.left(original.size() - 1));
    QFile copy(m_machine.path() + QStringLiteral("/nc/WKS.DIR/TELMOR.WPD/find_sphere_center.mpf"));
    QVERIFY(copy.open(QIODevice::ReadOnly));
    QCOMPARE(copy.readAll(), saved);
    QVERIFY(Ctl({QStringLiteral("nc"), QStringLiteral("program")}).out.contains(
        QStringLiteral("selected=//NC/WKS.DIR/TELMOR.WPD/find_sphere_center.mpf")));
    QCOMPARE(Get(kSphere.arg(1)) + Get(kSphere.arg(2)) + Get(kSphere.arg(3)), QStringLiteral("12.51.52"));

    // The program runs: 1 shows on the screen without bringing it up, 2
    // brings the centre to the front, the monitor's own 0 is swallowed.
    QVERIFY(SetState(1));
    QTest::qWait(300);
    QCOMPARE(State().value(QStringLiteral("area")).toString(), QStringLiteral("AreaMachine"));
    QVERIFY(Set(kSphere.arg(5), QStringLiteral("10.25")) && Set(kSphere.arg(6), QStringLiteral("-3.5"))
            && Set(kSphere.arg(7), QStringLiteral("42.125")));
    QVERIFY(SetState(2));
    QTRY_COMPARE_WITH_TIMEOUT(State().value(QStringLiteral("area")).toString(), QStringLiteral("Norvane"), 20000);
    QCOMPARE(Screen(), QStringLiteral("screenFindSphereCenter"));
    QTRY_COMPARE_WITH_TIMEOUT(Get(kSphere.arg(4)), QStringLiteral("0"), 20000);
    QTest::qWait(400);
    QCOMPARE(Status(), QStringLiteral("The program execution finished"));
    const QStringList centre{QStringLiteral("Sphere Center X"), QStringLiteral("Sphere Center Y"),
                             QStringLiteral("Sphere Center Z")};
    QCOMPARE(Read(centre[0]) + ' ' + Read(centre[1]) + ' ' + Read(centre[2]), QStringLiteral("10.25 -3.5 42.125"));
    QVERIFY(KeyEnabled(1));
    QTRY_COMPARE_WITH_TIMEOUT(Log().count(QStringLiteral("Execute findspherecenter program succeeded\n")), 1, 5000);

    // Any other state is shown as it is, with the centre gone; the key
    // stays off while the program runs.
    QVERIFY(SetState(1));
    QTRY_COMPARE_WITH_TIMEOUT(Status(), QStringLiteral("The program is executing"), 20000);
    QCOMPARE(Read(centre[0]), QString());
    QVERIFY(!KeyEnabled(1));
    QVERIFY(SetState(3));
    QTRY_COMPARE_WITH_TIMEOUT(Status(), QString(), 20000);

    // A failed reset of the state word: the screen hears nothing, and the
    // later change away from 2 is swallowed as the 0 would have been.
    QVERIFY(Ctl({QStringLiteral("nc"), QStringLiteral("fault"), QStringLiteral("write"), kSphere.left(kSphere.indexOf('[')),
                 QStringLiteral("--code"), QStringLiteral("0x80320005"), QStringLiteral("--times"), QStringLiteral("1")}).code == 0);
    QVERIFY(SetState(2));
    QTRY_VERIFY_WITH_TIMEOUT(Log().contains(QStringLiteral("Set findspherecenter state failed. ErrCode=-77\n")), 20000);
    QCOMPARE(Get(kSphere.arg(4)), QStringLiteral("2"));
    QVERIFY(SetState(1));
    QTest::qWait(400);
    QCOMPARE(Status(), QString());
    // A notification that carries an error is logged and nothing else; a
    // failed read of the centre leaves the state word at 2, unreported.
    const auto fault = [this](const QString& pattern) {
        return Ctl({QStringLiteral("nc"), QStringLiteral("fault"), QStringLiteral("read"), pattern, QStringLiteral("--code"),
                    QStringLiteral("0x80320002"), QStringLiteral("--times"), QStringLiteral("1")}).code == 0;
    };
    QVERIFY(fault(kSphere.arg(4)));
    QVERIFY(SetState(3));
    QTRY_VERIFY_WITH_TIMEOUT(QRegularExpression(QStringLiteral("Get findspherecenter state failed\\. HandleID=\\d+, "
                                                               "VarName=TMR_FINDSPHERE\\[4\\], ErrCode=0x80320002\n"))
                                 .match(Log()).hasMatch(),
                             20000);
    QVERIFY(fault(kSphere.arg(QStringLiteral("1,7"))));
    QVERIFY(SetState(2));
    QTRY_VERIFY_WITH_TIMEOUT(Log().contains(QStringLiteral("Get findspherecenter result failed. ErrCode=-78\n")), 20000);
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
    QVERIFY(Set(kSphere.arg(1), QStringLiteral("0")));
    QVERIFY(Ctl({QStringLiteral("nc"), QStringLiteral("program"), QStringLiteral("start")}).code == 0);
    QTest::qWait(300);
    Ctl({QStringLiteral("nc"), QStringLiteral("program"), QStringLiteral("stop")});
    QVERIFY(!Ctl({QStringLiteral("nc"), QStringLiteral("program")}).out.contains(QStringLiteral("chanStatus=0")));
    QVERIFY(Show(4, QStringLiteral("screenFindSphereCenter")));
    QVERIFY(Fill(QStringLiteral("Sphere Radius"), QStringLiteral("10")));
    QVERIFY(Fill(QStringLiteral("Probe Radius"), QStringLiteral("2")));
    QVERIFY(KeyAndAnswer(QStringLiteral("doRun"), QStringLiteral("doOK")));
    QTRY_COMPARE_WITH_TIMEOUT(Status(), QStringLiteral("Run program failed. ErrInfo=Program is occupied"), 20000);
    QCOMPARE(State().value(QStringLiteral("area")).toString(), QStringLiteral("Norvane"));
    QTRY_VERIFY_WITH_TIMEOUT(
        Log().contains(QStringLiteral("Run program failed. PrgName=find_sphere_center.mpf, ErrInfo=Program is occupied\n")),
        5000);
    QCOMPARE(Get(kSphere.arg(1)), QStringLiteral("0"));
    QVERIFY(Ctl({QStringLiteral("nc"), QStringLiteral("program"), QStringLiteral("reset")}).code == 0);
}

void TestSphereAndReport::uploadedReportsInTheViewer()
{
    const QString first = m_files.filePath(QStringLiteral("Probing_Report_A.pdf"));
    const QString second = m_files.filePath(QStringLiteral("Probing_Report_B.PDF"));
    WritePdf(first, 2);
    WritePdf(second, 1);

    // Arriving while another screen is shown, it is fitted when it comes up.
    QVERIFY(Show(4, QStringLiteral("screenFindSphereCenter")));
    ClientRun run = RunClient(m_server, {QStringLiteral("upload"), QStringLiteral("--type"), QStringLiteral("report"), first});
    QVERIFY2(run.exitCode == 0, qPrintable(run.err));
    QVERIFY(Show(3, QStringLiteral("screenReport")));
    QJsonArray caption = State().value(QStringLiteral("caption")).toArray();
    QCOMPARE(caption.at(0).toString(), QStringLiteral("Probing_Report_A"));
    QVERIFY(QDateTime::fromString(caption.at(1).toString(), QStringLiteral("MM/dd/yyyy hh:mm:ss")).isValid());
    QCOMPARE(Status(), QStringLiteral("Received report file"));
    const QString viewer = Read(QStringLiteral("viewer"));
    QVERIFY2(viewer.startsWith(QStringLiteral("file: %1/report/Probing_Report_A.pdf\npages: 2\n")
                                   .arg(QFileInfo(ApplFile(QString())).canonicalFilePath())),
             qPrintable(viewer));
    const double fit = ViewerZoom();
    QVERIFY(KeyEnabled(1) && KeyEnabled(2) && KeyEnabled(3));
    QVERIFY(Hmi({QStringLiteral("key"), QStringLiteral("resetSize")}).code == 0);
    QTRY_COMPARE_WITH_TIMEOUT(ViewerZoom(), fit, 5000);

    // Each zoom key steps until it has passed its limit once.
    for (const auto& way : {qMakePair(QStringLiteral("zoomIn"), 1), qMakePair(QStringLiteral("zoomOut"), 2)}) {
        double zoom = fit;
        double before = fit;
        int steps = 0;
        while (KeyEnabled(way.second) && steps < 40) {
            before = zoom;
            QVERIFY(Hmi({QStringLiteral("key"), way.first}).code == 0);
            QTRY_VERIFY_WITH_TIMEOUT(qAbs(ViewerZoom() - before) > 0.01, 5000);
            zoom = ViewerZoom();
            QVERIFY(qAbs(zoom - before * (way.second == 1 ? 1.15 : 0.85)) < 0.05);
            ++steps;
        }
        QVERIFY2(way.second == 1 ? (before <= 500.0 && zoom > 500.0) : (before >= 20.0 && zoom < 20.0),
                 qPrintable(QStringLiteral("%1 %2").arg(before).arg(zoom)));
        QVERIFY(Hmi({QStringLiteral("key"), QStringLiteral("resetSize")}).code == 0);
        QTRY_COMPARE_WITH_TIMEOUT(ViewerZoom(), fit, 5000);
        QVERIFY(KeyEnabled(1) && KeyEnabled(2));
    }

    // A second report replaces the first, on the screen and in the folder;
    // what is no PDF is refused and the shown one stays.
    run = RunClient(m_server, {QStringLiteral("upload"), QStringLiteral("--type"), QStringLiteral("report"), second});
    QVERIFY2(run.exitCode == 0, qPrintable(run.err));
    QTRY_COMPARE_WITH_TIMEOUT(State().value(QStringLiteral("caption")).toArray().at(0).toString(),
                              QStringLiteral("Probing_Report_B"), 20000);
    QVERIFY(Read(QStringLiteral("viewer")).contains(QStringLiteral("Probing_Report_B.PDF\npages: 1\n")));
    QCOMPARE(QDir(ApplFile(QStringLiteral("report"))).entryList(QDir::Files), QStringList{QStringLiteral("Probing_Report_B.PDF")});
    const QString notes = m_files.filePath(QStringLiteral("notes.txt"));
    QFile(notes).open(QIODevice::WriteOnly);
    run = RunClient(m_server, {QStringLiteral("upload"), QStringLiteral("--type"), QStringLiteral("report"), notes});
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.err.contains(QStringLiteral("Only support PDF report file")), qPrintable(run.err));
    QVERIFY(Read(QStringLiteral("viewer")).contains(QStringLiteral("Probing_Report_B.PDF\npages: 1\n")));
}

void TestSphereAndReport::testKeyHandsAResultToAWatcher()
{
    const QString journals = m_files.filePath(QStringLiteral("journals"));
    QVERIFY(QDir().mkpath(journals));
    QProcess watch;
    watch.start(BinaryDir() + QStringLiteral("/bin/harvel-client"),
                {QStringLiteral("--server"), m_server, QStringLiteral("watch"), QStringLiteral("--journals"), journals});
    QVERIFY(watch.waitForStarted());
    QTest::qWait(1000);
    const QByteArray result("X 1.234 Y -0.005 Z 0.5\n");
    QFile file(m_machine.path() + QStringLiteral("/nc/WKS.DIR/TELMOR.WPD/RESULT.MPF"));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(result) == result.size());
    file.close();

    QVERIFY(Show(8, QStringLiteral("screenTest")));
    QCOMPARE(State().value(QStringLiteral("caption")).toArray(), QJsonArray{QStringLiteral("NC Harvel - Test")});
    const QString rows = Status();
    QVERIFY(KeyAndAnswer(QStringLiteral("doTriggerFileCollect"), QStringLiteral("doCancel")));
    QTRY_COMPARE_WITH_TIMEOUT(Screen(), QStringLiteral("screenTest"), 20000);
    QCOMPARE(Status(), rows);
    QCOMPARE(Get(QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_FILE")), QStringLiteral("0"));

    QVERIFY(KeyAndAnswer(QStringLiteral("doTriggerFileCollect"), QStringLiteral("doOK")));
    QTRY_COMPARE_WITH_TIMEOUT(Status(), QStringLiteral("Rows %1").arg(rows.mid(5).toInt() + 1), 20000);
    QVERIFY(Read(QStringLiteral("listLog")).endsWith(QStringLiteral(" | Trigger file collect succeeded")));
    QVERIFY(!Read(QStringLiteral("listLog")).contains(QStringLiteral("| TST |")));

    QString out;
    QTRY_VERIFY_WITH_TIMEOUT((out += QString::fromUtf8(watch.readAllStandardOutput())).contains(QStringLiteral(" acknowledged")), 30000);
    const QRegularExpressionMatch m = QRegularExpression(QStringLiteral("journal (Telmor\\d{14}\\.cna) \\d+ saved (\\S+) acknowledged")).match(out);
    QVERIFY2(m.hasMatch(), qPrintable(out));
    QFile saved(m.captured(2));
    QVERIFY(saved.open(QIODevice::ReadOnly));
    QCOMPARE(saved.readAll(), result);
    QCOMPARE(Get(QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_FILE")), QStringLiteral("0"));
    // The hand-over's state shows on the report screen.
    QVERIFY(Show(3, QStringLiteral("screenReport")));
    QCOMPARE(Status(), QStringLiteral("Waiting for NC Velmar to analyze data"));
    watch.kill();
    watch.waitForFinished();
}

QTEST_MAIN(TestSphereAndReport)
#include "TestSphereAndReport.moc"

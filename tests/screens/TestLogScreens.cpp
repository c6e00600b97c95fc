// The log screen, the export screen and its file browser as the operator
// meets them: harvel-hmi runs the installed plug-in with its net server,
// the test works the widgets through the control socket, mounts a stick
// and injects faults into the NC's file service, and a watching
// harvel-client takes the net export.

#include "HmiMachine.h"

#include <QDir>
#include <QtTest>

using namespace NetLinkFixture;

// The HMI runs as a process of its own, on a machine that may be busy.
#define WAIT_COMPARE(actual, expected) QTRY_COMPARE_WITH_TIMEOUT(actual, expected, 15000)
#define WAIT_VERIFY(condition) QTRY_VERIFY_WITH_TIMEOUT(condition, 15000)

namespace {
// The logger writes its first lines a moment after the start; until then
// there is no live log file to offer.
bool Start(HmiMachine& m, bool withNet)
{
    return m.Install(withNet) && m.Start() && m.Hmi({"area", "Norvane"})
        && RetryUntil([&m] { return QFile::exists(m.Appl("logs/SiemensHarvel.log")); });
}

// Opens the export screen from the log screen, leaving one a failed check
// may have left open.
bool OpenExport(HmiMachine& m)
{
    if (m.Screen() == QLatin1String("screenLogExport") && !m.Open("doCancel", "screenLog"))
        return false;
    return m.Hmi({"area", "Norvane"}) && m.Hmi({"key", "refreshLog"}) && m.Open("exportLog", "screenLogExport");
}

bool WriteFile(const QString& path, const QByteArray& data)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(data) == data.size();
}
} // namespace

class TestLogScreens : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase() { m.Stop(); }

    void browserListsLazilyAndFollowsTheStick();
    void exportToStickCopiesWholeFilesOrSaysWhy();
    void exportToNetReachesTheWatchingClient();
    void netChoiceOffWithoutNetServer();
    void fileBrowserOffersOnlyTheKindAskedFor();

private:
    HmiMachine m;
    QByteArray m_archive;
    QString m_archiveName = QStringLiteral("SiemensHarvel_20260101.log");
};

void TestLogScreens::initTestCase()
{
    // An archive from an earlier day, with bytes a text-mode copy would spoil.
    for (int i = 0; i < 5000; ++i)
        m_archive +=
            QByteArray("2026-01-01 10:00:00.000 | INF | 00ab | line ") + QByteArray::number(i) + "\r\n\t\xc3\xa4";
    QVERIFY(WriteFile(m.Appl("logs/archives/" + m_archiveName), m_archive));
    QVERIFY(Start(m, true));
}

void TestLogScreens::browserListsLazilyAndFollowsTheStick()
{
    QVERIFY(QDir().mkpath(m.Path("usb/FRONT/EXPORT/A")));
    QVERIFY(OpenExport(m));
    // The stick is there but not mounted: the drive alone, nothing to pick.
    QCOMPARE(m.Read("fileTree"), QStringLiteral("USB_FRONT"));
    QVERIFY(!m.KeyEnabled(8));

    QVERIFY(m.Ok({"nc", "usb", "mount", "FRONT"}));
    WAIT_COMPARE(m.Read("fileTree"), QStringLiteral("USB_FRONT\n  EXPORT"));
    QCOMPARE(m.Status(), QStringLiteral("The driver USB_FRONT is mounted"));
    // A folder is read at its first opening and only then.
    QVERIFY(m.Tree("expand", "USB_FRONT/EXPORT"));
    WAIT_COMPARE(m.Read("fileTree"), QStringLiteral("USB_FRONT\n  EXPORT\n    A"));
    QVERIFY(QDir().mkpath(m.Path("usb/FRONT/EXPORT/B")));
    QVERIFY(m.Tree("collapse", "USB_FRONT/EXPORT"));
    QVERIFY(m.Tree("expand", "USB_FRONT/EXPORT"));
    WAIT_COMPARE(m.Read("fileTree"), QStringLiteral("USB_FRONT\n  EXPORT\n    A"));

    // The live log is ticked by default, so a folder of a mounted stick is
    // all the OK key waits for; the stick's going takes it away again.
    QVERIFY(m.Tree("select", "USB_FRONT/EXPORT/A"));
    WAIT_VERIFY(m.KeyEnabled(8));
    QVERIFY(m.Ok({"nc", "usb", "unmount", "FRONT"}));
    WAIT_COMPARE(m.Read("fileTree"), QStringLiteral("USB_FRONT"));
    QCOMPARE(m.Status(), QStringLiteral("The driver USB_FRONT is unmounted"));
    QVERIFY(!m.KeyEnabled(8));
    QVERIFY(m.Ok({"nc", "usb", "mount", "FRONT"}));
    WAIT_COMPARE(m.Read("fileTree"), QStringLiteral("USB_FRONT\n  EXPORT"));
    QVERIFY(m.Tree("activate", "USB_FRONT/EXPORT"));
    WAIT_COMPARE(m.Read("fileTree"), QStringLiteral("USB_FRONT\n  EXPORT\n    A\n    B"));

    // Cancel returns nothing, and the log screen's text stays.
    QVERIFY(m.Ok({"hmi", "key", "doCancel"}));
    WAIT_COMPARE(m.Screen(), QStringLiteral("screenLog"));
    QCOMPARE(m.Status(), QStringLiteral("Refresh log succeeded"));
}

void TestLogScreens::exportToStickCopiesWholeFilesOrSaysWhy()
{
    const QString live = QStringLiteral("SiemensHarvel.log");
    const QString target = QStringLiteral("usb/FRONT/EXPORT/B/");
    m.Ctl({"nc", "usb", "mount", "FRONT"});
    struct Case
    {
        const char* fault; // create-folder or copy, or none
        bool folderRemoved; // the folder vanished after it was picked
        const char* status; // the last text
        bool archiveArrives;
    };
    const Case cases[] = {
        {"create-folder", true, "Export SiemensHarvel_20260101.log to USB_FRONT/FRONT/EXPORT/B failed (0x81501005)",
         false},
        // The first copy (the live log) fails; the second file goes on.
        {"copy", false, "Export SiemensHarvel_20260101.log to USB_FRONT/FRONT/EXPORT/B succeeded", true},
        {nullptr, true, "Export SiemensHarvel_20260101.log to USB_FRONT/FRONT/EXPORT/B succeeded", true},
    };
    for (const Case& c : cases) {
        QVERIFY(OpenExport(m));
        // "Select All" ticks every row and takes them back.
        QVERIFY(m.Ok({"hmi", "check", "checkAllLogFiles", "on"}));
        QCOMPARE(m.Read("gridLogFiles").count(QStringLiteral("[x]")), 2);
        QVERIFY(m.Ok({"hmi", "check", "checkAllLogFiles", "off"}));
        QCOMPARE(m.Read("gridLogFiles").count(QStringLiteral("[x]")), 0);
        QVERIFY(m.Ok({"hmi", "cell", "gridLogFiles", "0", "0", "--check", "on"}));
        QVERIFY(m.Ok({"hmi", "cell", "gridLogFiles", "1", "0", "--check", "on"}));
        // What the export reads is no field to edit.
        QVERIFY(!m.Ok({"hmi", "cell", "gridLogFiles", "1", "2", "--text", "/etc/passwd"}));
        QVERIFY(m.Tree("expand", "USB_FRONT"));
        QVERIFY(m.Tree("expand", "USB_FRONT/EXPORT"));
        QVERIFY(m.Tree("select", "USB_FRONT/EXPORT/B"));
        WAIT_VERIFY(m.KeyEnabled(8));
        if (c.folderRemoved)
            QVERIFY(QDir(m.Path(target)).removeRecursively());
        if (c.fault)
            QVERIFY(m.Ok({"nc", "fault", c.fault, "//ACTTCU/FRONT/*", "--code", "0x81501005", "--times",
                          QString::fromLatin1(c.fault) == QLatin1String("copy") ? "1" : "2"}));
        const QString liveFailed =
            QStringLiteral("Export %1 to USB_FRONT/FRONT/EXPORT/B failed (0x81501005)").arg(live);
        const int logged = m.Log().count(QString::fromLatin1(c.status));
        const int liveFailures = m.Log().count(liveFailed);
        QVERIFY(m.Ok({"hmi", "key", "doOK"}));
        WAIT_COMPARE(m.Screen(), QStringLiteral("screenLog"));
        QCOMPARE(m.Status(), QString::fromLatin1(c.status));
        QVERIFY(m.Ok({"nc", "fault", "clear"}));

        // A file is there whole, or not at all, and the log says which.
        WAIT_COMPARE(m.Log().count(QString::fromLatin1(c.status)), logged + 1);
        QCOMPARE(m.Log().count(liveFailed), liveFailures + (c.fault ? 1 : 0));
        QCOMPARE(QFile::exists(m.Path(target + m_archiveName)), c.archiveArrives);
        if (c.archiveArrives)
            QCOMPARE(FileBytes(m.Path(target + m_archiveName)), m_archive);
        const bool liveArrives = !c.fault;
        QCOMPARE(QFile::exists(m.Path(target + live)), liveArrives);
        if (liveArrives)
            QVERIFY(FileBytes(m.Appl("logs/" + live)).startsWith(FileBytes(m.Path(target + live))));
        // Nothing else either: no part of a copy left behind.
        QCOMPARE(QDir(m.Path(target)).entryList(QDir::Files | QDir::Hidden).size(),
                 int(liveArrives) + int(c.archiveArrives));
        QDir(m.Path(target)).removeRecursively();
        QVERIFY(QDir().mkpath(m.Path(target)));
    }
}

void TestLogScreens::exportToNetReachesTheWatchingClient()
{
    QTemporaryDir received;
    QProcess watch;
    watch.start(
        BinaryDir() + QStringLiteral("/bin/harvel-client"),
        {QStringLiteral("--server"), m.server, QStringLiteral("watch"), QStringLiteral("--logs"), received.path()});
    QVERIFY(watch.waitForStarted(10000));

    QVERIFY(OpenExport(m));
    QVERIFY(m.Ok({"hmi", "check", "radioZynNet", "on"}));
    // The client appears once it has arrived; the screen reads the list as
    // it is shown, so it is opened again until then.
    QVERIFY(RetryUntil([this] {
        if (m.Read("gridZynClients").contains(QStringLiteral("127.0.0.1:")))
            return true;
        m.Ok({"hmi", "check", "radioUsbStick", "on"});
        m.Ok({"hmi", "check", "radioZynNet", "on"});
        return false;
    }));
    QVERIFY(!m.KeyEnabled(8));
    QVERIFY(m.Ok({"hmi", "check", "checkAllZynClients", "on"}));
    QVERIFY(m.Ok({"hmi", "check", "checkAllLogFiles", "on"}));
    WAIT_VERIFY(m.KeyEnabled(8));
    const QString peer = m.Read("gridZynClients").section(QLatin1Char('\t'), 1, 1);
    QVERIFY(m.Ok({"hmi", "key", "doOK"}));

    // The library's reports come back onto the log screen.
    QTRY_COMPARE_WITH_TIMEOUT(m.Status(), QStringLiteral("Export %1 to %2 succeeded").arg(m_archiveName, peer), 20000);
    WAIT_VERIFY(m.Log().contains(QStringLiteral("Export SiemensHarvel.log to %1 succeeded").arg(peer)));
    WAIT_COMPARE(FileBytes(received.filePath(m_archiveName)), m_archive);
    QVERIFY(FileBytes(m.Appl("logs/SiemensHarvel.log"))
                .startsWith(FileBytes(received.filePath(QStringLiteral("SiemensHarvel.log")))));
    watch.terminate();
    QVERIFY(watch.waitForFinished(10000));
    // Each file's start, then its end, as the client tells them.
    const QString out = QString::fromUtf8(watch.readAllStandardOutput());
    for (const QString& name : {QStringLiteral("SiemensHarvel.log"), m_archiveName}) {
        const QRegularExpression start(
            QStringLiteral("^log-file %1 \\d+ exporting$").arg(QRegularExpression::escape(name)),
            QRegularExpression::MultilineOption);
        const int started = out.indexOf(start);
        QVERIFY2(started >= 0, qPrintable(out));
        QVERIFY2(out.indexOf(QStringLiteral(" saved %1/%2\n").arg(received.path(), name)) > started, qPrintable(out));
    }
    QCOMPARE(QDir(received.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden).size(), 2);
}

void TestLogScreens::netChoiceOffWithoutNetServer()
{
    HmiMachine off;
    QVERIFY(Start(off, false));
    QVERIFY(OpenExport(off));
    QCOMPARE(off.Read("radioUsbStick"), QStringLiteral("checked"));
    QVERIFY(!off.Ok({"hmi", "check", "radioZynNet", "on"}));
    QCOMPARE(off.Read("radioUsbStick"), QStringLiteral("checked"));
    off.Stop();
}

void TestLogScreens::fileBrowserOffersOnlyTheKindAskedFor()
{
    const QString properties = QStringLiteral(
        "-slgfwprop1 formFileBrowser.propCaption=Pick -slgfwprop2 formFileBrowser.propBackScreen=screenLog "
        "-slgfwprop3 formFileBrowser.propIsBrowseFile=%1 -slgfwprop4 formFileBrowser.propDriveTypes=3 "
        "-slgfwprop5 formFileBrowser.propCurrentPath=//NC");
    for (const bool browseFile : {false, true}) {
        QVERIFY(m.Ok({"hmi", "area", "Norvane"}));
        QVERIFY(m.Ok({"hmi", "open", "screenFileBrowser", properties.arg(int(browseFile))}));
        WAIT_COMPARE(m.Screen(), QStringLiteral("screenFileBrowser"));
        // The NC and the card, no stick: flags 3 take no drive of the list.
        QCOMPARE(m.Read("fileTree"), QStringLiteral("NC Data\nSystem CF card"));
        QVERIFY(!m.KeyEnabled(8));
        QVERIFY(m.Tree("expand", "System CF card"));
        WAIT_VERIFY(m.Read("fileTree").contains(QStringLiteral("  oem")));
        // versions.xml is a file: shown and pickable only when files are asked for.
        QCOMPARE(m.Read("fileTree").contains(QStringLiteral("versions.xml")), browseFile);
        QVERIFY(m.Tree("select", "System CF card/oem"));
        WAIT_COMPARE(m.Status(), browseFile ? QString() : QStringLiteral("/card/oem"));
        QCOMPARE(m.KeyEnabled(8), !browseFile);
        if (browseFile) {
            QVERIFY(m.Tree("select", "System CF card/versions.xml"));
            WAIT_COMPARE(m.Status(), QStringLiteral("/card/versions.xml"));
            QVERIFY(m.KeyEnabled(8));
        }
        QVERIFY(m.Ok({"hmi", "key", "doOK"}));
        WAIT_COMPARE(m.Screen(), QStringLiteral("screenLog"));
    }
}

QTEST_MAIN(TestLogScreens)
#include "TestLogScreens.moc"

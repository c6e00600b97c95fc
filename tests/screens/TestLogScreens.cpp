// The log screen, the export screen and its file browser as the operator meets them: harvel-hmi runs the installed
// plug-in with its net server, the test works the widgets through the control socket, mounts a stick and injects
// faults into the NC's file service, and a watching harvel-client takes the net export.

#include "HmiMachine.h"

#include <QDir>
#include <QtTest>

using namespace NetLinkFixture;

// The HMI runs as a process of its own, on a machine that may be busy.
#define WAIT_COMPARE(actual, expected) QTRY_COMPARE_WITH_TIMEOUT(actual, expected, 15000)
#define WAIT_VERIFY(condition) QTRY_VERIFY_WITH_TIMEOUT(condition, 15000)

namespace {
// The logger writes its first lines a moment after the start; until then there is no live log file to offer.
bool Start(HmiMachine& m, bool withNet)
{
    return m.Install(withNet) && m.Start() && m.Hmi({"area", "Norvane"})
        && RetryUntil([&m] { return QFile::exists(m.Appl("logs/SiemensHarvel.log")); });
}

// Opens the export screen from the log screen, leaving one a failed check may have left open.
bool OpenExport(HmiMachine& m)
{
    if (m.Screen() == QLatin1String("screenLogExport") && !m.Open("doCancel", "screenLog"))
        return false;
    return m.Hmi({"area", "Norvane"}) && m.Hmi({"key", "refreshLog"}) && m.Open("exportLog", "screenLogExport");
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
        m_archive += QByteArray("2026-01-01 10:00:00.000 | INF | 00ab | line ") + QByteArray::number(i) + "\r\n\t\xc3\xa4";
    QFile archive(m.Appl("logs/archives/" + m_archiveName));
    QVERIFY(QDir().mkpath(m.Appl("logs/archives")) && archive.open(QIODevice::WriteOnly));
    QVERIFY(archive.write(m_archive) == m_archive.size() && archive.flush() && Start(m, true));
}

void TestLogScreens::browserListsLazilyAndFollowsTheStick()
{
    QVERIFY(QDir().mkpath(m.Path("usb/FRONT/EXPORT/A")) && OpenExport(m));
    // The stick is there but not mounted: the drive alone, nothing to pick.
    QVERIFY(m.Read("fileTree") == "USB_FRONT" && !m.KeyEnabled(8));

    QVERIFY(m.Ok({"nc", "usb", "mount", "FRONT"}));
    WAIT_COMPARE(m.Read("fileTree"), QStringLiteral("USB_FRONT\n  EXPORT"));
    QCOMPARE(m.Status(), QStringLiteral("The driver USB_FRONT is mounted"));
    // A folder is read at its first opening and only then.
    QVERIFY(m.Tree("expand", "USB_FRONT/EXPORT"));
    WAIT_COMPARE(m.Read("fileTree"), QStringLiteral("USB_FRONT\n  EXPORT\n    A"));
    QVERIFY(QDir().mkpath(m.Path("usb/FRONT/EXPORT/B")) && m.Tree("collapse", "USB_FRONT/EXPORT")
            && m.Tree("expand", "USB_FRONT/EXPORT"));
    WAIT_COMPARE(m.Read("fileTree"), QStringLiteral("USB_FRONT\n  EXPORT\n    A"));
    // The live log is ticked by default, so a folder of a mounted stick is all the OK key waits for; the stick's
    // going takes it away again.
    QVERIFY(m.Tree("select", "USB_FRONT/EXPORT/A"));
    WAIT_VERIFY(m.KeyEnabled(8));
    QVERIFY(m.Ok({"nc", "usb", "unmount", "FRONT"}));
    WAIT_COMPARE(m.Read("fileTree"), QStringLiteral("USB_FRONT"));
    QVERIFY(m.Status() == "The driver USB_FRONT is unmounted" && !m.KeyEnabled(8) && m.Ok({"nc", "usb", "mount", "FRONT"}));
    WAIT_COMPARE(m.Read("fileTree"), QStringLiteral("USB_FRONT\n  EXPORT"));
    QVERIFY(m.Tree("activate", "USB_FRONT/EXPORT"));
    WAIT_COMPARE(m.Read("fileTree"), QStringLiteral("USB_FRONT\n  EXPORT\n    A\n    B"));
    // Cancel returns nothing, and the log screen's text stays.
    QVERIFY(m.Open("doCancel", "screenLog"));
    QCOMPARE(m.Status(), QStringLiteral("Refresh log succeeded"));
}

void TestLogScreens::exportToStickCopiesWholeFilesOrSaysWhy()
{
    const QString live = QStringLiteral("SiemensHarvel.log");
    const QString target = QStringLiteral("usb/FRONT/EXPORT/B/");
    m.Ctl({"nc", "usb", "mount", "FRONT"});
    // The fault (create-folder or copy, or none), whether the folder vanished after it was picked, the archive's
    // outcome, and whether it arrives.
    const struct { const char* fault; bool folderRemoved; const char* outcome; bool archiveArrives; } cases[] = {
        {"create-folder", true, "failed (0x81501005)", false},
        // The first copy (the live log) fails; the second file goes on.
        {"copy", false, "succeeded", true},
        {nullptr, true, "succeeded", true}};
    for (const auto& c : cases) {
        QVERIFY(OpenExport(m));
        // "Select All" ticks every row and takes them back.
        QVERIFY(m.Hmi({"check", "checkAllLogFiles", "on"}) && m.Read("gridLogFiles").count("[x]") == 2);
        QVERIFY(m.Hmi({"check", "checkAllLogFiles", "off"}) && m.Read("gridLogFiles").count("[x]") == 0);
        QVERIFY(m.Hmi({"cell", "gridLogFiles", "0", "0", "--check", "on"}) && m.Hmi({"cell", "gridLogFiles", "1", "0", "--check", "on"}));
        // What the export reads is no field to edit.
        QVERIFY(!m.Ok({"hmi", "cell", "gridLogFiles", "1", "2", "--text", "/etc/passwd"}));
        QVERIFY(m.Tree("expand", "USB_FRONT") && m.Tree("expand", "USB_FRONT/EXPORT") && m.Tree("select", "USB_FRONT/EXPORT/B"));
        WAIT_VERIFY(m.KeyEnabled(8));
        if (c.folderRemoved)
            QVERIFY(QDir(m.Path(target)).removeRecursively());
        if (c.fault)
            QVERIFY(m.Ok({"nc", "fault", c.fault, "//ACTTCU/FRONT/*", "--code", "0x81501005", "--times",
                          QString::fromLatin1(c.fault) == QLatin1String("copy") ? "1" : "2"}));
        const QString liveFailed = QStringLiteral("Export %1 to USB_FRONT/FRONT/EXPORT/B failed (0x81501005)").arg(live);
        const QString status = QStringLiteral("Export %1 to USB_FRONT/FRONT/EXPORT/B %2").arg(m_archiveName, c.outcome);
        const int logged = m.Log().count(status);
        const int liveFailures = m.Log().count(liveFailed);
        QVERIFY(m.Open("doOK", "screenLog"));
        QCOMPARE(m.Status(), status);
        QVERIFY(m.Ok({"nc", "fault", "clear"}));
        // A file is there whole, or not at all, and the log says which.
        WAIT_COMPARE(m.Log().count(status), logged + 1);
        QCOMPARE(m.Log().count(liveFailed), liveFailures + (c.fault ? 1 : 0));
        QCOMPARE(FileBytes(m.Path(target + m_archiveName)), c.archiveArrives ? m_archive : QByteArray("<missing>"));
        const bool liveArrives = !c.fault;
        QVERIFY(liveArrives ? FileBytes(m.Appl("logs/" + live)).startsWith(FileBytes(m.Path(target + live)))
                            : !QFile::exists(m.Path(target + live)));
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
    watch.start(BinaryDir() + "/bin/harvel-client", {"--server", m.server, "watch", "--logs", received.path()});
    QVERIFY(watch.waitForStarted(10000) && OpenExport(m) && m.Hmi({"check", "radioZynNet", "on"}));
    // The client appears once it has arrived; the screen reads the list as it is shown, so it is opened again until then.
    QVERIFY(RetryUntil([this] {
        if (m.Read("gridZynClients").contains(QStringLiteral("127.0.0.1:")))
            return true;
        return !(m.Hmi({"check", "radioUsbStick", "on"}) && m.Hmi({"check", "radioZynNet", "on"}));
    }));
    QVERIFY(!m.KeyEnabled(8) && m.Hmi({"check", "checkAllZynClients", "on"}) && m.Hmi({"check", "checkAllLogFiles", "on"}));
    WAIT_VERIFY(m.KeyEnabled(8));
    const QString peer = m.Read("gridZynClients").section(QLatin1Char('\t'), 1, 1);
    QVERIFY(m.Ok({"hmi", "key", "doOK"}));
    // The library's reports come back onto the log screen.
    QTRY_COMPARE_WITH_TIMEOUT(m.Status(), QStringLiteral("Export %1 to %2 succeeded").arg(m_archiveName, peer), 20000);
    WAIT_VERIFY(m.Log().contains(QStringLiteral("Export SiemensHarvel.log to %1 succeeded").arg(peer)));
    WAIT_COMPARE(FileBytes(received.filePath(m_archiveName)), m_archive);
    QVERIFY(FileBytes(m.Appl("logs/SiemensHarvel.log")).startsWith(FileBytes(received.filePath("SiemensHarvel.log"))));
    QCOMPARE(QDir(received.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden).size(), 2);
    watch.terminate();
    QVERIFY(watch.waitForFinished(10000));
    // Each file's start, then its end, as the client tells them.
    const QString out = QString::fromUtf8(watch.readAllStandardOutput());
    for (const QString& name : {QStringLiteral("SiemensHarvel.log"), m_archiveName})
        QVERIFY2(QRegularExpression(QStringLiteral("^log-file %1 \\d+ exporting$.*^log-file %1 \\d+ saved %2/%1$")
                                        .arg(QRegularExpression::escape(name), QRegularExpression::escape(received.path())),
                                    QRegularExpression::MultilineOption | QRegularExpression::DotMatchesEverythingOption)
                     .match(out).hasMatch(),
                 qPrintable(out));
}

void TestLogScreens::netChoiceOffWithoutNetServer()
{
    HmiMachine off;
    QVERIFY(Start(off, false) && OpenExport(off) && off.Read("radioUsbStick") == "checked");
    QVERIFY(!off.Ok({"hmi", "check", "radioZynNet", "on"}) && off.Read("radioUsbStick") == "checked");
    off.Stop();
}

void TestLogScreens::fileBrowserOffersOnlyTheKindAskedFor()
{
    const QString properties = QStringLiteral(
        "-slgfwprop1 formFileBrowser.propCaption=Pick -slgfwprop2 formFileBrowser.propBackScreen=screenLog "
        "-slgfwprop3 formFileBrowser.propIsBrowseFile=%1 -slgfwprop4 formFileBrowser.propDriveTypes=3 "
        "-slgfwprop5 formFileBrowser.propCurrentPath=//NC");
    for (const bool browseFile : {false, true}) {
        QVERIFY(m.Hmi({"area", "Norvane"}) && m.Hmi({"open", "screenFileBrowser", properties.arg(int(browseFile))}));
        WAIT_COMPARE(m.Screen(), QStringLiteral("screenFileBrowser"));
        // The NC and the card, no stick: flags 3 take no drive of the list.
        QCOMPARE(m.Read("fileTree"), QStringLiteral("NC Data\nSystem CF card"));
        QVERIFY(!m.KeyEnabled(8) && m.Tree("expand", "System CF card"));
        WAIT_VERIFY(m.Read("fileTree").contains(QStringLiteral("  oem")));
        // versions.xml is a file: shown and pickable only when files are asked for.
        QCOMPARE(m.Read("fileTree").contains(QStringLiteral("versions.xml")), browseFile);
        QVERIFY(m.Tree("select", "System CF card/oem"));
        WAIT_COMPARE(m.Status(), browseFile ? QString() : QStringLiteral("/card/oem"));
        QCOMPARE(m.KeyEnabled(8), !browseFile);
        if (browseFile) {
            QVERIFY(m.Tree("select", "System CF card/versions.xml"));
            WAIT_VERIFY(m.Status() == "/card/versions.xml" && m.KeyEnabled(8));
        }
        QVERIFY(m.Open("doOK", "screenLog"));
    }
}

QTEST_MAIN(TestLogScreens)
#include "TestLogScreens.moc"

// The log screen, the export screen and its file browser as the operator
// meets them: harvel-hmi runs the installed plug-in with its net server,
// the test works the widgets through the control socket, mounts a stick
// and injects faults into the NC's file service, and a watching
// harvel-client takes the net export.

#include "CtlClient.h"
#include "NetLinkFixture.h"

#include <QDir>
#include <QFile>
#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdlib>

using namespace NetLinkFixture;

// The HMI runs as a process of its own, on a machine that may be busy.
#define WAIT_COMPARE(actual, expected) QTRY_COMPARE_WITH_TIMEOUT(actual, expected, 15000)
#define WAIT_VERIFY(condition) QTRY_VERIFY_WITH_TIMEOUT(condition, 15000)

namespace {
const QString kAppl = QStringLiteral("/card/oem/sinumerik/hmi/NorvaneZYN/appl");

// A machine folder with the plug-in installed and harvel-hmi running on it.
struct Machine
{
    QTemporaryDir dir;
    QProcess hmi;
    QString server; // empty: the net server is off

    bool Start(bool withNet)
    {
        if (withNet) {
            // A port that was free a moment ago.
            QTcpServer probe;
            if (!probe.listen(QHostAddress::LocalHost, 0))
                return false;
            server = QStringLiteral("127.0.0.1:%1").arg(probe.serverPort());
        }
        const QString install = QStringLiteral("HARVEL_BUILD_DIR='%1' bash '%2' %3 '%4' >/dev/null")
                                    .arg(BinaryDir(), QStringLiteral(HARVEL_INSTALL_SCRIPT),
                                         withNet ? QStringLiteral("--net-server ") + server : QString(), dir.path());
        if (std::system(install.toLocal8Bit().constData()) != 0)
            return false;
        hmi.start(BinaryDir() + QStringLiteral("/bin/harvel-hmi"),
                  {QStringLiteral("--machine"), dir.path(), QStringLiteral("--headless")});
        // The logger writes its first lines a moment after the start; until
        // then there is no live log file to offer.
        return hmi.waitForStarted(20000) && RetryUntil([this] { return Ctl({"hmi", "area", "Norvane"}).code == 0; }, 60000)
               && RetryUntil([this] { return !Log().isEmpty(); });
    }
    void Stop()
    {
        if (hmi.state() != QProcess::Running)
            return;
        Ctl({"quit"});
        QVERIFY(hmi.waitForFinished(60000));
        QCOMPARE(hmi.exitCode(), 0);
    }
    CtlResult Ctl(const QStringList& args) { return CtlClient::call(dir.path(), args, 20000); }
    bool Ok(const QStringList& args)
    {
        const CtlResult r = Ctl(args);
        if (r.code != 0)
            qWarning() << args << r.err;
        return r.code == 0;
    }
    QString Read(const QString& widget) { return Ctl({"hmi", "read", widget}).out.trimmed(); }
    QJsonObject State() { return QJsonDocument::fromJson(Ctl({"hmi", "state", "--json"}).out.toUtf8()).object(); }
    QString Screen() { return State().value(QStringLiteral("screen")).toString(); }
    QString Status() { return State().value(QStringLiteral("status")).toArray().at(0).toString(); }
    bool KeyEnabled(int position)
    {
        const QJsonArray keys =
            State().value(QStringLiteral("softkeys")).toObject().value(QStringLiteral("myVr")).toArray();
        for (const QJsonValue& key : keys)
            if (key.toObject().value(QStringLiteral("position")).toInt() == position)
                return key.toObject().value(QStringLiteral("enabled")).toBool();
        return false;
    }
    QJsonObject Widget(const QString& name)
    {
        const QJsonArray all = QJsonDocument::fromJson(Ctl({"hmi", "widgets", "--json"}).out.toUtf8()).array();
        for (const QJsonValue& w : all)
            if (w.toObject().value(QStringLiteral("name")).toString() == name)
                return w.toObject();
        return QJsonObject();
    }
    QString Path(const QString& rel) const { return dir.path() + QLatin1Char('/') + rel; }
    QString Log() const
    {
        QFile f(Path(kAppl.mid(1) + QStringLiteral("/logs/SiemensHarvel.log")));
        return f.open(QIODevice::ReadOnly) ? QString::fromUtf8(f.readAll()) : QString();
    }
    // Opens the export screen from the log screen, leaving one a failed
    // check may have left open.
    bool OpenExport()
    {
        if (Screen() == QLatin1String("screenLogExport")
            && !(Ok({"hmi", "key", "doCancel"}) && RetryUntil([this] { return Screen() == QLatin1String("screenLog"); })))
            return false;
        return Ok({"hmi", "area", "Norvane"}) && Ok({"hmi", "key", "refreshLog"}) && Ok({"hmi", "key", "exportLog"})
               && RetryUntil([this] { return Screen() == QLatin1String("screenLogExport"); }, 10000);
    }
    // A tree item by its path; the operation runs after the answer, so an
    // item whose parent was just opened is waited for.
    bool Tree(const char* verb, const QString& path)
    {
        return RetryUntil([&] { return Ctl({"hmi", "tree", "fileTree", verb, path}).code == 0; }, 10000);
    }
};

QByteArray Contents(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<missing>");
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
    void cleanupTestCase();

    void browserListsLazilyAndFollowsTheStick();
    void exportToStickCopiesWholeFilesOrSaysWhy();
    void exportToNetReachesTheWatchingClient();
    void netChoiceOffWithoutNetServer();
    void fileBrowserOffersOnlyTheKindAskedFor();

private:
    Machine m;
    QByteArray m_archive;
    QString m_archiveName = QStringLiteral("SiemensHarvel_20260101.log");
};

void TestLogScreens::initTestCase()
{
    QVERIFY(m.dir.isValid());
    // An archive from an earlier day, with bytes a text-mode copy would spoil.
    for (int i = 0; i < 5000; ++i)
        m_archive += QByteArray("2026-01-01 10:00:00.000 | INF | 00ab | line ") + QByteArray::number(i) + "\r\n\t\xc3\xa4";
    QVERIFY(WriteFile(m.Path(kAppl.mid(1) + QStringLiteral("/logs/archives/") + m_archiveName), m_archive));
    QVERIFY(m.Start(true));
}

void TestLogScreens::cleanupTestCase()
{
    m.Stop();
}

void TestLogScreens::browserListsLazilyAndFollowsTheStick()
{
    QVERIFY(QDir().mkpath(m.Path(QStringLiteral("usb/FRONT/EXPORT/A"))));
    QVERIFY(m.OpenExport());
    // The stick is there but not mounted: the drive alone, nothing to pick.
    QCOMPARE(m.Read(QStringLiteral("fileTree")), QStringLiteral("USB_FRONT"));
    QVERIFY(!m.KeyEnabled(8));

    QVERIFY(m.Ok({"nc", "usb", "mount", "FRONT"}));
    WAIT_COMPARE(m.Read(QStringLiteral("fileTree")), QStringLiteral("USB_FRONT\n  EXPORT"));
    QCOMPARE(m.Status(), QStringLiteral("The driver USB_FRONT is mounted"));
    // A folder is read at its first opening and only then.
    QVERIFY(m.Tree("expand", QStringLiteral("USB_FRONT/EXPORT")));
    WAIT_COMPARE(m.Read(QStringLiteral("fileTree")), QStringLiteral("USB_FRONT\n  EXPORT\n    A"));
    QVERIFY(QDir().mkpath(m.Path(QStringLiteral("usb/FRONT/EXPORT/B"))));
    QVERIFY(m.Tree("collapse", QStringLiteral("USB_FRONT/EXPORT")));
    QVERIFY(m.Tree("expand", QStringLiteral("USB_FRONT/EXPORT")));
    WAIT_COMPARE(m.Read(QStringLiteral("fileTree")), QStringLiteral("USB_FRONT\n  EXPORT\n    A"));

    // The live log is ticked by default, so a folder of a mounted stick is
    // all the OK key waits for; the stick's going takes it away again.
    QVERIFY(m.Tree("select", QStringLiteral("USB_FRONT/EXPORT/A")));
    WAIT_VERIFY(m.KeyEnabled(8));
    QVERIFY(m.Ok({"nc", "usb", "unmount", "FRONT"}));
    WAIT_COMPARE(m.Read(QStringLiteral("fileTree")), QStringLiteral("USB_FRONT"));
    QCOMPARE(m.Status(), QStringLiteral("The driver USB_FRONT is unmounted"));
    QVERIFY(!m.KeyEnabled(8));
    QVERIFY(m.Ok({"nc", "usb", "mount", "FRONT"}));
    WAIT_COMPARE(m.Read(QStringLiteral("fileTree")), QStringLiteral("USB_FRONT\n  EXPORT"));
    QVERIFY(m.Tree("activate", QStringLiteral("USB_FRONT/EXPORT")));
    WAIT_COMPARE(m.Read(QStringLiteral("fileTree")), QStringLiteral("USB_FRONT\n  EXPORT\n    A\n    B"));

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
        const char* fault;    // create-folder or copy, or none
        bool folderRemoved;   // the folder vanished after it was picked
        const char* status;   // the last text
        bool archiveArrives;
    };
    const Case cases[] = {
        {"create-folder", true,
         "Export SiemensHarvel_20260101.log to USB_FRONT/FRONT/EXPORT/B failed (0x81501005)", false},
        // The first copy (the live log) fails; the second file goes on.
        {"copy", false, "Export SiemensHarvel_20260101.log to USB_FRONT/FRONT/EXPORT/B succeeded", true},
        {nullptr, true, "Export SiemensHarvel_20260101.log to USB_FRONT/FRONT/EXPORT/B succeeded", true},
    };
    for (const Case& c : cases) {
        QVERIFY(m.OpenExport());
        // "Select All" ticks every row and takes them back.
        QVERIFY(m.Ok({"hmi", "check", "checkAllLogFiles", "on"}));
        QCOMPARE(m.Read(QStringLiteral("gridLogFiles")).count(QStringLiteral("[x]")), 2);
        QVERIFY(m.Ok({"hmi", "check", "checkAllLogFiles", "off"}));
        QCOMPARE(m.Read(QStringLiteral("gridLogFiles")).count(QStringLiteral("[x]")), 0);
        QVERIFY(m.Ok({"hmi", "cell", "gridLogFiles", "0", "0", "--check", "on"}));
        QVERIFY(m.Ok({"hmi", "cell", "gridLogFiles", "1", "0", "--check", "on"}));
        // What the export reads is no field to edit.
        QVERIFY(!m.Ok({"hmi", "cell", "gridLogFiles", "1", "2", "--text", "/etc/passwd"}));
        QVERIFY(m.Tree("expand", QStringLiteral("USB_FRONT")));
        QVERIFY(m.Tree("expand", QStringLiteral("USB_FRONT/EXPORT")));
        QVERIFY(m.Tree("select", QStringLiteral("USB_FRONT/EXPORT/B")));
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
            QCOMPARE(Contents(m.Path(target + m_archiveName)), m_archive);
        const bool liveArrives = !c.fault;
        QCOMPARE(QFile::exists(m.Path(target + live)), liveArrives);
        if (liveArrives)
            QVERIFY(Contents(m.Path(kAppl.mid(1) + QStringLiteral("/logs/") + live))
                        .startsWith(Contents(m.Path(target + live))));
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
    watch.start(BinaryDir() + QStringLiteral("/bin/harvel-client"),
                {QStringLiteral("--server"), m.server, QStringLiteral("watch"), QStringLiteral("--logs"),
                 received.path()});
    QVERIFY(watch.waitForStarted(10000));

    QVERIFY(m.OpenExport());
    QVERIFY(m.Ok({"hmi", "check", "radioZynNet", "on"}));
    // The client appears once it has arrived; the screen reads the list as
    // it is shown, so it is opened again until then.
    QVERIFY(RetryUntil([this] {
        if (m.Read(QStringLiteral("gridZynClients")).contains(QStringLiteral("127.0.0.1:")))
            return true;
        m.Ok({"hmi", "check", "radioUsbStick", "on"});
        m.Ok({"hmi", "check", "radioZynNet", "on"});
        return false;
    }));
    QVERIFY(!m.KeyEnabled(8));
    QVERIFY(m.Ok({"hmi", "check", "checkAllZynClients", "on"}));
    QVERIFY(m.Ok({"hmi", "check", "checkAllLogFiles", "on"}));
    WAIT_VERIFY(m.KeyEnabled(8));
    const QString peer = m.Read(QStringLiteral("gridZynClients")).section(QLatin1Char('\t'), 1, 1);
    QVERIFY(m.Ok({"hmi", "key", "doOK"}));

    // The library's reports come back onto the log screen.
    QTRY_COMPARE_WITH_TIMEOUT(m.Status(), QStringLiteral("Export %1 to %2 succeeded").arg(m_archiveName, peer), 20000);
    WAIT_VERIFY(m.Log().contains(QStringLiteral("Export SiemensHarvel.log to %1 succeeded").arg(peer)));
    WAIT_COMPARE(Contents(received.filePath(m_archiveName)), m_archive);
    QVERIFY(Contents(m.Path(kAppl.mid(1) + QStringLiteral("/logs/SiemensHarvel.log")))
                .startsWith(Contents(received.filePath(QStringLiteral("SiemensHarvel.log")))));
    watch.terminate();
    QVERIFY(watch.waitForFinished(10000));
    // Each file's start, then its end, as the client tells them.
    const QString out = QString::fromUtf8(watch.readAllStandardOutput());
    for (const QString& name : {QStringLiteral("SiemensHarvel.log"), m_archiveName}) {
        const QRegularExpression start(QStringLiteral("^log-file %1 \\d+ exporting$").arg(QRegularExpression::escape(name)),
                                       QRegularExpression::MultilineOption);
        const int started = out.indexOf(start);
        QVERIFY2(started >= 0, qPrintable(out));
        QVERIFY2(out.indexOf(QStringLiteral(" saved %1/%2\n").arg(received.path(), name)) > started, qPrintable(out));
    }
    QCOMPARE(QDir(received.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden).size(), 2);
}

void TestLogScreens::netChoiceOffWithoutNetServer()
{
    Machine off;
    QVERIFY(off.dir.isValid());
    QVERIFY(off.Start(false));
    QVERIFY(off.OpenExport());
    QCOMPARE(off.Widget(QStringLiteral("radioZynNet")).value(QStringLiteral("enabled")).toBool(), false);
    QCOMPARE(off.Read(QStringLiteral("radioUsbStick")), QStringLiteral("checked"));
    QVERIFY(!off.Ok({"hmi", "check", "radioZynNet", "on"}));
    QCOMPARE(off.Read(QStringLiteral("radioUsbStick")), QStringLiteral("checked"));
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
        QCOMPARE(m.Read(QStringLiteral("fileTree")), QStringLiteral("NC Data\nSystem CF card"));
        QVERIFY(!m.KeyEnabled(8));
        QVERIFY(m.Tree("expand", QStringLiteral("System CF card")));
        WAIT_VERIFY(m.Read(QStringLiteral("fileTree")).contains(QStringLiteral("  oem")));
        // versions.xml is a file: shown and pickable only when files are asked for.
        QCOMPARE(m.Read(QStringLiteral("fileTree")).contains(QStringLiteral("versions.xml")), browseFile);
        QVERIFY(m.Tree("select", QStringLiteral("System CF card/oem")));
        WAIT_COMPARE(m.Status(), browseFile ? QString() : QStringLiteral("/card/oem"));
        QCOMPARE(m.KeyEnabled(8), !browseFile);
        if (browseFile) {
            QVERIFY(m.Tree("select", QStringLiteral("System CF card/versions.xml")));
            WAIT_COMPARE(m.Status(), QStringLiteral("/card/versions.xml"));
            QVERIFY(m.KeyEnabled(8));
        }
        QVERIFY(m.Ok({"hmi", "key", "doOK"}));
        WAIT_COMPARE(m.Screen(), QStringLiteral("screenLog"));
    }
}

QTEST_MAIN(TestLogScreens)
#include "TestLogScreens.moc"

// The settings screen, the work offset axes map and the UGUD screen as a
// commissioning engineer uses them: harvel-hmi runs the installed plug-in
// as a process of its own, the test presses keys and edits widgets through
// the control socket, and reads TMRNC.INI, the NC and the net server.
#include "CtlClient.h"
#include "NetLinkFixture.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSettings>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdlib>

using namespace NetLinkFixture;

namespace {
QString FreePort()
{
    QTcpServer probe;
    return probe.listen(QHostAddress::LocalHost, 0) ? QString::number(probe.serverPort()) : QString();
}
} // namespace

class TestSettingsScreens : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase() { StopHmi(); }

    void settingsFollowedByFileAndPlugin();
    void axesMapKeepsWhatItCannotShow();
    void ugudActivationEveryOutcome();

private:
    void StartHmi();
    void StopHmi();
    CtlResult Call(const QString& group, const QStringList& args)
    {
        return CtlClient::call(m_machine.path(), QStringList{group} + args, 20000);
    }
    CtlResult Hmi(const QStringList& args) { return Call(QStringLiteral("hmi"), args); }
    CtlResult Nc(const QStringList& args) { return Call(QStringLiteral("nc"), args); }
    void Do(const QStringList& args)
    {
        const CtlResult r = Hmi(args);
        QVERIFY2(r.code == 0, qPrintable(args.join(QLatin1Char(' ')) + QStringLiteral(": ") + r.err));
    }
    QJsonObject State()
    {
        return QJsonDocument::fromJson(Hmi({QStringLiteral("state"), QStringLiteral("--json")}).out.toUtf8()).object();
    }
    QString Screen() { return State().value(QStringLiteral("screen")).toString(); }
    QString Caption() { return State().value(QStringLiteral("caption")).toArray().at(0).toString(); }
    QString Status() { return State().value(QStringLiteral("status")).toArray().at(0).toString(); }
    bool KeyEnabled(int position)
    {
        for (const QJsonValue& v : State().value(QStringLiteral("softkeys")).toObject().value(QStringLiteral("myVr")).toArray())
            if (v.toObject().value(QStringLiteral("position")).toInt() == position)
                return v.toObject().value(QStringLiteral("enabled")).toBool();
        return false;
    }
    QString Read(const QString& widget) { return Hmi({QStringLiteral("read"), widget}).out.trimmed(); }
    // A grid's rows as shown, empty cells at the end included.
    QStringList Rows(const QString& grid)
    {
        QString out = Hmi({QStringLiteral("read"), grid}).out;
        if (out.endsWith(QLatin1Char('\n')))
            out.chop(1);
        return out.split(QLatin1Char('\n'));
    }
    void Key(const QString& action) { Do({QStringLiteral("key"), action}); }
    void Type(const QString& widget, const QString& text)
    {
        Do({QStringLiteral("focus"), widget});
        Do({QStringLiteral("type"), QStringLiteral("--clear"), text});
    }
    // Presses a key and waits for the screen it leads to.
    void Open(const QString& action, const QString& screen)
    {
        Do({QStringLiteral("key"), action});
        QTRY_COMPARE_WITH_TIMEOUT(Screen(), screen, 20000);
    }
    void Answer(const QString& action)
    {
        QTRY_COMPARE_WITH_TIMEOUT(Screen(), QStringLiteral("screenMessage"), 20000);
        Open(action, QStringLiteral("screenSettings"));
    }
    void ShowSettings()
    {
        Do({QStringLiteral("area"), QStringLiteral("Norvane")});
        Do(QStringLiteral("key --menu myHu --position 2").split(QLatin1Char(' ')));
        QTRY_COMPARE_WITH_TIMEOUT(Screen(), QStringLiteral("screenSettings"), 20000);
    }
    QString Ini() const { return m_machine.filePath(QStringLiteral("card/oem/sinumerik/hmi/NorvaneZYN/cfg/TMRNC.INI")); }
    QByteArray IniBytes() const
    {
        QFile f(Ini());
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }
    QString Setting(const QString& key) const
    {
        return QSettings(Ini(), QSettings::IniFormat).value(QStringLiteral("TMRNC/") + key).toString();
    }

    QTemporaryDir m_machine;
    QProcess m_hmi;
    QString m_port;
};

void TestSettingsScreens::initTestCase()
{
    QVERIFY(m_machine.isValid());
    m_port = FreePort();
    const QString install = QStringLiteral("HARVEL_BUILD_DIR='%1' bash '%2' --net-server 127.0.0.1:%3 '%4' >/dev/null")
                                .arg(BinaryDir(), QStringLiteral(HARVEL_INSTALL_SCRIPT), m_port, m_machine.path());
    QVERIFY(std::system(install.toLocal8Bit().constData()) == 0);
    StartHmi();
}

void TestSettingsScreens::StartHmi()
{
    m_hmi.start(BinaryDir() + QStringLiteral("/bin/harvel-hmi"),
                {QStringLiteral("--machine"), m_machine.path(), QStringLiteral("--headless")});
    QVERIFY(m_hmi.waitForStarted(20000));
    QTRY_VERIFY_WITH_TIMEOUT(Hmi({QStringLiteral("areas")}).code == 0, 60000);
}

void TestSettingsScreens::StopHmi()
{
    if (m_hmi.state() != QProcess::Running)
        return;
    Call(QStringLiteral("quit"), {});
    QVERIFY(m_hmi.waitForFinished(60000));
    QCOMPARE(m_hmi.exitCode(), 0);
}

void TestSettingsScreens::settingsFollowedByFileAndPlugin()
{
    // A hand edit in another letter case is what the screen would save:
    // a fresh screen has nothing to save.
    QByteArray edited = IniBytes();
    edited.replace("workoffset=FINE", "workoffset=fine");
    {
        QFile f(Ini());
        QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
        f.write(edited);
    }
    // The plug-in has taken the edit when it logs the values it read.
    const QString log = m_machine.filePath(QStringLiteral("card/oem/sinumerik/hmi/NorvaneZYN/appl/logs/SiemensHarvel.log"));
    QTRY_VERIFY_WITH_TIMEOUT(
        [&log] {
            QFile f(log);
            return f.open(QIODevice::ReadOnly) && f.readAll().contains("Work Offset Type = fine");
        }(),
        20000);
    ShowSettings();
    QTRY_COMPARE_WITH_TIMEOUT(Read(QStringLiteral("radioFine")), QStringLiteral("checked"), 10000);
    QCOMPARE(Caption(), QStringLiteral("NC Harvel - Settings"));
    QTRY_COMPARE_WITH_TIMEOUT(Status(), QStringLiteral("Read settings succeeded"), 20000);
    QVERIFY(!KeyEnabled(2));
    QCOMPARE(Read(QStringLiteral("ZYN Net Server IP")), QStringLiteral("127.0.0.1"));
    QCOMPARE(Read(QStringLiteral("ZYN Net Server Port")), m_port);

    // The browse key follows the focus: dark on the port, lit on a folder.
    Do({QStringLiteral("focus"), QStringLiteral("ZYN Net Server Port")});
    QVERIFY(!KeyEnabled(3));
    Do({QStringLiteral("focus"), QStringLiteral("TMR Macro Folder")});
    QVERIFY(KeyEnabled(3));

    // Typing and taking it back leaves nothing to save; a new port does.
    const QString newPort = FreePort();
    Type(QStringLiteral("ZYN Net Server Port"), m_port + QStringLiteral("9"));
    QVERIFY(KeyEnabled(2));
    Type(QStringLiteral("ZYN Net Server Port"), m_port);
    QVERIFY(!KeyEnabled(2));
    Type(QStringLiteral("ZYN Net Server Port"), newPort);
    QVERIFY(KeyEnabled(2));

    // Without the net server the target is needed and the net rows are not.
    Do({QStringLiteral("check"), QStringLiteral("ZYN Net Server Enable"), QStringLiteral("off")});
    const QString widgets = Hmi({QStringLiteral("widgets")}).out;
    QVERIFY2(widgets.contains(QStringLiteral("editTargetPath\tSlGfwLineEdit\tvisible")) &&
                 widgets.contains(QStringLiteral("editNetServerPort\tSlGfwLineEdit\thidden")),
             qPrintable(widgets));
    Type(QStringLiteral("Target Path"), QStringLiteral("//127.0.0.1/telmor/cell2/"));
    Do({QStringLiteral("check"), QStringLiteral("ZYN Net Server Enable"), QStringLiteral("on")});
    Do({QStringLiteral("check"), QStringLiteral("radioCoarse"), QStringLiteral("on")});

    // Cancelled query and cancelled map: the file stays as it was, and the
    // edits stay on the form, not read again over.
    const QByteArray before = IniBytes();
    Key(QStringLiteral("saveSettings"));
    Answer(QStringLiteral("doCancel"));
    Open(QStringLiteral("mapWofsAxes"), QStringLiteral("screenWofsMap"));
    QCOMPARE(Caption(), QStringLiteral("Map Work Offset Axes"));
    Key(QStringLiteral("mapDefault"));
    Open(QStringLiteral("doCancel"), QStringLiteral("screenSettings"));
    QCOMPARE(IniBytes(), before);
    QCOMPARE(Read(QStringLiteral("ZYN Net Server Port")), newPort);
    QCOMPARE(Read(QStringLiteral("radioCoarse")), QStringLiteral("checked"));
    QVERIFY(KeyEnabled(2));

    // The file browser on the focused folder: a cancel leaves the text, a
    // folder picked goes into the field, not yet into the file.
    Do({QStringLiteral("focus"), QStringLiteral("TMR Program Folder")});
    Open(QStringLiteral("showFileBrowser"), QStringLiteral("screenFileBrowser"));
    QCOMPARE(Caption(), QStringLiteral("Select TMR program folder"));
    Open(QStringLiteral("doCancel"), QStringLiteral("screenSettings"));
    QCOMPARE(Read(QStringLiteral("TMR Program Folder")), QStringLiteral("//NC/WKS.DIR/TELMOR.WPD"));
    QVERIFY(KeyEnabled(3));
    Open(QStringLiteral("showFileBrowser"), QStringLiteral("screenFileBrowser"));
    Do({QStringLiteral("tree"), QStringLiteral("fileTree"), QStringLiteral("expand"), QStringLiteral("NC Data")});
    Do({QStringLiteral("tree"), QStringLiteral("fileTree"), QStringLiteral("select"), QStringLiteral("NC Data/SPF.DIR")});
    Open(QStringLiteral("doOK"), QStringLiteral("screenSettings"));
    QCOMPARE(Read(QStringLiteral("TMR Program Folder")), QStringLiteral("//NC/SPF.DIR"));
    QCOMPARE(IniBytes(), before);

    // The map X Y Z to machine axes 1 2 3, saved at once with the rest.
    Open(QStringLiteral("mapWofsAxes"), QStringLiteral("screenWofsMap"));
    for (const QString& axis : {QStringLiteral("X"), QStringLiteral("Y"), QStringLiteral("Z")})
        Do({QStringLiteral("cell"), QStringLiteral("gridWofsMap"), QString::number(axis.at(0).unicode() - 'X'),
            QStringLiteral("3"), QStringLiteral("--choose"), axis});
    QCOMPARE(Rows(QStringLiteral("gridWofsMap")).mid(0, 3),
             QStringList({QStringLiteral("X\t1\tLinear\tX"), QStringLiteral("Y\t2\tLinear\tY"),
                          QStringLiteral("Z\t3\tLinear\tZ")}));
    Key(QStringLiteral("doOK"));
    Answer(QStringLiteral("doOK"));
    QTRY_COMPARE_WITH_TIMEOUT(Status(), QStringLiteral("Save settings succeeded. Please restart HMI to use the new settings"), 20000);
    QVERIFY(!KeyEnabled(2));
    QCOMPARE(Setting(QStringLiteral("wofsaxes")), QStringLiteral("1-2-3-0-0-0"));
    QCOMPARE(Setting(QStringLiteral("zynnetserverport")), newPort);
    QCOMPARE(Setting(QStringLiteral("workoffset")), QStringLiteral("COARSE"));
    QCOMPARE(Setting(QStringLiteral("tmrprogramdir")), QStringLiteral("//NC/SPF.DIR"));
    // Stored normalised, and shown as stored.
    QCOMPARE(Setting(QStringLiteral("target")), QStringLiteral("//127.0.0.1/telmor/cell2"));
    QCOMPARE(Read(QStringLiteral("editTargetPath")), QStringLiteral("//127.0.0.1/telmor/cell2"));

    // An empty folder is refused and the file untouched.
    const QByteArray saved = IniBytes();
    Type(QStringLiteral("TMR Macro Folder"), QStringLiteral(" "));
    Key(QStringLiteral("saveSettings"));
    Answer(QStringLiteral("doOK"));
    QTRY_COMPARE_WITH_TIMEOUT(Status(), QStringLiteral("Save settings failed. TMR Macro Folder cannot be empty"), 20000);
    QCOMPARE(IniBytes(), saved);
    Key(QStringLiteral("readSettings"));
    QCOMPARE(Read(QStringLiteral("TMR Macro Folder")), QStringLiteral("//NC/SPF.DIR"));

    // The running plug-in takes the map at once: a coarse shift of G54 (frame
    // 1, rows 7 to 12 of six machine axes) for X Y Z and A B C changes the
    // rows of X Y Z and nothing else. The net server is still on its old port.
    const QString frame = QStringLiteral("/Channel/UserFrame/linShift[u1,%1]");
    QList<double> shifts;
    for (int row = 7; row <= 12; ++row)
        shifts << Nc({QStringLiteral("get"), frame.arg(row)}).out.trimmed().toDouble();
    const ClientRun run = RunClient(QStringLiteral("127.0.0.1:") + m_port,
                                    {QStringLiteral("request"), QStringLiteral("1 7 1 G54 0 0 0.3 0.2 0.1 0.25 -0.5 1.5 0")});
    QVERIFY2(run.exitCode == 0, qPrintable(run.err + run.out));
    const QList<double> shift{1.5, -0.5, 0.25, 0, 0, 0};
    for (int row = 7; row <= 12; ++row)
        QCOMPARE(Nc({QStringLiteral("get"), frame.arg(row)}).out.trimmed().toDouble(), shifts.at(row - 7) + shift.at(row - 7));

    // After a restart the net server listens on the new port.
    StopHmi();
    StartHmi();
    const ClientRun after = RunClient(QStringLiteral("127.0.0.1:") + newPort,
                                      {QStringLiteral("read-r"), QStringLiteral("0"), QStringLiteral("1")});
    QVERIFY2(after.exitCode == 0, qPrintable(after.err));
}

void TestSettingsScreens::axesMapKeepsWhatItCannotShow()
{
    // A hand edit names machine axis 9, which this machine does not have.
    QSettings ini(Ini(), QSettings::IniFormat);
    ini.setValue(QStringLiteral("TMRNC/wofsaxes"), QStringLiteral("1-9-0-0-0-0"));
    ini.sync();
    ShowSettings();
    QTRY_COMPARE_WITH_TIMEOUT(Read(QStringLiteral("editWofsAxes")), QStringLiteral("1-9-0-0-0-0"), 10000);

    Open(QStringLiteral("mapWofsAxes"), QStringLiteral("screenWofsMap"));
    const QStringList filled{QStringLiteral("X\t1\tLinear\tX"), QStringLiteral("Y\t9\t\t"), QStringLiteral("Z\t0\t\t"),
                             QStringLiteral("A\t0\t\t"),        QStringLiteral("B\t0\t\t"), QStringLiteral("C\t0\t\t")};
    QCOMPARE(Rows(QStringLiteral("gridWofsMap")), filled);
    // The same map back asks nothing and changes nothing.
    const QByteArray before = IniBytes();
    Open(QStringLiteral("doOK"), QStringLiteral("screenSettings"));
    QCOMPARE(IniBytes(), before);

    // The default map goes by name (the spindle SP1 is nobody's B) and is
    // gone with a cancel; the next showing starts from the stored map.
    Open(QStringLiteral("mapWofsAxes"), QStringLiteral("screenWofsMap"));
    Key(QStringLiteral("mapDefault"));
    QCOMPARE(Rows(QStringLiteral("gridWofsMap")),
             QStringList({QStringLiteral("X\t1\tLinear\tX"), QStringLiteral("Y\t2\tLinear\tY"),
                          QStringLiteral("Z\t3\tLinear\tZ"), QStringLiteral("A\t4\tRotary\tA"),
                          QStringLiteral("B\t0\t\t"), QStringLiteral("C\t6\tRotary\tC")}));
    Open(QStringLiteral("doCancel"), QStringLiteral("screenSettings"));
    QCOMPARE(IniBytes(), before);
    Open(QStringLiteral("mapWofsAxes"), QStringLiteral("screenWofsMap"));
    QCOMPARE(Rows(QStringLiteral("gridWofsMap")), filled);

    // Choosing no axis writes 0; the untouched 9 is kept.
    Do({QStringLiteral("cell"), QStringLiteral("gridWofsMap"), QStringLiteral("0"), QStringLiteral("3"),
        QStringLiteral("--choose"), QString()});
    Key(QStringLiteral("doOK"));
    Answer(QStringLiteral("doOK"));
    QCOMPARE(Setting(QStringLiteral("wofsaxes")), QStringLiteral("0-9-0-0-0-0"));
}

void TestSettingsScreens::ugudActivationEveryOutcome()
{
    const QString ugud = m_machine.filePath(QStringLiteral("nc/DEF.DIR/UGUD.DEF"));
    auto writeUgud = [&ugud](const QByteArray& text) {
        QFile f(ugud);
        return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(text) == text.size();
    };
    auto readUgud = [&ugud] {
        QFile f(ugud);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    };
    // An integrator's own variable beside the plug-in's, and an old
    // definition of one of the plug-in's that gives way.
    QVERIFY(writeUgud("%_N_UGUD_DEF\nDEF NCK REAL GAUGE_LEN[3]\nDEF NCK INT TMR_FILE\n"));
    ShowSettings();

    struct Outcome
    {
        const char* fault;   // nc fault arguments before it, empty for none
        const char* answer;  // the key on "Do you want to activate UGUD?"
        const char* status;
    };
    const Outcome outcomes[] = {
        {"", "doCancel", "Read settings succeeded"},
        {"check-def * --cancel", "doOK", "Activate UGUD failed. ErrInfo=Canceled"},
        {"check-def * --empty", "doOK", "Activate UGUD failed. ErrInfo=Cannot activate file"},
        {"activate-def * --code 0x82012080", "doOK", "Activate UGUD failed. ErrCodes=0x82012080"},
        {"activate-def * --cancel --code 0x8201401a", "doOK", "Activate UGUD failed. ErrInfo=Canceled"},
        {"copy //NC/DEF.DIR/UGUD.DEF --code 0x81501005", "doOK", "Activate UGUD failed. ErrInfo=Cannot save file"},
        {"", "doOK", "Activate UGUD succeeded. Please restart HMI."},
    };
    QCOMPARE(Nc({QStringLiteral("get"), QStringLiteral("/NC/_N_NC_GD3_ACX/GAUGE_LEN[1]")}).code, 1);
    for (const Outcome& o : outcomes) {
        const QByteArray before = readUgud();
        Open(QStringLiteral("activateUGUD"), QStringLiteral("screenUGUD"));
        QCOMPARE(Caption(), QStringLiteral("Activate UGUD"));
        const QStringList rows = Rows(QStringLiteral("gridUGUD"));
        QCOMPARE(rows.first(), QStringLiteral("\t1\t+\t; NC Velmar Variables"));
        // Kept with both numbers, dropped with the old one only (the file
        // on the NC is the merged one once an activation has written it).
        QVERIFY2(rows.filter(QRegularExpression(QStringLiteral("^\\d+\t10\t\tDEF NCK REAL GAUGE_LEN\\[3\\]$"))).size() == 1,
                 qPrintable(rows.join('\n')));
        QVERIFY2(rows.filter(QRegularExpression(QStringLiteral("^\\d+\t\t-\tDEF NCK INT TMR_FILE$"))).size() == 1,
                 qPrintable(rows.join('\n')));
        // Set once the screen has read the file: the copy fault is for the
        // way back to the NC.
        if (*o.fault)
            QCOMPARE(Nc(QStringList{QStringLiteral("fault")} + QString::fromLatin1(o.fault).split(QLatin1Char(' '))).code, 0);
        Key(QStringLiteral("doOK"));
        Answer(QString::fromLatin1(o.answer));
        QTRY_COMPARE_WITH_TIMEOUT(Status(), QString::fromLatin1(o.status), 20000);
        Nc({QStringLiteral("fault"), QStringLiteral("clear")});
        if (QByteArray(o.answer) == "doCancel" || QByteArray(o.fault).startsWith("copy"))
            QCOMPARE(readUgud(), before);
    }
    // The merged file is on the NC and its new variables are readable.
    const QByteArray merged = readUgud();
    QVERIFY2(merged.startsWith("; NC Velmar Variables\nDEF NCK INT TMR_FILE\n") && merged.endsWith("M30\n"),
             merged.constData());
    QCOMPARE(Nc({QStringLiteral("get"), QStringLiteral("/NC/_N_NC_GD3_ACX/GAUGE_LEN[1]")}).out.trimmed(),
             QStringLiteral("0"));
    QCOMPARE(Nc({QStringLiteral("get"), QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_FINDSPHERE[7]")}).code, 0);

    // A read failure leaves the grid empty and OK dark; Cancel still leaves.
    QCOMPARE(Nc({QStringLiteral("fault"), QStringLiteral("exist"), QStringLiteral("//NC/DEF.DIR/UGUD.DEF"),
                 QStringLiteral("--code"), QStringLiteral("0x81501005")}).code, 0);
    Open(QStringLiteral("activateUGUD"), QStringLiteral("screenUGUD"));
    QTRY_COMPARE_WITH_TIMEOUT(Status(), QStringLiteral("Cannot load UGUD file"), 20000);
    QVERIFY(!KeyEnabled(8));
    QCOMPARE(Read(QStringLiteral("gridUGUD")), QString());
    Open(QStringLiteral("doCancel"), QStringLiteral("screenSettings"));
    Nc({QStringLiteral("fault"), QStringLiteral("clear")});
}

QTEST_MAIN(TestSettingsScreens)
#include "TestSettingsScreens.moc"

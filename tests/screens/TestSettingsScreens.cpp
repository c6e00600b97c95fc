// The settings screen, the work offset axes map and the UGUD screen as a commissioning engineer uses them:
// harvel-hmi runs the installed plug-in as a process of its own, the test presses keys and edits widgets through
// the control socket, and reads TMRNC.INI, the NC and the net server.
#include "HmiMachine.h"

#include <QSettings>
#include <QtTest>

using namespace NetLinkFixture;

class TestSettingsScreens : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(m.Install() && m.Start()); }
    void cleanupTestCase() { m.Stop(); }

    void settingsFollowedByFileAndPlugin();
    void axesMapKeepsWhatItCannotShow();
    void ugudActivationEveryOutcome();

private:
    // Grid rows written as one text, '|' between them.
    static QStringList Lines(const char* rows) { return QString::fromLatin1(rows).split(QLatin1Char('|')); }
    QString Port() const { return m.server.section(QLatin1Char(':'), 1); }
    QString Ini() const { return m.Path("card/oem/sinumerik/hmi/NorvaneZYN/cfg/TMRNC.INI"); }
    QString Setting(const QString& key) const { return QSettings(Ini(), QSettings::IniFormat).value("TMRNC/" + key).toString(); }
    // Answers the query (its caption, question and no status shown) and waits for the settings screen again.
    bool Answer(const QString& action)
    {
        return m.WaitScreen("screenMessage") && m.Caption() == "Query" && m.Status().isEmpty()
            && m.Read("labelMessage").startsWith("Do you want to ") && m.Open(action, "screenSettings");
    }
    CtlResult Nc(const QStringList& args) { return m.Ctl(QStringList{"nc"} + args); }

    HmiMachine m;
};

void TestSettingsScreens::settingsFollowedByFileAndPlugin()
{
    // A hand edit in another letter case is what the screen would save: a fresh screen has nothing to save.
    const QByteArray edited = FileBytes(Ini()).replace("workoffset=FINE", "workoffset=fine");
    QFile ini(Ini());
    QVERIFY(ini.open(QIODevice::WriteOnly | QIODevice::Truncate) && ini.write(edited) == edited.size() && ini.flush());
    // The plug-in has taken the edit when it logs the values it read.
    QTRY_VERIFY_WITH_TIMEOUT(m.Log().contains("Work Offset Type = fine"), 20000);
    QVERIFY(m.Show(2, "screenSettings"));
    QTRY_COMPARE_WITH_TIMEOUT(m.Read("radioFine"), QStringLiteral("checked"), 10000);
    QCOMPARE(m.Caption(), QStringLiteral("NC Harvel - Settings"));
    QTRY_COMPARE_WITH_TIMEOUT(m.Status(), QStringLiteral("Read settings succeeded"), 20000);
    QVERIFY(!m.KeyEnabled(2));
    QCOMPARE(m.Read("ZYN Net Server Port"), Port());
    // The browse key follows the focus: dark on the port, lit on a folder.
    QVERIFY(m.Hmi({"focus", "ZYN Net Server Port"}) && !m.KeyEnabled(3));
    QVERIFY(m.Hmi({"focus", "TMR Macro Folder"}) && m.KeyEnabled(3));
    // Typing and taking it back leaves nothing to save; a new port does.
    const QString newPort = FreePort();
    QVERIFY(m.Fill("ZYN Net Server Port", Port() + "9") && m.KeyEnabled(2));
    QVERIFY(m.Fill("ZYN Net Server Port", Port()) && !m.KeyEnabled(2));
    QVERIFY(m.Fill("ZYN Net Server Port", newPort) && m.KeyEnabled(2));
    // Without the net server the target is needed and the net rows are not.
    QVERIFY(m.Hmi({"check", "ZYN Net Server Enable", "off"}));
    const QString widgets = m.Ctl({"hmi", "widgets"}).out;
    QVERIFY2(widgets.contains("editTargetPath\tSlGfwLineEdit\tvisible") && widgets.contains("editNetServerPort\tSlGfwLineEdit\thidden"),
             qPrintable(widgets));
    QVERIFY(m.Fill("Target Path", "//127.0.0.1/telmor/cell2/") && m.Hmi({"check", "ZYN Net Server Enable", "on"}));
    QVERIFY(m.Hmi({"check", "radioCoarse", "on"}));
    // Cancelled query and cancelled map: the file stays as it was, and the edits stay on the form, not read again over.
    const QByteArray before = FileBytes(Ini());
    QVERIFY(m.Hmi({"key", "saveSettings"}) && Answer("doCancel"));
    QVERIFY(m.Open("mapWofsAxes", "screenWofsMap") && m.Hmi({"key", "mapDefault"}));
    QCOMPARE(m.Caption(), QStringLiteral("Map Work Offset Axes"));
    QVERIFY(m.Open("doCancel", "screenSettings"));
    QCOMPARE(FileBytes(Ini()), before);
    // The file browser on the focused folder: a cancel leaves the text, a folder picked goes into the field, not
    // yet into the file.
    QVERIFY(m.Hmi({"focus", "TMR Program Folder"}) && m.Open("showFileBrowser", "screenFileBrowser"));
    QCOMPARE(m.Caption(), QStringLiteral("Select TMR program folder"));
    QVERIFY(m.Open("doCancel", "screenSettings"));
    QCOMPARE(m.Read("TMR Program Folder"), QStringLiteral("//NC/WKS.DIR/TELMOR.WPD"));
    QVERIFY(m.KeyEnabled(3) && m.Open("showFileBrowser", "screenFileBrowser"));
    QVERIFY(m.Tree("expand", "NC Data") && m.Tree("select", "NC Data/SPF.DIR") && m.Open("doOK", "screenSettings"));
    QCOMPARE(m.Read("TMR Program Folder"), QStringLiteral("//NC/SPF.DIR"));
    QCOMPARE(FileBytes(Ini()), before);
    // The map X Y Z to machine axes 1 2 3, saved at once with the rest.
    QVERIFY(m.Open("mapWofsAxes", "screenWofsMap"));
    for (const char* axis : {"X", "Y", "Z"})
        QVERIFY(m.Hmi({"cell", "gridWofsMap", QString::number(*axis - 'X'), "3", "--choose", axis}));
    QCOMPARE(m.Rows("gridWofsMap").mid(0, 3), Lines("X\t1\tLinear\tX|Y\t2\tLinear\tY|Z\t3\tLinear\tZ"));
    QVERIFY(m.Hmi({"key", "doOK"}) && Answer("doOK"));
    QTRY_COMPARE_WITH_TIMEOUT(m.Status(), QStringLiteral("Save settings succeeded. Please restart HMI to use the new settings"), 20000);
    QVERIFY(!m.KeyEnabled(2));
    // The target stored normalised, and shown as stored.
    QCOMPARE(QStringList({Setting("wofsaxes"), Setting("zynnetserverport"), Setting("workoffset"), Setting("tmrprogramdir"),
                          Setting("target")}),
             QStringList({"1-2-3-0-0-0", newPort, "COARSE", "//NC/SPF.DIR", "//127.0.0.1/telmor/cell2"}));
    QCOMPARE(m.Read("editTargetPath"), QStringLiteral("//127.0.0.1/telmor/cell2"));
    // An empty folder is refused and the file untouched.
    const QByteArray saved = FileBytes(Ini());
    QVERIFY(m.Fill("TMR Macro Folder", " ") && m.Hmi({"key", "saveSettings"}) && Answer("doOK"));
    QTRY_COMPARE_WITH_TIMEOUT(m.Status(), QStringLiteral("Save settings failed. TMR Macro Folder cannot be empty"), 20000);
    QCOMPARE(FileBytes(Ini()), saved);
    QVERIFY(m.Hmi({"key", "readSettings"}));
    QCOMPARE(m.Read("TMR Macro Folder"), QStringLiteral("//NC/SPF.DIR"));
    // The running plug-in takes the map at once: a coarse shift of G54 (frame 1, rows 7 to 12 of six machine axes)
    // for X Y Z and A B C changes the rows of X Y Z and nothing else. The net server is still on its old port.
    const QString frame = QStringLiteral("/Channel/UserFrame/linShift[u1,%1]");
    QList<double> shifts;
    for (int row = 7; row <= 12; ++row)
        shifts << m.Get(frame.arg(row)).toDouble();
    const ClientRun run = RunClient("127.0.0.1:" + Port(), {"request", "1 7 1 G54 0 0 0.3 0.2 0.1 0.25 -0.5 1.5 0"});
    QVERIFY2(run.exitCode == 0, qPrintable(run.err + run.out));
    const QList<double> shift{1.5, -0.5, 0.25, 0, 0, 0};
    for (int row = 7; row <= 12; ++row)
        QCOMPARE(m.Get(frame.arg(row)).toDouble(), shifts.at(row - 7) + shift.at(row - 7));
}

void TestSettingsScreens::axesMapKeepsWhatItCannotShow()
{
    // A hand edit names machine axis 9, which this machine does not have.
    QSettings(Ini(), QSettings::IniFormat).setValue("TMRNC/wofsaxes", "1-9-0-0-0-0");
    QVERIFY(m.Show(2, "screenSettings"));
    QTRY_COMPARE_WITH_TIMEOUT(m.Read("editWofsAxes"), QStringLiteral("1-9-0-0-0-0"), 10000);

    QVERIFY(m.Open("mapWofsAxes", "screenWofsMap"));
    const QStringList filled = Lines("X\t1\tLinear\tX|Y\t9\t\t|Z\t0\t\t|A\t0\t\t|B\t0\t\t|C\t0\t\t");
    QCOMPARE(m.Rows("gridWofsMap"), filled);
    // The same map back asks nothing and changes nothing.
    const QByteArray before = FileBytes(Ini());
    QVERIFY(m.Open("doOK", "screenSettings"));
    QCOMPARE(FileBytes(Ini()), before);
    // The default map goes by name (the spindle SP1 is nobody's B) and is gone with a cancel; the next showing
    // starts from the stored map.
    QVERIFY(m.Open("mapWofsAxes", "screenWofsMap") && m.Hmi({"key", "mapDefault"}));
    QCOMPARE(m.Rows("gridWofsMap"),
             Lines("X\t1\tLinear\tX|Y\t2\tLinear\tY|Z\t3\tLinear\tZ|A\t4\tRotary\tA|B\t0\t\t|C\t6\tRotary\tC"));
    QVERIFY(m.Open("doCancel", "screenSettings"));
    QCOMPARE(FileBytes(Ini()), before);
    QVERIFY(m.Open("mapWofsAxes", "screenWofsMap"));
    QCOMPARE(m.Rows("gridWofsMap"), filled);
    // Choosing no axis writes 0; the untouched 9 is kept.
    QVERIFY(m.Hmi({"cell", "gridWofsMap", "0", "3", "--choose", QString()}) && m.Hmi({"key", "doOK"}) && Answer("doOK"));
    QCOMPARE(Setting("wofsaxes"), QStringLiteral("0-9-0-0-0-0"));
}

void TestSettingsScreens::ugudActivationEveryOutcome()
{
    const QString ugud = m.Path("nc/DEF.DIR/UGUD.DEF");
    // An integrator's own variable beside the plug-in's, and an old definition of one of the plug-in's that gives way.
    QFile file(ugud);
    const QByteArray old("%_N_UGUD_DEF\nDEF NCK REAL GAUGE_LEN[3]\nDEF NCK INT TMR_FILE\n");
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(old) == old.size() && file.flush() && m.Show(2, "screenSettings"));
    // The nc fault's arguments before it (empty for none), the key on "Do you want to activate UGUD?", and the status.
    const struct { const char *fault, *answer, *status; } outcomes[] = {
        {"", "doCancel", "Read settings succeeded"},
        {"check-def * --cancel", "doOK", "Activate UGUD failed. ErrInfo=Canceled"},
        {"check-def * --empty", "doOK", "Activate UGUD failed. ErrInfo=Cannot activate file"},
        {"activate-def * --code 0x82012080", "doOK", "Activate UGUD failed. ErrCodes=0x82012080"},
        {"activate-def * --cancel --code 0x8201401a", "doOK", "Activate UGUD failed. ErrInfo=Canceled"},
        {"copy //NC/DEF.DIR/UGUD.DEF --code 0x81501005", "doOK", "Activate UGUD failed. ErrInfo=Cannot save file"},
        {"", "doOK", "Activate UGUD succeeded. Please restart HMI."},
    };
    QCOMPARE(Nc({"get", "/NC/_N_NC_GD3_ACX/GAUGE_LEN[1]"}).code, 1);
    for (const auto& o : outcomes) {
        const QByteArray before = FileBytes(ugud);
        QVERIFY(m.Open("activateUGUD", "screenUGUD"));
        QCOMPARE(m.Caption(), QStringLiteral("Activate UGUD"));
        const QStringList rows = m.Rows("gridUGUD");
        QCOMPARE(rows.first(), QStringLiteral("\t1\t+\t; NC Velmar Variables"));
        // Kept with both numbers, dropped with the old one only (the file on the NC is the merged one once an
        // activation has written it).
        QVERIFY2(rows.filter(QRegularExpression("^\\d+\t10\t\tDEF NCK REAL GAUGE_LEN\\[3\\]$")).size() == 1,
                 qPrintable(rows.join('\n')));
        QVERIFY2(rows.filter(QRegularExpression("^\\d+\t\t-\tDEF NCK INT TMR_FILE$")).size() == 1,
                 qPrintable(rows.join('\n')));
        // Set once the screen has read the file: the copy fault is for the way back to the NC.
        if (*o.fault)
            QCOMPARE(Nc(QStringList{"fault"} + QString(o.fault).split(' ')).code, 0);
        QVERIFY(m.Hmi({"key", "doOK"}) && Answer(o.answer));
        QTRY_COMPARE_WITH_TIMEOUT(m.Status(), QString::fromLatin1(o.status), 20000);
        Nc({"fault", "clear"});
        if (QByteArray(o.answer) == "doCancel" || QByteArray(o.fault).startsWith("copy"))
            QCOMPARE(FileBytes(ugud), before);
    }
    // The merged file is on the NC and its new variables are readable.
    const QByteArray merged = FileBytes(ugud);
    QVERIFY2(merged.startsWith("; NC Velmar Variables\nDEF NCK INT TMR_FILE\n") && merged.endsWith("M30\n"),
             merged.constData());
    QCOMPARE(m.Get("/NC/_N_NC_GD3_ACX/GAUGE_LEN[1]"), QStringLiteral("0"));
    QCOMPARE(Nc({"get", "/NC/_N_NC_GD3_ACX/TMR_FINDSPHERE[7]"}).code, 0);
    // A read failure leaves the grid empty and OK dark; Cancel still leaves.
    QCOMPARE(Nc({"fault", "exist", "//NC/DEF.DIR/UGUD.DEF", "--code", "0x81501005"}).code, 0);
    QVERIFY(m.Open("activateUGUD", "screenUGUD"));
    QTRY_COMPARE_WITH_TIMEOUT(m.Status(), QStringLiteral("Cannot load UGUD file"), 20000);
    QVERIFY(!m.KeyEnabled(8));
    QCOMPARE(m.Read("gridUGUD"), QString());
    QVERIFY(m.Open("doCancel", "screenSettings"));
    Nc({"fault", "clear"});
}

QTEST_MAIN(TestSettingsScreens)
#include "TestSettingsScreens.moc"

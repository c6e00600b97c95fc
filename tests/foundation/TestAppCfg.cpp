#include "AppCfg.h"
#include "Logger.h"

#include <QtTest>

namespace {
// The nine settings in the order of GetSettings/SetSettings.
struct Nine
{
    QStringList v{"//127.0.0.1/telmor", "FINE", "0-0-0-0-0-0", "0", "0.0.0.0", "8510", "//NC/SPF.DIR",
                  "//NC/WKS.DIR/TELMOR.WPD", "//NC/WKS.DIR/TELMOR.WPD/RESULT.MPF"};
    enum { Target, Workoffset, Axes, Enable, Ip, Port, MacroDir, ProgramDir, ResultFile };
    Nine& with(int i, const QString& value) { v[i] = value; return *this; }
};

QStringList get(CAppCfg& cfg)
{
    Nine n;
    cfg.GetSettings(n.v[0], n.v[1], n.v[2], n.v[3], n.v[4], n.v[5], n.v[6], n.v[7], n.v[8]);
    return n.v;
}
bool set(CAppCfg& cfg, const Nine& n, QString& error)
{
    return cfg.SetSettings(n.v[0], n.v[1], n.v[2], n.v[3], n.v[4], n.v[5], n.v[6], n.v[7], n.v[8], error);
}
} // namespace

class TestAppCfg : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_logDir;
    QScopedPointer<QTemporaryDir> m_tmp;
    QString m_ini;

    void writeIni(const QByteArray& content, const char* suffix = "")
    {
        QFile f(m_ini + suffix);
        QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
        f.write(content);
    }
    QString log() const
    {
        QFile f(m_logDir.path() + "/test.log");
        return f.open(QIODevice::ReadOnly) ? QString::fromUtf8(f.readAll()) : QString();
    }
    QString iniValue(const QString& key) const { return QSettings(m_ini, QSettings::IniFormat).value("TMRNC/" + key).toString(); }

private slots:
    void initTestCase() { QVERIFY(CLogger::Initialize(m_logDir.path() + "/test.log", 20)); }
    void cleanupTestCase() { CLogger::UnInitialize(); }
    void init()
    {
        m_tmp.reset(new QTemporaryDir);
        QDir().mkpath(m_tmp->path() + "/cfg");
        m_ini = m_tmp->path() + "/cfg/TMRNC.INI";
    }

    void missingFileKeepsDefaultsAndWatchesNothing()
    {
        CAppCfg cfg;
        QVERIFY(!cfg.Initialize(m_tmp->path() + "/appl", m_ini));
        QCOMPARE(get(cfg), Nine().v);
        QCOMPARE(cfg.ZynNetServerPort(), quint16(8510));
        QCOMPARE(cfg.UgudTmpFile(), m_tmp->path() + "/appl/UGUD.tmp");
        QTRY_VERIFY(log().contains("| ERR | ") && log().contains(QStringLiteral("The ini file %1 does not exist").arg(m_ini)));
        // Not watched: a file created afterwards is not read.
        writeIni("[TMRNC]\ntarget=//host/other\n");
        QTest::qWait(300);
        QCOMPARE(cfg.TargetPath(), QStringLiteral("//127.0.0.1/telmor"));
    }

    void readFillsGapsWithDefaultsAndLogsNineLines()
    {
        writeIni("[TMRNC]\ntarget = \\\\\\\\host\\\\share\\\\ \nworkoffset=fine\nwofsaxes=\nzynnetserverport=70000\n"
                 "zynnetserverip=  \ntmrmacrodir=//NC/SPF.DIR/\n");
        CAppCfg cfg;
        QVERIFY(cfg.Initialize(m_tmp->path(), m_ini));
        QCOMPARE(get(cfg), Nine().with(Nine::Target, "//host/share").with(Nine::Workoffset, "fine").v);
        QCOMPARE(cfg.WofsType(), WORKOFS_FINE);
        // The file itself stays as the user left it.
        QCOMPARE(iniValue("zynnetserverport"), QStringLiteral("70000"));
        QTRY_VERIFY(log().contains(" | INF | ") && log().contains("ZYN Net Server Port = 8510"));
        const QString text = log();
        int last = -1;
        for (const char* label : {"Target Path", "TMR Program Folder", "TMR Macro Folder", "TMR Result File", "Work Offset Type",
                                  "Work Offset Axes Map", "ZYN Net Server Enable", "ZYN Net Server IP", "ZYN Net Server Port"}) {
            const int at = text.lastIndexOf(QStringLiteral(" | %1 = ").arg(label));
            QVERIFY2(at > last, label);
            last = at;
        }
        QVERIFY(text.contains("Target Path = //host/share\n"));
    }

    void saveValidatesNormalizesAndTellsWhenRestartIsNeeded()
    {
        writeIni("[TMRNC]\n");
        CAppCfg cfg;
        QVERIFY(cfg.Initialize(m_tmp->path(), m_ini));
        QString error;
        // The first failing check in the order of the form names what is wrong; nothing changes.
        const QString port = "ZYN Net Server Port must be an integer between 0 and 65535";
        const QList<QPair<Nine, QString>> bad{
            {Nine().with(Nine::Target, "  ").with(Nine::Axes, "").with(Nine::Port, ""), "Target Path cannot be empty"},
            {Nine().with(Nine::ResultFile, "/").with(Nine::Workoffset, ""), "TMR Result File cannot be empty"},
            {Nine().with(Nine::Ip, "").with(Nine::Port, "x"), "ZYN Net Server IP cannot be empty"},
            {Nine().with(Nine::Port, ""), port}, {Nine().with(Nine::Port, "-1"), port},
            {Nine().with(Nine::Port, "65536"), port}, {Nine().with(Nine::Port, "80a"), port}};
        for (const auto& b : bad) {
            QVERIFY(!set(cfg, b.first, error));
            QCOMPARE(error, b.second);
        }
        QCOMPARE(get(cfg), Nine().v);
        QVERIFY(iniValue("target").isEmpty());

        // Saved normalized; the same values again, or only the letter case of the address: no notice.
        error.clear();
        QVERIFY(set(cfg, Nine().with(Nine::Target, " \\\\pc\\results\\ ").with(Nine::Ip, "FE80::1"), error));
        QCOMPARE(iniValue("target"), QStringLiteral("//pc/results"));
        error.clear();
        QVERIFY(set(cfg, Nine().with(Nine::Target, "//pc/results").with(Nine::Ip, "fe80::1"), error) && error.isEmpty());
        QVERIFY(set(cfg, Nine().with(Nine::Target, "//pc/results").with(Nine::Port, "9000"), error));
        QCOMPARE(error, QStringLiteral("Please restart HMI to use the new settings"));
        QCOMPARE(cfg.ZynNetServerPort(), quint16(9000));
        QCOMPARE(iniValue("zynnetserverport"), QStringLiteral("9000"));

        // The axes map in both forms.
        QList<int> idx;
        QStringList names;
        for (const auto& map : QList<QPair<QString, QList<int>>>{{"1-2-3", {1, 2, 3, 0, 0, 0}}, {"12x4", {1, 2, 0, 4, 0, 0}},
                                                                 {"5--a-2", {5, 0, 0, 2, 0, 0}}}) {
            QVERIFY(set(cfg, Nine().with(Nine::Axes, map.first), error));
            cfg.GetWofsMapAxisIndexList(idx, names);
            QCOMPARE(idx, map.second);
        }
        QCOMPARE(names, (QStringList{"X", "Y", "Z", "A", "B", "C"}));
        QCOMPARE(cfg.GetWofsMapAxisIndex(6) + cfg.GetWofsMapAxisIndex(-1), 0);
    }

    void handEditsAndDeletionAreFollowed()
    {
        writeIni("[TMRNC]\ntarget=//a/one\nwofsaxes=1-2-3\n");
        CAppCfg cfg;
        QVERIFY(cfg.Initialize(m_tmp->path(), m_ini));
        QCOMPARE(cfg.TargetPath(), QStringLiteral("//a/one"));
        writeIni("[TMRNC]\ntarget=//a/two\nworkoffset=COARSE\nwofsaxes=1-2-3\n");
        QTRY_COMPARE(cfg.TargetPath(), QStringLiteral("//a/two"));
        QCOMPARE(cfg.WofsType(), WORKOFS_COARSE);
        QTRY_VERIFY(log().contains(QStringLiteral("The ini file %1 has been changed").arg(m_ini)));

        // An editor that writes a new file and renames it over the old one.
        writeIni("[TMRNC]\ntarget=//a/three\nwofsaxes=1-2-3\n", ".swp");
        QVERIFY(::rename(QFile::encodeName(m_ini + ".swp").constData(), QFile::encodeName(m_ini).constData()) == 0);
        QTRY_COMPARE(cfg.TargetPath(), QStringLiteral("//a/three"));
        writeIni("[TMRNC]\ntarget=//keep/me\nwofsaxes=1-2-3\n");
        QTRY_COMPARE(cfg.TargetPath(), QStringLiteral("//keep/me"));

        // A deleted file is written again from memory, and watched again.
        QVERIFY(QFile::remove(m_ini));
        QTRY_VERIFY(QFile::exists(m_ini));
        QTRY_COMPARE(iniValue("target"), QStringLiteral("//keep/me"));
        QCOMPARE(iniValue("wofsaxes"), QStringLiteral("1-2-3"));
        QTRY_VERIFY(log().contains("| WAR | ") &&
                    log().contains(QStringLiteral("The ini file %1 has been deleted or renamed").arg(m_ini)));
        // Emptying every key brings all defaults into force.
        writeIni("[TMRNC]\ntarget=\nworkoffset=\nwofsaxes=\nzynnetserverenable=\nzynnetserverip=\n"
                 "zynnetserverport=\ntmrprogramdir=\ntmrresultfile=\ntmrmacrodir=\n");
        QTRY_COMPARE(get(cfg), Nine().v);
        QCOMPARE(iniValue("target"), QString());
    }

    // Regression: TMRNC.INI overwritten while the HMI runs with what is no ini of the plug-in (binary bytes, a
    // truncated file mid-save, another program's ini). The settings in force stay, the problem is logged, and
    // the file is left exactly as it was written; a good edit afterwards is taken as before.
    void hostileConfigKeepsTheSettingsInForce()
    {
        writeIni("[TMRNC]\ntarget=//host/running\nzynnetserverport=8600\nwofsaxes=1-2-3\n");
        CAppCfg cfg;
        QVERIFY(cfg.Initialize(m_tmp->path(), m_ini));
        QByteArray binary;
        for (int i = 0; i < 4096; ++i)
            binary.append(char((i * 131 + 7) % 256));
        const QString refused = QStringLiteral("Read ini file failed. IniFile=");
        for (const QByteArray& bytes : {binary, QByteArray(), QByteArray("[TMRNC"), QByteArray("[Other]\ntarget=//host/elsewhere\n"),
                                        QByteArray("\xff\xfe[\0T\0M\0R\0N\0C\0]\0", 16)}) {
            const int refusals = log().count(refused);
            writeIni(bytes);
            // Through the watcher, as on the machine; a write may be seen twice.
            QTRY_VERIFY(log().count(refused) > refusals);
            QCOMPARE(cfg.TargetPath(), QStringLiteral("//host/running"));
            QCOMPARE(cfg.ZynNetServerPort(), quint16(8600));
            QCOMPARE(cfg.GetWofsMapAxisIndex(2), 3);
            QFile file(m_ini);
            QVERIFY(file.open(QIODevice::ReadOnly));
            QCOMPARE(file.readAll(), bytes);
        }
        writeIni("[TMRNC]\ntarget=//host/edited\n");
        QTRY_COMPARE(cfg.TargetPath(), QStringLiteral("//host/edited"));
    }

    void machineAxisListWithAndWithoutNone()
    {
        CAppCfg cfg;
        cfg.SetMachAxisList({{0, AXIS_LINEAR, "X1", 1.5}, {4, AXIS_ROTARY, "C1"}});
        QList<tagAxisInfo> axes;
        QStringList names;
        cfg.GetMachAxisList(axes, names, true);
        QCOMPARE(names, (QStringList{"", "X1", "C1"}));
        QCOMPARE(QList<int>({axes.at(0).index, int(axes.at(0).type), axes.at(1).index, axes.at(2).index}), QList<int>({0, -1, 1, 5}));
        cfg.GetMachAxisList(axes, names, false);
        QCOMPARE(names, (QStringList{"X1", "C1"}));
        QCOMPARE(axes.at(1).index, 4);
    }
};

QTEST_GUILESS_MAIN(TestAppCfg)
#include "TestAppCfg.moc"

#include "AppCfg.h"
#include "Logger.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

namespace {
struct Nine
{
    QString target = QStringLiteral("//127.0.0.1/telmor");
    QString workoffset = QStringLiteral("FINE");
    QString wofsaxes = QStringLiteral("0-0-0-0-0-0");
    QString enable = QStringLiteral("0");
    QString ip = QStringLiteral("0.0.0.0");
    QString port = QStringLiteral("8510");
    QString macroDir = QStringLiteral("//NC/SPF.DIR");
    QString programDir = QStringLiteral("//NC/WKS.DIR/TELMOR.WPD");
    QString resultFile = QStringLiteral("//NC/WKS.DIR/TELMOR.WPD/RESULT.MPF");

    bool operator==(const Nine& o) const
    {
        return target == o.target && workoffset == o.workoffset && wofsaxes == o.wofsaxes && enable == o.enable &&
               ip == o.ip && port == o.port && macroDir == o.macroDir && programDir == o.programDir &&
               resultFile == o.resultFile;
    }
};

Nine Get(CAppCfg& cfg)
{
    Nine n;
    cfg.GetSettings(n.target, n.workoffset, n.wofsaxes, n.enable, n.ip, n.port, n.macroDir, n.programDir,
                    n.resultFile);
    return n;
}

bool Set(CAppCfg& cfg, const Nine& n, QString& error)
{
    return cfg.SetSettings(n.target, n.workoffset, n.wofsaxes, n.enable, n.ip, n.port, n.macroDir, n.programDir,
                           n.resultFile, error);
}
} // namespace

class TestAppCfg : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_logDir;
    QTemporaryDir* m_tmp = nullptr;
    QString m_ini;

    void WriteIni(const QByteArray& content)
    {
        QFile f(m_ini);
        QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
        f.write(content);
    }
    QString Log() const
    {
        QFile f(m_logDir.path() + QStringLiteral("/test.log"));
        return f.open(QIODevice::ReadOnly) ? QString::fromUtf8(f.readAll()) : QString();
    }
    QString IniValue(const QString& key) const
    {
        QSettings s(m_ini, QSettings::IniFormat);
        return s.value(QStringLiteral("TMRNC/") + key).toString();
    }

private slots:
    void initTestCase() { QVERIFY(CLogger::Initialize(m_logDir.path() + QStringLiteral("/test.log"), 20)); }
    void cleanupTestCase()
    {
        delete m_tmp;
        CLogger::UnInitialize();
    }
    void init()
    {
        delete m_tmp;
        m_tmp = new QTemporaryDir;
        QDir().mkpath(m_tmp->path() + QStringLiteral("/cfg"));
        m_ini = m_tmp->path() + QStringLiteral("/cfg/TMRNC.INI");
    }

    void missingFileKeepsDefaultsAndWatchesNothing()
    {
        CAppCfg cfg;
        QVERIFY(!cfg.Initialize(m_tmp->path() + QStringLiteral("/appl"), m_ini));
        QVERIFY(Get(cfg) == Nine());
        QCOMPARE(cfg.ZynNetServerPort(), quint16(8510));
        QCOMPARE(cfg.UgudTmpFile(), m_tmp->path() + QStringLiteral("/appl/UGUD.tmp"));
        QTRY_VERIFY(Log().contains(QStringLiteral("| ERR | ")) &&
                    Log().contains(QStringLiteral("The ini file %1 does not exist").arg(m_ini)));
        // Not watched: a file created afterwards is not read.
        WriteIni("[TMRNC]\ntarget=//host/other\n");
        QTest::qWait(300);
        QCOMPARE(cfg.TargetPath(), QStringLiteral("//127.0.0.1/telmor"));
    }

    void readFillsGapsWithDefaultsAndLogsNineLines()
    {
        WriteIni("[TMRNC]\ntarget = \\\\\\\\host\\\\share\\\\ \nworkoffset=fine\nwofsaxes=\nzynnetserverport=70000\n"
                 "zynnetserverip=  \ntmrmacrodir=//NC/SPF.DIR/\n");
        CAppCfg cfg;
        QVERIFY(cfg.Initialize(m_tmp->path(), m_ini));
        const Nine n = Get(cfg);
        QCOMPARE(n.target, QStringLiteral("//host/share"));
        QCOMPARE(n.workoffset, QStringLiteral("fine"));
        QCOMPARE(cfg.WofsType(), WORKOFS_FINE);
        QCOMPARE(n.wofsaxes, QStringLiteral("0-0-0-0-0-0"));
        QCOMPARE(n.port, QStringLiteral("8510"));
        QCOMPARE(n.ip, QStringLiteral("0.0.0.0"));
        QCOMPARE(n.macroDir, QStringLiteral("//NC/SPF.DIR"));
        // The file itself stays as the user left it.
        QCOMPARE(IniValue(QStringLiteral("zynnetserverport")), QStringLiteral("70000"));

        const QStringList labels = {"Target Path",       "TMR Program Folder",   "TMR Macro Folder",
                                    "TMR Result File",   "Work Offset Type",     "Work Offset Axes Map",
                                    "ZYN Net Server Enable", "ZYN Net Server IP", "ZYN Net Server Port"};
        QTRY_VERIFY(Log().contains(QStringLiteral(" | INF | ")) &&
                    Log().contains(QStringLiteral("ZYN Net Server Port = 8510")));
        const QString log = Log();
        int last = -1;
        for (const QString& label : labels) {
            const int at = log.lastIndexOf(QStringLiteral(" | ") + label + QStringLiteral(" = "));
            QVERIFY2(at > last, qPrintable(label));
            last = at;
        }
        QVERIFY(log.contains(QStringLiteral("Target Path = //host/share\n")));
    }

    void validationOrderAndMessages()
    {
        WriteIni("[TMRNC]\n");
        CAppCfg cfg;
        QVERIFY(cfg.Initialize(m_tmp->path(), m_ini));
        const Nine before = Get(cfg);
        QString error;

        Nine n;
        n.target = QStringLiteral("  ");
        n.wofsaxes.clear();
        n.port.clear();
        QVERIFY(!Set(cfg, n, error));
        QCOMPARE(error, QStringLiteral("Target Path cannot be empty"));

        n = Nine();
        n.resultFile = QStringLiteral("/");  // normalizes to nothing
        n.workoffset.clear();
        QVERIFY(!Set(cfg, n, error));
        QCOMPARE(error, QStringLiteral("TMR Result File cannot be empty"));

        n = Nine();
        n.ip.clear();
        n.port = QStringLiteral("x");
        QVERIFY(!Set(cfg, n, error));
        QCOMPARE(error, QStringLiteral("ZYN Net Server IP cannot be empty"));

        for (const QString& bad : {QString(), QStringLiteral("-1"), QStringLiteral("65536"), QStringLiteral("80a")}) {
            n = Nine();
            n.port = bad;
            QVERIFY(!Set(cfg, n, error));
            QCOMPARE(error, QStringLiteral("ZYN Net Server Port must be an integer between 0 and 65535"));
        }
        QVERIFY(Get(cfg) == before);
        QVERIFY(IniValue(QStringLiteral("target")).isEmpty());
    }

    void saveNormalizesAndTellsWhenRestartIsNeeded()
    {
        WriteIni("[TMRNC]\n");
        CAppCfg cfg;
        QVERIFY(cfg.Initialize(m_tmp->path(), m_ini));
        QString error;

        Nine n;
        n.target = QStringLiteral(" \\\\pc\\results\\ ");
        QVERIFY(Set(cfg, n, error));
        QVERIFY(error.isEmpty());
        QCOMPARE(IniValue(QStringLiteral("target")), QStringLiteral("//pc/results"));

        // Same values again: no notice.
        error.clear();
        QVERIFY(Set(cfg, Get(cfg), error));
        QVERIFY(error.isEmpty());

        // Only the letter case of the address: no notice either.
        n = Get(cfg);
        n.ip = QStringLiteral("FE80::1");
        QVERIFY(Set(cfg, n, error));
        error.clear();
        n.ip = QStringLiteral("fe80::1");
        QVERIFY(Set(cfg, n, error));
        QVERIFY(error.isEmpty());

        n.port = QStringLiteral("9000");
        QVERIFY(Set(cfg, n, error));
        QCOMPARE(error, QStringLiteral("Please restart HMI to use the new settings"));
        QCOMPARE(cfg.ZynNetServerPort(), quint16(9000));
        QCOMPARE(IniValue(QStringLiteral("zynnetserverport")), QStringLiteral("9000"));
    }

    void handEditsAreFollowed()
    {
        WriteIni("[TMRNC]\ntarget=//a/one\n");
        CAppCfg cfg;
        QVERIFY(cfg.Initialize(m_tmp->path(), m_ini));
        QCOMPARE(cfg.TargetPath(), QStringLiteral("//a/one"));

        WriteIni("[TMRNC]\ntarget=//a/two\nworkoffset=COARSE\n");
        QTRY_COMPARE(cfg.TargetPath(), QStringLiteral("//a/two"));
        QCOMPARE(cfg.WofsType(), WORKOFS_COARSE);
        QTRY_VERIFY(Log().contains(QStringLiteral("The ini file %1 has been changed").arg(m_ini)));

        // An editor that writes a new file and renames it over the old one.
        const QString tmp = m_ini + QStringLiteral(".swp");
        {
            QFile f(tmp);
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write("[TMRNC]\ntarget=//a/three\n");
        }
        QVERIFY(::rename(QFile::encodeName(tmp).constData(), QFile::encodeName(m_ini).constData()) == 0);
        QTRY_COMPARE(cfg.TargetPath(), QStringLiteral("//a/three"));
        WriteIni("[TMRNC]\ntarget=//a/four\n");
        QTRY_COMPARE(cfg.TargetPath(), QStringLiteral("//a/four"));

        // Emptying every key brings all defaults into force.
        WriteIni("[TMRNC]\ntarget=\nworkoffset=\nwofsaxes=\nzynnetserverenable=\nzynnetserverip=\n"
                 "zynnetserverport=\ntmrprogramdir=\ntmrresultfile=\ntmrmacrodir=\n");
        QTRY_VERIFY(Get(cfg) == Nine());
        QCOMPARE(IniValue(QStringLiteral("target")), QString());
    }

    void deletedFileIsWrittenAgainFromMemory()
    {
        WriteIni("[TMRNC]\ntarget=//keep/me\nwofsaxes=1-2-3\n");
        CAppCfg cfg;
        QVERIFY(cfg.Initialize(m_tmp->path(), m_ini));
        QVERIFY(QFile::remove(m_ini));
        QTRY_VERIFY(QFile::exists(m_ini));
        QTRY_COMPARE(IniValue(QStringLiteral("target")), QStringLiteral("//keep/me"));
        QCOMPARE(IniValue(QStringLiteral("wofsaxes")), QStringLiteral("1-2-3"));
        QTRY_VERIFY(Log().contains(QStringLiteral("| WAR | ")) &&
                    Log().contains(QStringLiteral("The ini file %1 has been deleted or renamed").arg(m_ini)));
        // And it is watched again.
        WriteIni("[TMRNC]\ntarget=//after/delete\n");
        QTRY_COMPARE(cfg.TargetPath(), QStringLiteral("//after/delete"));
    }

    void axesMapInBothForms()
    {
        WriteIni("[TMRNC]\nwofsaxes=1-2-3\n");
        CAppCfg cfg;
        QVERIFY(cfg.Initialize(m_tmp->path(), m_ini));
        QList<int> idx;
        QStringList names;
        cfg.GetWofsMapAxisIndexList(idx, names);
        QCOMPARE(idx, (QList<int>{1, 2, 3, 0, 0, 0}));
        QCOMPARE(names, (QStringList{"X", "Y", "Z", "A", "B", "C"}));
        QCOMPARE(cfg.GetWofsMapAxisIndex(6), 0);
        QCOMPARE(cfg.GetWofsMapAxisIndex(-1), 0);

        QString error;
        Nine n;
        n.wofsaxes = QStringLiteral("12x4");
        QVERIFY(Set(cfg, n, error));
        cfg.GetWofsMapAxisIndexList(idx, names);
        QCOMPARE(idx, (QList<int>{1, 2, 0, 4, 0, 0}));
        n.wofsaxes = QStringLiteral("5--a-2");
        QVERIFY(Set(cfg, n, error));
        cfg.GetWofsMapAxisIndexList(idx, names);
        QCOMPARE(idx, (QList<int>{5, 0, 0, 2, 0, 0}));
    }

    void machineAxisListWithAndWithoutNone()
    {
        CAppCfg cfg;
        tagAxisInfo x;
        x.index = 0; x.type = AXIS_LINEAR; x.name = QStringLiteral("X1"); x.value = 1.5;
        tagAxisInfo c;
        c.index = 4; c.type = AXIS_ROTARY; c.name = QStringLiteral("C1");
        cfg.SetMachAxisList({x, c});

        QList<tagAxisInfo> axes;
        QStringList names;
        cfg.GetMachAxisList(axes, names, true);
        QCOMPARE(names, (QStringList{"", "X1", "C1"}));
        QCOMPARE(axes.at(0).index, 0);
        QCOMPARE(int(axes.at(0).type), -1);
        QCOMPARE(axes.at(1).index, 1);
        QCOMPARE(axes.at(2).index, 5);
        cfg.GetMachAxisList(axes, names, false);
        QCOMPARE(names, (QStringList{"X1", "C1"}));
        QCOMPARE(axes.at(1).index, 4);
    }
};

QTEST_GUILESS_MAIN(TestAppCfg)
#include "TestAppCfg.moc"

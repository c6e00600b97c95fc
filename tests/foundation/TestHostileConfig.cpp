// TMRNC.INI overwritten while the HMI runs with what is no ini of the
// plug-in: binary bytes, a truncated file mid-save, another program's ini.
// The settings in force stay, the problem is logged, and the file is left
// exactly as it was written; a good edit afterwards is taken as before.
#include "AppCfg.h"
#include "NcAccessFixture.h"

#include <QtTest>

class TestHostileConfig : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_log.start(); }
    void cleanupTestCase() { TestLog::stop(); }
    void garbageKeepsTheSettingsInForce();

private:
    TestLog m_log;
};

void TestHostileConfig::garbageKeepsTheSettingsInForce()
{
    QTemporaryDir dir;
    const QString ini = dir.path() + QStringLiteral("/cfg/TMRNC.INI");
    QVERIFY(NcMachine::writeFile(ini, "[TMRNC]\ntarget=//host/running\nzynnetserverport=8600\nwofsaxes=1-2-3\n"));
    CAppCfg cfg;
    QVERIFY(cfg.Initialize(dir.path(), ini));
    QCOMPARE(cfg.TargetPath(), QStringLiteral("//host/running"));

    QByteArray binary;
    for (int i = 0; i < 4096; ++i)
        binary.append(char((i * 131 + 7) % 256));
    const QList<QByteArray> garbage{binary,
                                    QByteArray(),
                                    QByteArray("[TMRNC"),
                                    QByteArray("[Other]\ntarget=//host/elsewhere\n"),
                                    QByteArray("\xff\xfe[\0T\0M\0R\0N\0C\0]\0", 16)};
    int refusals = 0;
    for (const QByteArray& bytes : garbage) {
        QVERIFY(NcMachine::writeFile(ini, bytes));
        // Through the watcher, as on the machine; a write may be seen twice.
        const int seen = m_log.text().count(QStringLiteral("has been changed"));
        QTRY_VERIFY_WITH_TIMEOUT(m_log.text().count(QStringLiteral("has been changed")) > seen, 5000);
        QVERIFY(m_log.flushed());
        QCOMPARE(cfg.TargetPath(), QStringLiteral("//host/running"));
        QCOMPARE(cfg.ZynNetServerPort(), quint16(8600));
        QCOMPARE(cfg.GetWofsMapAxisIndex(2), 3);
        QFile file(ini);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), bytes);
        QVERIFY(m_log.text().count(QStringLiteral("Read ini file failed. IniFile=")) > refusals);
        refusals = m_log.text().count(QStringLiteral("Read ini file failed. IniFile="));
    }
    QVERIFY(NcMachine::writeFile(ini, "[TMRNC]\ntarget=//host/edited\n"));
    QTRY_COMPARE_WITH_TIMEOUT(cfg.TargetPath(), QStringLiteral("//host/edited"), 5000);
}

QTEST_GUILESS_MAIN(TestHostileConfig)
#include "TestHostileConfig.moc"

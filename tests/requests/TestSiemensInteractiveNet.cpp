// Request files through the whole chain: the plug-in installed into a
// virtual machine with its net server enabled and the digit form of the
// axes map, harvel-client sending each request as the measurement
// application does, and the outcome checked on the NC.

#include "HmiHost.h"
#include "NetLinkFixture.h"
#include "VirtualNc.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdlib>

using namespace NetLinkFixture;

class TestSiemensInteractiveNet : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void requestsFromTheMeasurementApplication();

private:
    QString ApplDir() const
    {
        return m_machine.path() + QStringLiteral("/card/oem/sinumerik/hmi/NorvaneZYN/appl");
    }
    QString Log() const
    {
        QFile file(ApplDir() + QStringLiteral("/logs/SiemensHarvel.log"));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }
    ClientRun Request(const QString& line, const QString& name)
    {
        return RunClient(m_server, {QStringLiteral("request"), line, QStringLiteral("--name"), name});
    }
    double NcGet(const QString& path)
    {
        return m_host->nc()->control({QStringLiteral("get"), path}).out.trimmed().toDouble();
    }

    QTemporaryDir m_machine;
    QScopedPointer<HmiHost> m_host;
    QString m_server;
};

void TestSiemensInteractiveNet::initTestCase()
{
    QVERIFY(m_machine.isValid());
    const QString install = QStringLiteral("HARVEL_BUILD_DIR='%1' bash '%2' --net-server 127.0.0.1:0 '%3' >/dev/null")
                                .arg(BinaryDir(), QStringLiteral(HARVEL_INSTALL_SCRIPT), m_machine.path());
    QVERIFY(std::system(install.toLocal8Bit().constData()) == 0);
    {
        QSettings ini(m_machine.path() + QStringLiteral("/card/oem/sinumerik/hmi/NorvaneZYN/cfg/TMRNC.INI"),
                      QSettings::IniFormat);
        ini.setValue(QStringLiteral("TMRNC/wofsaxes"), QStringLiteral("123000"));
    }
    m_host.reset(new HmiHost);
    const QStringList problems = m_host->start(m_machine.path());
    QVERIFY2(problems.isEmpty(), qPrintable(problems.join(QLatin1Char('\n'))));
    const quint16 port = ServerPort(QFileInfo(ApplDir()).canonicalFilePath());
    QVERIFY2(port != 0, qPrintable(Log()));
    m_server = QStringLiteral("127.0.0.1:%1").arg(port);
}

void TestSiemensInteractiveNet::cleanupTestCase()
{
    if (m_host)
        m_host->shutdown();
    m_host.reset();
}

void TestSiemensInteractiveNet::requestsFromTheMeasurementApplication()
{
    const QString reqDir = ApplDir() + QStringLiteral("/zyn/req");

    ClientRun run = Request(QStringLiteral("3 7 0 25 1234567.89"), QStringLiteral("W25"));
    QVERIFY2(run.exitCode == 0, qPrintable(run.err));
    QCOMPARE(run.out, QStringLiteral("carried out\n"));
    QCOMPARE(NcGet(QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_VAR[26]")), 1234567.89);

    // The answer comes back to the client and is gone from the machine.
    run = Request(QStringLiteral("4 7 0 25 ANS25.RES"), QStringLiteral("R25"));
    QVERIFY2(run.exitCode == 0, qPrintable(run.err));
    QCOMPARE(run.out, QStringLiteral("carried out\n1.23457e+06\n"));
    QTRY_VERIFY_WITH_TIMEOUT(!QFile::exists(reqDir + QStringLiteral("/ANS25.RES")), 10000);

    run = Request(QStringLiteral("1 7 1 G55 0 0 # # # 0.01 -0.02 0.5 0"), QStringLiteral("WO"));
    QVERIFY2(run.exitCode == 0, qPrintable(run.err));
    QCOMPARE(run.out, QStringLiteral("carried out, kept\n"));
    // G55 is frame 2 of six axes; the offsets are in force, not only set.
    QCOMPARE(m_host->nc()->activeFrameValue(QStringLiteral("linShiftFine"), 13), 0.5);
    QCOMPARE(m_host->nc()->activeFrameValue(QStringLiteral("linShiftFine"), 14), -0.02);
    QCOMPARE(m_host->nc()->activeFrameValue(QStringLiteral("linShiftFine"), 15), 0.01);
    QCOMPARE(QDir(reqDir).entryList({QStringLiteral("WO.*.REC")}, QDir::Files).size(), 1);

    // The machine's no: the request stays behind as a .REP file.
    run = Request(QStringLiteral("2 7 0 NO_SUCH_TOOL 0 0 0.04 # 1"), QStringLiteral("BAD"));
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.out, QStringLiteral("failed\n"));
    QCOMPARE(QDir(reqDir).entryList({QStringLiteral("BAD.*.REP")}, QDir::Files).size(), 1);
    QTRY_VERIFY_WITH_TIMEOUT(Log().contains(QStringLiteral("ToolName=NO_SUCH_TOOL, Diameter=0.04, ErrInfo=Cannot get "
                                                           "tool number by tool name, ErrCode=-104\n")),
                             10000);
}

QTEST_MAIN(TestSiemensInteractiveNet)
#include "TestSiemensInteractiveNet.moc"

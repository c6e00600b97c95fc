// The whole virtual machine hosted in the test's own process, as plug-in
// tests host it: what starts, what is reported, and how it ends.
#include "HmiFramework.h"
#include "HmiHost.h"
#include "HmiSystemConfig.h"
#include "HmiWindow.h"
#include "SlGfwHmiDialog.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

class TestHmiHost : public QObject
{
    Q_OBJECT

private slots:
    void startsWhatItCanAndReportsTheRest();
    void quitIsAskedForAfterTheAnswer();
};

void TestHmiHost::startsWhatItCanAndReportsTheRest()
{
    QTemporaryDir machine;
    const QString cfgDir = HmiSystemConfig::hmiFolder(machine.path()) + QStringLiteral("/cfg");
    QVERIFY(QDir().mkpath(cfgDir));
    QFile sys(cfgDir + QStringLiteral("/systemconfiguration.ini"));
    QVERIFY(sys.open(QIODevice::WriteOnly));
    sys.write("[areas]\n"
              "AREA1 = name:=TestArea, dialog:=TestAreaDialog, library:=" HMI_TEST_PLUGIN ", cfg:=" HMI_TEST_AREA_CFG "\n"
              "AREA2 = name:=Gone, dialog:=GoneDialog, library:=Gone/libgone.so, cfg:=Gone/gone.ini\n");
    sys.close();

    HmiHost host;
    const QStringList problems = host.start(machine.path());
    QCOMPARE(problems.size(), 1);
    QVERIFY2(problems.first().contains(QLatin1String("gone.ini")), qPrintable(problems.first()));
    QVERIFY(host.nc());
    QCOMPARE(host.framework()->areaCount(), 3);
    QCOMPARE(host.framework()->currentAreaName(), QStringLiteral("AreaMachine"));
    QVERIFY(host.window()->isVisible());
    QVERIFY(QFile::exists(CtlServer::socketPath(machine.path())));

    // Both handlers answer in-process, the NC's and the panel's.
    QCOMPARE(host.command({QStringLiteral("hmi"), QStringLiteral("area"), QStringLiteral("TestArea")}).code, 0);
    const CtlResult state = host.command({QStringLiteral("hmi"), QStringLiteral("state"), QStringLiteral("--json")});
    QCOMPARE(QJsonDocument::fromJson(state.out.toUtf8()).object().value(QStringLiteral("screen")).toString(),
             QStringLiteral("screenMain"));
    const CtlResult nc = host.command({QStringLiteral("nc"), QStringLiteral("program"), QStringLiteral("select"),
                                       QStringLiteral("//NC/MPF.DIR/MAIN.MPF")});
    QVERIFY2(nc.code == 0, qPrintable(nc.err));

    host.shutdown();
    QVERIFY(!host.framework());
    QVERIFY(!QFile::exists(CtlServer::socketPath(machine.path())));
    host.shutdown();
}

void TestHmiHost::quitIsAskedForAfterTheAnswer()
{
    QTemporaryDir machine;
    HmiHost host;
    QVERIFY(host.start(machine.path()).isEmpty());
    QSignalSpy quit(&host, &HmiHost::quitRequested);
    QCOMPARE(host.command({QStringLiteral("quit")}).code, 0);
    QCOMPARE(quit.count(), 0);
    QCoreApplication::processEvents();
    QCOMPARE(quit.count(), 1);
}

QTEST_MAIN(TestHmiHost)
#include "TestHmiHost.moc"

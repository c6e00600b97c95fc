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
    void functionKeysPressTheSoftKeys();
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

void TestHmiHost::functionKeysPressTheSoftKeys()
{
    QTemporaryDir machine;
    const QString cfgDir = HmiSystemConfig::hmiFolder(machine.path()) + QStringLiteral("/cfg");
    QVERIFY(QDir().mkpath(cfgDir));
    QFile sys(cfgDir + QStringLiteral("/systemconfiguration.ini"));
    QVERIFY(sys.open(QIODevice::WriteOnly));
    sys.write("[areas]\nAREA1 = name:=TestArea, dialog:=TestAreaDialog, library:=" HMI_TEST_PLUGIN ", cfg:=" HMI_TEST_AREA_CFG "\n");
    sys.close();
    HmiHost host;
    QVERIFY(host.start(machine.path()).isEmpty());
    QVERIFY(QTest::qWaitForWindowActive(host.window()));
    auto enabled = [&host](const QString& menu, int position) {
        const CtlResult r = host.command({QStringLiteral("hmi"), QStringLiteral("state"), QStringLiteral("--json")});
        const QJsonObject state = QJsonDocument::fromJson(r.out.toUtf8()).object();
        for (const QJsonValue& k : state.value(QStringLiteral("softkeys")).toObject().value(menu).toArray())
            if (k.toObject().value(QStringLiteral("position")).toInt() == position)
                return k.toObject().value(QStringLiteral("enabled")).toBool();
        return false;
    };

    // F10 brings the next area, Shift+F3 presses myVr 3 ("Disable 4").
    QTest::keyClick(host.window(), Qt::Key_F10);
    QCOMPARE(host.framework()->currentAreaName(), QStringLiteral("TestArea"));
    QVERIFY(enabled(QStringLiteral("myVr"), 4));
    QTest::keyClick(host.window(), Qt::Key_F3, Qt::ShiftModifier);
    QVERIFY(!enabled(QStringLiteral("myVr"), 4));
    // F1 presses myHu 1, the link to the main screen, which rebuilds its menus.
    QTest::keyClick(host.window(), Qt::Key_F1);
    QVERIFY(enabled(QStringLiteral("myVr"), 4));
}

QTEST_MAIN(TestHmiHost)
#include "TestHmiHost.moc"

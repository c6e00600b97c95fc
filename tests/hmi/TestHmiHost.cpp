// The whole virtual machine hosted in the test's own process, as plug-in
// tests host it: what starts, what is reported, how the keys of the
// keyboard reach it, and how it ends.
#include "HmiFramework.h"
#include "HmiHost.h"
#include "HmiSystemConfig.h"
#include "HmiWindow.h"
#include "SlGfwHmiDialog.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
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
};

void TestHmiHost::startsWhatItCanAndReportsTheRest()
{
    QTemporaryDir machine;
    const QString cfgDir = HmiSystemConfig::hmiFolder(machine.path()) + "/cfg";
    QVERIFY(QDir().mkpath(cfgDir));
    QFile sys(cfgDir + "/systemconfiguration.ini");
    QVERIFY(sys.open(QIODevice::WriteOnly));
    sys.write("[areas]\n"
              "AREA1 = name:=TestArea, dialog:=TestAreaDialog, library:=" HMI_TEST_PLUGIN ", cfg:=" HMI_TEST_AREA_CFG "\n"
              "AREA2 = name:=Gone, dialog:=GoneDialog, library:=Gone/libgone.so, cfg:=Gone/gone.ini\n");
    sys.close();

    HmiHost host;
    const QStringList problems = host.start(machine.path());
    QCOMPARE(problems.size(), 1);
    QVERIFY2(problems.first().contains("gone.ini"), qPrintable(problems.first()));
    QVERIFY(host.nc());
    QCOMPARE(host.framework()->areaCount(), 3);
    QCOMPARE(host.framework()->currentAreaName(), QStringLiteral("AreaMachine"));
    QVERIFY(QFile::exists(CtlServer::socketPath(machine.path())));
    QVERIFY(QTest::qWaitForWindowActive(host.window()));

    // Both handlers answer in-process, the NC's and the panel's.
    const CtlResult nc = host.command({"nc", "program", "select", "//NC/MPF.DIR/MAIN.MPF"});
    QVERIFY2(nc.code == 0, qPrintable(nc.err));
    auto state = [&host] { return QJsonDocument::fromJson(host.command({"hmi", "state", "--json"}).out.toUtf8()).object(); };
    auto enabled = [&state](const QString& menu, int position) {
        for (const QJsonValue& k : state().value("softkeys").toObject().value(menu).toArray())
            if (k.toObject().value("position").toInt() == position)
                return k.toObject().value("enabled").toBool();
        return false;
    };
    // F10 brings the next area, Shift+F3 presses myVr 3 ("Disable 4").
    QTest::keyClick(host.window(), Qt::Key_F10);
    QCOMPARE(host.framework()->currentAreaName(), QStringLiteral("TestArea"));
    QCOMPARE(state().value("screen").toString(), QStringLiteral("screenMain"));
    QVERIFY(enabled("myVr", 4));
    QTest::keyClick(host.window(), Qt::Key_F3, Qt::ShiftModifier);
    QVERIFY(!enabled("myVr", 4));
    // F1 presses myHu 1, the link to the main screen, which rebuilds its menus.
    QTest::keyClick(host.window(), Qt::Key_F1);
    QVERIFY(enabled("myVr", 4));

    // Quit is asked for after the answer.
    QSignalSpy quit(&host, &HmiHost::quitRequested);
    QCOMPARE(host.command({"quit"}).code, 0);
    QCOMPARE(quit.count(), 0);
    QCoreApplication::processEvents();
    QCOMPARE(quit.count(), 1);

    host.shutdown();
    QVERIFY(!host.framework());
    QVERIFY(!QFile::exists(CtlServer::socketPath(machine.path())));
    host.shutdown();
}

QTEST_MAIN(TestHmiHost)
#include "TestHmiHost.moc"

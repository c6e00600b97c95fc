// harvel-hmi as scripts meet it: a process over a machine folder with the
// test plug-in installed as an integrator installs it, operated through the
// control socket exactly as harvel-ctl does it; with a real window under
// Xvfb where that is installed.
#include "CtlClient.h"
#include "HmiSystemConfig.h"
#include "VirtualNc.h"

#include <QImage>
#include <QtTest>

#include <csignal>

class TestHmiProcess : public QObject
{
    Q_OBJECT

private slots:
    void operatedThroughTheSocket();

private:
    CtlResult hmi(const QStringList& args) { return CtlClient::call(m_machine.path(), QStringList{"hmi"} + args, 20000); }
    QJsonObject state() { return QJsonDocument::fromJson(hmi({"state", "--json"}).out.toUtf8()).object(); }

    QTemporaryDir m_machine;
};

void TestHmiProcess::operatedThroughTheSocket()
{
    // The library, its area configuration and an entry in the system
    // configuration, into a machine folder made first; a second entry names
    // a library that is not there.
    QString error;
    QVERIFY2(VirtualNc::createMachine(m_machine.path(), VirtualNc::Variant::Commissioned, error), qPrintable(error));
    const QString card = HmiSystemConfig::hmiFolder(m_machine.path());
    QFile sys(card + "/cfg/systemconfiguration.ini");
    QVERIFY(QDir().mkpath(card + "/TestVendor/appl") && QDir().mkpath(card + "/TestVendor/cfg") && QDir().mkpath(card + "/cfg"));
    QVERIFY(QFile::copy(HMI_TEST_PLUGIN, card + "/TestVendor/appl/libhmitestplugin.so") &&
            QFile::copy(HMI_TEST_AREA_CFG, card + "/TestVendor/cfg/testarea.ini") && sys.open(QIODevice::WriteOnly));
    sys.write("[areas]\nAREA500 = name:=TestArea, dialog:=TestAreaDialog, text:=Test, "
              "library:=TestVendor/appl/libhmitestplugin.so, cfg:=TestVendor/cfg/testarea.ini\n"
              "AREA501 = name:=Broken, dialog:=TestAreaDialog, library:=Gone/appl/libgone.so, cfg:=TestVendor/cfg/testarea.ini\n");
    sys.close();
    // A shell leaves harvel-hmi's pid behind for the SIGTERM at the end, also under xvfb-run.
    const QString xvfb = QStandardPaths::findExecutable("xvfb-run"), pidFile = m_machine.filePath("hmi.pid");
    const QStringList shell{"sh", "-c", QStringLiteral("echo $$ > '%1'; exec '%2' --machine '%3' %4")
                                            .arg(pidFile, QStringLiteral(HARVEL_HMI_BIN), m_machine.path(), xvfb.isEmpty() ? "--headless" : QString())};
    QProcess process;
    process.start(xvfb.isEmpty() ? "/bin/sh" : xvfb, xvfb.isEmpty() ? shell.mid(1) : QStringList{"-a", "-s", "-screen 0 1280x1024x24"} + shell);
    QVERIFY(process.waitForStarted(20000));
    QVERIFY2(QTest::qWaitFor([&] { return process.state() != QProcess::Running || hmi({"areas"}).code == 0; }, 60000) &&
                 process.state() == QProcess::Running,
             process.readAllStandardError().constData());

    const QStringList areas = hmi({"areas"}).out.split('\n', Qt::SkipEmptyParts);
    QCOMPARE(areas.mid(0, 2), (QStringList{"AreaMachine SlMachine ok", "TestArea TestAreaDialog ok"}));
    QVERIFY2(areas.size() == 3 && areas[2].startsWith("Broken TestAreaDialog failed: ") && areas[2].contains("libgone.so"),
             qPrintable(areas.join('\n')));
    QCOMPARE(state().value("area").toString(), QStringLiteral("AreaMachine"));

    // The machine area's keys drive the NC; its table reads as rows of visible cells.
    QCOMPARE(hmi({"key", "modeJog"}).code, 0);
    QVERIFY(state().value("caption").toArray().at(1).toString().endsWith("JOG"));
    QCOMPARE(hmi({"key", "modeAuto"}).code, 0);
    const QStringList axes = hmi({"read", "axes"}).out.split('\n');
    QCOMPARE(axes.size(), 6);
    QCOMPARE(axes.at(2), QStringLiteral("Z\t250.000 mm\tlinear"));
    QVERIFY(hmi({"read", "nothing"}).code != 0);
    const QString file = m_machine.filePath("shot.png");
    QCOMPARE(hmi({"screenshot", file}).code, 0);
    const QImage image(file);
    QCOMPARE(image.size(), QSize(1024, 768));
    // Something is drawn: the header and the panel differ in colour.
    QVERIFY(image.pixelColor(10, 50) != image.pixelColor(512, 5));
    // Left for a person to look at.
    const QString kept = QDir(qEnvironmentVariable("HARVEL_BINARY_DIR", QDir::tempPath())).filePath("hmi-machine-area.png");
    QFile::remove(kept);
    QFile::copy(file, kept);

    QCOMPARE(hmi({"area", "TestArea"}).code, 0);
    QJsonObject s = state();
    QCOMPARE(s.value("screen").toString(), QStringLiteral("screenMain"));
    QCOMPARE(s.value("caption").toArray(), QJsonArray{"Test main"});
    QCOMPARE(s.value("status").toArray().size(), 2);
    const QJsonArray vr = s.value("softkeys").toObject().value("myVr").toArray();
    QCOMPARE(vr.size(), 4);
    QCOMPARE(vr.at(0).toObject(), (QJsonObject{{"position", 1}, {"text", "Open\nmodal"}, {"action", "openModal"}, {"enabled", true}}));
    QCOMPARE(vr.at(3).toObject().value("enabled").toBool(), false);
    QCOMPARE(s.value("softkeys").toObject().value("myHu").toArray().size(), 2);
    QVERIFY(hmi({"state"}).out.contains("screen: screenMain\n"));
    QVERIFY(hmi({"state"}).out.contains("myVr 5 disabled off \"Off\"\n"));

    // Typing into the field found by the text of its label, read back by its name and by its label.
    QCOMPARE(hmi({"focus", "Part name"}).code, 0);
    QCOMPARE(state().value("focus").toString(), QStringLiteral("partName"));
    QCOMPARE(hmi({"type", "X-1 = 2, \"a\""}).code, 0);
    QCOMPARE(state().value("status").toArray().at(1).toString(), QStringLiteral("X-1 = 2, \"a\""));
    QCOMPARE(hmi({"type", "--clear", "B7"}).code, 0);
    QCOMPARE(state().value("status").toArray().at(1).toString(), QStringLiteral("B7"));
    QCOMPARE(hmi({"read", "partName"}).out, QStringLiteral("B7"));
    QCOMPARE(hmi({"read", "Part name:"}).out, QStringLiteral("B7"));
    QCOMPARE(hmi({"read", "parts"}).out, QStringLiteral("[x]\tbracket"));
    const CtlResult missing = hmi({"focus", "noSuchField"});
    QVERIFY(missing.code != 0 && missing.err.contains("noSuchField"));

    // The key answers before its modal screen ends; that screen's event loop serves the next commands.
    QCOMPARE(hmi({"key", "openModal"}).code, 0);
    QCOMPARE(state().value("modal").toInt(), 1);
    QCOMPARE(hmi({"key", "doCancel"}).code, 0);
    QCOMPARE(state().value("status").toArray().at(0).toString(), QStringLiteral("modal: doCancel@1"));

    // Disabled and unknown keys are refused; a key disabled by the form until the menu is rebuilt.
    CtlResult r = hmi({"key", "off"});
    QVERIFY2(r.code != 0 && r.err.contains("disabled"), qPrintable(r.err));
    QVERIFY(hmi({"key", "nonsense"}).code != 0);
    QCOMPARE(hmi({"key", "--menu", "myXx", "--position", "1"}).code, 2);
    QCOMPARE(hmi({"key", "disableFour"}).code, 0);
    QVERIFY(hmi({"key", "four"}).code != 0);
    QCOMPARE(hmi({"key", "screenMain"}).code, 0);
    QCOMPARE(hmi({"key", "--menu", "myVr", "--position", "4"}).code, 0);

    // SIGTERM ends it in order, as quit does.
    QFile pid(pidFile);
    QVERIFY(pid.open(QIODevice::ReadOnly) && ::kill(pid_t(pid.readAll().trimmed().toInt()), SIGTERM) == 0);
    QVERIFY(process.waitForFinished(60000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    QVERIFY(!QFile::exists(CtlServer::socketPath(m_machine.path())));
}

QTEST_MAIN(TestHmiProcess)
#include "TestHmiProcess.moc"

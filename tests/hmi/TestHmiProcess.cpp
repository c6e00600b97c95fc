// harvel-hmi as scripts meet it: a process over a machine folder with the
// test plug-in installed, operated through the control socket exactly as
// harvel-ctl does it; and once under Xvfb with a real window.
#include "CtlClient.h"
#include "HmiSystemConfig.h"
#include "VirtualNc.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

namespace {
// The plug-in goes into the card as an integrator installs it: a copy of
// the library, its area configuration, and an entry in the system
// configuration, into a machine folder made first. A second entry names a
// library that is not there.
bool installTestPlugin(const QString& machine)
{
    QString error;
    if (!VirtualNc::createMachine(machine, VirtualNc::Variant::Commissioned, error))
        return false;
    const QString hmi = HmiSystemConfig::hmiFolder(machine);
    const QByteArray sys = "[areas]\nAREA500 = name:=TestArea, dialog:=TestAreaDialog, text:=Test, "
                           "library:=TestVendor/appl/libhmitestplugin.so, cfg:=TestVendor/cfg/testarea.ini\n"
                           "AREA501 = name:=Broken, dialog:=TestAreaDialog, library:=Gone/appl/libgone.so, "
                           "cfg:=TestVendor/cfg/testarea.ini\n";
    QFile f(hmi + "/cfg/systemconfiguration.ini");
    return QDir().mkpath(hmi + "/TestVendor/appl") && QDir().mkpath(hmi + "/TestVendor/cfg") && QDir().mkpath(hmi + "/cfg") &&
           QFile::copy(HMI_TEST_PLUGIN, hmi + "/TestVendor/appl/libhmitestplugin.so") &&
           QFile::copy(HMI_TEST_AREA_CFG, hmi + "/TestVendor/cfg/testarea.ini") && f.open(QIODevice::WriteOnly) &&
           f.write(sys) == sys.size();
}

// Starting up fills the machine folder; waits until the socket answers.
bool start(QProcess& process, const QString& machine, const QStringList& args, const QString& program)
{
    process.start(program, args);
    for (int i = 0; process.waitForStarted(20000) && i < 600; ++i) {
        if (process.state() != QProcess::Running)
            return false;
        if (CtlClient::call(machine, {"hmi", "areas"}, 2000).code == 0)
            return true;
        QTest::qWait(100);
    }
    return false;
}
} // namespace

class TestHmiProcess : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void operatedThroughTheSocket();
    void screenshotOfARealWindowUnderXvfb();

private:
    CtlResult hmi(const QStringList& args) { return CtlClient::call(m_machine.path(), QStringList{"hmi"} + args, 20000); }
    QJsonObject state() { return QJsonDocument::fromJson(hmi({"state", "--json"}).out.toUtf8()).object(); }

    QTemporaryDir m_machine;
    QProcess m_hmi;
};

void TestHmiProcess::initTestCase()
{
    QVERIFY(installTestPlugin(m_machine.path()));
    QVERIFY2(start(m_hmi, m_machine.path(), {"--machine", m_machine.path(), "--headless"}, HARVEL_HMI_BIN),
             m_hmi.readAllStandardError().constData());
}

// SIGTERM ends it in order, as quit does (the other processes here quit).
void TestHmiProcess::cleanupTestCase()
{
    QVERIFY(QFile::exists(CtlServer::socketPath(m_machine.path())));
    m_hmi.terminate();
    QVERIFY(m_hmi.waitForFinished(60000));
    QCOMPARE(m_hmi.exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_hmi.exitCode(), 0);
    QVERIFY(!QFile::exists(CtlServer::socketPath(m_machine.path())));
}

void TestHmiProcess::operatedThroughTheSocket()
{
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
    QCOMPARE(QImage(file).size(), QSize(1024, 768));

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
    s = state();
    QCOMPARE(s.value("screen").toString(), QStringLiteral("screenModal"));
    QCOMPARE(s.value("modal").toInt(), 1);
    QCOMPARE(hmi({"key", "doCancel"}).code, 0);
    s = state();
    QCOMPARE(s.value("screen").toString(), QStringLiteral("screenMain"));
    QCOMPARE(s.value("modal").toInt(), 0);
    QCOMPARE(s.value("status").toArray().at(0).toString(), QStringLiteral("modal: doCancel@1"));

    // Disabled and unknown keys are refused; a key disabled by the form until the menu is rebuilt.
    CtlResult r = hmi({"key", "off"});
    QVERIFY2(r.code != 0 && r.err.contains("disabled"), qPrintable(r.err));
    QVERIFY(hmi({"key", "nonsense"}).code != 0);
    QCOMPARE(hmi({"key", "--menu", "myXx", "--position", "1"}).code, 2);
    QCOMPARE(hmi({"key", "disableFour"}).code, 0);
    QVERIFY(hmi({"key", "four"}).code != 0);
    QCOMPARE(hmi({"key", "screenMain"}).code, 0);
    QCOMPARE(hmi({"key", "--menu", "myVr", "--position", "4"}).code, 0);
}

void TestHmiProcess::screenshotOfARealWindowUnderXvfb()
{
    const QString xvfbRun = QStandardPaths::findExecutable("xvfb-run");
    if (xvfbRun.isEmpty())
        QSKIP("xvfb-run is not installed");
    QTemporaryDir machine;
    QVERIFY(installTestPlugin(machine.path()));
    QProcess hmi;
    QVERIFY2(start(hmi, machine.path(), {"-a", "-s", "-screen 0 1280x1024x24", HARVEL_HMI_BIN, "--machine", machine.path()},
                   xvfbRun),
             hmi.readAllStandardError().constData());
    const QString file = machine.filePath("machine-area.png");
    QCOMPARE(CtlClient::call(machine.path(), {"hmi", "screenshot", file}).code, 0);
    const QImage image(file);
    QCOMPARE(image.size(), QSize(1024, 768));
    // Something is drawn: the header and the panel differ in colour.
    QVERIFY(image.pixelColor(10, 50) != image.pixelColor(512, 5));
    // Left for a person to look at.
    const QString kept = QDir(qEnvironmentVariable("HARVEL_BINARY_DIR", QDir::tempPath())).filePath("hmi-machine-area.png");
    QFile::remove(kept);
    QFile::copy(file, kept);
    QCOMPARE(CtlClient::call(machine.path(), {"quit"}).code, 0);
    QVERIFY(hmi.waitForFinished(60000));
    QCOMPARE(hmi.exitCode(), 0);
}

QTEST_MAIN(TestHmiProcess)
#include "TestHmiProcess.moc"

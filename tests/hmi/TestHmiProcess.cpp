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
bool writeFile(const QString& path, const QByteArray& text)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(text) == text.size();
}

// The plug-in goes into the card as an integrator installs it: a copy of
// the library, its area configuration, and an entry in the system
// configuration, into a machine folder made first. A second entry names a
// library that is not there.
bool installTestPlugin(const QString& machine)
{
    QString error;
    if (!VirtualNc::createMachine(machine, VirtualNc::Variant::Commissioned, error)) {
        qWarning("%s", qPrintable(error));
        return false;
    }
    const QString hmi = HmiSystemConfig::hmiFolder(machine);
    QDir().mkpath(hmi + QStringLiteral("/TestVendor/appl"));
    QDir().mkpath(hmi + QStringLiteral("/TestVendor/cfg"));
    return QFile::copy(QStringLiteral(HMI_TEST_PLUGIN), hmi + QStringLiteral("/TestVendor/appl/libhmitestplugin.so")) &&
           QFile::copy(QStringLiteral(HMI_TEST_AREA_CFG), hmi + QStringLiteral("/TestVendor/cfg/testarea.ini")) &&
           writeFile(hmi + QStringLiteral("/cfg/systemconfiguration.ini"),
                     "[areas]\n"
                     "AREA500 = name:=TestArea, dialog:=TestAreaDialog, text:=Test, "
                     "library:=TestVendor/appl/libhmitestplugin.so, cfg:=TestVendor/cfg/testarea.ini\n"
                     "AREA501 = name:=Broken, dialog:=TestAreaDialog, library:=Gone/appl/libgone.so, "
                     "cfg:=TestVendor/cfg/testarea.ini\n");
}
}

class TestHmiProcess : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void startsWithTheBrokenAreaReported();
    void stateDescribesTheScreen();
    void typeIntoTheFocusedWidget();
    void modalScreenIsOperatedThroughKeys();
    void disabledAndUnknownKeysAreRefused();
    void screenshotInHeadlessMode();
    void screenshotOfARealWindowUnderXvfb();
    void terminationEndsInOrder();

private:
    bool start(QProcess& process, const QString& machine, const QStringList& extra, const QString& program);
    CtlResult ctl(const QStringList& args) { return CtlClient::call(m_machine.path(), args, 20000); }
    QJsonObject state();

    QTemporaryDir m_machine;
    QProcess m_hmi;
};

bool TestHmiProcess::start(QProcess& process, const QString& machine, const QStringList& args, const QString& program)
{
    process.setProcessChannelMode(QProcess::SeparateChannels);
    process.start(program, args);
    if (!process.waitForStarted(20000))
        return false;
    // Starting up fills the machine folder; wait until the socket answers.
    for (int i = 0; i < 600; ++i) {
        if (process.state() != QProcess::Running)
            return false;
        if (CtlClient::call(machine, {QStringLiteral("hmi"), QStringLiteral("areas")}, 2000).code == 0)
            return true;
        QTest::qWait(100);
    }
    return false;
}

void TestHmiProcess::initTestCase()
{
    QVERIFY(m_machine.isValid());
    QVERIFY(installTestPlugin(m_machine.path()));
    QVERIFY2(start(m_hmi, m_machine.path(), {QStringLiteral("--machine"), m_machine.path(), QStringLiteral("--headless")},
                   QStringLiteral(HARVEL_HMI_BIN)),
             m_hmi.readAllStandardError().constData());
}

void TestHmiProcess::cleanupTestCase()
{
    if (m_hmi.state() == QProcess::Running) {
        QCOMPARE(ctl({QStringLiteral("quit")}).code, 0);
        QVERIFY(m_hmi.waitForFinished(60000));
        QCOMPARE(m_hmi.exitCode(), 0);
    }
}

QJsonObject TestHmiProcess::state()
{
    const CtlResult r = ctl({QStringLiteral("hmi"), QStringLiteral("state"), QStringLiteral("--json")});
    if (r.code != 0)
        return {};
    return QJsonDocument::fromJson(r.out.toUtf8()).object();
}

void TestHmiProcess::startsWithTheBrokenAreaReported()
{
    const CtlResult areas = ctl({QStringLiteral("hmi"), QStringLiteral("areas")});
    QCOMPARE(areas.code, 0);
    const QStringList lines = areas.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 3);
    QCOMPARE(lines.at(0), QStringLiteral("AreaMachine SlMachine ok"));
    QCOMPARE(lines.at(1), QStringLiteral("TestArea TestAreaDialog ok"));
    QVERIFY2(lines.at(2).startsWith(QLatin1String("Broken TestAreaDialog failed: ")) &&
                 lines.at(2).contains(QLatin1String("libgone.so")),
             qPrintable(lines.at(2)));
    QVERIFY(state().value(QStringLiteral("area")).toString() == QLatin1String("AreaMachine"));
}

void TestHmiProcess::stateDescribesTheScreen()
{
    QCOMPARE(ctl({QStringLiteral("hmi"), QStringLiteral("area"), QStringLiteral("TestArea")}).code, 0);
    const QJsonObject s = state();
    QCOMPARE(s.value(QStringLiteral("area")).toString(), QStringLiteral("TestArea"));
    QCOMPARE(s.value(QStringLiteral("screen")).toString(), QStringLiteral("screenMain"));
    QCOMPARE(s.value(QStringLiteral("caption")).toArray(), QJsonArray{QStringLiteral("Test main")});
    QCOMPARE(s.value(QStringLiteral("status")).toArray().size(), 2);
    const QJsonArray vr = s.value(QStringLiteral("softkeys")).toObject().value(QStringLiteral("myVr")).toArray();
    QCOMPARE(vr.size(), 4);
    const QJsonObject first = vr.at(0).toObject();
    QCOMPARE(first.value(QStringLiteral("position")).toInt(), 1);
    QCOMPARE(first.value(QStringLiteral("text")).toString(), QStringLiteral("Open\nmodal"));
    QCOMPARE(first.value(QStringLiteral("action")).toString(), QStringLiteral("openModal"));
    QCOMPARE(first.value(QStringLiteral("enabled")).toBool(), true);
    QCOMPARE(vr.at(3).toObject().value(QStringLiteral("enabled")).toBool(), false);
    const QJsonArray hu = s.value(QStringLiteral("softkeys")).toObject().value(QStringLiteral("myHu")).toArray();
    QCOMPARE(hu.size(), 2);

    const CtlResult text = ctl({QStringLiteral("hmi"), QStringLiteral("state")});
    QCOMPARE(text.code, 0);
    QVERIFY(text.out.contains(QLatin1String("screen: screenMain\n")));
    QVERIFY(text.out.contains(QLatin1String("myVr 5 disabled off \"Off\"\n")));
}

void TestHmiProcess::typeIntoTheFocusedWidget()
{
    QCOMPARE(ctl({QStringLiteral("hmi"), QStringLiteral("area"), QStringLiteral("TestArea")}).code, 0);
    // By the text of its label, as an operator finds the field.
    QCOMPARE(ctl({QStringLiteral("hmi"), QStringLiteral("focus"), QStringLiteral("Part name")}).code, 0);
    QCOMPARE(state().value(QStringLiteral("focus")).toString(), QStringLiteral("partName"));
    QCOMPARE(ctl({QStringLiteral("hmi"), QStringLiteral("type"), QStringLiteral("X-1 = 2, \"a\"")}).code, 0);
    QCOMPARE(state().value(QStringLiteral("status")).toArray().at(1).toString(), QStringLiteral("X-1 = 2, \"a\""));
    QCOMPARE(ctl({QStringLiteral("hmi"), QStringLiteral("type"), QStringLiteral("--clear"), QStringLiteral("B7")}).code, 0);
    QCOMPARE(state().value(QStringLiteral("status")).toArray().at(1).toString(), QStringLiteral("B7"));
    // What the field shows reads back by its name and by its label.
    QCOMPARE(ctl({QStringLiteral("hmi"), QStringLiteral("read"), QStringLiteral("partName")}).out, QStringLiteral("B7"));
    QCOMPARE(ctl({QStringLiteral("hmi"), QStringLiteral("read"), QStringLiteral("Part name:")}).out, QStringLiteral("B7"));
    QCOMPARE(ctl({QStringLiteral("hmi"), QStringLiteral("read"), QStringLiteral("parts")}).out, QStringLiteral("[x]\tbracket"));
    const CtlResult missing = ctl({QStringLiteral("hmi"), QStringLiteral("focus"), QStringLiteral("noSuchField")});
    QVERIFY(missing.code != 0);
    QVERIFY(missing.err.contains(QLatin1String("noSuchField")));
}

void TestHmiProcess::modalScreenIsOperatedThroughKeys()
{
    QCOMPARE(ctl({QStringLiteral("hmi"), QStringLiteral("area"), QStringLiteral("TestArea")}).code, 0);
    // The key answers before its modal screen ends; that screen's event loop
    // serves the next commands.
    QCOMPARE(ctl({QStringLiteral("hmi"), QStringLiteral("key"), QStringLiteral("openModal")}).code, 0);
    QJsonObject s = state();
    QCOMPARE(s.value(QStringLiteral("screen")).toString(), QStringLiteral("screenModal"));
    QCOMPARE(s.value(QStringLiteral("modal")).toInt(), 1);
    QCOMPARE(ctl({QStringLiteral("hmi"), QStringLiteral("key"), QStringLiteral("doCancel")}).code, 0);
    s = state();
    QCOMPARE(s.value(QStringLiteral("screen")).toString(), QStringLiteral("screenMain"));
    QCOMPARE(s.value(QStringLiteral("modal")).toInt(), 0);
    QCOMPARE(s.value(QStringLiteral("status")).toArray().at(0).toString(), QStringLiteral("modal: doCancel@1"));
}

void TestHmiProcess::disabledAndUnknownKeysAreRefused()
{
    QCOMPARE(ctl({QStringLiteral("hmi"), QStringLiteral("area"), QStringLiteral("TestArea")}).code, 0);
    CtlResult r = ctl({QStringLiteral("hmi"), QStringLiteral("key"), QStringLiteral("off")});
    QVERIFY(r.code != 0);
    QVERIFY2(r.err.contains(QLatin1String("disabled")), qPrintable(r.err));
    r = ctl({QStringLiteral("hmi"), QStringLiteral("key"), QStringLiteral("nonsense")});
    QVERIFY(r.code != 0);
    r = ctl({QStringLiteral("hmi"), QStringLiteral("key"), QStringLiteral("--menu"), QStringLiteral("myXx"),
             QStringLiteral("--position"), QStringLiteral("1")});
    QCOMPARE(r.code, 2);
    // A key disabled by the form is refused until the menu is rebuilt.
    QCOMPARE(ctl({QStringLiteral("hmi"), QStringLiteral("key"), QStringLiteral("disableFour")}).code, 0);
    QVERIFY(ctl({QStringLiteral("hmi"), QStringLiteral("key"), QStringLiteral("four")}).code != 0);
    QCOMPARE(ctl({QStringLiteral("hmi"), QStringLiteral("key"), QStringLiteral("screenMain")}).code, 0);
    QCOMPARE(ctl({QStringLiteral("hmi"), QStringLiteral("key"), QStringLiteral("--menu"), QStringLiteral("myVr"),
                  QStringLiteral("--position"), QStringLiteral("4")}).code, 0);
    // The machine area's keys drive the NC.
    QCOMPARE(ctl({QStringLiteral("hmi"), QStringLiteral("area"), QStringLiteral("AreaMachine")}).code, 0);
    QCOMPARE(ctl({QStringLiteral("hmi"), QStringLiteral("key"), QStringLiteral("modeJog")}).code, 0);
    const QJsonObject machineState = state();
    QVERIFY2(machineState.value(QStringLiteral("caption")).toArray().at(1).toString().endsWith(QLatin1String("JOG")),
             QJsonDocument(machineState).toJson().constData());
    QCOMPARE(ctl({QStringLiteral("hmi"), QStringLiteral("key"), QStringLiteral("modeAuto")}).code, 0);
    // The machine form's table reads as rows of visible cells.
    const QStringList axes = ctl({QStringLiteral("hmi"), QStringLiteral("read"), QStringLiteral("axes")})
                                 .out.split(QLatin1Char('\n'));
    QCOMPARE(axes.size(), 6);
    QCOMPARE(axes.at(2), QStringLiteral("Z\t250.000 mm\tlinear"));
    QVERIFY(ctl({QStringLiteral("hmi"), QStringLiteral("read"), QStringLiteral("nothing")}).code != 0);
}

void TestHmiProcess::screenshotInHeadlessMode()
{
    const QString file = m_machine.filePath(QStringLiteral("shot.png"));
    const CtlResult r = ctl({QStringLiteral("hmi"), QStringLiteral("screenshot"), file});
    QCOMPARE(r.code, 0);
    const QImage image(file);
    QCOMPARE(image.size(), QSize(1024, 768));
}

void TestHmiProcess::screenshotOfARealWindowUnderXvfb()
{
    const QString xvfbRun = QStandardPaths::findExecutable(QStringLiteral("xvfb-run"));
    if (xvfbRun.isEmpty())
        QSKIP("xvfb-run is not installed");
    QTemporaryDir machine;
    QVERIFY(installTestPlugin(machine.path()));
    QProcess hmi;
    QVERIFY2(start(hmi, machine.path(),
                   {QStringLiteral("-a"), QStringLiteral("-s"), QStringLiteral("-screen 0 1280x1024x24"),
                    QStringLiteral(HARVEL_HMI_BIN), QStringLiteral("--machine"), machine.path()},
                   xvfbRun),
             hmi.readAllStandardError().constData());
    const QString file = machine.filePath(QStringLiteral("machine-area.png"));
    const CtlResult r = CtlClient::call(machine.path(), {QStringLiteral("hmi"), QStringLiteral("screenshot"), file});
    QCOMPARE(r.code, 0);
    const QImage image(file);
    QCOMPARE(image.size(), QSize(1024, 768));
    // Something is drawn: the header and the panel differ in colour.
    QVERIFY(image.pixelColor(10, 50) != image.pixelColor(512, 5));
    // Left for a person to look at.
    QFile::remove(QDir(qEnvironmentVariable("HARVEL_BINARY_DIR", QDir::tempPath())).filePath(QStringLiteral("hmi-machine-area.png")));
    QFile::copy(file, QDir(qEnvironmentVariable("HARVEL_BINARY_DIR", QDir::tempPath())).filePath(QStringLiteral("hmi-machine-area.png")));
    QCOMPARE(CtlClient::call(machine.path(), {QStringLiteral("quit")}).code, 0);
    QVERIFY(hmi.waitForFinished(60000));
}

void TestHmiProcess::terminationEndsInOrder()
{
    QTemporaryDir machine;
    QProcess hmi;
    QVERIFY(start(hmi, machine.path(), {QStringLiteral("--machine"), machine.path(), QStringLiteral("--headless")},
                  QStringLiteral(HARVEL_HMI_BIN)));
    QVERIFY(QFile::exists(CtlServer::socketPath(machine.path())));
    hmi.terminate();
    QVERIFY(hmi.waitForFinished(60000));
    QCOMPARE(hmi.exitStatus(), QProcess::NormalExit);
    QCOMPARE(hmi.exitCode(), 0);
    QVERIFY(!QFile::exists(CtlServer::socketPath(machine.path())));
}

QTEST_MAIN(TestHmiProcess)
#include "TestHmiProcess.moc"

// The interactive message and the query screen as the operator meets them:
// harvel-client puts a message up and waits, the test reads the panel and
// presses keys through the control socket, and the client gets the answer.
// harvel-hmi runs as a process of its own: a message holds the HMI's main
// thread in a nested event loop until it is answered, which a test hosting
// the HMI in its own main thread could not get out of.

#include "CtlClient.h"
#include "HmiFramework.h"
#include "HmiHost.h"
#include "NetLinkFixture.h"
#include "SlGfwHmiDialog.h"

#include <QFileInfo>
#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdlib>
#include <memory>

using namespace NetLinkFixture;

namespace {
// The keys of the vertical bar by action: position and the code the sender
// gets back.
const QMap<QString, QPair<int, int>> kKeys{
    {QStringLiteral("doAbort"), {2, 3}}, {QStringLiteral("doRetry"), {3, 4}}, {QStringLiteral("doIgnore"), {4, 5}},
    {QStringLiteral("doYes"), {5, 6}},   {QStringLiteral("doNo"), {6, 7}},    {QStringLiteral("doCancel"), {7, 2}},
    {QStringLiteral("doOK"), {8, 1}}};
} // namespace

class TestMessageScreens : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void everyStyleAnsweredWithEachOfItsKeys();
    void textsReachTheScreenAsSent();
    void secondMessageWhileTheFirstStands();
    void queryScreenAnswersOnlyOkWithYes();

private:
    std::unique_ptr<QProcess> StartMessage(const QStringList& args);
    static ClientRun Finish(QProcess* process);
    CtlResult Hmi(const QStringList& args)
    {
        return CtlClient::call(m_machine.path(), QStringList{QStringLiteral("hmi")} + args, 20000);
    }
    QJsonObject State();
    QString Read(const QString& widget) { return Hmi({QStringLiteral("read"), widget}).out.trimmed(); }
    // Positions 2 to 8 of the vertical bar that are enabled.
    QList<int> EnabledKeys();
    bool ShowsMessage(const QString& text);

    QTemporaryDir m_machine;
    QProcess m_hmi;
    QString m_server;
};

void TestMessageScreens::initTestCase()
{
    QVERIFY(m_machine.isValid());
    // A port that was free a moment ago: the server's own choice of port is
    // told only to the process that loaded it.
    QTcpServer probe;
    QVERIFY(probe.listen(QHostAddress::LocalHost, 0));
    m_server = QStringLiteral("127.0.0.1:%1").arg(probe.serverPort());
    probe.close();
    const QString install = QStringLiteral("HARVEL_BUILD_DIR='%1' bash '%2' --net-server %3 '%4' >/dev/null")
                                .arg(BinaryDir(), QStringLiteral(HARVEL_INSTALL_SCRIPT), m_server, m_machine.path());
    QVERIFY(std::system(install.toLocal8Bit().constData()) == 0);
    m_hmi.start(BinaryDir() + QStringLiteral("/bin/harvel-hmi"),
                {QStringLiteral("--machine"), m_machine.path(), QStringLiteral("--headless")});
    QVERIFY(m_hmi.waitForStarted(20000));
    QTRY_VERIFY_WITH_TIMEOUT(Hmi({QStringLiteral("areas")}).code == 0, 60000);
    // The area starts although its log screen is not part of this build.
    QVERIFY(Hmi({QStringLiteral("areas")}).out.contains(QStringLiteral("Norvane SiemensHarvel ok")));
}

void TestMessageScreens::cleanupTestCase()
{
    if (m_hmi.state() == QProcess::Running) {
        CtlClient::call(m_machine.path(), {QStringLiteral("quit")}, 20000);
        QVERIFY(m_hmi.waitForFinished(60000));
        QCOMPARE(m_hmi.exitCode(), 0);
    }
}

std::unique_ptr<QProcess> TestMessageScreens::StartMessage(const QStringList& args)
{
    std::unique_ptr<QProcess> process(new QProcess);
    process->start(BinaryDir() + QStringLiteral("/bin/harvel-client"),
                   QStringList{QStringLiteral("--server"), m_server, QStringLiteral("message")} + args);
    return process;
}

ClientRun TestMessageScreens::Finish(QProcess* process)
{
    ClientRun run;
    QElapsedTimer waited;
    waited.start();
    // The HMI's main thread is this one: it must keep serving while the
    // client waits for its answer.
    while (process->state() != QProcess::NotRunning && waited.elapsed() < 60000)
        QTest::qWait(20);
    if (process->state() != QProcess::NotRunning) {
        process->kill();
        process->waitForFinished();
        run.err = QStringLiteral("harvel-client did not finish");
        return run;
    }
    run.exitCode = process->exitStatus() == QProcess::NormalExit ? process->exitCode() : -1;
    run.out = QString::fromUtf8(process->readAllStandardOutput());
    run.err = QString::fromUtf8(process->readAllStandardError());
    return run;
}

QJsonObject TestMessageScreens::State()
{
    return QJsonDocument::fromJson(Hmi({QStringLiteral("state"), QStringLiteral("--json")}).out.toUtf8()).object();
}

QList<int> TestMessageScreens::EnabledKeys()
{
    QList<int> enabled;
    const QJsonArray keys =
        State().value(QStringLiteral("softkeys")).toObject().value(QStringLiteral("myVr")).toArray();
    for (const QJsonValue& v : keys) {
        const QJsonObject key = v.toObject();
        if (key.value(QStringLiteral("position")).toInt() >= 2 && key.value(QStringLiteral("enabled")).toBool())
            enabled << key.value(QStringLiteral("position")).toInt();
    }
    return enabled;
}

bool TestMessageScreens::ShowsMessage(const QString& text)
{
    return State().value(QStringLiteral("screen")).toString() == QLatin1String("screenIMSG")
           && Read(QStringLiteral("textMessage")) == text;
}

void TestMessageScreens::everyStyleAnsweredWithEachOfItsKeys()
{
    const QList<QStringList> styles{{QStringLiteral("doOK")},
                                    {QStringLiteral("doCancel"), QStringLiteral("doOK")},
                                    {QStringLiteral("doAbort"), QStringLiteral("doRetry"), QStringLiteral("doIgnore")},
                                    {QStringLiteral("doYes"), QStringLiteral("doNo"), QStringLiteral("doCancel")},
                                    {QStringLiteral("doYes"), QStringLiteral("doNo")},
                                    {QStringLiteral("doRetry"), QStringLiteral("doCancel")}};
    QCOMPARE(State().value(QStringLiteral("area")).toString(), QStringLiteral("AreaMachine"));
    int count = 0;
    for (int style = 0; style < styles.size(); ++style) {
        for (const QString& action : styles.at(style)) {
            const int type = count % 2;
            const QString id = QString::number(1000 + count);
            const QString text = QStringLiteral("Style %1, answered with %2").arg(style).arg(action);
            std::unique_ptr<QProcess> client =
                StartMessage({QStringLiteral("--type"), QString::number(type), QStringLiteral("--style"),
                              QString::number(style), QStringLiteral("--text"), text, QStringLiteral("--input-name"),
                              QStringLiteral("Measured value"), QStringLiteral("--id"), id});
            QTRY_VERIFY_WITH_TIMEOUT(ShowsMessage(text), 20000);
            QJsonObject state = State();
            QCOMPARE(state.value(QStringLiteral("area")).toString(), QStringLiteral("Norvane"));
            QCOMPARE(state.value(QStringLiteral("caption")).toArray(),
                     QJsonArray{QStringLiteral("Interactive Message")});
            const QJsonArray status = state.value(QStringLiteral("status")).toArray();
            QCOMPARE(status.at(0).toString(), QStringLiteral("ID: %1").arg(id));
            QVERIFY2(QRegularExpression(QStringLiteral(R"(^Sender: 127\.0\.0\.1:\d+$)"))
                         .match(status.at(1).toString()).hasMatch(),
                     qPrintable(status.at(1).toString()));
            QList<int> expected;
            for (const QString& key : styles.at(style))
                expected << kKeys.value(key).first;
            std::sort(expected.begin(), expected.end());
            QCOMPARE(EnabledKeys(), expected);

            if (count == 0) {
                // Nothing else may be done until the message is answered, and
                // a rebuilt bar gets the keys of the style, not the defaults.
                CtlResult r = Hmi({QStringLiteral("area"), QStringLiteral("AreaMachine")});
                QCOMPARE(r.code, 1);
                QVERIFY2(r.err.contains(QStringLiteral("cannot be left")), qPrintable(r.err));
                QCOMPARE(Hmi({QStringLiteral("area"), QStringLiteral("Norvane")}).code, 0);
                QCOMPARE(EnabledKeys(), expected);
            }

            QString input;
            if (type == 1) {
                QCOMPARE(Read(QStringLiteral("labelInputName")), QStringLiteral("Measured value:"));
                QCOMPARE(state.value(QStringLiteral("focus")).toString(), QStringLiteral("textInput"));
                input = QStringLiteral("%1 = %2 mm").arg(action).arg(style);
                QCOMPARE(Hmi({QStringLiteral("type"), input}).code, 0);
            }
            QCOMPARE(Hmi({QStringLiteral("key"), action}).code, 0);
            const ClientRun run = Finish(client.get());
            QVERIFY2(run.exitCode == 0, qPrintable(run.err));
            QCOMPARE(run.out, QStringLiteral("button=%1\ninput=%2\n").arg(kKeys.value(action).second).arg(input));
            // The area had shown no screen: the message comes back to the
            // log screen, which stands in for a screen of last resort.
            state = State();
            QCOMPARE(state.value(QStringLiteral("screen")).toString(), QStringLiteral("screenLog"));
            QCOMPARE(state.value(QStringLiteral("modal")).toInt(), 0);
            ++count;
        }
    }
    QCOMPARE(Hmi({QStringLiteral("area"), QStringLiteral("AreaMachine")}).code, 0);
}

void TestMessageScreens::textsReachTheScreenAsSent()
{
    // Blanks, equals signs, colons and what reads like a property of the
    // screen are text; they neither cut the message nor set the style.
    const QString text = QStringLiteral("Probe T12: Ø = 3 mm  -slgfwprop3 formIMSG.propMsgStyle=5 -slgfwprop4 x");
    std::unique_ptr<QProcess> client =
        StartMessage({QStringLiteral("--type"), QStringLiteral("1"), QStringLiteral("--style"), QStringLiteral("4"),
                      QStringLiteral("--text"), text, QStringLiteral("--input-name"), QStringLiteral("Depth:"),
                      QStringLiteral("--id"), QStringLiteral("4294967296")});
    QTRY_VERIFY_WITH_TIMEOUT(ShowsMessage(text), 20000);
    QCOMPARE(EnabledKeys(), QList<int>({5, 6}));
    QCOMPARE(Read(QStringLiteral("labelInputName")), QStringLiteral("Depth:"));
    // The identifier does not fit the screen's int; what the conversion
    // leaves is shown.
    QCOMPARE(State().value(QStringLiteral("status")).toArray().at(0).toString(), QStringLiteral("ID: 0"));
    QCOMPARE(Hmi({QStringLiteral("type"), QStringLiteral("a b = c: ä")}).code, 0);
    QCOMPARE(Hmi({QStringLiteral("key"), QStringLiteral("doNo")}).code, 0);
    ClientRun run = Finish(client.get());
    QVERIFY2(run.exitCode == 0, qPrintable(run.err));
    QCOMPARE(run.out, QStringLiteral("button=7\ninput=a b = c: ä\n"));

    // Out of range: refused by the net server, the screen stays as it was.
    client = StartMessage({QStringLiteral("--type"), QStringLiteral("2"), QStringLiteral("--style"),
                           QStringLiteral("6"), QStringLiteral("--text"), QStringLiteral("Out of range")});
    run = Finish(client.get());
    QCOMPARE(run.exitCode, 2);
    QVERIFY2(run.err.contains(QStringLiteral("invalid argument")), qPrintable(run.err));
    QVERIFY(!ShowsMessage(QStringLiteral("Out of range")));
}

void TestMessageScreens::secondMessageWhileTheFirstStands()
{
    std::unique_ptr<QProcess> first =
        StartMessage({QStringLiteral("--type"), QStringLiteral("0"), QStringLiteral("--style"), QStringLiteral("3"),
                      QStringLiteral("--text"), QStringLiteral("First"), QStringLiteral("--id"), QStringLiteral("1")});
    QTRY_VERIFY_WITH_TIMEOUT(ShowsMessage(QStringLiteral("First")), 20000);
    std::unique_ptr<QProcess> second = StartMessage(
        {QStringLiteral("--type"), QStringLiteral("1"), QStringLiteral("--style"), QStringLiteral("0"),
         QStringLiteral("--text"), QStringLiteral("Second"), QStringLiteral("--input-name"), QStringLiteral("Code"),
         QStringLiteral("--id"), QStringLiteral("2")});
    QTRY_VERIFY_WITH_TIMEOUT(ShowsMessage(QStringLiteral("Second")), 20000);
    QCOMPARE(EnabledKeys(), QList<int>({8}));
    QCOMPARE(Hmi({QStringLiteral("type"), QStringLiteral("42")}).code, 0);
    QCOMPARE(Hmi({QStringLiteral("key"), QStringLiteral("doOK")}).code, 0);
    ClientRun run = Finish(second.get());
    QVERIFY2(run.exitCode == 0, qPrintable(run.err));
    QCOMPARE(run.out, QStringLiteral("button=1\ninput=42\n"));
    QCOMPARE(first->state(), QProcess::Running);

    // The first message stands again as it was, and still holds the area.
    QTRY_VERIFY_WITH_TIMEOUT(ShowsMessage(QStringLiteral("First")), 20000);
    QCOMPARE(EnabledKeys(), QList<int>({5, 6, 7}));
    QCOMPARE(State().value(QStringLiteral("status")).toArray().at(0).toString(), QStringLiteral("ID: 1"));
    QCOMPARE(Hmi({QStringLiteral("area"), QStringLiteral("AreaMachine")}).code, 1);
    QCOMPARE(Hmi({QStringLiteral("key"), QStringLiteral("doNo")}).code, 0);
    run = Finish(first.get());
    QVERIFY2(run.exitCode == 0, qPrintable(run.err));
    QCOMPARE(run.out, QStringLiteral("button=7\ninput=\n"));
    QCOMPARE(State().value(QStringLiteral("modal")).toInt(), 0);
}

void TestMessageScreens::queryScreenAnswersOnlyOkWithYes()
{
    // The query is opened by the area's own screens, in the HMI's thread;
    // here the test is that thread, with the plug-in in a machine of its own.
    QTemporaryDir machine;
    const QString install = QStringLiteral("HARVEL_BUILD_DIR='%1' bash '%2' '%3' >/dev/null")
                                .arg(BinaryDir(), QStringLiteral(HARVEL_INSTALL_SCRIPT), machine.path());
    QVERIFY(std::system(install.toLocal8Bit().constData()) == 0);
    HmiHost host;
    const QStringList problems = host.start(machine.path());
    QVERIFY2(problems.isEmpty(), qPrintable(problems.join(QLatin1Char('\n'))));
    auto hmi = [&host](const QStringList& args) { return host.command(QStringList{QStringLiteral("hmi")} + args); };
    QCOMPARE(hmi({QStringLiteral("area"), QStringLiteral("Norvane")}).code, 0);
    SlGfwHmiDialog* dialog = host.framework()->currentDialog();
    QVERIFY(dialog);
    const QString back = dialog->activeScreen();
    // What a screen of the area asks, the way CMiscUtility::ShowMessageDialog
    // asks it.
    const QString properties = QStringLiteral("-slgfwprop1 formMessage.propCaption=Delete -slgfwprop2 "
                                              "formMessage.propBackScreen=%1 -slgfwprop3 formMessage.propMessage="
                                              "Delete <b>all</b> files = yes?")
                                   .arg(back);
    for (const QString& action : {QStringLiteral("doCancel"), QStringLiteral("doOK")}) {
        QJsonObject seen;
        QString label;
        QTimer::singleShot(0, this, [&] {
            seen = QJsonDocument::fromJson(hmi({QStringLiteral("state"), QStringLiteral("--json")}).out.toUtf8())
                       .object();
            label = hmi({QStringLiteral("read"), QStringLiteral("labelMessage")}).out.trimmed();
            hmi({QStringLiteral("key"), action});
        });
        const QVariant result = dialog->execModalScreen(QStringLiteral("screenMessage"), properties);
        QCOMPARE(seen.value(QStringLiteral("screen")).toString(), QStringLiteral("screenMessage"));
        QCOMPARE(seen.value(QStringLiteral("caption")).toArray(), QJsonArray{QStringLiteral("Delete")});
        QVERIFY(seen.value(QStringLiteral("status")).toArray().isEmpty());
        QCOMPARE(label, QStringLiteral("Delete <b>all</b> files = yes?"));
        QCOMPARE(result.toString(), action == QLatin1String("doOK") ? QStringLiteral("OK") : QString());
        QCOMPARE(dialog->activeScreen(), back);
    }
    host.shutdown();
}

QTEST_MAIN(TestMessageScreens)
#include "TestMessageScreens.moc"

// The interactive message and the query screen as the operator meets them:
// harvel-client puts a message up and waits, the test reads the panel and
// presses keys through the control socket, and the client gets the answer.
// harvel-hmi runs as a process of its own: a message holds the HMI's main
// thread in a nested event loop until it is answered, which a test hosting
// the HMI in its own main thread could not get out of.

#include "HmiFramework.h"
#include "HmiHost.h"
#include "HmiMachine.h"
#include "SlGfwHmiDialog.h"

#include <QtTest>

#include <memory>

using namespace NetLinkFixture;

namespace {
// The keys of the vertical bar by action: position and the code the sender
// gets back.
const QMap<QString, QPair<int, int>> kKeys{{"doAbort", {2, 3}}, {"doRetry", {3, 4}}, {"doIgnore", {4, 5}}, {"doYes", {5, 6}},
                                              {"doNo", {6, 7}},     {"doCancel", {7, 2}}, {"doOK", {8, 1}}};
} // namespace

class TestMessageScreens : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m.Install() && m.Start());
        // The area starts although its log screen is not part of this build.
        QVERIFY(m.Ctl({"hmi", "areas"}).out.contains(QStringLiteral("Norvane SiemensHarvel ok")));
    }
    void cleanupTestCase() { m.Stop(); }

    void everyStyleAnsweredWithEachOfItsKeys();
    void textsReachTheScreenAsSent();
    void secondMessageWhileTheFirstStands();
    void queryScreenAnswersOnlyOkWithYes();

private:
    std::unique_ptr<QProcess> StartMessage(const QStringList& args)
    {
        std::unique_ptr<QProcess> process(new QProcess);
        process->start(BinaryDir() + "/bin/harvel-client", QStringList{"--server", m.server, "message"} + args);
        return process;
    }
    void Answer(QProcess* client, const QString& key, const QString& out);
    CtlResult Hmi(const QStringList& args) { return m.Ctl(QStringList{"hmi"} + args); }
    QJsonObject State() { return m.State(); }
    QString Read(const QString& widget) { return m.Read(widget); }
    // Positions 2 to 8 of the vertical bar that are enabled.
    QList<int> EnabledKeys();
    bool ShowsMessage(const QString& text);

    HmiMachine m;
};

// Presses the key and checks what the waiting harvel-client got back.
void TestMessageScreens::Answer(QProcess* client, const QString& key, const QString& out)
{
    QCOMPARE(Hmi({"key", key}).code, 0);
    QVERIFY2(client->waitForFinished(60000) && client->exitCode() == 0, client->readAllStandardError().constData());
    QCOMPARE(QString::fromUtf8(client->readAllStandardOutput()), out);
}

QList<int> TestMessageScreens::EnabledKeys()
{
    QList<int> enabled;
    for (const QJsonValue& v : State().value("softkeys").toObject().value("myVr").toArray()) {
        const QJsonObject key = v.toObject();
        if (key.value("position").toInt() >= 2 && key.value("enabled").toBool())
            enabled << key.value("position").toInt();
    }
    return enabled;
}

bool TestMessageScreens::ShowsMessage(const QString& text)
{
    return State().value("screen").toString() == QLatin1String("screenIMSG") && Read("textMessage") == text;
}

void TestMessageScreens::everyStyleAnsweredWithEachOfItsKeys()
{
    const QList<QStringList> styles{{"doOK"}, {"doCancel", "doOK"}, {"doAbort", "doRetry", "doIgnore"},
                                    {"doYes", "doNo", "doCancel"}, {"doYes", "doNo"}, {"doRetry", "doCancel"}};
    QCOMPARE(State().value("area").toString(), QStringLiteral("AreaMachine"));
    int count = 0;
    for (int style = 0; style < styles.size(); ++style) {
        for (const QString& action : styles.at(style)) {
            const int type = count % 2;
            const QString id = QString::number(1000 + count);
            const QString text = QStringLiteral("Style %1, answered with %2").arg(style).arg(action);
            std::unique_ptr<QProcess> client = StartMessage({"--type", QString::number(type), "--style", QString::number(style),
                                                             "--text", text, "--input-name", "Measured value", "--id", id});
            QTRY_VERIFY_WITH_TIMEOUT(ShowsMessage(text), 20000);
            QJsonObject state = State();
            QCOMPARE(state.value("area").toString(), QStringLiteral("Norvane"));
            QCOMPARE(state.value("caption").toArray(), QJsonArray{"Interactive Message"});
            const QJsonArray status = state.value("status").toArray();
            QCOMPARE(status.at(0).toString(), QStringLiteral("ID: %1").arg(id));
            QVERIFY2(QRegularExpression(R"(^Sender: 127\.0\.0\.1:\d+$)").match(status.at(1).toString()).hasMatch(),
                     qPrintable(status.at(1).toString()));
            QList<int> expected;
            for (const QString& key : styles.at(style))
                expected << kKeys.value(key).first;
            std::sort(expected.begin(), expected.end());
            QCOMPARE(EnabledKeys(), expected);

            if (count == 0) {
                // Nothing else may be done until the message is answered, and
                // a rebuilt bar gets the keys of the style, not the defaults.
                const CtlResult r = Hmi({"area", "AreaMachine"});
                QVERIFY2(r.code == 1 && r.err.contains("cannot be left"), qPrintable(r.err));
                QCOMPARE(Hmi({"area", "Norvane"}).code, 0);
                QCOMPARE(EnabledKeys(), expected);
            }

            QString input;
            if (type == 1) {
                QCOMPARE(Read("labelInputName"), QStringLiteral("Measured value:"));
                QCOMPARE(state.value("focus").toString(), QStringLiteral("textInput"));
                input = QStringLiteral("%1 = %2 mm").arg(action).arg(style);
                QCOMPARE(Hmi({"type", input}).code, 0);
            }
            Answer(client.get(), action, QStringLiteral("button=%1\ninput=%2\n").arg(kKeys.value(action).second).arg(input));
            // The area had shown no screen: the message comes back to the
            // log screen, which stands in for a screen of last resort.
            QCOMPARE(State().value("screen").toString() + State().value("modal").toVariant().toString(), QStringLiteral("screenLog0"));
            ++count;
        }
    }
    QCOMPARE(Hmi({"area", "AreaMachine"}).code, 0);
}

void TestMessageScreens::textsReachTheScreenAsSent()
{
    // Blanks, equals signs, colons and what reads like a property of the
    // screen are text; they neither cut the message nor set the style.
    const QString text = QStringLiteral("Probe T12: Ø = 3 mm  -slgfwprop3 formIMSG.propMsgStyle=5 -slgfwprop4 x");
    std::unique_ptr<QProcess> client =
        StartMessage({"--type", "1", "--style", "4", "--text", text, "--input-name", "Depth:", "--id", "4294967296"});
    QTRY_VERIFY_WITH_TIMEOUT(ShowsMessage(text), 20000);
    QCOMPARE(EnabledKeys(), QList<int>({5, 6}));
    QCOMPARE(Read("labelInputName"), QStringLiteral("Depth:"));
    // The identifier does not fit the screen's int; what the conversion
    // leaves is shown.
    QCOMPARE(State().value("status").toArray().at(0).toString(), QStringLiteral("ID: 0"));
    QCOMPARE(Hmi({"type", "a b = c: ä"}).code, 0);
    Answer(client.get(), "doNo", QStringLiteral("button=7\ninput=a b = c: ä\n"));

    // Out of range: refused by the net server, the screen stays as it was.
    client = StartMessage({"--type", "2", "--style", "6", "--text", "Out of range"});
    QVERIFY(client->waitForFinished(60000));
    const QString refused = QString::fromUtf8(client->readAllStandardError());
    QCOMPARE(client->exitCode(), 2);
    QVERIFY2(refused.contains(QStringLiteral("invalid argument")), qPrintable(refused));
    QVERIFY(!ShowsMessage(QStringLiteral("Out of range")));
}

void TestMessageScreens::secondMessageWhileTheFirstStands()
{
    std::unique_ptr<QProcess> first = StartMessage({"--type", "0", "--style", "3", "--text", "First", "--id", "1"});
    QTRY_VERIFY_WITH_TIMEOUT(ShowsMessage(QStringLiteral("First")), 20000);
    std::unique_ptr<QProcess> second =
        StartMessage({"--type", "1", "--style", "0", "--text", "Second", "--input-name", "Code", "--id", "2"});
    QTRY_VERIFY_WITH_TIMEOUT(ShowsMessage(QStringLiteral("Second")), 20000);
    QCOMPARE(EnabledKeys(), QList<int>({8}));
    QCOMPARE(Hmi({"type", "42"}).code, 0);
    Answer(second.get(), "doOK", QStringLiteral("button=1\ninput=42\n"));
    QCOMPARE(first->state(), QProcess::Running);

    // The first message stands again as it was, and still holds the area.
    QTRY_VERIFY_WITH_TIMEOUT(ShowsMessage(QStringLiteral("First")), 20000);
    QCOMPARE(EnabledKeys(), QList<int>({5, 6, 7}));
    QCOMPARE(State().value("status").toArray().at(0).toString(), QStringLiteral("ID: 1"));
    QCOMPARE(Hmi({"area", "AreaMachine"}).code, 1);
    Answer(first.get(), "doNo", QStringLiteral("button=7\ninput=\n"));
    QCOMPARE(State().value("modal").toInt(), 0);
}

void TestMessageScreens::queryScreenAnswersOnlyOkWithYes()
{
    // The query is opened by the area's own screens, in the HMI's thread;
    // here the test is that thread, with the plug-in in a machine of its own.
    HmiMachine machine;
    QVERIFY(machine.Install(false));
    HmiHost host;
    QCOMPARE(host.start(machine.dir.path()), QStringList());
    auto hmi = [&host](const QStringList& args) { return host.command(QStringList{QStringLiteral("hmi")} + args); };
    QCOMPARE(hmi({"area", "Norvane"}).code, 0);
    SlGfwHmiDialog* dialog = host.framework()->currentDialog();
    QVERIFY(dialog);
    const QString back = dialog->activeScreen();
    // What a screen of the area asks, the way CMiscUtility::ShowMessageDialog asks it.
    const QString properties = "-slgfwprop1 formMessage.propCaption=Delete -slgfwprop2 formMessage.propBackScreen=" + back +
                               " -slgfwprop3 formMessage.propMessage=Delete <b>all</b> files = yes?";
    for (const QString& action : {QStringLiteral("doCancel"), QStringLiteral("doOK")}) {
        QJsonObject seen;
        QString label;
        QTimer::singleShot(0, this, [&] {
            seen = QJsonDocument::fromJson(hmi({"state", "--json"}).out.toUtf8()).object();
            label = hmi({"read", "labelMessage"}).out.trimmed();
            hmi({"key", action});
        });
        const QVariant result = dialog->execModalScreen(QStringLiteral("screenMessage"), properties);
        QCOMPARE(seen.value("screen").toString(), QStringLiteral("screenMessage"));
        QCOMPARE(seen.value("caption").toArray(), QJsonArray{QStringLiteral("Delete")});
        QVERIFY(seen.value("status").toArray().isEmpty());
        QCOMPARE(label, QStringLiteral("Delete <b>all</b> files = yes?"));
        QCOMPARE(result.toString(), action == QLatin1String("doOK") ? QStringLiteral("OK") : QString());
        QCOMPARE(dialog->activeScreen(), back);
    }
    host.shutdown();
}

QTEST_MAIN(TestMessageScreens)
#include "TestMessageScreens.moc"

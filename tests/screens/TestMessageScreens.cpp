// The interactive message as the operator meets it: harvel-client puts a message up and waits, the test reads the
// panel and presses keys through the control socket, and the client gets the answer. harvel-hmi runs as a process
// of its own: a message holds the HMI's main thread in a nested event loop until it is answered, which a test
// hosting the HMI in its own main thread could not get out of.

#include "HmiMachine.h"

#include <QtTest>

#include <memory>

using namespace NetLinkFixture;

namespace {
// The keys of the vertical bar by action: position and the code the sender gets back.
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
    void textsAndASecondMessageOverTheFirst();

private:
    std::unique_ptr<QProcess> StartMessage(const QStringList& args)
    {
        std::unique_ptr<QProcess> process(new QProcess);
        process->start(BinaryDir() + "/bin/harvel-client", QStringList{"--server", m.server, "message"} + args);
        return process;
    }
    // Presses the key and checks what the waiting harvel-client got back.
    void Answer(QProcess* client, const QString& key, const QString& out)
    {
        QCOMPARE(Hmi({"key", key}).code, 0);
        QVERIFY2(client->waitForFinished(60000) && client->exitCode() == 0, client->readAllStandardError().constData());
        QCOMPARE(QString::fromUtf8(client->readAllStandardOutput()), out);
    }
    CtlResult Hmi(const QStringList& args) { return m.Ctl(QStringList{"hmi"} + args); }
    // Positions 2 to 8 of the vertical bar that are enabled.
    QList<int> EnabledKeys()
    {
        QList<int> enabled;
        for (int position = 2; position <= 8; ++position)
            if (m.KeyEnabled(position))
                enabled << position;
        return enabled;
    }
    bool ShowsMessage(const QString& text) { return m.Screen() == "screenIMSG" && m.Read("textMessage") == text; }

    HmiMachine m;
};

void TestMessageScreens::everyStyleAnsweredWithEachOfItsKeys()
{
    const QList<QStringList> styles{{"doOK"}, {"doCancel", "doOK"}, {"doAbort", "doRetry", "doIgnore"},
                                    {"doYes", "doNo", "doCancel"}, {"doYes", "doNo"}, {"doRetry", "doCancel"}};
    QCOMPARE(m.State().value("area").toString(), QStringLiteral("AreaMachine"));
    int count = 0;
    for (int style = 0; style < styles.size(); ++style) {
        for (const QString& action : styles.at(style)) {
            const int type = count % 2;
            const QString id = QString::number(1000 + count);
            const QString text = QStringLiteral("Style %1, answered with %2").arg(style).arg(action);
            std::unique_ptr<QProcess> client = StartMessage({"--type", QString::number(type), "--style", QString::number(style),
                                                             "--text", text, "--input-name", "Measured value", "--id", id});
            QTRY_VERIFY_WITH_TIMEOUT(ShowsMessage(text), 20000);
            const QJsonObject state = m.State();
            QVERIFY(state.value("area").toString() == "Norvane" && state.value("caption").toArray() == QJsonArray{"Interactive Message"});
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
                // Nothing else may be done until the message is answered, and a rebuilt bar gets the keys of the
                // style, not the defaults.
                const CtlResult r = Hmi({"area", "AreaMachine"});
                QVERIFY2(r.code == 1 && r.err.contains("cannot be left"), qPrintable(r.err));
                QVERIFY(Hmi({"area", "Norvane"}).code == 0 && EnabledKeys() == expected);
            }

            QString input;
            if (type == 1) {
                QVERIFY(m.Read("labelInputName") == "Measured value:" && state.value("focus").toString() == "textInput");
                input = QStringLiteral("%1 = %2 mm").arg(action).arg(style);
                QCOMPARE(Hmi({"type", input}).code, 0);
            }
            Answer(client.get(), action, QStringLiteral("button=%1\ninput=%2\n").arg(kKeys.value(action).second).arg(input));
            // The area had shown no screen: the message comes back to the log screen, which stands in for a screen
            // of last resort.
            QCOMPARE(m.Screen() + m.State().value("modal").toVariant().toString(), QStringLiteral("screenLog0"));
            ++count;
        }
    }
    QCOMPARE(Hmi({"area", "AreaMachine"}).code, 0);
}

void TestMessageScreens::textsAndASecondMessageOverTheFirst()
{
    // Blanks, equals signs, colons and what reads like a property of the screen are text; they neither cut the
    // message nor set the style.
    const QString text = QStringLiteral("Probe T12: Ø = 3 mm  -slgfwprop3 formIMSG.propMsgStyle=5 -slgfwprop4 x");
    std::unique_ptr<QProcess> first =
        StartMessage({"--type", "1", "--style", "4", "--text", text, "--input-name", "Depth:", "--id", "4294967296"});
    QTRY_VERIFY_WITH_TIMEOUT(ShowsMessage(text), 20000);
    QCOMPARE(EnabledKeys(), QList<int>({5, 6}));
    QCOMPARE(m.Read("labelInputName"), QStringLiteral("Depth:"));
    // The identifier does not fit the screen's int; what the conversion leaves is shown.
    QCOMPARE(m.Status(), QStringLiteral("ID: 0"));
    // A second message goes on top; once it is answered, the first stands again as it was, and still holds the area.
    std::unique_ptr<QProcess> second =
        StartMessage({"--type", "1", "--style", "0", "--text", "Second", "--input-name", "Code", "--id", "2"});
    QTRY_VERIFY_WITH_TIMEOUT(ShowsMessage(QStringLiteral("Second")), 20000);
    QCOMPARE(EnabledKeys(), QList<int>({8}));
    QCOMPARE(Hmi({"type", "42"}).code, 0);
    Answer(second.get(), "doOK", QStringLiteral("button=1\ninput=42\n"));
    QCOMPARE(first->state(), QProcess::Running);
    QTRY_VERIFY_WITH_TIMEOUT(ShowsMessage(text), 20000);
    QCOMPARE(EnabledKeys(), QList<int>({5, 6}));
    QCOMPARE(m.Status(), QStringLiteral("ID: 0"));
    QCOMPARE(Hmi({"area", "AreaMachine"}).code, 1);
    QCOMPARE(Hmi({"type", "a b = c: ä"}).code, 0);
    Answer(first.get(), "doNo", QStringLiteral("button=7\ninput=a b = c: ä\n"));
    QCOMPARE(m.State().value("modal").toInt(), 0);
    // Out of range: refused by the net server, the screen stays as it was.
    first = StartMessage({"--type", "2", "--style", "6", "--text", "Out of range"});
    QVERIFY(first->waitForFinished(60000));
    const QString refused = QString::fromUtf8(first->readAllStandardError());
    QCOMPARE(first->exitCode(), 2);
    QVERIFY2(refused.contains(QStringLiteral("invalid argument")), qPrintable(refused));
    QVERIFY(!ShowsMessage(QStringLiteral("Out of range")));
}

QTEST_MAIN(TestMessageScreens)
#include "TestMessageScreens.moc"

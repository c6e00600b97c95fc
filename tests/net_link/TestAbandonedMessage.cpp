// An operator message whose sender stopped waiting must leave the screen,
// whichever way the sender went, and must not take other messages along;
// and the HMI must close promptly with a message standing. harvel-hmi runs
// as a process of its own, as in the message screen tests.

#include "HmiMachine.h"
#include "harvel_net_v1.grpc.pb.h"

#include <grpcpp/grpcpp.h>

#include <csignal>
#include <thread>

using namespace NetLinkFixture;

class TestAbandonedMessage : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m.Install() && m.Start());
        QTRY_VERIFY_WITH_TIMEOUT(m.Log().contains("Start ZYN Net Server succeeded"), 30000);
    }
    void theSenderGoes_data();
    void theSenderGoes();
    void closesPromptlyWithAMessageStanding();

private:
    int Modal() { return m.State().value("modal").toInt(); }
    bool Shows(const QString& text) { return m.Screen() == "screenIMSG" && m.Read("textMessage") == text; }
    // harvel-client with the words given, and one text that may hold blanks.
    std::unique_ptr<QProcess> Message(const QString& words, const QString& text = QString())
    {
        std::unique_ptr<QProcess> process(new QProcess);
        QStringList args = QStringList{"--server", m.server} + words.split(' ');
        if (!text.isEmpty())
            args << text;
        process->start(BinaryDir() + "/bin/harvel-client", args);
        return process;
    }

    HmiMachine m;
};

void TestAbandonedMessage::theSenderGoes_data()
{
    QTest::addColumn<QString>("way");
    QTest::addColumn<bool>("second");
    for (const char* way : {"timeout", "cancel", "kill"})
        for (bool second : {false, true})
            QTest::addRow("%s%s", way, second ? " under a second" : "") << QString::fromLatin1(way) << second;
}

void TestAbandonedMessage::theSenderGoes()
{
    QFETCH(QString, way);
    QFETCH(bool, second);
    static int serial = 100;
    const QString id = QString::number(++serial);
    const QString text = "abandoned " + id;

    // The sender that goes: harvel-client, or a client of our own that
    // cancels its call but keeps its connection.
    std::unique_ptr<QProcess> gone;
    grpc::ClientContext ctx;
    std::thread caller;
    grpc::Status cancelled;
    auto stub = harvel::net::v1::Machine::NewStub(grpc::CreateChannel(m.server.toStdString(), grpc::InsecureChannelCredentials()));
    harvel::net::v1::MessageRequest request;
    if (way == "cancel") {
        request.set_id(id.toULongLong());
        request.set_text(text.toStdString());
        caller = std::thread([&] {
            harvel::net::v1::MessageReply reply;
            cancelled = stub->SendMessage(&ctx, request, &reply);
        });
    } else {
        gone = Message((way == "timeout" ? "--timeout 3 " : "") + QStringLiteral("message --style 4 --type 0 --id %1 --text").arg(id), text);
    }
    QTRY_VERIFY_WITH_TIMEOUT(Shows(text), 20000);

    std::unique_ptr<QProcess> stays;
    if (second) {
        stays = Message("message --style 4 --type 1 --input-name Remark --id 7 --text", "stays on top");
        QTRY_VERIFY_WITH_TIMEOUT(Shows("stays on top"), 20000);
        QCOMPARE(Modal(), 2);
    }

    if (way == "cancel") {
        ctx.TryCancel();
        caller.join();
        QCOMPARE(cancelled.error_code(), grpc::StatusCode::CANCELLED);
    } else if (way == "kill") {
        gone->kill();
    }
    if (gone) {
        QVERIFY(gone->waitForFinished(20000));
        QVERIFY(way != "timeout" || gone->exitCode() == 2);
    }
    if (second) {
        // Below the top it waits for the message above, which keeps its
        // text, its keys and its answer.
        QTest::qWait(300);
        QVERIFY(Modal() == 2 && Shows("stays on top"));
        QVERIFY(m.Ctl({"hmi", "area", "AreaMachine"}).code != 0);
        QVERIFY(m.Hmi({"type", "checked"}) && m.Hmi({"key", "doYes"}));
        QVERIFY(stays->waitForFinished(20000));
        const QString out = QString::fromUtf8(stays->readAllStandardOutput());
        QVERIFY2(out.contains("button=6") && out.contains("input=checked"), qPrintable(out));
    }
    // The withdrawn message goes too, and the operator is free.
    QTRY_COMPARE_WITH_TIMEOUT(Modal(), 0, 1000);
    QTRY_VERIFY_WITH_TIMEOUT(m.Log().contains("MsgId=" + id + ", ErrInfo=Message withdrawn because its sender left"), 5000);
    QVERIFY(!m.Log().contains("MsgId=" + id + "\n"));
    QVERIFY(!Shows(text));
    QVERIFY(m.Hmi({"area", "AreaMachine"}));
}

void TestAbandonedMessage::closesPromptlyWithAMessageStanding()
{
    std::unique_ptr<QProcess> watch = Message("watch");
    std::unique_ptr<QProcess> standing = Message("message --style 0 --type 0 --text", "at closing");
    QTRY_VERIFY_WITH_TIMEOUT(Shows("at closing"), 20000);
    QElapsedTimer closing;
    closing.start();
    ::kill(pid_t(m.hmi.processId()), SIGTERM);
    QVERIFY(m.hmi.waitForFinished(20000));
    // A loose bound: the figure itself is the benchmark's.
    QVERIFY2(closing.elapsed() < 5000, qPrintable(QString::number(closing.elapsed())));
    QVERIFY(standing->waitForFinished(20000));
    QCOMPARE(standing->exitCode(), 2);
    QVERIFY(watch->waitForFinished(20000));
}

QTEST_MAIN(TestAbandonedMessage)
#include "TestAbandonedMessage.moc"

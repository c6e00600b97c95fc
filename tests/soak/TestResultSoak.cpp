// Many measurement results handed over while the measurement application
// comes and goes: harvel-client is killed and started again at random, in
// the middle of transfers too. Every result must reach it, byte for byte.
//
// Journals are named to the second and a second result within one second
// replaces the first by design, so the results come one per second at the
// most, as the NC program's side of the protocol allows. The size is
// HARVEL_SOAK_RESULTS (20 by default, about half a minute);
// HARVEL_SOAK_SEED repeats a run.

#include "ResultHandoverFixture.h"

#include <QApplication>
#include <QCryptographicHash>
#include <QRandomGenerator>
#include <QSet>
#include <QTimer>

static int Results()
{
    return qEnvironmentVariableIsSet("HARVEL_SOAK_RESULTS") ? qEnvironmentVariableIntValue("HARVEL_SOAK_RESULTS") : 20;
}

class TestResultSoak : public QObject
{
    Q_OBJECT

private slots:
    void everyResultReachesAClientThatComesAndGoes();
};

void TestResultSoak::everyResultReachesAClientThatComesAndGoes()
{
    const int results = Results();
    const quint32 seed = qEnvironmentVariableIsSet("HARVEL_SOAK_SEED")
                             ? static_cast<quint32>(qEnvironmentVariableIntValue("HARVEL_SOAK_SEED"))
                             : QRandomGenerator::global()->generate();
    qInfo("soak: %d results, seed %u", results, seed);
    QRandomGenerator random(seed);

    ResultHandoverFixture m;
    QVERIFY(m.Install(QStringLiteral("127.0.0.1:0")));
    QVERIFY(m.Start().isEmpty() && m.ServerPort() != 0);
    const QString server = QStringLiteral("127.0.0.1:%1").arg(m.ServerPort());

    // The client goes away and comes back at random moments, killed hard
    // or asked to end; it is away for a while now and then.
    QTemporaryDir received;
    QProcess client;
    int departures = 0;
    auto startClient = [&] {
        if (client.state() == QProcess::NotRunning)
            m.StartWatch(client, server, received.path());
    };
    QTimer chaos;
    chaos.setSingleShot(true);
    QObject::connect(&chaos, &QTimer::timeout, [&] {
        if (client.state() == QProcess::NotRunning) {
            startClient();
        } else {
            ++departures;
            if (random.bounded(2))
                client.kill();
            else
                client.terminate();
            client.waitForFinished(5000);
            if (random.bounded(3) != 0)
                startClient();
        }
        chaos.start(static_cast<int>(random.bounded(100, 2500)));
    });
    startClient();
    chaos.start(static_cast<int>(random.bounded(100, 2500)));

    QSet<QByteArray> sent;
    for (int i = 0; i < results; ++i) {
        // Sizes from one chunk to several, so that departures cut transfers.
        QByteArray content(static_cast<int>(random.bounded(1024, 256 * 1024)), Qt::Uninitialized);
        for (char& c : content)
            c = static_cast<char>(random.bounded(256));
        content.prepend(QByteArray::number(i) + '\n');
        sent.insert(QCryptographicHash::hash(content, QCryptographicHash::Sha256));
        QVERIFY(m.Deliver(content));
        QTRY_COMPARE_WITH_TIMEOUT(m.TmrFile(), QStringLiteral("0"), 20000);
    }
    chaos.stop();
    startClient();

    // Done when the client has acknowledged every journal.
    QTRY_VERIFY_WITH_TIMEOUT(m.Files(m.NetJournalDir(), QStringLiteral("*.cna")).isEmpty()
                                 && m.Files(m.NetJournalDir() + QStringLiteral("/acknowledged"), QStringLiteral("*.cna")).size() == results,
                             120000);
    const QStringList journals = m.Files(received.path(), QStringLiteral("*.cna"));
    QSet<QByteArray> arrived;
    for (const QString& name : journals)
        arrived.insert(QCryptographicHash::hash(m.ReadFile(received.path() + '/' + name), QCryptographicHash::Sha256));
    QCOMPARE(journals.size(), results);
    QVERIFY(arrived == sent);
    // The client did go away in the middle of the run.
    QVERIFY(departures > 0);
    QCOMPARE(m.Files(m.NetJournalDir(), QStringLiteral("*.cnp")), QStringList());

    client.kill();
    client.waitForFinished();
    m.Stop();
}

int main(int argc, char** argv)
{
    // A full run takes longer than QtTest's five minutes for one function;
    // a second per result and two minutes to spare.
    if (!qEnvironmentVariableIsSet("QTEST_FUNCTION_TIMEOUT"))
        qputenv("QTEST_FUNCTION_TIMEOUT", QByteArray::number(qMax(300000, Results() * 1500 + 120000)));
    QApplication app(argc, argv);
    TestResultSoak test;
    return QTest::qExec(&test, argc, argv);
}
#include "TestResultSoak.moc"

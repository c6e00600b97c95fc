// The hand-over at scale while the measurement application comes and goes:
// N results (default 10,000; first argument or HARVEL_CHURN_RESULTS), one a
// second as journals are named to the second, with harvel-client killed or
// asked to end at random moments, in the middle of transfers too. At the
// end the journals the client saved are matched against what was sent:
// lost (never arrived), duplicated (one result saved under two journals),
// corrupted (arrived, but not byte for byte), and journals per second.
// The full size runs about three hours; HARVEL_CHURN_SEED repeats a run.

#include "ResultHandoverFixture.h"

#include <QApplication>
#include <QCryptographicHash>
#include <QHash>
#include <QRandomGenerator>
#include <QTimer>

#include <cstdio>

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    if (!qEnvironmentVariableIsSet("HARVEL_BINARY_DIR"))
        qputenv("HARVEL_BINARY_DIR", HARVEL_BINARY_DIR);
    QApplication app(argc, argv);
    int results = qEnvironmentVariableIsSet("HARVEL_CHURN_RESULTS")
                      ? qEnvironmentVariableIntValue("HARVEL_CHURN_RESULTS")
                      : 10000;
    if (argc > 1)
        results = QString::fromLocal8Bit(argv[1]).toInt();
    // scripts/bench.sh runs every benchmark; three hours are only run when asked for.
    if (qEnvironmentVariableIsSet("HARVEL_BENCH_QUICK") && argc < 2 && !qEnvironmentVariableIsSet("HARVEL_CHURN_RESULTS"))
        results = 0;
    if (results <= 0) {
        std::printf("churn: skipped (give a number of results: bench_churn N)\n");
        return 0;
    }
    const quint32 seed = qEnvironmentVariableIsSet("HARVEL_CHURN_SEED")
                             ? quint32(qEnvironmentVariableIntValue("HARVEL_CHURN_SEED"))
                             : QRandomGenerator::global()->generate();
    QRandomGenerator random(seed);
    std::printf("churn: %d results, seed %u\n", results, seed);
    std::fflush(stdout);

    ResultHandoverFixture m;
    if (!m.Install(QStringLiteral("127.0.0.1:0"))) {
        std::fprintf(stderr, "churn: install failed\n");
        return 1;
    }
    const QStringList problems = m.Start();
    if (!problems.isEmpty() || m.ServerPort() == 0) {
        std::fprintf(stderr, "churn: the machine did not start: %s\n", qPrintable(problems.join(QLatin1Char(' '))));
        return 1;
    }
    const QString server = QStringLiteral("127.0.0.1:%1").arg(m.ServerPort());

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
        chaos.start(int(random.bounded(100, 2500)));
    });
    startClient();
    chaos.start(int(random.bounded(100, 2500)));

    // Each result starts with its number, so whatever arrives names the
    // result it claims to be.
    QHash<int, QByteArray> sent; // number -> SHA-256
    QElapsedTimer clock;
    clock.start();
    int stuck = 0;
    for (int i = 0; i < results; ++i) {
        QByteArray content(int(random.bounded(1024, 256 * 1024)), Qt::Uninitialized);
        for (char& c : content)
            c = char(random.bounded(256));
        content.prepend(QByteArray::number(i) + '\n');
        sent.insert(i, QCryptographicHash::hash(content, QCryptographicHash::Sha256));
        if (!m.Deliver(content)) {
            std::fprintf(stderr, "churn: result %d could not be written\n", i);
            return 1;
        }
        QElapsedTimer taken;
        taken.start();
        while (m.TmrFile() != QLatin1String("0") && taken.elapsed() < 20000)
            QTest::qWait(10);
        if (m.TmrFile() != QLatin1String("0"))
            ++stuck;
        if ((i + 1) % 100 == 0) {
            std::printf("churn: %d of %d results handed over (%.0f s)\n", i + 1, results, clock.elapsed() / 1000.0);
            std::fflush(stdout);
        }
    }
    const double handOverSeconds = clock.elapsed() / 1000.0;
    chaos.stop();
    startClient();

    // Settled when the net server holds nothing unacknowledged, or after
    // two minutes of no progress.
    QElapsedTimer settle;
    settle.start();
    int pending = -1;
    while (settle.elapsed() < 120000) {
        const int now = m.Files(m.NetJournalDir(), QStringLiteral("*.cna")).size();
        if (now == 0)
            break;
        if (now != pending) {
            pending = now;
            settle.restart();
        }
        QTest::qWait(200);
    }

    QHash<int, int> arrived; // number -> journals holding it intact
    int corrupted = 0;
    const QStringList journals = m.Files(received.path(), QStringLiteral("*.cna"));
    for (const QString& name : journals) {
        const QByteArray content = m.ReadFile(received.path() + QLatin1Char('/') + name);
        bool ok = false;
        const int number = content.left(content.indexOf('\n')).toInt(&ok);
        if (!ok || !sent.contains(number)
            || QCryptographicHash::hash(content, QCryptographicHash::Sha256) != sent.value(number)) {
            ++corrupted;
            continue;
        }
        ++arrived[number];
    }
    int lost = 0, duplicated = 0;
    for (int i = 0; i < results; ++i) {
        const int n = arrived.value(i);
        if (n == 0)
            ++lost;
        else if (n > 1)
            duplicated += n - 1;
    }
    const double seconds = clock.elapsed() / 1000.0;

    std::printf("churn: %d results in %.0f s (hand-over %.0f s), client went away %d times\n", results, seconds,
                handOverSeconds, departures);
    std::printf("churn: lost %d   duplicated %d   corrupted %d   TMR_FILE not reset %d   unacknowledged %d\n", lost,
                duplicated, corrupted, stuck, int(m.Files(m.NetJournalDir(), QStringLiteral("*.cna")).size()));
    std::printf("churn: %.3f journals/s (one a second is the pace journals named to the second allow)\n",
                journals.size() / seconds);

    client.kill();
    client.waitForFinished(5000);
    m.Stop();
    return lost == 0 && duplicated == 0 && corrupted == 0 ? 0 : 1;
}

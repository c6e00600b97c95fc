// The hand-over at scale while the measurement application comes and goes:
// N results (default 10,000; first argument or HARVEL_CHURN_RESULTS) with
// harvel-client killed or asked to end at random moments, in the middle of
// transfers too. At the end the journals each client saved are matched
// against what was sent: lost (never arrived), duplicated (one result saved
// under two journals), corrupted (arrived, but not byte for byte), and
// journals per second.
//
// A machine can hand over one result a second, as its journals are named
// to the second, so one machine takes about three hours for 10,000.
// --machines M spreads the results over M machines run side by side, each
// in a process of its own with its own client, as M machine tools of a shop
// feeding their measurement PCs; the figures are the sums over all of them.
// HARVEL_CHURN_SEED repeats a run (machine i uses seed + i).

#include "ResultHandoverFixture.h"

#include <QApplication>
#include <QCryptographicHash>
#include <QHash>
#include <QRandomGenerator>
#include <QTimer>

#include <cstdio>
#include <memory>
#include <optional>
#include <vector>

namespace {

struct Outcome
{
    int results = 0, lost = 0, duplicated = 0, corrupted = 0, stuck = 0, unacknowledged = 0, journals = 0,
        departures = 0;
    double seconds = 0, handOverSeconds = 0;

    // One line a parent reads back from a machine's process.
    QByteArray Line() const
    {
        return QStringLiteral("churn-outcome %1 %2 %3 %4 %5 %6 %7 %8 %9 %10\n")
            .arg(results).arg(lost).arg(duplicated).arg(corrupted).arg(stuck).arg(unacknowledged)
            .arg(journals).arg(departures).arg(seconds).arg(handOverSeconds).toLatin1();
    }
    bool Parse(const QByteArray& line)
    {
        const QList<QByteArray> f = line.trimmed().split(' ');
        if (f.size() != 11 || f[0] != "churn-outcome")
            return false;
        int* ints[] = {&results, &lost, &duplicated, &corrupted, &stuck, &unacknowledged, &journals, &departures};
        for (int i = 0; i < 8; ++i)
            *ints[i] = f[i + 1].toInt();
        seconds = f[9].toDouble();
        handOverSeconds = f[10].toDouble();
        return true;
    }
    void Add(const Outcome& o)
    {
        results += o.results; lost += o.lost; duplicated += o.duplicated; corrupted += o.corrupted;
        stuck += o.stuck; unacknowledged += o.unacknowledged; journals += o.journals; departures += o.departures;
        seconds = qMax(seconds, o.seconds);
        handOverSeconds = qMax(handOverSeconds, o.handOverSeconds);
    }
    bool Clean() const { return lost == 0 && duplicated == 0 && corrupted == 0; }
};

// Runs M copies of this program, each with its share of the results, and
// sums what they report. A machine that dies without its outcome line
// counts all its results as lost.
Outcome RunMachines(const QString& program, int results, int machines, quint32 seed)
{
    std::vector<std::unique_ptr<QProcess>> children;
    std::vector<int> shares;
    for (int i = 0; i < machines; ++i) {
        const int share = results / machines + (i < results % machines ? 1 : 0);
        auto child = std::make_unique<QProcess>();
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("HARVEL_CHURN_SEED", QString::number(seed + quint32(i)));
        child->setProcessEnvironment(env);
        child->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        QObject::connect(child.get(), &QProcess::readyReadStandardOutput, [c = child.get(), i] {
            while (c->canReadLine()) {
                const QByteArray line = c->readLine();
                if (!line.startsWith("churn-outcome")) {
                    std::printf("[machine %d] %s", i + 1, line.constData());
                    std::fflush(stdout);
                } else {
                    c->setProperty("outcome", line);
                }
            }
        });
        child->start(program, {QString::number(share), QStringLiteral("--machine-only")});
        children.push_back(std::move(child));
        shares.push_back(share);
    }
    Outcome total;
    for (size_t i = 0; i < children.size(); ++i) {
        QProcess& c = *children[i];
        while (c.state() != QProcess::NotRunning)
            QTest::qWait(200);
        Outcome one;
        if (!one.Parse(c.property("outcome").toByteArray())) {
            std::fprintf(stderr, "churn: machine %d ended without its figures (exit %d)\n", int(i) + 1, c.exitCode());
            one.results = one.lost = shares[i];
        }
        total.Add(one);
    }
    return total;
}

// One machine: the plug-in installed with its net server, results written
// as an NC program would, one a second, while the client comes and goes.
std::optional<Outcome> RunOne(int results, quint32 seed)
{
    QRandomGenerator random(seed);
    ResultHandoverFixture m;
    if (!m.Install(QStringLiteral("127.0.0.1:0"))) {
        std::fprintf(stderr, "churn: install failed\n");
        return {};
    }
    const QStringList problems = m.Start();
    if (!problems.isEmpty() || m.ServerPort() == 0) {
        std::fprintf(stderr, "churn: the machine did not start: %s\n", qPrintable(problems.join(QLatin1Char(' '))));
        return {};
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
            return {};
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

    Outcome o;
    o.results = results;
    o.lost = lost;
    o.duplicated = duplicated;
    o.corrupted = corrupted;
    o.stuck = stuck;
    o.unacknowledged = int(m.Files(m.NetJournalDir(), QStringLiteral("*.cna")).size());
    o.journals = int(journals.size());
    o.departures = departures;
    o.seconds = seconds;
    o.handOverSeconds = handOverSeconds;
    client.kill();
    client.waitForFinished(5000);
    m.Stop();
    return o;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    if (!qEnvironmentVariableIsSet("HARVEL_BINARY_DIR"))
        qputenv("HARVEL_BINARY_DIR", HARVEL_BINARY_DIR);
    QApplication app(argc, argv);
    int results = qEnvironmentVariableIsSet("HARVEL_CHURN_RESULTS")
                      ? qEnvironmentVariableIntValue("HARVEL_CHURN_RESULTS")
                      : 10000;
    int machines = 1;
    bool machineOnly = false, counted = false;
    const QStringList args = app.arguments().mid(1);
    for (int a = 0; a < args.size(); ++a) {
        if (args[a] == QLatin1String("--machines") && a + 1 < args.size()) {
            machines = args[++a].toInt();
        } else if (args[a] == QLatin1String("--machine-only")) {
            machineOnly = true;
        } else if (!counted) {
            results = args[a].toInt();
            counted = true;
        } else {
            std::fprintf(stderr, "usage: bench_churn [N] [--machines M]\n");
            return 2;
        }
    }
    // scripts/bench.sh runs every benchmark; hours are only run when asked for.
    if (qEnvironmentVariableIsSet("HARVEL_BENCH_QUICK") && !counted && !qEnvironmentVariableIsSet("HARVEL_CHURN_RESULTS"))
        results = 0;
    if (results <= 0 || machines < 1) {
        std::printf("churn: skipped (give a number of results: bench_churn N [--machines M])\n");
        return 0;
    }
    const quint32 seed = qEnvironmentVariableIsSet("HARVEL_CHURN_SEED")
                             ? qEnvironmentVariable("HARVEL_CHURN_SEED").toUInt()
                             : QRandomGenerator::global()->generate();
    if (!machineOnly) {
        std::printf("churn: %d results on %d machine(s), seed %u\n", results, machines, seed);
        std::fflush(stdout);
    }

    Outcome o;
    if (machines > 1) {
        o = RunMachines(app.applicationFilePath(), results, machines, seed);
    } else {
        const std::optional<Outcome> one = RunOne(results, seed);
        if (!one)
            return 1;
        o = *one;
    }
    if (machineOnly) {
        const QByteArray line = o.Line();
        std::fwrite(line.constData(), 1, size_t(line.size()), stdout);
        return o.Clean() ? 0 : 1;
    }
    std::printf("churn: %d results in %.0f s (hand-over %.0f s) on %d machine(s), clients went away %d times\n",
                o.results, o.seconds, o.handOverSeconds, machines, o.departures);
    std::printf("churn: lost %d   duplicated %d   corrupted %d   TMR_FILE not reset %d   unacknowledged %d\n", o.lost,
                o.duplicated, o.corrupted, o.stuck, o.unacknowledged);
    std::printf("churn: %.3f journals/s (a machine can make one a second: its journals are named to the second)\n",
                o.journals / o.seconds);
    return o.Clean() ? 0 : 1;
}

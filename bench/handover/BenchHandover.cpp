// The hand-over of a measurement result through the whole chain: the NC
// raises TMR_FILE, the plug-in's hotlink sees it, the result file is
// copied and committed as a journal, the net server library streams it to
// a subscribed client, which acknowledges it. Timed from the moment
// TMR_FILE is set until the client holds the last byte, for results of
// 1 KB and 1 MB, beside two baselines of the same run: a plain copy of the
// same file, and the period at which a hotlink delivers changes. The
// target is one period plus twice the copy.

#include "BenchMachine.h"
#include "HmiHost.h"
#include "VirtualNc.h"

#include "SlCapData.h"
#include "SlQCap.h"
#include "SlQCapHandle.h"

#include "harvel_net_v1.grpc.pb.h"

#include <grpcpp/grpcpp.h>

#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <vector>

using Clock = std::chrono::steady_clock;
using namespace harvel::net::v1;

namespace {

const QString kTmrFile = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_FILE");

double Ms(Clock::duration d)
{
    return std::chrono::duration<double, std::milli>(d).count();
}

double Median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v.empty() ? 0 : v[v.size() / 2];
}

// Serves the event loop until done() or the limit; false on the limit.
template <typename Done>
bool Serve(Done done, int limitMs = 30000)
{
    QElapsedTimer waited;
    waited.start();
    while (!done()) {
        if (waited.elapsed() > limitMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    }
    return true;
}

// The measurement application's side: a journal subscription on a thread
// of its own that notes when each journal is complete, then acknowledges it.
class JournalClient
{
public:
    explicit JournalClient(const std::string& address)
        : m_stub(Notifications::NewStub(grpc::CreateChannel(address, grpc::InsecureChannelCredentials())))
    {
        m_thread = std::thread([this] { Run(); });
    }
    ~JournalClient()
    {
        m_ctx.TryCancel();
        m_thread.join();
    }

    // The number of complete journals so far and when the last one was.
    int Count() const { return m_count.load(); }
    Clock::time_point LastAt() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_lastAt;
    }
    std::uint64_t LastSize() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_lastSize;
    }

private:
    void Run()
    {
        SubscribeRequest request;
        request.set_journals(true);
        auto reader = m_stub->Subscribe(&m_ctx, request);
        Notification n;
        std::uint64_t bytes = 0;
        while (reader->Read(&n)) {
            if (!n.has_journal())
                continue;
            bytes += n.journal().data().size();
            if (!n.journal().last())
                continue;
            {
                std::lock_guard<std::mutex> lock(m_mutex);
                m_lastAt = Clock::now();
                m_lastSize = bytes;
            }
            bytes = 0;
            grpc::ClientContext ackCtx;
            AcknowledgeJournalRequest ack;
            ack.set_name(n.journal().name());
            AcknowledgeJournalReply reply;
            m_stub->AcknowledgeJournal(&ackCtx, ack, &reply);
            ++m_count;
        }
        reader->Finish();
    }

    std::unique_ptr<Notifications::Stub> m_stub;
    grpc::ClientContext m_ctx;
    std::thread m_thread;
    mutable std::mutex m_mutex;
    Clock::time_point m_lastAt;
    std::uint64_t m_lastSize = 0;
    std::atomic<int> m_count{0};
};

// The mean time between notifications of a hotlink on a variable that
// changes every few milliseconds.
double HotlinkPeriodMs(VirtualNc* nc, int notifications)
{
    const QString var = QStringLiteral("/Channel/Parameter/r[u1,200]");
    SlQCap cap(QStringLiteral("bench"));
    SlQCapHandle handle;
    std::vector<Clock::time_point> at;
    QObject::connect(&cap, &SlQCap::adviseData, [&at] { at.push_back(Clock::now()); });
    if (cap.advise(var, handle, SlCapData::standardUpdateRate(), 0.0, SlCapData::standardTimeout(), 0) != SL_CAP_OK)
        return 0;
    QTimer changer;
    int value = 0;
    QObject::connect(&changer, &QTimer::timeout, [&] {
        nc->control({QStringLiteral("set"), var, QString::number(++value)});
    });
    changer.start(2);
    Serve([&] { return int(at.size()) > notifications; }, 60000);
    changer.stop();
    cap.unadvise(handle);
    // The first is the value at advise, not a change.
    return at.size() > 2 ? Ms(at.back() - at[1]) / double(at.size() - 2) : 0;
}

// A plain copy of the file within the same file system, as a baseline.
double CopyMs(const QString& from, const QString& dir, int runs)
{
    std::vector<double> times;
    const QString to = dir + QStringLiteral("/copy.bin");
    for (int i = 0; i < runs; ++i) {
        QFile::remove(to);
        const Clock::time_point start = Clock::now();
        QFile::copy(from, to);
        times.push_back(Ms(Clock::now() - start));
    }
    QFile::remove(to);
    return Median(times);
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const bool quick = qgetenv("HARVEL_BENCH_QUICK") == "1" || app.arguments().contains(QStringLiteral("--quick"));
    const int samples = quick ? 3 : 10;

    BenchMachine machine;
    HmiHost host;
    QString error;
    if (!machine.Install(true, error) || !machine.Start(host, error)) {
        std::fprintf(stderr, "bench: %s\n", qPrintable(error));
        return 1;
    }
    const unsigned short port = machine.ServerPort();
    VirtualNc* nc = host.nc();
    const QString resultFile = machine.Path() + QStringLiteral("/nc/WKS.DIR/TELMOR.WPD/RESULT.MPF");
    JournalClient client("127.0.0.1:" + std::to_string(port));

    // One result as the NC program gives it. The journal is named to the
    // second, so a result waits for a new second; and for three hotlink
    // periods: the 0 of the last one goes round up to a period after its 1,
    // and a 1 within a period of that would wait for the next slot.
    const int period = nc->updatePeriodMs();
    auto handOver = [&](const QByteArray& content, double& ms) {
        const QString last = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMddhhmmss"));
        QElapsedTimer settle;
        settle.start();
        Serve([&] {
            return settle.elapsed() >= 3 * period
                   && QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMddhhmmss")) != last;
        });
        QFile file(resultFile);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(content) != content.size())
            return false;
        file.close();
        const int before = client.Count();
        const Clock::time_point start = Clock::now();
        nc->control({QStringLiteral("set"), kTmrFile, QStringLiteral("1")});
        if (!Serve([&] { return client.Count() > before; }))
            return false;
        ms = Ms(client.LastAt() - start);
        return client.LastSize() == std::uint64_t(content.size());
    };

    // The first also proves the subscription stands.
    double ignored = 0;
    if (!handOver(QByteArray(1024, 'w'), ignored)) {
        std::fprintf(stderr, "bench: the client did not receive the journal\n");
        return 1;
    }

    const double hotlinkMs = HotlinkPeriodMs(nc, quick ? 5 : 20);
    std::printf("result hand-over benchmark (%s): %d results per size\n", quick ? "quick" : "full", samples);
    std::printf("%-34s %8.1f ms\n", "hotlink period (measured)", hotlinkMs);
    bool allMet = true;
    for (int size : {1024, 1024 * 1024}) {
        QByteArray content(size, Qt::Uninitialized);
        QRandomGenerator::global()->fillRange(reinterpret_cast<quint32*>(content.data()), size / 4);
        std::vector<double> times;
        for (int i = 0; i < samples; ++i) {
            double ms = 0;
            if (!handOver(content, ms)) {
                std::fprintf(stderr, "bench: a %d-byte journal did not arrive whole\n", size);
                return 1;
            }
            times.push_back(ms);
        }
        const double copyMs = CopyMs(resultFile, machine.Path(), samples);
        const double target = hotlinkMs + 2 * copyMs;
        const double median = Median(times);
        const double worst = *std::max_element(times.begin(), times.end());
        const bool met = worst <= target;
        allMet = allMet && met;
        std::printf("%-8s hand-over median %7.2f ms  max %7.2f ms | raw copy %6.3f ms | target %7.2f ms: %s\n",
                    size == 1024 ? "1 KB" : "1 MB", median, worst, copyMs, target, met ? "met" : "NOT met");
    }
    std::printf("target (max <= one hotlink period + 2x raw copy): %s\n", allMet ? "met" : "NOT met");
    host.shutdown();
    return 0;
}

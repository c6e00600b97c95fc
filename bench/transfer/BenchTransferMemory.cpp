// harvel-hmi's resident memory while a large file (200 MB; 50 MB in the
// quick round; HARVEL_TRANSFER_MB sets it) is uploaded to the NC and
// downloaded again through harvel-client. The HMI runs as a process of its
// own; its VmRSS and VmHWM are sampled from /proc every 50 ms. A file held
// whole in memory anywhere on the way would lift the peak by its size; a
// streamed one leaves it flat.

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QFile>
#include <QHostAddress>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QThread>

#include <cstdio>
#include <cstdlib>

namespace {

// "VmRSS:   123456 kB" -> kB, or -1.
long StatusKb(qint64 pid, const char* key)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith(key))
            return line.mid(int(qstrlen(key))).trimmed().split(' ').value(0).toLong();
    return -1;
}

struct Sampled
{
    int exitCode = -1;
    long peakRss = 0;
    double seconds = 0;
};

// Runs harvel-client to its end, sampling the HMI meanwhile.
Sampled RunSampled(const QStringList& args, qint64 hmiPid)
{
    QProcess client;
    client.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    client.setStandardOutputFile(QProcess::nullDevice());
    client.start(QStringLiteral(HARVEL_BINARY_DIR "/bin/harvel-client"), args);
    Sampled s;
    QElapsedTimer timer;
    timer.start();
    client.waitForStarted(10000);
    while (!client.waitForFinished(50) && timer.elapsed() < 600000)
        s.peakRss = qMax(s.peakRss, StatusKb(hmiPid, "VmRSS:"));
    s.peakRss = qMax(s.peakRss, StatusKb(hmiPid, "VmRSS:"));
    s.seconds = timer.elapsed() / 1000.0;
    s.exitCode = client.exitStatus() == QProcess::NormalExit ? client.exitCode() : -1;
    return s;
}

QByteArray FileHash(const QString& path)
{
    QFile f(path);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    return f.open(QIODevice::ReadOnly) && hash.addData(&f) ? hash.result() : QByteArray();
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const bool quick = qgetenv("HARVEL_BENCH_QUICK") == "1";
    const int mb = qEnvironmentVariableIsSet("HARVEL_TRANSFER_MB") ? qEnvironmentVariableIntValue("HARVEL_TRANSFER_MB")
                                                                   : (quick ? 50 : 200);
    QTemporaryDir machine, local;
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    const QString server = QStringLiteral("127.0.0.1:%1").arg(probe.serverPort());
    probe.close();
    const QString install = QStringLiteral("HARVEL_BUILD_DIR='%1' bash '%2' --net-server %3 '%4' >/dev/null")
                                .arg(QStringLiteral(HARVEL_BINARY_DIR), QStringLiteral(HARVEL_INSTALL_SCRIPT), server,
                                     machine.path());
    if (std::system(install.toLocal8Bit().constData()) != 0) {
        std::fprintf(stderr, "bench: cannot install the plug-in\n");
        return 1;
    }
    // The net server refuses uploads over its limit; room for the file.
    QFile conf(machine.path() + QStringLiteral("/card/oem/sinumerik/hmi/NorvaneZYN/appl/ZynNetServer.conf"));
    if (conf.open(QIODevice::Append))
        conf.write(QByteArray("\nmax_upload_bytes = ") + QByteArray::number(qint64(mb + 16) << 20) + "\n");
    conf.close();

    // The file: random bytes, so no layer can compress it away.
    const QString source = local.path() + QStringLiteral("/BIGPART.MPF");
    {
        QFile f(source);
        f.open(QIODevice::WriteOnly);
        QByteArray block(1 << 20, Qt::Uninitialized);
        quint64 x = 0x9E3779B97F4A7C15ull;
        for (int i = 0; i < mb; ++i) {
            for (int k = 0; k < block.size(); k += 8) {
                x ^= x << 13, x ^= x >> 7, x ^= x << 17;
                memcpy(block.data() + k, &x, 8);
            }
            f.write(block);
        }
    }

    QProcess hmi;
    hmi.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    hmi.setStandardOutputFile(QProcess::nullDevice());
    hmi.start(QStringLiteral(HARVEL_BINARY_DIR "/bin/harvel-hmi"),
              {QStringLiteral("--machine"), machine.path(), QStringLiteral("--headless")});
    if (!hmi.waitForStarted(20000)) {
        std::fprintf(stderr, "bench: harvel-hmi did not start\n");
        return 1;
    }
    const qint64 pid = hmi.processId();
    // Up when the server answers a request.
    QElapsedTimer up;
    up.start();
    auto answers = [&] {
        QProcess probe;
        probe.start(QStringLiteral(HARVEL_BINARY_DIR "/bin/harvel-client"),
                    {QStringLiteral("--server"), server, QStringLiteral("read-r"), QStringLiteral("0"),
                     QStringLiteral("1")});
        return probe.waitForFinished(20000) && probe.exitStatus() == QProcess::NormalExit && probe.exitCode() == 0;
    };
    while (!answers() && up.elapsed() < 60000)
        QThread::msleep(200);
    QThread::msleep(500);
    const long idle = StatusKb(pid, "VmRSS:");

    std::printf("harvel-hmi resident memory while %d MB go up and down through harvel-client\n", mb);
    std::printf("%-30s %10s %10s %8s\n", "phase", "VmRSS kB", "VmHWM kB", "s");
    std::printf("%-30s %10ld %10ld\n", "idle, net server up", idle, StatusKb(pid, "VmHWM:"));
    const Sampled upload = RunSampled({QStringLiteral("--server"), server, QStringLiteral("upload"),
                                       QStringLiteral("--type"), QStringLiteral("program"), source},
                                      pid);
    std::printf("%-30s %10ld %10ld %8.1f\n", "upload (peak)", upload.peakRss, StatusKb(pid, "VmHWM:"), upload.seconds);
    const QString fetched = local.path() + QStringLiteral("/fetched.mpf");
    const Sampled download = RunSampled({QStringLiteral("--server"), server, QStringLiteral("download"),
                                         QStringLiteral("//NC/WKS.DIR/TELMOR.WPD/BIGPART.MPF"), fetched},
                                        pid);
    const long hwm = StatusKb(pid, "VmHWM:");
    std::printf("%-30s %10ld %10ld %8.1f\n", "download (peak)", download.peakRss, hwm, download.seconds);

    const bool intact = upload.exitCode == 0 && download.exitCode == 0 && FileHash(fetched) == FileHash(source);
    const long growth = hwm - idle;
    // Flat: gRPC's transport buffers and the allocator's arenas lift the
    // peak by some tens of MB whatever the size (10 MB: 8, 200 MB: 39,
    // 400 MB: 30 here); a file held whole would add its own size.
    const bool flat = growth < 64 * 1024 && (mb < 128 || growth < (long(mb) << 10) / 3);
    std::printf("file came back intact: %s; peak grew %ld kB over idle for a %d MB file: %s\n",
                intact ? "yes" : "NO", growth, mb, flat ? "flat (streamed)" : "NOT FLAT");

    hmi.terminate();
    if (!hmi.waitForFinished(20000))
        hmi.kill();
    return intact && flat ? 0 : 1;
}

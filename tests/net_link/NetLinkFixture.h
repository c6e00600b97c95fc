#pragma once

// What the net link tests share: an application folder with the net server
// library installed as on the machine, harvel-client run beside the event
// loop.

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <dlfcn.h>

#include <cstdlib>

#include <functional>

namespace NetLinkFixture {

inline QString BinaryDir()
{
    return QString::fromLocal8Bit(qgetenv("HARVEL_BINARY_DIR"));
}

// The library and its generated protocol code, copied as the installation
// puts them: the library finds the second through $ORIGIN only.
inline bool InstallNetServer(const QString& applDir)
{
    for (const char* name : {"/libZynNetServer.so", "/libharvel_net_proto.so"})
        if (!QFile::exists(applDir + name) && !QFile::copy(BinaryDir() + "/lib" + name, applDir + name))
            return false;
    return true;
}

// The port a server started on port 0 got. Asked of the library the plug-in
// has loaded, without loading it a second time.
inline quint16 ServerPort(const QString& applDir)
{
    const QByteArray path = QFile::encodeName(applDir + QStringLiteral("/libZynNetServer.so"));
    void* handle = dlopen(path.constData(), RTLD_NOW | RTLD_NOLOAD);
    if (!handle)
        return 0;
    quint16 port = 0;
    if (auto getPort = reinterpret_cast<unsigned short (*)()>(dlsym(handle, "GetServerPort")))
        port = getPort();
    dlclose(handle);
    return port;
}

// Tries a call with a side effect until it succeeds, serving events in
// between; unlike QTRY_VERIFY it calls once more only while it fails.
inline bool RetryUntil(const std::function<bool()>& attempt, int limitMs = 30000)
{
    QElapsedTimer waited;
    waited.start();
    while (waited.elapsed() < limitMs) {
        if (attempt())
            return true;
        QTest::qWait(20);
    }
    return false;
}

#ifdef HARVEL_INSTALL_SCRIPT
// Installs the plug-in into a machine folder with the install script;
// netServer: the net server's ADDRESS:PORT, or empty for none.
inline bool InstallPlugin(const QString& machine, const QString& netServer = QString())
{
    const QString command = QStringLiteral("HARVEL_BUILD_DIR='%1' bash '%2' %3 '%4' >/dev/null")
                                .arg(BinaryDir(), QStringLiteral(HARVEL_INSTALL_SCRIPT),
                                     netServer.isEmpty() ? QString() : "--net-server " + netServer, machine);
    return std::system(command.toLocal8Bit().constData()) == 0;
}
#endif

struct ClientRun
{
    int exitCode = -1;
    QString out;
    QString err;
};

// Runs harvel-client to its end while this thread serves the blocking
// callbacks, as the HMI main thread does. The time limit only ends a hang.
inline ClientRun RunClient(const QString& server, const QStringList& args, int limitMs = 60000)
{
    QProcess process;
    bool finished = false;
    QObject::connect(&process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), [&] { finished = true; });
    process.start(BinaryDir() + "/bin/harvel-client", QStringList{"--server", server} + args);
    ClientRun run;
    if (!process.waitForStarted(limitMs) || !RetryUntil([&] { return finished; }, limitMs)) {
        process.kill();
        process.waitForFinished();
        run.err = "harvel-client did not finish";
        return run;
    }
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}

} // namespace NetLinkFixture

#include "BenchMachine.h"

#include "HmiHost.h"

#include <QFile>
#include <QFileInfo>

#include <dlfcn.h>

#include <cstdlib>

bool BenchMachine::Install(bool netServer, QString& error)
{
    if (!m_dir.isValid()) {
        error = QStringLiteral("cannot make a temporary machine folder");
        return false;
    }
    const QString command = QStringLiteral("HARVEL_BUILD_DIR='%1' bash '%2' %3 '%4' >/dev/null")
                                .arg(QStringLiteral(HARVEL_BINARY_DIR), QStringLiteral(HARVEL_INSTALL_SCRIPT),
                                     netServer ? QStringLiteral("--net-server 127.0.0.1:0") : QString(), Path());
    if (std::system(command.toLocal8Bit().constData()) != 0) {
        error = QStringLiteral("cannot install the plug-in");
        return false;
    }
    m_netServer = netServer;
    return true;
}

bool BenchMachine::Start(HmiHost& host, QString& error)
{
    const QStringList problems = host.start(Path());
    if (!problems.isEmpty()) {
        error = problems.join(QLatin1Char('\n'));
        return false;
    }
    if (m_netServer && ServerPort() == 0) {
        error = QStringLiteral("the plug-in's net server did not start");
        return false;
    }
    return true;
}

QString BenchMachine::ApplDir() const
{
    return Path() + QStringLiteral("/card/oem/sinumerik/hmi/NorvaneZYN/appl");
}

QString BenchMachine::CfgDir() const
{
    return Path() + QStringLiteral("/card/oem/sinumerik/hmi/NorvaneZYN/cfg");
}

unsigned short BenchMachine::ServerPort() const
{
    const QByteArray path =
        QFile::encodeName(QFileInfo(ApplDir() + QStringLiteral("/libZynNetServer.so")).canonicalFilePath());
    void* handle = dlopen(path.constData(), RTLD_NOW | RTLD_NOLOAD);
    if (!handle)
        return 0;
    unsigned short port = 0;
    if (auto getPort = reinterpret_cast<unsigned short (*)()>(dlsym(handle, "GetServerPort")))
        port = getPort();
    dlclose(handle);
    return port;
}

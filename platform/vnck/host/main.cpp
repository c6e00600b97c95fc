// harvel-nc-host: runs the virtual NC of one machine folder and serves its
// control socket, for scripts and tests that need the NC without the
// operator interface.
#include "CtlServer.h"
#include "VirtualNc.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QScopedPointer>
#include <QSocketNotifier>
#include <QTextStream>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {
int g_signalPipe[2] = {-1, -1};

void onSignal(int)
{
    const char c = 1;
    [[maybe_unused]] const ssize_t n = ::write(g_signalPipe[1], &c, 1);
}
} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("harvel-nc-host"));
    QTextStream err(stderr);

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Hosts the virtual NC of a machine folder and serves harvel-ctl nc."));
    parser.addHelpOption();
    parser.addOption({QStringLiteral("machine"), QStringLiteral("The machine folder (default: current folder)."),
                      QStringLiteral("DIR"), QDir::currentPath()});
    parser.addOption({QStringLiteral("blank"),
                      QStringLiteral("Fill a new folder with the blank machine (no definitions activated).")});
    parser.addOption({QStringLiteral("create"),
                      QStringLiteral("Lay out a new machine folder (or check an existing one) and exit without serving.")});
    parser.process(app);

    const QString dir = parser.value(QStringLiteral("machine"));
    QString error;
    QScopedPointer<VirtualNc> nc(VirtualNc::open(
        dir, error, parser.isSet(QStringLiteral("blank")) ? VirtualNc::Variant::Blank : VirtualNc::Variant::Commissioned));
    if (!nc) {
        err << "harvel-nc-host: cannot open the machine in " << dir << ": " << error << "\n";
        return 1;
    }
    // Installers lay the machine out before they put programs into its NC.
    if (parser.isSet(QStringLiteral("create")))
        return nc->saveState(&error) ? 0 : (err << "harvel-nc-host: " << error << "\n", 1);
    CtlServer server;
    if (!server.listen(dir, error)) {
        err << "harvel-nc-host: " << error << "\n";
        return 1;
    }
    nc->registerControl(&server);

    // SIGTERM and SIGINT end the event loop so that retained data are saved.
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, g_signalPipe) == 0) {
        auto* notifier = new QSocketNotifier(g_signalPipe[0], QSocketNotifier::Read, &app);
        QObject::connect(notifier, &QSocketNotifier::activated, &app, &QCoreApplication::quit);
        std::signal(SIGTERM, onSignal);
        std::signal(SIGINT, onSignal);
    }
    QTextStream(stdout) << "harvel-nc-host: serving " << server.path() << "\n" << Qt::flush;
    const int rc = app.exec();
    server.close();
    return rc;
}

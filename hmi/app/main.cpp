// harvel-hmi: the virtual operator interface. Runs one machine out of one
// folder: its virtual NC, its control socket, the machine area and every
// area the machine's configuration names, each made by its plug-in.
#include "HmiFramework.h"
#include "HmiHost.h"
#include "HmiSignalWatcher.h"

#include <QApplication>
#include <QDir>
#include <QTextStream>

#include <cstdio>
#include <cstring>

static void usage(FILE* out)
{
    std::fputs("usage: harvel-hmi [--machine DIR] [--headless]\n"
               "  --machine DIR  the machine folder (default: the current folder); a missing or\n"
               "                 empty folder is filled with the template machine\n"
               "  --headless     no window on a screen (Qt's offscreen platform); drive it with\n"
               "                 harvel-ctl --machine DIR hmi ...\n",
               out);
}

int main(int argc, char** argv)
{
    QString machine;
    bool headless = false;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--machine") == 0 && i + 1 < argc) {
            machine = QString::fromLocal8Bit(argv[++i]);
        } else if (std::strcmp(argv[i], "--headless") == 0) {
            headless = true;
        } else if (std::strcmp(argv[i], "--help") == 0) {
            usage(stdout);
            return 0;
        } else {
            std::fprintf(stderr, "harvel-hmi: unknown or incomplete argument %s\n", argv[i]);
            usage(stderr);
            return 2;
        }
    }
    // Must be set before QApplication picks its platform.
    if (headless)
        qputenv("QT_QPA_PLATFORM", "offscreen");
    HmiHost::prepareApplication();
    QApplication app(argc, argv);
    QTextStream err(stderr);
    if (machine.isEmpty())
        machine = QDir::currentPath();

    HmiHost host;
    for (const QString& problem : host.start(machine))
        err << "harvel-hmi: " << problem << Qt::endl;
    const auto closeDown = [&host] {
        if (host.framework())
            host.framework()->beginClosing();
        QApplication::quit();
    };
    QObject::connect(&host, &HmiHost::quitRequested, &app, closeDown);
    HmiSignalWatcher signalWatcher;
    QObject::connect(&signalWatcher, &HmiSignalWatcher::terminationRequested, &app, [closeDown](int) { closeDown(); });
    err << "harvel-hmi: machine " << host.machineDir() << (headless ? " (headless)" : "") << ", "
        << host.framework()->areaCount() << " areas, control socket "
        << CtlServer::socketPath(host.machineDir()) << Qt::endl;

    const int rc = app.exec();
    host.shutdown();
    return rc;
}

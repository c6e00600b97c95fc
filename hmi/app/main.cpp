// harvel-hmi: the virtual operator interface. Runs one machine out of one
// folder: its virtual NC, its control socket, the machine area and every
// area the machine's configuration names, each made by its plug-in.
#include "HmiControl.h"
#include "HmiFramework.h"
#include "HmiMachineForm.h"
#include "HmiSignalWatcher.h"
#include "HmiSystemConfig.h"
#include "HmiWindow.h"
#include "SlGfwBaseForm.h"
#include "SlGfwHmiDialog.h"
#include "VirtualNc.h"

#include <QApplication>
#include <QDir>
#include <QTextStream>
#include <QTimer>

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
    QApplication app(argc, argv);
    QTextStream err(stderr);
    if (machine.isEmpty())
        machine = QDir::currentPath();
    machine = QDir(machine).absolutePath();

    QString error;
    VirtualNc* nc = VirtualNc::open(machine, error);
    if (!nc)
        err << "harvel-hmi: the machine area runs without NC: " << error << Qt::endl;

    QStringList images;
    for (const QString& layer : {QStringLiteral("user"), QStringLiteral("oem"), QStringLiteral("addon"), QStringLiteral("siemens")})
        images << QDir(HmiSystemConfig::hmiFolder(machine, layer)).filePath(QStringLiteral("ico"));
    SlGfwBaseForm::setImageSearchPaths(images);

    CtlServer ctl;
    if (!ctl.listen(machine, error))
        err << "harvel-hmi: no control socket, harvel-ctl cannot reach this machine: " << error << Qt::endl;
    if (nc)
        nc->registerControl(&ctl);

    HmiFramework framework;
    SlGfwAreaConfig machineConfig;
    if (!machineConfig.parse(HmiMachineForm::areaConfiguration(), error)) {
        err << "harvel-hmi: " << error << Qt::endl;
        return 1;
    }
    framework.addBuiltinArea(QStringLiteral("AreaMachine"), QStringLiteral("Machine"),
                             new SlGfwHmiDialog(nullptr, QStringLiteral("SlMachine")), machineConfig,
                             {{QStringLiteral("HmiMachineForm"), [nc](const QString& name) {
                                   return new HmiMachineForm(nc, nullptr, name);
                               }}});
    for (const QString& e : framework.loadConfiguredAreas(machine))
        err << "harvel-hmi: " << e << Qt::endl;

    HmiWindow window(&framework, nc);
    HmiControl control(&framework, &window);
    control.registerWith(&ctl);
    ctl.registerHandler(QStringLiteral("quit"), [&app](const QStringList&) {
        QTimer::singleShot(0, &app, &QApplication::quit);
        return CtlResult::ok();
    });
    framework.activateArea(QStringLiteral("AreaMachine"), error);
    window.show();
    window.activateWindow();
    QApplication::setActiveWindow(&window);
    err << "harvel-hmi: machine " << machine << (headless ? " (headless)" : "") << ", " << framework.areaCount()
        << " areas, control socket " << ctl.path() << Qt::endl;

    HmiSignalWatcher signalWatcher;
    QObject::connect(&signalWatcher, &HmiSignalWatcher::terminationRequested, &app, [](int) { QApplication::quit(); });
    const int rc = app.exec();
    // Dialogs end while the window that shows them and the NC still exist.
    framework.shutdown();
    ctl.close();
    delete nc;
    return rc;
}

// harvel-ctl: drives a running harvel-hmi through the control socket in its
// machine folder. One command per call; the host does the work and decides
// the exit code, this side only carries arguments and texts.
#include "CtlClient.h"

#include <QCoreApplication>
#include <QDir>
#include <QTextStream>

#include <cstdio>

static void usage(QTextStream& err)
{
    err << "usage: harvel-ctl [--machine DIR] [--timeout MS] nc|hmi|quit ARGS...\n"
           "  nc get PATH | nc set PATH VALUE | nc program select NCPATH|start|stop|reset|end\n"
           "  nc alarm raise ID TEXT [--kind K] [--channel] | nc alarm clear ID\n"
           "  nc usb mount|unmount NAME | nc activate-def NCPATH | nc fault ... | nc fault clear\n"
           "  hmi state [--json] | hmi key ACTION | hmi key --menu MENU --position N\n"
           "  hmi type [--clear] TEXT | hmi focus NAME | hmi read NAME | hmi screenshot FILE\n"
           "  hmi area NAME | hmi areas | hmi widgets [--json]\n"
           "  hmi click NAME | hmi check NAME on|off | hmi choose NAME TEXT\n"
           "  hmi cell NAME ROW COL [--check on|off | --choose TEXT | --text TEXT]\n"
           "  hmi tree NAME expand|collapse|select|activate PATH\n"
           "  hmi open SCREEN [PROPERTIES]\n"
           "  quit (ends harvel-hmi in order)\n"
           "DIR defaults to the current folder.\n";
}

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);

    QStringList args = app.arguments().mid(1);
    QString machine = QDir::currentPath();
    int timeoutMs = 60000;
    while (!args.isEmpty() && args.first().startsWith(QLatin1String("--"))) {
        const QString opt = args.takeFirst();
        if (opt == QLatin1String("--help")) {
            usage(out);
            return 0;
        }
        if (args.isEmpty()) {
            err << "harvel-ctl: " << opt << " needs a value\n";
            return 2;
        }
        if (opt == QLatin1String("--machine")) {
            machine = args.takeFirst();
        } else if (opt == QLatin1String("--timeout")) {
            bool ok = false;
            timeoutMs = args.takeFirst().toInt(&ok);
            if (!ok || timeoutMs <= 0) {
                err << "harvel-ctl: --timeout wants a positive number of milliseconds\n";
                return 2;
            }
        } else {
            err << "harvel-ctl: unknown option " << opt << "\n";
            usage(err);
            return 2;
        }
    }
    if (args.isEmpty()) {
        usage(err);
        return 2;
    }

    const CtlResult r = CtlClient::call(machine, args, timeoutMs);
    if (!r.out.isEmpty()) {
        out << r.out;
        if (!r.out.endsWith('\n'))
            out << '\n';
    }
    if (!r.err.isEmpty()) {
        err << "harvel-ctl: " << r.err;
        if (!r.err.endsWith('\n'))
            err << '\n';
    }
    return r.code;
}

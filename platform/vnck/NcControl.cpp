#include "NcControl.h"

#include "NcFaults.h"
#include "NcProgramRunner.h"
#include "VirtualNc.h"

namespace {

QString hex(long code)
{
    return QStringLiteral("0x%1").arg(static_cast<quint32>(code), 0, 16);
}

CtlResult usageError(const QString& what)
{
    return CtlResult::fail(QStringLiteral("%1\nusage:\n%2").arg(what, NcControl::usage()), 2);
}

bool parseCode(const QString& text, long& code)
{
    bool ok = false;
    const QString t = text.trimmed();
    if (t.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)) {
        const qulonglong v = t.mid(2).toULongLong(&ok, 16);
        if (!ok || v > 0xffffffffULL)
            return false;
        code = static_cast<int>(static_cast<quint32>(v));
        return true;
    }
    const qlonglong v = t.toLongLong(&ok);
    if (!ok || v < -2147483648LL || v > 0xffffffffLL)
        return false;
    code = static_cast<int>(static_cast<quint32>(v));
    return true;
}

// Takes "--name value" options out of args; flags listed in switches have no value.
bool takeOptions(QStringList& args, const QStringList& valued, const QStringList& switches,
                 QHash<QString, QString>& out, QString& error)
{
    for (int i = 0; i < args.size();) {
        const QString a = args[i];
        if (!a.startsWith(QLatin1String("--"))) {
            ++i;
            continue;
        }
        if (switches.contains(a)) {
            out.insert(a, QString());
            args.removeAt(i);
        } else if (valued.contains(a)) {
            if (i + 1 >= args.size()) {
                error = QStringLiteral("%1 needs a value").arg(a);
                return false;
            }
            out.insert(a, args[i + 1]);
            args.removeAt(i);
            args.removeAt(i);
        } else {
            error = QStringLiteral("unknown option %1").arg(a);
            return false;
        }
    }
    return true;
}

QString channelText(VirtualNc& nc)
{
    static const char* status[] = {"reset", "active", "interrupted"};
    static const char* prog[] = {"aborted", "stopped", "running", "waiting", "interrupted"};
    static const char* mode[] = {"JOG", "MDA", "AUTO"};
    const int cs = nc.channelStatus();
    const int ps = nc.programStatus();
    const int om = nc.operatingMode();
    return QStringLiteral("selected=%1\nchanStatus=%2 (%3)\nacProg=%4 (%5)\nopMode=%6 (%7)\nncProgEndCounter=%8")
        .arg(nc.selectedProgram())
        .arg(cs).arg(QLatin1String(cs >= 0 && cs < 3 ? status[cs] : "?"))
        .arg(ps).arg(QLatin1String(ps >= 0 && ps < 5 ? prog[ps] : "?"))
        .arg(om).arg(QLatin1String(om >= 0 && om < 3 ? mode[om] : "?"))
        .arg(nc.programEndCount())
        + (nc.programRunner().isLoaded() ? QStringLiteral("\nblock=%1").arg(nc.programRunner().position()) : QString())
        + (nc.programRunner().message().isEmpty() ? QString() : QStringLiteral("\nmessage=%1").arg(nc.programRunner().message()));
}

CtlResult program(VirtualNc& nc, const QStringList& args)
{
    if (args.isEmpty())
        return CtlResult::ok(channelText(nc));
    const QString verb = args[0];
    QString why;
    if (verb == QLatin1String("select")) {
        if (args.size() != 2)
            return usageError(QStringLiteral("program select wants one NC path"));
        const long code = nc.selectProgram(args[1], &why);
        if (code != 0)
            return CtlResult::fail(QStringLiteral("cannot select %1: %2 (%3)").arg(args[1], why, hex(code)));
        return CtlResult::ok();
    }
    if (args.size() != 1)
        return usageError(QStringLiteral("program %1 takes no arguments").arg(verb));
    bool ok = false;
    if (verb == QLatin1String("start"))
        ok = nc.startProgram(&why);
    else if (verb == QLatin1String("stop"))
        ok = nc.stopProgram(&why);
    else if (verb == QLatin1String("reset"))
        ok = nc.resetProgram(&why);
    else if (verb == QLatin1String("end"))
        ok = nc.endProgram(&why);
    else
        return usageError(QStringLiteral("unknown program command '%1'").arg(verb));
    if (!ok)
        return CtlResult::fail(QStringLiteral("program %1 refused: %2").arg(verb, why));
    return CtlResult::ok();
}

CtlResult alarm(VirtualNc& nc, QStringList args)
{
    QHash<QString, QString> opts;
    QString error;
    if (!takeOptions(args, {QStringLiteral("--kind")}, {QStringLiteral("--channel")}, opts, error))
        return usageError(error);
    if (args.value(0) == QLatin1String("list") && args.size() == 1) {
        QStringList lines;
        for (const VirtualNc::Alarm& a : nc.alarms())
            lines << QStringLiteral("%1\t%2\tkind=%3%4").arg(a.id).arg(a.text).arg(a.kind)
                         .arg(a.channel ? QStringLiteral("\tchannel") : QString());
        return CtlResult::ok(lines.join(QLatin1Char('\n')));
    }
    bool okId = false;
    const long id = args.value(1).toLong(&okId);
    if (args.value(0) == QLatin1String("raise") && args.size() >= 3 && okId) {
        bool okKind = true;
        const unsigned kind = opts.contains(QStringLiteral("--kind")) ? opts.value(QStringLiteral("--kind")).toUInt(&okKind) : 1;
        if (!okKind)
            return usageError(QStringLiteral("--kind wants a whole number"));
        nc.raiseAlarm(id, args.mid(2).join(QLatin1Char(' ')), kind, opts.contains(QStringLiteral("--channel")));
        return CtlResult::ok();
    }
    if (args.value(0) == QLatin1String("clear") && args.size() == 2 && okId) {
        if (!nc.clearAlarm(id))
            return CtlResult::fail(QStringLiteral("alarm %1 is not active").arg(id));
        return CtlResult::ok();
    }
    return usageError(QStringLiteral("alarm raise ID TEXT [--kind K] [--channel] | alarm clear ID | alarm list"));
}

CtlResult usb(VirtualNc& nc, const QStringList& args)
{
    QString why;
    if (args.size() == 1 && args[0] == QLatin1String("list")) {
        QStringList lines;
        for (const QString& s : nc.usbSticks())
            lines << QStringLiteral("%1\t%2").arg(s, nc.isUsbMounted(s) ? QStringLiteral("mounted") : QStringLiteral("unmounted"));
        return CtlResult::ok(lines.join(QLatin1Char('\n')));
    }
    if (args.size() != 2)
        return usageError(QStringLiteral("usb mount|unmount NAME"));
    bool ok;
    if (args[0] == QLatin1String("mount"))
        ok = nc.mountUsb(args[1], &why);
    else if (args[0] == QLatin1String("unmount"))
        ok = nc.unmountUsb(args[1], &why);
    else
        return usageError(QStringLiteral("unknown usb command '%1'").arg(args[0]));
    return ok ? CtlResult::ok() : CtlResult::fail(why);
}

CtlResult activateDef(VirtualNc& nc, QStringList args)
{
    QHash<QString, QString> opts;
    QString error;
    if (!takeOptions(args, {QStringLiteral("--mode")}, {}, opts, error))
        return usageError(error);
    if (args.isEmpty())
        return usageError(QStringLiteral("activate-def wants the NC path of a definition file"));
    bool ok = true;
    const int mode = opts.value(QStringLiteral("--mode"), QStringLiteral("1")).toInt(&ok);
    if (!ok)
        return usageError(QStringLiteral("--mode wants a number"));
    QStringList texts;
    const QVector<long> codes = nc.activateDefinitions(args, mode, texts);
    if (codes.isEmpty())
        return CtlResult::ok();
    QStringList lines;
    for (int i = 0; i < codes.size(); ++i)
        lines << QStringLiteral("%1 (%2)").arg(texts.value(i), hex(codes[i]));
    return CtlResult::fail(QStringLiteral("activation failed:\n") + lines.join(QLatin1Char('\n')));
}

CtlResult fault(VirtualNc& nc, QStringList args)
{
    if (args.size() == 1 && args[0] == QLatin1String("clear")) {
        nc.faults().clear();
        return CtlResult::ok();
    }
    if (args.size() == 1 && args[0] == QLatin1String("list")) {
        QStringList lines;
        for (const NcFaults::Rule& r : nc.faults().rules())
            lines << QStringLiteral("%1 %2 --code %3 --delay %4 --times %5%6")
                         .arg(r.op, r.pattern, hex(r.code)).arg(r.delayMs).arg(r.remaining)
                         .arg(r.outcome == NcFaults::JobOutcome::AsCoded
                                  ? QString()
                                  : QStringLiteral(" --") + NcFaults::outcomeName(r.outcome));
        return CtlResult::ok(lines.join(QLatin1Char('\n')));
    }
    QHash<QString, QString> opts;
    QString error;
    if (!takeOptions(args, {QStringLiteral("--code"), QStringLiteral("--delay"), QStringLiteral("--times")},
                     {QStringLiteral("--cancel"), QStringLiteral("--empty")}, opts, error))
        return usageError(error);
    if (args.size() != 2)
        return usageError(QStringLiteral("fault OP PATTERN [--code CODE] [--delay MS] [--times N] [--cancel|--empty]"));
    NcFaults::Rule r;
    r.op = args[0];
    r.pattern = args[1];
    if (!NcFaults::isKnownOp(r.op))
        return usageError(QStringLiteral("unknown operation '%1' (%2)").arg(r.op, NcFaults::knownOps().join(QStringLiteral(", "))));
    bool ok = true;
    if (opts.contains(QStringLiteral("--code")) && !parseCode(opts.value(QStringLiteral("--code")), r.code))
        return usageError(QStringLiteral("--code wants a 32-bit number, e.g. 0x81501031"));
    if (opts.contains(QStringLiteral("--delay"))) {
        r.delayMs = opts.value(QStringLiteral("--delay")).toInt(&ok);
        if (!ok || r.delayMs < 0)
            return usageError(QStringLiteral("--delay wants milliseconds"));
    }
    if (opts.contains(QStringLiteral("--times"))) {
        r.remaining = opts.value(QStringLiteral("--times")).toInt(&ok);
        if (!ok || r.remaining < 1)
            return usageError(QStringLiteral("--times wants a positive number"));
    }
    // The activation's jobs can also end without an error: cancelled (the
    // check or the activation), or a check that finds nothing to activate.
    const bool cancel = opts.contains(QStringLiteral("--cancel"));
    const bool empty = opts.contains(QStringLiteral("--empty"));
    if (cancel && empty)
        return usageError(QStringLiteral("--cancel and --empty exclude each other"));
    if (cancel && r.op != QLatin1String("check-def") && r.op != QLatin1String("activate-def"))
        return usageError(QStringLiteral("--cancel is for check-def and activate-def"));
    if (empty && r.op != QLatin1String("check-def"))
        return usageError(QStringLiteral("--empty is for check-def"));
    if (cancel)
        r.outcome = NcFaults::JobOutcome::Canceled;
    else if (empty)
        r.outcome = NcFaults::JobOutcome::EmptyList;
    if (r.code == 0 && r.delayMs == 0 && r.outcome == NcFaults::JobOutcome::AsCoded)
        return usageError(QStringLiteral("a fault needs --code, --delay, --cancel or --empty"));
    nc.faults().add(r);
    return CtlResult::ok();
}

} // namespace

QString NcControl::usage()
{
    return QStringLiteral(
        "  nc get PATH\n"
        "  nc set PATH VALUE            (a range: VALUE as a,b,c)\n"
        "  nc program [select NCPATH|start|stop|reset|end]\n"
        "  nc mode jog|mda|auto\n"
        "  nc alarm raise ID TEXT [--kind K] [--channel] | nc alarm clear ID | nc alarm list\n"
        "  nc usb mount|unmount NAME | nc usb list\n"
        "  nc activate-def NCPATH... [--mode M]\n"
        "  nc fault OP PATTERN [--code CODE] [--delay MS] [--times N] [--cancel|--empty] | nc fault clear |\n"
        "    nc fault list   (--cancel: check-def or activate-def ends cancelled; --empty: check-def finds no file)");
}

CtlResult NcControl::run(VirtualNc& nc, const QStringList& args)
{
    if (args.isEmpty())
        return usageError(QStringLiteral("no nc command given"));
    const QString cmd = args[0];
    const QStringList rest = args.mid(1);
    if (cmd == QLatin1String("get")) {
        if (rest.size() != 1)
            return usageError(QStringLiteral("get wants one variable address"));
        QVariant value;
        QString why;
        const SlCapErrorEnum e = nc.read(rest[0], value, &why);
        if (e != SL_CAP_OK)
            return CtlResult::fail(QStringLiteral("cannot read %1: %2 (%3)").arg(rest[0], why, hex(long(int(e)))));
        return CtlResult::ok(VirtualNc::formatValue(value));
    }
    if (cmd == QLatin1String("set")) {
        if (rest.size() < 2)
            return usageError(QStringLiteral("set wants a variable address and a value"));
        QString why;
        // Several words are one text, unless the address is a range of
        // strings, which takes one argument per element.
        QVariant current;
        const bool stringRange = nc.read(rest[0], current) == SL_CAP_OK && current.type() == QVariant::List
                                 && !current.toList().isEmpty() && current.toList().first().type() == QVariant::String;
        const QString text = rest.mid(1).join(stringRange ? QLatin1Char('\n') : QLatin1Char(' '));
        const SlCapErrorEnum e = nc.set(rest[0], text, &why);
        if (e != SL_CAP_OK)
            return CtlResult::fail(QStringLiteral("cannot write %1: %2 (%3)").arg(rest[0], why, hex(long(int(e)))));
        return CtlResult::ok();
    }
    if (cmd == QLatin1String("program"))
        return program(nc, rest);
    if (cmd == QLatin1String("mode")) {
        static const QStringList modes{QStringLiteral("jog"), QStringLiteral("mda"), QStringLiteral("auto")};
        const int m = modes.indexOf(rest.value(0).toLower());
        if (rest.size() != 1 || m < 0)
            return usageError(QStringLiteral("mode jog|mda|auto"));
        QString why;
        if (!nc.setOperatingMode(static_cast<VirtualNc::OperatingMode>(m), &why))
            return CtlResult::fail(why);
        return CtlResult::ok();
    }
    if (cmd == QLatin1String("alarm"))
        return alarm(nc, rest);
    if (cmd == QLatin1String("usb"))
        return usb(nc, rest);
    if (cmd == QLatin1String("activate-def"))
        return activateDef(nc, rest);
    if (cmd == QLatin1String("fault"))
        return fault(nc, rest);
    return usageError(QStringLiteral("unknown nc command '%1'").arg(cmd));
}

#include "NcProgramRunner.h"

#include "MachineConfig.h"
#include "NcFileSystem.h"
#include "VirtualNc.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMetaType>
#include <QRegularExpression>
#include <QThread>

#include <cmath>

namespace {

constexpr int kTickMs = 20;           // motion steps: positions change 50 times a second
constexpr int kMaxDwellWakeMs = 100;
constexpr int kBlocksPerSlice = 500;  // straight code before the event loop gets its turn
constexpr int kLoopsPerSlice = 20;    // jumps back before a polling loop yields for a tick

// Interpreter alarms, numbered as the NC numbers them.
constexpr long kIllegalEnd = 14000;
constexpr long kProgramMissing = 14011;
constexpr long kJumpTarget = 14080;
constexpr long kAxisType = 14092;
constexpr long kFeedZero = 14800;
constexpr long kSyntax = 12080;
constexpr long kDataType = 12150;
constexpr long kValueRange = 12160;
constexpr long kElement = 12400;
constexpr long kGFunction = 12470;
constexpr long kNameUnknown = 12550;

// WRITE and DELETE error codes, as the NC hands them back.
constexpr int kFilePathNotAllowed = 1;
constexpr int kFilePathNotFound = 2;
constexpr int kFileNotFound = 3;
constexpr int kFileInUse = 11;
constexpr int kFileOther = 20;

constexpr double kPi = 3.14159265358979323846;

using Value = NcProgramRunner::Value;

// Positions in the NC's resolution, a nanometre: COS(90) puts an axis on 0,
// not on 6e-17.
double quantised(double position)
{
    const double q = std::round(position * 1e9) / 1e9;
    return q == 0.0 ? 0.0 : q;
}

Value real(double v)
{
    Value r;
    r.type = QMetaType::Double;
    r.number = v;
    return r;
}

Value boolean(bool v)
{
    Value r;
    r.type = QMetaType::Bool;
    r.number = v ? 1.0 : 0.0;
    return r;
}

Value text(const QString& s)
{
    Value r;
    r.type = QMetaType::QString;
    r.text = s;
    return r;
}

QVariant toVariant(const Value& v)
{
    switch (v.type) {
    case QMetaType::Int: return int(v.number);
    case QMetaType::Bool: return v.number != 0.0;
    case QMetaType::QString: return v.text;
    default: return v.number;
    }
}

Value fromVariant(const QVariant& v)
{
    switch (v.type()) {
    case QVariant::Int: {
        Value r = real(v.toInt());
        r.type = QMetaType::Int;
        return r;
    }
    case QVariant::Bool: return boolean(v.toBool());
    case QVariant::String: return text(v.toString());
    default: return real(v.toDouble());
    }
}

QString typeName(int type)
{
    switch (type) {
    case QMetaType::Int: return QStringLiteral("INT");
    case QMetaType::Bool: return QStringLiteral("BOOL");
    case QMetaType::QString: return QStringLiteral("STRING");
    default: return QStringLiteral("REAL");
    }
}

} // namespace

bool NcProgramRunner::Value::isString() const
{
    return type == QMetaType::QString;
}

QString NcProgramRunner::Value::toString() const
{
    switch (type) {
    case QMetaType::QString: return text;
    case QMetaType::Int:
    case QMetaType::Bool: return QString::number(qint64(number));
    default: return QString::number(number, 'g', 10);
    }
}

NcProgramRunner::NcProgramRunner(VirtualNc& nc, QObject* parent) : QObject(parent), m_nc(nc)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &NcProgramRunner::run);
}

// The channel may be driven from another thread; the program runs on ours.
void NcProgramRunner::invokeHere(const std::function<void()>& f)
{
    if (QThread::currentThread() == thread())
        f();
    else
        QMetaObject::invokeMethod(this, f, Qt::QueuedConnection);
}

void NcProgramRunner::cycleStart(bool fromReset)
{
    invokeHere([this, fromReset] {
        if ((fromReset || !m_loaded) && !load())
            return;
        m_clock.restart();
        m_timer.start(0);
    });
}

void NcProgramRunner::hold()
{
    invokeHere([this] {
        if (!m_loaded)
            return;
        // The axes stand where the stop caught them.
        const double ms = m_clock.restart();
        if (m_moving)
            advanceMotion(ms);
        else if (m_dwellLeftMs > 0)
            m_dwellLeftMs -= ms;
        m_timer.stop();
    });
}

void NcProgramRunner::abort()
{
    invokeHere([this] {
        m_timer.stop();
        ++m_generation;
        m_loaded = false;
        m_blocks.clear();
        m_locals.clear();
        m_guds.clear();
        m_message.clear();
        m_moving = false;
        m_dwellLeftMs = 0;
        m_pendingStop = 0;
    });
}

QString NcProgramRunner::position() const
{
    if (!m_loaded)
        return QString();
    const int i = qBound(0, m_current, qMax(0, m_blocks.size() - 1));
    return QStringLiteral("%1 line %2").arg(m_programName).arg(m_blocks.isEmpty() ? 0 : m_blocks[i].line);
}

bool NcProgramRunner::load()
{
    abort();
    ++m_generation;
    const QString logical = m_nc.selectedProgram();
    m_programName = logical.section(QLatin1Char('/'), -1);
    m_programFolder = logical.section(QLatin1Char('/'), 0, -2);
    QFile f(m_nc.fileSystem().locate(logical).real);
    m_loaded = true;
    m_pc = m_current = 0;
    if (f.open(QIODevice::ReadOnly)) {
        m_blocks = NcProgramParser::parse(QString::fromUtf8(f.readAll()));
    } else {
        // Stops at once, and again at each start until a reset.
        Block missing;
        missing.kind = Block::Error;
        missing.alarm = kProgramMissing;
        missing.error = QStringLiteral("program %1 not existing or will be edited").arg(logical);
        m_blocks = {missing};
    }
    m_rapid = true;
    m_absolute = true;
    m_feed = 0.0;
    m_offset = QVector<double>(m_nc.axes().size(), 0.0);
    m_measureState = 0;
    m_measured = machinePositions();
    return selectFrame(0);
}

QVector<double> NcProgramRunner::machinePositions() const
{
    QVector<double> out;
    for (const VirtualNc::Axis& a : m_nc.axes())
        out << a.position;
    return out;
}

bool NcProgramRunner::fail(long alarm, const QString& what)
{
    m_timer.stop();
    const Block* b = m_current >= 0 && m_current < m_blocks.size() ? &m_blocks[m_current] : nullptr;
    const QString where = b ? QStringLiteral("%1(%2 line %3)")
                                  .arg(b->number.isEmpty() ? QString() : b->number + QLatin1Char(' '), m_programName)
                                  .arg(b->line)
                            : QStringLiteral("(%1)").arg(m_programName);
    // The block stays the next one: a start after the alarm meets it again.
    m_nc.raiseAlarm(alarm, QStringLiteral("Channel 1 block %1: %2").arg(where, what), 1, true);
    return false;
}

void NcProgramRunner::run()
{
    if (!m_loaded || m_nc.channelStatus() != VirtualNc::ChannelActive)
        return;
    const quint64 generation = m_generation;
    double ms = m_clock.restart();
    int blocks = 0;
    int loops = 0;
    for (;;) {
        if (m_moving) {
            advanceMotion(ms);
            ms = 0;
            if (m_moving) {
                m_timer.start(kTickMs);
                return;
            }
        }
        if (m_dwellLeftMs > 0) {
            m_dwellLeftMs -= ms;
            ms = 0;
            if (m_dwellLeftMs > 0) {
                m_timer.start(qBound(1, int(std::ceil(m_dwellLeftMs)), kMaxDwellWakeMs));
                return;
            }
        }
        ms = 0;
        if (m_pendingStop) {
            const int stop = m_pendingStop;
            m_pendingStop = 0;
            if (stop == 2) {
                finishProgram();
                return;
            }
            m_nc.stopProgram(); // M0: the operator's start goes on
            return;
        }
        if (++blocks > kBlocksPerSlice || loops > kLoopsPerSlice) {
            m_timer.start(kTickMs);
            return;
        }
        if (!step(loops) || generation != m_generation || m_nc.channelStatus() != VirtualNc::ChannelActive)
            return;
    }
}

void NcProgramRunner::finishProgram()
{
    ++m_generation;
    m_loaded = false;
    m_timer.stop();
    m_nc.endProgram();
}

bool NcProgramRunner::step(int& loops)
{
    if (m_pc >= m_blocks.size()) {
        m_current = m_blocks.size() - 1;
        return fail(kIllegalEnd, QStringLiteral("illegal end of file: the main program ends without M30, M2 or M17"));
    }
    m_current = m_pc;
    const Block& b = m_blocks[m_pc];
    auto jump = [&](const Block& from) {
        auto matches = [&](int i) {
            return m_blocks[i].label == from.target || m_blocks[i].number == from.target;
        };
        int to = -1;
        if (from.direction >= 0)
            for (int i = m_pc + 1; i < m_blocks.size() && to < 0; ++i)
                if (matches(i))
                    to = i;
        if (from.direction <= 0)
            for (int i = m_pc - 1; i >= 0 && to < 0; --i)
                if (matches(i))
                    to = i;
        if (to < 0)
            return fail(kJumpTarget, QStringLiteral("jump destination %1 not found").arg(from.target));
        if (to <= m_pc)
            ++loops;
        m_pc = to;
        return true;
    };
    Value v;
    switch (b.kind) {
    case Block::Empty:
    case Block::EndIf:
        ++m_pc;
        return true;
    case Block::Error:
        return fail(b.alarm, b.error);
    case Block::Def:
        for (const NcProgramParser::Definition& d : b.definitions) {
            Local l;
            l.type = b.type;
            l.stringLength = b.stringLength;
            l.size = d.size;
            Value zero = b.type == QMetaType::QString ? text(QString()) : real(0.0);
            zero.type = b.type;
            l.data = QVector<Value>(qMax(1, d.size), zero);
            if (d.init) {
                Value init;
                if (!evaluate(d.init, init) || !convert(init, l.type, l.stringLength, l.data[0], d.name))
                    return false;
            }
            m_locals.insert(d.name, l);
        }
        ++m_pc;
        return true;
    case Block::If:
    case Block::While: {
        double c = 0;
        if (!evaluateNumber(b.condition, c))
            return false;
        m_pc = c != 0.0 ? m_pc + 1 : b.partner + 1;
        return true;
    }
    case Block::Else:
        m_pc = b.partner + 1;
        return true;
    case Block::EndWhile:
        ++loops;
        m_pc = b.partner;
        return true;
    case Block::Goto:
        return jump(b);
    case Block::IfGoto: {
        double c = 0;
        if (!evaluateNumber(b.condition, c))
            return false;
        if (c == 0.0) {
            ++m_pc;
            return true;
        }
        return jump(b);
    }
    case Block::Normal:
        return executeWords(b);
    }
    return true;
}

bool NcProgramRunner::executeWords(const Block& b)
{
    bool dwell = false;
    bool supa = false;
    bool measure = false;
    bool rapid = m_rapid;
    bool hasFeed = false;
    double feed = 0.0;
    int stop = 0;
    QVector<int> axes;
    QVector<double> values;
    for (const Word& w : b.words) {
        if (w.kind == Word::Call) {
            if (w.name == QLatin1String("MSG")) {
                Value m;
                if (w.args.size() > 1 || (w.args.size() == 1 && !evaluate(w.args[0], m)))
                    return w.args.size() > 1 ? fail(kSyntax, QStringLiteral("MSG takes one text")) : false;
                m_message = w.args.isEmpty() ? QString() : m.toString();
            } else if (!fileCall(w)) {
                return false;
            }
            continue;
        }
        if (w.kind == Word::Keyword) {
            if (w.name == QLatin1String("STOPRE"))
                continue; // the interpreter never runs ahead of the motion here
            if (w.name == QLatin1String("SUPA")) {
                supa = true;
                continue;
            }
            if (w.name == QLatin1String("RET")) {
                stop = 2;
                continue;
            }
            return fail(kNameUnknown, QStringLiteral("name %1 not defined or option/function not available").arg(w.name));
        }
        const QString& n = w.name;
        const int axis = w.index.isEmpty() ? axisIndex(n) : -1;
        const bool address = w.index.isEmpty()
                             && (n == QLatin1String("G") || n == QLatin1String("M") || n == QLatin1String("F")
                                 || n == QLatin1String("S") || n == QLatin1String("T") || n == QLatin1String("D")
                                 || n == QLatin1String("H") || n == QLatin1String("MEAS"));
        if (axis < 0 && !address) {
            if (!assign(n, w.index, w.value))
                return false;
            continue;
        }
        double value = 0;
        if (!evaluateNumber(w.value, value))
            return false;
        if (axis >= 0) {
            if (m_nc.axes().value(axis).type == VirtualNc::AxisSpindle)
                return fail(kAxisType, QStringLiteral("axis %1 is a spindle and takes no position").arg(n));
            axes << axis;
            values << value;
        } else if (n == QLatin1String("G")) {
            const int g = int(value);
            if (g != value)
                return fail(kGFunction, QStringLiteral("unknown G function G%1").arg(value));
            if (g == 0 || g == 1)
                rapid = g == 0;
            else if (g == 4)
                dwell = true;
            else if (g == 90 || g == 91)
                m_absolute = g == 90;
            else if (g == 53)
                supa = true;
            else if ((g >= 54 && g <= 57) || g == 500 || (g >= 505 && g <= 599)) {
                if (!selectFrame(g == 500 ? 0 : g <= 57 ? g - 53 : g - 500))
                    return false;
            } else if (g != 9 && g != 17 && g != 18 && g != 19 && g != 40 && g != 60 && g != 64 && g != 71
                       && g != 94)
                return fail(kGFunction, QStringLiteral("unknown G function G%1").arg(g));
        } else if (n == QLatin1String("M")) {
            const int m = int(value);
            if (m == 0)
                stop = qMax(stop, 1);
            else if (m == 2 || m == 17 || m == 30)
                stop = 2;
            // Other M functions go to the PLC, which has nothing to do here.
        } else if (n == QLatin1String("F")) {
            hasFeed = true;
            feed = value;
        } else if (n == QLatin1String("MEAS")) {
            measure = value != 0.0;
        }
        // S, T, D, H: spindle speed and tool data do not change the motion here.
    }
    if (dwell && (!hasFeed || feed < 0))
        return fail(kSyntax, QStringLiteral("G4 needs the dwell time in seconds as F"));
    ++m_pc;
    m_rapid = rapid;
    if (dwell) {
        m_dwellLeftMs = feed * 1000.0;
    } else if (hasFeed) {
        m_feed = feed;
    }
    m_pendingStop = stop;
    if (!axes.isEmpty() && !startMotion(rapid, measure, supa, axes, values)) {
        --m_pc;
        m_pendingStop = 0;
        return false;
    }
    return true;
}

bool NcProgramRunner::startMotion(bool rapid, bool measure, bool supa, const QVector<int>& axes,
                                  const QVector<double>& values)
{
    const MachineConfig& cfg = m_nc.config();
    m_from = machinePositions();
    m_to = m_from;
    for (int i = 0; i < axes.size(); ++i) {
        const int a = axes[i];
        const double offset = supa ? 0.0 : m_offset.value(a);
        m_to[a] = m_absolute ? values[i] + offset : m_from[a] + values[i];
    }
    if (!rapid && m_feed <= 0)
        return fail(kFeedZero, QStringLiteral("programmed path velocity less than or equal to zero"));

    m_measuring = measure;
    m_triggered = false;
    if (measure && cfg.geoAxes == 3) {
        // The ball meets the sphere where its centre is the sum of both radii
        // from the sphere's: the first such point on the way.
        const double r = cfg.probeSphere[3] + cfg.probeBallRadius;
        double d[3], f[3];
        for (int i = 0; i < 3; ++i) {
            d[i] = m_to[i] - m_from[i];
            f[i] = m_from[i] - cfg.probeSphere[i];
        }
        const double a = d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
        const double b = 2 * (f[0] * d[0] + f[1] * d[1] + f[2] * d[2]);
        const double c = f[0] * f[0] + f[1] * f[1] + f[2] * f[2] - r * r;
        double t = -1;
        if (c <= 0)
            t = 0; // deflected already
        else if (a > 0 && b * b - 4 * a * c >= 0)
            t = (-b - std::sqrt(b * b - 4 * a * c)) / (2 * a);
        if (t >= 0 && t <= 1) {
            m_triggered = true;
            for (int i = 0; i < m_to.size(); ++i)
                m_to[i] = m_from[i] + t * (m_to[i] - m_from[i]);
        }
    }

    for (double& p : m_to)
        p = quantised(p);

    double duration = 0;
    if (rapid) {
        for (int i = 0; i < m_to.size(); ++i)
            duration = qMax(duration, std::abs(m_to[i] - m_from[i]) / cfg.rapidTraverse * 60000.0);
    } else {
        double geo = 0, other = 0;
        for (int i = 0; i < m_to.size(); ++i)
            (i < cfg.geoAxes ? geo : other) += (m_to[i] - m_from[i]) * (m_to[i] - m_from[i]);
        duration = std::sqrt(geo > 0 ? geo : other) / m_feed * 60000.0;
    }
    m_durationMs = duration;
    m_elapsedMs = 0;
    m_moving = true;
    if (duration <= 0)
        advanceMotion(0);
    return true;
}

void NcProgramRunner::advanceMotion(double ms)
{
    m_elapsedMs += ms;
    const double f = m_durationMs > 0 ? qMin(1.0, m_elapsedMs / m_durationMs) : 1.0;
    QVector<double> p = m_from;
    for (int i = 0; i < p.size(); ++i)
        p[i] = f >= 1.0 ? m_to[i] : quantised(m_from[i] + f * (m_to[i] - m_from[i]));
    m_nc.setAxisPositions(p);
    if (f < 1.0)
        return;
    m_moving = false;
    if (m_measuring) {
        m_measureState = m_triggered ? 1 : 0;
        if (m_triggered)
            m_measured = m_to;
        m_measuring = false;
    }
}

// ---- values ------------------------------------------------------------------

bool NcProgramRunner::evaluateNumber(const ExprPtr& e, double& out)
{
    Value v;
    if (!evaluate(e, v))
        return false;
    if (v.isString())
        return fail(kDataType, QStringLiteral("a text \"%1\" where a number is needed").arg(v.text));
    out = v.number;
    return true;
}

bool NcProgramRunner::evaluate(const ExprPtr& e, Value& out)
{
    switch (e->kind) {
    case Expr::Number:
        out = real(e->number);
        return true;
    case Expr::String:
        out = text(e->text);
        return true;
    case Expr::Name:
        return readVariable(e->text, {}, out);
    case Expr::Index:
        return readVariable(e->text, e->args, out);
    case Expr::Unary: {
        Value a;
        if (!evaluate(e->args[0], a))
            return false;
        if (a.isString())
            return fail(kDataType, QStringLiteral("%1 is no operator for a text").arg(e->text));
        out = e->text == QLatin1String("NOT") ? boolean(a.number == 0.0)
                                              : real(e->text == QLatin1String("-") ? -a.number : a.number);
        return true;
    }
    case Expr::Binary: {
        Value a, b;
        if (!evaluate(e->args[0], a) || !evaluate(e->args[1], b))
            return false;
        const QString& op = e->text;
        if (op == QLatin1String("<<")) {
            out = text(a.toString() + b.toString());
            return true;
        }
        if (a.isString() || b.isString()) {
            if (!a.isString() || !b.isString() || (op != QLatin1String("==") && op != QLatin1String("<>")))
                return fail(kDataType, QStringLiteral("operation %1 not compatible with the data type STRING").arg(op));
            out = boolean((a.text == b.text) == (op == QLatin1String("==")));
            return true;
        }
        const double x = a.number, y = b.number;
        if (op == QLatin1String("+")) out = real(x + y);
        else if (op == QLatin1String("-")) out = real(x - y);
        else if (op == QLatin1String("*")) out = real(x * y);
        else if (op == QLatin1String("/") || op == QLatin1String("DIV") || op == QLatin1String("MOD")) {
            if (y == 0.0)
                return fail(kValueRange, QStringLiteral("division by zero"));
            out = op == QLatin1String("/") ? real(x / y)
                  : op == QLatin1String("DIV") ? real(std::trunc(x / y)) : real(std::fmod(x, y));
        }
        else if (op == QLatin1String("==")) out = boolean(x == y);
        else if (op == QLatin1String("<>")) out = boolean(x != y);
        else if (op == QLatin1String("<")) out = boolean(x < y);
        else if (op == QLatin1String(">")) out = boolean(x > y);
        else if (op == QLatin1String("<=")) out = boolean(x <= y);
        else if (op == QLatin1String(">=")) out = boolean(x >= y);
        else if (op == QLatin1String("AND")) out = boolean(x != 0.0 && y != 0.0);
        else if (op == QLatin1String("OR")) out = boolean(x != 0.0 || y != 0.0);
        else out = boolean((x != 0.0) != (y != 0.0)); // XOR
        return true;
    }
    case Expr::Call: {
        QVector<double> args;
        for (const ExprPtr& a : e->args) {
            double v = 0;
            if (!evaluateNumber(a, v))
                return false;
            args << v;
        }
        const QString& fn = e->text;
        const int wanted = fn == QLatin1String("ATAN2") || fn == QLatin1String("MINVAL") || fn == QLatin1String("MAXVAL") ? 2
                           : fn == QLatin1String("POT") ? (args.size() == 2 ? 2 : 1) : 1;
        if (args.size() != wanted)
            return fail(kSyntax, QStringLiteral("%1 takes %2 argument(s)").arg(fn).arg(wanted));
        const double x = args[0];
        const double rad = x * kPi / 180.0;
        double r = 0;
        if (fn == QLatin1String("SQRT")) {
            if (x < 0)
                return fail(kValueRange, QStringLiteral("SQRT of the negative value %1").arg(x));
            r = std::sqrt(x);
        } else if (fn == QLatin1String("ASIN") || fn == QLatin1String("ACOS")) {
            if (x < -1 || x > 1)
                return fail(kValueRange, QStringLiteral("%1 of %2, outside -1 to 1").arg(fn).arg(x));
            r = (fn == QLatin1String("ASIN") ? std::asin(x) : std::acos(x)) * 180.0 / kPi;
        } else if (fn == QLatin1String("ABS")) r = std::abs(x);
        else if (fn == QLatin1String("SIN")) r = std::sin(rad);
        else if (fn == QLatin1String("COS")) r = std::cos(rad);
        else if (fn == QLatin1String("TAN")) r = std::tan(rad);
        else if (fn == QLatin1String("ATAN2")) r = std::atan2(x, args[1]) * 180.0 / kPi;
        else if (fn == QLatin1String("TRUNC")) r = std::trunc(x);
        else if (fn == QLatin1String("ROUND")) r = std::round(x);
        else if (fn == QLatin1String("POT")) r = args.size() == 2 ? std::pow(x, args[1]) : x * x;
        else if (fn == QLatin1String("MINVAL")) r = qMin(x, args[1]);
        else r = qMax(x, args[1]); // MAXVAL
        out = real(r);
        return true;
    }
    }
    return fail(kSyntax, QStringLiteral("expression not supported"));
}

int NcProgramRunner::axisIndex(const QString& name) const
{
    const QList<VirtualNc::Axis> axes = m_nc.axes();
    for (int i = 0; i < axes.size(); ++i)
        if (axes[i].name.compare(name, Qt::CaseInsensitive) == 0)
            return i;
    return -1;
}

bool NcProgramRunner::axisOf(const QList<ExprPtr>& index, const QString& name, int& axis)
{
    axis = index.size() == 1 && index[0]->kind == Expr::Name ? axisIndex(index[0]->text) : -1;
    if (axis < 0)
        return fail(kSyntax, QStringLiteral("%1 needs an axis of the channel as its index").arg(name));
    return true;
}

bool NcProgramRunner::elementIndex(const QList<ExprPtr>& index, int size, const QString& name, int& element)
{
    if (index.isEmpty() != (size == 0) || index.size() > 1)
        return fail(kElement, size == 0 ? QStringLiteral("%1 is no array").arg(name)
                                        : QStringLiteral("array %1 needs one index").arg(name));
    element = 0;
    if (index.isEmpty())
        return true;
    double i = 0;
    if (!evaluateNumber(index[0], i))
        return false;
    element = int(std::floor(i + 0.5));
    if (element < 0 || element >= size)
        return fail(kElement, QStringLiteral("field %1 element %2 does not exist (0 to %3)").arg(name).arg(element).arg(size - 1));
    return true;
}

QString NcProgramRunner::gudElement(const Gud& gud, int i)
{
    // The NC's address counts the elements from 1, the program from 0.
    return gud.size ? QStringLiteral("%1[%2]").arg(gud.address).arg(i + 1) : gud.address;
}

bool NcProgramRunner::findGud(const QString& name, Gud& gud)
{
    const auto cached = m_guds.constFind(name);
    if (cached != m_guds.constEnd()) {
        gud = cached.value();
        return true;
    }
    for (int n = 1; n <= 9; ++n) {
        for (const char* scope : {"NC", "CH"}) {
            const QString block = QStringLiteral("/NC/_N_%1_GD%2_ACX").arg(QLatin1String(scope)).arg(n);
            if (!m_nc.definedVariables(block).contains(name, Qt::CaseInsensitive))
                continue;
            gud.address = block + QLatin1Char('/') + name;
            QVariant all;
            if (m_nc.read(gud.address, all) != SL_CAP_OK)
                continue;
            gud.size = all.type() == QVariant::List ? all.toList().size() : 0;
            m_guds.insert(name, gud);
            return true;
        }
    }
    return false;
}

bool NcProgramRunner::readVariable(const QString& name, const QList<ExprPtr>& index, Value& out)
{
    const auto local = m_locals.constFind(name);
    if (local != m_locals.constEnd()) {
        int i = 0;
        if (!elementIndex(index, local->size, name, i))
            return false;
        out = local->data[i];
        return true;
    }
    static const QRegularExpression rParam(QStringLiteral("^R([0-9]+)$"));
    const QRegularExpressionMatch rm = rParam.match(name);
    if ((rm.hasMatch() && index.isEmpty()) || (name == QLatin1String("R") && index.size() == 1)) {
        double n = rm.hasMatch() ? rm.captured(1).toDouble() : 0;
        if (!rm.hasMatch() && !evaluateNumber(index[0], n))
            return false;
        QVariant v;
        QString why;
        if (m_nc.read(QStringLiteral("/Channel/Parameter/r[u1,%1]").arg(qint64(n)), v, &why) != SL_CAP_OK)
            return fail(kElement, QStringLiteral("R%1 does not exist").arg(n));
        out = fromVariant(v);
        return true;
    }
    const bool actual = name == QLatin1String("$AA_IM") || name == QLatin1String("$AA_IW");
    const bool measured = name == QLatin1String("$AA_MM") || name == QLatin1String("$AA_MW");
    if (actual || measured) {
        int axis = 0;
        if (!axisOf(index, name, axis))
            return false;
        const double machine = actual ? machinePositions().value(axis) : m_measured.value(axis);
        out = real(name.endsWith(QLatin1Char('W')) ? machine - m_offset.value(axis) : machine);
        return true;
    }
    if (name == QLatin1String("$AC_MEA")) {
        int probe = 0;
        double p = 0;
        if (index.size() != 1 || !evaluateNumber(index[0], p) || (probe = int(p)) < 1 || probe > 2)
            return fail(kElement, QStringLiteral("$AC_MEA has the probes 1 and 2"));
        out = real(probe == 1 ? m_measureState : 0);
        return true;
    }
    Gud gud;
    if (!name.startsWith(QLatin1Char('$')) && findGud(name, gud)) {
        int i = 0;
        if (!elementIndex(index, gud.size, name, i))
            return false;
        QVariant v;
        QString why;
        const QString address = gudElement(gud, i);
        if (m_nc.read(address, v, &why) != SL_CAP_OK)
            return fail(kNameUnknown, why);
        out = fromVariant(v);
        return true;
    }
    return fail(kNameUnknown, QStringLiteral("name %1 not defined or option/function not available").arg(name));
}

bool NcProgramRunner::convert(const Value& in, int type, int stringLength, Value& out, const QString& name)
{
    if (type == QMetaType::QString) {
        out = text(in.toString());
        if (stringLength > 0 && out.text.size() > stringLength)
            return fail(kValueRange, QStringLiteral("a text of %1 characters does not fit %2 (STRING[%3])")
                                         .arg(out.text.size()).arg(name).arg(stringLength));
        return true;
    }
    if (in.isString())
        return fail(kDataType, QStringLiteral("a text does not go into %1 of type %2").arg(name, typeName(type)));
    out = real(type == QMetaType::Int ? std::round(in.number) : type == QMetaType::Bool ? double(in.number != 0.0) : in.number);
    out.type = type;
    return true;
}

bool NcProgramRunner::assign(const QString& name, const QList<ExprPtr>& index, const ExprPtr& valueExpr)
{
    if (name == QLatin1String("$P_IFRAME")) {
        double frame = 0;
        if (valueExpr->kind != Expr::Index || valueExpr->text != QLatin1String("$P_UIFR") || valueExpr->args.size() != 1)
            return fail(kSyntax, QStringLiteral("$P_IFRAME takes a settable frame, $P_IFRAME=$P_UIFR[n]"));
        return evaluateNumber(valueExpr->args[0], frame) && selectFrame(frame);
    }
    Value v;
    if (!evaluate(valueExpr, v))
        return false;
    auto local = m_locals.find(name);
    if (local != m_locals.end()) {
        int i = 0;
        return elementIndex(index, local->size, name, i)
               && convert(v, local->type, local->stringLength, local->data[i], name);
    }
    static const QRegularExpression rParam(QStringLiteral("^R([0-9]+)$"));
    const QRegularExpressionMatch rm = rParam.match(name);
    if ((rm.hasMatch() && index.isEmpty()) || (name == QLatin1String("R") && index.size() == 1)) {
        double n = rm.hasMatch() ? rm.captured(1).toDouble() : 0;
        if (!rm.hasMatch() && !evaluateNumber(index[0], n))
            return false;
        if (v.isString())
            return fail(kDataType, QStringLiteral("a text does not go into R%1").arg(n));
        if (m_nc.write(QStringLiteral("/Channel/Parameter/r[u1,%1]").arg(qint64(n)), v.number) != SL_CAP_OK)
            return fail(kElement, QStringLiteral("R%1 does not exist").arg(n));
        return true;
    }
    Gud gud;
    if (!name.startsWith(QLatin1Char('$')) && findGud(name, gud)) {
        int i = 0;
        if (!elementIndex(index, gud.size, name, i))
            return false;
        const QString address = gudElement(gud, i);
        QString why;
        if (m_nc.write(address, toVariant(v), &why) != SL_CAP_OK)
            return fail(kDataType, QStringLiteral("%1 cannot take %2: %3").arg(name, v.toString(), why));
        return true;
    }
    if (name.startsWith(QLatin1Char('$')))
        return fail(kNameUnknown, QStringLiteral("system variable %1 cannot be written here").arg(name));
    return fail(kNameUnknown, QStringLiteral("name %1 not defined or option/function not available").arg(name));
}

bool NcProgramRunner::selectFrame(double frame)
{
    const MachineConfig& cfg = m_nc.config();
    const int f = int(frame);
    if (f != frame || f < 0 || f >= cfg.userFrames)
        return fail(kElement, QStringLiteral("settable frame %1 does not exist (0 to %2)").arg(frame).arg(cfg.userFrames - 1));
    const int n = m_offset.size();
    for (int c = 0; c < n; ++c) {
        const int row = f * n + c + 1;
        m_offset[c] = m_nc.activeFrameValue(QStringLiteral("linShift"), row)
                      + m_nc.activeFrameValue(QStringLiteral("linShiftFine"), row);
    }
    return true;
}

// ---- files ---------------------------------------------------------------------

bool NcProgramRunner::fileCall(const Word& w)
{
    const bool write = w.name == QLatin1String("WRITE");
    if (w.args.size() != (write ? 3 : 2) || (w.args[0]->kind != Expr::Name && w.args[0]->kind != Expr::Index))
        return fail(kSyntax, write ? QStringLiteral("WRITE(error variable, file, text)")
                                   : QStringLiteral("DELETE(error variable, file)"));
    Value path, line;
    if (!evaluate(w.args[1], path) || (write && !evaluate(w.args[2], line)))
        return false;
    // A bare name lies beside the program; the NC's own notation and the
    // logical one address any file of its file system.
    QString p = path.toString().trimmed();
    if (!p.startsWith(QLatin1Char('/')))
        p = QStringLiteral("%1/%2%3").arg(m_programFolder, p, p.contains(QLatin1Char('.')) ? QString() : QStringLiteral(".MPF"));
    const NcFileSystem::Location loc = m_nc.fileSystem().locate(p);
    int code = 0;
    if (loc.error || loc.kind != NcFileSystem::Nc)
        code = kFilePathNotAllowed;
    else if (!QFileInfo(QFileInfo(loc.real).absolutePath()).isDir())
        code = kFilePathNotFound;
    else if (QFileInfo(loc.real).absoluteFilePath()
             == QFileInfo(m_nc.fileSystem().locate(m_nc.selectedProgram()).real).absoluteFilePath())
        code = kFileInUse;
    else if (!write) {
        if (!QFileInfo(loc.real).isFile())
            code = kFileNotFound;
        else if (!QFile::remove(loc.real))
            code = kFileOther;
    } else {
        QFile f(loc.real);
        if (!f.open(QIODevice::WriteOnly | QIODevice::Append)
            || f.write(line.toString().toUtf8() + '\n') < 0)
            code = kFileOther;
    }
    const ExprPtr& target = w.args[0];
    auto codeExpr = std::make_shared<Expr>();
    codeExpr->number = code;
    return assign(target->text, target->kind == Expr::Index ? target->args : QList<ExprPtr>{}, codeExpr);
}

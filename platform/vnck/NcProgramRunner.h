#pragma once

#include "NcProgramParser.h"

#include <QElapsedTimer>
#include <QHash>
#include <QMetaType>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QVector>
#include <functional>

class VirtualNc;

// Runs the selected part program of the virtual NC's channel: the language
// subset of docs/virtual-nc.md, moves that take their time at the
// programmed feed, dwells, waits on variables, a simulated touch probe and
// result files written into the NC's file system.
//
// The channel's state stays VirtualNc's: cycle start, stop, reset and the
// normal end go through its operations, whoever causes them (the operator,
// harvel-ctl, or the program's M0 and M30), so the channel variables follow
// as they do for a hand-driven channel. VirtualNc tells the runner of each
// of them through the hooks below. The runner lives on the NC's thread and
// works off a timer there: a program that waits costs one wake-up per dwell
// or per motion step, and nothing while it is stopped.
//
// An error in the program (a line it cannot read, a name it does not know,
// a jump without its label) raises a channel alarm naming the program, the
// block and the line, which interrupts the channel; a reset clears it and
// makes the NC ready for the next start.
class NcProgramRunner : public QObject
{
    Q_OBJECT
public:
    explicit NcProgramRunner(VirtualNc& nc, QObject* parent = nullptr);

    // ---- hooks of the channel, called by VirtualNc after the change ----
    // Cycle start: from reset the selected program starts from its first
    // block, otherwise the held program goes on where it stopped.
    void cycleStart(bool fromReset);
    // Cycle stop (feed hold): motion and dwell stand still.
    void hold();
    // Reset or the normal end: the program is gone, its variables too.
    void abort();

    bool isLoaded() const { return m_loaded; }
    // The last MSG text, empty after MSG() or a reset.
    QString message() const { return m_message; }
    // Where the program stands: "DEMO_PROBE.MPF line 12", empty when none runs.
    QString position() const;

    struct Value
    {
        int type = QMetaType::Double;
        double number = 0.0;
        QString text;
        bool isString() const;
        QString toString() const;
    };

private:
    struct Local
    {
        int type = QMetaType::Double;
        int stringLength = 0;
        int size = 0;        // 0: one value
        QVector<Value> data;
    };
    struct Gud
    {
        QString address;     // "/NC/_N_NC_GD3_ACX/TMR_FILE"
        int size = 0;        // 0: no array
    };
    using Block = NcProgramParser::Block;
    using Expr = NcProgramParser::Expr;
    using ExprPtr = NcProgramParser::ExprPtr;
    using Word = NcProgramParser::Word;

    void invokeHere(const std::function<void()>& f);
    bool load();
    void run();
    bool step(int& loops);
    bool executeWords(const Block& b);
    bool startMotion(bool rapid, bool measure, bool supa, const QVector<int>& axes, const QVector<double>& values);
    void advanceMotion(double ms);
    void finishProgram();

    bool evaluate(const ExprPtr& e, Value& out);
    bool evaluateNumber(const ExprPtr& e, double& out);
    bool readVariable(const QString& name, const QList<ExprPtr>& index, Value& out);
    bool assign(const QString& name, const QList<ExprPtr>& index, const ExprPtr& valueExpr);
    bool convert(const Value& in, int type, int stringLength, Value& out, const QString& name);
    bool findGud(const QString& name, Gud& gud);
    // The NC's address of element i (counted from 0, as in a program).
    static QString gudElement(const Gud& gud, int i);
    bool elementIndex(const QList<ExprPtr>& index, int size, const QString& name, int& element);
    int axisIndex(const QString& name) const;
    bool axisOf(const QList<ExprPtr>& index, const QString& name, int& axis);
    bool selectFrame(double frame);
    bool fileCall(const Word& w);

    QVector<double> machinePositions() const;
    bool fail(long alarm, const QString& text);

    VirtualNc& m_nc;
    QTimer m_timer;
    QElapsedTimer m_clock;
    quint64 m_generation = 0; // changes with each load and abort, so a step notices that it was ended
    bool m_loaded = false;

    QString m_programName;    // "DEMO_PROBE.MPF"
    QString m_programFolder;  // logical folder of the program, for bare file names
    QVector<Block> m_blocks;
    int m_pc = 0;
    int m_current = 0;        // the block being executed, for alarms
    QString m_message;

    QHash<QString, Local> m_locals;
    QHash<QString, Gud> m_guds;

    // modal state
    bool m_rapid = true;
    bool m_absolute = true;
    double m_feed = 0.0;
    QVector<double> m_offset; // work offset of each axis (machine = work + offset)

    // the block in progress
    bool m_moving = false;
    QVector<double> m_from, m_to;
    double m_durationMs = 0.0, m_elapsedMs = 0.0;
    double m_dwellLeftMs = 0.0;
    int m_pendingStop = 0;    // after motion: 1 M0, 2 program end
    bool m_measuring = false;
    bool m_triggered = false;
    int m_measureState = 0;   // $AC_MEA[1]
    QVector<double> m_measured; // machine positions at the trigger
};

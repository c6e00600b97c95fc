#pragma once

#include "CtlServer.h"
#include "SlCapErrorEnum.h"

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QThreadPool>
#include <QScopedPointer>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>

class MachineConfig;
class NcFaults;
class NcFileSystem;
class NcProgramRunner;
class VirtualNcPrivate;

// The virtual NC of one machine folder (see the machine folder layout in
// design.md): its variables, channel, alarms, file system, USB sticks and
// retained data. A host opens it, which makes it the process's NC that the
// platform classes (SlQCap, SlQFileSvc, SlPiSvc, SlAeQEventSink,
// SlPmActivateDefFiles, SlPmHelper) talk to, and registers its "nc" control
// handler with the host's CtlServer.
//
// The object lives on the host's thread and its signals are emitted there or
// on the thread of the caller that caused the change; reads, writes and the
// channel operations may be called from any thread.
class VirtualNc : public QObject
{
    Q_OBJECT
public:
    // What a missing or empty machine folder is filled with.
    enum class Variant {
        Commissioned, // the 5-axis milling machine, plug-in GUDs defined and activated
        Blank         // the same machine, UGUD.DEF without definitions, nothing activated
    };
    // /Channel/State/chanStatus
    enum ChannelStatus { ChannelReset = 0, ChannelActive = 1, ChannelInterrupted = 2 };
    // /Channel/State/acProg
    enum ProgramStatus { ProgramAborted = 0, ProgramStopped = 1, ProgramRunning = 2,
                         ProgramWaiting = 3, ProgramInterrupted = 4 };
    // /Bag/State/opMode
    enum OperatingMode { ModeJog = 0, ModeMda = 1, ModeAuto = 2 };
    // /Channel/GeometricAxis/type
    enum AxisType { AxisLinear = 0, AxisRotary = 1, AxisSpindle = 2 };

    struct Axis
    {
        QString name;
        int type = AxisLinear;
        double position = 0.0; // actual programmed position
    };
    struct Alarm
    {
        long id = 0;
        QString text;
        unsigned int kind = 1;  // 2: the alarm does not stop the channel
        bool channel = false;   // a channel alarm: sets chanAlarm, a reset clears it
        QDateTime raised;
    };

    // Opens the machine in machineDir and makes it the process's current NC.
    // A folder with neither machine.ini nor NC data (missing, empty, or
    // holding only an installation under card/) is first filled from the
    // template of variant, leaving what is there alone. Returns null with a
    // reason when the folder cannot be used (no machine.ini beside NC data,
    // a bad machine.ini or state file, or another process running it);
    // nothing in it is changed then.
    static VirtualNc* open(const QString& machineDir, QString& error,
                           Variant variant = Variant::Commissioned, QObject* parent = nullptr);
    // Fills machineDir from a template without opening it; refuses a folder
    // that already holds something.
    static bool createMachine(const QString& machineDir, Variant variant, QString& error);
    // Saves the retained data; the process has no NC afterwards unless
    // another one was made current.
    ~VirtualNc() override;

    // The NC the platform classes talk to; null when none is open.
    static VirtualNc* current();
    void makeCurrent();

    QString machineDir() const;
    int updatePeriodMs() const; // hotlink update period from machine.ini
    // Writes the retained data to DIR/state/ now (it is written shortly after
    // each change and on close anyway).
    bool saveState(QString* error = nullptr);

    // ---- control ------------------------------------------------------
    // Registers the "nc" handler: harvel-ctl nc get|set|program|alarm|usb|activate-def|fault.
    void registerControl(CtlServer* server);
    // The handler itself, args after "nc"; usable in-process by tests.
    CtlResult control(const QStringList& args);

    // ---- variables, in the NC's address notation ----------------------
    // What SlQCap::read and write do. An array element or range reads as one
    // value or a QVariantList; writes of read-only variables are refused.
    SlCapErrorEnum read(const QString& address, QVariant& value, QString* why = nullptr);
    SlCapErrorEnum write(const QString& address, const QVariant& value, QString* why = nullptr);
    // The control's "nc set": any variable, read-only ones included, the text
    // converted to the variable's type; a range takes values separated by ','.
    SlCapErrorEnum set(const QString& address, const QString& text, QString* why = nullptr);
    // A value as "nc get" prints it: one element per line, doubles in the
    // shortest form that reads back to the same number.
    static QString formatValue(const QVariant& value);

    // ---- machine area -------------------------------------------------
    QString controlModel() const;   // "840D sl"
    QList<Axis> axes() const;       // all axes of the channel, spindle included
    QString selectedProgram() const; // logical path ("//NC/WKS.DIR/A.WPD/B.MPF"), empty when none
    ChannelStatus channelStatus() const;
    ProgramStatus programStatus() const;
    OperatingMode operatingMode() const;
    bool setOperatingMode(OperatingMode mode, QString* why = nullptr);
    int programEndCount() const;

    // Codes as SlQFileSvc returns them (0 on success).
    long selectProgram(const QString& ncPath, QString* why = nullptr);
    bool startProgram(QString* why = nullptr);  // cycle start, AUTO mode with a program selected
    bool stopProgram(QString* why = nullptr);   // cycle stop
    bool resetProgram(QString* why = nullptr);  // reset: aborts, clears channel alarms
    bool endProgram(QString* why = nullptr);    // normal end (M30): raises the end counter

    // What the program runner needs of the machine: the axes move as the
    // program moves them (actProgPos, machine coordinates), the rates and
    // the simulated probe come from machine.ini.
    void setAxisPositions(const QVector<double>& positions);
    const MachineConfig& config() const;
    NcProgramRunner& programRunner() const;

    QList<Alarm> alarms() const;
    void raiseAlarm(long id, const QString& text, unsigned int kind = 1, bool channel = false);
    bool clearAlarm(long id);

    // ---- USB sticks: DIR/usb/NAME, logical path //ACTTCU/NAME --------
    QStringList usbSticks() const;
    bool isUsbMounted(const QString& name) const;
    bool mountUsb(const QString& name, QString* why = nullptr);
    bool unmountUsb(const QString& name, QString* why = nullptr);

    // ---- definition files ---------------------------------------------
    // Activates //NC/DEF.DIR/*.DEF files (UGUD.DEF defines _N_NC_GD3_ACX);
    // one code and one text per error. Mode bits of SlPmActivateDefFiles.
    QVector<long> activateDefinitions(const QStringList& ncPaths, int mode, QStringList& errorTexts);
    // Names of the defined variables of a block ("/NC/_N_NC_GD3_ACX").
    QStringList definedVariables(const QString& block) const;

    // ---- work offsets ---------------------------------------------------
    // _N_SETUFR: the settable frames become the active ones.
    long activateUserFrames(QString* why = nullptr);
    int userFrameActivations() const;
    // The active value of a frame row (linShift, linShiftFine, rotation),
    // as the last _N_SETUFR took it over.
    double activeFrameValue(const QString& component, int row) const;

    NcFaults& faults() const;
    NcFileSystem& fileSystem() const;
    // Work that touches the NC off the host's thread (asynchronous folder
    // listings) runs here, so that closing the NC can wait for it first.
    QThreadPool* backgroundPool() const;

signals:
    // Some variable changed; subscriptions re-evaluate.
    void variablesChanged();
    // Channel status, program status, selected program, mode or end counter.
    void channelChanged();
    void alarmsChanged();
    // Each raise (state 21) and clear (state 20), for the alarm sinks.
    void alarmEvent(int state, long id, const QString& text, unsigned int kind, bool channel);
    // A drive came or went (USB stick): its logical path.
    void driveChanged(const QString& logicalPath, bool mounted);
    void definitionsActivated();

private:
    explicit VirtualNc(QObject* parent);
    friend class VirtualNcPrivate;
    QScopedPointer<VirtualNcPrivate> d;
};

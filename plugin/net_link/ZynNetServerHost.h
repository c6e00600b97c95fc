#pragma once

#include "SiemensAPITypes.h"
#include "ZynNetServer.h"

#include <QLibrary>
#include <QList>
#include <QString>

// The binding to libZynNetServer.so, which lies beside the plug-in and is
// loaded at run time: the plug-in never links it, so that a machine without
// it still runs, file based. It hands the library the callback table,
// starts and stops the server, and turns Qt values into the arguments of
// the library's notification entry points. Everything here runs in the HMI
// main thread.
class CZynNetServerHost
{
public:
    CZynNetServerHost() = delete;

    static bool Initialize(const QString& applDir);
    static bool Start(bool enable, const QString& ip, unsigned short port);
    static void Stop();

    static bool NotifyJournalGenerated(const QString& journalFile);
    static bool NotifyProgramStatusChanged(tagZynProgStatus status, bool flag, const QString& program,
                                           const QString& text);
    static bool NotifyMachineStatusChanged(tagZynMachStatus status, bool flag, const QString& text1,
                                           const QString& text2, const QString& text3);
    static bool NotifyLogFileSending(const QString& file, const QList<QString>& peers);
    static bool NotifyAxisPosChanged(const QList<tagAxisInfo>& axes);

    static QLibrary m_qLib;
    // Read by everyone who has net work to do; written by Start and Stop only.
    static bool m_isRunning;
    static QString m_applDir;
    static QString m_libFilePath;
    static QString m_journalDir;
    static QString m_reqDir;
    static char** m_pAxesNameBuf;
    static double* m_pAxesPosBuf;

private:
    static QFunctionPointer Resolve(const char* name);
};

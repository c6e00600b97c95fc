#pragma once

#include <QFile>
#include <QFuture>
#include <QList>
#include <QQueue>
#include <QString>
#include <QStringList>

#include <atomic>
#include <mutex>
#include <vector>

struct tagLogFileInfo
{
    QString filePath;
    bool isArchive = false;
};

// The one diagnostic channel. Any thread adds a line for the cost of reading
// the clock and one short lock: it hands over the raw parts (time, level,
// thread, message) and a single worker on the global thread pool composes
// the line, does all disk work, rolls the file over by the dates of the
// lines and keeps the newest 30 archives.
class CLogger
{
public:
    struct Log
    {
        qint32 date = 0; // yyyyMMdd of the line
        QString text;    // the finished line, line feed included
    };

    // What a caller hands over: the parts of a line, not yet composed.
    struct Entry
    {
        qint64 msecs = 0;             // time of the call, ms since the epoch
        const char* level = nullptr;  // "ERR", "WAR", ...; null: the message is the whole line
        quintptr thread = 0;
        QString msg;
    };

    CLogger() = delete;

    static bool Initialize(const QString& logFile, int interval);
    static void UnInitialize();

    static void Error(const QString& msg, bool withPrefix = true);
    static void Warn(const QString& msg, bool withPrefix = true);
    static void Info(const QString& msg, bool withPrefix = true);
    static void Debug(const QString& msg, bool withPrefix = true);
    static QString Test(const QString& msg, bool withPrefix = true);
    static QString AddLog(const QString& msg, bool withPrefix, const QString& level);

    static QList<tagLogFileInfo> GetLogFileList();
    static bool ReadLog(QStringList& lines);
    static bool ArchiveFile(int date, const QString& file, QString& archived);
    static void WriteFile(const CLogger::Log& log, QFile& file);
    static void LogTask(int interval);

private:
    friend class TestLogger;

    static void SetLogFile(const QString& logFile);
    static void Add(const char* level, const QString& msg, bool withPrefix);

    static QString m_logFile;
    static QString m_archiveDir;
    static QString m_archiveSuffix;
    static QString m_archiveFile;
    static QStringList m_archiveFileNameFilters;
    static std::vector<CLogger::Entry> m_logQueue;
    // A standard mutex, not a QMutex: its hand-over is visible to thread
    // checkers, which cannot see inside Debian's uninstrumented Qt.
    static std::mutex m_mutex;
    static QFuture<void> m_task;
    static std::atomic<bool> m_taskStop;
    static qint32 m_lastDate;
};

#include "Logger.h"

#include "MiscUtility.h"

#include <QDateTime>
#include <QTextStream>
#include <QThread>
#include <QtConcurrent/QtConcurrentRun>

QString CLogger::m_logFile;
QString CLogger::m_archiveDir;
QString CLogger::m_archiveSuffix;
QString CLogger::m_archiveFile;
QStringList CLogger::m_archiveFileNameFilters;
std::vector<CLogger::Entry> CLogger::m_logQueue;
std::mutex CLogger::m_mutex;
QFuture<void> CLogger::m_task;
std::atomic<bool> CLogger::m_taskStop{false};
qint32 CLogger::m_lastDate = 0;

namespace {
const int kArchivesKept = 30;
}

bool CLogger::Initialize(const QString& logFile, int interval)
{
    SetLogFile(logFile);
    m_task = QtConcurrent::run(&CLogger::LogTask, interval);
    return true;
}

void CLogger::SetLogFile(const QString& logFile)
{
    m_logFile = logFile;
    m_archiveDir = CMiscUtility::GetFilePath(logFile) + QStringLiteral("archives");
    m_archiveSuffix = CMiscUtility::GetFileSuffix(logFile);
    const QString baseName = CMiscUtility::GetFileNameNoSuffix(logFile, '.');
    m_archiveFile = m_archiveDir + QStringLiteral("/") + baseName + QStringLiteral("_%1") + m_archiveSuffix;
    m_archiveFileNameFilters.clear();
    m_archiveFileNameFilters.append(QStringLiteral("%1_????????%2").arg(baseName, m_archiveSuffix));
}

void CLogger::UnInitialize()
{
    m_taskStop = true;
    m_task.waitForFinished();
}

void CLogger::Error(const QString& msg, bool withPrefix) { Add("ERR", msg, withPrefix); }
void CLogger::Warn(const QString& msg, bool withPrefix) { Add("WAR", msg, withPrefix); }
void CLogger::Info(const QString& msg, bool withPrefix) { Add("INF", msg, withPrefix); }
void CLogger::Debug(const QString& msg, bool withPrefix) { Add("DBG", msg, withPrefix); }
QString CLogger::Test(const QString& msg, bool withPrefix) { return AddLog(msg, withPrefix, QStringLiteral("TST")); }

namespace {
// Formatting a local time stamp through QDateTime costs microseconds. The
// composer keeps the text of the current second (and its date) and only
// appends the milliseconds; the local-time conversion runs once a second,
// so a change of the UTC offset is picked up at the next second.
struct Composer
{
    qint64 second = -1;
    QString prefix; // "yyyy-MM-dd hh:mm:ss."
    qint32 date = 0;
    quintptr thread = 0;
    QString threadId;

    void Stamp(qint64 msecs)
    {
        const qint64 s = msecs / 1000;
        if (s != second) {
            const QDateTime local = QDateTime::fromMSecsSinceEpoch(s * 1000);
            prefix = local.toString(QStringLiteral("yyyy-MM-dd hh:mm:ss."));
            date = prefix.left(10).remove(QLatin1Char('-')).toInt();
            second = s;
        }
    }

    CLogger::Log Compose(const CLogger::Entry& e)
    {
        Stamp(e.msecs);
        CLogger::Log log;
        log.date = date;
        if (!e.level) {
            log.text.reserve(e.msg.size() + 1);
            log.text += e.msg;
            log.text += QLatin1Char('\n');
            return log;
        }
        if (threadId.isEmpty() || thread != e.thread) {
            threadId = QStringLiteral("%1").arg(e.thread, 4, 16, QLatin1Char('0'));
            thread = e.thread;
        }
        // "%1 | %2 | %3 | %4\n": time stamp, level, thread, message. Built by
        // appending so that a '%' in the message is never taken for a marker.
        const int ms = static_cast<int>(e.msecs % 1000);
        QString& text = log.text;
        text.reserve(prefix.size() + 3 + 3 + 3 + 3 + threadId.size() + 3 + e.msg.size() + 1);
        text += prefix;
        text += QLatin1Char(char('0' + ms / 100));
        text += QLatin1Char(char('0' + ms / 10 % 10));
        text += QLatin1Char(char('0' + ms % 10));
        text += QLatin1String(" | ");
        text += QLatin1String(e.level);
        text += QLatin1String(" | ");
        text += threadId;
        text += QLatin1String(" | ");
        text += e.msg;
        text += QLatin1Char('\n');
        return log;
    }
};
} // namespace

void CLogger::Add(const char* level, const QString& msg, bool withPrefix)
{
    // The caller's share: the clock, its thread and a reference to the text.
    Entry e{QDateTime::currentMSecsSinceEpoch(), withPrefix ? level : nullptr,
            reinterpret_cast<quintptr>(QThread::currentThreadId()), msg};
    m_mutex.lock();
    m_logQueue.push_back(std::move(e));
    m_mutex.unlock();
}

QString CLogger::AddLog(const QString& msg, bool withPrefix, const QString& level)
{
    // The level must outlive the queue: keep the known ones as literals.
    static const char* const kLevels[] = {"ERR", "WAR", "INF", "DBG", "TST"};
    const QByteArray wanted = level.toLatin1();
    const char* lvl = nullptr;
    for (const char* known : kLevels)
        if (wanted == known)
            lvl = known;
    if (!lvl && withPrefix) {
        static std::mutex internMutex;
        static QList<QByteArray> interned; // QByteArray data stays put while it lives
        std::lock_guard<std::mutex> lock(internMutex);
        if (!interned.contains(wanted))
            interned.append(wanted);
        lvl = interned.at(interned.indexOf(wanted)).constData();
    }
    Entry e{QDateTime::currentMSecsSinceEpoch(), withPrefix ? lvl : nullptr,
            reinterpret_cast<quintptr>(QThread::currentThreadId()), msg};
    Composer composer;
    const QString line = composer.Compose(e).text;
    m_mutex.lock();
    m_logQueue.push_back(std::move(e));
    m_mutex.unlock();
    return line;
}

QList<tagLogFileInfo> CLogger::GetLogFileList()
{
    QList<tagLogFileInfo> list;
    if (CMiscUtility::FileIsExists(m_logFile))
        list.append({m_logFile, false});
    QList<QFileInfo> archives;
    CMiscUtility::ListFiles(m_archiveDir, m_archiveFileNameFilters, archives, false);
    for (const QFileInfo& info : archives)
        list.append({info.absoluteFilePath(), true});
    return list;
}

bool CLogger::ReadLog(QStringList& lines)
{
    QString error;
    CMiscUtility::ReadTextFile(m_logFile, lines, error, 0, 0);
    return true;
}

bool CLogger::ArchiveFile(int date, const QString& file, QString& archived)
{
    archived = m_archiveFile.arg(date);
    if (!CMiscUtility::CreateFolder(archived, true))
        return false;
    return CMiscUtility::RenameFile(file, archived, true);
}

void CLogger::WriteFile(const CLogger::Log& log, QFile& file)
{
    bool rollOver = false;
    bool purge = false;
    if (m_lastDate == 0) {
        // First line of the run: a file left by an earlier day is archived
        // under the date it was last written, though this run never touched it.
        bool ok = false;
        const int fileDate =
            CMiscUtility::GetFileLastWriteTime(m_logFile, QStringLiteral("yyyyMMdd")).toInt(&ok);
        if (ok && fileDate != log.date) {
            m_lastDate = fileDate;
            rollOver = true;
        } else {
            purge = true;
        }
    } else if (m_lastDate != log.date) {
        // Any other date, earlier ones included: the clock may have been set back.
        rollOver = true;
    }

    if (rollOver) {
        if (file.isOpen())
            file.close();
        QString archived;
        purge = ArchiveFile(m_lastDate, m_logFile, archived);
    }
    if (purge)
        CMiscUtility::ClearExpiredFiles(m_archiveDir, m_archiveFileNameFilters, kArchivesKept, false);
    m_lastDate = log.date;

    if (!file.isOpen()) {
        CMiscUtility::CreateFolder(m_logFile, true);
        file.setFileName(m_logFile);
        if (!file.open(QIODevice::Append | QIODevice::Text))
            return;
    }
    // A stream per line so that each line reaches the file in its turn.
    QTextStream stream(&file);
    stream.setCodec("UTF-8");
    stream << log.text;
}

void CLogger::LogTask(int interval)
{
    QFile file;
    Composer composer;
    std::vector<Entry> local;
    while (!m_taskStop) {
        // Swap whole buffers: the callers' lock is held for a pointer swap,
        // and both buffers keep their capacity from pass to pass.
        m_mutex.lock();
        local.swap(m_logQueue);
        m_mutex.unlock();

        for (const Entry& e : local)
            WriteFile(composer.Compose(e), file);
        local.clear();

        QThread::msleep(static_cast<unsigned long>(interval));
    }
    // No last drain: lines added during the final sleep are given up, so
    // that a stop never waits for the disk.
    if (file.isOpen())
        file.close();
}

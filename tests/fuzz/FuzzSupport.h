#pragma once

// What every fuzz target shares: a Qt application object, a private folder,
// the log lines of a run, and a check that stops the run with a message.
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QMutexLocker>
#include <QStringList>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

#if __has_include("Logger.h")
#include "Logger.h"

// CLogger makes this class its friend for tests. Nothing writes the lines of
// a fuzz run away, so each run takes their texts out of the queue, which
// would otherwise grow with every run.
class TestLogger
{
public:
    static QStringList Take()
    {
        QStringList lines;
        std::lock_guard<std::mutex> locker(CLogger::m_mutex);
        for (const CLogger::Entry& e : CLogger::m_logQueue)
            lines.append(e.msg + QLatin1Char('\n'));
        CLogger::m_logQueue.clear();
        return lines;
    }
};
#endif

namespace fuzz {

inline void Init()
{
    static int argc = 1;
    static char name[] = "fuzz";
    static char* argv[] = {name, nullptr};
    if (!QCoreApplication::instance())
        new QCoreApplication(argc, argv);
}

// A folder for the whole run, removed at exit.
inline QString Dir()
{
    static QTemporaryDir dir;
    return dir.path();
}

inline bool WriteFile(const QString& path, const uint8_t* data, size_t size)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate)
           && file.write(reinterpret_cast<const char*>(data), qint64(size)) == qint64(size);
}

inline QByteArray ReadFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

[[noreturn]] inline void Fail(const char* what, const QString& detail)
{
    std::fprintf(stderr, "FUZZ CHECK FAILED: %s: %s\n", what, qPrintable(detail));
    std::abort();
}

#define FUZZ_CHECK(cond, detail)                                                                                       \
    do {                                                                                                               \
        if (!(cond))                                                                                                   \
            fuzz::Fail(#cond, detail);                                                                                 \
    } while (0)

} // namespace fuzz

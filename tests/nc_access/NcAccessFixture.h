#pragma once

#include "Logger.h"
#include "NcFaults.h"
#include "VirtualNc.h"

#include <QtTest>

// A machine folder of its own, opened as the process's NC, so that the NC
// access classes run against it exactly as in the HMI.
struct NcMachine
{
    QTemporaryDir tmp;
    QScopedPointer<VirtualNc> nc;

    explicit NcMachine(VirtualNc::Variant variant = VirtualNc::Variant::Commissioned)
    {
        QString error;
        nc.reset(VirtualNc::open(dir(), error, variant));
        if (!nc)
            qWarning("cannot open machine: %s", qPrintable(error));
    }
    QString dir() const { return tmp.path() + "/machine"; }
    QString path(const QString& rel) const { return dir() + '/' + rel; }
    QVariant get(const QString& address) const
    {
        QVariant value;
        nc->read(address, value);
        return value;
    }
    bool set(const QString& address, const QString& text) const { return nc->set(address, text) == SL_CAP_OK; }
    // op on subjects matching pattern fails with code, times times (-1: for ever).
    void fail(const QString& op, const QString& pattern, unsigned int code, int times = -1) const
    {
        nc->faults().add({op, pattern, long(int(code)), 0, times});
    }
    static bool writeFile(const QString& path, const QByteArray& data)
    {
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile f(path);
        return f.open(QIODevice::WriteOnly) && f.write(data) == data.size();
    }
};

// The log of a test run, for the failures that are only logged.
struct TestLog
{
    QTemporaryDir tmp;
    int markers = 0;

    void start() { CLogger::Initialize(tmp.path() + "/logs/SiemensHarvel.log", 20); }
    // The logger's pool thread ends here too, not in the race with the exit
    // of the process, where the leak checker would count its thread data.
    static void stop()
    {
        CLogger::UnInitialize();
        QThreadPool::globalInstance()->waitForDone();
    }
    QString text() const
    {
        QFile f(tmp.path() + "/logs/SiemensHarvel.log");
        return f.open(QIODevice::ReadOnly) ? QString::fromUtf8(f.readAll()) : QString();
    }
    // The worker writes in its own time: waits for the line, not for a time.
    bool has(const QString& line) const { return QTest::qWaitFor([&] { return text().contains(line); }, 30000); }
    // Everything logged before is in the file once this returns true, so
    // that a line can be shown to be missing.
    bool flushed()
    {
        const QString marker = QStringLiteral("flush marker %1").arg(++markers);
        CLogger::Info(marker, true);
        return has(marker);
    }
};

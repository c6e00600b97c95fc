// The worker runs once per process (a stopped logger cannot restart), so the
// whole life of one logger is one flow here, ending with its stop.
#include "Logger.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <vector>

class TestLoggerWorker : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_tmp;
    QString m_log = m_tmp.path() + "/logs/SiemensHarvel.log";

    QStringList lines() const
    {
        QFile f(m_log);
        return f.open(QIODevice::ReadOnly | QIODevice::Text) ? QString::fromUtf8(f.readAll()).split('\n', Qt::SkipEmptyParts)
                                                            : QStringList();
    }
    bool waitForLineCount(int count, int timeoutMs)
    {
        QElapsedTimer t;
        t.start();
        while (lines().size() < count && t.elapsed() < timeoutMs)
            QThread::msleep(5);
        return lines().size() >= count;
    }

private slots:
    void linesFromManyThreadsAreWholeAndCompleteTillTheStop()
    {
        // Lines added before the worker starts wait in the queue.
        CLogger::Info("before start", true);
        QVERIFY(CLogger::Initialize(m_log, 200));
        QVERIFY(waitForLineCount(1, 10000));
        QVERIFY(lines().first().endsWith("| INF | " + lines().first().section(" | ", 2, 2) + " | before start"));

        const int threads = 4, perThread = 2000;
        std::vector<QThread*> workers;
        for (int t = 0; t < threads; ++t) {
            workers.push_back(QThread::create([t] {
                for (int i = 0; i < perThread; ++i)
                    CLogger::Debug(QStringLiteral("T%1 #%2 payload-%3").arg(t).arg(i).arg(QString(40, 'x')), true);
            }));
            workers.back()->start();
        }
        for (QThread* w : workers) {
            QVERIFY(w->wait(60000));
            delete w;
        }
        const int expected = 1 + threads * perThread;
        QVERIFY2(waitForLineCount(expected, 30000), qPrintable(QString::number(lines().size())));
        const QStringList all = lines();
        QCOMPARE(all.size(), expected);
        const QRegularExpression re("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} \\| DBG \\| ([0-9a-f]{4,}) \\| T(\\d) #(\\d+) payload-x{40}$");
        QVector<int> next(threads, 0);
        QHash<int, QString> tidOf;
        for (int i = 1; i < all.size(); ++i) {
            const QRegularExpressionMatch m = re.match(all.at(i));
            QVERIFY2(m.hasMatch(), qPrintable(all.at(i)));
            // Each thread's lines keep their order, and its id stays its own.
            const int t = m.captured(2).toInt();
            QCOMPARE(m.captured(3).toInt(), next[t]++);
            QCOMPARE(m.captured(1), tidOf.value(t, m.captured(1)));
            tidOf.insert(t, m.captured(1));
        }
        QCOMPARE(next, QVector<int>(threads, perThread));

        // Stopping must never wait for the disk: what arrives during the
        // worker's final sleep is dropped, not drained.
        CLogger::Info("written", true);
        QVERIFY(waitForLineCount(expected + 1, 10000));
        CLogger::Info("dropped", true);
        CLogger::UnInitialize();
        QVERIFY(lines().last().endsWith("written"));
        // A second stop and late lines are harmless.
        CLogger::Info("after stop", true);
        CLogger::UnInitialize();
        QVERIFY(lines().last().endsWith("written"));
    }
};

QTEST_GUILESS_MAIN(TestLoggerWorker)
#include "TestLoggerWorker.moc"

// The worker runs once per process (a stopped logger cannot restart), so the
// cases here run in order and the last one stops it for good.
#include "Logger.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <atomic>
#include <vector>

class TestLoggerWorker : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_tmp;
    QString m_log;

    QStringList Lines() const
    {
        QFile f(m_log);
        if (!f.open(QIODevice::ReadOnly | QIODevice::Text))
            return {};
        QStringList lines = QString::fromUtf8(f.readAll()).split(QLatin1Char('\n'));
        if (!lines.isEmpty() && lines.last().isEmpty())
            lines.removeLast();
        return lines;
    }

    bool WaitForLineCount(int count, int timeoutMs)
    {
        QElapsedTimer t;
        t.start();
        while (t.elapsed() < timeoutMs) {
            if (Lines().size() >= count)
                return true;
            QThread::msleep(5);
        }
        return false;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_tmp.isValid());
        m_log = m_tmp.path() + QStringLiteral("/logs/SiemensHarvel.log");
        // Lines added before the worker starts wait in the queue.
        CLogger::Info(QStringLiteral("before start"), true);
        QVERIFY(CLogger::Initialize(m_log, 200));
        QVERIFY(WaitForLineCount(1, 10000));
        QVERIFY(Lines().first().endsWith(QLatin1String("| INF | ") + Lines().first().section(" | ", 2, 2) +
                                         QLatin1String(" | before start")));
    }

    void linesFromManyThreadsAreWholeAndComplete()
    {
        const int threads = 4;
        const int perThread = 2000;
        std::vector<QThread*> workers;
        for (int t = 0; t < threads; ++t) {
            workers.push_back(QThread::create([t] {
                for (int i = 0; i < perThread; ++i)
                    CLogger::Debug(QStringLiteral("T%1 #%2 payload-%3").arg(t).arg(i).arg(QString(40, QChar('x'))),
                                   true);
            }));
            workers.back()->start();
        }
        for (QThread* w : workers) {
            QVERIFY(w->wait(60000));
            delete w;
        }
        const int expected = 1 + threads * perThread;
        QVERIFY2(WaitForLineCount(expected, 30000), qPrintable(QString::number(Lines().size())));

        const QStringList lines = Lines();
        QCOMPARE(lines.size(), expected);
        const QRegularExpression re(QStringLiteral(
            "^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} \\| DBG \\| ([0-9a-f]{4,}) \\| T(\\d) #(\\d+) payload-x{40}$"));
        QVector<int> next(threads, 0);
        QHash<int, QString> tidOf;
        for (int i = 1; i < lines.size(); ++i) {
            const QRegularExpressionMatch m = re.match(lines.at(i));
            QVERIFY2(m.hasMatch(), qPrintable(lines.at(i)));
            const int t = m.captured(2).toInt();
            // Each thread's lines keep their order, and its id stays its own.
            QCOMPARE(m.captured(3).toInt(), next[t]);
            ++next[t];
            if (!tidOf.contains(t))
                tidOf.insert(t, m.captured(1));
            QCOMPARE(m.captured(1), tidOf.value(t));
        }
        for (int t = 0; t < threads; ++t)
            QCOMPARE(next[t], perThread);
    }

    void stopGivesUpLinesOfTheLastInterval()
    {
        // Stopping must never wait for the disk: what arrives during the
        // worker's final sleep is dropped, not drained.
        const int before = Lines().size();
        CLogger::Info(QStringLiteral("written"), true);
        QVERIFY(WaitForLineCount(before + 1, 10000));
        CLogger::Info(QStringLiteral("dropped"), true);
        CLogger::UnInitialize();
        const QStringList lines = Lines();
        QVERIFY(lines.last().endsWith(QLatin1String("written")));
        // A second stop and late lines are harmless.
        CLogger::Info(QStringLiteral("after stop"), true);
        CLogger::UnInitialize();
        QVERIFY(!Lines().last().endsWith(QLatin1String("after stop")));
    }
};

QTEST_GUILESS_MAIN(TestLoggerWorker)
#include "TestLoggerWorker.moc"

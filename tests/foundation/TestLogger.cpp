// The rollover is driven by the dates of the lines, so these cases feed
// WriteFile lines with chosen dates instead of waiting for midnight; the
// worker that calls it in the HMI comes last.
#include "Logger.h"
#include "MiscUtility.h"

#include <QtTest>

#include <vector>

class TestLogger : public QObject
{
    Q_OBJECT

private:
    QScopedPointer<QTemporaryDir> m_tmp;
    QString m_log;
    QString m_archives;
    QFile m_file;

    void write(int date, const QString& text) { CLogger::WriteFile(CLogger::Log{date, text + '\n'}, m_file); }
    QString archive(int date) const { return QStringLiteral("%1/SiemensHarvel_%2.log").arg(m_archives).arg(date); }
    int archives() const { return QDir(m_archives).entryList({"SiemensHarvel_????????.log"}, QDir::Files).size(); }
    static QString content(const QString& path)
    {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? QString::fromUtf8(f.readAll()) : QString();
    }
    static void touch(const QString& path, const QDateTime& when, const QByteArray& content = "old\n")
    {
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly) && f.write(content) && f.flush());
        QVERIFY(f.setFileTime(when, QFileDevice::FileModificationTime));
    }
    static int today() { return QDate::currentDate().toString("yyyyMMdd").toInt(); }
    QStringList lines() const { return content(m_log).split('\n', Qt::SkipEmptyParts); }

private slots:
    void init()
    {
        m_file.close();
        m_tmp.reset(new QTemporaryDir);
        m_log = m_tmp->path() + "/logs/SiemensHarvel.log";
        m_archives = m_tmp->path() + "/logs/archives";
        CLogger::SetLogFile(m_log);
        CLogger::m_lastDate = 0;
    }

    void changeOfDayArchivesUnderPreviousLinesDate()
    {
        QCOMPARE(CLogger::GetLogFileList().size(), 0);
        touch(archive(20260528), QDateTime(QDate(2026, 5, 28), QTime(23, 0)), "stale archive\n");
        write(20260528, "a");
        write(20260528, "b");
        QCOMPARE(content(m_log), QStringLiteral("a\nb\n"));
        QCOMPARE(content(archive(20260528)), QStringLiteral("stale archive\n"));
        // 29th is a day without lines: no archive for it, and the archive
        // made on the 30th carries the 28th, the last day written, replacing one of that date.
        write(20260530, "after");
        QCOMPARE(content(archive(20260528)), QStringLiteral("a\nb\n"));
        QVERIFY(!QFile::exists(archive(20260529)));
        QCOMPARE(content(m_log), QStringLiteral("after\n"));
        // An earlier date rolls over too.
        write(20260528, "clock set back");
        QCOMPARE(content(archive(20260530)), QStringLiteral("after\n"));
        QCOMPARE(content(m_log), QStringLiteral("clock set back\n"));
        // The live file first; only this log's archives.
        touch(m_archives + "/other_20260101.log", QDateTime::currentDateTime());
        const QList<tagLogFileInfo> list = CLogger::GetLogFileList();
        QCOMPARE(list.size(), 3);
        QVERIFY(list.at(0).filePath == m_log && !list.at(0).isArchive && list.at(1).isArchive && list.at(2).isArchive);
    }

    void fileLeftByEarlierDayIsArchivedAtFirstLine()
    {
        touch(m_log, QDateTime(QDate(2026, 5, 20), QTime(17, 0)));
        write(today(), "first of run");
        QCOMPARE(content(archive(20260520)), QStringLiteral("old\n"));
        QCOMPARE(content(m_log), QStringLiteral("first of run\n"));
        // One from today is continued.
        init();
        touch(m_log, QDateTime::currentDateTime(), "earlier today\n");
        write(today(), "more");
        QCOMPARE(content(m_log), QStringLiteral("earlier today\nmore\n"));
    }

    void retentionKeepsNewestThirtyByWriteTime()
    {
        // Names and write times disagree on purpose: the oldest by write
        // time goes, whatever its name says.
        const QDateTime base(QDate(2026, 1, 1), QTime(12, 0));
        for (int i = 0; i < 30; ++i)
            touch(archive(20250101 + i), base.addDays(i + 1));
        touch(archive(20251231), base);
        // A file that doesn't match the pattern is never counted or removed.
        touch(m_archives + "/notes.txt", base.addYears(-1));
        write(20260601, "a");
        write(20260602, "b"); // 31st archive appears, one must go
        QCOMPARE(archives(), 30);
        QVERIFY(!QFile::exists(archive(20251231)));
        QVERIFY(QFile::exists(archive(20260601)) && QFile::exists(m_archives + "/notes.txt"));
    }

    void firstLinePurgesEvenWithoutArchiving()
    {
        const QDateTime base(QDate(2026, 1, 1), QTime(12, 0));
        for (int i = 0; i < 32; ++i)
            touch(archive(20250101 + i), base.addDays(i));
        write(today(), "no earlier log file");
        QCOMPARE(archives(), 30);
        // After the first line, a plain line of the same day purges nothing.
        touch(archive(20240101), base.addYears(-2));
        write(today(), "same day");
        QCOMPARE(archives(), 31);
    }

    void failuresKeepAppendingAndRetry()
    {
        // A file where the archive folder should be makes the archive fail.
        touch(m_archives, QDateTime::currentDateTime(), "in the way");
        write(20260528, "d1");
        write(20260529, "d2");
        QCOMPARE(content(m_log), QStringLiteral("d1\nd2\n"));
        QVERIFY(QFile::remove(m_archives));
        write(20260530, "d3");
        QCOMPARE(content(archive(20260529)), QStringLiteral("d1\nd2\n"));
        QCOMPARE(content(m_log), QStringLiteral("d3\n"));
        // A file where the log folder should be: the line is dropped.
        init();
        const QString logsDir = QFileInfo(m_log).absolutePath();
        touch(logsDir, QDateTime::currentDateTime(), "in the way");
        write(20260528, "lost");
        QVERIFY(!m_file.isOpen());
        QVERIFY(QFile::remove(logsDir));
        write(20260528, "kept");
        QCOMPARE(content(m_log), QStringLiteral("kept\n"));
    }

    // The worker runs once per process (a stopped logger cannot restart), so
    // the whole life of one logger is one flow here, ending with its stop.
    void composedLinesAndTheWorkerTillItsStop()
    {
        const QString line = CLogger::Test("hello | world", true);
        const QRegularExpression tst("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} \\| TST \\| [0-9a-f]{4,} \\| hello \\| world\\n$");
        QVERIFY2(tst.match(line).hasMatch(), qPrintable(line));
        QCOMPARE(CLogger::AddLog("bare", false, "INF"), QStringLiteral("bare\n"));
        // Lines added before the worker starts wait in the queue.
        QVERIFY(CLogger::Initialize(m_log, 200));
        QTRY_VERIFY_WITH_TIMEOUT(lines().size() >= 2, 10000);
        QCOMPARE(lines(), (QStringList{line.chopped(1), "bare"}));

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
        const int expected = 2 + threads * perThread;
        QTRY_VERIFY_WITH_TIMEOUT(lines().size() >= expected, 30000);
        const QStringList all = lines();
        QCOMPARE(all.size(), expected);
        const QRegularExpression re("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} \\| DBG \\| ([0-9a-f]{4,}) \\| T(\\d) #(\\d+) payload-x{40}$");
        QVector<int> next(threads, 0);
        QHash<int, QString> tidOf;
        for (int i = 2; i < all.size(); ++i) {
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
        QTRY_VERIFY_WITH_TIMEOUT(lines().size() > expected, 10000);
        CLogger::Info("dropped", true);
        CLogger::UnInitialize();
        // A second stop and late lines are harmless.
        CLogger::Info("after stop", true);
        CLogger::UnInitialize();
        QVERIFY(lines().last().endsWith("written"));
    }
};

QTEST_GUILESS_MAIN(TestLogger)
#include "TestLogger.moc"

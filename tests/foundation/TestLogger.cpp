// The rollover is driven by the dates of the lines, so these cases feed
// WriteFile lines with chosen dates instead of waiting for midnight.
#include "Logger.h"
#include "MiscUtility.h"

#include <QDateTime>
#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

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
    void cleanupTestCase() { m_file.close(); }

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
        QCOMPARE(list.at(0).filePath, m_log);
        QVERIFY(!list.at(0).isArchive && list.at(1).isArchive && list.at(2).isArchive);
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

    void composedLineFormat()
    {
        const QString line = CLogger::Test("hello | world", true);
        const QRegularExpression re("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} \\| TST \\| [0-9a-f]{4,} \\| hello \\| world\\n$");
        QVERIFY2(re.match(line).hasMatch(), qPrintable(line));
        QCOMPARE(CLogger::AddLog("bare", false, "INF"), QStringLiteral("bare\n"));
    }
};

QTEST_GUILESS_MAIN(TestLogger)
#include "TestLogger.moc"

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
    QTemporaryDir* m_tmp = nullptr;
    QString m_log;
    QString m_archives;
    QFile m_file;

    static CLogger::Log Line(int date, const QString& text)
    {
        return CLogger::Log{date, text + QLatin1Char('\n')};
    }
    void Write(int date, const QString& text) { CLogger::WriteFile(Line(date, text), m_file); }
    QString Archive(int date) const { return QStringLiteral("%1/SiemensHarvel_%2.log").arg(m_archives).arg(date); }
    static QString Content(const QString& path)
    {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? QString::fromUtf8(f.readAll()) : QString();
    }
    static void Touch(const QString& path, const QDateTime& when, const QByteArray& content = "old\n")
    {
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(content);
        f.close();
        QVERIFY(f.open(QIODevice::ReadWrite));
        QVERIFY(f.setFileTime(when, QFileDevice::FileModificationTime));
    }
    static int Today() { return QDate::currentDate().toString(QStringLiteral("yyyyMMdd")).toInt(); }

private slots:
    void init()
    {
        if (m_file.isOpen())
            m_file.close();
        delete m_tmp;
        m_tmp = new QTemporaryDir;
        QVERIFY(m_tmp->isValid());
        m_log = m_tmp->path() + QStringLiteral("/logs/SiemensHarvel.log");
        m_archives = m_tmp->path() + QStringLiteral("/logs/archives");
        CLogger::SetLogFile(m_log);
        CLogger::m_lastDate = 0;
    }

    void cleanupTestCase()
    {
        if (m_file.isOpen())
            m_file.close();
        delete m_tmp;
    }

    void sameDayAppendsToOneFile()
    {
        Write(20260528, QStringLiteral("a"));
        Write(20260528, QStringLiteral("b"));
        QCOMPARE(Content(m_log), QStringLiteral("a\nb\n"));
        QVERIFY(!QDir(m_archives).exists() || QDir(m_archives).entryList(QDir::Files).isEmpty());
    }

    void changeOfDayArchivesUnderPreviousLinesDate()
    {
        // 29th is a day without lines: no archive for it, and the archive
        // made on the 30th carries the 28th, the last day written.
        Write(20260528, QStringLiteral("before"));
        Write(20260530, QStringLiteral("after"));
        QCOMPARE(Content(Archive(20260528)), QStringLiteral("before\n"));
        QVERIFY(!QFile::exists(Archive(20260529)));
        QCOMPARE(Content(m_log), QStringLiteral("after\n"));
    }

    void earlierDateAlsoRollsOver()
    {
        Write(20260530, QStringLiteral("late"));
        Write(20260528, QStringLiteral("clock set back"));
        QCOMPARE(Content(Archive(20260530)), QStringLiteral("late\n"));
        QCOMPARE(Content(m_log), QStringLiteral("clock set back\n"));
    }

    void fileLeftByEarlierDayIsArchivedAtFirstLine()
    {
        const QDateTime lastWrite(QDate(2026, 5, 20), QTime(17, 0));
        Touch(m_log, lastWrite);
        Write(Today(), QStringLiteral("first of run"));
        QCOMPARE(Content(Archive(20260520)), QStringLiteral("old\n"));
        QCOMPARE(Content(m_log), QStringLiteral("first of run\n"));
    }

    void fileFromTodayIsContinued()
    {
        Touch(m_log, QDateTime::currentDateTime(), "earlier today\n");
        Write(Today(), QStringLiteral("more"));
        QCOMPARE(Content(m_log), QStringLiteral("earlier today\nmore\n"));
    }

    void archiveOfSameDateIsReplaced()
    {
        Touch(Archive(20260528), QDateTime(QDate(2026, 5, 28), QTime(23, 0)), "stale archive\n");
        Write(20260528, QStringLiteral("fresh"));
        Write(20260529, QStringLiteral("next"));
        QCOMPARE(Content(Archive(20260528)), QStringLiteral("fresh\n"));
    }

    void retentionKeepsNewestThirtyByWriteTime()
    {
        // Names and write times disagree on purpose: the oldest by write
        // time goes, whatever its name says.
        const QDateTime base(QDate(2026, 1, 1), QTime(12, 0));
        for (int i = 0; i < 30; ++i)
            Touch(Archive(20250101 + i), base.addDays(i + 1));
        const QString oldestByTime = Archive(20251231);
        Touch(oldestByTime, base);
        // A file that doesn't match the pattern is never counted or removed.
        Touch(m_archives + QStringLiteral("/notes.txt"), base.addYears(-1));

        Write(20260601, QStringLiteral("a"));
        Write(20260602, QStringLiteral("b")); // 31st archive appears, one must go

        const QStringList left =
            QDir(m_archives).entryList({QStringLiteral("SiemensHarvel_????????.log")}, QDir::Files);
        QCOMPARE(left.size(), 30);
        QVERIFY(!QFile::exists(oldestByTime));
        QVERIFY(QFile::exists(Archive(20260601)));
        QVERIFY(QFile::exists(m_archives + QStringLiteral("/notes.txt")));
    }

    void firstLinePurgesEvenWithoutArchiving()
    {
        const QDateTime base(QDate(2026, 1, 1), QTime(12, 0));
        for (int i = 0; i < 32; ++i)
            Touch(Archive(20250101 + i), base.addDays(i));
        Write(Today(), QStringLiteral("no earlier log file"));
        QCOMPARE(QDir(m_archives).entryList(QDir::Files).size(), 30);
        // After the first line, a plain line of the same day purges nothing.
        Touch(Archive(20240101), base.addYears(-2));
        Write(Today(), QStringLiteral("same day"));
        QCOMPARE(QDir(m_archives).entryList(QDir::Files).size(), 31);
    }

    void failedArchiveKeepsAppendingAndRetriesNextDay()
    {
        // A file where the archive folder should be makes the archive fail.
        Touch(m_archives, QDateTime::currentDateTime(), "in the way");
        Write(20260528, QStringLiteral("d1"));
        Write(20260529, QStringLiteral("d2"));
        QCOMPARE(Content(m_log), QStringLiteral("d1\nd2\n"));
        QVERIFY(QFile::remove(m_archives));
        Write(20260530, QStringLiteral("d3"));
        QCOMPARE(Content(Archive(20260529)), QStringLiteral("d1\nd2\n"));
        QCOMPARE(Content(m_log), QStringLiteral("d3\n"));
    }

    void unopenableFileDropsLineAndRetries()
    {
        // A file where the log folder should be: the log cannot be created.
        const QString logsDir = QFileInfo(m_log).absolutePath();
        Touch(logsDir, QDateTime::currentDateTime(), "in the way");
        Write(20260528, QStringLiteral("lost"));
        QVERIFY(!m_file.isOpen());
        QVERIFY(QFile::remove(logsDir));
        Write(20260528, QStringLiteral("kept"));
        QCOMPARE(Content(m_log), QStringLiteral("kept\n"));
    }

    void fileListPutsLiveFileFirst()
    {
        QCOMPARE(CLogger::GetLogFileList().size(), 0);
        Write(20260528, QStringLiteral("x"));
        Write(20260529, QStringLiteral("y"));
        Touch(m_archives + QStringLiteral("/other_20260101.log"), QDateTime::currentDateTime());
        const QList<tagLogFileInfo> list = CLogger::GetLogFileList();
        QCOMPARE(list.size(), 2);
        QCOMPARE(list.at(0).filePath, m_log);
        QVERIFY(!list.at(0).isArchive);
        QCOMPARE(list.at(1).filePath, QFileInfo(Archive(20260528)).absoluteFilePath());
        QVERIFY(list.at(1).isArchive);
    }

    void composedLineFormat()
    {
        const QString line = CLogger::Test(QStringLiteral("hello | world"), true);
        const QRegularExpression re(QStringLiteral(
            "^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} \\| TST \\| [0-9a-f]{4,} \\| hello \\| world\\n$"));
        QVERIFY2(re.match(line).hasMatch(), qPrintable(line));
        QCOMPARE(CLogger::AddLog(QStringLiteral("bare"), false, QStringLiteral("INF")), QStringLiteral("bare\n"));
    }
};

QTEST_GUILESS_MAIN(TestLogger)
#include "TestLogger.moc"

#include "MiscUtility.h"

#include <QDateTime>
#include <QTemporaryDir>
#include <QtTest>

#include <cstring>

class TestMiscUtility : public QObject
{
    Q_OBJECT

private:
    static void Make(const QString& path, const QByteArray& content, const QDateTime& when = QDateTime())
    {
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(content);
        f.close();
        if (when.isValid()) {
            QVERIFY(f.open(QIODevice::ReadWrite));
            QVERIFY(f.setFileTime(when, QFileDevice::FileModificationTime));
        }
    }
    static QByteArray Content(const QString& path)
    {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<missing>");
    }

private slots:
    void pathsOnNcAndLocal_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("normalized");
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("stem");
        QTest::addColumn<QString>("suffix");
        QTest::newRow("nc folder") << "//NC/WKS.DIR/" << "//NC/WKS.DIR" << "//NC/WKS.DIR/" << "" << "" << ".DIR/";
        QTest::newRow("nc program") << "//NC/WKS.DIR/TELMOR.WPD/RESULT.MPF" << "//NC/WKS.DIR/TELMOR.WPD/RESULT.MPF"
                                    << "//NC/WKS.DIR/TELMOR.WPD/" << "RESULT.MPF" << "RESULT" << ".MPF";
        QTest::newRow("windows") << "C:\\x\\" << "C:/x" << "C:\\x\\" << "" << "" << "";
        QTest::newRow("mixed") << "C:\\logs/abc.log" << "C:/logs/abc.log" << "C:\\logs/" << "abc.log" << "abc" << ".log";
        QTest::newRow("bare name") << "abc.log" << "abc.log" << "" << "abc.log" << "abc" << ".log";
        QTest::newRow("no dot") << "/x/README" << "/x/README" << "/x/" << "README" << "README" << "";
        QTest::newRow("dot in folder") << "/a.b/c" << "/a.b/c" << "/a.b/" << "c" << "c" << ".b/c";
        QTest::newRow("root") << "/" << "" << "/" << "" << "" << "";
        QTest::newRow("many slashes") << "/card///" << "/card" << "/card///" << "" << "" << "";
        QTest::newRow("empty") << "" << "" << "" << "" << "" << "";
    }
    void pathsOnNcAndLocal()
    {
        QFETCH(QString, path);
        QFETCH(QString, normalized);
        QFETCH(QString, folder);
        QFETCH(QString, name);
        QFETCH(QString, stem);
        QFETCH(QString, suffix);
        QCOMPARE(CMiscUtility::NormalizePath(path), normalized);
        QCOMPARE(CMiscUtility::GetFilePath(path), folder);
        QCOMPARE(CMiscUtility::GetFileName(path), name);
        QCOMPARE(CMiscUtility::GetFileNameNoSuffix(path, '.'), stem);
        QCOMPARE(CMiscUtility::GetFileSuffix(path), suffix);
    }

    void suffixCheckAndNormalizeFromBytes()
    {
        QVERIFY(CMiscUtility::CheckFileSuffix(QStringLiteral("//NC/X.mpf"), QStringLiteral(".MPF")));
        QVERIFY(!CMiscUtility::CheckFileSuffix(QStringLiteral("//NC/X.mpf"), QStringLiteral("MPF")));
        QVERIFY(!CMiscUtility::CheckFileSuffix(QStringLiteral("//NC/X"), QStringLiteral(".MPF")));
        QCOMPARE(CMiscUtility::NormalizePath("//NC\\SPF.DIR\\"), QStringLiteral("//NC/SPF.DIR"));
    }

    void numbersToText()
    {
        QCOMPARE(CMiscUtility::DoubleToQStr(12.5, 3), QStringLiteral("12.5"));
        QCOMPARE(CMiscUtility::DoubleToQStr(3.0, 3), QStringLiteral("3"));
        QCOMPARE(CMiscUtility::DoubleToQStr(-0.125, 2), QStringLiteral("-0.13"));
        QCOMPARE(CMiscUtility::DoubleToQStr(100.06, 1), QStringLiteral("100.1"));
        QCOMPARE(CMiscUtility::DoubleToQStr(10.0, 4), QStringLiteral("10"));
        // With no decimals the zeros of a whole number go too.
        QCOMPARE(CMiscUtility::DoubleToQStr(100.0, 0), QStringLiteral("1"));
        QCOMPARE(CMiscUtility::DoubleToQStr(0.0, 0), QString());
        QCOMPARE(CMiscUtility::DoubleToQStr(205.0, 0), QStringLiteral("205"));

        QCOMPARE(CMiscUtility::GetHexQStr<int>(-1, QStringLiteral("0x")), QStringLiteral("0xffffffff"));
        QCOMPARE(CMiscUtility::GetHexQStr<int>(int(0x81501031), QStringLiteral("0x")), QStringLiteral("0x81501031"));
        QCOMPARE(CMiscUtility::GetHexQStr<int>(255, QString()), QStringLiteral("ff"));
        QCOMPARE(CMiscUtility::GetHexQStr<int>(0, QStringLiteral("0x")), QStringLiteral("0x0"));

        QString s = QStringLiteral("7");
        CMiscUtility::FillQStr(s, 3, '0', true);
        QCOMPARE(s, QStringLiteral("007"));
        CMiscUtility::FillQStr(s, 5, ' ', false);
        QCOMPARE(s, QStringLiteral("007  "));
        CMiscUtility::FillQStr(s, 2, 'x', true);
        QCOMPARE(s, QStringLiteral("007  "));
    }

    void textToNumbers()
    {
        int i = 42;
        QVERIFY(!CMiscUtility::QStr2Integer(QStringLiteral("12a"), i));
        QCOMPARE(i, 0);
        QVERIFY(CMiscUtility::QStr2Integer(QStringLiteral("-17"), i));
        QCOMPARE(i, -17);
        unsigned short u = 1;
        QVERIFY(!CMiscUtility::QStr2UShort(QStringLiteral("65536"), u));
        QCOMPARE(u, quint16(0));
        double d = 1;
        QVERIFY(CMiscUtility::QStr2Double(QStringLiteral("-1.5e3"), d));
        QCOMPARE(d, -1500.0);
        QVERIFY(!CMiscUtility::QStr2Double(QStringLiteral("1,5"), d));
    }

    void doubleEqualityIsPurelyRelative()
    {
        QVERIFY(CMiscUtility::DoubleIsEqual(0.0, 0.0));
        QVERIFY(!CMiscUtility::DoubleIsEqual(1e-300, 0.0));
        QVERIFY(CMiscUtility::DoubleIsEqual(1.0, 1.0 + 1e-13));
        QVERIFY(!CMiscUtility::DoubleIsEqual(1.0, 1.0 + 1e-11));
        QVERIFY(CMiscUtility::DoubleIsEqual(-5e10, -5e10 * (1 + 1e-13)));
    }

    void charArrayCutsToBuffer()
    {
        char buf[8];
        std::memset(buf, 'z', sizeof buf);
        QVERIFY(!CMiscUtility::QStr2CharArray(QStringLiteral("abc"), nullptr, 8));
        QVERIFY(!CMiscUtility::QStr2CharArray(QStringLiteral("abc"), buf, 0));
        QCOMPARE(buf[0], 'z');
        QVERIFY(CMiscUtility::QStr2CharArray(QStringLiteral("abc"), buf, 1));
        QCOMPARE(buf[0], '\0');
        QVERIFY(CMiscUtility::QStr2CharArray(QStringLiteral("abcdefghij"), buf, 8));
        QCOMPARE(QByteArray(buf), QByteArray("abcdefg"));
        // UTF-8, cut by bytes: "ä" is two bytes, so four of them fill 7 bytes with half of the last.
        QVERIFY(CMiscUtility::QStr2CharArray(QString::fromUtf8("\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4"), buf, 8));
        QCOMPARE(QByteArray(buf), QByteArray("\xc3\xa4\xc3\xa4\xc3\xa4\xc3"));
    }

    void workOffsetCodes_data()
    {
        QTest::addColumn<QString>("code");
        QTest::addColumn<int>("index");
        QTest::addColumn<bool>("valid");
        QTest::newRow("G54") << "G54" << 1 << true;
        QTest::newRow("g57 spaced") << "  g57 " << 4 << true;
        QTest::newRow("G500") << "G500" << 0 << true;
        QTest::newRow("G505") << "G505" << 5 << true;
        QTest::newRow("G599") << "G599" << 99 << true;
        QTest::newRow("G53") << "G53" << 1 << false;
        QTest::newRow("G58") << "G58" << 1 << false;
        QTest::newRow("G600") << "G600" << 1 << false;
        QTest::newRow("no G") << "54" << 0 << false;
        QTest::newRow("empty") << "" << 0 << false;
        QTest::newRow("G only") << "G" << 1 << false;
    }
    void workOffsetCodes()
    {
        QFETCH(QString, code);
        QFETCH(int, index);
        QFETCH(bool, valid);
        bool isValid = !valid;
        QCOMPARE(CMiscUtility::GetWorkoffsetIndex(code, isValid), index);
        QCOMPARE(isValid, valid);
    }

    void axisTypes()
    {
        QCOMPARE(CMiscUtility::GetAxisTypeQStr(AXIS_SPINDLE), QStringLiteral("Spindle"));
        QCOMPARE(CMiscUtility::GetAxisTypeQStr(AXIS_UNKNOWN), QString());
        QVERIFY(CMiscUtility::IsAllowAxisType(AXIS_LINEAR));
        QVERIFY(CMiscUtility::IsAllowAxisType(AXIS_ROTARY));
        QVERIFY(!CMiscUtility::IsAllowAxisType(AXIS_SPINDLE));
        QVERIFY(!CMiscUtility::IsAllowAxisType(AXIS_UNKNOWN));
    }

    void uuidAndRandom()
    {
        const QString a = CMiscUtility::CreateUuid();
        QVERIFY(QRegularExpression(QStringLiteral("^[0-9a-f]{32}$")).match(a).hasMatch());
        QVERIFY(a != CMiscUtility::CreateUuid());
        // Seeded by the second of the day: two calls agree unless a second
        // boundary falls between them, and it can't fall between both pairs.
        int x1 = CMiscUtility::GetRandomInteger(10, 20), x2 = CMiscUtility::GetRandomInteger(10, 20);
        if (x1 != x2) {
            x1 = CMiscUtility::GetRandomInteger(10, 20);
            x2 = CMiscUtility::GetRandomInteger(10, 20);
        }
        QCOMPARE(x1, x2);
        QVERIFY(x1 >= 10 && x1 < 20);
        const double r = CMiscUtility::GetRandomDouble(1.0, 2.0);
        QVERIFY(r >= 1.0);
    }

    void renameCopyMoveRespectOverwrite()
    {
        QTemporaryDir tmp;
        const QString a = tmp.filePath(QStringLiteral("a.txt")), b = tmp.filePath(QStringLiteral("b.txt"));
        Make(a, "A");
        Make(b, "B");
        QVERIFY(!CMiscUtility::RenameFile(a, b, false));
        QCOMPARE(Content(a), QByteArray("A"));
        QCOMPARE(Content(b), QByteArray("B"));
        QVERIFY(!CMiscUtility::CopyFile(a, b, false));
        QCOMPARE(Content(b), QByteArray("B"));
        QVERIFY(CMiscUtility::CopyFile(a, b, true));
        QCOMPARE(Content(b), QByteArray("A"));
        QVERIFY(QFile::exists(a));

        Make(b, "B");
        QVERIFY(CMiscUtility::MoveFile(b, a, true));
        QVERIFY(!QFile::exists(b));
        QCOMPARE(Content(a), QByteArray("B"));
        QVERIFY(!CMiscUtility::RenameFile(b, a, true)); // source gone
        QCOMPARE(Content(a), QByteArray("B"));
        QVERIFY(CMiscUtility::RenameFile(a, b, true));
        QCOMPARE(Content(b), QByteArray("B"));

        QVERIFY(!CMiscUtility::FileIsExists(QString()));
        QVERIFY(CMiscUtility::CreateFolder(tmp.filePath(QStringLiteral("x/y/z.txt")), true));
        QVERIFY(QFileInfo(tmp.filePath(QStringLiteral("x/y"))).isDir());
        QVERIFY(!QFileInfo(tmp.filePath(QStringLiteral("x/y/z.txt"))).exists());
    }

    void clearExpiredKeepsNewestByCount()
    {
        QTemporaryDir tmp;
        const QDateTime base(QDate(2026, 3, 1), QTime(8, 0));
        for (int i = 0; i < 5; ++i)
            Make(tmp.filePath(QStringLiteral("f%1.log").arg(i)), "x", base.addDays(4 - i)); // f4 oldest
        Make(tmp.filePath(QStringLiteral("keep.txt")), "x", base.addYears(-3));
        Make(tmp.filePath(QStringLiteral("sub/deep.log")), "x", base.addYears(-3));
        const QStringList filter{QStringLiteral("*.log")};

        CMiscUtility::ClearExpiredFiles(tmp.path(), filter, -1, false);
        QCOMPARE(QDir(tmp.path()).entryList(filter, QDir::Files).size(), 5);
        CMiscUtility::ClearExpiredFiles(tmp.path(), filter, 2, false);
        QCOMPARE(QDir(tmp.path()).entryList(filter, QDir::Files), (QStringList{"f0.log", "f1.log"}));
        QVERIFY(QFile::exists(tmp.filePath(QStringLiteral("keep.txt"))));
        QVERIFY(QFile::exists(tmp.filePath(QStringLiteral("sub/deep.log"))));
        CMiscUtility::ClearExpiredFiles(tmp.path(), filter, 0, true);
        QCOMPARE(QDir(tmp.path()).entryList(filter, QDir::Files).size(), 0);
        QVERIFY(!QFile::exists(tmp.filePath(QStringLiteral("sub/deep.log"))));
    }

    void textFilesRoundTripUtf8()
    {
        QTemporaryDir tmp;
        const QString path = tmp.filePath(QStringLiteral("t.txt"));
        QString error;
        QVERIFY(CMiscUtility::WriteTextFile(path, {QStringLiteral("Fr\u00e4se 1\n"), QStringLiteral("zwei\n"),
                                                   QStringLiteral("drei")}, error));
        QCOMPARE(Content(path), QByteArray("Fr\xc3\xa4se 1\nzwei\ndrei"));

        QStringList lines{QStringLiteral("kept")};
        QVERIFY(CMiscUtility::ReadTextFile(path, lines, error, 0, 0));
        QCOMPARE(lines, (QStringList{"kept", QStringLiteral("Fr\u00e4se 1"), "zwei", "drei"}));
        // The limit counts the whole list, earlier entries included.
        lines = QStringList{QStringLiteral("kept")};
        QVERIFY(CMiscUtility::ReadTextFile(path, lines, error, 0, 2));
        QCOMPARE(lines.size(), 2);
        lines.clear();
        QVERIFY(CMiscUtility::ReadTextFile(path, lines, error, 5, 1));
        QCOMPARE(lines, QStringList{QStringLiteral("Fr\u00e4se 1")});

        QVERIFY(!CMiscUtility::ReadTextFile(tmp.filePath(QStringLiteral("none")), lines, error, 0, 0));
        QVERIFY(!error.isEmpty());
        error.clear();
        QVERIFY(!CMiscUtility::WriteTextFile(tmp.filePath(QStringLiteral("no/such/dir/f")), {}, error));
        QVERIFY(!error.isEmpty());
    }

    void lastWriteTimes()
    {
        QTemporaryDir tmp;
        const QString path = tmp.filePath(QStringLiteral("t"));
        Make(path, "x", QDateTime(QDate(2026, 5, 28), QTime(9, 14, 3)));
        QCOMPARE(CMiscUtility::GetFileLastWriteTime(path, QStringLiteral("yyyyMMdd hhmmss")),
                 QStringLiteral("20260528 091403"));
        QVERIFY(CMiscUtility::GetFileLastWriteTime(tmp.filePath(QStringLiteral("none")), QStringLiteral("yyyy")).isNull());
        const QDateTime epoch = QDateTime::fromSecsSinceEpoch(1780000000);
        QCOMPARE(CMiscUtility::EpochSeconds2QStr(1780000000, QStringLiteral("yyyy-MM-dd hh:mm:ss")),
                 epoch.toString(QStringLiteral("yyyy-MM-dd hh:mm:ss")));
    }

    void ownLibraryPathIsResolved()
    {
        const QString path = CMiscUtility::GetThisLibFullPath();
        QVERIFY(path.endsWith(QLatin1String("/libsiemensharvel.so")));
        QCOMPARE(QFileInfo(path).canonicalFilePath(), path);
    }

    void hostAddressesStartWithWildcards()
    {
        QStringList list{QStringLiteral("pre")};
        CMiscUtility::GetHostIpList(list, true);
        QCOMPARE(list.mid(0, 3), (QStringList{"pre", "0.0.0.0", "[::]"}));
        QVERIFY(!list.contains(QStringLiteral("127.0.0.1")));
        QVERIFY(!list.contains(QStringLiteral("::1")));
        list.clear();
        CMiscUtility::GetHostIpList(list, false);
        for (const QString& a : list)
            QVERIFY2(!a.contains(QLatin1Char(':')), qPrintable(a));
    }
};

QTEST_MAIN(TestMiscUtility)
#include "TestMiscUtility.moc"

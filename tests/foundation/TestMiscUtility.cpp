// CMiscUtility, its HMI helpers against the platform's dialog and the
// plug-in's query form included.
#include "MiscUtility.h"
#include "SiemensHarvelFormMessage.h"
#include "SlGfwAreaConfig.h"
#include "SlGfwAreaHost.h"
#include "SlGfwHmiDialog.h"
#include "SlGfwScreen.h"

#include <QtTest>

#include <cstring>

namespace {
void make(const QString& path, const QByteArray& content, const QDateTime& when = QDateTime())
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly) && f.write(content) == content.size());
    if (f.flush() && when.isValid())
        QVERIFY(f.setFileTime(when, QFileDevice::FileModificationTime));
}
QByteArray content(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<missing>");
}

class Host : public SlGfwAreaHost
{
public:
    SlGfwDialogForm* createDialogForm(SlGfwHmiDialog*, const QString& className, const QString& formName,
                                      QString&) override
    {
        return className == QLatin1String("Query") ? new SiemensHarvelFormMessage(nullptr, formName, {})
                                                   : new SlGfwDialogForm(nullptr, formName);
    }
    bool switchToArea(SlGfwHmiDialog*, const QString&, const QString&, const QString&, bool) override { return false; }
};

const char* kArea = "[dialog]\nclass = D\nstartScreen = screenTest\n"
                    "[screen screenTest]\nform = formTest\nclass = Plain\n"
                    "myVr1 = text:=Run, action:=doRun\nmyHu3 = text:=Net, action:=net\n"
                    "[screen screenMessage]\nform = formMessage\nclass = Query\n"
                    "myVr7 = text:=Cancel, action:=doCancel\nmyVr8 = text:=OK, action:=doOK\n";
} // namespace

class TestMiscUtility : public QObject
{
    Q_OBJECT

private slots:
    void pathsOnNcAndLocal()
    {
        // path | normalized | folder | name | stem | suffix
        for (const char* row : {"//NC/WKS.DIR/|//NC/WKS.DIR|//NC/WKS.DIR/|||.DIR/",
                                "//NC/WKS.DIR/TELMOR.WPD/RESULT.MPF|//NC/WKS.DIR/TELMOR.WPD/RESULT.MPF|//NC/WKS.DIR/TELMOR.WPD/|RESULT.MPF|RESULT|.MPF",
                                "C:\\x\\|C:/x|C:\\x\\|||", "C:\\logs/abc.log|C:/logs/abc.log|C:\\logs/|abc.log|abc|.log",
                                "abc.log|abc.log||abc.log|abc|.log", "/x/README|/x/README|/x/|README|README|",
                                "/a.b/c|/a.b/c|/a.b/|c|c|.b/c", "/||/|||", "/card///|/card|/card///|||", "|||||"}) {
            const QStringList f = QString(row).split('|');
            QCOMPARE((QStringList{f[0], CMiscUtility::NormalizePath(f[0]), CMiscUtility::GetFilePath(f[0]), CMiscUtility::GetFileName(f[0]),
                                  CMiscUtility::GetFileNameNoSuffix(f[0], '.'), CMiscUtility::GetFileSuffix(f[0])}), f);
        }
    }

    void conversions()
    {
        QVERIFY(CMiscUtility::CheckFileSuffix("//NC/X.mpf", ".MPF") && !CMiscUtility::CheckFileSuffix("//NC/X.mpf", "MPF") &&
                !CMiscUtility::CheckFileSuffix("//NC/X", ".MPF"));
        // With no decimals the zeros of a whole number go too.
        QStringList texts;
        for (const auto& n : QList<QPair<double, int>>{{12.5, 3}, {3.0, 3}, {-0.125, 2}, {100.06, 1}, {10.0, 4}, {100.0, 0}, {0.0, 0}, {205.0, 0}})
            texts << CMiscUtility::DoubleToQStr(n.first, n.second);
        QCOMPARE(texts, (QStringList{"12.5", "3", "-0.13", "100.1", "10", "1", "", "205"}));
        QCOMPARE((QStringList{CMiscUtility::GetHexQStr<int>(-1, "0x"), CMiscUtility::GetHexQStr<int>(int(0x81501031), "0x"),
                              CMiscUtility::GetHexQStr<int>(255, QString()), CMiscUtility::GetHexQStr<int>(0, "0x")}),
                 (QStringList{"0xffffffff", "0x81501031", "ff", "0x0"}));
        QString s = "7";
        CMiscUtility::FillQStr(s, 3, '0', true);
        CMiscUtility::FillQStr(s, 5, ' ', false);
        CMiscUtility::FillQStr(s, 2, 'x', true);
        QCOMPARE(s, QStringLiteral("007  "));

        int i = 42;
        unsigned short u = 1;
        double d = 1;
        QVERIFY(!CMiscUtility::QStr2Integer("12a", i) && i == 0 && !CMiscUtility::QStr2UShort("65536", u) && u == 0);
        QVERIFY(CMiscUtility::QStr2Integer("-17", i) && i == -17 && CMiscUtility::QStr2Double("-1.5e3", d) && d == -1500.0);
        QVERIFY(!CMiscUtility::QStr2Double("1,5", d));
        // Equality of doubles is purely relative.
        QVERIFY(CMiscUtility::DoubleIsEqual(0.0, 0.0) && !CMiscUtility::DoubleIsEqual(1e-300, 0.0));
        QVERIFY(CMiscUtility::DoubleIsEqual(1.0, 1.0 + 1e-13) && !CMiscUtility::DoubleIsEqual(1.0, 1.0 + 1e-11));
        QVERIFY(CMiscUtility::DoubleIsEqual(-5e10, -5e10 * (1 + 1e-13)));

        char buf[8];
        std::memset(buf, 'z', sizeof buf);
        QVERIFY(!CMiscUtility::QStr2CharArray("abc", nullptr, 8) && !CMiscUtility::QStr2CharArray("abc", buf, 0) && buf[0] == 'z');
        QVERIFY(CMiscUtility::QStr2CharArray("abc", buf, 1) && buf[0] == '\0');
        QVERIFY(CMiscUtility::QStr2CharArray("abcdefghij", buf, 8));
        QCOMPARE(QByteArray(buf), QByteArray("abcdefg"));
        // UTF-8, cut by bytes: "ä" is two bytes, so four of them fill 7 bytes with half of the last.
        QVERIFY(CMiscUtility::QStr2CharArray(QString::fromUtf8("\xc3\xa4\xc3\xa4\xc3\xa4\xc3\xa4"), buf, 8));
        QCOMPARE(QByteArray(buf), QByteArray("\xc3\xa4\xc3\xa4\xc3\xa4\xc3"));

        const struct { const char* code; int index; bool valid; } offsets[] = {
            {"G54", 1, true}, {"  g57 ", 4, true}, {"G500", 0, true}, {"G505", 5, true}, {"G599", 99, true}, {"G53", 1, false},
            {"G58", 1, false}, {"G600", 1, false}, {"54", 0, false}, {"", 0, false}, {"G", 1, false}};
        for (const auto& o : offsets) {
            bool valid = !o.valid;
            QCOMPARE(CMiscUtility::GetWorkoffsetIndex(o.code, valid), o.index);
            QCOMPARE(valid, o.valid);
        }
        QCOMPARE(CMiscUtility::GetAxisTypeQStr(AXIS_SPINDLE) + CMiscUtility::GetAxisTypeQStr(AXIS_UNKNOWN), QStringLiteral("Spindle"));
        QVERIFY(CMiscUtility::IsAllowAxisType(AXIS_LINEAR) && CMiscUtility::IsAllowAxisType(AXIS_ROTARY));
        QVERIFY(!CMiscUtility::IsAllowAxisType(AXIS_SPINDLE) && !CMiscUtility::IsAllowAxisType(AXIS_UNKNOWN));
    }

    void uuidRandomAndHost()
    {
        const QString a = CMiscUtility::CreateUuid();
        QVERIFY(QRegularExpression("^[0-9a-f]{32}$").match(a).hasMatch());
        QVERIFY(a != CMiscUtility::CreateUuid());
        // Seeded by the second of the day: two calls agree unless a second
        // boundary falls between them, and it can't fall between both pairs.
        int x1 = CMiscUtility::GetRandomInteger(10, 20), x2 = CMiscUtility::GetRandomInteger(10, 20);
        if (x1 != x2) {
            x1 = CMiscUtility::GetRandomInteger(10, 20);
            x2 = CMiscUtility::GetRandomInteger(10, 20);
        }
        QCOMPARE(x1, x2);
        QVERIFY(x1 >= 10 && x1 < 20 && CMiscUtility::GetRandomDouble(1.0, 2.0) >= 1.0);

        const QString path = CMiscUtility::GetThisLibFullPath();
        QVERIFY(path.endsWith("/libsiemensharvel.so") && QFileInfo(path).canonicalFilePath() == path);
        QStringList list{"pre"};
        CMiscUtility::GetHostIpList(list, true);
        QCOMPARE(list.mid(0, 3), (QStringList{"pre", "0.0.0.0", "[::]"}));
        QVERIFY(!list.contains("127.0.0.1") && !list.contains("::1"));
        list.clear();
        CMiscUtility::GetHostIpList(list, false);
        QVERIFY2(list.filter(":").isEmpty(), qPrintable(list.join(' ')));
    }

    void files()
    {
        QTemporaryDir tmp;
        const QString a = tmp.filePath("a.txt"), b = tmp.filePath("b.txt");
        make(a, "A");
        make(b, "B");
        QVERIFY(!CMiscUtility::RenameFile(a, b, false) && !CMiscUtility::CopyFile(a, b, false));
        QCOMPARE(content(a) + content(b), QByteArray("AB"));
        QVERIFY(CMiscUtility::CopyFile(a, b, true));
        QCOMPARE(content(a) + content(b), QByteArray("AA"));
        make(b, "B");
        QVERIFY(CMiscUtility::MoveFile(b, a, true) && !QFile::exists(b));
        QVERIFY(!CMiscUtility::RenameFile(b, a, true)); // source gone
        QCOMPARE(content(a), QByteArray("B"));
        QVERIFY(CMiscUtility::RenameFile(a, b, true));
        QCOMPARE(content(b), QByteArray("B"));
        QVERIFY(!CMiscUtility::FileIsExists(QString()) && CMiscUtility::CreateFolder(tmp.filePath("x/y/z.txt"), true));
        QVERIFY(QFileInfo(tmp.filePath("x/y")).isDir() && !QFileInfo::exists(tmp.filePath("x/y/z.txt")));

        // Text files round-trip UTF-8; the limit counts the whole list, earlier entries included.
        const QString t = tmp.filePath("t.txt");
        QString error;
        QVERIFY(CMiscUtility::WriteTextFile(t, {"Fr\u00e4se 1\n", "zwei\n", "drei"}, error));
        QCOMPARE(content(t), QByteArray("Fr\xc3\xa4se 1\nzwei\ndrei"));
        QStringList lines{"kept"};
        QVERIFY(CMiscUtility::ReadTextFile(t, lines, error, 0, 0));
        QCOMPARE(lines, (QStringList{"kept", "Fr\u00e4se 1", "zwei", "drei"}));
        lines = QStringList{"kept"};
        QVERIFY(CMiscUtility::ReadTextFile(t, lines, error, 0, 2) && lines.size() == 2);
        lines.clear();
        QVERIFY(CMiscUtility::ReadTextFile(t, lines, error, 5, 1));
        QCOMPARE(lines, QStringList{"Fr\u00e4se 1"});
        QVERIFY(!CMiscUtility::ReadTextFile(tmp.filePath("none"), lines, error, 0, 0) && !error.isEmpty());
        error.clear();
        QVERIFY(!CMiscUtility::WriteTextFile(tmp.filePath("no/such/dir/f"), {}, error) && !error.isEmpty());

        make(t, "x", QDateTime(QDate(2026, 5, 28), QTime(9, 14, 3)));
        QCOMPARE(CMiscUtility::GetFileLastWriteTime(t, "yyyyMMdd hhmmss"), QStringLiteral("20260528 091403"));
        QVERIFY(CMiscUtility::GetFileLastWriteTime(tmp.filePath("none"), "yyyy").isNull());
        QCOMPARE(CMiscUtility::EpochSeconds2QStr(1780000000, "yyyy-MM-dd hh:mm:ss"),
                 QDateTime::fromSecsSinceEpoch(1780000000).toString("yyyy-MM-dd hh:mm:ss"));

        // Expired files go by count, newest kept, only those matching and, unless asked, not below.
        QTemporaryDir logs;
        const QDateTime base(QDate(2026, 3, 1), QTime(8, 0));
        for (int i = 0; i < 5; ++i)
            make(logs.filePath(QStringLiteral("f%1.log").arg(i)), "x", base.addDays(4 - i)); // f4 oldest
        make(logs.filePath("keep.txt"), "x", base.addYears(-3));
        make(logs.filePath("sub/deep.log"), "x", base.addYears(-3));
        const QStringList filter{"*.log"};
        CMiscUtility::ClearExpiredFiles(logs.path(), filter, -1, false);
        QCOMPARE(QDir(logs.path()).entryList(filter, QDir::Files).size(), 5);
        CMiscUtility::ClearExpiredFiles(logs.path(), filter, 2, false);
        QCOMPARE(QDir(logs.path()).entryList(filter, QDir::Files), (QStringList{"f0.log", "f1.log"}));
        QVERIFY(QFile::exists(logs.filePath("keep.txt")) && QFile::exists(logs.filePath("sub/deep.log")));
        CMiscUtility::ClearExpiredFiles(logs.path(), filter, 0, true);
        QCOMPARE(QDir(logs.path()).entryList(filter, QDir::Files).size(), 0);
        QVERIFY(!QFile::exists(logs.filePath("sub/deep.log")));
    }

    // The query screen run modally, and soft keys switched on and off.
    void showMessageDialogAndSetSoftKeyEnable()
    {
        Host host;
        SlGfwAreaConfig cfg;
        QString error;
        QVERIFY2(cfg.parse(QString::fromLatin1(kArea), error), qPrintable(error));
        SlGfwHmiDialog dialog(nullptr, "D");
        dialog.setupArea("Area", cfg, &host);
        QVERIFY(dialog.switchToScreen("screenTest"));
        QVERIFY(!CMiscUtility::ShowMessageDialog(nullptr, "screenTest", "?", "Query"));
        // Only OK answers true. Texts that read like properties of the screen are passed unchanged.
        const QString message = "Set TMR_FILE = 1 for %2 files? -slgfwprop4 x";
        for (const char* key : {"doOK", "doCancel"}) {
            QString shownOn;
            QTimer::singleShot(0, &dialog, [&] {
                shownOn = dialog.activeScreen();
                dialog.pressAction(key, error);
            });
            QCOMPARE(CMiscUtility::ShowMessageDialog(&dialog, "screenTest", message, "A query"), key == QLatin1String("doOK"));
            QCOMPARE(shownOn, QStringLiteral("screenMessage"));
            QCOMPARE(dialog.activeScreen(), QStringLiteral("screenTest"));
            auto* form = qobject_cast<SiemensHarvelFormMessage*>(dialog.existingForm("formMessage"));
            QVERIFY(form);
            QCOMPARE(QStringList({form->Message(), form->Caption(), form->BackScreen()}), QStringList({message, "A query", "screenTest"}));
        }

        // The menu counts, a screen other than the one shown is reached as well, and missing pieces do nothing.
        QWidget* run = dialog.screenRef("screenTest")->menuSoftkey("myVr", 1);
        QWidget* ok = dialog.screenRef("screenMessage")->menuSoftkey("myVr", 8);
        QVERIFY(run && ok && run->isEnabled() && ok->isEnabled());
        const struct { SlGfwHmiDialog* dialog; const char* screen; int index; bool enabled; const char* menu; const char* after; } steps[] = {
            {&dialog, "screenTest", 1, false, "myVr", "off on"}, {&dialog, "screenTest", 1, true, "myHu", "off on"},
            {&dialog, "screenTest", 1, true, "myVr", "on on"},   {&dialog, "screenMessage", 8, false, "myVr", "on off"},
            {nullptr, "screenTest", 1, false, "myVr", "on off"}, {&dialog, "screenNone", 1, false, "myVr", "on off"},
            {&dialog, "screenTest", 2, false, "myVr", "on off"}};
        for (const auto& step : steps) {
            CMiscUtility::SetSoftKeyEnable(step.dialog, step.screen, step.index, step.enabled, step.menu);
            QCOMPARE(QStringLiteral("%1 %2").arg(run->isEnabled() ? "on" : "off", ok->isEnabled() ? "on" : "off"), QString(step.after));
        }
    }
};

QTEST_MAIN(TestMiscUtility)
#include "TestMiscUtility.moc"

// The merge of the plug-in's definitions into a definition file, one table of old files and the rows the UGUD
// screen shows for them.
#include "SiemensHarvelFormUGUD.h"

#include <QtTest>

using Line = SiemensHarvelFormUGUD::UGUDLine;

class TestUGUDMerge : public QObject
{
    Q_OBJECT

private slots:
    void merge_data();
    void merge();
};

namespace {
const QStringList kRequired = QStringLiteral(
    "; NC Velmar Variables|DEF NCK INT TMR_FILE|DEF NCK INT TMR_VINT[5]|DEF NCK REAL TMR_VAR[1000]|DEF NCK BOOL TMR_PRGISMETRIC|"
    "DEF NCK INT TMR_DIALOG_VINT[4]|DEF NCK STRING[256] TMR_DIALOG_VSTR[3]|DEF NCK REAL TMR_FINDSPHERE[7]").split('|');

// The text the screen hands over: every row that is not dropped.
QString NewText(const QList<Line>& lines)
{
    QString text;
    for (const Line& l : lines)
        if (l.mark != QLatin1String("-"))
            text += l.text + QLatin1Char('\n');
    return text;
}
} // namespace

void TestUGUDMerge::merge_data()
{
    QTest::addColumn<QStringList>("old");
    // The rows after the eight required ones.
    QTest::addColumn<QStringList>("rows");

    QTest::newRow("no file: a new one, ended by M30") << QStringList() << QStringList{"0:9:+:M30"};

    const QStringList merged = kRequired + QStringList{"DEF NCK INT OTHER", "M30"};
    QStringList again;
    for (int i = 0; i < kRequired.size(); ++i)
        again << QStringLiteral("%1:0:-:%2").arg(i + 1).arg(kRequired.at(i));
    again << "9:9::DEF NCK INT OTHER" << "10:10::M30";
    QTest::newRow("merged before: the old definitions give way to the new") << merged << again;

    QTest::newRow("names: case of the statement, word boundary, comments")
        << QStringList{"  def nck int tmr_file", "DEF NCK INT TMR_FILE_OLD", "; TMR_FILE is set by the probe",
                       "R1=TMR_VAR[3] ; uses it", "", "%_N_UGUD_DEF"}
        << QStringList{"1:0:-:  def nck int tmr_file", "2:9::DEF NCK INT TMR_FILE_OLD",
                       "3:10::; TMR_FILE is set by the probe", "4:0:-:R1=TMR_VAR[3] ; uses it", "5:11::",
                       "6:12::%_N_UGUD_DEF", "0:13:+:M30"};

    QTest::newRow("M30 with a comment ends the program") << QStringList{"M30 ; end"} << QStringList{"1:9::M30 ; end"};
    QTest::newRow("M30 with another word does not") << QStringList{"M30 X"} << QStringList{"1:9::M30 X", "0:10:+:M30"};
    QTest::newRow("m17 in lower case does; lines behind it stay")
        << QStringList{"  m17", "DEF NCK INT LATE"} << QStringList{"1:9::  m17", "2:10::DEF NCK INT LATE"};
    QTest::newRow("RET and M2 do, M02 does not") << QStringList{"M02", "RET"} << QStringList{"1:9::M02", "2:10::RET"};
    QTest::newRow("M02 alone gets an M30") << QStringList{"M02"} << QStringList{"1:9::M02", "0:10:+:M30"};
    QTest::newRow("a dropped end statement is no end; the marker in any case goes")
        << QStringList{"M30 TMR_FILE", "; nc velmar variables"}
        << QStringList{"1:0:-:M30 TMR_FILE", "2:0:-:; nc velmar variables", "0:9:+:M30"};
}

void TestUGUDMerge::merge()
{
    QFETCH(QStringList, old);
    QFETCH(QStringList, rows);

    const QList<Line> lines = SiemensHarvelFormUGUD::MergeUGUDLines(old);
    QStringList head, tail;
    for (int i = 0; i < lines.size(); ++i)
        // A row as "old:new:mark:text", numbers 0 where the line has none.
        (i < kRequired.size() ? head : tail)
            << QStringLiteral("%1:%2:%3:%4").arg(lines.at(i).oldLine).arg(lines.at(i).newLine).arg(lines.at(i).mark, lines.at(i).text);
    QStringList required;
    for (int i = 0; i < kRequired.size(); ++i)
        required << QStringLiteral("0:%1:+:%2").arg(i + 1).arg(kRequired.at(i));
    QCOMPARE(head, required);
    QCOMPARE(tail, rows);
    // Merging the result again gives the same text: a file is merged once however often the screen is used.
    const QString text = NewText(lines);
    QStringList newLines = text.split(QLatin1Char('\n'));
    newLines.removeLast();
    QCOMPARE(NewText(SiemensHarvelFormUGUD::MergeUGUDLines(newLines)), text);
}

QTEST_MAIN(TestUGUDMerge)
#include "TestUGUDMerge.moc"

#include "GudDefinitionFile.h"

#include <QtTest>

using Var = GudDefinitionFile::Variable;
using Err = GudDefinitionFile::Error;

class TestGudDefinitionFile : public QObject
{
    Q_OBJECT
private slots:
    void acceptsWhatTheNcAccepts();
    void reportsEachBadLine();
    void initialValuesMustFit();
    void fileNamesGiveBlocks();
    void mergedFileWithDefinitionsBeforeTheHeader();
};

void TestGudDefinitionFile::acceptsWhatTheNcAccepts()
{
    const QString text = QStringLiteral(
        "%_N_UGUD_DEF\n"
        ";$PATH=/_N_DEF_DIR\n"
        "; NC Velmar Variables\n"
        "DEF NCK INT TMR_FILE   ; the hand-over flag\r\n"
        "N10 DEF NCK REAL TMR_VAR[1000]\n"
        "def nck bool flag=TRUE\n"
        "DEF NCK STRING[256] TMR_DIALOG_VSTR[3]\n"
        "DEF NCK STRING[8] S=\"a;b\"\n"
        "DEF CHAN INT A, B[2]=(4,5)\n"
        "\n"
        "M30\n"
        "this line comes after the end and does not count\n");
    QList<Var> vars;
    QList<Err> errors;
    GudDefinitionFile::parse(text, vars, errors);
    QVERIFY2(errors.isEmpty(), qPrintable(errors.value(0).text));
    QCOMPARE(vars.size(), 7);
    QCOMPARE(vars[0].name, QStringLiteral("TMR_FILE"));
    QCOMPARE(vars[0].type, int(QMetaType::Int));
    QCOMPARE(vars[0].size, 0);
    QCOMPARE(vars[1].type, int(QMetaType::Double));
    QCOMPARE(vars[1].size, 1000);
    QCOMPARE(vars[2].name, QStringLiteral("FLAG"));
    QCOMPARE(vars[2].init, QList<QVariant>{true});
    QCOMPARE(vars[3].stringLength, 256);
    QCOMPARE(vars[3].size, 3);
    QCOMPARE(vars[4].init, QList<QVariant>{QStringLiteral("a;b")});
    QCOMPARE(vars[5].scope, GudDefinitionFile::Chan);
    QCOMPARE(vars[6].name, QStringLiteral("B"));
    QCOMPARE(vars[6].init, (QList<QVariant>{4, 5}));
}

void TestGudDefinitionFile::reportsEachBadLine()
{
    const QString text = QStringLiteral(
        "%_N_UGUD_DEF\n"
        "DEF NCK INTEGER X\n"     // 2: unknown type
        "DEF NCK INT\n"           // 3: no name
        "DEF NCK REAL R[0]\n"     // 4: size
        "DEF NCK REAL M[2,2]\n"   // 5: dimensions
        "DEF NCK INT OK1\n"
        "DEF NCK INT OK1\n"       // 7: twice
        "G01 X10\n"               // 8: not a definition
        "DEF NCK STRING[401] S\n" // 9: string length
        "DEF NCK INT THIS_NAME_IS_LONGER_THAN_31_CHARS\n" // 10
        "M30\n");
    QList<Var> vars;
    QList<Err> errors;
    GudDefinitionFile::parse(text, vars, errors);
    QList<int> lines;
    for (const Err& e : errors)
        lines << e.line;
    QCOMPARE(lines, (QList<int>{2, 3, 4, 5, 7, 8, 9, 10}));
    QCOMPARE(vars.size(), 1);
    QVERIFY(errors[4].text.contains(QLatin1String("OK1")));
}

void TestGudDefinitionFile::initialValuesMustFit()
{
    QList<Var> vars;
    QList<Err> errors;
    GudDefinitionFile::parse(QStringLiteral("DEF NCK STRING[2] S=\"abc\"\nDEF NCK INT I=1.5e20\n"
                                            "DEF NCK INT A[2]=(1,2,3)\nDEF NCK INT I2=2.6\n"),
                             vars, errors);
    QCOMPARE(errors.size(), 3);
    QCOMPARE(vars.size(), 1);
    // The NC rounds a real assigned to an integer.
    QCOMPARE(vars[0].init, QList<QVariant>{3});
}

void TestGudDefinitionFile::fileNamesGiveBlocks()
{
    QCOMPARE(GudDefinitionFile::blockOfFile(QStringLiteral("/x/nc/DEF.DIR/UGUD.DEF")), 3);
    QCOMPARE(GudDefinitionFile::blockOfFile(QStringLiteral("sgud.def")), 1);
    QCOMPARE(GudDefinitionFile::blockOfFile(QStringLiteral("MGUD.DEF")), 2);
    QCOMPARE(GudDefinitionFile::blockOfFile(QStringLiteral("GUD9.DEF")), 9);
    QCOMPARE(GudDefinitionFile::blockOfFile(QStringLiteral("GUD3.DEF")), -1);
    QCOMPARE(GudDefinitionFile::blockOfFile(QStringLiteral("UGUD.MPF")), -1);
}

// The HMI's merge puts the required definitions in front of the old file,
// header included, and appends M30 only when the old file had no end.
void TestGudDefinitionFile::mergedFileWithDefinitionsBeforeTheHeader()
{
    const QString text = QStringLiteral(
        "; NC Velmar Variables\n"
        "DEF NCK INT TMR_FILE\n"
        "DEF NCK INT TMR_VINT[5]\n"
        "DEF NCK REAL TMR_VAR[1000]\n"
        "DEF NCK BOOL TMR_PRGISMETRIC\n"
        "DEF NCK INT TMR_DIALOG_VINT[4]\n"
        "DEF NCK STRING[256] TMR_DIALOG_VSTR[3]\n"
        "DEF NCK REAL TMR_FINDSPHERE[7]\n"
        "%_N_UGUD_DEF\n"
        ";$PATH=/_N_DEF_DIR\n"
        "DEF NCK INT CUSTOMER_FLAG\n"
        "M30\n");
    QList<Var> vars;
    QList<Err> errors;
    GudDefinitionFile::parse(text, vars, errors);
    QVERIFY2(errors.isEmpty(), qPrintable(errors.value(0).text));
    QCOMPARE(vars.size(), 8);
    QCOMPARE(vars.last().name, QStringLiteral("CUSTOMER_FLAG"));
}

QTEST_GUILESS_MAIN(TestGudDefinitionFile)
#include "TestGudDefinitionFile.moc"

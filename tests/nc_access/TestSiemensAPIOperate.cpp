// The back end's primitives over the platform services of a virtual NC: the
// value types each one accepts, the codes that come back, and the order of
// the handshake writes the NC programs wait on.
#include "NcAccessFixture.h"
#include "SiemensAPIOperate.h"
#include "SlQFileSvc.h"

#include <QDateTime>
#include <QDir>

namespace {
const QString gd3 = QStringLiteral("/NC/_N_NC_GD3_ACX/");

void touch(const QString& path, qint64 secs)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write("x");
    f.close();
    QVERIFY(f.open(QIODevice::ReadWrite));
    QVERIFY(f.setFileTime(QDateTime::fromSecsSinceEpoch(secs), QFileDevice::FileModificationTime));
}
} // namespace

class TestSiemensAPIOperate : public QObject
{
    Q_OBJECT
private slots:
    void valueTypesEachPrimitiveTakes();
    void serviceFailuresBecomeOwnCodes();
    void fileServiceCodesPassThrough();
    void renameFileSuffix();
    void listFilesOldestFirstWithoutFolders();
    void selectedProgramInItsForms();
    void dialogAnswerCompleteBeforeTheStateWord();
    void sphereCentreExchange();
    void gudsOfABlankMachineAreUnreadable();
};

void TestSiemensAPIOperate::valueTypesEachPrimitiveTakes()
{
    NcMachine m;
    CSiemensAPIOperate api;

    // A BOOL reads as an int, 0 or 1; an INT is no double.
    int metric = -1;
    QCOMPARE(api.ReadInt("/NC/_N_NC_TEA_ACX/$MN_SCALING_SYSTEM_IS_METRIC[U1]", metric), 0);
    QCOMPARE(metric, 1);
    double real = 42.0;
    QCOMPARE(api.ReadDouble(gd3 + "TMR_FILE", real), -110);
    QCOMPARE(real, 42.0);
    QString text;
    QCOMPARE(api.ReadString(gd3 + "TMR_FILE", text), -110);
    int number = 0;
    QCOMPARE(api.ReadInt(gd3 + "TMR_VAR[1]", number), -110);

    // A scalar is an array of one.
    QList<int> flags{7};
    QCOMPARE(api.ReadArray("/NC/_N_NC_TEA_ACX/$MN_SCALING_SYSTEM_IS_METRIC[U1]", flags), 0);
    QCOMPARE(flags, (QList<int>{7, 1}));
    QList<double> reals;
    QCOMPARE(api.ReadArray(gd3 + "TMR_VINT[1,5]", reals), -110);
    QVERIFY(reals.isEmpty());

    QCOMPARE(api.WriteArray(gd3 + "TMR_VINT[2,3]", QList<int>{4, 5, 6}), 0);
    QList<int> ints;
    QCOMPARE(api.ReadArray(gd3 + "TMR_VINT[1,5]", ints), 0);
    QCOMPARE(ints, (QList<int>{0, 4, 5, 6, 0}));

    QCOMPARE(api.WriteArray(gd3 + "TMR_DIALOG_VSTR[1,2]", QList<QString>{"Text", "Name"}), 0);
    QList<QString> strings;
    QCOMPARE(api.ReadArray(gd3 + "TMR_DIALOG_VSTR[1,3]", strings), 0);
    QCOMPARE(strings, (QList<QString>{"Text", "Name", ""}));

    QCOMPARE(api.WriteString(gd3 + "TMR_DIALOG_VSTR[3]", "abc"), 0);
    QCOMPARE(api.ReadString(gd3 + "TMR_DIALOG_VSTR[3]", text), 0);
    QCOMPARE(text, QStringLiteral("abc"));
    QCOMPARE(api.WriteDouble(gd3 + "TMR_VAR[3]", 0.5), 0);
    QCOMPARE(api.ReadDouble(gd3 + "TMR_VAR[3]", real), 0);
    QCOMPARE(real, 0.5);
}

void TestSiemensAPIOperate::serviceFailuresBecomeOwnCodes()
{
    NcMachine m;
    CSiemensAPIOperate api;

    m.fail("read", gd3 + "TMR_FILE", 0x8032000Au);
    int value = 5;
    QCOMPARE(api.ReadInt(gd3 + "TMR_FILE", value), -78);
    QCOMPARE(value, 5);
    QList<int> list;
    QCOMPARE(api.ReadArray(gd3 + "TMR_FILE", list), -78);
    m.fail("write", gd3 + "TMR_FILE", 0x80320005u);
    QCOMPARE(api.WriteInt(gd3 + "TMR_FILE", 1), -77);

    // Refusals of the NC itself are write failures too.
    QCOMPARE(api.WriteArray(gd3 + "TMR_VAR[1,3]", QList<double>{1, 2}), -77);
    QCOMPARE(api.WriteString(gd3 + "TMR_DIALOG_VSTR[3]", QString(257, 'x')), -77);
    QCOMPARE(api.WriteInt("/Channel/State/acProg[u1,1]", 2), -77);

    m.fail("pi", "_N_SETUFR", 0x81601004u, 1);
    QCOMPARE(api.ActivateWorkOffset(), -81);
    QCOMPARE(m.nc->userFrameActivations(), 0);
    QCOMPARE(api.ActivateWorkOffset(), 0);
    QCOMPARE(m.nc->userFrameActivations(), 1);
}

void TestSiemensAPIOperate::fileServiceCodesPassThrough()
{
    NcMachine m;
    CSiemensAPIOperate api;

    QCOMPARE(api.CreateFolder("//NC/WKS.DIR/PART.WPD"), 0);
    QCOMPARE(api.CreateFile("//NC/WKS.DIR/PART.WPD/MEAS.MPF"), 0);
    QVERIFY(QFile::exists(m.path("nc/WKS.DIR/PART.WPD/MEAS.MPF")));
    bool exists = false;
    QCOMPARE(api.PathExists("//NC/WKS.DIR/PART.WPD/MEAS.MPF", exists), 0);
    QVERIFY(exists);
    bool isNc = false;
    QCOMPARE(api.PathIsNC("//NC/WKS.DIR", isNc), 0);
    QVERIFY(isNc);
    QCOMPARE(api.PathIsNC("//127.0.0.1/telmor", isNc), 0);
    QVERIFY(!isNc);

    QString real;
    QCOMPARE(api.GetRealPath("//NC/MPF.DIR/MAIN.MPF", real), 0);
    QCOMPARE(real, m.path("nc/MPF.DIR/MAIN.MPF"));
    QString logical;
    QCOMPARE(api.GetLogicalPath(real, logical), 0);
    QCOMPARE(logical, QStringLiteral("//NC/MPF.DIR/MAIN.MPF"));

    QCOMPARE(api.CopyFile("//NC/MPF.DIR/MAIN.MPF", "//127.0.0.1/telmor/MAIN.MPF"), 0);
    QVERIFY(QFile::exists(m.path("net/127.0.0.1/telmor/MAIN.MPF")));
    QCOMPARE(api.MoveFile("//127.0.0.1/telmor/MAIN.MPF", "//127.0.0.1/telmor/MOVED.MPF"), 0);
    QVERIFY(!QFile::exists(m.path("net/127.0.0.1/telmor/MAIN.MPF")));
    QCOMPARE(api.RemoveFile("//127.0.0.1/telmor/MOVED.MPF"), 0);
    QVERIFY(!QFile::exists(m.path("net/127.0.0.1/telmor/MOVED.MPF")));

    // The platform's 32-bit codes, as callers print them in hexadecimal.
    QCOMPARE(api.CopyFile("//NC/MPF.DIR/NONE.MPF", "//127.0.0.1/telmor/NONE.MPF"), int(SlQFileSvc::E_NOT_FOUND));
    QCOMPARE(api.CopyFile("//NC/MPF.DIR/MAIN.MPF", "//NC/MPF.DIR/A_NAME_OF_MORE_THAN_24_CHARS.MPF"),
             int(0x81501031u));
    m.fail("exist", "//NC/*", 0x81501005u, 1);
    QCOMPARE(api.PathExists("//NC/MPF.DIR/MAIN.MPF", exists), int(0x81501005u));
}

void TestSiemensAPIOperate::renameFileSuffix()
{
    NcMachine m;
    CSiemensAPIOperate api;

    QVERIFY(NcMachine::writeFile(m.path("net/127.0.0.1/telmor/req/C.TXT"), "c"));
    QCOMPARE(api.RenameFileSuffix("//127.0.0.1/telmor/req/C.TXT", ".XML"), 0);
    QVERIFY(QFile::exists(m.path("net/127.0.0.1/telmor/req/C.XML")));
    QVERIFY(!QFile::exists(m.path("net/127.0.0.1/telmor/req/C.TXT")));

    // Only the last dot counts.
    QVERIFY(NcMachine::writeFile(m.path("net/127.0.0.1/telmor/req/A.B.req"), "a"));
    QCOMPARE(api.RenameFileSuffix("//127.0.0.1/telmor/req/A.B.req", ".REC"), 0);
    QVERIFY(QFile::exists(m.path("net/127.0.0.1/telmor/req/A.B.REC")));

    const QString noExt = m.path("card/NOEXT");
    QVERIFY(NcMachine::writeFile(noExt, "n"));
    QCOMPARE(api.RenameFileSuffix(noExt, ".REC"), 0);
    QVERIFY(QFile::exists(noExt + ".REC"));

    QCOMPARE(api.RenameFileSuffix("//127.0.0.1/telmor/req/GONE.req", ".REC"), int(SlQFileSvc::E_NOT_FOUND));
}

void TestSiemensAPIOperate::listFilesOldestFirstWithoutFolders()
{
    NcMachine m;
    CSiemensAPIOperate api;
    const QString folder = m.path("net/127.0.0.1/telmor/list");
    touch(folder + "/A.REQ", 3000000);
    touch(folder + "/B.req", 1000000);
    touch(folder + "/C.txt", 2000000);
    touch(folder + "/D.REQ", 4000000);
    QVERIFY(QDir().mkpath(folder + "/SUB.req"));

    QList<QString> files;
    QCOMPARE(api.ListFiles("//127.0.0.1/telmor/list", ".req", files), 0);
    QCOMPARE(files, (QList<QString>{"B.req", "A.REQ", "D.REQ"}));

    files = {"kept"};
    QCOMPARE(api.ListFiles("//127.0.0.1/telmor/list", QString(), files), 0);
    QCOMPARE(files, (QList<QString>{"kept", "B.req", "C.txt", "A.REQ", "D.REQ"}));

    files.clear();
    m.fail("list", "//127.0.0.1/telmor/list", 0x81501005u, 1);
    QCOMPARE(api.ListFiles("//127.0.0.1/telmor/list", QString(), files), int(0x81501005u));
    QVERIFY(files.isEmpty());
    QCOMPARE(api.ListFiles("//127.0.0.1/telmor/none", QString(), files), int(SlQFileSvc::E_NOT_FOUND));
}

void TestSiemensAPIOperate::selectedProgramInItsForms()
{
    NcMachine m;
    CSiemensAPIOperate api;
    QVERIFY(NcMachine::writeFile(m.path("nc/WKS.DIR/PART.WPD/MEAS.MPF"), "M30\n"));
    QVERIFY(NcMachine::writeFile(m.path("nc/WKS.DIR/PART.WPD/OTHER.MPF"), "M30\n"));

    QCOMPARE(api.SelectProg("//NC/WKS.DIR/PART.WPD/MEAS.MPF", 1), 0);
    QCOMPARE(m.nc->selectedProgram(), QStringLiteral("//NC/WKS.DIR/PART.WPD/MEAS.MPF"));

    QString path;
    QCOMPARE(api.GetCurrProgPath(path, false), 0);
    QCOMPARE(path, QStringLiteral("/_N_WKS_DIR/_N_PART_WPD/_N_MEAS_MPF"));
    QCOMPARE(api.GetCurrProgPath(path, true), 0);
    QCOMPARE(path, QStringLiteral("//NC/WKS.DIR/PART.WPD/MEAS.MPF"));

    QString name;
    QCOMPARE(api.GetCurrProgName(name, true), 0);
    QCOMPARE(name, QStringLiteral("MEAS"));
    QCOMPARE(api.GetCurrProgName(name, false), 0);
    QCOMPARE(name, QStringLiteral("_N_MEAS_MPF"));
    QCOMPARE(api.GetCurrWorkPieceName(name, true), 0);
    QCOMPARE(name, QStringLiteral("//NC/WKS.DIR/PART.WPD/"));

    // A failed conversion empties the path and hands back its code.
    m.fail("logical-path", "*", 0x81501002u, 1);
    path = "old";
    QCOMPARE(api.GetCurrProgPath(path, true), int(0x81501002u));
    QVERIFY(path.isEmpty());

    int mode = -1;
    QCOMPARE(api.GetCurrOpMode(mode), 0);
    QCOMPARE(mode, int(m.nc->operatingMode()));

    QVERIFY(m.nc->startProgram());
    QCOMPARE(api.SelectProg("//NC/WKS.DIR/PART.WPD/OTHER.MPF", 1), int(SlQFileSvc::E_CHANNEL_ACTIVE));
    QCOMPARE(api.RemoveFile("//NC/WKS.DIR/PART.WPD/MEAS.MPF"), int(SlQFileSvc::E_PROGRAM_IN_USE));
    int ends = -1;
    QCOMPARE(api.GetCurrProgEndCount(ends), 0);
    QVERIFY(m.nc->endProgram());
    int after = -1;
    QCOMPARE(api.GetCurrProgEndCount(after), 0);
    QCOMPARE(after, ends + 1);
}

void TestSiemensAPIOperate::dialogAnswerCompleteBeforeTheStateWord()
{
    NcMachine m;
    CSiemensAPIOperate api;
    QVERIFY(m.set(gd3 + "TMR_DIALOG_VSTR[1]", "Measure again?"));
    QVERIFY(m.set(gd3 + "TMR_DIALOG_VSTR[2]", "ANSWER"));
    QVERIFY(m.set(gd3 + "TMR_DIALOG_VINT[1,3]", "1,3,2"));

    int type = -1, style = -1;
    QString message, input;
    QCOMPARE(api.GetDialogData(type, style, message, input), 0);
    QCOMPARE(type, 3);
    QCOMPARE(style, 2);
    QCOMPARE(message, QStringLiteral("Measure again?"));
    QCOMPARE(input, QStringLiteral("ANSWER"));

    // Each failed write ends the answer before the state word is touched.
    m.fail("write", gd3 + "TMR_DIALOG_VSTR[3]", 0x8032000Au, 1);
    QCOMPARE(api.SetDialogData(4, "yes"), -77);
    QCOMPARE(m.get(gd3 + "TMR_DIALOG_VINT[4]").toInt(), 0);
    QCOMPARE(m.get(gd3 + "TMR_DIALOG_VINT[1]").toInt(), 1);
    m.fail("write", gd3 + "TMR_DIALOG_VINT[4]", 0x8032000Au, 1);
    QCOMPARE(api.SetDialogData(4, "yes"), -77);
    QCOMPARE(m.get(gd3 + "TMR_DIALOG_VSTR[3]").toString(), QStringLiteral("yes"));
    QCOMPARE(m.get(gd3 + "TMR_DIALOG_VINT[1]").toInt(), 1);

    QCOMPARE(api.SetDialogData(4, "no"), 0);
    QCOMPARE(m.get(gd3 + "TMR_DIALOG_VSTR[3]").toString(), QStringLiteral("no"));
    QCOMPARE(m.get(gd3 + "TMR_DIALOG_VINT[4]").toInt(), 4);
    QCOMPARE(m.get(gd3 + "TMR_DIALOG_VINT[1]").toInt(), 2);

    m.fail("read", gd3 + "TMR_DIALOG_VINT", 0x8032000Au, 1);
    type = -1;
    message.clear();
    QCOMPARE(api.GetDialogData(type, style, message, input), -78);
    QCOMPARE(type, -1);
    QVERIFY(message.isEmpty());
}

void TestSiemensAPIOperate::sphereCentreExchange()
{
    NcMachine m;
    CSiemensAPIOperate api;

    QCOMPARE(api.SetFindSphereInputs(25.0, 10.5, 3), 0);
    QCOMPARE(m.get(gd3 + "TMR_FINDSPHERE[1,3]").toList(), (QVariantList{25.0, 10.5, 3.0}));
    QCOMPARE(api.SetFindSphereState(1), 0);
    QCOMPARE(m.get(gd3 + "TMR_FINDSPHERE[4]"), QVariant(1.0));

    QVERIFY(m.set(gd3 + "TMR_FINDSPHERE[5,3]", "1.25,-2.5,100"));
    double x = 0, y = 0, z = 0;
    QCOMPARE(api.GetFindSphereResult(x, y, z), 0);
    QCOMPARE(x, 1.25);
    QCOMPARE(y, -2.5);
    QCOMPARE(z, 100.0);

    m.fail("read", gd3 + "TMR_FINDSPHERE", 0x8032000Au, 1);
    x = y = z = 7.0;
    QCOMPARE(api.GetFindSphereResult(x, y, z), -78);
    QCOMPARE(x, 7.0);
    QCOMPARE(z, 7.0);
}

void TestSiemensAPIOperate::gudsOfABlankMachineAreUnreadable()
{
    NcMachine m(VirtualNc::Variant::Blank);
    CSiemensAPIOperate api;
    int flag = 0;
    QCOMPARE(api.ReadTmrFile(flag), -78);
    QCOMPARE(api.WriteTmrVar(0, 1.0), -77);
    // The rest of the NC answers as usual.
    int count = 0;
    QCOMPARE(api.GetRVarCount(count), 0);
}

QTEST_MAIN(TestSiemensAPIOperate)
#include "TestSiemensAPIOperate.moc"

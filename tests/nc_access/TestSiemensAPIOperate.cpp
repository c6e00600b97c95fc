// The back end's primitives over the platform services of a virtual NC: the
// value types each one accepts and the codes that come back.
#include "NcAccessFixture.h"
#include "SiemensAPIOperate.h"
#include "SlQFileSvc.h"

#include <QDateTime>

namespace {
const QString gd3 = QStringLiteral("/NC/_N_NC_GD3_ACX/");
const QString isMetric = QStringLiteral("/NC/_N_NC_TEA_ACX/$MN_SCALING_SYSTEM_IS_METRIC[U1]");
}

class TestSiemensAPIOperate : public QObject
{
    Q_OBJECT
private slots:
    void valueTypesAndCodes();
    void renameSuffixAndListOldestFirst();
    void selectedProgramInItsForms();
    void sphereCentreResult();
};

void TestSiemensAPIOperate::valueTypesAndCodes()
{
    NcMachine m;
    CSiemensAPIOperate api;

    // A BOOL reads as an int and as an array of one; an INT is no double.
    int metric = -1;
    QCOMPARE(api.ReadInt(isMetric, metric), 0);
    QCOMPARE(metric, 1);
    QList<int> flags{7};
    QCOMPARE(api.ReadArray(isMetric, flags), 0);
    QCOMPARE(flags, (QList<int>{7, 1}));
    double real = 42.0;
    QCOMPARE(api.ReadDouble(gd3 + "TMR_FILE", real), -110);
    QCOMPARE(real, 42.0);
    QString text;
    QCOMPARE(api.ReadString(gd3 + "TMR_FILE", text), -110);
    QList<double> reals;
    QCOMPARE(api.ReadArray(gd3 + "TMR_VINT[1,5]", reals), -110);

    QCOMPARE(api.WriteArray(gd3 + "TMR_DIALOG_VSTR[1,2]", QList<QString>{"Text", "Name"}), 0);
    QList<QString> strings;
    QCOMPARE(api.ReadArray(gd3 + "TMR_DIALOG_VSTR[1,3]", strings), 0);
    QCOMPARE(strings, (QList<QString>{"Text", "Name", ""}));

    // Whatever the service's own code, a failed read is -78, a write -77.
    m.fail("read", gd3 + "TMR_FILE", 0x8032000Au, 1);
    QCOMPARE(api.ReadInt(gd3 + "TMR_FILE", metric), -78);
    QCOMPARE(api.WriteArray(gd3 + "TMR_VAR[1,3]", QList<double>{1, 2}), -77);
    QCOMPARE(api.WriteInt("/Channel/State/acProg[u1,1]", 2), -77);
    m.fail("pi", "_N_SETUFR", 0x81601004u, 1);
    QCOMPARE(api.ActivateWorkOffset(), -81);
    QCOMPARE(m.nc->userFrameActivations(), 0);

    // File services hand back the platform's code as it is.
    QCOMPARE(api.CopyFile("//NC/MPF.DIR/MAIN.MPF", "//NC/MPF.DIR/A_NAME_OF_MORE_THAN_24_CHARS.MPF"),
             int(0x81501031u));
}

void TestSiemensAPIOperate::renameSuffixAndListOldestFirst()
{
    NcMachine m;
    CSiemensAPIOperate api;
    const QString share = QStringLiteral("//127.0.0.1/telmor/list/");
    const QString folder = m.path("net/127.0.0.1/telmor/list/");
    const QList<QPair<QString, qint64>> files{{"A.REQ", 3000000}, {"B.req", 1000000}, {"C.txt", 2000000}};
    for (const auto& file : files) {
        QVERIFY(NcMachine::writeFile(folder + file.first, "x"));
        QFile f(folder + file.first);
        QVERIFY(f.open(QIODevice::ReadWrite));
        QVERIFY(f.setFileTime(QDateTime::fromSecsSinceEpoch(file.second), QFileDevice::FileModificationTime));
    }
    QVERIFY(QDir().mkpath(folder + "SUB.req"));

    QList<QString> names;
    QCOMPARE(api.ListFiles(share, ".req", names), 0);
    QCOMPARE(names, (QList<QString>{"B.req", "A.REQ"}));
    names = {"kept"};
    QCOMPARE(api.ListFiles(share, QString(), names), 0);
    QCOMPARE(names, (QList<QString>{"kept", "B.req", "C.txt", "A.REQ"}));

    // Only the last dot counts.
    QCOMPARE(api.RenameFileSuffix(share + "C.txt", ".XML"), 0);
    QVERIFY(QFile::exists(folder + "C.XML"));
    QVERIFY(!QFile::exists(folder + "C.txt"));
    QVERIFY(NcMachine::writeFile(folder + "D.E.req", "x"));
    QCOMPARE(api.RenameFileSuffix(share + "D.E.req", ".REC"), 0);
    QVERIFY(QFile::exists(folder + "D.E.REC"));
    // The last dot of the whole path: in a share like this one it would be
    // one of the address's, so a name without a suffix is shown on a path
    // without dots.
    const QString noExt = m.path("card/NOEXT");
    QVERIFY(!noExt.contains('.'));
    QVERIFY(NcMachine::writeFile(noExt, "x"));
    QCOMPARE(api.RenameFileSuffix(noExt, ".REP"), 0);
    QVERIFY(QFile::exists(noExt + ".REP"));
}

void TestSiemensAPIOperate::selectedProgramInItsForms()
{
    NcMachine m;
    CSiemensAPIOperate api;
    QVERIFY(NcMachine::writeFile(m.path("nc/WKS.DIR/PART.WPD/MEAS.MPF"), "M30\n"));
    QCOMPARE(api.SelectProg("//NC/WKS.DIR/PART.WPD/MEAS.MPF", 1), 0);

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
    QCOMPARE(api.GetCurrProgPath(path, true), int(0x81501002u));
    QVERIFY(path.isEmpty());

    QVERIFY(m.nc->startProgram());
    QCOMPARE(api.SelectProg("//NC/MPF.DIR/MAIN.MPF", 1), int(SlQFileSvc::E_CHANNEL_ACTIVE));
    int ends = -1;
    QCOMPARE(api.GetCurrProgEndCount(ends), 0);
    QVERIFY(m.nc->endProgram());
    int after = -1;
    QCOMPARE(api.GetCurrProgEndCount(after), 0);
    QCOMPARE(after, ends + 1);
}

void TestSiemensAPIOperate::sphereCentreResult()
{
    NcMachine m;
    CSiemensAPIOperate api;
    QCOMPARE(api.SetFindSphereState(1), 0);
    QCOMPARE(m.get(gd3 + "TMR_FINDSPHERE[4]"), QVariant(1.0));

    QVERIFY(m.set(gd3 + "TMR_FINDSPHERE[5,3]", "1.25,-2.5,100"));
    double x = 0, y = 0, z = 0;
    QCOMPARE(api.GetFindSphereResult(x, y, z), 0);
    QCOMPARE(x, 1.25);
    QCOMPARE(y, -2.5);
    QCOMPARE(z, 100.0);
}

QTEST_MAIN(TestSiemensAPIOperate)
#include "TestSiemensAPIOperate.moc"

#include "CtlClient.h"
#include "CtlServer.h"
#include "MachineFixture.h"
#include "NcFaults.h"
#include "SlQCap.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QRandomGenerator>

namespace {
const QString var3 = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_VAR[3]");

QString bin(const QString& name) { return qEnvironmentVariable("HARVEL_BINARY_DIR") + "/bin/" + name; }

// harvel-ctl on a machine: its exit code and what it printed.
QString ctl(const QString& machine, const QStringList& args)
{
    QProcess p;
    p.start(bin("harvel-ctl"), QStringList{"--machine", machine} + args);
    if (!p.waitForFinished(30000))
        return "timeout";
    return QString::number(p.exitCode()) + " " + QString::fromUtf8(p.readAllStandardOutput() + p.readAllStandardError());
}
} // namespace

class TestNcControl : public QObject
{
    Q_OBJECT
private slots:
    void commandsDriveTheMachine();
    void hostServesTheSocket();
};

void TestNcControl::commandsDriveTheMachine()
{
    MachineFixture m;
    CtlServer server;
    m.nc->registerControl(&server);
    SlQCap cap("test");
    QRandomGenerator rng(20261122);
    QList<double> values{1.25, 0.1, 1.0 / 3.0, -0.0, 1e-300, -2.5e10, 123456789.123456789, 4.9e-324};
    for (int i = 0; i < 300; ++i) {
        quint64 bits = rng.generate64();
        double d;
        memcpy(&d, &bits, sizeof d);
        if (std::isfinite(d))
            values << d;
    }
    for (double d : values) {
        QCOMPARE(cap.write(var3, d), SL_CAP_OK);
        const CtlResult got = server.dispatch({"nc", "get", var3});
        QCOMPARE(got.out.toDouble(), d);
        QVERIFY2(got.out.size() <= QString::number(d, 'g', 17).size(), qPrintable(got.out)); // shortest form
        QCOMPARE(server.dispatch({"nc", "set", var3, "0"}).code, 0);
        QCOMPARE(server.dispatch({"nc", "set", var3, got.out}).code, 0);
        QVariant back;
        QCOMPARE(cap.read(var3, back), SL_CAP_OK);
        const double b = back.toDouble();
        QCOMPARE(memcmp(&d, &b, sizeof d), 0); // -0 stays -0
    }

    // Each row: the words after "nc", the exit code, and what the output
    // (or the error) holds; '=' for "is exactly".
    const QList<QPair<QStringList, QString>> steps{
        {{"set", "/NC/_N_NC_GD3_ACX/TMR_VAR[2,3]", "0.5,-1", "7"}, "0"},
        {{"get", "/NC/_N_NC_GD3_ACX/TMR_VAR[1,4]"}, "0 =0\n0.5\n-1\n7"},
        {{"get", "/Channel/GeometricAxis/name[u1,1,2,#3]"}, "0 =X\nY\nZ"},
        {{"get", "/NC/_N_NC_GD3_ACX/TMR_PRGISMETRIC"}, "0 =0"},
        {{"set", "/NC/_N_NC_GD3_ACX/TMR_PRGISMETRIC", "TRUE"}, "0"},
        {{"get", "/NC/_N_NC_GD3_ACX/TMR_PRGISMETRIC"}, "0 =1"},
        {{"set", "/NC/_N_NC_GD3_ACX/TMR_DIALOG_VSTR[1]", "Insert", "probe"}, "0"},
        {{"set", "/NC/_N_NC_GD3_ACX/TMR_DIALOG_VSTR[2,2]", "two words", "x"}, "0"},
        {{"get", "/NC/_N_NC_GD3_ACX/TMR_DIALOG_VSTR"}, "0 =Insert probe\ntwo words\nx"},
        {{"set", "/Channel/GeometricAxis/actProgPos[u1,3]", "99.5"}, "0"}, // read-only for programs only
        {{"set", "/NC/_N_NC_GD3_ACX/TMR_VINT[1]", "many"}, "1 0x80320004"},
        {{"get", "/NC/_N_NC_GD3_ACX/TMR_VINT[6]"}, "1 outside 1 to 5"},
        {{"program", "select", "//NC/MPF.DIR/NONE.MPF"}, "1"},
        {{"program", "select", "//NC/MPF.DIR/MAIN.MPF"}, "0"},
        {{"program", "start"}, "0"},
        {{"program", "end"}, "0"},
        {{"get", "/Channel/State/ncProgEndCounter[u1,1]"}, "0 =1"},
        {{"program"}, "0 selected=//NC/MPF.DIR/MAIN.MPF"},
        {{"mode", "jog"}, "0"},
        {{"program", "start"}, "1"},
        {{"alarm", "raise", "700001", "Probe", "broken", "--kind", "2", "--channel"}, "0"},
        {{"usb", "mount", "STICK1"}, "0"},
        {{"fault", "read", "*", "--code", "-5"}, "0"},
        {{"fault", "list"}, "0 read * --code 0xfffffffb"},
        {{"get", var3}, "0 =-1"}}; // the control's own get looks behind a fault
    for (const auto& step : steps) {
        const CtlResult r = server.dispatch(QStringList{"nc"} + step.first);
        const QString expected = step.second.mid(2);
        const QString text = r.code == 0 ? r.out : r.err;
        QVERIFY2(QString::number(r.code) == step.second.left(1) &&
                     (expected.startsWith('=') ? text == expected.mid(1) : text.contains(expected)),
                 qPrintable(step.first.join(' ') + " -> " + QString::number(r.code) + " " + text));
    }
    QCOMPARE(m.nc->axes().value(2).position, 99.5);
    QCOMPARE(m.nc->operatingMode(), VirtualNc::ModeJog);
    QCOMPARE(m.nc->alarms().value(0).text, QStringLiteral("Probe broken"));
    QCOMPARE(m.nc->alarms().value(0).kind, 2u);
    QVERIFY(m.nc->alarms().value(0).channel);
    QVERIFY(m.nc->isUsbMounted("STICK1") && QFileInfo(m.path("usb/STICK1")).isDir());
    for (const QStringList& twice : {QStringList{"alarm", "clear", "700001"}, QStringList{"usb", "unmount", "STICK1"}}) {
        QCOMPARE(server.dispatch(QStringList{"nc"} + twice).code, 0);
        QCOMPARE(server.dispatch(QStringList{"nc"} + twice).code, 1);
    }
    QVariant v;
    QCOMPARE(long(int(cap.read(var3, v))), -5L);
    QCOMPARE(server.dispatch({"nc", "fault", "clear"}).code, 0);
    QCOMPARE(server.dispatch({"nc", "fault", "write", "/NC/_N_NC_GD3_ACX/TMR_VAR", "--code", "0x80000077", "--times", "1"}).code, 0);
    QCOMPARE(unsigned(cap.write(var3, 2.0)), 0x80000077u);
    QCOMPARE(cap.write(var3, 2.0), SL_CAP_OK);
    // A delay past the caller's time-out is a time-out; within it, a late answer.
    QCOMPARE(server.dispatch({"nc", "fault", "read", "*TMR_VAR*", "--delay", "80"}).code, 0);
    QCOMPARE(cap.read(var3, v, 20), SL_CAP_ERR_TIMEOUT);
    QElapsedTimer t;
    t.start();
    QCOMPARE(cap.read(var3, v, 5000), SL_CAP_OK);
    QVERIFY(t.elapsed() >= 80);

    const QList<QStringList> usage{
        {"nc"}, {"nc", "frobnicate"}, {"nc", "get"}, {"nc", "set", var3},
        {"nc", "program", "select"}, {"nc", "program", "jump"}, {"nc", "mode", "turbo"},
        {"nc", "alarm", "raise", "x", "text"}, {"nc", "alarm", "raise", "1", "t", "--kind"},
        {"nc", "usb", "eject", "A"}, {"nc", "activate-def"},
        {"nc", "fault", "read", "*"}, {"nc", "fault", "burn", "*", "--code", "1"},
        {"nc", "fault", "read", "*", "--code", "0x1ffffffff"}, {"nc", "fault", "read", "*", "--delay", "-1"}};
    for (const QStringList& args : usage) {
        const CtlResult r = server.dispatch(args);
        QVERIFY2(r.code == 2 && !r.err.isEmpty(), qPrintable(args.join(' ')));
    }
    QCOMPARE(m.nc->faults().rules().size(), 1);
}

void TestNcControl::hostServesTheSocket()
{
    QTemporaryDir tmp;
    for (const bool blank : {false, true}) {
        const QString dir = tmp.path() + (blank ? "/blank" : "/commissioned");
        QProcess host;
        host.start(bin("harvel-nc-host"), QStringList{"--machine", dir} + (blank ? QStringList{"--blank"} : QStringList()));
        QVERIFY(host.waitForStarted(10000));
        QVERIFY(QTest::qWaitFor([&] { return CtlClient::call(dir, {"nc", "program"}, 2000).code == 0; }, 20000));
        if (blank) {
            const QString r = ctl(dir, {"nc", "get", var3});
            QVERIFY2(!r.startsWith("0 ") && r.contains("TMR_VAR is not defined") && r.contains("UGUD.DEF"), qPrintable(r));
            QVERIFY(MachineFixture::writeFile(dir + "/nc/DEF.DIR/UGUD.DEF", "DEF NCK REAL TMR_VAR[1000]\nM30\n"));
            QCOMPARE(ctl(dir, {"nc", "activate-def", "//NC/DEF.DIR/UGUD.DEF"}), QStringLiteral("0 "));
        }
        QCOMPARE(ctl(dir, {"nc", "set", var3, "1.25"}), QStringLiteral("0 "));
        QCOMPARE(ctl(dir, {"nc", "get", var3}), QStringLiteral("0 1.25\n"));
        // The host saves its retained data on the way out.
        host.terminate();
        QVERIFY(host.waitForFinished(10000));
        QString error;
        QScopedPointer<VirtualNc> nc(VirtualNc::open(dir, error));
        QVERIFY2(nc, qPrintable(error));
        QVariant v;
        QCOMPARE(nc->read(var3, v), SL_CAP_OK);
        QCOMPARE(v, QVariant(1.25));
    }
}

QTEST_GUILESS_MAIN(TestNcControl)
#include "TestNcControl.moc"

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

QString bin(const QString& name)
{
    return qEnvironmentVariable("HARVEL_BINARY_DIR") + QStringLiteral("/bin/") + name;
}

struct Run
{
    int code = -1;
    QString out;
    QString err;
};

Run ctl(const QString& machine, const QStringList& args)
{
    QProcess p;
    p.start(bin("harvel-ctl"), QStringList{"--machine", machine} + args);
    Run r;
    if (!p.waitForFinished(30000))
        return r;
    r.code = p.exitCode();
    r.out = QString::fromUtf8(p.readAllStandardOutput());
    r.err = QString::fromUtf8(p.readAllStandardError());
    return r;
}

// A harvel-nc-host process on its own machine folder.
struct Host
{
    QProcess process;
    bool start(const QString& machine, bool blank)
    {
        QStringList args{"--machine", machine};
        if (blank)
            args << "--blank";
        process.start(bin("harvel-nc-host"), args);
        if (!process.waitForStarted(10000))
            return false;
        for (int i = 0; i < 200; ++i) {
            if (CtlClient::call(machine, {"nc", "program"}, 2000).code == 0)
                return true;
            QTest::qWait(50);
        }
        return false;
    }
    ~Host()
    {
        if (process.state() != QProcess::NotRunning) {
            process.terminate();
            if (!process.waitForFinished(10000))
                process.kill();
        }
    }
};
} // namespace

class TestNcControl : public QObject
{
    Q_OBJECT
private slots:
    void doublesRoundTripExactly();
    void getPrintsRangesAndTypes();
    void commandsDriveTheMachine();
    void faultsThroughTheControl();
    void malformedCommandsAreUsageErrors();
    void hostServesTheSocket();
};

void TestNcControl::doublesRoundTripExactly()
{
    MachineFixture m;
    CtlServer server;
    m.nc->registerControl(&server);
    QRandomGenerator rng(20261122);
    QList<double> values{1.25, 0.1, 1.0 / 3.0, -0.0, 1e-300, -2.5e10, 123456789.123456789, 4.9e-324};
    for (int i = 0; i < 300; ++i) {
        quint64 bits = rng.generate64();
        double d;
        memcpy(&d, &bits, sizeof d);
        if (std::isfinite(d))
            values << d;
    }
    SlQCap cap("test");
    for (double d : values) {
        QCOMPARE(cap.write(var3, d), SL_CAP_OK);
        const CtlResult got = server.dispatch({"nc", "get", var3});
        QCOMPARE(got.code, 0);
        QCOMPARE(got.out.toDouble(), d);
        QVERIFY2(got.out.size() <= QString::number(d, 'g', 17).size(), qPrintable(got.out));
        QCOMPARE(server.dispatch({"nc", "set", var3, "0"}).code, 0);
        QCOMPARE(server.dispatch({"nc", "set", var3, got.out}).code, 0);
        QVariant back;
        QCOMPARE(cap.read(var3, back), SL_CAP_OK);
        const double b = back.toDouble();
        QCOMPARE(memcmp(&d, &b, sizeof d), 0); // -0 stays -0
    }
    QCOMPARE(server.dispatch({"nc", "set", var3, "1.25"}).code, 0);
    QCOMPARE(server.dispatch({"nc", "get", var3}).out, QStringLiteral("1.25"));
}

void TestNcControl::getPrintsRangesAndTypes()
{
    MachineFixture m;
    CtlServer server;
    m.nc->registerControl(&server);
    QCOMPARE(server.dispatch({"nc", "set", "/NC/_N_NC_GD3_ACX/TMR_VAR[2,3]", "0.5,-1", "7"}).code, 0);
    QCOMPARE(server.dispatch({"nc", "get", "/NC/_N_NC_GD3_ACX/TMR_VAR[1,4]"}).out, QStringLiteral("0\n0.5\n-1\n7"));
    QCOMPARE(server.dispatch({"nc", "get", "/Channel/GeometricAxis/name[u1,1,2,#3]"}).out, QStringLiteral("X\nY\nZ"));
    QCOMPARE(server.dispatch({"nc", "get", "/NC/_N_NC_GD3_ACX/TMR_PRGISMETRIC"}).out, QStringLiteral("0"));
    QCOMPARE(server.dispatch({"nc", "set", "/NC/_N_NC_GD3_ACX/TMR_PRGISMETRIC", "TRUE"}).code, 0);
    QCOMPARE(server.dispatch({"nc", "get", "/NC/_N_NC_GD3_ACX/TMR_PRGISMETRIC"}).out, QStringLiteral("1"));
    QCOMPARE(server.dispatch({"nc", "set", "/NC/_N_NC_GD3_ACX/TMR_DIALOG_VSTR[1]", "Insert", "probe"}).code, 0);
    QCOMPARE(server.dispatch({"nc", "get", "/NC/_N_NC_GD3_ACX/TMR_DIALOG_VSTR[1]"}).out, QStringLiteral("Insert probe"));
    QCOMPARE(server.dispatch({"nc", "set", "/NC/_N_NC_GD3_ACX/TMR_DIALOG_VSTR[2,2]", "two words", "x"}).code, 0);
    QCOMPARE(server.dispatch({"nc", "get", "/NC/_N_NC_GD3_ACX/TMR_DIALOG_VSTR"}).out,
             QStringLiteral("Insert probe\ntwo words\nx"));
    // nc set reaches what the NC keeps read-only for programs.
    QCOMPARE(server.dispatch({"nc", "set", "/Channel/GeometricAxis/actProgPos[u1,3]", "99.5"}).code, 0);
    QCOMPARE(m.nc->axes().value(2).position, 99.5);
    const CtlResult bad = server.dispatch({"nc", "set", "/NC/_N_NC_GD3_ACX/TMR_VINT[1]", "many"});
    QCOMPARE(bad.code, 1);
    QVERIFY(bad.err.contains(QLatin1String("0x80320004")));
    const CtlResult range = server.dispatch({"nc", "get", "/NC/_N_NC_GD3_ACX/TMR_VINT[6]"});
    QCOMPARE(range.code, 1);
    QVERIFY(range.err.contains(QLatin1String("outside 1 to 5")));
}

void TestNcControl::commandsDriveTheMachine()
{
    MachineFixture m;
    CtlServer server;
    m.nc->registerControl(&server);
    QCOMPARE(server.dispatch({"nc", "program", "select", "//NC/MPF.DIR/NONE.MPF"}).code, 1);
    QCOMPARE(server.dispatch({"nc", "program", "select", "//NC/MPF.DIR/MAIN.MPF"}).code, 0);
    QCOMPARE(server.dispatch({"nc", "program", "start"}).code, 0);
    QCOMPARE(server.dispatch({"nc", "program", "end"}).code, 0);
    QCOMPARE(server.dispatch({"nc", "get", "/Channel/State/ncProgEndCounter[u1,1]"}).out, QStringLiteral("1"));
    QVERIFY(server.dispatch({"nc", "program"}).out.contains(QLatin1String("selected=//NC/MPF.DIR/MAIN.MPF")));
    QCOMPARE(server.dispatch({"nc", "mode", "jog"}).code, 0);
    QCOMPARE(m.nc->operatingMode(), VirtualNc::ModeJog);
    QCOMPARE(server.dispatch({"nc", "program", "start"}).code, 1);
    QCOMPARE(server.dispatch({"nc", "alarm", "raise", "700001", "Probe", "broken", "--kind", "2", "--channel"}).code, 0);
    QCOMPARE(m.nc->alarms().value(0).text, QStringLiteral("Probe broken"));
    QCOMPARE(m.nc->alarms().value(0).kind, 2u);
    QVERIFY(m.nc->alarms().value(0).channel);
    QCOMPARE(server.dispatch({"nc", "alarm", "clear", "700001"}).code, 0);
    QCOMPARE(server.dispatch({"nc", "alarm", "clear", "700001"}).code, 1);
    QCOMPARE(server.dispatch({"nc", "usb", "mount", "STICK1"}).code, 0);
    QVERIFY(m.nc->isUsbMounted("STICK1"));
    QVERIFY(QFileInfo(m.path("usb/STICK1")).isDir());
    QCOMPARE(server.dispatch({"nc", "usb", "unmount", "STICK1"}).code, 0);
    QCOMPARE(server.dispatch({"nc", "usb", "unmount", "STICK1"}).code, 1);
}

void TestNcControl::faultsThroughTheControl()
{
    MachineFixture m;
    CtlServer server;
    m.nc->registerControl(&server);
    SlQCap cap("test");
    QCOMPARE(server.dispatch({"nc", "fault", "write", "/NC/_N_NC_GD3_ACX/TMR_VAR", "--code", "0x80000077", "--times", "1"}).code, 0);
    QCOMPARE(unsigned(cap.write(var3, 2.0)), 0x80000077u);
    QCOMPARE(cap.write(var3, 2.0), SL_CAP_OK);
    QCOMPARE(server.dispatch({"nc", "fault", "read", "*", "--code", "-5"}).code, 0);
    QVariant v;
    QCOMPARE(long(int(cap.read(var3, v))), -5L);
    // The control's own get is the way to look behind a fault.
    QCOMPARE(server.dispatch({"nc", "get", var3}).out, QStringLiteral("2"));
    QVERIFY(server.dispatch({"nc", "fault", "list"}).out.contains(QLatin1String("read * --code 0xfffffffb")));
    QCOMPARE(server.dispatch({"nc", "fault", "clear"}).code, 0);
    QCOMPARE(cap.read(var3, v), SL_CAP_OK);
    // A delay past the caller's time-out is a time-out; within it, a late answer.
    QCOMPARE(server.dispatch({"nc", "fault", "read", "*TMR_VAR*", "--delay", "80"}).code, 0);
    QCOMPARE(cap.read(var3, v, 20), SL_CAP_ERR_TIMEOUT);
    QElapsedTimer t;
    t.start();
    QCOMPARE(cap.read(var3, v, 5000), SL_CAP_OK);
    QVERIFY(t.elapsed() >= 80);
}

void TestNcControl::malformedCommandsAreUsageErrors()
{
    MachineFixture m;
    CtlServer server;
    m.nc->registerControl(&server);
    const QList<QStringList> bad{
        {"nc"}, {"nc", "frobnicate"}, {"nc", "get"}, {"nc", "set", var3},
        {"nc", "program", "select"}, {"nc", "program", "jump"}, {"nc", "mode", "turbo"},
        {"nc", "alarm", "raise", "x", "text"}, {"nc", "alarm", "raise", "1", "t", "--kind"},
        {"nc", "usb", "eject", "A"}, {"nc", "activate-def"},
        {"nc", "fault", "read", "*"}, {"nc", "fault", "burn", "*", "--code", "1"},
        {"nc", "fault", "read", "*", "--code", "0x1ffffffff"}, {"nc", "fault", "read", "*", "--delay", "-1"}};
    for (const QStringList& args : bad) {
        const CtlResult r = server.dispatch(args);
        QVERIFY2(r.code == 2, qPrintable(args.join(' ')));
        QVERIFY(!r.err.isEmpty());
    }
    QVERIFY(m.nc->faults().rules().isEmpty());
}

void TestNcControl::hostServesTheSocket()
{
    QTemporaryDir tmp;
    const QString commissioned = tmp.path() + "/commissioned";
    const QString blank = tmp.path() + "/blank";
    {
        Host host;
        QVERIFY(host.start(commissioned, false));
        Run r = ctl(commissioned, {"nc", "set", var3, "1.25"});
        QCOMPARE(r.code, 0);
        r = ctl(commissioned, {"nc", "get", var3});
        QCOMPARE(r.code, 0);
        QCOMPARE(r.out, QStringLiteral("1.25\n"));
    }
    {
        Host host;
        QVERIFY(host.start(blank, true));
        Run r = ctl(blank, {"nc", "get", var3});
        QVERIFY(r.code != 0);
        QVERIFY2(r.err.contains(QLatin1String("TMR_VAR is not defined")), qPrintable(r.err));
        QVERIFY(r.err.contains(QLatin1String("UGUD.DEF")));
        QVERIFY(MachineFixture::writeFile(blank + "/nc/DEF.DIR/UGUD.DEF", "DEF NCK REAL TMR_VAR[1000]\nM30\n"));
        QCOMPARE(ctl(blank, {"nc", "activate-def", "//NC/DEF.DIR/UGUD.DEF"}).code, 0);
        QCOMPARE(ctl(blank, {"nc", "set", var3, "1.25"}).code, 0);
        QCOMPARE(ctl(blank, {"nc", "get", var3}).out, QStringLiteral("1.25\n"));
    }
    // The hosts saved their retained data on the way out.
    for (const QString& dir : {commissioned, blank}) {
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

// The program runner of the virtual NC: its language, motion over time,
// waits on variables, stop and reset, alarms, and the shipped programs.
#include "MachineFixture.h"
#include "NcProgramRunner.h"
#include "SlQCap.h"

#include <QElapsedTimer>

namespace {

const QString gd3 = QStringLiteral("/NC/_N_NC_GD3_ACX/");

struct Runner : MachineFixture
{
    // Writes the program, selects and starts it.
    bool start(const QString& text, const QString& name = QStringLiteral("T.MPF"))
    {
        return writeFile(path("nc/MPF.DIR/" + name), text.toUtf8())
               && nc->selectProgram("//NC/MPF.DIR/" + name) == 0 && nc->startProgram();
    }
    QVariant get(const QString& address)
    {
        QVariant v;
        nc->read(address, v);
        return v;
    }
    bool ended(int timeoutMs = 10000)
    {
        return QTest::qWaitFor([&] { return nc->channelStatus() == VirtualNc::ChannelReset; }, timeoutMs);
    }
    QString alarmText() const { return nc->alarms().isEmpty() ? QString() : nc->alarms().last().text; }
    double axis(int i) const { return nc->axes().value(i).position; }
};

} // namespace

class TestProgramRunner : public QObject
{
    Q_OBJECT
private slots:
    void language_data();
    void language();
    void motionWaitsStopsAndResets();
    void errorsRaiseAnAlarmAndResetRecovers_data();
    void errorsRaiseAnAlarmAndResetRecovers();
    void shippedProgramsRun();
};

void TestProgramRunner::language_data()
{
    QTest::addColumn<QString>("program");
    // After a normal end, name=value: Rn an R parameter, Pn an axis's
    // programmed position, else a GUD.
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("R parameters, arithmetic, functions")
        << "%_N_T_MPF\n;$PATH=/_N_MPF_DIR\nN10 R1=2+3*4 R2=(2+3)*4 ; comment\n"
           "R3=SQRT(16)+ABS(-2)+TRUNC(2.7)+ROUND(2.5)\n"
           "R4=SIN(90)+COS(0)\nR5=ROUND(ATAN2(1,1)*1000)/1000\nR[6]=7 DIV 2 + 7 MOD 2\nR7=-R1/4\nM30\n"
        << QStringList{"R1=14", "R2=20", "R3=11", "R4=2", "R5=45", "R6=4", "R7=-3.5"};
    QTest::newRow("GUDs and arrays count from 0 in the program")
        << "TMR_FILE=3.6\nTMR_FINDSPHERE[3]=1 TMR_FINDSPHERE[6]=TMR_FINDSPHERE[3]*2\n"
           "TMR_DIALOG_VSTR[0]=\"A\" << 1.5 << \"B\" << TMR_FILE\nM30\n"
        << QStringList{"TMR_FILE=4", "TMR_FINDSPHERE[4]=1", "TMR_FINDSPHERE[7]=2", "TMR_DIALOG_VSTR[1]=A1.5B4"};
    QTest::newRow("local variables, IF ELSE, WHILE, labels")
        << "DEF INT _I=0, _S\nDEF REAL _V[3]\nDEF BOOL _B\nDEF STRING[10] _T\n"
           "WHILE _I<3\n_V[_I]=_I*1.5\n_S=_S+_I\n_I=_I+1\nENDWHILE\n"
           "IF (_S==3) AND NOT (_V[2]<>3)\nR1=1\nELSE\nR1=2\nENDIF\n"
           "IF _S>10\nR2=1\nELSE\nR2=2\nENDIF\n_B=_S>2 _T=\"x\" << _B\nR3=_V[1]\nGOTOF SKIP\nR4=99\n"
           "SKIP: R4=_I\nIF R4==3 GOTOF DONE\nDONE:\nIF R5<1 GOTO AGAIN\nM30\nAGAIN: R5=R5+1\nGOTOB DONE\n"
        << QStringList{"R1=1", "R2=2", "R3=1.5", "R4=3", "R5=1"};
    QTest::newRow("comparisons bind weakest, as on the NC")
        << "R1=2==2 OR 0\nR2=(2==2) OR (0==1)\nR3=2+3==5\nM2\n" << QStringList{"R1=0", "R2=1", "R3=1"};
    QTest::newRow("moves, G91, work offset, measured values")
        << "N5G90G0X10 Y-5.5 Z=100+1\nG91 X1 A=90\nG90 G1 X=$AA_IM[X]+1 F10000\nR1=$AA_IW[Y]\nG54 R2=$AA_IW[X]\n"
           "MEAS=1 G1 Z200 F6000\nR3=$AC_MEA[1]\nM17\n"
        << QStringList{"P1=12", "P3=200", "P4=90", "R1=-5.5", "R2=2", "R3=0"};
}

void TestProgramRunner::language()
{
    QFETCH(QString, program);
    QFETCH(QStringList, expected);
    Runner m;
    // G54 shifts X by 10 once the frames are active.
    QVERIFY(m.nc->set("/Channel/UserFrame/linShift[u1,7]", "10") == SL_CAP_OK);
    m.nc->activateUserFrames();
    QVERIFY(m.start(program));
    QVERIFY2(m.ended(), qPrintable(m.alarmText()));
    QVERIFY2(m.nc->alarms().isEmpty(), qPrintable(m.alarmText()));
    QCOMPARE(m.nc->programEndCount(), 1);
    for (const QString& e : expected) {
        QString address = e.section(QLatin1Char('='), 0, 0);
        if (address.startsWith(QLatin1Char('R')) || address.startsWith(QLatin1Char('P')))
            address = (address[0] == 'R' ? "/Channel/Parameter/r[u1," : "/Channel/GeometricAxis/actProgPos[u1,")
                      + address.mid(1) + "]";
        else
            address = gd3 + address;
        QCOMPARE(VirtualNc::formatValue(m.get(address)) + " at " + address, e.section(QLatin1Char('='), 1) + " at " + address);
    }
}

void TestProgramRunner::motionWaitsStopsAndResets()
{
    Runner m;
    QElapsedTimer clock;
    clock.start();
    // 30 mm at 3000 mm/min: 600 ms on the way.
    QVERIFY(m.start("G90 G1 X30 F3000\nM30\n"));
    QVector<double> seen;
    QVERIFY(QTest::qWaitFor([&] {
        if (seen.isEmpty() || seen.last() != m.axis(0))
            seen << m.axis(0);
        return m.nc->channelStatus() == VirtualNc::ChannelReset;
    }, 5000));
    QVERIFY2(clock.elapsed() >= 550, qPrintable(QString::number(clock.elapsed())));
    QVERIFY2(seen.size() >= 5, qPrintable(QString::number(seen.size())));
    QVERIFY(std::is_sorted(seen.begin(), seen.end()));
    QCOMPARE(m.axis(0), 30.0);
    QCOMPARE(m.axis(2), 250.0);

    // A program that waits on a variable, from X30.
    const QString prog = "TMR_FILE=1\nWHILE TMR_FILE==1\nG4 F0.1\nENDWHILE\nG1 X100 F600\nR1=1\nM30\n";
    QVERIFY(m.start(prog));
    QTRY_COMPARE(m.get(gd3 + "TMR_FILE"), QVariant(1));
    QTest::qWait(300);
    QCOMPARE(m.nc->channelStatus(), VirtualNc::ChannelActive); // still waiting

    // Released, it moves; a stop holds the axis, a start goes on.
    QVERIFY(m.nc->set(gd3 + "TMR_FILE", "0") == SL_CAP_OK);
    QTRY_VERIFY(m.axis(0) > 31);
    QVERIFY(m.nc->stopProgram());
    const double held = m.axis(0);
    QTest::qWait(200);
    QCOMPARE(m.axis(0), held);
    QVERIFY(m.nc->startProgram());
    QTRY_VERIFY(m.axis(0) > held);
    // Reset while moving cancels: no end counted, R1 never set.
    QVERIFY(m.nc->resetProgram());
    const double stopped = m.axis(0);
    QVERIFY(stopped < 100);
    QTest::qWait(200);
    QCOMPARE(m.axis(0), stopped);
    QCOMPARE(m.nc->programEndCount(), 1); // the motion's only
    QCOMPARE(m.get("/Channel/Parameter/r[u1,1]"), QVariant(0.0));

    // Reset while waiting; the next start begins at the top again.
    QVERIFY(m.nc->startProgram());
    QTRY_COMPARE(m.get(gd3 + "TMR_FILE"), QVariant(1));
    QVERIFY(m.nc->resetProgram());
    QVERIFY(m.nc->set(gd3 + "TMR_FILE", "0") == SL_CAP_OK);
    QTest::qWait(200);
    QCOMPARE(m.get(gd3 + "TMR_FILE"), QVariant(0));
    QCOMPARE(m.nc->channelStatus(), VirtualNc::ChannelReset);
}

void TestProgramRunner::errorsRaiseAnAlarmAndResetRecovers_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<long>("alarm");
    QTest::addColumn<QString>("text");

    QTest::newRow("unsupported") << "R1=1\nN20 POLY X10\nM30\n" << 12550L
                                 << "Channel 1 block N20 (T.MPF line 2): name POLY not defined";
    QTest::newRow("malformed") << "R1=1\nN30 R2=(1+\nM30\n" << 12080L << "Channel 1 block N30 (T.MPF line 2): syntax error";
    QTest::newRow("unknown variable") << "R1=NOPE+1\nM30\n" << 12550L << "(T.MPF line 1): name NOPE";
    QTest::newRow("no label") << "GOTOF NOWHERE\nM30\n" << 14080L << "jump destination NOWHERE not found";
    QTest::newRow("nesting") << "WHILE 1\nM30\n" << 12640L << "WHILE without ENDWHILE";
    QTest::newRow("array bounds") << "TMR_FINDSPHERE[7]=1\nM30\n" << 12400L << "element 7 does not exist";
    QTest::newRow("no feed") << "G1 X1\nM30\n" << 14800L << "velocity";
    QTest::newRow("division") << "R1=1/R2\nM30\n" << 12160L << "division by zero";
    QTest::newRow("no end") << "R1=1\n" << 14000L << "illegal end of file";
}

void TestProgramRunner::errorsRaiseAnAlarmAndResetRecovers()
{
    QFETCH(QString, program);
    QFETCH(long, alarm);
    QFETCH(QString, text);
    Runner m;
    QVERIFY(m.start(program));
    QTRY_VERIFY(!m.nc->alarms().isEmpty());
    QCOMPARE(m.nc->alarms().last().id, alarm);
    QVERIFY2(m.alarmText().contains(text), qPrintable(m.alarmText()));
    QCOMPARE(m.nc->channelStatus(), VirtualNc::ChannelInterrupted);
    // A start meets the same block again.
    QVERIFY(m.nc->startProgram());
    QTRY_COMPARE(m.nc->channelStatus(), VirtualNc::ChannelInterrupted);
    QVERIFY(m.nc->resetProgram());
    QVERIFY(m.nc->alarms().isEmpty());
    QVERIFY(m.start("R9=5\nM30\n", "OK.MPF"));
    QVERIFY(m.ended());
    QCOMPARE(m.get("/Channel/Parameter/r[u1,9]"), QVariant(5.0));
}

void TestProgramRunner::shippedProgramsRun()
{
    const QString source = qEnvironmentVariable("HARVEL_SOURCE_DIR");
    Runner m;
    // The demo: five points into the result file, TMR_FILE=1, and the end
    // only after the plug-in's part, setting it back to 0.
    QVERIFY(QFile::copy(source + "/plugin/demo_probe.mpf", m.path("nc/MPF.DIR/DEMO_PROBE.MPF")));
    QCOMPARE(m.nc->selectProgram("//NC/MPF.DIR/DEMO_PROBE.MPF"), 0L);
    QVERIFY(m.nc->startProgram());
    QVERIFY2(QTest::qWaitFor([&] { return m.get(gd3 + "TMR_FILE") == QVariant(1) || !m.nc->alarms().isEmpty(); }, 20000),
             qPrintable(m.alarmText()));
    QVERIFY2(m.nc->alarms().isEmpty(), qPrintable(m.alarmText()));
    const QStringList lines = QString::fromUtf8(MachineFixture::readFile(m.path("nc/WKS.DIR/TELMOR.WPD/RESULT.MPF")))
                                  .split('\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 6);
    QCOMPARE(lines[0], QStringLiteral("DEMO_PROBE SPHERE X0 Y0 Z222.5 R12.5"));
    QVERIFY2(lines[1].startsWith("P1 X0 Y0 Z237.9"), qPrintable(lines[1]));
    // Towards the centre along X at Y0: where the ball meets the sphere.
    QVERIFY2(lines[2].startsWith("P2 X16.72") && lines[2].endsWith(" Y0 Z222.5"), qPrintable(lines[2]));
    QTest::qWait(300);
    QCOMPARE(m.nc->channelStatus(), VirtualNc::ChannelActive);
    QVERIFY(m.nc->set(gd3 + "TMR_FILE", "0") == SL_CAP_OK);
    QVERIFY(m.ended());
    QCOMPARE(m.nc->programEndCount(), 1);

    // The sphere centre cycle: inputs in elements 1 to 3, state word 4
    // through 1 to 2, the centre in 5 to 7 in the work offset's coordinates.
    QVERIFY(QFile::copy(source + "/plugin/find_sphere_center.mpf", m.path("nc/WKS.DIR/TELMOR.WPD/find_sphere_center.mpf")));
    QVERIFY(m.nc->set("/Channel/UserFrame/linShiftFine[u1,8]", "0.5") == SL_CAP_OK); // G54 Y
    m.nc->activateUserFrames();
    QVERIFY(m.nc->set(gd3 + "TMR_FINDSPHERE[1,3]", "12.5,3,1") == SL_CAP_OK);
    QCOMPARE(m.nc->selectProgram("//NC/WKS.DIR/TELMOR.WPD/find_sphere_center.mpf"), 0L);
    QVERIFY(m.nc->startProgram());
    QTRY_COMPARE(m.get(gd3 + "TMR_FINDSPHERE[4]"), QVariant(1.0));
    QVERIFY2(m.ended(30000), qPrintable(m.alarmText()));
    QVERIFY2(m.nc->alarms().isEmpty(), qPrintable(m.alarmText()));
    QCOMPARE(m.get(gd3 + "TMR_FINDSPHERE[4]"), QVariant(2.0));
    QVERIFY(qAbs(m.get(gd3 + "TMR_FINDSPHERE[5]").toDouble() - 1.234) < 1e-6);
    QVERIFY(qAbs(m.get(gd3 + "TMR_FINDSPHERE[6]").toDouble() - (-0.567 - 0.5)) < 1e-6);
    QVERIFY(qAbs(m.get(gd3 + "TMR_FINDSPHERE[7]").toDouble() - 222.5) < 1e-6);
    QCOMPARE(m.nc->programEndCount(), 2);
}

QTEST_MAIN(TestProgramRunner)
#include "TestProgramRunner.moc"

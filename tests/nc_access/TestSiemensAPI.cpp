// CSiemensAPI turns the plug-in's vocabulary into NC addresses and the
// platform's codes into its own; here on the production back end against a
// virtual NC, so an index shifted by one shows as a wrong variable. With it
// its subscriptions (CSiemensHotlink). What never reaches the caller is in the log.
#include "NcAccessFixture.h"
#include "SiemensAPIOperate.h"
#include "SiemensHotlink.h"
#include "SlCapData.h"
#include "SlQFileSvc.h"

namespace {
const QString gd3 = QStringLiteral("/NC/_N_NC_GD3_ACX/");
const QString isMetric = QStringLiteral("/NC/_N_NC_TEA_ACX/$MN_SCALING_SYSTEM_IS_METRIC[U1]");
const QString technology = QStringLiteral("/NC/_N_CH_TEA_ACX/$MCS_TECHNOLOGY[U1]");
const QString nckType = QStringLiteral("/Nck/Configuration/nckType[1]");
const QString tmrFile = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_FILE");
const QString vint1 = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_VINT[1]");

SlCapAdviseSpec Spec(const QString& name) { return SlCapAdviseSpec(name, SlCapData::standardUpdateRate(), 0.0, 0, 0); }

// "name flag value-or-error" per entry; the NC sends at most one notification
// per update period, so waiting for one is a wait for an event, not a measurement.
bool WaitFor(QSignalSpy& spy, const QString& expected, unsigned int handle)
{
    for (int seen = 0, round = 0; round < 300; ++round, spy.wait(100))
        for (; seen < spy.count(); ++seen) {
            QStringList entries;
            for (const HotlinkResultType& r : spy.at(seen).at(1).value<QVector<HotlinkResultType>>())
                entries << QStringLiteral("%1 %2 %3").arg(r.varName.section('/', -1)).arg(r.flag ? 1 : 0)
                                                 .arg(r.errCode ? "e" + QString::number(r.errCode, 16) : r.value.toString());
            if (entries.join(", ") == expected && spy.at(seen).at(0).toUInt() == handle)
                return true;
        }
    return false;
}
}

class TestSiemensAPI : public QObject
{
    Q_OBJECT
    TestLog m_log;

private slots:
    void initTestCase() { m_log.start(); }
    void cleanupTestCase() { TestLog::stop(); }

    void variablesValueTypesAndCodes()
    {
        NcMachine m;
        CSiemensAPIOperate api;
        // TMR arrays count from zero, R parameters do not.
        QVERIFY(m.set(gd3 + "TMR_VAR[1]", "1.5"));
        double value = 0;
        QCOMPARE(api.ReadTmrVar(0, value), 0);
        QCOMPARE(value, 1.5);
        QCOMPARE(api.WriteTmrVar(999, 7.25) + api.WriteTmrVar(9, 3, QList<double>{10.0, 11.0, 12.0}) + api.WriteTmrVint(0, 4) +
                     api.WriteRVar(0, 3.5) + api.SetFindSphereState(1), 0);
        QCOMPARE(QVariantList({m.get(gd3 + "TMR_VAR[1000]"), m.get(gd3 + "TMR_VAR[10]"), m.get(gd3 + "TMR_VINT[1]"),
                               m.get("/Channel/Parameter/r[u1,0]"), m.get(gd3 + "TMR_FINDSPHERE[4]")}),
                 QVariantList({7.25, 10.0, 4, 3.5, 1.0}));
        QList<double> values{-1.0}; // appended to, not replaced
        QCOMPARE(api.ReadTmrVar(9, 3, values), 0);
        QCOMPARE(values, (QList<double>{-1.0, 10.0, 11.0, 12.0}));
        QVERIFY(m.set(gd3 + "TMR_FINDSPHERE[5,3]", "1.25,-2.5,100"));
        double x = 0, y = 0, z = 0;
        QCOMPARE(api.GetFindSphereResult(x, y, z), 0);
        QCOMPARE(QList<double>({x, y, z}), QList<double>({1.25, -2.5, 100.0}));

        // A BOOL reads as an int and as an array of one; an INT is no double.
        int metric = -1;
        QList<int> flags{7};
        QCOMPARE(api.ReadInt(isMetric, metric) + api.ReadArray(isMetric, flags), 0);
        QCOMPARE(flags << metric, (QList<int>{7, 1, 1}));
        double real = 42.0;
        QCOMPARE(api.ReadDouble(gd3 + "TMR_FILE", real), -110);
        QCOMPARE(real, 42.0);
        QString text;
        QList<double> reals;
        QCOMPARE(QList<int>({api.ReadString(gd3 + "TMR_FILE", text), api.ReadArray(gd3 + "TMR_VINT[1,5]", reals)}), QList<int>({-110, -110}));
        QCOMPARE(api.WriteArray(gd3 + "TMR_DIALOG_VSTR[1,2]", QList<QString>{"Text", "Name"}), 0);
        QList<QString> strings;
        QCOMPARE(api.ReadArray(gd3 + "TMR_DIALOG_VSTR[1,3]", strings), 0);
        QCOMPARE(strings, (QList<QString>{"Text", "Name", ""}));

        // Whatever the service's own code, a failed read is -78, a write -77;
        // result arguments stay as they were.
        m.fail("read", gd3 + "TMR_VAR", 0x80320006u, 1);
        value = 42.0;
        QCOMPARE(api.ReadTmrVar(0, value), -78);
        QCOMPARE(value, 42.0);
        m.fail("read", gd3 + "TMR_FILE", 0x8032000Au, 1);
        QCOMPARE(api.ReadInt(gd3 + "TMR_FILE", metric), -78);
        QCOMPARE(api.WriteArray(gd3 + "TMR_VAR[1,3]", QList<double>{1, 2}), -77);
        QCOMPARE(api.WriteInt("/Channel/State/acProg[u1,1]", 2), -77);
        m.fail("pi", "_N_SETUFR", 0x81601004u, 1);
        QCOMPARE(api.ActivateWorkOffset(), -81);
        QCOMPARE(m.nc->userFrameActivations(), 0);
        // File services hand back the platform's code as it is.
        QCOMPARE(api.CopyFile("//NC/MPF.DIR/MAIN.MPF", "//NC/MPF.DIR/A_NAME_OF_MORE_THAN_24_CHARS.MPF"), int(0x81501031u));
    }

    void workOffsetActivatedOnlyAfterAGoodWrite()
    {
        NcMachine m;
        CSiemensAPIOperate api;
        const int row = 2 + 1 * 6; // axis column 2 of G54 on a six-axis channel
        const QString coarse = QStringLiteral("/Channel/UserFrame/linShift[u1,%1]").arg(row);
        QCOMPARE(api.SetWorkOffset(WORKOFS_COARSE, row, 12.5) + api.SetWorkOffset(WORKOFS_FINE, row, 0.25) +
                     api.SetWorkOffset(WORKOFS_ROTATION, row, 30.0), 0);
        QCOMPARE(m.nc->userFrameActivations(), 3);
        QCOMPARE(QList<double>({m.nc->activeFrameValue("linShift", row), m.nc->activeFrameValue("linShiftFine", row),
                                m.nc->activeFrameValue("rotation", row)}), QList<double>({12.5, 0.25, 30.0}));
        // A type the NC does not have changes nothing and activates nothing.
        QCOMPARE(api.SetWorkOffset(static_cast<tagWorkofsType>(3), row, 99.0), 0);
        QCOMPARE(m.nc->userFrameActivations(), 3);
        m.fail("write", "/Channel/UserFrame/linShift", 0x80320005u, 1);
        QCOMPARE(api.SetWorkOffset(WORKOFS_COARSE, row, 50.0), -77);
        QCOMPARE(m.nc->userFrameActivations(), 3);
        QCOMPARE(m.get(coarse).toDouble(), 12.5);
        m.fail("pi", "_N_SETUFR", 0x81601004u, 1);
        QCOMPARE(api.SetWorkOffset(WORKOFS_COARSE, row, 60.0), -81);
        QCOMPARE(m.get(coarse).toDouble(), 60.0);
        QCOMPARE(m.nc->activeFrameValue("linShift", row), 12.5);
    }

    void toolNumberByExactName()
    {
        NcMachine m;
        CSiemensAPIOperate api;
        // Unreadable entry | name | code | number found. An unreadable entry before the match does not end the search.
        const QList<QStringList> lookups{{"", "PROBE_3D", "0", "12"}, {"", "probe_3d", "-104", "-1"},
                                         {"toolIdent[u1,1]", "DRILL_8", "0", "8"}, {"toolIdent[u1,2]", "DRILL_8", "-104", "-1"},
                                         {"toolNo[u1,3]", "PROBE_3D", "-103", "-1"}, {"numTools[u1]", "PROBE_3D", "-101", "-1"}};
        for (const QStringList& l : lookups) {
            if (!l[0].isEmpty())
                m.fail("read", "/Tool/Catalogue/" + l[0], 0x8032000Au, 1);
            int number = -1;
            QCOMPARE(QStringList({l[0], l[1], QString::number(api.GetToolNumberByName(l[1], number)), QString::number(number)}), l);
        }
        int number = -1;
        QVERIFY(m.set("/Tool/Catalogue/numTools[u1]", "0"));
        QCOMPARE(api.GetToolNumberByName("END_MILL_D10", number), -104);
    }

    void axesKeepTheirPlaceInTheFullList()
    {
        NcMachine m;
        CSiemensAPIOperate api;
        QVERIFY(m.set("/Channel/GeometricAxis/actProgPos[u1,1,2,#6]", "10,20,30,45,0,90"));
        auto names = [](const QList<tagAxisInfo>& axes) {
            QStringList s;
            for (const tagAxisInfo& a : axes)
                s << QStringLiteral("%1:%2:%3:%4").arg(a.name).arg(a.index).arg(int(a.type)).arg(a.value);
            return s.join(' ');
        };
        QList<tagAxisInfo> all;
        QCOMPARE(api.GetAxes(all, true), 0);
        QCOMPARE(names(all), QStringLiteral("X:0:0:0 Y:1:0:0 Z:2:0:0 A:3:1:0 SP1:4:2:0 C:5:1:0"));
        // The spindle goes, C keeps its index behind it; a second call appends.
        QList<tagAxisInfo> measurable;
        QCOMPARE(api.GetAxes(measurable, false) + api.GetAxes(measurable, false), 0);
        QCOMPARE(measurable.size(), 10);
        QCOMPARE(names(measurable.mid(4, 1)), QStringLiteral("C:5:1:0"));
        // Positions from the list read once: a later change of the axis types is not seen, even by another instance.
        QList<tagAxisInfo> axes;
        QCOMPARE(api.GetAxesPos(axes, false), 0);
        QCOMPARE(names(axes), QStringLiteral("X:0:0:10 Y:1:0:20 Z:2:0:30 A:3:1:45 C:5:1:90"));
        // A type this system does not know is kept as unknown only on request.
        QVERIFY(m.set("/Channel/GeometricAxis/type[u1,1,2,#6]", "0,0,0,1,7,1"));
        QList<tagAxisInfo> odd, kept;
        axes.clear();
        QCOMPARE(api.GetAxes(odd, true) + api.GetAxes(kept, false) + CSiemensAPIOperate().GetAxesPos(axes, false), 0);
        QVERIFY(odd.size() == 6 && odd[4].type == AXIS_UNKNOWN && kept.size() == 5 && axes.size() == 5);

        // Each failing read has its code; a count the lists do not have is refused, not padded.
        QVERIFY(m.set("/Channel/GeometricAxis/type[u1,1,2,#6]", "0,0,0,1,2,1"));
        const QList<QStringList> failures{{"read", "/Channel/Configuration/numMachAxes", "-107"}, {"set", "0", "-107"},
                                          {"set", "7", "-106"}, {"set", "6", "0"}, {"read", "/Channel/GeometricAxis/name", "-106"},
                                          {"read", "/Channel/GeometricAxis/type", "-105"}};
        for (const QStringList& f : failures) {
            if (f[0] == "read")
                m.fail("read", f[1], 0x8032000Au, 1);
            else
                QVERIFY(m.set("/Channel/Configuration/numMachAxes[u1,1]", f[1]));
            axes.clear();
            QCOMPARE(api.GetAxes(axes, true), f[2].toInt());
            QCOMPARE(axes.isEmpty(), f[2] != "0");
        }
        m.fail("read", "/Channel/GeometricAxis/actProgPos", 0x8032000Au, 1);
        axes.clear();
        QCOMPARE(api.GetAxesPos(axes, true), -109);
        QVERIFY(axes.isEmpty());
    }

    void filesAndPrograms()
    {
        NcMachine m;
        CSiemensAPIOperate api;
        const QString share = "//127.0.0.1/telmor/list/";
        const QString folder = m.path("net/127.0.0.1/telmor/list/");
        for (const auto& file : QList<QPair<QString, qint64>>{{"A.REQ", 3000000}, {"B.req", 1000000}, {"C.txt", 2000000}}) {
            QVERIFY(NcMachine::writeFile(folder + file.first, "x"));
            QFile f(folder + file.first);
            QVERIFY(f.open(QIODevice::ReadWrite) && f.setFileTime(QDateTime::fromSecsSinceEpoch(file.second), QFileDevice::FileModificationTime));
        }
        QVERIFY(QDir().mkpath(folder + "SUB.req"));
        // Oldest first, the suffix in any case, folders left out.
        QList<QString> names;
        QCOMPARE(api.ListFiles(share, ".req", names), 0);
        QCOMPARE(names, (QList<QString>{"B.req", "A.REQ"}));
        names = {"kept"};
        QCOMPARE(api.ListFiles(share, QString(), names), 0);
        QCOMPARE(names, (QList<QString>{"kept", "B.req", "C.txt", "A.REQ"}));
        // Only the last dot counts: of the whole path, so a name without a suffix is shown on a path without dots.
        const QString noExt = m.path("card/NOEXT");
        QVERIFY(!noExt.contains('.') && NcMachine::writeFile(noExt, "x") && NcMachine::writeFile(folder + "D.E.req", "x"));
        QCOMPARE(api.RenameFileSuffix(share + "C.txt", ".XML") + api.RenameFileSuffix(share + "D.E.req", ".REC") +
                     api.RenameFileSuffix(noExt, ".REP"), 0);
        QVERIFY(QFile::exists(folder + "C.XML") && !QFile::exists(folder + "C.txt") && QFile::exists(folder + "D.E.REC") &&
                QFile::exists(noExt + ".REP"));

        // The selected program in its forms.
        QVERIFY(NcMachine::writeFile(m.path("nc/WKS.DIR/PART.WPD/MEAS.MPF"), "M30\n"));
        QCOMPARE(api.SelectProg("//NC/WKS.DIR/PART.WPD/MEAS.MPF", 1), 0);
        QString path, name, piece, nc, ncName;
        QCOMPARE(api.GetCurrProgPath(nc, false) + api.GetCurrProgPath(path, true) + api.GetCurrWorkPieceName(piece, true) +
                     api.GetCurrProgName(name, true) + api.GetCurrProgName(ncName, false), 0);
        QCOMPARE(QStringList({nc, path, piece, name, ncName}),
                 QStringList({"/_N_WKS_DIR/_N_PART_WPD/_N_MEAS_MPF", "//NC/WKS.DIR/PART.WPD/MEAS.MPF", "//NC/WKS.DIR/PART.WPD/", "MEAS",
                              "_N_MEAS_MPF"}));
        // A failed conversion empties the path and hands back its code.
        m.fail("logical-path", "*", 0x81501002u, 1);
        QCOMPARE(api.GetCurrProgPath(path, true), int(0x81501002u));
        QVERIFY(path.isEmpty());
        QVERIFY(m.nc->startProgram());
        QCOMPARE(api.SelectProg("//NC/MPF.DIR/MAIN.MPF", 1), int(SlQFileSvc::E_CHANNEL_ACTIVE));
        int ends = -1, after = -1;
        QCOMPARE(api.GetCurrProgEndCount(ends), 0);
        QVERIFY(m.nc->endProgram());
        QCOMPARE(api.GetCurrProgEndCount(after), 0);
        QCOMPARE(after, ends + 1);
    }

    void machineDefinition()
    {
        NcMachine m;
        CSiemensAPIOperate api;
        // The version file, trimmed, only in its one form.
        const QList<QPair<QByteArray, int>> versions{{"<info><Version> 4.5 </Version></info>", 0},
                                                     {"<info><hmi><Version>1</Version></hmi></info>", -96},
                                                     {"<root><info><Version>1</Version></info></root>", -96}, {"<info><Version", -96}};
        for (const auto& v : versions) {
            QVERIFY(NcMachine::writeFile(m.path("card/v.xml"), v.first));
            QString got = "unchanged";
            QCOMPARE(api.GetVersionFromXmlFile(m.path("card/v.xml"), got), v.second);
            QCOMPARE(got, v.second == 0 ? QStringLiteral("4.5") : QStringLiteral("unchanged"));
        }
        QString got;
        QCOMPARE(api.GetVersionFromXmlFile(QString(), got), -93);

        // Values outside the tables empty the names.
        QVERIFY(m.set(nckType, "10701") && m.set(technology, "0"));
        tagMachDef known{"old", "old", "", true, {}};
        QCOMPARE(api.GetMachineDef(known, m.path("card/versions.xml")), 0);
        QCOMPARE(QStringList({known.model, known.cncType, known.version}), QStringList({"", "", "04.95.00.00"}));
        // Each failure leaves its field and is logged.
        for (const QString& address : {technology, nckType, QStringLiteral("/NC/_N_NC_TEA_ACX/$MN_SCALING_SYSTEM_IS_METRIC"),
                                       QStringLiteral("/Channel/Configuration/numMachAxes")})
            m.fail("read", address, 0x8032000Au);
        tagMachDef def{"M", "Turning", "V", false, {}};
        QCOMPARE(api.GetMachineDef(def, m.path("card/missing.xml")), 0);
        QCOMPARE(QStringList({def.model, def.cncType, def.version}), QStringList({"M", "Turning", "V"}));
        QVERIFY(!def.isMetric && def.axes.isEmpty());
        for (const char* line : {" | ERR | ", "Cannot get version. ErrCode=-82\n", "Cannot get cnc type. ErrCode=-78\n",
                                 "Cannot get mach model. ErrCode=-78\n", "Cannot get mach unit. ErrCode=-78\n",
                                 "Cannot get axis list. ErrCode=-107\n"})
            QVERIFY2(m_log.has(line), line);

        // Rotary table centres: the list replaced, not appended to; a failed first read does not stop the second.
        m.nc->faults().clear();
        QList<tagRotabCenter> centers{tagRotabCenter()};
        m.fail("read", "/NC/_N_CH_TEA_ACX/$MC_TRAFO5_JOINT_OFFSET_1", 0x8032000Au, 1);
        QCOMPARE(api.GetRotabCenter(centers), 0);
        QCOMPARE(centers.size(), 2);
        QVERIFY(m_log.has("Cannot read MD24560(MC_TRAFO5_JOINT_OFFSET_1). ErrCode=-78\n"));
        m.fail("read", "/NC/_N_CH_TEA_ACX/$MC_TRAFO5_BASE_TOOL_1", 0x8032000Au, 1);
        QCOMPARE(api.GetRotabCenter(centers), 0);
        QVERIFY(centers.size() == 2 && centers[0].z == 0.0 && centers[1].z == 100.0);
        QVERIFY(m_log.has("Cannot read MD24550(MC_TRAFO5_BASE_TOOL_1). ErrCode=-78\n"));
    }

    void hotlinks()
    {
        NcMachine m;
        CSiemensHotlink hotlink({Spec(tmrFile)});
        QSignalSpy spy(&hotlink, &CSiemensHotlink::signalHotlinkResult);
        QCOMPARE(hotlink.HandleID(), 0u);
        QVERIFY(hotlink.Advise(SlCapData::standardTimeout()));
        QVERIFY(hotlink.HandleID() != 0);
        QCOMPARE(spy.count(), 0); // never from inside Advise
        QVERIFY(WaitFor(spy, "TMR_FILE 1 0", hotlink.HandleID()));
        QVERIFY(m.set(tmrFile, "1"));
        QVERIFY(WaitFor(spy, "TMR_FILE 1 1", hotlink.HandleID()));
        // Unadvise is quiet; of no subscription it is logged.
        const unsigned int id = hotlink.HandleID();
        hotlink.UnAdvise();
        QVERIFY(m_log.flushed());
        QVERIFY(!m_log.text().contains(QStringLiteral("HandleID=%1,").arg(id)));
        hotlink.UnAdvise();
        QVERIFY(m_log.has("Unadvise hotlink failed. VarNames=" + tmrFile + ", HandleID=0, ErrCode=0x80320007\n"));

        // Several variables by position: only the changed one is flagged, both
        // entries stay in place, and one the NC cannot read reports its own error.
        CSiemensHotlink several({Spec(tmrFile), Spec(vint1)});
        QSignalSpy spy2(&several, &CSiemensHotlink::signalHotlinkResult);
        QVERIFY(several.Advise(SlCapData::standardTimeout()));
        QVERIFY(WaitFor(spy2, "TMR_FILE 1 1, TMR_VINT[1] 1 0", several.HandleID()));
        QVERIFY(m.set(vint1, "3"));
        QVERIFY(WaitFor(spy2, "TMR_FILE 0 1, TMR_VINT[1] 1 3", several.HandleID()));
        m.fail("read", tmrFile, 0x8032000Au);
        QVERIFY(m.set(vint1, "4"));
        QVERIFY(WaitFor(spy2, "TMR_FILE 1 e8032000a, TMR_VINT[1] 1 4", several.HandleID()));

        // Failures to subscribe are logged.
        m.nc->faults().clear();
        {
            CSiemensHotlink none({});
            QVERIFY(!none.Advise(SlCapData::standardTimeout()));
            QVERIFY(m_log.has("Advise hotlink failed. ErrInfo=No variables\n"));
        }

        m.fail("advise", tmrFile, 0x80320002u);
        CSiemensHotlink single({Spec(tmrFile)});
        QVERIFY(!single.Advise(SlCapData::standardTimeout()));
        QVERIFY(m_log.has("Advise hotlink failed. VarNames=" + tmrFile + ", ErrCode=0x80320002\n"));

        CSiemensHotlink both({Spec(vint1), Spec(tmrFile)});
        QVERIFY(!both.Advise(SlCapData::standardTimeout()));
        QVERIFY(m_log.has("Advise hotlink failed. VarNames=" + vint1 + ";" + tmrFile + ", ErrCode=0x80320002\n"));

        // The NC takes longer than the caller's time-out but well within the
        // standard one: only the single-variable path gives up.
        m.nc->faults().clear();
        m.nc->faults().add({"advise", tmrFile, 0, 200, -1});
        CSiemensHotlink slow({Spec(tmrFile)});
        QVERIFY(!slow.Advise(50));
        QVERIFY(m_log.has("VarNames=" + tmrFile + ", ErrCode=0x8032000a\n"));

        CSiemensHotlink slowSeveral({Spec(tmrFile), Spec(vint1)});
        QVERIFY(slowSeveral.Advise(50));
    }
};

QTEST_MAIN(TestSiemensAPI)
#include "TestSiemensAPI.moc"

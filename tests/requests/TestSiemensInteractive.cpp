// Request files on the template machine (axes X Y Z A SP1 C, tools 1, 8, 12 and 20), in both modes: dropped into
// the target folder's req folder and found by the asynchronous listing, or announced one by one as the net server
// does. What a request did is read back from the NC.
#include "AppCfg.h"
#include "NcAccessFixture.h"
#include "SiemensAPIOperate.h"
#include "SiemensInteractive.h"
#include "ZynNetServerHost.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QtTest>

namespace {
const QString kTmrVar = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_VAR[%1]");
// Element 1 of the access object's zero-based TMR_VINT.
const QString kSyncVar = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_VINT[2]");
const QString kRemoved = QStringLiteral("removed");
const QString kKept = QStringLiteral(".REC");
const QString kFailed = QStringLiteral(".REP");
const QStringList kFrameParts = {QStringLiteral("linShift"), QStringLiteral("linShiftFine"), QStringLiteral("rotation")};
// Frames 0 to 5 of six axes: every row a request of these tests can reach.
const int kRows = 36;
} // namespace

class TestSiemensInteractive : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_log.start(); }
    void init();
    void cleanup();
    void cleanupTestCase() { TestLog::stop(); }

    void workOffsets();
    void toolOffsets();
    void exchangeVariablesAndAnswers_data() { bothModes(); }
    void exchangeVariablesAndAnswers();
    void malformedRequests();
    void syncVariableAndNcRefusals();
    void whatEachModeLooksAt();
    void slicesOfHalfASecond_data() { bothModes(); }
    void slicesOfHalfASecond();

private:
    static void bothModes()
    {
        QTest::addColumn<bool>("netServer");
        QTest::newRow("target folder") << false;
        QTest::newRow("net server") << true;
    }
    QString applDir() const { return m_machine->path(QStringLiteral("card/oem/sinumerik/hmi/NorvaneZYN/appl")); }
    QString targetReqDir() const { return m_machine->path(QStringLiteral("net/127.0.0.1/telmor/req")); }
    QString netReqDir() const { return applDir() + QStringLiteral("/zyn/req"); }
    QString reqDir() const { return m_netServer ? netReqDir() : targetReqDir(); }
    void makeProcessor(bool netServer)
    {
        // The mode is taken from the net server host when the object is made.
        m_processor.reset();
        m_netServer = netServer;
        CZynNetServerHost::m_isRunning = netServer;
        CZynNetServerHost::m_reqDir = netServer ? netReqDir() : QString();
        m_processor.reset(new CSiemensInteractive(applDir(), m_api.data()));
        QCOMPARE(m_processor->IsNetServer(), netServer);
    }
    void setMap(const QString& wofsaxes, const QString& workoffset = QStringLiteral("FINE"))
    {
        QString target, wo, map, enable, ip, port, macro, program, result, error;
        QVERIFY(CAppCfg::m_instance.GetSettings(target, wo, map, enable, ip, port, macro, program, result));
        QVERIFY2(CAppCfg::m_instance.SetSettings(target, workoffset, wofsaxes, enable, ip, port, macro, program, result, error),
                 qPrintable(error));
    }
    QString drop(const QString& name, const QByteArray& content, int ageSeconds = 0)
    {
        const QString path = reqDir() + QLatin1Char('/') + name;
        if (!NcMachine::writeFile(path, content))
            return QString();
        QFile file(path);
        if (ageSeconds && file.open(QIODevice::ReadWrite))
            file.setFileTime(QDateTime::currentDateTime().addSecs(-ageSeconds), QFileDevice::FileModificationTime);
        return path;
    }
    // Drops one request, has it carried out and tells its fate.
    QString process(const QString& line, const QString& name = QStringLiteral("R.req"))
    {
        const QString path = drop(name, line.toUtf8());
        if (m_netServer)
            m_processor->ReceivedReqFile(path);
        m_processor->slotTimer();
        for (int i = 0; i < 2000 && QFile::exists(path); ++i)
            QTest::qWait(5);
        return fate(name);
    }
    QString fate(const QString& name) const
    {
        const QString base = reqDir() + QLatin1Char('/') + QFileInfo(name).completeBaseName();
        if (QFile::exists(reqDir() + QLatin1Char('/') + name))
            return QStringLiteral("waiting");
        return QFile::exists(base + kKept) ? kKept : QFile::exists(base + kFailed) ? kFailed : kRemoved;
    }
    double ncDouble(const QString& address) const { return m_machine->get(address).toDouble(); }
    void setNc(const QString& address, const QString& value) { QVERIFY(m_machine->set(address, value)); }
    // Every settable row that is not 0, NaN where the active frame differs.
    QMap<QString, double> frames() const
    {
        QMap<QString, double> values;
        for (const QString& part : kFrameParts) {
            for (int row = 1; row <= kRows; ++row) {
                const double settable = ncDouble(QStringLiteral("/Channel/UserFrame/%1[u1,%2]").arg(part).arg(row));
                const double active = m_machine->nc->activeFrameValue(part, row);
                if (settable != 0.0 || active != 0.0)
                    values.insert(QStringLiteral("%1 %2").arg(part).arg(row),
                                  settable == active ? settable : std::numeric_limits<double>::quiet_NaN());
            }
        }
        return values;
    }

    TestLog m_log;
    QScopedPointer<NcMachine> m_machine;
    QScopedPointer<CSiemensAPIOperate> m_api;
    QScopedPointer<CSiemensInteractive> m_processor;
    bool m_netServer = false;
};

void TestSiemensInteractive::init()
{
    m_machine.reset(new NcMachine);
    QVERIFY(m_machine->nc);
    const QString ini = applDir() + "/cfg/TMRNC.INI";
    QVERIFY(QDir().mkpath(applDir() + "/cfg") && QDir().mkpath(targetReqDir()) && QDir().mkpath(netReqDir()));
    QVERIFY(QFile::copy(HARVEL_SOURCE_DIR "/plugin/TMRNC.INI", ini));
    QFile::setPermissions(ini, QFile::ReadOwner | QFile::WriteOwner);
    QVERIFY(CAppCfg::m_instance.Initialize(applDir(), ini));
    m_api.reset(new CSiemensAPIOperate);
    makeProcessor(false);
}

void TestSiemensInteractive::cleanup()
{
    m_processor.reset();
    m_api.reset();
    m_machine.reset();
    CZynNetServerHost::m_isRunning = false;
    CZynNetServerHost::m_reqDir.clear();
}

void TestSiemensInteractive::workOffsets()
{
    // "part row value" of every settable row after the request, all others 0; each row starts at 1 where it is
    // named, so that adding shows. The line logged after "Update work offset succeeded/failed. ReqFile=R.req, ".
    const QString dash = QStringLiteral("1-2-3-0-0-0");
    const struct { bool net; QString wofsaxes, workoffset, line; QStringList expected; QString logged; } rows[] = {
        {true, dash, "FINE", "1 7 1 G55 0 0 # # # 0.01 -0.02 0.5 0", {"linShiftFine 13 1.5", "linShiftFine 14 0.98", "linShiftFine 15 1.01"},
         "GCode=G55, IsRot=0, Z=0.01, Y=-0.02, X=0.5\n"},
        {false, "123000", "COARSE", "1 7 0 G500 0 0 # # # # # 0.5 0", {"linShift 1 1.5"}, "GCode=G500, IsRot=0, X=0.5\n"},
        // The eleventh parameter is ignored; G53 acts like G54.
        {false, dash, "FINE", "1 7 0 G57 0 0 # # # # 2 # 0 extra", {"linShiftFine 26 3"}, "GCode=G57, IsRot=0, Y=2\n"},
        {true, dash, "FINE", "1 7 0 g53 0 0 # # # # # 0.25 0", {"linShiftFine 7 1.25"}, "GCode=g53, IsRot=0, X=0.25\n"},
        // R values shift A and C, B unmapped; with IsRot 1 they rotate.
        {true, "1-2-3-4-0-6", "FINE", "1 7 0 G54 0 0 3 2 1 # # # 0", {"linShiftFine 10 2", "linShiftFine 12 4"},
         "GCode=G54, IsRot=0, RZ=3, RY=2, RX=1\n"},
        {false, dash, "FINE", "1 7 0 G54 0 0 30 20 10 # # # 1", {"rotation 7 11", "rotation 8 21", "rotation 9 31"},
         "GCode=G54, IsRot=1, RZ=30, RY=20, RX=10\n"},
        {false, dash, "FINE", "1 7 0 G54 0 0 # # 10 # # # 0", {}, "GCode=G54, IsRot=0, RX=10\n"},
        {true, "0-0-0-0-0-0", "FINE", "1 7 0 G54 0 0 # # # 1 1 1 0", {}, "GCode=G54, IsRot=0, Z=1, Y=1, X=1\n"},
        {false, dash, "FINE", "1 7 0 G54 0 0 # # # # # # 0", {}, "GCode=G54, IsRot=0\n"},
        {true, dash, "FINE", "1 7 0 G54 0 0 # # # # y 1 0", {}, "ErrInfo=Invalid parameter Y\n"},
        {false, dash, "FINE", "1 7 0  0 0 # # # # # 1 0", {}, "ErrInfo=Invalid parameter GCode\n"},
        {false, dash, "FINE", "1 7 0 G54 0 0 # # # # # 1", {}, "ErrInfo=Invalid number of parameters\n"}};
    for (const auto& row : rows) {
        cleanup();
        init();
        setMap(row.wofsaxes, row.workoffset);
        makeProcessor(row.net);
        QMap<QString, double> want;
        for (const QString& entry : row.expected) {
            const QStringList parts = entry.split(QLatin1Char(' '));
            setNc(QStringLiteral("/Channel/UserFrame/%1[u1,%2]").arg(parts[0], parts[1]), QStringLiteral("1"));
            want.insert(parts[0] + QLatin1Char(' ') + parts[1], parts[2].toDouble());
        }
        // Stray rows that the request must not reach keep their value.
        if (row.expected.isEmpty()) {
            setNc(QStringLiteral("/Channel/UserFrame/linShiftFine[u1,7]"), QStringLiteral("1"));
            want.insert(QStringLiteral("linShiftFine 7"), 1.0);
        }
        m_api->ActivateWorkOffset();
        setNc(kSyncVar, QStringLiteral("3"));

        const bool failing = row.logged.startsWith(QLatin1String("ErrInfo"));
        QCOMPARE(process(row.line), failing ? kFailed : row.line.section(QLatin1Char(' '), 2, 2) == "1" ? kKept : kRemoved);
        const QMap<QString, double> have = frames();
        QCOMPARE(have.keys(), want.keys());
        for (const QString& key : want.keys())
            QVERIFY2(qAbs(have.value(key) - want.value(key)) < 1e-9, qPrintable(row.line + ": " + key));
        QCOMPARE(ncDouble(kSyncVar), failing ? 3.0 : 2.0);
        const QString logged = QStringLiteral("Update work offset %1. ReqFile=R.req, %2").arg(failing ? "failed" : "succeeded", row.logged);
        QVERIFY2(m_log.has(logged), qPrintable(logged));
    }
}

void TestSiemensInteractive::toolOffsets()
{
    // The tool's length and radius start at 1; what stands after the request, and the line logged after "Update
    // tool offset ".
    const struct { bool net; const char* line; int tool; double length, radius; const char* logged; } rows[] = {
        {false, "2 7 0 12 0 0 0.04 -0.1", 12, 0.9, 1.02, "succeeded. ReqFile=R.req, ToolNumber=12, Diameter=0.04, Length=-0.1\n"},
        {true, "2 7 0 DRILL_8 0 0 # -0.1 1", 8, 0.9, 1.0, "succeeded. ReqFile=R.req, ToolName=DRILL_8, Length=-0.1\n"},
        {false, "2 7 0 99 0 0 # #", 8, 1.0, 1.0, "succeeded. ReqFile=R.req, ToolNumber=99\n"},
        {true, "2 7 0 DRILL_9 0 0 1 1 1", 8, 1.0, 1.0, "failed. ReqFile=R.req, ToolName=DRILL_9, Diameter=1, Length=1, "
                                                      "ErrInfo=Cannot get tool number by tool name, ErrCode=-104\n"},
        {false, "2 7 0 DRILL_8 0 0 1 1 0", 8, 1.0, 1.0, "failed. ReqFile=R.req, ErrInfo=Invalid parameter ToolNumber\n"},
        {false, "2 7 0  0 0 1 1 1", 8, 1.0, 1.0, "failed. ReqFile=R.req, ErrInfo=Invalid parameter ToolName\n"},
        {true, "2 7 0 8 0 0 1 x", 8, 1.0, 1.0, "failed. ReqFile=R.req, ErrInfo=Invalid parameter Length\n"},
        {false, "2 7 0 77 0 0 # 0.5", 8, 1.0, 1.0, "failed. ReqFile=R.req, ToolNumber=77, Length=0.5, ErrInfo=Cannot get Tool[77].Length\n"},
        {false, "2 7 0 8 0 0 1", 8, 1.0, 1.0, "failed. ReqFile=R.req, ErrInfo=Invalid number of parameters\n"}};
    for (const auto& row : rows) {
        makeProcessor(row.net);
        const QString lengthAt = QStringLiteral("/Tool/Compensation/edgeData[u1,c%1,12]").arg(row.tool);
        const QString radiusAt = QStringLiteral("/Tool/Compensation/edgeData[u1,c%1,15]").arg(row.tool);
        setNc(lengthAt, "1");
        setNc(radiusAt, "1");
        setNc(kSyncVar, "1");
        const bool failing = QByteArray(row.logged).startsWith("failed");
        QCOMPARE(process(row.line), failing ? kFailed : kRemoved);
        QFile::remove(reqDir() + "/R.REP");
        QCOMPARE(ncDouble(lengthAt), row.length);
        QCOMPARE(ncDouble(radiusAt), row.radius);
        QCOMPARE(ncDouble(kSyncVar), failing ? 1.0 : 0.0);
        QVERIFY2(m_log.has(QStringLiteral("Update tool offset ") + row.logged), row.line);
    }
}

void TestSiemensInteractive::exchangeVariablesAndAnswers()
{
    QFETCH(bool, netServer);
    makeProcessor(netServer);

    QCOMPARE(process("3 7 0 25 1.5"), kRemoved);
    QVERIFY(ncDouble(kTmrVar.arg(26)) == 1.5 && m_log.has("Write variable succeeded. ReqFile=R.req, Index=25, Value=1.5\n"));
    QCOMPARE(process(QStringLiteral("3 7 1 0 -2"), QStringLiteral("FIRST.REQ")), kKept);
    QCOMPARE(process(QStringLiteral("3 7 0 999 1234567.89")), kRemoved);
    QVERIFY(ncDouble(kTmrVar.arg(1)) == -2.0 && ncDouble(kTmrVar.arg(1000)) == 1234567.89);
    // The answer lands where the request came from, nothing else is left.
    const QStringList before = QDir(applDir()).entryList(QDir::Files);
    QCOMPARE(process(QStringLiteral("4 7 0 999 ANS999.RES")), kRemoved);
    QFile answer(reqDir() + QStringLiteral("/ANS999.RES"));
    QVERIFY(answer.open(QIODevice::ReadOnly) && answer.readAll() == "1.23457e+06");
    QCOMPARE(QDir(applDir()).entryList(QDir::Files), before);
    QVERIFY(m_log.has("Read variable succeeded. ReqFile=R.req, Index=999, Value=1.23457e+06, ResFile=ANS999.RES\n"));
    QCOMPARE(process(QStringLiteral("4 7 1 0 A0.RES"), QStringLiteral("KEPT.req")), kKept);
    QVERIFY(QFile::exists(reqDir() + QStringLiteral("/A0.RES")));
    // Refused before the NC is asked, and no answer anywhere.
    const struct { const char *line, *op, *error; } bad[] = {
        {"3 7 0 1000 1", "Write", "Invalid parameter Index"}, {"3 7 0 -1 1", "Write", "Invalid parameter Index"},
        {"3 7 0 1 x", "Write", "Invalid parameter Value"},     {"3 7 0 1", "Write", "Invalid number of parameters"},
        {"4 7 0 1000 A.RES", "Read", "Invalid parameter Index"}, {"4 7 0 5", "Read", "Invalid number of parameters"},
        {"4 7 0 5  ", "Read", "Invalid parameter ResFileName"}};
    for (const auto& request : bad) {
        QCOMPARE(process(request.line), kFailed);
        QVERIFY2(m_log.has(QStringLiteral("%1 variable failed. ReqFile=R.req, ErrInfo=%2\n").arg(request.op, request.error)),
                 request.line);
        QFile::remove(reqDir() + QStringLiteral("/R.REP"));
    }
    // An answer's name holds no folder: it could reach outside the folder of answers, for the local copy as well
    // as for the one sent back. Nor is it named like a request, or it would be the next pass's request.
    const QStringList names = {"../ESC.RES", "sub/ESC.RES", "..\\ESC.RES", "b\\ESC.RES", "/tmp/harvel-ESC.RES", "..",
                               "A..RES",     "ANS.req",     "ANS.REQ",      "a.b.Req"};
    QVERIFY(QDir().mkpath(reqDir() + QStringLiteral("/sub")));
    for (int i = 0; i < names.size(); ++i) {
        const QString name = QStringLiteral("N%1.req").arg(i);
        QCOMPARE(process("4 7 0 5 " + names.at(i), name), kFailed);
        QVERIFY2(m_log.has(QStringLiteral("Read variable failed. ReqFile=%1, ErrInfo=Invalid parameter ResFileName\n").arg(name)),
                 qPrintable(names.at(i)));
    }
    for (const QString& folder : {reqDir(), reqDir() + "/sub", reqDir() + "/..", applDir(), applDir() + "/..", QString("/tmp")})
        QVERIFY2(QDir(folder).entryList({"*ESC.RES", "A..RES"}, QDir::Files).isEmpty(), qPrintable(folder));
    // An answer that cannot be written (a folder stands in its place) fails the read.
    setNc(kTmrVar.arg(8), QStringLiteral("-0.125"));
    QVERIFY(QDir().mkpath((netServer ? netReqDir() : applDir()) + QStringLiteral("/W.RES")));
    QCOMPARE(process(QStringLiteral("4 7 0 7 W.RES"), QStringLiteral("W.req")), kFailed);
    QVERIFY(m_log.has("Read variable failed. ReqFile=W.req, Index=7, Value=-0.125, ErrInfo=Cannot write res file W.RES : "));
    if (netServer)
        return;
    // The copy to the target folder fails: nothing is left behind locally.
    m_machine->fail(QStringLiteral("copy"), QStringLiteral("*/C.RES"), 0x81501005);
    QCOMPARE(process(QStringLiteral("4 7 0 7 C.RES"), QStringLiteral("C.req")), kFailed);
    QVERIFY(m_log.has("Read variable failed. ReqFile=C.req, Index=7, Value=-0.125, ErrInfo=Cannot copy "
                      "res file C.RES to //127.0.0.1/telmor/req/, ErrCode=0x81501005\n"));
    QVERIFY(!QFile::exists(applDir() + "/C.RES") && !QFile::exists(targetReqDir() + "/C.RES"));
}

void TestSiemensInteractive::malformedRequests()
{
    const QString parse = QStringLiteral("Parse req file failed. ReqFile=R.req, ErrInfo=");
    const struct { bool net; QString content, fate, logged; } rows[] = {
        {false, "", kFailed, parse + "Invalid first line of the req file\n"},
        {true, "\n3 7 0 25 1\n", kFailed, parse + "Invalid first line of the req file\n"},
        {false, "1 7 1", kFailed, parse + "Invalid number of parameters\n"},
        {true, "0 1 0 x", kFailed, parse + "Invalid parameter ReqCode\n"},
        {false, "5 1 0 x", kFailed, parse + "Invalid parameter ReqCode\n"},
        {true, "3  1 0 25 1.0", kFailed, parse + "Invalid parameter MachineId\n"},
        {false, "3 1 x 25 1.0", kFailed, parse + "Invalid parameter NeedSave\n"},
        {true, "3 1 2 25 1.0\r\n4 4 4 4\n", kRemoved, "Write variable succeeded. ReqFile=R.req, Index=25, Value=1\n"},
        {false, "3 1 1 25 \t2.5\t", kKept, "Write variable succeeded. ReqFile=R.req, Index=25, Value=2.5\n"}};
    for (const auto& row : rows) {
        makeProcessor(row.net);
        QCOMPARE(process(row.content), row.fate);
        QVERIFY2(m_log.has(row.logged), qPrintable(row.logged));
        // Nothing of the request is left beside the application.
        QCOMPARE(QDir(applDir()).entryList(QDir::Files), QStringList());
        QFile::remove(reqDir() + "/R.REP");
        QFile::remove(reqDir() + "/R.REC");
    }
    QVERIFY(m_log.has(QStringLiteral("Processing req file. ReqFile=R.req\n")));
}

void TestSiemensInteractive::syncVariableAndNcRefusals()
{
    // Counted down after each change the NC took, never below 0, never by a read or a failure; a failed count-down
    // does not fail the request.
    setNc(kSyncVar, "1");
    QCOMPARE(process("3 7 0 1 1", "S1.req"), kRemoved);
    QCOMPARE(ncDouble(kSyncVar), 0.0);
    QCOMPARE(process("3 7 0 1 1", "S2.req"), kRemoved);
    QCOMPARE(ncDouble(kSyncVar), 0.0);
    setNc(kSyncVar, "2");
    QCOMPARE(process("4 7 0 1 S3.RES", "S3.req"), kRemoved);
    QCOMPARE(ncDouble(kSyncVar), 2.0);

    m_machine->fail("read", kSyncVar, 0x80320002, 1);
    QCOMPARE(process("3 7 0 1 1", "S4.req"), kRemoved);
    QVERIFY(m_log.has("Decrement sync var failed. ReqFile=S4.req, ErrInfo=Cannot get TMR_VINT[1]\n"));
    QVERIFY(m_log.has("Write variable succeeded. ReqFile=S4.req, Index=1, Value=1\n"));
    m_machine->fail("write", kSyncVar, 0x80320002, 1);
    QCOMPARE(process("2 7 0 8 0 0 # 1", "S5.req"), kRemoved);
    QVERIFY(m_log.has("Decrement sync var failed. ReqFile=S5.req, ErrInfo=Cannot set TMR_VINT[1]=1\n"));
    QCOMPARE(ncDouble(kSyncVar), 2.0);
    QVERIFY(m_log.flushed() && !m_log.text().contains(QRegularExpression("Decrement sync var failed. ReqFile=S[12]")));
    // What the NC refuses fails the request and leaves the sync variable.
    m_machine->fail("write", kTmrVar.arg(26), 0x80320004);
    QCOMPARE(process("3 7 0 25 1.5", "F1.req"), kFailed);
    QVERIFY(m_log.has("Write variable failed. ReqFile=F1.req, ErrInfo=Cannot set TMR_VAR[25]=1.5\n"));
    m_machine->fail("read", kTmrVar.arg(26), 0x80320004);
    QCOMPARE(process("4 7 0 25 F2.RES", "F2.req"), kFailed);
    QVERIFY(m_log.has("Read variable failed. ReqFile=F2.req, ErrInfo=Cannot read TMR_VAR[25]\n"));
    QVERIFY(!QFile::exists(reqDir() + "/F2.RES"));
    // No undo: X written before Y failed stays, Z is never reached.
    setMap("123000");
    m_machine->fail("write", "/Channel/UserFrame/linShiftFine[u1,8]", 0x80320004);
    QCOMPARE(process("1 7 0 G54 0 0 # # # 3 2 1 0", "F3.req"), kFailed);
    QVERIFY(m_log.has("Update work offset failed. ReqFile=F3.req, GCode=G54, IsRot=0, Z=3, Y=2, X=1, "
                      "ErrInfo=Cannot set Wofs[1].Row[8]=2\n"));
    QCOMPARE(ncDouble("/Channel/UserFrame/linShiftFine[u1,7]"), 1.0);
    QCOMPARE(m_machine->nc->activeFrameValue("linShiftFine", 7), 1.0);
    QCOMPARE(ncDouble("/Channel/UserFrame/linShiftFine[u1,9]"), 0.0);
    m_machine->fail("read", "/Channel/Configuration/numMachAxes", 0x80320002, 1);
    QCOMPARE(process("1 7 0 G54 0 0 # # # # # 1 0", "F4.req"), kFailed);
    QVERIFY(m_log.has("Update work offset failed. ReqFile=F4.req, GCode=G54, IsRot=0, X=1, "
                      "ErrInfo=Cannot GetNumMachAxes or Num<=2\n"));
    // A written length stays when the radius then fails.
    m_machine->fail("write", "/Tool/Compensation/edgeData[u1,c8,15]", 0x80320004);
    QCOMPARE(process("2 7 0 8 0 0 2 1", "F5.req"), kFailed);
    QVERIFY(m_log.has("Update tool offset failed. ReqFile=F5.req, ToolNumber=8, Diameter=2, Length=1, "
                      "ErrInfo=Cannot set Tool[8].Radius=1\n"));
    QCOMPARE(ncDouble("/Tool/Compensation/edgeData[u1,c8,12]"), 2.0);
    QCOMPARE(ncDouble("/Tool/Compensation/edgeData[u1,c8,15]"), 0.0);
    QCOMPARE(ncDouble(kSyncVar), 2.0);
}

void TestSiemensInteractive::whatEachModeLooksAt()
{
    // The timer alone finds a file in the target folder; everything that is not a .req file is left alone.
    m_processor->Initialize();
    QVERIFY(QDir().mkpath(targetReqDir() + "/x.req"));
    for (const char* name : {"x.req/IN.req", "A.req.bak", "B.txt", "NOSUFFIX"})
        drop(name, "3 7 0 2 1");
    drop("UP.REQ", "3 7 1 3 4.5");
    QTRY_COMPARE_WITH_TIMEOUT(fate("UP.REQ"), kKept, 10000);
    QCOMPARE(ncDouble(kTmrVar.arg(4)), 4.5);
    QCOMPARE(QDir(targetReqDir()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList({"A.req.bak", "B.txt", "NOSUFFIX", "UP.REC", "x.req"}));
    QVERIFY(QFile::exists(targetReqDir() + "/x.req/IN.req"));
    QCOMPARE(ncDouble(kTmrVar.arg(3)), 0.0);
    // A request that cannot be brought over fails with the reason.
    m_machine->fail("copy", "*/M.req", 0x81501005, 1);
    QCOMPARE(process("3 7 0 2 1", "M.req"), kFailed);
    QVERIFY(m_log.has(
        QStringLiteral("Parse req file failed. ReqFile=M.req, ErrInfo=Cannot copy req file to %1/M.req (0x81501005)\n").arg(applDir())));
    // The target folder mode never looks at what is announced.
    const QString announced = netReqDir() + "/ANN.req";
    NcMachine::writeFile(announced, "3 7 0 2 1");
    m_processor->ReceivedReqFile(announced);
    QCOMPARE(process("3 7 0 5 1", "LAST.req"), kRemoved);
    QVERIFY(QFile::exists(announced));
    // The net server mode never lists: only what is announced is done, an empty announcement is passed over, and a
    // file gone by then fails.
    makeProcessor(true);
    m_processor->Initialize();
    drop("HAND.req", "3 7 0 2 1");
    m_processor->ReceivedReqFile(QString());
    m_processor->ReceivedReqFile(netReqDir() + "/GONE.req");
    m_processor->ReceivedReqFile(drop("NET.req", "3 7 0 6 1"));
    QTRY_COMPARE_WITH_TIMEOUT(fate("NET.req"), kRemoved, 10000);
    QVERIFY(m_log.has("Parse req file failed. ReqFile=GONE.req, ErrInfo=Cannot open req file : "));
    QVERIFY(QFile::exists(netReqDir() + "/HAND.req"));
    QCOMPARE(ncDouble(kTmrVar.arg(3)), 0.0);
    QCOMPARE(ncDouble(kTmrVar.arg(7)), 1.0);
    // A file service that cannot list costs a line per pass.
    m_machine->fail("init", "*", 0x81501005);
    makeProcessor(false);
    m_processor->slotTimer();
    m_processor->slotTimer();
    QVERIFY(m_log.flushed());
    QCOMPARE(m_log.text().count("Cannot list req files. ErrCode=0x81501001\n"), 2);
}

void TestSiemensInteractive::slicesOfHalfASecond()
{
    QFETCH(bool, netServer);
    makeProcessor(netServer);
    // Each request takes 300 ms at the NC: a slice ends after the second.
    m_machine->nc->faults().add({QStringLiteral("write"), QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_VAR"), 0, 300, -1});
    setNc(kSyncVar, QStringLiteral("10"));
    // Names against the age, so that the order is the files' age (target folder) or their arrival (net server),
    // never their names.
    const QStringList names = {"E.req", "D.req", "C.req", "B.req", "A.req"};
    for (int i = 0; i < names.size(); ++i) {
        const QString path = drop(names.at(i), QStringLiteral("3 7 0 %1 1").arg(i).toUtf8(), 50 - 10 * i);
        if (netServer)
            m_processor->ReceivedReqFile(path);
    }
    const auto waiting = [this] { return QDir(reqDir()).entryList({QStringLiteral("*.req")}, QDir::Files); };
    // The slice runs on this thread: once anything is gone, it has ended.
    m_processor->slotTimer();
    QTRY_VERIFY_WITH_TIMEOUT(waiting().size() < 5, 10000);
    QCOMPARE(waiting(), QStringList({"A.req", "B.req", "C.req"}));
    QCOMPARE(ncDouble(kSyncVar), 8.0);
    m_processor->slotTimer();
    QTRY_VERIFY_WITH_TIMEOUT(waiting().size() < 3, 10000);
    QCOMPARE(waiting(), QStringList({"A.req"}));
    m_processor->slotTimer();
    QTRY_VERIFY_WITH_TIMEOUT(waiting().isEmpty(), 10000);
    for (int i = 0; i < names.size(); ++i)
        QCOMPARE(ncDouble(kTmrVar.arg(i + 1)), 1.0);
    QCOMPARE(ncDouble(kSyncVar), 5.0);
}

QTEST_MAIN(TestSiemensInteractive)
#include "TestSiemensInteractive.moc"

// Defects found at the edges of the request paths, each on the template
// machine: an R range whose end passes the top of int, a received request
// already named .req, and a read answer named like a request.
#include "AppCfg.h"
#include "NcAccessFixture.h"
#include "SiemensAPIOperate.h"
#include "SiemensInteractive.h"
#include "SiemensNC.h"
#include "ZynNetServerCallback.h"
#include "ZynNetServerHost.h"

#include <QSignalSpy>
#include <QtTest>

#include <climits>

class TestRequestDefects : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_log.start(); }
    void cleanupTestCase() { TestLog::stop(); }
    void rRangesPastTheTopOfIntAreOutOfRange();
    void aReceivedRequestNamedReqIsKept();
    void anAnswerNamedLikeARequestIsRefused();

private:
    QString applDir() const { return m_machine.path(QStringLiteral("card/oem/sinumerik/hmi/NorvaneZYN/appl")); }

    TestLog m_log;
    NcMachine m_machine;
};

void TestRequestDefects::rRangesPastTheTopOfIntAreOutOfRange()
{
    QVERIFY(m_machine.nc);
    CSiemensNC service(applDir(), nullptr);
    const QString before = m_machine.get(QStringLiteral("/Channel/Parameter/r[u1,1]")).toString();
    // index + count overflows int for each of these.
    const QList<QPair<int, int>> ranges{{INT_MAX, 1}, {INT_MAX - 1, 5}, {INT_MAX / 2 + 1, INT_MAX / 2 + 1}};
    for (const auto& range : ranges) {
        QString errInfo;
        QList<double> values;
        QVERIFY(!service.ProcessReadRVar(range.first, range.second, values, errInfo));
        QVERIFY2(errInfo.startsWith(QStringLiteral("Address out of range [0, ")), qPrintable(errInfo));
        QVERIFY(values.isEmpty());
        errInfo.clear();
        QVERIFY(!service.ProcessWriteRVar(range.first, 1, {1.0}, errInfo));
        QVERIFY2(errInfo.startsWith(QStringLiteral("Address out of range [0, ")), qPrintable(errInfo));
    }
    QCOMPARE(m_machine.get(QStringLiteral("/Channel/Parameter/r[u1,1]")).toString(), before);
}

void TestRequestDefects::aReceivedRequestNamedReqIsKept()
{
    // A library that stores the file under its final name already: the
    // rename onto itself must neither lose the file nor fail.
    QTemporaryDir dir;
    const QString path = dir.path() + QStringLiteral("/A.req");
    QVERIFY(NcMachine::writeFile(path, "3 7 0 25 1.5"));
    QSignalSpy announced(&CZynNetServerCallback::m_instance, &CZynNetServerCallback::signalReceivedReqFile);
    char errInfo[64] = "x";
    QVERIFY(CZynNetServerCallback::RequestInteractiveCallback("ipv4:127.0.0.1:9", "A.req", path.toUtf8().constData(),
                                                              errInfo, sizeof errInfo));
    QCOMPARE(errInfo[0], '\0');
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("3 7 0 25 1.5"));
    QCOMPARE(announced.size(), 1);
    QCOMPARE(announced.at(0).at(0).toString(), path);
}

void TestRequestDefects::anAnswerNamedLikeARequestIsRefused()
{
    QVERIFY(m_machine.nc);
    QVERIFY(QDir().mkpath(applDir() + QStringLiteral("/cfg")));
    const QString ini = applDir() + QStringLiteral("/cfg/TMRNC.INI");
    QVERIFY(QFile::copy(QStringLiteral(HARVEL_SOURCE_DIR "/plugin/TMRNC.INI"), ini));
    QFile::setPermissions(ini, QFile::ReadOwner | QFile::WriteOwner);
    QVERIFY(CAppCfg::m_instance.Initialize(applDir(), ini));
    const QString reqDir = m_machine.path(QStringLiteral("net/127.0.0.1/telmor/req"));
    QVERIFY(QDir().mkpath(reqDir));

    // Target folder mode: an answer in the req folder named *.req would be
    // the next pass's request. Each name in any case is refused, before the
    // NC is read, and the request fails.
    CZynNetServerHost::m_isRunning = false;
    CSiemensAPIOperate api;
    CSiemensInteractive processor(applDir(), &api);
    for (const QString& answer : {QStringLiteral("ANS.req"), QStringLiteral("ANS.REQ"), QStringLiteral("a.b.Req")}) {
        QVERIFY(NcMachine::writeFile(reqDir + QStringLiteral("/R.req"), "4 7 0 25 " + answer.toUtf8()));
        QCOMPARE(processor.ProcessReqFile(false, QStringLiteral("//127.0.0.1/telmor/req/R.req")), -83);
        QVERIFY(QFile::exists(reqDir + QStringLiteral("/R.REP")));
        QVERIFY2(!QFile::exists(reqDir + QLatin1Char('/') + answer), qPrintable(answer));
        QVERIFY(QFile::remove(reqDir + QStringLiteral("/R.REP")));
    }
    QVERIFY(m_log.has(QStringLiteral("Read variable failed. ReqFile=R.req, ErrInfo=Invalid parameter ResFileName")));
}

QTEST_GUILESS_MAIN(TestRequestDefects)
#include "TestRequestDefects.moc"

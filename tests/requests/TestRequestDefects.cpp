// Defects found at the edges of the request paths: an R range whose end passes the top of int, and a received
// request already named .req. (A read answer named like a request is refused in the request test's answer flow.)
#include "NcAccessFixture.h"
#include "SiemensNC.h"
#include "ZynNetServerCallback.h"

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
        QVERIFY(!service.ProcessReadRVar(range.first, range.second, values, errInfo) && values.isEmpty());
        QVERIFY2(errInfo.startsWith(QStringLiteral("Address out of range [0, ")), qPrintable(errInfo));
        errInfo.clear();
        QVERIFY(!service.ProcessWriteRVar(range.first, 1, {1.0}, errInfo));
        QVERIFY2(errInfo.startsWith(QStringLiteral("Address out of range [0, ")), qPrintable(errInfo));
    }
    QCOMPARE(m_machine.get(QStringLiteral("/Channel/Parameter/r[u1,1]")).toString(), before);
}

void TestRequestDefects::aReceivedRequestNamedReqIsKept()
{
    // A library that stores the file under its final name already: the rename onto itself must neither lose the
    // file nor fail.
    QTemporaryDir dir;
    const QString path = dir.path() + QStringLiteral("/A.req");
    QVERIFY(NcMachine::writeFile(path, "3 7 0 25 1.5"));
    QSignalSpy announced(&CZynNetServerCallback::m_instance, &CZynNetServerCallback::signalReceivedReqFile);
    char errInfo[64] = "x";
    QVERIFY(CZynNetServerCallback::RequestInteractiveCallback("ipv4:127.0.0.1:9", "A.req", path.toUtf8().constData(),
                                                              errInfo, sizeof errInfo));
    QCOMPARE(errInfo[0], '\0');
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly) && file.readAll() == "3 7 0 25 1.5");
    QVERIFY(announced.size() == 1 && announced.at(0).at(0).toString() == path);
}

QTEST_GUILESS_MAIN(TestRequestDefects)
#include "TestRequestDefects.moc"

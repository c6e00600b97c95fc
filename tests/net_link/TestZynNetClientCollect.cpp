// The registry of net clients: peer strings as the net server library
// writes them, and what a repeated or concurrent arrival does to it.

#include "ZynNetClientCollect.h"

#include <QSet>
#include <QtTest>

#include <thread>
#include <vector>

class TestZynNetClientCollect : public QObject
{
    Q_OBJECT

private slots:
    void parsePeer_data();
    void parsePeer();
    void repeatedConnectKeepsTheFirstRecord();
    void listIsOrderedByPeerString();
    void concurrentArrivalsAndDepartures();

private:
    static tagClientInfo Find(const QString& peer, bool& found);
};

tagClientInfo TestZynNetClientCollect::Find(const QString& peer, bool& found)
{
    for (const tagClientInfo& info : CZynNetClientCollect::GetClientList()) {
        if (info.peer == peer) {
            found = true;
            return info;
        }
    }
    found = false;
    return tagClientInfo();
}

void TestZynNetClientCollect::parsePeer_data()
{
    QTest::addColumn<QString>("peer");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QString>("protocol");
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("port");

    QTest::newRow("ipv4") << "ipv4:10.0.0.7:5000" << true << "ipv4" << "10.0.0.7" << 5000;
    // The address keeps every colon between the first and the last.
    QTest::newRow("ipv6 loopback") << "ipv6:[::1]:43210" << true << "ipv6" << "[::1]" << 43210;
    QTest::newRow("blanks around the parts") << " ipv4 : 1.2.3.4 : 80 " << true << "ipv4" << "1.2.3.4" << 80;
    QTest::newRow("no colon") << "unix" << false << "" << "" << 0;
    QTest::newRow("one colon") << "unix:/tmp/socket" << false << "unix" << "" << 0;
    QTest::newRow("no address") << "ipv4::80" << false << "ipv4" << "" << 0;
    QTest::newRow("port too big") << "ipv4:1.2.3.4:70000" << false << "ipv4" << "1.2.3.4" << 0;
}

void TestZynNetClientCollect::parsePeer()
{
    QFETCH(QString, peer);
    QFETCH(bool, ok);
    QFETCH(QString, protocol);
    QFETCH(QString, address);
    QFETCH(int, port);

    tagClientInfo info;
    QCOMPARE(CZynNetClientCollect::ParsePeer(peer, info), ok);
    QCOMPARE(info.protocol, protocol);
    QCOMPARE(info.address, address);
    if (ok)
        QCOMPARE(int(info.port), port);
}

void TestZynNetClientCollect::repeatedConnectKeepsTheFirstRecord()
{
    const QString peer = QStringLiteral("ipv6:[::1]:50001");
    QVERIFY(CZynNetClientCollect::AddOrUpdateClient(peer, QStringLiteral("ReadRVar"), false));
    bool found = false;
    const tagClientInfo first = Find(peer, found);
    QVERIFY(found);
    QVERIFY(first.id > 0);
    QCOMPARE(first.method, QStringLiteral("ReadRVar"));
    QVERIFY(first.connectTime.isValid());
    QCOMPARE(first.updateTime, first.connectTime);

    // Arriving again, even with another method and later, is no new client.
    QTest::qWait(5);
    QVERIFY(CZynNetClientCollect::AddOrUpdateClient(peer, QStringLiteral("Subscribe"), false));
    const tagClientInfo again = Find(peer, found);
    QVERIFY(found);
    QCOMPARE(again.id, first.id);
    QCOMPARE(again.connectTime, first.connectTime);
    QCOMPARE(again.updateTime, first.updateTime);
    QCOMPARE(again.method, QStringLiteral("ReadRVar"));

    // Gone and back is a new client.
    QVERIFY(CZynNetClientCollect::AddOrUpdateClient(peer, QString(), true));
    Find(peer, found);
    QVERIFY(!found);
    QVERIFY(CZynNetClientCollect::AddOrUpdateClient(peer, QStringLiteral("Subscribe"), false));
    const tagClientInfo back = Find(peer, found);
    QVERIFY(found);
    QVERIFY(back.id > first.id);
    QCOMPARE(back.method, QStringLiteral("Subscribe"));

    // A departure nobody arrived for changes nothing and is no error.
    const int before = CZynNetClientCollect::GetClientList().size();
    QVERIFY(CZynNetClientCollect::AddOrUpdateClient(QStringLiteral("ipv4:10.9.9.9:1"), QString(), true));
    QCOMPARE(CZynNetClientCollect::GetClientList().size(), before);

    QVERIFY(CZynNetClientCollect::AddOrUpdateClient(peer, QString(), true));
}

void TestZynNetClientCollect::listIsOrderedByPeerString()
{
    const QStringList arrivals = {QStringLiteral("ipv6:[::1]:7"), QStringLiteral("ipv4:192.168.0.2:9000"),
                                  QStringLiteral("ipv4:10.0.0.3:80")};
    QVERIFY(CZynNetClientCollect::AddOrUpdateClient(arrivals.at(0), QStringLiteral("ReadRVar"), false));
    // A client with a peer string nobody can read never shows up, and
    // spends no number.
    const QString unreadable = QStringLiteral("ipv4:1.2.3.4:70000");
    QVERIFY(!CZynNetClientCollect::AddOrUpdateClient(QString(), QStringLiteral("ReadRVar"), false));
    QVERIFY(!CZynNetClientCollect::AddOrUpdateClient(unreadable, QStringLiteral("ReadRVar"), false));
    QVERIFY(CZynNetClientCollect::AddOrUpdateClient(arrivals.at(1), QStringLiteral("ReadRVar"), false));
    QVERIFY(CZynNetClientCollect::AddOrUpdateClient(arrivals.at(2), QStringLiteral("ReadRVar"), false));

    QStringList listed;
    QList<quint64> ids;
    for (const tagClientInfo& info : CZynNetClientCollect::GetClientList()) {
        QVERIFY(info.peer != unreadable);
        if (arrivals.contains(info.peer)) {
            listed << info.peer;
            ids << info.id;
        }
    }
    QCOMPARE(listed, (QStringList{QStringLiteral("ipv4:10.0.0.3:80"), QStringLiteral("ipv4:192.168.0.2:9000"),
                                  QStringLiteral("ipv6:[::1]:7")}));
    // Ids follow the arrivals, not the order of the list.
    QCOMPARE(ids.at(1), ids.at(0) - 1);
    QCOMPARE(ids.at(2), ids.at(1) - 1);
    for (const QString& peer : arrivals)
        CZynNetClientCollect::AddOrUpdateClient(peer, QString(), true);
}

void TestZynNetClientCollect::concurrentArrivalsAndDepartures()
{
    // The library reports from several threads while the main thread reads.
    const int threads = 4;
    const int perThread = 300;
    std::vector<std::thread> writers;
    for (int t = 0; t < threads; ++t) {
        writers.emplace_back([t] {
            for (int i = 0; i < perThread; ++i) {
                const QString peer = QStringLiteral("ipv4:10.1.%1.%2:%3").arg(t).arg(i % 250).arg(1000 + i);
                CZynNetClientCollect::AddOrUpdateClient(peer, QStringLiteral("ReadRVar"), false);
                CZynNetClientCollect::AddOrUpdateClient(peer, QStringLiteral("ReadRVar"), false);
                if (i % 2)
                    CZynNetClientCollect::AddOrUpdateClient(peer, QString(), true);
            }
        });
    }
    // What the main thread reads meanwhile is always whole records.
    int torn = 0;
    for (int i = 0; i < 200; ++i) {
        for (const tagClientInfo& info : CZynNetClientCollect::GetClientList()) {
            if (info.id == 0 || info.address.isEmpty() || !info.connectTime.isValid())
                ++torn;
        }
    }
    for (std::thread& writer : writers)
        writer.join();
    QCOMPARE(torn, 0);

    QSet<quint64> ids;
    int ours = 0;
    for (const tagClientInfo& info : CZynNetClientCollect::GetClientList()) {
        if (!info.peer.startsWith(QStringLiteral("ipv4:10.1.")))
            continue;
        ++ours;
        ids.insert(info.id);
        CZynNetClientCollect::AddOrUpdateClient(info.peer, QString(), true);
    }
    // Every second peer stayed, each under an id of its own.
    QCOMPARE(ours, threads * perThread / 2);
    QCOMPARE(ids.size(), ours);
}

QTEST_GUILESS_MAIN(TestZynNetClientCollect)
#include "TestZynNetClientCollect.moc"

#pragma once

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QString>

#include <shared_mutex>

// One net client as the net server library reported it.
struct tagClientInfo
{
    quint64 id = 0;         // serial number in this process, the first is 1
    QString peer;           // "ipv4:10.0.0.7:5000", "ipv6:[::1]:5000"
    QString protocol;       // "ipv4", "ipv6"
    QString address;        // between the first and the last colon
    quint16 port = 0;
    QDateTime connectTime;
    QString method;         // the call the client arrived with
    QDateTime updateTime;
};

// The clients the net server library has connected, for the log export
// screen to offer as targets. Written on the library's threads, read in
// the HMI main thread: the one structure both sides touch without a signal.
class CZynNetClientCollect
{
public:
    CZynNetClientCollect() = delete;

    static bool AddOrUpdateClient(const QString& peer, const QString& method, bool disconnected);
    static QList<tagClientInfo> GetClientList();
    static bool ParsePeer(const QString& peer, tagClientInfo& info);

private:
    static QMap<QString, tagClientInfo> m_clients;
    // A standard lock, not a QReadWriteLock: Qt's locks wait inside Debian's
    // uninstrumented libQt5Core, where a thread checker cannot see them.
    static std::shared_mutex m_lock;
    static quint64 m_currentId;
};

#include "ZynNetClientCollect.h"

#include "MiscUtility.h"

#include <mutex>

QMap<QString, tagClientInfo> CZynNetClientCollect::m_clients;
std::shared_mutex CZynNetClientCollect::m_lock;
quint64 CZynNetClientCollect::m_currentId = 0;

bool CZynNetClientCollect::ParsePeer(const QString& peer, tagClientInfo& info)
{
    if (peer.isEmpty())
        return false;
    const int schemeEnd = peer.indexOf(QLatin1Char(':'));
    if (schemeEnd < 0)
        return false;
    info.protocol = peer.left(schemeEnd).trimmed();
    if (info.protocol.isEmpty())
        return false;
    // An IPv6 address holds colons of its own; only the last one of the
    // rest can end it.
    const QString rest = peer.mid(schemeEnd + 1);
    const int portStart = rest.lastIndexOf(QLatin1Char(':'));
    if (portStart < 0)
        return false;
    info.address = rest.left(portStart).trimmed();
    if (info.address.isEmpty())
        return false;
    const QString portText = rest.mid(portStart + 1).trimmed();
    if (portText.isEmpty())
        return false;
    return CMiscUtility::QStr2UShort(portText, info.port);
}

bool CZynNetClientCollect::AddOrUpdateClient(const QString& peer, const QString& method, bool disconnected)
{
    if (peer.isEmpty())
        return false;

    const QDateTime now = QDateTime::currentDateTime();
    std::lock_guard<std::shared_mutex> locker(m_lock);

    if (disconnected) {
        m_clients.remove(peer);
        return true;
    }

    // A peer that arrives again keeps the record of its first arrival: its
    // id and connect time are what the export screen knows it by, and a
    // repeated connect must not make it look like a new client.
    if (m_clients.contains(peer))
        return true;

    tagClientInfo info;
    if (!ParsePeer(peer, info))
        return false;
    info.id = ++m_currentId;
    info.peer = peer;
    info.connectTime = now;
    info.method = method;
    info.updateTime = now;
    m_clients.insert(peer, info);
    return true;
}

QList<tagClientInfo> CZynNetClientCollect::GetClientList()
{
    std::shared_lock<std::shared_mutex> locker(m_lock);
    return m_clients.values();
}

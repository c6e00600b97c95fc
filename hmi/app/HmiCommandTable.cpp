#include "HmiCommandTable.h"

void HmiCommandTable::add(const QString& verb, const QString& usage, CtlServer::Handler handler)
{
    if (!m_entries.contains(verb))
        m_order << verb;
    m_entries.insert(verb, Entry{usage, std::move(handler)});
}

CtlResult HmiCommandTable::dispatch(const QStringList& args) const
{
    if (args.isEmpty())
        return CtlResult::fail(QStringLiteral("usage: %1").arg(usage()), 2);
    const auto it = m_entries.constFind(args.first());
    if (it == m_entries.constEnd())
        return CtlResult::fail(QStringLiteral("unknown hmi command '%1'; usage: %2").arg(args.first(), usage()), 2);
    return it->handler(args.mid(1));
}

QString HmiCommandTable::usage() const
{
    QStringList lines;
    for (const QString& verb : m_order)
        lines << QStringLiteral("hmi ") + m_entries.value(verb).usage;
    return lines.join(QStringLiteral(" | "));
}

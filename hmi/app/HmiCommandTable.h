#pragma once

#include "CtlServer.h"

#include <QMap>
#include <QString>
#include <QStringList>

// The one table of `hmi` verbs. Each verb is a small handler with its own
// usage line, so a new command is a new entry, not a new branch in a
// growing dispatcher.
class HmiCommandTable
{
public:
    void add(const QString& verb, const QString& usage, CtlServer::Handler handler);
    // Runs the verb named by the first argument with the rest.
    CtlResult dispatch(const QStringList& args) const;
    // Every verb's usage, in the order they were added.
    QString usage() const;

private:
    struct Entry
    {
        QString usage;
        CtlServer::Handler handler;
    };
    QMap<QString, Entry> m_entries;
    QStringList m_order;
};

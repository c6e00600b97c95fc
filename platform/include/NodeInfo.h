#pragma once

#include <QMetaType>
#include <QString>

// One entry of a folder listing of the file service.
class NodeInfo
{
public:
    QString m_name;             // name without folder
    QString m_path;             // the folder as it was asked for, "/", the name
    bool m_isFolder = false;
    long long m_size = -1;      // bytes; -1 for folders
    int m_lastWriteTime = -1;   // seconds since the epoch, signed 32-bit

    // The same fields under the names of the service's older interface.
    const QString& name() const { return m_name; }
    const QString& path() const { return m_path; }
    bool isFolder() const { return m_isFolder; }
    long long size() const { return m_size; }
    int lastWriteTime() const { return m_lastWriteTime; }
};

Q_DECLARE_METATYPE(NodeInfo)

#pragma once

#include "NodeInfo.h"

#include <QMetaType>
#include <QVector>

// The entries of one listing, in the order the file system gives them.
class NodeInfoArray : public QVector<NodeInfo>
{
public:
    NodeInfoArray() = default;
    NodeInfoArray(const QVector<NodeInfo>& other) : QVector<NodeInfo>(other) {}
};

Q_DECLARE_METATYPE(NodeInfoArray)

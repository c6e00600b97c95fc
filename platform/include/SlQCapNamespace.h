#pragma once

#include "SlCapErrorEnum.h"

#include <QString>

// Makes the names of a data block (e.g. "/NC/_N_NC_GD3_ACX") known to the
// variable service, so that symbolic addresses inside it resolve.
class SlQCapNamespace
{
public:
    SlQCapNamespace(const QString& nameSpace, const char* subNamespace = nullptr);

    // Fails with SL_CAP_ERR_UNKNOWN_ITEM while the block has no definitions.
    SlCapErrorEnum map(unsigned int timeout, unsigned long long flags = 0);
    bool isMapped() const { return m_mapped; }
    QString nameSpace() const { return m_nameSpace; }

private:
    QString m_nameSpace;
    bool m_mapped = false;
};

#pragma once

#include <QString>

// How a program invocation went.
class SlPiSvcStatus
{
public:
    long m_result = 0;      // 0, or the code start() returned
    QString m_piName;       // e.g. "_N_SETUFR"
    QString m_errorText;    // why the NC refused, empty on success
};

#pragma once

#include "CtlServer.h"

// The other end of CtlServer: sends one command to the machine running in
// machineDir and waits for its answer. Used by harvel-ctl and by tests that
// drive a harvel-hmi process.
class CtlClient
{
public:
    static CtlResult call(const QString& machineDir, const QStringList& args, int timeoutMs = 30000);
};

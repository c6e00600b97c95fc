#pragma once

#include "SlPiSvcStatus.h"
#include "SlString.h"
#include "SlVector.h"

// A program invocation (PI service) of the NC: arguments are the target
// ("/NC"), the area and unit as one number ("201": channel 1) and the service
// name ("_N_SETUFR"), then the service's own parameters.
class SlPiSvc
{
public:
    static constexpr long E_ARGUMENTS = static_cast<int>(0x81601001u);  // too few or malformed arguments
    static constexpr long E_UNKNOWN_PI = static_cast<int>(0x81601002u); // the NC has no such service
    static constexpr long E_NO_NC = static_cast<int>(0x81601003u);
    static constexpr long E_REFUSED = static_cast<int>(0x81601004u);    // the NC refused in its current state

    explicit SlPiSvc(SlVector<SlString>& args);

    // Runs the service and waits for the NC's answer; 0 on success.
    long start(SlPiSvcStatus& status);

private:
    SlVector<SlString> m_args;
};

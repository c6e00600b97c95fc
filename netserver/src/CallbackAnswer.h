#ifndef CALLBACKANSWER_H
#define CALLBACKANSWER_H

#include <grpcpp/support/status.h>

#include <cstddef>
#include <string>

// How the plug-in's answer becomes the client's. A callback that says no
// with words is an answer (ok false, err_info); one that says no without
// any has found nobody in the HMI to ask, which the client must not take
// for the machine's refusal.
class CallbackAnswer
{
public:
    static constexpr std::size_t kErrInfoSize = 1024;

    static grpc::Status Settle(const char* method, bool ok, const char* errBuffer,
                               std::size_t errSize, std::string& errInfo);
    static grpc::Status NoHandler(const char* method);
};

#endif

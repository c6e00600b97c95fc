#include "CallbackAnswer.h"

#include "Utf8Text.h"

grpc::Status CallbackAnswer::Settle(const char* method, bool ok, const char* errBuffer,
                                    std::size_t errSize, std::string& errInfo)
{
    errInfo = Utf8Text::FromBuffer(errBuffer, errSize);
    if (!ok && errInfo.empty())
        return grpc::Status(grpc::StatusCode::UNAVAILABLE,
                            std::string("nobody in the HMI answers ") + method + " now");
    return grpc::Status::OK;
}

grpc::Status CallbackAnswer::NoHandler(const char* method)
{
    return grpc::Status(grpc::StatusCode::UNAVAILABLE,
                        std::string("the HMI has no handler for ") + method);
}

#include "MachineService.h"

#include "CallbackAnswer.h"
#include "NetServer.h"
#include "PathPolicy.h"
#include "UnaryCall.h"
#include "Utf8Text.h"

#include <vector>

using namespace harvel::net::v1;

namespace {

// Big enough for a machine of many axes; the plug-in cuts what is longer.
constexpr std::size_t kDocumentSize = 1024 * 1024;
constexpr std::size_t kInputValueSize = 4096;

grpc::Status CheckText(const std::string& text, int limit, const char* what)
{
    if (text.find('\0') != std::string::npos)
        return grpc::Status(grpc::StatusCode::INVALID_ARGUMENT,
                            std::string(what) + " holds a NUL character");
    if (text.size() > std::size_t(limit))
        return grpc::Status(grpc::StatusCode::RESOURCE_EXHAUSTED,
                            std::string(what) + " is longer than " + std::to_string(limit)
                                + " bytes");
    return grpc::Status::OK;
}

template <class Reply, class Fn>
grpc::Status AskForDocument(Fn callback, const char* method, const std::string& peer,
                            Reply& reply)
{
    if (!callback)
        return CallbackAnswer::NoHandler(method);
    std::vector<char> content(kDocumentSize, '\0');
    char err[CallbackAnswer::kErrInfoSize] = {};
    const bool ok = callback(peer.c_str(), content.data(), unsigned(content.size()), err,
                             unsigned(sizeof err));
    std::string errInfo;
    const grpc::Status status = CallbackAnswer::Settle(method, ok, err, sizeof err, errInfo);
    reply.set_ok(ok);
    reply.set_err_info(errInfo);
    if (ok)
        reply.set_content(Utf8Text::FromBuffer(content.data(), content.size()));
    return status;
}

}  // namespace

MachineService::MachineService(NetServer& server)
    : m_server(server)
{
}

grpc::ServerUnaryReactor* MachineService::ReadRVar(grpc::CallbackServerContext* ctx,
                                                   const ReadRVarRequest* request,
                                                   ReadRVarReply* reply)
{
    const auto callback = m_server.Callbacks().Get<ZynReadRVarCallback>(ZYN_CB_READ_RVAR);
    const int index = request->index();
    const int count = request->count();
    const int limit = m_server.Config().maxRVarCount;
    grpc::Status check;
    if (count > limit)
        check = grpc::Status(grpc::StatusCode::OUT_OF_RANGE,
                             "count is over the limit of " + std::to_string(limit));
    return UnaryCall<ReadRVarReply>::Run(
        m_server, ctx, "ReadRVar", reply, check,
        [callback, index, count](const std::string& peer, ReadRVarReply& out) {
            if (!callback)
                return CallbackAnswer::NoHandler("ReadRVar");
            std::vector<double> values(count > 0 ? std::size_t(count) : 0, 0.0);
            char err[CallbackAnswer::kErrInfoSize] = {};
            const bool ok = callback(peer.c_str(), index, count,
                                     values.empty() ? nullptr : values.data(), err,
                                     unsigned(sizeof err));
            std::string errInfo;
            const grpc::Status status =
                CallbackAnswer::Settle("ReadRVar", ok, err, sizeof err, errInfo);
            out.set_ok(ok);
            out.set_err_info(errInfo);
            if (ok)
                for (double v : values)
                    out.add_values(v);
            return status;
        });
}

grpc::ServerUnaryReactor* MachineService::WriteRVar(grpc::CallbackServerContext* ctx,
                                                    const WriteRVarRequest* request, Reply* reply)
{
    const auto callback = m_server.Callbacks().Get<ZynWriteRVarCallback>(ZYN_CB_WRITE_RVAR);
    const int index = request->index();
    std::vector<double> values(request->values().begin(), request->values().end());
    const int limit = m_server.Config().maxRVarCount;
    grpc::Status check;
    if (values.size() > std::size_t(limit))
        check = grpc::Status(grpc::StatusCode::OUT_OF_RANGE,
                             "more values than the limit of " + std::to_string(limit));
    return UnaryCall<Reply>::Run(
        m_server, ctx, "WriteRVar", reply, check,
        [callback, index, values](const std::string& peer, Reply& out) {
            if (!callback)
                return CallbackAnswer::NoHandler("WriteRVar");
            char err[CallbackAnswer::kErrInfoSize] = {};
            const bool ok = callback(peer.c_str(), index, int(values.size()),
                                     values.empty() ? nullptr : values.data(), err,
                                     unsigned(sizeof err));
            std::string errInfo;
            const grpc::Status status =
                CallbackAnswer::Settle("WriteRVar", ok, err, sizeof err, errInfo);
            out.set_ok(ok);
            out.set_err_info(errInfo);
            return status;
        });
}

grpc::ServerUnaryReactor* MachineService::SelectProgram(grpc::CallbackServerContext* ctx,
                                                        const SelectProgramRequest* request,
                                                        Reply* reply)
{
    const auto callback =
        m_server.Callbacks().Get<ZynSelectProgramCallback>(ZYN_CB_SELECT_PROGRAM);
    std::string program;
    const grpc::Status check = m_server.Paths().CheckProgram(request->program(), program);
    return UnaryCall<Reply>::Run(
        m_server, ctx, "SelectProgram", reply, check,
        [callback, program](const std::string& peer, Reply& out) {
            if (!callback)
                return CallbackAnswer::NoHandler("SelectProgram");
            char err[CallbackAnswer::kErrInfoSize] = {};
            const bool ok = callback(peer.c_str(), program.c_str(), err, unsigned(sizeof err));
            std::string errInfo;
            const grpc::Status status =
                CallbackAnswer::Settle("SelectProgram", ok, err, sizeof err, errInfo);
            out.set_ok(ok);
            out.set_err_info(errInfo);
            return status;
        });
}

grpc::ServerUnaryReactor* MachineService::SendMessage(grpc::CallbackServerContext* ctx,
                                                      const MessageRequest* request,
                                                      MessageReply* reply)
{
    const auto callback = m_server.Callbacks().Get<ZynSendMsgCallback>(ZYN_CB_SEND_MSG);
    const int limit = m_server.Config().maxTextBytes;
    grpc::Status check = CheckText(request->text(), limit, "text");
    if (check.ok())
        check = CheckText(request->input_name(), limit, "input_name");
    if (check.ok() && (request->style() < 0 || request->style() > 5))
        check = grpc::Status(grpc::StatusCode::INVALID_ARGUMENT,
                             "style " + std::to_string(request->style())
                                 + " is none of the message styles 0 to 5");
    if (check.ok() && (request->type() < 0 || request->type() > 1))
        check = grpc::Status(grpc::StatusCode::INVALID_ARGUMENT,
                             "type " + std::to_string(request->type())
                                 + " is none of the message types 0 (text) and 1 (with input)");
    const MessageRequest message = *request;
    NetServer& server = m_server;
    const auto clientAction =
        m_server.Callbacks().Get<ZynClientActionCallback>(ZYN_CB_CLIENT_ACTION);
    return UnaryCall<MessageReply>::RunAsync(
        m_server, ctx, "SendMessage", reply, check,
        [callback, clientAction, message, &server](
            std::shared_ptr<UnaryCall<MessageReply>::Completion> completion) {
            const std::string peer = completion->Peer();
            // A sender that left before its turn puts nothing on the screen.
            if (!completion->IsOpen())
                return;
            // A message stands on the operator's screen until answered; when
            // its sender stops waiting, the HMI is told so that it can take
            // the message down. The notice goes the way of arrivals and
            // departures, before the departure it may cause.
            if (clientAction) {
                const std::string method = "SendMessage:" + std::to_string(message.id());
                completion->OnAbandoned([&server, clientAction, peer, method] {
                    if (!server.Stopping())
                        server.PostEvent([clientAction, peer, method] {
                            clientAction(peer.c_str(), method.c_str(), ZYN_CLIENT_CALL_ABANDONED);
                        });
                });
            }
            MessageReply out;
            if (!callback) {
                completion->Done(CallbackAnswer::NoHandler("SendMessage"), out);
                return;
            }
            int clicked = 0;
            std::vector<char> input(kInputValueSize, '\0');
            char err[CallbackAnswer::kErrInfoSize] = {};
            const bool ok = callback(peer.c_str(), message.id(), message.type(), message.style(),
                                     message.text().c_str(), message.input_name().c_str(),
                                     &clicked, input.data(), unsigned(input.size()), err,
                                     unsigned(sizeof err));
            std::string errInfo;
            const grpc::Status status =
                CallbackAnswer::Settle("SendMessage", ok, err, sizeof err, errInfo);
            out.set_ok(ok);
            out.set_err_info(errInfo);
            out.set_clicked_button(clicked);
            out.set_input_value(Utf8Text::FromBuffer(input.data(), input.size()));
            completion->Done(status, std::move(out));
        });
}

grpc::ServerUnaryReactor* MachineService::GetMachineConfiguration(grpc::CallbackServerContext* ctx,
                                                                  const Empty*,
                                                                  DocumentReply* reply)
{
    const auto callback = m_server.Callbacks().Get<ZynGetMachineConfigurationCallback>(
        ZYN_CB_GET_MACHINE_CONFIGURATION);
    return UnaryCall<DocumentReply>::Run(
        m_server, ctx, "GetMachineConfiguration", reply, grpc::Status::OK,
        [callback](const std::string& peer, DocumentReply& out) {
            return AskForDocument(callback, "GetMachineConfiguration", peer, out);
        });
}

grpc::ServerUnaryReactor* MachineService::GetCalibrationResult(grpc::CallbackServerContext* ctx,
                                                               const Empty*, DocumentReply* reply)
{
    const auto callback = m_server.Callbacks().Get<ZynGetCalibrationResultCallback>(
        ZYN_CB_GET_CALIBRATION_RESULT);
    return UnaryCall<DocumentReply>::Run(
        m_server, ctx, "GetCalibrationResult", reply, grpc::Status::OK,
        [callback](const std::string& peer, DocumentReply& out) {
            return AskForDocument(callback, "GetCalibrationResult", peer, out);
        });
}

grpc::ServerUnaryReactor* MachineService::GetSkipPosition(grpc::CallbackServerContext* ctx,
                                                          const Empty*, SkipPositionReply* reply)
{
    const auto callback =
        m_server.Callbacks().Get<ZynGetSkipPositionCallback>(ZYN_CB_GET_SKIP_POSITION);
    return UnaryCall<SkipPositionReply>::Run(
        m_server, ctx, "GetSkipPosition", reply, grpc::Status::OK,
        [callback](const std::string& peer, SkipPositionReply& out) {
            if (!callback)
                return CallbackAnswer::NoHandler("GetSkipPosition");
            double x = 0, y = 0, z = 0, a = 0, b = 0, c = 0;
            char err[CallbackAnswer::kErrInfoSize] = {};
            const bool ok =
                callback(peer.c_str(), &x, &y, &z, &a, &b, &c, err, unsigned(sizeof err));
            std::string errInfo;
            const grpc::Status status =
                CallbackAnswer::Settle("GetSkipPosition", ok, err, sizeof err, errInfo);
            out.set_ok(ok);
            out.set_err_info(errInfo);
            out.set_x(x);
            out.set_y(y);
            out.set_z(z);
            out.set_a(a);
            out.set_b(b);
            out.set_c(c);
            return status;
        });
}

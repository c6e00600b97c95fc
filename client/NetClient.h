#ifndef NETCLIENT_H
#define NETCLIENT_H

#include "harvel_net_v1.grpc.pb.h"

#include <grpcpp/grpcpp.h>

#include <memory>
#include <string>
#include <vector>

// One connection to the machine and one method per command. Every method
// returns the process's exit code: 0 the machine said yes, 1 it said no
// (its words on stderr), 2 the request got no answer.
class NetClient
{
public:
    enum Exit { kYes = 0, kNo = 1, kFailed = 2 };

    struct Tls
    {
        bool enabled = false;
        std::string caFile;
        std::string certFile;
        std::string keyFile;
        std::string serverName;
    };

    NetClient(const std::string& server, const Tls& tls, double timeoutSeconds,
              bool progress);
    bool Ok() const { return m_error.empty(); }
    const std::string& Error() const { return m_error; }

    int ReadR(int index, int count);
    int WriteR(int index, const std::vector<double>& values);
    int Select(const std::string& program);
    int SkipPosition();
    int Message(unsigned long long id, int type, int style, const std::string& text,
                const std::string& inputName);
    int MachineConfig();
    int Calibration();
    int Exists(const std::string& path);
    int Upload(int fileType, const std::string& file);
    int Download(const std::string& path, const std::string& outFile);
    int Request(const std::string& line, const std::string& name);
    int Watch(const std::string& journalDir, const std::string& logDir, long long count);

    static std::string Number(double value);

private:
    void Prepare(grpc::ClientContext& ctx, bool mayWait) const;
    int Transport(const grpc::Status& status) const;
    int Answer(bool ok, const std::string& errInfo) const;

    std::string m_server;
    std::string m_error;
    double m_timeout;
    bool m_progress;
    std::shared_ptr<grpc::Channel> m_channel;
    std::unique_ptr<harvel::net::v1::Machine::Stub> m_machine;
    std::unique_ptr<harvel::net::v1::Files::Stub> m_files;
    std::unique_ptr<harvel::net::v1::Notifications::Stub> m_notifications;
};

#endif

#ifndef SERVERCONFIG_H
#define SERVERCONFIG_H

#include <cstdint>
#include <string>

// The settings of the net server, from ZynNetServer.conf beside the
// library. The plug-in's own settings name only address and port; what a
// site needs beyond that (TLS, limits) lives here so that the plug-in
// needs no change for it. A missing file means plain text and defaults.
class ServerConfig
{
public:
    enum class ClientAuth { None, Request, Require };

    bool tls = false;
    std::string certificateFile;
    std::string privateKeyFile;
    std::string clientCaFile;
    ClientAuth clientAuth = ClientAuth::None;

    // Where the NC file system (//NC/) lies in this host's file system,
    // when it is one of the host's (the virtual machine); the path fence
    // then follows //NC/ paths to their real place too.
    std::string ncFolder;

    int maxMessageBytes = 4 * 1024 * 1024;
    std::uint64_t maxUploadBytes = 256ull * 1024 * 1024;
    std::uint64_t maxDownloadBytes = 1024ull * 1024 * 1024;
    int maxRequestFileBytes = 64 * 1024;
    int maxRVarCount = 10000;
    int maxTextBytes = 16 * 1024;
    int maxWorkers = 32;
    int maxQueuedRequests = 1024;
    int keepaliveSeconds = 10;
    int keepaliveTimeoutSeconds = 5;
    int clientIdleSeconds = 30;

    // Reads path; false with a reason if the file exists but is unusable.
    // Relative file names in it are taken relative to the file's folder.
    bool Load(const std::string& path, std::string& error);

    // ZynNetServer.conf in the folder of the loaded library.
    static std::string DefaultPath();
};

#endif

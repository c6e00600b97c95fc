#ifndef PATHPOLICY_H
#define PATHPOLICY_H

#include <grpcpp/support/status.h>

#include <string>

// What a client may name. The plug-in would hand any path to the NC's file
// service, so the fence stands here: the NC file system (//NC/...) and the
// plug-in's application folder, nothing else, and never a '..'.
class PathPolicy
{
public:
    explicit PathPolicy(const std::string& applDir);

    // A path to read or test. normalized gets '/' for '\'.
    grpc::Status CheckServedPath(const std::string& path, std::string& normalized) const;
    // A program to select: a bare name, or a path as above.
    grpc::Status CheckProgram(const std::string& program, std::string& normalized) const;
    // A file name without any folder.
    static grpc::Status CheckFileName(const std::string& name, const char* what);

private:
    bool InsideApplDir(const std::string& path) const;

    std::string m_applDir;      // normalized, without trailing slash
    std::string m_realApplDir;  // with symbolic links resolved
};

#endif

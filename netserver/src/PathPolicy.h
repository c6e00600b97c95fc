#ifndef PATHPOLICY_H
#define PATHPOLICY_H

#include "FileHandle.h"

#include <grpcpp/support/status.h>

#include <string>
#include <vector>

// What a client may name. The plug-in would hand any path to the NC's file
// service, so the fence stands here: the NC file system (//NC/...) and the
// plug-in's application folder, nothing else, and never a '..'.
//
// Names are not trusted to stay where they seem: a served folder may hold
// symbolic links, and they may change at any time. Wherever a served path
// lies in this machine's own file system (the application folder always,
// the NC file system when the configuration names its folder), the path
// is opened the way the kernel opens it, links and links to links
// followed, and the real location of the opened file is what is judged.
// Whoever reads or writes afterwards uses that descriptor, not the name.
class PathPolicy
{
public:
    // ncFolder: where //NC/ lies on this machine, empty when the NC's file
    // system is not one of the host's (it then answers for its own files).
    PathPolicy(const std::string& applDir, const std::string& ncFolder);

    // A path to read or test. normalized gets '/' for '\'. When file is
    // given and the path names an existing file of the host, file holds it
    // opened with O_PATH; hostPath (when given) gets the host path, empty
    // for a path the host cannot see.
    grpc::Status CheckServedPath(const std::string& path, std::string& normalized,
                                 FileHandle* file = nullptr, std::string* hostPath = nullptr) const;
    // A program to select: a bare name, or a path as above.
    grpc::Status CheckProgram(const std::string& program, std::string& normalized) const;
    // A local file named by the plug-in (never by a client): opened as the
    // kernel opens it, and refused unless it lies in a served folder.
    grpc::Status OpenLocalFile(const std::string& path, FileHandle& file) const;
    // Creates the new file name (a bare name) in folder for writing. The
    // folder is opened and checked first, and the file made inside that
    // very folder without following a link, so nothing lands elsewhere.
    grpc::Status CreateFile(const std::string& folder, const std::string& name,
                            FileHandle& file) const;
    // A file name without any folder.
    static grpc::Status CheckFileName(const std::string& name, const char* what);

private:
    bool HostPath(const std::string& normalized, std::string& host) const;
    grpc::Status Fence(const std::string& shown, const std::string& host, FileHandle* file) const;
    bool Inside(const std::string& real) const;
    grpc::Status Denied(const std::string& shown) const;

    std::string m_applDir;    // normalized, without trailing slash
    std::string m_ncFolder;   // where //NC/ lies, empty if not on this host
    std::vector<std::string> m_realRoots;  // the served folders, links resolved
};

#endif

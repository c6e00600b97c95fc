// Paths and names from a client, through the net server's fence. The
// application folder and the NC's folder each hold a link that leads out.
// Whatever the text, what passes is free of control characters and '.' or
// '..' parts, and what exists of it lies really inside the application
// folder or, for //NC/..., inside the NC's folder.
#include "FuzzSupport.h"
#include "PathPolicy.h"

#include <climits>
#include <cstdlib>
#include <unistd.h>

namespace {
PathPolicy* g_policy = nullptr;
std::string g_realAppl;
std::string g_realNc;

bool HasDotPart(const std::string& path)
{
    const QStringList parts = QString::fromStdString(path).split('/');
    return parts.contains(QStringLiteral(".")) || parts.contains(QStringLiteral(".."));
}

void CheckServed(const std::string& in, const std::string& path)
{
    const QString shown = QString::fromStdString(in);
    for (unsigned char c : path)
        FUZZ_CHECK(c >= 0x20 && c != 0x7F, shown);
    FUZZ_CHECK(path.find('\\') == std::string::npos, shown);
    FUZZ_CHECK(!HasDotPart(path), shown);
    std::string host = path;
    std::string root = g_realAppl;
    if (path.size() >= 5 && path[0] == '/' && path[1] == '/' && (path[2] | 0x20) == 'n' && (path[3] | 0x20) == 'c'
        && path[4] == '/') {
        host = g_realNc + path.substr(4);
        root = g_realNc;
    }
    // Whatever exists of it lies inside the real application folder.
    std::string probe = host;
    char resolved[PATH_MAX];
    while (!probe.empty() && !realpath(probe.c_str(), resolved))
        probe.erase(probe.find_last_of('/') == std::string::npos ? 0 : probe.find_last_of('/'));
    FUZZ_CHECK(!probe.empty(), shown);
    const std::string real = resolved;
    FUZZ_CHECK(real == root || real.rfind(root + "/", 0) == 0, shown + " -> " + QString::fromStdString(real));
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzz::Init();
    const QString appl = fuzz::Dir() + QStringLiteral("/appl");
    QDir().mkpath(appl + QStringLiteral("/report"));
    const QString nc = fuzz::Dir() + QStringLiteral("/nc");
    QDir().mkpath(nc + QStringLiteral("/MPF.DIR"));
    QDir().mkpath(fuzz::Dir() + QStringLiteral("/outside"));
    if (symlink("../outside", (appl + QStringLiteral("/out")).toLocal8Bit().constData()) != 0 ||
        symlink("../../outside", (nc + QStringLiteral("/MPF.DIR/out")).toLocal8Bit().constData()) != 0)
        fuzz::Fail("symlink", appl);
    char resolved[PATH_MAX];
    g_realAppl = realpath(appl.toLocal8Bit().constData(), resolved);
    g_realNc = realpath(nc.toLocal8Bit().constData(), resolved);
    g_policy = new PathPolicy(appl.toStdString(), nc.toStdString());
    return 0;
}

// The first byte picks the check, the rest is the text. "@" stands for the
// application folder, so that the fuzzer need not guess a temporary name.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    for (std::size_t at = text.find('@'); at != std::string::npos; at = text.find('@', at + g_realAppl.size()))
        text.replace(at, 1, g_realAppl);
    std::string normalized;
    switch (data[0] % 3) {
    case 0:
        if (g_policy->CheckServedPath(text, normalized).ok())
            CheckServed(text, normalized);
        break;
    case 1:
        if (g_policy->CheckProgram(text, normalized).ok() && normalized.find('/') != std::string::npos)
            CheckServed(text, normalized);
        break;
    default:
        if (PathPolicy::CheckFileName(text, "file").ok()) {
            FUZZ_CHECK(text.find('/') == std::string::npos && text.find('\\') == std::string::npos,
                       QString::fromStdString(text));
            FUZZ_CHECK(text != "." && text != "..", QString::fromStdString(text));
        }
        break;
    }
    return 0;
}

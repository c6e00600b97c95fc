// A peer as gRPC names it, turned into the net server's peer string and
// handed to the plug-in's client registry: whatever the text, a client is
// recorded only with a scheme, an address and a port, and leaves again.
#include "FuzzSupport.h"
#include "PeerTracker.h"
#include "ZynNetClientCollect.h"

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzz::Init();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string peer =
        PeerTracker::PeerString(std::string(reinterpret_cast<const char*>(data), size));
    FUZZ_CHECK(peer.size() <= size, QString::fromStdString(peer));
    // The callback bridge takes the peer as Latin-1 text.
    const QString text = QString::fromLatin1(peer.data(), int(peer.size()));

    tagClientInfo info;
    const bool parsed = CZynNetClientCollect::ParsePeer(text, info);
    if (parsed) {
        FUZZ_CHECK(!info.protocol.isEmpty() && !info.address.isEmpty(), text);
        FUZZ_CHECK(!info.protocol.contains(':'), info.protocol);
    }
    const bool added = CZynNetClientCollect::AddOrUpdateClient(text, QStringLiteral("Fuzz"), false);
    FUZZ_CHECK(added == parsed, text);
    FUZZ_CHECK(CZynNetClientCollect::GetClientList().size() == (added ? 1 : 0), text);
    FUZZ_CHECK(text.isEmpty() || CZynNetClientCollect::AddOrUpdateClient(text, QString(), true), text);
    FUZZ_CHECK(CZynNetClientCollect::GetClientList().isEmpty(), text);
    return 0;
}

// The card's half of the card-to-host DMA check: connects to the host, lets it write a pattern into
// the card's windows, checks every word, and gives a reply for the host to read back.
#include <cerrno>

#include "Peer.h"

namespace {

using peer::Buffers;
using peer::Endpoint;
using peer::Folder;
using peer::Meet;

constexpr int kConnectAttempts = 2;
constexpr int kConnectPauses = 30 * Folder::kPausesPerSecond;

void Connect(const Endpoint& endpoint, U16 hostNode, const Folder& folder) {
    endpoint.Bind(folder);
    vorl_portID host{hostNode, peer::kPort};
    for (int attempt = 1; vorl_connect(endpoint.Get(), &host) < 0; ++attempt) {
        if (errno != ECONNREFUSED || attempt == kConnectAttempts)
            throw peer::LibraryFailure("vorl_connect");
        for (int pause = 0; pause < kConnectPauses; ++pause)
            folder.Pause();
    }
}

// Waits until everything that the host has begun is in the windows.
void Fence(const Endpoint& endpoint) {
    int mark = 0;
    if (vorl_fence_mark(endpoint.Get(), VORL_FENCE_INIT_PEER, &mark) != 0)
        throw peer::LibraryFailure("vorl_fence_mark");
    if (vorl_fence_wait(endpoint.Get(), mark) != 0)
        throw peer::LibraryFailure("vorl_fence_wait");
}

void Exchange(const peer::Shape& shape, const Folder& folder) {
    Buffers buffers(shape, 0);
    const Endpoint endpoint;
    Connect(endpoint, shape.hostNode, folder);
    buffers.Register(endpoint);
    Meet(endpoint, "vorl_register done");

    Meet(endpoint, "peer vorl_writeto wait");
    Fence(endpoint);
    buffers.VerifyAndRefill(peer::kWritten, peer::kReply);
    Meet(endpoint, "peer vorl_writeto content verification done");
    Meet(endpoint, "peer vorl_readfrom and content verification wait");
    if (shape.keepRegistered)
        return;
    buffers.Unregister(endpoint);
    Meet(endpoint, "Unregister Done");
}

}  // namespace

int main(int argc, char** argv) {
    return peer::Run("ZelVorlConnectDMA", argc, argv, Exchange);
}

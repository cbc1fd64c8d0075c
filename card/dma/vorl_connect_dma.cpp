// The card's half of the card-to-host DMA check: connects to the host, lets it write a pattern into
// the card's windows, checks every word, and gives a reply for the host to read back.
#include <unistd.h>

#include <cerrno>

#include "Peer.h"

namespace {

using peer::Buffers;
using peer::Endpoint;
using peer::Folder;
using peer::Meet;

constexpr int kConnectAttempts = 2;
constexpr int kConnectPauses = 30 * Folder::kPausesPerSecond;
constexpr int kEndMilliseconds = 2000;
constexpr useconds_t kMomentMicroseconds = 200'000;

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

// The host takes its own half for failed when that still runs behind the end of this program. So the
// host is let close its end first, and then has a moment for what it does behind that.
void AwaitHostsEnd(const Endpoint& endpoint) {
    const auto isOpen = [&endpoint] {
        char byte = 0;
        return vorl_recv(endpoint.Get(), &byte, 1, 0) >= 0 || errno == EAGAIN;
    };
    for (int milliseconds = 0; isOpen() && milliseconds < kEndMilliseconds; ++milliseconds)
        usleep(1000);
    usleep(kMomentMicroseconds);
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
    if (!shape.keepRegistered) {
        buffers.Unregister(endpoint);
        Meet(endpoint, "Unregister Done");
    }
    AwaitHostsEnd(endpoint);
}

}  // namespace

int main(int argc, char** argv) {
    return peer::Run("ZelVorlConnectDMA", argc, argv, Exchange);
}

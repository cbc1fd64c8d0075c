// The card's half of the host-to-card DMA check: accepts the host's connection, writes a pattern into
// the host's windows, reads the host's reply back and checks every word of it.
#include <cerrno>

#include "Peer.h"

namespace {

using peer::Buffers;
using peer::Endpoint;
using peer::Folder;
using peer::Meet;

// Longer than the host tries to connect; without a limit a program whose host has given up would wait
// for ever.
constexpr int kAcceptSeconds = 120;

Endpoint Listen(const Folder& folder) {
    Endpoint listening;
    listening.Bind(folder);
    if (vorl_listen(listening.Get(), 1) < 0)
        throw peer::LibraryFailure("vorl_listen");
    return listening;
}

// The next connection from the host; others are sent away.
Endpoint Accept(const Endpoint& listening, U16 hostNode, const Folder& folder) {
    for (int pause = 0; pause < kAcceptSeconds * Folder::kPausesPerSecond; ++pause) {
        vorl_portID from{};
        int epd = -1;
        if (vorl_accept(listening.Get(), &from, &epd, 0) == 0) {
            Endpoint accepted(epd);
            if (from.node == hostNode)
                return accepted;
        } else if (errno != EAGAIN) {
            throw peer::LibraryFailure("vorl_accept");
        } else {
            folder.Pause();
        }
    }
    throw peer::Failure("the host has not connected");
}

void Exchange(const peer::Shape& shape, const Folder& folder) {
    const Endpoint listening = Listen(folder);
    Buffers buffers(shape, peer::kWritten);
    const Endpoint endpoint = Accept(listening, shape.hostNode, folder);
    buffers.Register(endpoint);
    Meet(endpoint, "vorl_register done");

    buffers.WriteToHost(endpoint);
    Meet(endpoint, "vorl_writeto done");
    Meet(endpoint, "vorl_writeto peer content verification wait");

    buffers.ReadFromHost(endpoint);
    buffers.VerifyAndRefill(peer::kReply, peer::kWritten);
    Meet(endpoint, "vorl_readfrom done");
    if (shape.keepRegistered)
        return;
    buffers.Unregister(endpoint);
    Meet(endpoint, "Unregister done");
}

}  // namespace

int main(int argc, char** argv) {
    return peer::Run("ZelVorlAcceptDMA", argc, argv, Exchange);
}

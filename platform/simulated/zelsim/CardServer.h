// Makes the cards reachable over the network: each card that runs its operating system listens on its
// own address, and every connection gets an sshd whose root is the card's root folder. A card that
// cannot be reached does not listen: connections are refused.
//
// The host's first process serves; sshd itself starts with the first connection, so that a host whose
// command never calls a card does not wait for it.
#pragma once

#include <sys/resource.h>
#include <sys/types.h>

#include <map>
#include <vector>

#include "common/UniqueFd.h"
#include "host/HostState.h"

namespace simulated {

class CardServer {
public:
    // Listens for every card of the host that can be reached. Throws HostError. `host` must live as
    // long as this.
    explicit CardServer(const HostState& host);

    // Readable when there is something to serve.
    int Events() const { return events_.Get(); }

    // Serves what there is, without waiting.
    void Serve();

    // A child of this process has ended.
    void ChildEnded(pid_t child) { sessions_.erase(child); }

    // Undoes in a child, before it becomes another program, what this process needs for itself.
    void PrepareChild() const;

private:
    void RaiseFileLimit();
    void ServeEvent(U64 what);
    void FollowModes();
    void WakeAt(U64 time);
    void StartListening(std::size_t card);
    void StopCard(std::size_t card);
    void Accept(std::size_t card);
    [[noreturn]] void BecomeSshd(std::size_t card, int connection) const;

    const HostState& host_;
    rlimit fileLimit_{};
    platform::UniqueFd events_;
    platform::UniqueFd modeChanges_;
    platform::UniqueFd arrival_;  // readable when a card arrives in the mode to which it goes
    std::vector<platform::UniqueFd> listeners_;  // a card each; not open while it cannot be reached
    std::vector<bool> started_;                  // cards that have had a connection
    std::map<pid_t, std::size_t> sessions_;      // sshd processes and their cards
};

}  // namespace simulated

// Operations that are to fail and transfers that are to go wrong, as the state of the simulated host
// has them.
#include "vorl/Fault.h"

#include "host/HostState.h"

namespace vorl {
namespace {

struct Host {
    const simulated::HostState* state = nullptr;  // null where there is none
    int error = 0;                                // why it cannot be had although there is one
};

Host OpenHost() {
    try {
        return {.state = simulated::HostState::Open().release()};
    } catch (const simulated::HostStateError& failure) {
        return {.error = failure.Error()};
    }
}

// Never destroyed: threads may still be in the library when the process ends.
const Host& TheHost() {
    static const Host host = OpenHost();
    return host;
}

}  // namespace

bool InjectFault(const char* call, int* error) {
    const simulated::HostState* const state = TheHost().state;
    *error = TheHost().error;
    if (state == nullptr)
        return *error != 0;
    std::optional<simulated::Mishap> mishap;
    for (const simulated::CardState& card : state->Cards()) {
        const auto ofCard = state->FindCardMishap(card, call);
        if (!mishap)
            mishap = ofCard;
    }
    *error = mishap ? static_cast<int>(simulated::Undergo(*mishap)) : 0;
    return *error != 0;
}

std::vector<BrokenLine> BrokenLinesTo(U16 peer) {
    const simulated::HostState* const state = TheHost().state;
    std::vector<BrokenLine> lines;
    if (state == nullptr)
        return lines;
    for (const simulated::CardState& card : state->Cards()) {
        if (card.node + 1 != peer)
            continue;
        for (const simulated::DmaFault& fault : state->DmaFaults(card))
            lines.push_back({.toPeer = fault.toCard,
                             .word = fault.word,
                             .bit = fault.bit,
                             .stuck = fault.stuck != 0});
    }
    return lines;
}

}  // namespace vorl

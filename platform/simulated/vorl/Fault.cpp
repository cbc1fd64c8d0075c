// Operations that are to fail, as the state of the simulated host has them.
#include "Fault.h"

#include "HostState.h"

namespace vorl {

bool InjectFault(const char* call, int* error) {
    // Never destroyed: threads may still be in the library when the process ends.
    static const simulated::HostState* const state = simulated::HostState::Open().release();
    if (state == nullptr)
        return false;
    U32 status = 0;
    for (const simulated::CardState& card : state->Cards()) {
        const U32 cardsStatus = state->FailCardCall(card, call);
        if (status == 0)
            status = cardsStatus;
    }
    *error = static_cast<int>(status);
    return status != 0;
}

}  // namespace vorl

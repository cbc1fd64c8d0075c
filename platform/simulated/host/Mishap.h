// What a fault makes of one call of a simulated library.
#pragma once

#include "ZelTypes.h"

namespace simulated {

struct Mishap {
    U32 status = 0;         // with which the call fails; 0: it does what it does
    U32 delay = 0;          // milliseconds that it takes before
    bool blocks = false;    // it never returns
    bool unending = false;  // and the process ends by SIGKILL alone while it does not
};

// Makes the calling thread wait as the mishap says. Returns the status with which the call fails, or 0.
// The wait is that of a driver: no cancellation ends it.
U32 Undergo(const Mishap& mishap);

}  // namespace simulated

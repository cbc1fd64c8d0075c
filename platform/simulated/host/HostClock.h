// The clock of a simulated host, by which its cards' changes are timed.
#pragma once

#include "ZelTypes.h"

namespace simulated {

// Microseconds since some time in the past. All programs of the host agree on it, also one whose own
// clock a preloaded library has set.
U64 HostClock();

// Returns when the clock has reached `time`, whatever signals are handled meanwhile.
void SleepUntil(U64 time);

}  // namespace simulated

// Operations that are to fail on this simulated host, and transfers that are to go wrong.
#pragma once

#include <vector>

#include "ZelTypes.h"
#include "vorl/BrokenLine.h"

namespace vorl {

// Whether this call of the operation named `call` fails, and with which errno value. Counts the call,
// and lets it take its time first, or for ever, where that is its fault. Every call fails in a program
// that may not count it, as that of a user other than root.
// Only the host's calls fail. Which card an endpoint is for is not known before it is connected, so
// every card's faults count all of them.
bool InjectFault(const char* call, int* error);

// The broken lines between this node and the peer. The host has them for both: everything that a card
// sends or receives passes its end.
std::vector<BrokenLine> BrokenLinesTo(U16 peer);

}  // namespace vorl

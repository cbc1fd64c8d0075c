// Operations that are to fail on this simulated host.
#pragma once

namespace vorl {

// Whether this call of the operation named `call` fails, and with which errno value. Counts the call.
// Only the host's calls fail. Which card an endpoint is for is not known before it is connected, so
// every card's faults count all of them.
bool InjectFault(const char* call, int* error);

}  // namespace vorl

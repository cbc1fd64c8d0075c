// Operations that are to fail on this simulated host.
#pragma once

namespace vorl {

// Whether this call of the operation named `call` fails, and with which errno value. Counts the call.
bool InjectFault(const char* call, int* error);

}  // namespace vorl

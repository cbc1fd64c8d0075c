// Operations that are to fail: none, a host without that state has no faults.
#include "Fault.h"

namespace vorl {

bool InjectFault(const char*, int*) {
    return false;
}

}  // namespace vorl

// Says which property was broken. The descriptor is written to, because `stderr` may be captured.
#include "Expect.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace fuzz {

void Fail(std::string_view property, const char* file, int line) {
    dprintf(STDERR_FILENO, "%s:%d: broken: %.*s\n", file, line, static_cast<int>(property.size()),
            property.data());
    std::abort();
}

}  // namespace fuzz

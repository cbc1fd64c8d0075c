// A program of this machine that prepares a part of the host in the making, while the making goes on.
#pragma once

#include <sys/types.h>

namespace simulated {

class Preparation {
public:
    // Starts the program, whose path comes first in `arguments` (null-terminated), without an
    // environment; `package` is the Debian package that holds it. Throws HostError.
    Preparation(const char* const* arguments, const char* package, const char* input = "/dev/null");

    // Waits for its end, once. Throws HostError unless it was a success.
    void Finish();

private:
    const char* program_;
    pid_t process_ = -1;
};

}  // namespace simulated

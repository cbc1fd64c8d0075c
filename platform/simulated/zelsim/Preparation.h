// A program of this machine that prepares a part of the host in the making, while the making goes on.
#pragma once

#include <sys/types.h>

namespace simulated {

class Preparation {
public:
    // Starts the program, whose path comes first in `arguments` (null-terminated), without an
    // environment; `package` is the Debian package that holds it. Throws HostError.
    Preparation(const char* const* arguments, const char* package, const char* input = "/dev/null");

    // Ends the program when nobody has waited for it: nothing of it comes behind what made the host fail.
    ~Preparation();
    Preparation(const Preparation&) = delete;
    Preparation& operator=(const Preparation&) = delete;

    // Waits for its end, once. Throws HostError unless it was a success.
    void Finish();

private:
    int Wait();

    const char* program_;
    pid_t process_ = -1;  // until it has been waited for
};

}  // namespace simulated

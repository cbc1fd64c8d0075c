// Thread functions of the C library that fail where a test wants them to; otherwise they do what they
// always do: pthread_create, pthread_join, pthread_detach, pthread_cancel, pthread_setcanceltype and
// pthread_setcancelstate of the whole test program.
#pragma once

#include <string>

namespace fakes {

class FakeThreads {
public:
    // `function` returns `error` once, without doing anything, after `skip` more calls.
    void Fail(const std::string& function, int error, unsigned skip = 0);

    // How many threads were started and have not ended; waiting until there are so many.
    static unsigned Count();
    static void AwaitCount(unsigned count);

    // How many were started and neither joined nor detached: what is left of them stays for ever.
    static unsigned CountOwned();

    void Reset();
    // A failure that no call met fails the test.
    void Verify();
};

FakeThreads& Threads();

}  // namespace fakes

// Memory that runs out where a test wants it to: malloc as the program's own code calls it,
// posix_memalign, aligned_alloc and the array new that returns null, of the whole test program.
#pragma once

#include <atomic>

namespace fakes {

class FakeMemory {
public:
    // malloc returns null once, after `skip` more calls that succeed.
    void FailPlain(unsigned skip = 0);

    // posix_memalign or aligned_alloc fails with `error` once, after `skip` more calls that succeed.
    void FailAligned(int error, unsigned skip = 0);

    // The next `new T[n]` throws std::bad_alloc, the next `new (std::nothrow) T[n]` returns null.
    void FailArray();

    void Reset();
    // A failure that no call met fails the test.
    void Verify();

    // For the functions that this stands in for: whether this call fails, and with which error.
    bool PlainFails();
    int AlignedError();
    bool ArrayFails();

private:
    std::atomic<bool> plainFails_{false};
    std::atomic<unsigned> plainSkip_{0};
    std::atomic<int> error_{0};
    std::atomic<unsigned> skip_{0};
    std::atomic<bool> arrayFails_{false};
};

FakeMemory& Memory();

}  // namespace fakes

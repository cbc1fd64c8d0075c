// Memory that runs out where a test wants it to: posix_memalign, aligned_alloc and the array new that
// returns null, of the whole test program.
#pragma once

#include <atomic>

namespace fakes {

class FakeMemory {
public:
    // One of the first two fails with `error` once, after `skip` more calls that succeed.
    void FailAligned(int error, unsigned skip = 0);

    // The next `new (std::nothrow) T[n]` returns null.
    void FailArray();

    void Reset();
    // A failure that no call met fails the test.
    void Verify();

    // For the functions that this stands in for: the error of this call, or 0.
    int AlignedError();
    bool ArrayFails();

private:
    std::atomic<int> error_{0};
    std::atomic<unsigned> skip_{0};
    std::atomic<bool> arrayFails_{false};
};

FakeMemory& Memory();

}  // namespace fakes

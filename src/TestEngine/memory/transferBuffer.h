// The buffer through which a memory test writes a card's memory and reads it back.
//
// It remembers that it holds the pattern: what was read back and found right is the pattern, so that
// a fill costs nothing behind a chunk without a failure and one small block behind one with. That and
// the comparison by blocks make the test as fast as its copies at every data width.
#pragma once

#include <array>
#include <cstdlib>
#include <memory>

#include "TestEngine/memory/memoryPattern.h"
#include "ZelTypes.h"

class TransferBuffer {
public:
    static constexpr U32 k_Bytes = 0x1000000;  // 16 MB

    // `pattern` has at least 8 bytes, of which the first element at the width is used.
    TransferBuffer(const void* pattern, U32 dataWidth);

    // False when there is no memory; the buffer is not to be used then.
    bool IsAllocated() const { return bytes_ != nullptr; }

    U8* Data() { return bytes_.get(); }

    // Makes the first `length` bytes the pattern, as far as whole elements reach; they have to hold
    // something before any other use.
    void FillWithPattern(U32 length);

    // Sets all of the buffer to zero.
    void Clear();

    // Compares the whole elements of the first `length` bytes with the pattern, in order. Calls
    // `report(offset, firstByte)` for each that differs; false, at once, when that returns false.
    template <typename Report>
    bool Verify(U32 length, Report report);

private:
    // Small enough to stay in the processor's nearest cache beside what it is compared with.
    static constexpr U32 kBlockBytes = 4096;

    struct Free {
        void operator()(U8* bytes) const { std::free(bytes); }
    };

    template <typename Report>
    bool VerifyElements(U32 begin, U32 end, Report& report);

    const U32 width_;
    const U32 step_;  // from one element to the next
    const bool hasPattern_;
    bool holdsPattern_ = false;
    alignas(64) std::array<U8, kBlockBytes> block_{};  // of pattern
    std::unique_ptr<U8[], Free> bytes_;
};

template <typename Report>
bool TransferBuffer::VerifyElements(U32 begin, U32 end, Report& report) {
    for (U32 offset = begin; offset < end; offset += step_) {
        if (verifyData(&bytes_[offset], block_.data(), width_) == 0 &&
            !report(offset, bytes_[offset]))
            return false;
    }
    return true;
}

template <typename Report>
bool TransferBuffer::Verify(U32 length, Report report) {
    const U32 end = length - length % step_;
    // At an invalid width every element differs.
    if (!hasPattern_)
        return VerifyElements(0, end, report);
    for (U32 begin = 0; begin < end; begin += kBlockBytes) {
        const U32 bytes = end - begin < kBlockBytes ? end - begin : kBlockBytes;
        if (std::memcmp(&bytes_[begin], block_.data(), bytes) == 0)
            continue;
        if (!VerifyElements(begin, begin + bytes, report))
            return false;
        std::memcpy(&bytes_[begin], block_.data(), bytes);
    }
    holdsPattern_ = true;
    return true;
}

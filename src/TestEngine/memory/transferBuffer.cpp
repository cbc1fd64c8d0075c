// The buffer through which a memory test writes a card's memory and reads it back.
#include "TestEngine/memory/transferBuffer.h"

#include <sys/mman.h>

#include <algorithm>

namespace {

constexpr std::size_t kAlignment = 0x200000;  // 2 MB, a large page

bool IsElementWidth(U32 width) {
    return width == 1 || width == 2 || width == 4 || width == 8;
}

}  // namespace

TransferBuffer::TransferBuffer(const void* pattern, U32 dataWidth)
    : width_(dataWidth),
      step_(std::max(dataWidth, U32{1})),
      hasPattern_(IsElementWidth(dataWidth)),
      bytes_(static_cast<U8*>(std::aligned_alloc(kAlignment, k_Bytes))) {
    fillPattern(block_.data(), pattern, width_, kBlockBytes);
    // The copies run faster where the host has large pages; where it has not, nothing is lost.
    if (IsAllocated())
        madvise(bytes_.get(), k_Bytes, MADV_HUGEPAGE);
}

void TransferBuffer::FillWithPattern(U32 length) {
    if (holdsPattern_)
        return;
    const U32 filled = hasPattern_ ? length - length % step_ : 0;
    fillPattern(bytes_.get(), block_.data(), width_, filled);
    std::memset(&bytes_[filled], 0, length - filled);
}

void TransferBuffer::Clear() {
    std::memset(bytes_.get(), 0, k_Bytes);
    holdsPattern_ = false;
}

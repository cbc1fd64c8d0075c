// The registered windows of one endpoint: which memory stands behind which offset. The only place
// where that memory is touched, and never outside a window. Not locked.
//
// Every failure is an errno value, as vorl.h has them.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <span>
#include <vector>

#include "ZelTypes.h"

namespace vorl {

inline constexpr U64 kFirstFreeOffset = 0x80000000;
inline constexpr size_t kMaxWindows = 1024;

class WindowTable {
public:
    // Returns the window's offset, or the negative error.
    off_t Register(void* address, size_t length, off_t offset, int protection, int flags);

    // 0, or the error.
    int Unregister(off_t offset, size_t length);

    // Whether [offset, offset + length) lies within one window that allows `protection`: 0, ENXIO or
    // EACCES.
    int Check(U64 offset, U64 length, int protection) const;

    // Copies between a window and `bytes`; 0, or the error and nothing copied.
    int Load(U64 offset, std::span<std::byte> bytes) const;
    int Store(U64 offset, std::span<const std::byte> bytes);

private:
    struct Window {
        std::byte* memory;
        U64 offset;
        U64 length;
        int protection;
    };
    using Position = std::vector<Window>::iterator;

    Position FirstFree(U64 length, U64* offset);
    Position Fixed(U64 offset);
    // The window that holds the range, null and `*error` set when there is none.
    const Window* Find(U64 offset, U64 length, int protection, int* error) const;

    std::vector<Window> windows_;  // ascending, never overlapping
};

}  // namespace vorl

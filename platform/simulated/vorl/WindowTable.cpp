// Registered windows: placement, bounds, and the copies in and out.
#include "vorl/WindowTable.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>

#include "vorl.h"

namespace vorl {
namespace {

constexpr U64 kOffsetEnd = static_cast<U64>(std::numeric_limits<I64>::max()) + 1;

bool InWholePages(U64 value) {
    return value % VORL_PAGE_BYTES == 0;
}

bool IsProtection(int protection) {
    return protection != 0 && (protection & ~(VORL_PROT_READ | VORL_PROT_WRITE)) == 0;
}

}  // namespace

off_t WindowTable::Register(void* address, size_t length, off_t offset, int protection, int flags) {
    const bool fixed = flags == VORL_MAP_FIXED;
    if (address == nullptr)
        return -EFAULT;
    if (length == 0 || length > kOffsetEnd || !InWholePages(length) ||
        !InWholePages(reinterpret_cast<uintptr_t>(address)) || !IsProtection(protection) ||
        (flags & ~VORL_MAP_FIXED) != 0)
        return -EINVAL;
    if (fixed && (offset < 0 || !InWholePages(static_cast<U64>(offset)) ||
                  static_cast<U64>(offset) > kOffsetEnd - length))
        return -EINVAL;
    if (windows_.size() >= kMaxWindows)
        return -ENOSPC;

    U64 place = static_cast<U64>(offset);
    const Position at = fixed ? Fixed(place) : FirstFree(length, &place);
    if (fixed && at != windows_.end() && at->offset < place + length)
        return -EADDRINUSE;
    if (place > kOffsetEnd - length)
        return -ENOSPC;
    windows_.insert(at, {static_cast<std::byte*>(address), place, length, protection});
    return static_cast<off_t>(place);
}

// The window behind which a free place begins, and that place.
WindowTable::Position WindowTable::FirstFree(U64 length, U64* offset) {
    U64 place = kFirstFreeOffset;
    Position at = windows_.begin();
    for (; at != windows_.end(); ++at) {
        if (at->offset >= place && at->offset - place >= length)
            break;
        place = std::max(place, at->offset + at->length);
    }
    *offset = place;
    return at;
}

// The first window that does not end before the place.
WindowTable::Position WindowTable::Fixed(U64 offset) {
    return std::find_if(windows_.begin(), windows_.end(), [offset](const Window& window) {
        return window.offset + window.length > offset;
    });
}

int WindowTable::Unregister(off_t offset, size_t length) {
    const auto found =
        std::find_if(windows_.begin(), windows_.end(), [offset, length](const Window& window) {
            return window.offset == static_cast<U64>(offset) && window.length == length;
        });
    if (found == windows_.end())
        return EINVAL;
    windows_.erase(found);
    return 0;
}

const WindowTable::Window* WindowTable::Find(U64 offset, U64 length, int protection,
                                             int* error) const {
    const auto next =
        std::upper_bound(windows_.begin(), windows_.end(), offset,
                         [](U64 value, const Window& window) { return value < window.offset; });
    *error = ENXIO;
    if (next == windows_.begin())
        return nullptr;
    const Window& window = *(next - 1);
    const U64 within = offset - window.offset;
    if (within >= window.length || length > window.length - within)
        return nullptr;
    *error = EACCES;
    if ((window.protection & protection) != protection)
        return nullptr;
    *error = 0;
    return &window;
}

int WindowTable::Check(U64 offset, U64 length, int protection) const {
    int error = 0;
    Find(offset, length, protection, &error);
    return error;
}

int WindowTable::Load(U64 offset, std::span<std::byte> bytes) const {
    int error = 0;
    const Window* const window = Find(offset, bytes.size(), VORL_PROT_READ, &error);
    if (window != nullptr)
        std::memcpy(bytes.data(), window->memory + (offset - window->offset), bytes.size());
    return error;
}

int WindowTable::Store(U64 offset, std::span<const std::byte> bytes) {
    int error = 0;
    const Window* const window = Find(offset, bytes.size(), VORL_PROT_WRITE, &error);
    if (window != nullptr)
        std::memcpy(window->memory + (offset - window->offset), bytes.data(), bytes.size());
    return error;
}

}  // namespace vorl

// Memory for the windows of one end of a connection. Nothing lies around each window but pages that
// nobody may touch, so that a step over its bounds ends the process.
//
//   offset      pages  the peer may
//   kOpen       2      read and write
//   kReadable   1      read; the memory itself cannot be written
//   kWritable   1      write; what it holds is secret
//   kForgotten  1      nothing: the window has been unregistered, and its memory is out of reach
#pragma once

#include <cstddef>
#include <span>

#include "vorl.h"
#include "vorl/Connection.h"

namespace fuzz {

class GuardedWindows {
public:
    static constexpr U64 kOpen = 0x80000000;
    static constexpr U64 kReadable = kOpen + 2 * VORL_PAGE_BYTES;
    static constexpr U64 kWritable = kReadable + VORL_PAGE_BYTES;
    static constexpr U64 kForgotten = kWritable + VORL_PAGE_BYTES;

    static constexpr std::byte kOpenFill{0x11};
    static constexpr std::byte kReadableFill{0x22};

    // Eight bytes of it are what an input does not hold by accident.
    static constexpr std::byte kSecret[8] = {std::byte{0xD3}, std::byte{0x4F}, std::byte{0x91},
                                             std::byte{0xE6}, std::byte{0x7A}, std::byte{0x0C},
                                             std::byte{0xB8}, std::byte{0x25}};

    GuardedWindows();
    GuardedWindows(const GuardedWindows&) = delete;
    GuardedWindows& operator=(const GuardedWindows&) = delete;
    ~GuardedWindows();

    // Fills the memory anew, and makes it the connection's windows.
    void Register(vorl::Connection& connection);

    std::span<std::byte> Open() const { return open_; }
    std::span<std::byte> Readable() const { return readable_; }
    std::span<std::byte> Writable() const { return writable_; }

private:
    std::byte* memory_;
    std::span<std::byte> open_;
    std::span<std::byte> readable_;
    std::span<std::byte> writable_;
    std::span<std::byte> forgotten_;
};

}  // namespace fuzz

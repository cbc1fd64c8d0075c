// What travels between two ends of a connection: frames of a fixed header, some with a payload.
//
// Either end begins transfers in requests of at most kMaxPayload bytes and the other answers each,
// in order. What a peer sends is not trusted: a header is decoded as a whole or not at all, and the
// limits on what may be outstanding are checked by the receiver.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>

#include "ZelTypes.h"

namespace vorl {

inline constexpr size_t kHeaderBytes = 32;
inline constexpr U32 kMaxPayload = 64 * 1024;

inline constexpr U32 kMessageWindow = 64 * 1024;  // message bytes sent and not yet received
inline constexpr size_t kMaxRequests = 16;        // requests not yet answered
inline constexpr size_t kMaxFences = 16;          // fences not yet answered
inline constexpr U32 kMaxStatus = 4095;

enum class FrameType : U16 {
    Message = 1,    // payload of `length`
    Credit = 2,     // `length` bytes of messages were received
    Write = 3,      // request `id`: payload of `length` goes to `offset`
    WriteDone = 4,  // answer: `status`
    Read = 5,       // request `id`: `length` bytes from `offset`
    ReadDone = 6,   // answer: `status`, or 0 and a payload of `length`
    Fence = 7,      // `id`: tell when what you have begun has completed
    FenceDone = 8   // `id`: it has
};

struct Header {
    FrameType type = FrameType::Message;
    U32 status = 0;  // errno value, 0 = success
    U32 id = 0;
    U64 offset = 0;
    U32 length = 0;

    bool operator==(const Header&) const = default;
};

using HeaderBytes = std::array<std::byte, kHeaderBytes>;

HeaderBytes EncodeHeader(const Header& header);

// Empty unless the bytes are exactly a header that EncodeHeader makes, with every field in its range
// for the type and 0 where the type has no use for it.
std::optional<Header> DecodeHeader(std::span<const std::byte> bytes);

// How many bytes follow the header.
U32 PayloadBytes(const Header& header);

}  // namespace vorl

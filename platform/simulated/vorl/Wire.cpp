// Frames: encoding and decoding of their headers.
#include "vorl/Wire.h"

#include <limits>

namespace vorl {
namespace {

constexpr U32 kMagic = 0x315A5256;  // changes when the layout does

// Where each field lies, little-endian.
constexpr size_t kMagicAt = 0;
constexpr size_t kTypeAt = 4;
constexpr size_t kReservedAt = 6;
constexpr size_t kStatusAt = 8;
constexpr size_t kIdAt = 12;
constexpr size_t kOffsetAt = 16;
constexpr size_t kLengthAt = 24;
constexpr size_t kReserved2At = 28;

template <typename Integer>
void Put(HeaderBytes& bytes, size_t at, Integer value) {
    for (size_t i = 0; i < sizeof(Integer); ++i) {
        bytes[at + i] = static_cast<std::byte>(static_cast<U64>(value) >> (8 * i));
    }
}

template <typename Integer>
Integer Get(std::span<const std::byte> bytes, size_t at) {
    U64 value = 0;
    for (size_t i = 0; i < sizeof(Integer); ++i) {
        value |= static_cast<U64>(bytes[at + i]) << (8 * i);
    }
    return static_cast<Integer>(value);
}

bool HasPayloadLength(const Header& header) {
    return header.length >= 1 && header.length <= kMaxPayload;
}

bool HasOffset(const Header& header) {
    return header.offset <= static_cast<U64>(std::numeric_limits<I64>::max());
}

// Whether a header has nothing but what its type uses.
bool IsWellFormed(const Header& header) {
    const bool noStatus = header.status == 0;
    const bool noId = header.id == 0;
    const bool noOffset = header.offset == 0;
    const bool noLength = header.length == 0;
    switch (header.type) {
        case FrameType::Message:
        case FrameType::Credit:
            return noStatus && noId && noOffset && HasPayloadLength(header);
        case FrameType::Write:
        case FrameType::Read:
            return noStatus && HasOffset(header) && HasPayloadLength(header);
        case FrameType::WriteDone:
            return header.status <= kMaxStatus && noOffset && noLength;
        case FrameType::ReadDone:
            return header.status <= kMaxStatus && noOffset &&
                   (noStatus ? HasPayloadLength(header) : noLength);
        case FrameType::Fence:
        case FrameType::FenceDone:
            return noStatus && noOffset && noLength;
    }
    return false;
}

}  // namespace

HeaderBytes EncodeHeader(const Header& header) {
    HeaderBytes bytes{};
    Put(bytes, kMagicAt, kMagic);
    Put(bytes, kTypeAt, static_cast<U16>(header.type));
    Put(bytes, kStatusAt, header.status);
    Put(bytes, kIdAt, header.id);
    Put(bytes, kOffsetAt, header.offset);
    Put(bytes, kLengthAt, header.length);
    return bytes;
}

std::optional<Header> DecodeHeader(std::span<const std::byte> bytes) {
    if (bytes.size() != kHeaderBytes || Get<U32>(bytes, kMagicAt) != kMagic)
        return std::nullopt;
    if (Get<U16>(bytes, kReservedAt) != 0 || Get<U32>(bytes, kReserved2At) != 0)
        return std::nullopt;
    const Header header{.type = static_cast<FrameType>(Get<U16>(bytes, kTypeAt)),
                        .status = Get<U32>(bytes, kStatusAt),
                        .id = Get<U32>(bytes, kIdAt),
                        .offset = Get<U64>(bytes, kOffsetAt),
                        .length = Get<U32>(bytes, kLengthAt)};
    if (!IsWellFormed(header))
        return std::nullopt;
    return header;
}

U32 PayloadBytes(const Header& header) {
    switch (header.type) {
        case FrameType::Message:
        case FrameType::Write:
        case FrameType::ReadDone:
            return header.length;
        default:
            return 0;
    }
}

}  // namespace vorl

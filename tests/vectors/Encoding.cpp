#include "Encoding.h"

namespace {

constexpr int kPrefixes[] = {0, 0x66, 0xF3, 0xF2};

std::optional<Encoding> DecodeLegacy(const Bytes& bytes) {
    Encoding encoding;
    std::size_t at = 0;
    for (; at < bytes.size(); ++at) {
        const int byte = bytes[at];
        if (byte == 0x66 || byte == 0xF2 || byte == 0xF3)
            encoding.prefix = byte;
        else if ((byte & 0xF0) != 0x40)
            break;
    }
    if (at + 2 >= bytes.size() || bytes[at] != 0x0F)
        return std::nullopt;
    ++at;
    encoding.map = bytes[at] == 0x38 ? 2 : bytes[at] == 0x3A ? 3 : 1;
    encoding.opcode = encoding.map == 1 ? at : at + 1;
    return encoding;
}

std::optional<Encoding> DecodeVex(const Bytes& bytes) {
    const bool isShort = bytes[0] == 0xC5;
    const int last = bytes.at(isShort ? 1 : 2);
    return Encoding{.form = Form::kVex,
                    .map = isShort ? 1 : bytes[1] & 0x1F,
                    .prefix = kPrefixes[last & 3],
                    .bits = (last & 4) != 0 ? 256 : 128,
                    .opcode = isShort ? 2U : 3U};
}

std::optional<Encoding> DecodeEvex(const Bytes& bytes) {
    return Encoding{.form = Form::kEvex,
                    .map = bytes.at(1) & 7,
                    .prefix = kPrefixes[bytes.at(2) & 3],
                    .bits = 128 << (bytes.at(3) >> 5 & 3),
                    .opcode = 4};
}

}  // namespace

std::optional<Encoding> Decode(const Bytes& bytes) {
    if (bytes.empty())
        return std::nullopt;
    switch (bytes[0]) {
        case 0xC4:
        case 0xC5:
            return DecodeVex(bytes);
        case 0x62:
            return DecodeEvex(bytes);
        default:
            return DecodeLegacy(bytes);
    }
}

Bytes Halved(const Bytes& bytes, const Encoding& encoding) {
    Bytes halved = bytes;
    if (encoding.form == Form::kVex)
        halved[encoding.opcode - 1] &= ~4;
    else
        halved[3] -= 0x20;
    return halved;
}

// Where in the bytes of a vector instruction of x86-64 its operation stands, and how wide it is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

enum class Form { kLegacy, kVex, kEvex };

struct Encoding {
    Form form = Form::kLegacy;
    int map = 0;             // 1, 2, 3: behind 0F, 0F 38, 0F 3A
    int prefix = 0;          // 0, 0x66, 0xF3, 0xF2
    int bits = 128;          // of the vectors
    std::size_t opcode = 0;  // its place in the bytes; the operands' byte stands behind it

    bool InRegisters(const Bytes& bytes) const { return bytes.at(opcode + 1) >> 6 == 3; }
};

// Nothing for an instruction that is none of vectors.
std::optional<Encoding> Decode(const Bytes& bytes);

// The same instruction on the lower half of its lanes; it has more than 128 bits.
Bytes Halved(const Bytes& bytes, const Encoding& encoding);

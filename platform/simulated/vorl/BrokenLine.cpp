// Broken lines between two nodes.
#include "vorl/BrokenLine.h"

#include <cstring>

namespace vorl {

void PassOver(std::span<const BrokenLine> lines, bool toPeer, std::span<std::byte> bytes) {
    for (const BrokenLine& line : lines) {
        U32 word = 0;
        const size_t at = size_t{line.word} * sizeof word;
        if (line.toPeer != toPeer || bytes.size() < at + sizeof word)
            continue;
        std::memcpy(&word, &bytes[at], sizeof word);
        const U32 mask = U32{1} << line.bit;
        word = line.stuck ? word | mask : word & ~mask;
        std::memcpy(&bytes[at], &word, sizeof word);
    }
}

}  // namespace vorl

// A broken line between two nodes: one bit of one word of what transfers bring over it arrives as it
// is stuck, whatever was sent.
#pragma once

#include <cstddef>
#include <span>

#include "ZelTypes.h"

namespace vorl {

struct BrokenLine {
    bool toPeer = false;  // it breaks what goes to the peer; else what comes from there
    U32 word = 0;         // of 32 bits, in each request of a transfer
    U32 bit = 0;
    bool stuck = false;
};

// What the lines make of a request's bytes. A word that does not lie in them whole stays as it is.
void PassOver(std::span<const BrokenLine> lines, bool toPeer, std::span<std::byte> bytes);

}  // namespace vorl

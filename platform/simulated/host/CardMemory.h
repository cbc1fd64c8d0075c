// The memory of one simulated card as the host sees it: the cells, behind address lines that may be broken.
// A line that is ignored makes two addresses one cell; of two that are swapped each stands for the other,
// except where that would lead out of the memory.
#pragma once

#include <span>
#include <vector>

#include "fleet/Fleet.h"
#include "host/SparseMemory.h"

namespace simulated {

class CardMemory {
public:
    CardMemory(U64 size, std::span<const MemoryFault> cells, std::span<const AddressFault> lines);

    // Copy `bytes` bytes to or from the memory; false, and nothing is copied, when the range leaves it.
    // Throw std::bad_alloc when the host has no memory left.
    bool Write(U64 address, const void* data, U64 bytes);
    bool Read(U64 address, void* data, U64 bytes) const;

private:
    U64 CellAt(U64 address) const;
    U64 Throughout(U64 address, U64 bytes) const;

    SparseMemory cells_;
    std::vector<AddressFault> lines_;
    U64 run_ = 0;  // bytes behind a multiple of it lie beside each other in the cells, too
};

}  // namespace simulated

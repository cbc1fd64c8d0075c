// Broken address lines. What is written or read is taken apart where the lines do, and is put together
// in whole blocks of cells, which cost far less than each byte for itself.
#include "host/CardMemory.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <map>

namespace simulated {

namespace {

constexpr U64 kBlockBytes = 64 * 1024;

// Blocks of cells that are at hand while one block of addresses is gone through. A stuck cell is stored as
// it reads, which is not to be told from what was written to it.
class Blocks {
public:
    explicit Blocks(const SparseMemory& cells) : cells_(cells) {}

    U8* At(U64 cell) {
        const U64 begin = cell / kBlockBytes * kBlockBytes;
        std::vector<U8>& block = blocks_[begin];
        if (block.empty()) {
            block.resize(std::min(kBlockBytes, cells_.Size() - begin));
            cells_.Read(begin, block.data(), block.size());
        }
        return &block[cell - begin];
    }

    void Clear() { blocks_.clear(); }
    void StoreIn(SparseMemory& cells) {
        for (const auto& [begin, block] : blocks_)
            cells.Write(begin, block.data(), block.size());
        blocks_.clear();
    }

private:
    const SparseMemory& cells_;
    std::map<U64, std::vector<U8>> blocks_;
};

U64 Line(U32 line) {
    return U64{1} << line;
}

}  // namespace

CardMemory::CardMemory(U64 size, std::span<const MemoryFault> cells,
                       std::span<const AddressFault> lines)
    : cells_(size), lines_(lines.begin(), lines.end()) {
    for (const MemoryFault& fault : cells) {
        if (fault.every == 0)
            cells_.StickBit(fault.address, fault.bit, fault.stuck != 0);
        else
            cells_.StickBits(fault.address, fault.every, fault.bit, fault.stuck != 0);
    }
    U64 broken = 0;
    for (const AddressFault& fault : lines_)
        broken |= Line(fault.line) | (fault.swaps ? Line(fault.with) : 0);
    // The lowest broken line.
    run_ = broken & (~broken + 1);
}

bool CardMemory::Write(U64 address, const void* data, U64 bytes) {
    if (lines_.empty() || !cells_.Contains(address, bytes))
        return cells_.Write(address, data, bytes);
    Blocks blocks(cells_);
    const auto* from = static_cast<const U8*>(data);
    while (bytes > 0) {
        const U64 piece = Throughout(address, bytes);
        std::memcpy(blocks.At(CellAt(address)), from, piece);
        address += piece;
        from += piece;
        bytes -= piece;
        if (address % kBlockBytes == 0)
            blocks.StoreIn(cells_);
    }
    blocks.StoreIn(cells_);
    return true;
}

bool CardMemory::Read(U64 address, void* data, U64 bytes) const {
    if (lines_.empty() || !cells_.Contains(address, bytes))
        return cells_.Read(address, data, bytes);
    Blocks blocks(cells_);
    auto* out = static_cast<U8*>(data);
    while (bytes > 0) {
        const U64 piece = Throughout(address, bytes);
        std::memcpy(out, blocks.At(CellAt(address)), piece);
        address += piece;
        out += piece;
        bytes -= piece;
        if (address % kBlockBytes == 0)
            blocks.Clear();
    }
    return true;
}

// How much of the range lies in one run and in one block.
U64 CardMemory::Throughout(U64 address, U64 bytes) const {
    const U64 unit = std::min(run_, kBlockBytes);
    return std::min(bytes, unit - address % unit);
}

U64 CardMemory::CellAt(U64 address) const {
    const U64 offset = address % run_;
    U64 run = address - offset;
    for (const AddressFault& fault : lines_) {
        const bool set = (run & Line(fault.line)) != 0;
        if (!fault.swaps) {
            run &= ~Line(fault.line);
        } else if (set != ((run & Line(fault.with)) != 0)) {
            const U64 there = run ^ Line(fault.line) ^ Line(fault.with);
            // Both, so that no cell has two addresses.
            if (cells_.Contains(run, run_) && cells_.Contains(there, run_))
                run = there;
        }
    }
    return run + offset;
}

}  // namespace simulated

// The memory of one simulated card.
#include "host/SparseMemory.h"

#include <algorithm>
#include <cstring>
#include <optional>

namespace {

constexpr U64 kWordBytes = sizeof(U64);

// The word that `bytes` bytes repeat; none when they do not. At least one word.
std::optional<U64> RepeatedWord(const U8* data, U64 bytes) {
    if (std::memcmp(data, data + kWordBytes, bytes - kWordBytes) != 0)
        return std::nullopt;
    U64 word = 0;
    std::memcpy(&word, data, kWordBytes);
    return word;
}

// Writes what a block of repeated words holds from `offset` on.
void Repeat(U64 word, U64 offset, U8* out, U64 bytes) {
    const U64 shift = 8 * (offset % kWordBytes);
    // In a little-endian word the first byte is the lowest.
    const U64 turned = shift == 0 ? word : word >> shift | word << (64 - shift);
    const U64 whole = bytes - bytes % kWordBytes;
    for (U64 i = 0; i < whole; i += kWordBytes)
        std::memcpy(out + i, &turned, kWordBytes);
    std::memcpy(out + whole, &turned, bytes - whole);
}

}  // namespace

SparseMemory::Piece SparseMemory::FirstPiece(U64 address, U64 bytes) {
    const U64 offset = address % kBlockBytes;
    return {address / kBlockBytes, offset, std::min(bytes, kBlockBytes - offset)};
}

void SparseMemory::StuckCells::Stick(unsigned int bit, bool value) {
    const auto mask = static_cast<U8>(1U << bit);
    U8& set = value ? ones : zeros;
    U8& other = value ? zeros : ones;
    set = static_cast<U8>(set | mask);
    other = static_cast<U8>(other & ~mask);
}

void SparseMemory::StickBit(U64 address, unsigned int bit, bool value) {
    stuck_[address].Stick(bit, value);
}

void SparseMemory::StickBits(U64 first, U64 every, unsigned int bit, bool value) {
    stuckRows_.push_back({first, every, {}});
    stuckRows_.back().cells.Stick(bit, value);
}

bool SparseMemory::Write(U64 address, const void* data, U64 bytes) {
    if (!Contains(address, bytes))
        return false;
    const auto* from = static_cast<const U8*>(data);
    while (bytes > 0) {
        const Piece piece = FirstPiece(address, bytes);
        Block& block = FindOrMake(piece.block);
        if (piece.bytes == kBlockBytes)
            WriteWhole(block, from);
        else
            WritePart(block, piece, from);
        address += piece.bytes;
        from += piece.bytes;
        bytes -= piece.bytes;
    }
    return true;
}

bool SparseMemory::Read(U64 address, void* data, U64 bytes) const {
    if (!Contains(address, bytes))
        return false;
    auto* out = static_cast<U8*>(data);
    for (U64 position = address, left = bytes; left > 0;) {
        const Piece piece = FirstPiece(position, left);
        const Block* block = Find(piece.block);
        if (block == nullptr)
            std::memset(out, 0, piece.bytes);
        else if (block->bytes)
            std::memcpy(out, &block->bytes[piece.offset], piece.bytes);
        else
            Repeat(block->word, piece.offset, out, piece.bytes);
        position += piece.bytes;
        out += piece.bytes;
        left -= piece.bytes;
    }
    ApplyStuckCells(address, static_cast<U8*>(data), bytes);
    return true;
}

const SparseMemory::Block* SparseMemory::Find(U64 block) const {
    const auto& region = regions_[block / kBlocksPerRegion];
    return region ? &(*region)[block % kBlocksPerRegion] : nullptr;
}

SparseMemory::Block& SparseMemory::FindOrMake(U64 block) {
    auto& region = regions_[block / kBlocksPerRegion];
    if (!region)
        region = std::make_unique<Region>();
    return (*region)[block % kBlocksPerRegion];
}

void SparseMemory::WriteWhole(Block& block, const U8* data) {
    if (const auto word = RepeatedWord(data, kBlockBytes)) {
        Shrink(block, *word);
        return;
    }
    Store(block);
    std::memcpy(block.bytes.get(), data, kBlockBytes);
}

// A block that is written piece by piece shrinks with the piece that makes it a pattern.
void SparseMemory::WritePart(Block& block, const Piece& piece, const U8* data) {
    Store(block);
    std::memcpy(&block.bytes[piece.offset], data, piece.bytes);
    if (const auto word = RepeatedWord(block.bytes.get(), kBlockBytes))
        Shrink(block, *word);
}

void SparseMemory::Store(Block& block) {
    if (block.bytes)
        return;
    block.bytes = std::make_unique_for_overwrite<U8[]>(kBlockBytes);
    ++storedBlocks_;
    Repeat(block.word, 0, block.bytes.get(), kBlockBytes);
}

void SparseMemory::Shrink(Block& block, U64 word) {
    if (block.bytes)
        --storedBlocks_;
    block.bytes.reset();
    block.word = word;
}

void SparseMemory::ApplyStuckCells(U64 address, U8* data, U64 bytes) const {
    for (auto cell = stuck_.lower_bound(address);
         cell != stuck_.end() && cell->first - address < bytes; ++cell) {
        U8& byte = data[cell->first - address];
        byte = cell->second.Read(byte);
    }
    for (const StuckRow& row : stuckRows_) {
        const U64 before = address > row.first ? address - row.first : 0;
        const U64 hit = row.first + (before + row.every - 1) / row.every * row.every;
        for (U64 offset = hit - address; offset < bytes; offset += row.every)
            data[offset] = row.cells.Read(data[offset]);
    }
}

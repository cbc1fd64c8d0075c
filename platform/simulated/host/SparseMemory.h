// The memory of one simulated card: as large as a card's, in little memory of the host.
//
// It is kept in blocks of 64 KiB. A block that was never written reads as zeros and costs nothing, one
// that holds a repeating pattern of 1, 2, 4 or 8 bytes costs 16 bytes, any other its full size. Broken
// cells read as what they are stuck at; what was written to them is kept underneath. Not locked.
// Throws std::bad_alloc when the host has no memory left; what was written so far stays.
#pragma once

#include <array>
#include <map>
#include <memory>
#include <vector>

#include "ZelTypes.h"

class SparseMemory {
public:
    explicit SparseMemory(U64 size)
        : size_(size), regions_((size + kRegionBytes - 1) / kRegionBytes) {}

    U64 Size() const { return size_; }

    // Whether all of the range lies in the memory.
    bool Contains(U64 address, U64 bytes) const {
        return address <= size_ && bytes <= size_ - address;
    }

    // Bit `bit` (0 to 7) of the byte at `address` reads as `value` from now on.
    void StickBit(U64 address, unsigned int bit, bool value);

    // The same of the byte at `first` and of every one that is a multiple of `every` (1 at least)
    // bytes behind it. Counts above the single bits, and what came last above what came before.
    void StickBits(U64 first, U64 every, unsigned int bit, bool value);

    // Copy `bytes` bytes to or from the memory; false, and nothing is copied, when the range leaves it.
    bool Write(U64 address, const void* data, U64 bytes);
    bool Read(U64 address, void* data, U64 bytes) const;

    // Blocks that take their full size of the host's memory.
    U64 StoredBlocks() const { return storedBlocks_; }

private:
    static constexpr U64 kBlockBytes = 64 * 1024;
    static constexpr U64 kBlocksPerRegion = 256;
    static constexpr U64 kRegionBytes = kBlockBytes * kBlocksPerRegion;

    struct Block {
        U64 word = 0;                 // repeated, while there are no bytes
        std::unique_ptr<U8[]> bytes;  // kBlockBytes
    };
    using Region = std::array<Block, kBlocksPerRegion>;

    // What makes a byte with broken cells out of the byte that was written.
    struct StuckCells {
        U8 ones = 0;
        U8 zeros = 0;

        void Stick(unsigned int bit, bool value);
        U8 Read(U8 written) const { return static_cast<U8>((written | ones) & ~zeros); }
    };
    struct StuckRow {
        U64 first;
        U64 every;
        StuckCells cells;
    };

    // The part of a range that lies in one block.
    struct Piece {
        U64 block;
        U64 offset;  // in the block
        U64 bytes;
    };
    static Piece FirstPiece(U64 address, U64 bytes);

    const Block* Find(U64 block) const;
    Block& FindOrMake(U64 block);
    void WriteWhole(Block& block, const U8* data);
    void WritePart(Block& block, const Piece& piece, const U8* data);
    void Store(Block& block);
    void Shrink(Block& block, U64 word);
    void ApplyStuckCells(U64 address, U8* data, U64 bytes) const;

    const U64 size_;
    std::vector<std::unique_ptr<Region>> regions_;
    std::map<U64, StuckCells> stuck_;
    std::vector<StuckRow> stuckRows_;
    U64 storedBlocks_ = 0;
};

// Broken address lines of a card's memory.
#include "host/CardMemory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <vector>

namespace simulated {
namespace {

using Bytes = std::vector<U8>;

constexpr U64 kMiB = U64{1} << 20;

Bytes Counted(std::size_t count, U8 first = 1) {
    Bytes bytes(count);
    std::iota(bytes.begin(), bytes.end(), first);
    return bytes;
}

void Put(CardMemory& memory, U64 address, const Bytes& bytes) {
    ASSERT_TRUE(memory.Write(address, bytes.data(), bytes.size())) << address;
}

Bytes Take(const CardMemory& memory, U64 address, std::size_t count) {
    Bytes bytes(count, 0xEE);
    EXPECT_TRUE(memory.Read(address, bytes.data(), count)) << address;
    return bytes;
}

CardMemory With(U64 size, const std::vector<AddressFault>& lines) {
    return {size, {}, lines};
}

TEST(CardMemory, WithoutBrokenLinesIsItsCells) {
    const std::vector<MemoryFault> cells = {{.address = 8, .bit = 7},
                                            {.address = 16, .bit = 6, .every = 4}};
    CardMemory memory(64, cells, {});
    EXPECT_EQ(Take(memory, 8, 1), Bytes{0x80});
    EXPECT_EQ(Take(memory, 20, 2), (Bytes{0x40, 0}));
    Put(memory, 60, {1, 2, 3, 4});
    EXPECT_EQ(Take(memory, 61, 2), (Bytes{2, 3}));
    EXPECT_FALSE(memory.Write(61, "1234", 4));
    U8 byte = 0;
    EXPECT_FALSE(memory.Read(64, &byte, 1));
}

TEST(CardMemory, IgnoredLineMakesTwoAddressesOneCell) {
    for (const U32 line : {0U, 5U, 15U, 16U, 20U, 23U}) {
        CardMemory memory = With(16 * kMiB, {{.line = line}});
        const U64 other = U64{1} << line;
        Put(memory, other, {7});
        EXPECT_EQ(Take(memory, 0, 1), Bytes{7}) << line;
        Put(memory, 0, {8});
        EXPECT_EQ(Take(memory, other, 1), Bytes{8}) << line;
    }
}

TEST(CardMemory, WritingOnBothSidesOfAnIgnoredLineKeepsTheLaterBytes) {
    CardMemory memory = With(kMiB, {{.line = 2}});
    Put(memory, 0, Counted(16));
    EXPECT_EQ(Take(memory, 0, 16), (Bytes{5, 6, 7, 8, 5, 6, 7, 8, 13, 14, 15, 16, 13, 14, 15, 16}));
}

TEST(CardMemory, SwappedLinesMoveCellsAndKeepAll) {
    struct Swap {
        U32 line;
        U32 with;
    };
    for (const Swap& swap : {Swap{0, 1}, Swap{1, 0}, Swap{3, 12}, Swap{2, 17}, Swap{16, 18}}) {
        CardMemory memory = With(kMiB, {{.line = swap.line, .swaps = true, .with = swap.with}});
        const Bytes all = Counted(kMiB);
        Put(memory, 0, all);
        EXPECT_EQ(Take(memory, 0, all.size()), all) << swap.line << " " << swap.with;
        // As they were written, in pieces of another size.
        Bytes pieces;
        for (U64 address = 0; address < kMiB; address += 100'000) {
            const Bytes piece = Take(memory, address, std::min<U64>(100'000, kMiB - address));
            pieces.insert(pieces.end(), piece.begin(), piece.end());
        }
        EXPECT_EQ(pieces, all) << swap.line << " " << swap.with;
    }
}

// A cell that is stuck is seen at the address that leads to it.
TEST(CardMemory, CellsAreBehindTheLines) {
    const std::vector<MemoryFault> cells = {{.address = 0x12, .bit = 0}};
    const std::vector<AddressFault> swapped = {{.line = 1, .swaps = true, .with = 20}};
    CardMemory memory(4 * kMiB, cells, swapped);
    Put(memory, 0, Bytes(4 * kMiB, 0));
    EXPECT_EQ(Take(memory, 0x12, 1), Bytes{0});
    EXPECT_EQ(Take(memory, 0x100010, 1), Bytes{1});
    const std::vector<AddressFault> ignored = {{.line = 20}};
    CardMemory aliased(4 * kMiB, cells, ignored);
    EXPECT_EQ(Take(aliased, 0x100012, 1), Bytes{1});
    EXPECT_EQ(Take(aliased, 0x12, 1), Bytes{1});
    EXPECT_EQ(Take(aliased, 0x200012, 1), Bytes{0});
}

TEST(CardMemory, SeveralBrokenLinesAddUp) {
    CardMemory memory =
        With(kMiB, {{.line = 19}, {.line = 4, .swaps = true, .with = 18}, {.line = 3}});
    Put(memory, 0x10, {9});
    EXPECT_EQ(Take(memory, 0x80010, 1), Bytes{9});
    EXPECT_EQ(Take(memory, 0x18, 1), Bytes{9});
    EXPECT_EQ(Take(memory, 0x40000, 1), Bytes{0});
    const std::vector<MemoryFault> cells = {{.address = 0x40000, .bit = 2}};
    const std::vector<AddressFault> lines = {{.line = 4, .swaps = true, .with = 18}};
    EXPECT_EQ(Take(CardMemory(kMiB, cells, lines), 0x10, 1), Bytes{4});
}

// Of a memory that is no power of two in size, what has no partner stays where it is.
TEST(CardMemory, SwapThatWouldLeadOutOfTheMemoryIsNone) {
    constexpr U64 kSize = 5 * kMiB + 3;
    CardMemory memory = With(kSize, {{.line = 20, .swaps = true, .with = 22}});
    const Bytes all = Counted(kSize);
    Put(memory, 0, all);
    EXPECT_EQ(Take(memory, 0, kSize), all);
    const std::vector<MemoryFault> cells = {{.address = kSize - 1, .bit = 0},
                                            {.address = 4 * kMiB, .bit = 0}};
    const std::vector<AddressFault> lines = {{.line = 20, .swaps = true, .with = 22}};
    const CardMemory stuck(kSize, cells, lines);
    EXPECT_EQ(Take(stuck, kSize - 1, 1), Bytes{1});
    EXPECT_EQ(Take(stuck, kMiB, 1), Bytes{1});
    EXPECT_EQ(Take(stuck, 4 * kMiB, 1), Bytes{0});
}

TEST(CardMemory, NeitherOfTwoPlacesMovesWhenOneIsCutOff) {
    CardMemory memory = With(4 * kMiB + 3, {{.line = 20, .swaps = true, .with = 22}});
    Put(memory, kMiB, {1, 2, 3});
    Put(memory, 4 * kMiB, {4, 5, 6});
    EXPECT_EQ(Take(memory, kMiB, 3), (Bytes{1, 2, 3}));
    EXPECT_EQ(Take(memory, 4 * kMiB, 3), (Bytes{4, 5, 6}));
}

TEST(CardMemory, RangeThatLeavesTheMemoryIsRefusedAlsoBehindBrokenLines) {
    CardMemory memory = With(kMiB, {{.line = 3}});
    EXPECT_FALSE(memory.Write(kMiB - 1, "12", 2));
    EXPECT_EQ(Take(memory, kMiB - 1, 1), Bytes{0});
    EXPECT_TRUE(memory.Write(kMiB, "", 0));
}

// The pattern of the memory tests: nothing of it tells the lines from whole ones.
TEST(CardMemory, OnePatternThroughoutDoesNotShowBrokenLines) {
    for (const AddressFault& fault :
         {AddressFault{.line = 19}, AddressFault{.line = 0, .swaps = true, .with = 2}}) {
        CardMemory memory = With(kMiB, {fault});
        const Bytes pattern(kMiB, 0xAA);
        Put(memory, 0, pattern);
        EXPECT_EQ(Take(memory, 0, kMiB), pattern);
    }
}

}  // namespace
}  // namespace simulated

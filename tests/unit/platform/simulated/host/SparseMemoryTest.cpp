// A simulated card's memory: contents against a plain model, cost, broken cells.
#include "host/SparseMemory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

namespace {

constexpr U64 kKiB = 1024;
constexpr U64 kBlock = 64 * kKiB;
constexpr U64 kGiB = U64{1} << 30;

std::vector<U8> Repeated(U64 word, U64 bytes) {
    std::vector<U8> data(bytes);
    for (U64 i = 0; i < bytes; ++i)
        data[i] = static_cast<U8>(word >> (8 * (i % 8)));
    return data;
}

std::vector<U8> ReadBack(const SparseMemory& memory, U64 address, U64 bytes) {
    std::vector<U8> data(bytes, 0xEE);
    EXPECT_TRUE(memory.Read(address, data.data(), bytes));
    return data;
}

}  // namespace

TEST(SparseMemory, ReadsZerosWhereNothingWasWritten) {
    const SparseMemory memory(kGiB);
    EXPECT_EQ(ReadBack(memory, kGiB - 100, 100), std::vector<U8>(100, 0));
}

TEST(SparseMemory, RefusesRangesThatLeaveIt) {
    SparseMemory memory(1000);
    U8 data[16] = {1, 2, 3};
    EXPECT_TRUE(memory.Write(984, data, 16));
    EXPECT_FALSE(memory.Write(985, data, 16));
    EXPECT_FALSE(memory.Write(1001, data, 0));
    EXPECT_TRUE(memory.Write(1000, data, 0));
    EXPECT_FALSE(memory.Read(~U64{0} - 3, data, 8)) << "the end of the range wraps";
    EXPECT_EQ(data[0], 1) << "a refused read copies nothing";
}

TEST(SparseMemory, RefusedWriteChangesNothing) {
    SparseMemory memory(2 * kBlock);
    const auto data = Repeated(0x1122334455667788, 2 * kBlock);
    EXPECT_FALSE(memory.Write(kBlock, data.data(), kBlock + 1));
    EXPECT_EQ(ReadBack(memory, 0, 2 * kBlock), std::vector<U8>(2 * kBlock, 0));
}

TEST(SparseMemory, PatternsOfEveryWidthCostNoBlock) {
    for (const U64 word : {U64{0x5A5A5A5A5A5A5A5A}, U64{0xBEEFBEEFBEEFBEEF},
                           U64{0xDEADBEEFDEADBEEF}, U64{0x0123456789ABCDEF}, U64{0}}) {
        SparseMemory memory(16 * kGiB);
        const auto data = Repeated(word, 16 * kBlock);
        ASSERT_TRUE(memory.Write(16 * kGiB - data.size(), data.data(), data.size()));
        EXPECT_EQ(memory.StoredBlocks(), 0U);
        EXPECT_EQ(ReadBack(memory, 16 * kGiB - data.size(), data.size()), data);
    }
}

TEST(SparseMemory, PatternIsReadRightFromAnyOffset) {
    SparseMemory memory(2 * kBlock);
    const auto data = Repeated(0x0123456789ABCDEF, kBlock);
    ASSERT_TRUE(memory.Write(kBlock, data.data(), kBlock));
    for (U64 offset = 0; offset < 9; ++offset) {
        for (U64 bytes = 0; bytes < 18; ++bytes)
            EXPECT_EQ(ReadBack(memory, kBlock + offset, bytes),
                      std::vector<U8>(data.begin() + static_cast<std::ptrdiff_t>(offset),
                                      data.begin() + static_cast<std::ptrdiff_t>(offset + bytes)))
                << "offset " << offset << ", bytes " << bytes;
    }
}

TEST(SparseMemory, BlockWrittenInPiecesShrinksWhenItIsAPattern) {
    SparseMemory memory(4 * kBlock);
    const auto data = Repeated(0xAABB, kBlock);
    ASSERT_TRUE(memory.Write(kBlock, data.data(), 24));
    EXPECT_EQ(memory.StoredBlocks(), 1U);
    ASSERT_TRUE(memory.Write(kBlock + 24, data.data() + 24, kBlock - 24));
    EXPECT_EQ(memory.StoredBlocks(), 0U);
    EXPECT_EQ(ReadBack(memory, kBlock, kBlock), data);
}

TEST(SparseMemory, RepeatedOverwriteOfOtherContentShrinksTheBlock) {
    SparseMemory memory(kBlock);
    auto data = Repeated(7, kBlock);
    data[100] = 9;
    ASSERT_TRUE(memory.Write(0, data.data(), kBlock));
    EXPECT_EQ(memory.StoredBlocks(), 1U);
    ASSERT_TRUE(memory.Write(0, data.data(), kBlock));
    EXPECT_EQ(memory.StoredBlocks(), 1U);
    EXPECT_EQ(ReadBack(memory, 0, kBlock), data);
    data[100] = data[108];
    ASSERT_TRUE(memory.Write(0, data.data(), kBlock));
    EXPECT_EQ(memory.StoredBlocks(), 0U);
    EXPECT_EQ(ReadBack(memory, 0, kBlock), data);
}

TEST(SparseMemory, StuckBitsChangeWhatIsReadAndNotWhatIsKept) {
    SparseMemory memory(2 * kBlock);
    memory.StickBit(kBlock - 1, 0, true);
    memory.StickBit(kBlock, 7, false);
    const std::vector<U8> data = {0xF0, 0xF0, 0xF0, 0xF0};
    ASSERT_TRUE(memory.Write(kBlock - 2, data.data(), data.size()));
    EXPECT_EQ(ReadBack(memory, kBlock - 2, 4), (std::vector<U8>{0xF0, 0xF1, 0x70, 0xF0}));
    EXPECT_EQ(ReadBack(memory, kBlock - 1, 1), std::vector<U8>{0xF1});
    EXPECT_EQ(ReadBack(memory, kBlock + 1, 1), std::vector<U8>{0xF0});
    memory.StickBit(kBlock - 1, 0, false);
    EXPECT_EQ(ReadBack(memory, kBlock - 1, 1), std::vector<U8>{0xF0});
}

TEST(SparseMemory, SeveralStuckBitsOfOneByteAndInUntouchedMemory) {
    SparseMemory memory(16 * kGiB);
    memory.StickBit(16 * kGiB - 1, 3, true);
    memory.StickBit(16 * kGiB - 1, 4, true);
    EXPECT_EQ(ReadBack(memory, 16 * kGiB - 2, 2), (std::vector<U8>{0, 0x18}));
}

TEST(SparseMemory, ARowOfStuckBitsReachesFromItsFirstByteToTheEnd) {
    SparseMemory memory(2 * kBlock);
    memory.StickBits(5, 3, 1, true);
    for (const U64 address : {U64{0}, U64{5}, U64{6}, U64{7}, kBlock - 4, 2 * kBlock - 9}) {
        std::vector<U8> expected(9);
        for (U64 i = 0; i < 9; ++i)
            expected[i] = address + i >= 5 && (address + i - 5) % 3 == 0 ? 2 : 0;
        EXPECT_EQ(ReadBack(memory, address, 9), expected) << address;
    }
    EXPECT_EQ(ReadBack(memory, 6, 2), (std::vector<U8>{0, 0})) << "between two of them";
    memory.StickBits(0, 1, 1, false);
    EXPECT_EQ(ReadBack(memory, 0, 2 * kBlock), std::vector<U8>(2 * kBlock, 0));
    EXPECT_EQ(memory.StoredBlocks(), 0U);
}

// Random writes, some of them patterns, against an array of bytes.
TEST(SparseMemory, AgreesWithAPlainArray) {
    constexpr U64 kSize = 5 * kBlock + 777;
    std::mt19937_64 random(20240102);
    SparseMemory memory(kSize);
    std::vector<U8> model(kSize, 0);
    for (int round = 0; round < 2000; ++round) {
        const U64 address = random() % kSize;
        const U64 limit = round % 3 == 0 ? 3 * kBlock : 40;
        const U64 bytes = std::min(random() % limit, kSize - address);
        auto data = Repeated(round % 2 == 0 ? U64{0x5A5A5A5A5A5A5A5A} : random(), bytes);
        ASSERT_TRUE(memory.Write(address, data.data(), bytes));
        std::copy(data.begin(), data.end(), model.begin() + static_cast<std::ptrdiff_t>(address));
        if (round % 100 == 0) {
            ASSERT_EQ(ReadBack(memory, 0, kSize), model) << "round " << round;
        }
        const U64 from = random() % kSize;
        const U64 length = std::min(random() % 100, kSize - from);
        ASSERT_TRUE(std::ranges::equal(
            ReadBack(memory, from, length),
            std::vector<U8>(model.begin() + static_cast<std::ptrdiff_t>(from),
                            model.begin() + static_cast<std::ptrdiff_t>(from + length))))
            << "round " << round;
    }
}

// The transfer buffer: when it fills, what it finds and in which order.
#include "TestEngine/memory/transferBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace {

constexpr U64 kPattern = 0x1122334455667788;
using Found = std::vector<std::pair<U32, int>>;  // offset and first byte

Found Verify(TransferBuffer& buffer, U32 length) {
    Found found;
    EXPECT_TRUE(buffer.Verify(length, [&](U32 offset, U8 byte) {
        found.emplace_back(offset, byte);
        return true;
    }));
    return found;
}

bool AllZero(TransferBuffer& buffer) {
    return std::all_of(buffer.Data(), buffer.Data() + TransferBuffer::k_Bytes,
                       [](U8 byte) { return byte == 0; });
}

TEST(TransferBuffer, FillsAndFindsNothingWrong) {
    for (const U32 width : {1U, 2U, 4U, 8U}) {
        TransferBuffer buffer(&kPattern, width);
        ASSERT_TRUE(buffer.IsAllocated());
        buffer.Data()[5000] = 0xEE;
        buffer.FillWithPattern(5000);
        EXPECT_EQ(Verify(buffer, 5000), Found{}) << width;
        EXPECT_EQ(buffer.Data()[0], 0x88);
        EXPECT_EQ(buffer.Data()[4999], (kPattern >> (8 * (4999 % width))) & 0xFF) << width;
        EXPECT_EQ(buffer.Data()[5000], 0xEE);
    }
}

TEST(TransferBuffer, FillsWhatIsNoWholeElementWithZeros) {
    TransferBuffer buffer(&kPattern, 8);
    std::fill_n(buffer.Data(), 16, U8{0xEE});
    buffer.FillWithPattern(15);
    EXPECT_EQ(std::vector<U8>(buffer.Data(), buffer.Data() + 16),
              (std::vector<U8>{0x88, 0x77, 0x66, 0x55, 0x44, 0x33, 0x22, 0x11, 0, 0, 0, 0, 0, 0, 0,
                               0xEE}));
}

TEST(TransferBuffer, FindsEveryWrongElementInOrder) {
    for (const U32 width : {1U, 2U, 4U, 8U}) {
        TransferBuffer buffer(&kPattern, width);
        buffer.FillWithPattern(TransferBuffer::k_Bytes);
        Found expected;
        // Both ends, both sides of the border of a block of 4096 bytes, neighbours in one element.
        for (const U32 offset : {0U, 1U, 4095U, 4096U, 8199U, TransferBuffer::k_Bytes - 1}) {
            buffer.Data()[offset] ^= 0x01;
            const U32 element = offset - offset % width;
            if (expected.empty() || expected.back().first != element)
                expected.emplace_back(element, 0);
        }
        for (auto& [offset, byte] : expected)
            byte = buffer.Data()[offset];
        EXPECT_EQ(Verify(buffer, TransferBuffer::k_Bytes), expected) << width;
    }
}

TEST(TransferBuffer, StopsWhereTheReportSaysSo) {
    TransferBuffer buffer(&kPattern, 4);
    buffer.Clear();
    int reports = 0;
    EXPECT_FALSE(buffer.Verify(64, [&](U32, U8) { return ++reports < 3; }));
    EXPECT_EQ(reports, 3);
}

TEST(TransferBuffer, HoldsThePatternAgainAfterFailuresAndNotAfterClearing) {
    TransferBuffer buffer(&kPattern, 8);
    buffer.FillWithPattern(20000);
    buffer.Clear();
    EXPECT_TRUE(AllZero(buffer));
    EXPECT_EQ(Verify(buffer, 20000).size(), 2500U);
    EXPECT_EQ(Verify(buffer, 20000), Found{});
    buffer.FillWithPattern(20000);
    EXPECT_EQ(Verify(buffer, 20000), Found{});
    buffer.Clear();
    buffer.FillWithPattern(20000);
    EXPECT_EQ(Verify(buffer, 20000), Found{});
}

TEST(TransferBuffer, LeavesOutWhatIsNoWholeElement) {
    TransferBuffer buffer(&kPattern, 8);
    buffer.Clear();
    EXPECT_EQ(Verify(buffer, 7), Found{});
    EXPECT_EQ(Verify(buffer, 15), (Found{{0, 0}}));
}

TEST(TransferBuffer, AtAWidthThatIsNoneEveryElementDiffers) {
    TransferBuffer three(&kPattern, 3);
    three.FillWithPattern(12);
    EXPECT_TRUE(std::all_of(three.Data(), three.Data() + 12, [](U8 byte) { return byte == 0; }));
    EXPECT_EQ(Verify(three, 10), (Found{{0, 0}, {3, 0}, {6, 0}}));
    EXPECT_EQ(Verify(three, 10).size(), 3U) << "again";
    TransferBuffer none(&kPattern, 0);
    none.FillWithPattern(3);
    EXPECT_EQ(Verify(none, 3), (Found{{0, 0}, {1, 0}, {2, 0}}));
}

}  // namespace

// Patterns: filling and comparing at each width.
#include "TestEngine/memory/memoryPattern.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

constexpr U64 kPattern = 0x1122334455667788;
constexpr U8 kBytes[] = {0x88, 0x77, 0x66, 0x55, 0x44, 0x33, 0x22, 0x11};

TEST(Pattern, FillsWholeElementsOnly) {
    for (const unsigned int width : {1U, 2U, 4U, 8U}) {
        for (unsigned int length = 0; length < 40; ++length) {
            std::vector<U8> buffer(48, 0xEE);
            fillPattern(buffer.data(), &kPattern, width, length);
            for (unsigned int i = 0; i < buffer.size(); ++i) {
                const bool filled = i < length - length % width;
                EXPECT_EQ(buffer[i], filled ? kBytes[i % width] : 0xEE)
                    << "width " << width << ", length " << length << ", byte " << i;
            }
        }
    }
}

TEST(Pattern, WritesNothingAtAWidthThatIsNone) {
    for (const unsigned int width : {0U, 3U, 5U, 7U, 9U, 16U}) {
        std::vector<U8> buffer(32, 0xEE);
        fillPattern(buffer.data(), &kPattern, width, 32);
        EXPECT_EQ(buffer, std::vector<U8>(32, 0xEE)) << width;
    }
}

TEST(Pattern, AnElementTypeWritesItsOwnWidthOnly) {
    std::vector<U8> buffer(16, 0xEE);
    CMemData<unsigned short>::copyPattern(buffer.data(), &kPattern, 4, 16);
    EXPECT_EQ(buffer, std::vector<U8>(16, 0xEE));
    CMemData<unsigned short>::copyPattern(buffer.data() + 1, &kPattern, 2, 3);
    EXPECT_EQ(buffer[0], 0xEE);
    EXPECT_EQ(buffer[1], 0x88);
    EXPECT_EQ(buffer[2], 0x77);
    EXPECT_EQ(buffer[3], 0xEE);
}

TEST(Pattern, ComparesOneElement) {
    for (const unsigned int width : {1U, 2U, 4U, 8U}) {
        for (unsigned int byte = 0; byte < 9; ++byte) {
            std::vector<U8> found(std::begin(kBytes), std::end(kBytes));
            found.push_back(0);
            found[byte] ^= 0x10;
            EXPECT_EQ(verifyData(found.data(), kBytes, width) != 0, byte >= width)
                << "width " << width << ", byte " << byte;
        }
    }
    for (const unsigned int width : {0U, 3U, 16U})
        EXPECT_EQ(verifyData(kBytes, kBytes, width), 0) << width;
}

}  // namespace

// What broken lines make of a request's bytes.
#include "vorl/BrokenLine.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

using vorl::BrokenLine;

std::vector<U32> PassOver(const std::vector<BrokenLine>& lines, bool toPeer,
                          std::vector<U32> words) {
    vorl::PassOver(lines, toPeer, std::as_writable_bytes(std::span(words)));
    return words;
}

using Words = std::vector<U32>;

TEST(BrokenLine, WithoutOneBytesStayAsTheyAre) {
    EXPECT_EQ(PassOver({}, true, {1, 2, 3}), (Words{1, 2, 3}));
    EXPECT_EQ(PassOver({{.toPeer = true, .stuck = true}}, true, {}), Words{});
}

TEST(BrokenLine, SetsOrClearsOneBitOfOneWordInOneDirection) {
    const std::vector<BrokenLine> lines = {{.toPeer = true, .word = 1, .bit = 31, .stuck = true},
                                           {.toPeer = false, .word = 0, .bit = 0, .stuck = false}};
    EXPECT_EQ(PassOver(lines, true, {1, 1, 1}), (Words{1, 0x80000001, 1}));
    EXPECT_EQ(PassOver(lines, false, {1, 1, 1}), (Words{0, 1, 1}));
    EXPECT_EQ(PassOver(lines, true, {0, 0x80000000}), (Words{0, 0x80000000})) << "as it was sent";
}

TEST(BrokenLine, SeveralBreakTheSameWord) {
    EXPECT_EQ(PassOver({{.word = 0, .bit = 3, .stuck = true}, {.word = 0, .bit = 4, .stuck = true}},
                       false, {0}),
              Words{0x18});
}

TEST(BrokenLine, AWordThatIsNotThereWholeStaysAsItIs) {
    const std::vector<BrokenLine> lines = {{.word = 1, .bit = 0, .stuck = true}};
    for (size_t length = 0; length <= 9; ++length) {
        std::vector<std::byte> bytes(length);
        vorl::PassOver(lines, false, bytes);
        std::vector<std::byte> expected(length);
        if (length >= 8)
            expected[4] = std::byte{1};
        EXPECT_EQ(bytes, expected) << length;
    }
}

}  // namespace

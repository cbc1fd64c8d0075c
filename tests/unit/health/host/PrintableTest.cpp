// Texts from elsewhere as they are shown.
#include "host/Printable.h"

#include <gtest/gtest.h>

namespace zelhealth {
namespace {

TEST(Printable, LeavesTextsOfAnyLanguage) {
    for (const char* text : {"", "plain", "Größe", "кардa", "漢字", "\U0001F600", "é"})
        EXPECT_EQ(Printable(text), text);
}

TEST(Printable, TakesWhatATerminalObeys) {
    EXPECT_EQ(Printable("a\x1b[2J\n\t\x7f"), "a?[2J???");
    // The same in the other set of control characters, as one character and as a lone byte.
    EXPECT_EQ(Printable("a\xC2\x9B"
                        "2J"),
              "a?2J");
    EXPECT_EQ(Printable("a\x9B"
                        "2J"),
              "a?2J");
    EXPECT_EQ(Printable(std::string("a\0b", 3)), "a?b");
    EXPECT_EQ(Printable("\xC2\xA0"), "\xC2\xA0");
}

TEST(Printable, TakesWhatTurnsTheOrderOfOthers) {
    EXPECT_EQ(Printable("card\u202Edeliaf"), "card?deliaf");
    EXPECT_EQ(Printable("\u2066x\u2069\u200F\u061C\u2028"), "?x????");
}

TEST(Printable, TakesBytesThatAreNoCharacter) {
    EXPECT_EQ(Printable("\xFF\xFE"), "??");
    EXPECT_EQ(Printable("x\xE2\x82"), "x??");          // cut off
    EXPECT_EQ(Printable("\xC0\xAF"), "??");            // too long a form
    EXPECT_EQ(Printable("\xE0\x80\xAF"), "???");       // the same
    EXPECT_EQ(Printable("\xED\xA0\x80"), "???");       // half of a pair
    EXPECT_EQ(Printable("\xF4\x90\x80\x80"), "????");  // behind the last
    EXPECT_EQ(Printable("\xC3x"), "?x");
}

}  // namespace
}  // namespace zelhealth

// Which lines are a message, by the text of its row.
#include "catalogue/MessagePattern.h"

#include <gmock/gmock.h>

namespace zelhealth {
namespace {

using ::testing::Contains;
using ::testing::IsEmpty;

TEST(MessagePattern, IsTheLinesThatHaveItsWords) {
    const std::pair<const char*, std::vector<std::string>> rows[] = {
        {"Link trained down", {"Link trained down", "  Link trained\tdown \n"}},
        {"FAILED:  Bootstrap failed", {"FAILED:  Bootstrap failed", "FAILED: Bootstrap failed"}},
        {"down to <n> Lanes", {"down to 8 Lanes", "down to -1 Lanes"}},
        {"Test <n> Passed", {"Test 12 Passed"}},
        {"Device ID = 0x<hex>", {"Device ID = 0x12aF"}},
        {"FAB <letter>", {"FAB B"}},
        {"Errors: <numbers>", {"Errors: 0,3,12"}},
        {"HOSK Version: <version>", {"HOSK Version: 4.7 (x)", "HOSK Version:"}},
        {"Device Status: <OK or FAILED>", {"Device Status: OK", "Device Status: FAILED"}},
        {"<MPI, CRB or Product>", {"MPI", "CRB", "Product"}},
        {"Test <n> Failed in file <file>, line <n> with reason [<reason>]",
         {"Test 2 Failed in file a/b, line 3 with reason [x, y]",
          "Test 2 Failed in file a/b, line 3 with reason [x]]"}},
        {"<word>: is wrong", {"a b: c: is wrong"}},
        {"zelAccess->x <text>", {"zelAccess->x <y>"}},
    };
    for (const auto& [text, lines] : rows) {
        for (const std::string& line : lines)
            EXPECT_TRUE(MessagePattern(text).Matches(OneLine(line))) << text << "|" << line;
    }
}

TEST(MessagePattern, IsNoOtherLine) {
    const std::pair<const char*, std::vector<std::string>> rows[] = {
        {"Link trained down", {"Link trained", "Link trained down.", "A Link trained down", ""}},
        {"Link trained down", {"link trained down", "Linktrained down"}},
        {"down to <n> Lanes",
         {"down to x Lanes", "down to  Lanes", "down to 8Lanes", "down to 8.5 Lanes"}},
        {"ID = 0x<hex>", {"ID = 0xg", "ID = 0x"}},
        {"FAB <letter>", {"FAB BC", "FAB 1"}},
        {"Errors: <numbers>", {"Errors: a", "Errors: 1 2"}},
        {"Device Status: <OK or FAILED>", {"Device Status: ok", "Device Status: OKAY"}},
        {"in file <file>, line", {"in file a b, line"}},
        {"<word>: is wrong", {": is wrong"}},
        {"<OK or FAILED>!", {"or!", "OK or FAILED!"}},
        {"<MPI, CRB or Product>", {"MPI, CRB", "CR", "CRB or Product"}},
        {"HOSK Version: <version>!", {"HOSK Version:!x"}},
    };
    for (const auto& [text, lines] : rows) {
        for (const std::string& line : lines)
            EXPECT_FALSE(MessagePattern(text).Matches(OneLine(line))) << text << "|" << line;
    }
}

// Of several words, and at the end of one.
TEST(MessagePattern, MayBeTheBeginningOfALine) {
    for (const char* line : {"Link trained down to 8", "Link trained down", "Link trained down: x"})
        EXPECT_TRUE(MessagePattern("Link trained down").Begins(line)) << line;
    for (const char* line : {"Link trained downwards", "A Link trained down", "Link trained"})
        EXPECT_FALSE(MessagePattern("Link trained down").Begins(line)) << line;
    EXPECT_TRUE(MessagePattern("down to <n>").Begins("down to 8: x"));
    EXPECT_FALSE(MessagePattern("failed").Begins("failed to x"));
    EXPECT_FALSE(MessagePattern("failed").Begins("failed"));
}

TEST(MessagePattern, KnowsACardByItsForm) {
    for (const char* card : {"zel0", "zel12", "0000:03:00.0"})
        EXPECT_TRUE(MessagePattern("<card> is silent").Matches(card + std::string(" is silent")))
            << card;
    for (const char* card : {"it", "zel", "zelx", "12", "0000:03", "a b", ".:"})
        EXPECT_FALSE(MessagePattern("<card> is silent").Matches(card + std::string(" is silent")))
            << card;
}

TEST(MessagePattern, HoldsOtherMessages) {
    EXPECT_THAT(MessagePattern("ZelDiag: <program>: <cause>").Inner("ZelDiag: a: it: failed"),
                Contains("it: failed"));
    EXPECT_THAT(MessagePattern("with reason [<reason>]").Inner("with reason [it failed ]"),
                Contains("it failed"));
    EXPECT_THAT(MessagePattern("with reason [<reason>]").Inner("with reason [x]"), Contains("x"));
    EXPECT_THAT(MessagePattern("<cause>").Inner("x"), ::testing::ElementsAre("x"));
    EXPECT_THAT(MessagePattern("down to <n> Lanes").Inner("down to 8 Lanes"), IsEmpty());
    EXPECT_THAT(MessagePattern("with reason [<reason>]").Inner("with a reason"), IsEmpty());
}

// Forms of lines, which any text has.
TEST(MessagePattern, MayHaveNothingByWhichItIsTold) {
    for (const char* text : {"<library>", "<file>:<line>: <fault>", "<group>.<test>: <failure>",
                             "||", ".", "<n> s", "a: b", "0x<hex>"})
        EXPECT_FALSE(MessagePattern(text).IsTold()) << text;
    for (const char* text : {"<group> : ENDS", "No", "0x<hex> OK"})
        EXPECT_TRUE(MessagePattern(text).IsTold()) << text;
}

TEST(MessagePattern, TakesLongLinesOfAnything) {
    const std::string line(100000, ':');
    EXPECT_FALSE(MessagePattern("<text>: <text>: <text>: <text>: x").Matches(line));
    EXPECT_TRUE(MessagePattern("<text>: <text>").Matches("a: " + line));
}

}  // namespace
}  // namespace zelhealth

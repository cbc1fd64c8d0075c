#include "fleet/Suggestion.h"

#include <gtest/gtest.h>

namespace simulated {
namespace {

const std::vector<std::string> kWords = {"run", "mode", "status", "check", "memory_size"};

TEST(Suggestion, NamesTheNearestWord) {
    EXPECT_EQ(Suggestion("rnu", kWords), "; did you mean \"run\"?");
    EXPECT_EQ(Suggestion("stats", kWords), "; did you mean \"status\"?");
    EXPECT_EQ(Suggestion("memory-size", kWords), "; did you mean \"memory_size\"?");
    EXPECT_EQ(Suggestion("moded", kWords), "; did you mean \"mode\"?");
}

TEST(Suggestion, TakesSwappedNeighboursForOneMistake) {
    EXPECT_EQ(Suggestion("zle1", {"zel0", "zel1"}), "; did you mean \"zel1\"?");
    EXPECT_EQ(Suggestion("ehck", {"check"}), "; did you mean \"check\"?");
}

TEST(Suggestion, LooksPastLetterCase) {
    EXPECT_EQ(Suggestion("STATUS", kWords), "; did you mean \"status\"?");
    EXPECT_EQ(Suggestion("zeldiag", {"ZelDiag"}), "; did you mean \"ZelDiag\"?");
}

TEST(Suggestion, KeepsSilentWhenNothingIsNear) {
    for (const char* word : {"", "frobnicate", "xyz", "memory"})
        EXPECT_EQ(Suggestion(word, kWords), "") << '"' << word << '"';
    EXPECT_EQ(Suggestion("run", {}), "");
    EXPECT_EQ(Suggestion("xyz", kWords, "; see the manual"), "; see the manual");
}

TEST(Suggestion, LosesNoTimeOnAWordWithoutEnd) {
    const std::vector<std::string> manyWords(1000, "a_register_of_the_card");
    EXPECT_EQ(Suggestion(std::string(16 << 20, 'a'), manyWords), "");
}

TEST(Suggestion, TakesTheFirstOfTwoThatAreEquallyNear) {
    EXPECT_EQ(Suggestion("cat", {"car", "bat"}), "; did you mean \"car\"?");
}

}  // namespace
}  // namespace simulated

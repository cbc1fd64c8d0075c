// What cards are called by.
#include "cli/CardName.h"

#include <gtest/gtest.h>

namespace zelhealth {
namespace {

TEST(CardName, IsAnIndexWithOrWithoutItsPrefix) {
    EXPECT_EQ(CardName("zel0"), "zel0");
    EXPECT_EQ(CardName("1"), "zel1");
    EXPECT_EQ(CardName("255"), "zel255");
}

TEST(CardName, IsAnAddressWithOrWithoutItsDomain) {
    EXPECT_EQ(CardName("0000:03:00.0"), "0000:03:00.0");
    EXPECT_EQ(CardName("03:00.0"), "0000:03:00.0");
    EXPECT_EQ(CardName("00aB:FF:1f.7"), "00ab:ff:1f.7");
}

TEST(CardName, IsNothingElse) {
    for (const char* text :
         {"", "zel", "zel01", "01", "-1", "zel-1", "ZEL1", "zel1 ", "12345", "all", "../x",
          "3:00.0", "0000:03:00", "0000:03:20.0", "0000:03:00.8", "00000:03:00.0", "0000:03:00.0x"})
        EXPECT_FALSE(CardName(text)) << text;
}

}  // namespace
}  // namespace zelhealth

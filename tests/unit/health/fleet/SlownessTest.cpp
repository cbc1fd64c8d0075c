// Which cards are slow, among how many.
#include "fleet/Slowness.h"

#include <gmock/gmock.h>

namespace zelhealth {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST(Slowness, IsBeyondWhatIsUsualAndMatters) {
    // Six standard deviations, of which the absolute deviations' median is two thirds.
    EXPECT_FALSE(Slowness::IsSlow(18.8, 10, 1));
    EXPECT_TRUE(Slowness::IsSlow(19, 10, 1));
    // A tenth.
    EXPECT_FALSE(Slowness::IsSlow(10.9, 10, 0));
    EXPECT_TRUE(Slowness::IsSlow(11.1, 10, 0));
    // A tenth of a second.
    EXPECT_FALSE(Slowness::IsSlow(0.14, 0.05, 0));
    EXPECT_TRUE(Slowness::IsSlow(0.16, 0.05, 0));
}

TEST(Slowness, WantsSomeToCompareWith) {
    Slowness slowness;
    for (int i = 0; i < 3; ++i) {
        slowness.Add("t", "k", "h", "zel" + std::to_string(i), 1);
    }
    slowness.Add("t", "k", "h", "zel9", 5);
    EXPECT_THAT(slowness.Find(), IsEmpty());
    slowness.Add("t", "k", "h", "zel4", 1);
    ASSERT_THAT(slowness.Find(), SizeIs(1));
    EXPECT_EQ(slowness.Find()[0].card, "zel9");
}

TEST(Slowness, TellsACardOnceWithAllOfItsTests) {
    Slowness slowness;
    for (const char* const test : {"a", "b"}) {
        for (int i = 0; i < 8; ++i) {
            slowness.Add(test, "k", "h", "zel" + std::to_string(i), 1);
        }
    }
    slowness.Add("a", "k", "h", "zel9", 2);
    slowness.Add("a", "k", "h", "zel9", 3);  // another round
    slowness.Add("b", "k", "h", "zel9", 4);
    slowness.Add("a", "k", "other", "zel9", 9);
    const std::vector<SlowCard> slow = slowness.Find();
    ASSERT_THAT(slow, SizeIs(2));
    EXPECT_EQ(slow[0].host, "h");  // slow in more
    ASSERT_THAT(slow[0].tests, SizeIs(2));
    EXPECT_EQ(slow[0].tests[0].test, "b");
    EXPECT_EQ(slow[0].tests[1].seconds, 3);
    EXPECT_EQ(slow[1].host, "other");
}

TEST(Slowness, KeepsTheSlowestOfMany) {
    Slowness slowness;
    for (int i = 0; i < 10000; ++i) {
        slowness.Add("t", "k", "h" + std::to_string(i), "zel0",
                     i == 17 || i == 9999 ? 20 : 1 + i % 7 * 0.01);
    }
    ASSERT_THAT(slowness.Find(), SizeIs(2));
    EXPECT_EQ(slowness.Find()[0].host, "h17");
}

}  // namespace
}  // namespace zelhealth

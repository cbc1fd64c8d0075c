// Traits by numbers: what is bounded, and what is the most.
#include "fleet/Traits.h"

#include <gmock/gmock.h>

namespace zelhealth {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST(Names, BeyondTheBoundAreOne) {
    Names names(3);
    EXPECT_EQ(names.NumberOf("a"), 0);
    EXPECT_EQ(names.NumberOf("b"), 1);
    EXPECT_EQ(names.NumberOf("a"), 0);
    EXPECT_EQ(names.NumberOf("c"), 2);
    EXPECT_EQ(names.NumberOf("d"), 2);
    EXPECT_EQ(names[2], "(others)");
    EXPECT_EQ(names.Size(), 3);
}

TEST(Traits, ThatAllHaveAreNoDifference) {
    Traits traits;
    const std::vector<Trait> one = {traits.Of("version", "1", ""),
                                    traits.Of("cores", "57", "zel0")};
    EXPECT_THAT(traits.DivergencesOf({"a", "b"}, {&one, &one}), IsEmpty());
}

TEST(Traits, AreListedByHowManyHaveThem) {
    Traits traits;
    const std::vector<Trait> one = {traits.Of("version", "1", "")};
    const std::vector<Trait> two = {traits.Of("version", "2", "")};
    const std::vector<Trait> three = {traits.Of("version", "3", "")};
    const auto found = traits.DivergencesOf({"a", "b", "c", "d", "e", "f"},
                                            {&one, &two, &two, &two, &three, &three});
    ASSERT_THAT(found, SizeIs(1));
    EXPECT_EQ(found[0].count, 6);
    EXPECT_FALSE(found[0].ofCards);
    ASSERT_THAT(found[0].values, SizeIs(3));
    EXPECT_EQ(found[0].values[0].text, "2");
    EXPECT_EQ(found[0].values[1].text, "3");
    ASSERT_THAT(found[0].values[1].places, SizeIs(2));
    EXPECT_EQ(found[0].values[1].places[0].host, "e");
    EXPECT_EQ(found[0].values[1].places[0].card, "");
    EXPECT_EQ(found[0].values[2].places[0].host, "a");
}

}  // namespace
}  // namespace zelhealth

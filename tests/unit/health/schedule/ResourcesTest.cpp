// What cards share is given to one at a time, in the order that leaves nothing idle.
#include "schedule/Resources.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace zelhealth {
namespace {

using Clock = Resources::Clock;

Clock::time_point Soon() {
    return Clock::now() + std::chrono::milliseconds(100);
}

Clock::time_point Late() {
    return Clock::now() + std::chrono::seconds(60);
}

TEST(Resources, GiveTheFirstWishThatNeedsNone) {
    Resources resources;
    const Stop never;
    EXPECT_EQ(resources.Take({{}, {}}, Late(), never), 0U);
}

TEST(Resources, PreferWhatIsScarceAndFree) {
    Resources resources;
    const Stop never;
    EXPECT_EQ(resources.Take({{}, {"port"}}, Late(), never), 1U);
    EXPECT_EQ(resources.Take({{}, {"port"}}, Late(), never), 0U);
    resources.Give({"port"});
    EXPECT_EQ(resources.Take({{}, {"port"}}, Late(), never), 1U);
}

TEST(Resources, LetWaitForWhatIsTaken) {
    Resources resources;
    const Stop never;
    ASSERT_EQ(resources.Take({{"port"}}, Late(), never), 0U);
    EXPECT_EQ(resources.Take({{"port"}}, Soon(), never), std::nullopt);
    std::atomic<bool> given{false};
    std::thread other([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        given = true;
        resources.Give({"port"});
    });
    EXPECT_EQ(resources.Take({{"port"}}, Late(), never), 0U);
    EXPECT_TRUE(given);
    other.join();
}

TEST(Resources, LetNobodyWaitWhoIsToStop) {
    Resources resources;
    Stop stop;
    ASSERT_EQ(resources.Take({{"port"}}, Late(), stop), 0U);
    stop.Request();
    EXPECT_EQ(resources.Take({{"port"}}, Late(), stop), std::nullopt);
    EXPECT_EQ(resources.Take({{}}, Late(), stop), std::nullopt);
}

TEST(Resources, TellWhoHoldsThemForGood) {
    Resources resources;
    const Stop never;
    EXPECT_EQ(resources.Why({"port"}), std::nullopt);
    ASSERT_EQ(resources.Take({{"port"}}, Late(), never), 0U);
    resources.HoldForGood({"port"}, "zel1 is wedged");
    // Nobody waits for what does not come.
    EXPECT_EQ(resources.Take({{"port"}}, Late(), never), 0U);
    EXPECT_EQ(resources.Why({"other", "port"}), "zel1 is wedged");
}

}  // namespace
}  // namespace zelhealth

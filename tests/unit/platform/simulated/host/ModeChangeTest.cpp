// Telling the host of a card's new usage mode.
#include "host/ModeChange.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <atomic>
#include <stdexcept>
#include <thread>

#include "host/HostClock.h"
#include "host/HostState.h"

namespace simulated {
namespace {

// On a network of its own, where no other test is heard.
class ModeChange : public testing::Test {
protected:
    ModeChange() {
        if (unshare(CLONE_NEWNET) != 0)
            throw std::runtime_error("no private network: root rights are needed");
    }
};

// How often this thread has given up the processor to wait for something.
long Waits() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_nvcsw;
}

// The kernel may let any call wait now and then, but not all of them.
TEST_F(ModeChange, IsForgottenWhereNobodyListens) {
    int withoutWait = 0;
    for (int call = 0; call < 10; ++call) {
        const long before = Waits();
        TellModeChange();
        withoutWait += Waits() == before ? 1 : 0;
    }
    EXPECT_GT(withoutWait, 0);
}

TEST_F(ModeChange, WaitsUntilTheHostHasFollowed) {
    const platform::UniqueFd listener = ListenForModeChanges();
    ASSERT_TRUE(listener.IsValid());
    std::atomic<bool> followed = false;
    std::thread teller([&] {
        TellModeChange();
        EXPECT_TRUE(followed);
    });
    platform::UniqueFd told;
    while (!told.IsValid())
        told = platform::UniqueFd(accept(listener.Get(), nullptr, nullptr));
    followed = true;
    told.Reset();
    teller.join();
}

// The mode that a card has, and whether the host was told on the way.
struct Found {
    ZEL_CARD_USAGE_MODE mode;
    bool told;
};

Found Find(const UsageMode::Value& value) {
    const platform::UniqueFd listener = ListenForModeChanges();
    CardState card{};
    card.usageMode.Store(value);
    Found found{ZEL_USAGE_MODE_NOP, false};
    std::atomic<bool> ended = false;
    std::thread finder([&] {
        found.mode = HostState::UsageModeOf(card);
        ended = true;
    });
    // Who tells waits until it is heard.
    for (bool last = false; !last && !found.told;) {
        last = ended;
        found.told = platform::UniqueFd(accept(listener.Get(), nullptr, nullptr)).IsValid();
    }
    finder.join();
    return found;
}

TEST_F(ModeChange, IsToldByWhoeverFindsTheCardArrivedFirst) {
    const Found arrived = Find({.mode = ZEL_USAGE_MODE_NORMAL, .arrives = 1});
    EXPECT_EQ(arrived.mode, ZEL_USAGE_MODE_NORMAL);
    EXPECT_TRUE(arrived.told);
    const Found settled = Find({.mode = ZEL_USAGE_MODE_NORMAL});
    EXPECT_EQ(settled.mode, ZEL_USAGE_MODE_NORMAL);
    EXPECT_FALSE(settled.told);
    const Found underWay = Find({.mode = ZEL_USAGE_MODE_NORMAL, .arrives = HostClock() * 2});
    EXPECT_EQ(underWay.mode, ZEL_USAGE_MODE_IN_TRANSITION);
    EXPECT_FALSE(underWay.told);
}

TEST_F(ModeChange, HasOneListener) {
    const platform::UniqueFd listener = ListenForModeChanges();
    ASSERT_TRUE(listener.IsValid());
    EXPECT_FALSE(ListenForModeChanges().IsValid());
}

}  // namespace
}  // namespace simulated

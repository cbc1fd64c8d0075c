// Telling the host of a card's new usage mode.
#include "ModeChange.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <atomic>
#include <stdexcept>
#include <thread>

#include "HostClock.h"
#include "HostState.h"

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
    const Descriptor listener = ListenForModeChanges();
    ASSERT_TRUE(listener.IsOpen());
    std::atomic<bool> followed = false;
    std::thread teller([&] {
        TellModeChange();
        EXPECT_TRUE(followed);
    });
    Descriptor told;
    while (!told.IsOpen())
        told = Descriptor(accept(listener.Get(), nullptr, nullptr));
    followed = true;
    told.Close();
    teller.join();
}

// The mode that a card has, and whether the host was told on the way.
struct Found {
    ZEL_CARD_USAGE_MODE mode;
    bool told;
};

Found Find(const UsageMode::Value& value) {
    const Descriptor listener = ListenForModeChanges();
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
        found.told = Descriptor(accept(listener.Get(), nullptr, nullptr)).IsOpen();
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
    const Descriptor listener = ListenForModeChanges();
    ASSERT_TRUE(listener.IsOpen());
    EXPECT_FALSE(ListenForModeChanges().IsOpen());
}

}  // namespace
}  // namespace simulated

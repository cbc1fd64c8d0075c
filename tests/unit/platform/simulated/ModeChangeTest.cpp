// Telling the host of a card's new usage mode.
#include "ModeChange.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/socket.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>

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

TEST_F(ModeChange, IsForgottenWhereNobodyListens) {
    const auto start = std::chrono::steady_clock::now();
    TellModeChange();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
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

TEST_F(ModeChange, HasOneListener) {
    const Descriptor listener = ListenForModeChanges();
    ASSERT_TRUE(listener.IsOpen());
    EXPECT_FALSE(ListenForModeChanges().IsOpen());
}

}  // namespace
}  // namespace simulated

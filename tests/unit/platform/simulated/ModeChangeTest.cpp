// Telling the host of a card's new usage mode.
#include "ModeChange.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <atomic>
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

TEST_F(ModeChange, HasOneListener) {
    const Descriptor listener = ListenForModeChanges();
    ASSERT_TRUE(listener.IsOpen());
    EXPECT_FALSE(ListenForModeChanges().IsOpen());
}

}  // namespace
}  // namespace simulated

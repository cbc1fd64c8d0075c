// Everything is done once, by as many at once as are asked for.
#include "run/SideBySide.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>
#include <vector>

namespace zelhealth {
namespace {

// How many are at work at once, at most, where each waits for the others a while.
int MostAtOnce(std::size_t count, std::size_t jobs) {
    std::atomic<int> now{0};
    std::atomic<int> most{0};
    const auto enough = static_cast<int>(std::min(count, jobs));
    SideBySide(count, jobs, [&](std::size_t) {
        const int here = ++now;
        for (int seen = most; seen < here && !most.compare_exchange_weak(seen, here);) {
        }
        for (int i = 0; i < 1000 && most < enough; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        // One too many would be seen by now.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        --now;
    });
    return most;
}

TEST(SideBySide, DoesAllAtOnceOrAsManyAsAreAskedFor) {
    EXPECT_EQ(MostAtOnce(3, 3), 3);
    EXPECT_EQ(MostAtOnce(3, 100), 3);
    EXPECT_EQ(MostAtOnce(5, 2), 2);
    EXPECT_EQ(MostAtOnce(3, 1), 1);
}

TEST(SideBySide, DoesEachOnce) {
    std::vector<std::atomic<int>> done(100);
    SideBySide(done.size(), 7, [&](std::size_t i) { ++done.at(i); });
    EXPECT_TRUE(
        std::all_of(done.begin(), done.end(), [](const auto& times) { return times == 1; }));
    SideBySide(0, 7, [](std::size_t) { ADD_FAILURE(); });
}

TEST(SideBySide, ThrowsWhatWasThrownOnceAllHaveEnded) {
    for (const std::size_t bad : {std::size_t{0}, std::size_t{3}}) {
        std::atomic<int> ended{0};
        const auto work = [&](std::size_t i) {
            if (i == bad) {
                throw std::runtime_error("no room");
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            ++ended;
        };
        EXPECT_THROW(SideBySide(4, 4, work), std::runtime_error);
        const int atOnce = ended;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        EXPECT_EQ(ended, atOnce);
    }
}

}  // namespace
}  // namespace zelhealth

// The end of a process in which a worker that was given up still runs.
#include "TestEngine/dma/PeerWorker.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

namespace {

constexpr int kStatus = 3;
constexpr int kDestroyed = 99;

void* RunOn(void*) {
    for (;;)
        pause();
}

// Ends with kDestroyed when the process destroys what belongs to it, as it does after what is
// registered later.
void EndProcess(bool giveUpAWorker) {
    std::atexit([] { _exit(kDestroyed); });
    if (giveUpAWorker) {
        DmaWorker worker;
        if (!worker.Start(RunOn))
            _exit(1);
    }
    std::exit(kStatus);
}

// Each process begins anew: only the first worker that is given up changes how it ends.
TEST(DmaWorkerDeathTest, NothingIsDestroyedUnderAWorkerThatRunsOn) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(EndProcess(true), testing::ExitedWithCode(kStatus), "");
    EXPECT_EXIT(EndProcess(false), testing::ExitedWithCode(kDestroyed), "");
}

}  // namespace

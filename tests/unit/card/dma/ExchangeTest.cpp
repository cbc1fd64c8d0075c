// Both halves of each exchange, in two processes, over the library.
#include <gmock/gmock.h>

#include <atomic>
#include <filesystem>
#include <iterator>
#include <thread>

#include "CardProgram.h"
#include "TestEngine/dma/VorlAcceptDma.h"
#include "TestEngine/dma/VorlConnectDma.h"
#include "TestEngine/te_main_params.h"

namespace {

using ::testing::HasSubstr;

struct Shape {
    unsigned int pages;
    unsigned int buffers;
    unsigned int fixed;
    unsigned int keep;

    std::string Arguments() const {
        std::string text;
        for (const unsigned int number : {pages, buffers, fixed, keep, 0U})
            text += (text.empty() ? "" : " ") + std::to_string(number);
        return text;
    }
};

constexpr Shape kOfTheTests{1, 1, 0, 0};

class Exchange : public ::testing::Test {
protected:
    Exchange() {
        ifstSetupParams = {};
        ifstSetupParams.bQuietMode = 1;
    }

    static unsigned int ConnectHost(const Shape& shape) {
        return vorl_connect_dma(shape.pages, shape.buffers, shape.fixed, shape.keep, 1);
    }
    static unsigned int AcceptHost(const Shape& shape) {
        U32 state = 0xFFFFFFFF;
        const unsigned int result =
            vorl_accept_dma(shape.pages, shape.buffers, shape.fixed, shape.keep, &state);
        EXPECT_EQ(state, 1U);
        return result;
    }

    static void HostToCard(const Shape& shape, const std::string& generation = "er1x") {
        CardProgram peer("vorl_accept_dma_zel_" + generation, shape.Arguments());
        EXPECT_EQ(ConnectHost(shape), 0U) << shape.Arguments();
        EXPECT_EQ(peer.Await(), 0);
        EXPECT_EQ(peer.Output(), "ZelVorlAcceptDMA Test success\n\n");
    }
    static void CardToHost(const Shape& shape, const std::string& generation = "er1x") {
        CardProgram peer("vorl_connect_dma_zel_" + generation, shape.Arguments());
        EXPECT_EQ(AcceptHost(shape), 0U) << shape.Arguments();
        EXPECT_EQ(peer.Await(), 0);
        EXPECT_EQ(peer.Output(), "ZelVorlConnectDMA Test success\n\n");
    }

    static long CountOf(const char* folder) {
        return std::distance(std::filesystem::directory_iterator(folder),
                             std::filesystem::directory_iterator());
    }
};

TEST_F(Exchange, SucceedsBothWaysOnBothGenerations) {
    for (const char* const generation : {"er1x", "ev1x"}) {
        HostToCard(kOfTheTests, generation);
        CardToHost(kOfTheTests, generation);
    }
}

TEST_F(Exchange, SucceedsInEveryShape) {
    for (const Shape& shape : {Shape{1, 7, 0, 0},
                               {1, 7, 1, 0},
                               {3, 5, 0, 1},
                               {17, 2, 1, 1},
                               {16384, 1, 0, 0},
                               {4096, 4, 1, 0},
                               {1, 1024, 0, 0}}) {
        HostToCard(shape);
        CardToHost(shape);
    }
}

TEST_F(Exchange, SucceedsAThousandTimesInARow) {
    HostToCard(kOfTheTests);
    const long files = CountOf("/proc/self/fd");
    const long threads = CountOf("/proc/self/task");
    for (int round = 0; round < 500 && !HasFailure(); ++round) {
        HostToCard(kOfTheTests);
        CardToHost(kOfTheTests);
    }
    EXPECT_EQ(CountOf("/proc/self/fd"), files);
    EXPECT_EQ(CountOf("/proc/self/task"), threads);
}

// The peer registers more than the host has: what it writes lies outside of the host's windows.
TEST_F(Exchange, APeerWithALargerWindowFails) {
    CardProgram peer("vorl_accept_dma_zel_er1x", "2 1 0 0 0");
    EXPECT_NE(ConnectHost(kOfTheTests), 0U);
    EXPECT_EQ(peer.Await(), 1);
    EXPECT_THAT(peer.Output(), HasSubstr("vorl_writeto: No such device or address"));
    EXPECT_THAT(peer.Output(), HasSubstr("ZelVorlAcceptDMA Test failed\n\n"));
}

TEST_F(Exchange, AHostWithALargerWindowFails) {
    CardProgram peer("vorl_connect_dma_zel_er1x", kOfTheTests.Arguments());
    EXPECT_EQ(AcceptHost({2, 1, 0, 0}), 1U);
    EXPECT_EQ(peer.Await(), 1);
    EXPECT_THAT(peer.Output(), HasSubstr("ZelVorlConnectDMA Test failed\n\n"));
}

// Only one end unregisters: the other waits for a message that never comes, and sees the end.
TEST_F(Exchange, AnEndThatLeavesEarlierIsNoticed) {
    CardProgram peer("vorl_accept_dma_zel_er1x", "1 1 0 1 0");
    EXPECT_NE(ConnectHost(kOfTheTests), 0U);
    EXPECT_EQ(peer.Await(), 0);
}

// A peer that has stopped shows who still needs whom: a host that ends all the same had all that it
// needed, and any other must notice the death.
TEST_F(Exchange, APeerThatDiesIsNoticed) {
    for (useconds_t delay = 1000; delay < 60000; delay += 3000) {
        CardProgram peer("vorl_connect_dma_zel_er1x", "256 16 0 0 0");
        std::atomic<bool> ended{false};
        bool endedByItself = false;
        std::thread killer([&] {
            const auto endsWithin = [&ended](int milliseconds) {
                for (; milliseconds > 0 && !ended; --milliseconds)
                    usleep(1000);
                return ended.load();
            };
            usleep(delay);
            peer.Stop();
            endedByItself = endsWithin(300);
            peer.Kill();
            if (endsWithin(100))
                return;
            // It died before it had connected, and the host waits on.
            const int epd = vorl_open();
            vorl_portID host{0, k_VorlPort};
            vorl_connect(epd, &host);
            vorl_close(epd);
        });
        const bool failed = AcceptHost({256, 16, 0, 0}) != 0;
        ended = true;
        killer.join();
        EXPECT_NE(failed, endedByItself) << delay;
    }
}

}  // namespace

// Both halves of each exchange, in two processes, over the library.
#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <iterator>
#include <thread>

#include "CardProgram.h"
#include "TestEngine/dma/VorlAcceptDma.h"
#include "TestEngine/dma/VorlConnectDma.h"
#include "TestEngine/te_main_params.h"
#include "ToolState.h"

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
        ResetToolState();
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

    static void ConnectAndClose() {
        const int epd = vorl_open();
        vorl_portID host{0, k_VorlPort};
        EXPECT_EQ(vorl_connect(epd, &host), 0);
        vorl_close(epd);
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

// A program that connects stays for a moment behind each exchange, so most are of the other kind.
TEST_F(Exchange, SucceedsAThousandTimesInARow) {
    HostToCard(kOfTheTests);
    const long files = CountOf("/proc/self/fd");
    const long threads = CountOf("/proc/self/task");
    for (int round = 0; round < 200 && !HasFailure(); ++round) {
        for (int exchange = 0; exchange < 4; ++exchange)
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

// The peer dies before each of its calls in turn, up to the first behind its last meeting.
TEST_F(Exchange, APeerThatDiesIsNoticed) {
    constexpr Shape kShape{256, 16, 0, 0};
    std::string call;
    for (int number = 1; call != "vorl_recv 6"; ++number) {
        CardProgram peer("vorl_connect_dma_dying_anywhere", kShape.Arguments(), DYING_PROGRAMS,
                         "DIES_BEFORE_CALL=" + std::to_string(number));
        std::thread watcher([&] {
            ASSERT_EQ(peer.Await(), 128 + SIGKILL);
            call = peer.Output();
            // The host waits on for a peer that never came.
            if (call == "vorl_open 1" || call == "vorl_bind 1" || call == "vorl_connect 1")
                ConnectAndClose();
        });
        const bool failed = AcceptHost(kShape) != 0;
        watcher.join();
        ASSERT_FALSE(HasFatalFailure());
        // With its last word sent the peer may be missed or not.
        if (call != "vorl_recv 5") {
            EXPECT_EQ(failed, call != "vorl_recv 6") << call;
        }
    }
}

}  // namespace

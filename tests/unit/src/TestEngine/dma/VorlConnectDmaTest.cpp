// The connecting half, as far as it differs from the accepting one; see VorlExchangeTest.cpp.
#include "TestEngine/dma/VorlConnectDma.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>

#include "ExchangeTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr unsigned int kMinusOne = 0xFFFFFFFF;
constexpr char kSuccess[] = "HostToZelDMA::VorlConnect Test success\n\n";
constexpr char kFailed[] = "HostToZelDMA::VorlConnect Test failed\n\n";

class VorlConnectDma : public ExchangeTest {
protected:
    unsigned int Connect(unsigned int pages = 1, unsigned int buffers = 1, unsigned int fixed = 0) {
        return Run([=] { return vorl_connect_dma(pages, buffers, fixed, 0, 7); });
    }
};

TEST_F(VorlConnectDma, KeepsTheOrderOfSteps) {
    EXPECT_EQ(Connect(), 0U);
    EXPECT_EQ(out_, kSuccess);
    EXPECT_THAT(Errors(), IsEmpty());
    EXPECT_THAT(calls_,
                ElementsAre("vorl_open()", "vorl_bind(3, 130)", "vorl_connect(3, 7:130)",
                            "vorl_register(3, 4096, 0x80000000, 3, 0)", "vorl_send(3, 4, 1)",
                            "vorl_recv(3, 4, 1)", "vorl_send(3, 4, 1)", "vorl_recv(3, 4, 1)",
                            "vorl_fence_mark(3, 2)", "vorl_fence_wait(3, 1)", "vorl_send(3, 4, 1)",
                            "vorl_recv(3, 4, 1)", "vorl_send(3, 4, 1)", "vorl_recv(3, 4, 1)",
                            "vorl_unregister(3, 0x80000000, 4096)", "vorl_send(3, 4, 1)",
                            "vorl_recv(3, 4, 1)", "vorl_close(3)"));
}

TEST_F(VorlConnectDma, SuggestsOffsetsThatGrowByTheBuffersSize) {
    EXPECT_EQ(Connect(2, 3), 0U);
    EXPECT_THAT(CallsOf("vorl_register"), ElementsAre("vorl_register(3, 8192, 0x80000000, 3, 0)",
                                                      "vorl_register(3, 8192, 0x80002000, 3, 0)",
                                                      "vorl_register(3, 8192, 0x80004000, 3, 0)"));
    EXPECT_EQ(Connect(2, 2, 1), 0U);
    EXPECT_THAT(CallsOf("vorl_register"), ElementsAre("vorl_register(4, 8192, 0x80000, 3, 16)",
                                                      "vorl_register(4, 8192, 0x82000, 3, 16)"));
    EXPECT_THAT(CallsOf("vorl_unregister"), ElementsAre("vorl_unregister(4, 0x80000, 8192)",
                                                        "vorl_unregister(4, 0x82000, 8192)"));
}

TEST_F(VorlConnectDma, BuffersStartWithZerosAndEndWithTheReply) {
    bool zeros = false;
    bool replies = false;
    const auto all = [](U8 byte) {
        const auto windows = fakes::Vorl().Windows();
        return !windows.empty() && std::all_of(windows.begin(), windows.end(), [=](const auto& w) {
            const auto* bytes = static_cast<const U8*>(w.memory);
            return std::all_of(bytes, bytes + w.length, [=](U8 b) { return b == byte; });
        });
    };
    fakes::Vorl().On("vorl_fence_mark", [&] { zeros = all(0); });
    fakes::Vorl().On("vorl_unregister", [&] { replies = replies || all(0xAC); });
    EXPECT_EQ(Connect(1, 2), 0U);
    EXPECT_TRUE(zeros);
    EXPECT_TRUE(replies);
}

TEST_F(VorlConnectDma, ReckonsTheSizeWith32BitsAndASign) {
    fakes::Vorl().Fail("vorl_open", EMFILE, 0, 2);
    EXPECT_EQ(Connect(0x100000, 1), 1U);  // 4 GiB are 0
    EXPECT_EQ(out_, "vorl_open failed with error 24\n");
    EXPECT_EQ(Connect(0x80000, 1), 1U);  // 2 GiB are negative
    EXPECT_EQ(out_, "vorl_open failed with error 24\n");
}

TEST_F(VorlConnectDma, GivesUpAfterTwoRefusalsAndTwoPauses) {
    fakes::Vorl().Fail("vorl_connect", ECONNREFUSED, 0, 2);
    EXPECT_EQ(Connect(), 3U);
    EXPECT_EQ(out_,
              "vorl_connect failed with error 111 retrying\n"
              "vorl_connect failed with error 111 retrying\n"
              "vorl_connect failed with error 111\n");
    EXPECT_THAT(Errors(), ElementsAre("'vorl_connect' failed"));
    EXPECT_THAT(calls_,
                ElementsAre("vorl_open()", "vorl_bind(3, 130)", "vorl_connect(3, 7:130)",
                            "sleep(30)", "vorl_connect(3, 7:130)", "sleep(30)", "vorl_close(3)"));
}

TEST_F(VorlConnectDma, PausesForOtherErrorsWithoutSayingSo) {
    fakes::Vorl().Fail("vorl_connect", ENXIO, 0, 2);
    EXPECT_EQ(Connect(), 3U);
    EXPECT_EQ(out_, "vorl_connect failed with error 6\n");
    EXPECT_EQ(CallsOf("sleep").size(), 2U);
}

TEST_F(VorlConnectDma, GoesOnWhenTheSecondAttemptSucceeds) {
    fakes::Vorl().Fail("vorl_connect", ECONNREFUSED);
    EXPECT_EQ(Connect(), 0U);
    EXPECT_EQ(out_, std::string("vorl_connect failed with error 111 retrying\n") + kSuccess);
    EXPECT_THAT(CallsOf("sleep"), ElementsAre("sleep(30)"));
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(VorlConnectDma, ReportsAFailedFence) {
    fakes::Vorl().Fail("vorl_fence_mark", ENOTCONN);
    EXPECT_EQ(Connect(), kMinusOne);
    EXPECT_EQ(out_, std::string("ZelApp::vorl_fence failed with err 107\n") + kFailed);
    EXPECT_THAT(Errors(), ElementsAre("'vorl_fence' failed"));
    EXPECT_THAT(CallsOf("vorl_fence_wait"), IsEmpty());
    EXPECT_THAT(CallsOf("vorl_unregister"), IsEmpty());

    fakes::Vorl().Reset();
    fakes::Vorl().Return("vorl_fence_wait", 5, ECONNRESET);  // anything but 0 is a failure
    EXPECT_EQ(Connect(), kMinusOne);
    EXPECT_EQ(out_, std::string("ZelApp::vorl_fence_wait failed with err 104\n") + kFailed);
    EXPECT_THAT(Errors(), ElementsAre("'vorl_fence' failed"));
}

}  // namespace

#include "TestEngine/dma/VorlConnectDma.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "ExchangeTest.h"
#include "TestEngine/te_summary.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr unsigned int kMinusOne = 0xFFFFFFFF;
constexpr char kSuccess[] = "HostToZelDMA::VorlConnect Test success\n\n";
constexpr char kFailed[] = "HostToZelDMA::VorlConnect Test failed\n\n";

class VorlConnectDma : public ExchangeTest {
protected:
    VorlConnectDma() {
        TE::SUMMARY_INSTANCE = TE::TESummary();
        TE::SUMMARY_INSTANCE.SetGroupName("DmaDiag");
        TE::SUMMARY_INSTANCE.SetTestName("HostToZel");
        TE::SUMMARY_INSTANCE.SetZelNumberAndVersions(0, "f", "s");
    }
    ~VorlConnectDma() override { TE::SUMMARY_INSTANCE = TE::TESummary(); }

    unsigned int Connect(unsigned int pages = 1, unsigned int buffers = 1, unsigned int fixed = 0,
                         unsigned int keep = 0, U16 node = 7) {
        return Run([=] { return vorl_connect_dma(pages, buffers, fixed, keep, node); });
    }

    // The texts that the summary got, without group and test.
    static Texts Errors() {
        std::string name = "x";
        std::string option = "-summary";
        char* argv[] = {name.data(), option.data(), nullptr};
        int consumed = 0;
        TE::TESummary copy = TE::SUMMARY_INSTANCE;
        copy.ProcessGlobalOptions(2, argv, &consumed);
        std::string text;
        {
            fakes::CaptureOutput capture;
            copy.SendSummaryToConsole();
            text = capture.Out();
        }
        Texts errors;
        for (size_t at = text.find("\n  "); at != std::string::npos;
             at = text.find("\n  ", at + 1)) {
            const std::string line = text.substr(at + 3, text.find('\n', at + 1) - at - 3);
            errors.push_back(line.substr(line.find(": ") + 2));
        }
        return errors;
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

TEST_F(VorlConnectDma, LeavesWindowsRegisteredWhenToldTo) {
    EXPECT_EQ(Connect(1, 1, 0, 1), 0U);
    EXPECT_EQ(out_, kSuccess);
    EXPECT_EQ(CallsOf("vorl_send").size(), 4U);
    EXPECT_THAT(CallsOf("vorl_unregister"), IsEmpty());
}

TEST_F(VorlConnectDma, AcceptsExactly64MiB) {
    EXPECT_EQ(Connect(16384, 1), 0U);
    EXPECT_EQ(Connect(1024, 16), 0U);
}

TEST_F(VorlConnectDma, RefusesAPageMoreThan64MiB) {
    for (const auto& [pages, buffers] : {std::pair{16385U, 1U}, {1U, 16385U}, {16384U, 2U}}) {
        EXPECT_EQ(Connect(pages, buffers), 1U) << pages << " pages, " << buffers << " buffers";
        EXPECT_EQ(out_, "Exceeded max unit test transfer size 64MB\n");
        EXPECT_THAT(calls_, IsEmpty());
    }
    EXPECT_THAT(Errors(), ElementsAre("Exceeded max unit test transfer size 64MB",
                                      "Exceeded max unit test transfer size 64MB",
                                      "Exceeded max unit test transfer size 64MB"));
}

TEST_F(VorlConnectDma, ReckonsTheSizeWith32BitsAndASign) {
    fakes::Vorl().Fail("vorl_open", EMFILE, 0, 2);
    EXPECT_EQ(Connect(0x100000, 1), 1U);  // 4 GiB are 0
    EXPECT_EQ(out_, "vorl_open failed with error 24\n");
    EXPECT_EQ(Connect(0x80000, 1), 1U);  // 2 GiB are negative
    EXPECT_EQ(out_, "vorl_open failed with error 24\n");
}

TEST_F(VorlConnectDma, ReportsAnEndpointThatDoesNotOpen) {
    fakes::Vorl().Fail("vorl_open", ENODEV);
    EXPECT_EQ(Connect(), 1U);
    EXPECT_EQ(out_, "vorl_open failed with error 19\n");
    EXPECT_THAT(Errors(), ElementsAre("'vorl_open' failed"));
    EXPECT_THAT(calls_, ElementsAre("vorl_open()"));
}

TEST_F(VorlConnectDma, ReportsAPortThatIsTaken) {
    fakes::Vorl().Fail("vorl_bind", EADDRINUSE);
    EXPECT_EQ(Connect(), 2U);
    EXPECT_EQ(out_, "vorl_bind failed with error 98\n");
    EXPECT_THAT(Errors(), ElementsAre("'vorl_bind' failed"));
    EXPECT_THAT(calls_, ElementsAre("vorl_open()", "vorl_bind(3, 130)", "vorl_close(3)"));
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

TEST_F(VorlConnectDma, ReportsAFailedRegistrationOfAnyBuffer) {
    for (const unsigned skip : {0U, 2U}) {
        fakes::Vorl().Fail("vorl_register", ENOMEM, skip);
        EXPECT_EQ(Connect(1, 3), kMinusOne);
        EXPECT_EQ(out_, std::string("vorl_register failed with err 12\n") + kFailed);
        EXPECT_EQ(CallsOf("vorl_register").size(), skip + 1);
        EXPECT_THAT(CallsOf("vorl_send"), IsEmpty());
    }
    EXPECT_THAT(Errors(), ElementsAre("'vorl_register' failed", "'vorl_register' failed"));
}

TEST_F(VorlConnectDma, ReportsAFailedFence) {
    fakes::Vorl().Fail("vorl_fence_mark", ENOTCONN);
    EXPECT_EQ(Connect(), kMinusOne);
    EXPECT_EQ(out_, std::string("ZelApp::vorl_fence failed with err 107\n") + kFailed);
    EXPECT_THAT(CallsOf("vorl_fence_wait"), IsEmpty());
    EXPECT_THAT(CallsOf("vorl_unregister"), IsEmpty());

    fakes::Vorl().Reset();
    fakes::Vorl().Return("vorl_fence_wait", 5, ECONNRESET);  // anything but 0 is a failure
    EXPECT_EQ(Connect(), kMinusOne);
    EXPECT_EQ(out_, std::string("ZelApp::vorl_fence_wait failed with err 104\n") + kFailed);
    EXPECT_THAT(Errors(), ElementsAre("'vorl_fence' failed", "'vorl_fence' failed"));
}

struct Place {
    unsigned buffer;
    size_t word;
};

class VorlConnectDmaWrongWord : public VorlConnectDma,
                                public ::testing::WithParamInterface<Place> {};

TEST_P(VorlConnectDmaWrongWord, IsReportedWithItsPlace) {
    const auto [buffer, word] = GetParam();
    fakes::Vorl().Spoil(buffer, word, 0xADADADAC);
    EXPECT_EQ(Connect(1, 2), kMinusOne);
    EXPECT_EQ(out_, "Msg integrity mismatch i " + std::to_string(buffer) + " j " +
                        std::to_string(word) + " self_addr adadadac expected adadadad\n" + kFailed);
    EXPECT_THAT(Errors(), ElementsAre("Message integrity mismatch"));
    EXPECT_EQ(CallsOf("vorl_send").size(), 2U);
    EXPECT_EQ(calls_.back(), "vorl_close(3)");
}

INSTANTIATE_TEST_SUITE_P(Places, VorlConnectDmaWrongWord,
                         ::testing::Values(Place{0, 0}, Place{0, 1023}, Place{1, 0}, Place{1, 512},
                                           Place{1, 1023}));

TEST_F(VorlConnectDma, ReportsTheFirstOfTwoWrongWords) {
    fakes::Vorl().Spoil(0, 7, 1);
    fakes::Vorl().Spoil(0, 8, 2);
    EXPECT_EQ(Connect(), kMinusOne);
    EXPECT_THAT(out_, StartsWith("Msg integrity mismatch i 0 j 7 self_addr 1 expected adadadad\n"));
}

TEST_F(VorlConnectDma, ReportsAFailedUnregistration) {
    fakes::Vorl().Fail("vorl_unregister", EINVAL, 1);
    EXPECT_EQ(Connect(1, 2), kMinusOne);
    EXPECT_EQ(out_, std::string("vorl_unregister failed with err 22\n") + kFailed);
    EXPECT_THAT(Errors(), ElementsAre("'vorl_unregister' failed"));
    EXPECT_EQ(CallsOf("vorl_send").size(), 4U);
}

// Which control message of which exchange.
struct Message {
    const char* operation;
    unsigned exchange;
    const char* label;
};

class VorlConnectDmaMessage : public VorlConnectDma,
                              public ::testing::WithParamInterface<Message> {};

TEST_P(VorlConnectDmaMessage, ThatFailsEndsTheExchangeWithWhatTheCallReturned) {
    const Message& message = GetParam();
    fakes::Vorl().Return(message.operation, -3, ECONNRESET, message.exchange);
    EXPECT_EQ(Connect(), static_cast<unsigned int>(-3));
    EXPECT_EQ(out_, std::string(message.operation) + " for msg -" + message.label +
                        "- failed with err -3\n" + kFailed);
    EXPECT_EQ(CallsOf(message.operation).size(), message.exchange + 1);
    EXPECT_EQ(calls_.back(), "vorl_close(3)");
    EXPECT_THAT(Errors(), IsEmpty());
}

// Kept on purpose: 0 is the result of a call that moved nothing, and of success.
TEST_P(VorlConnectDmaMessage, ThatMovesNothingEndsTheExchangeWithSuccess) {
    const Message& message = GetParam();
    fakes::Vorl().Return(message.operation, 0, 0, message.exchange);
    EXPECT_EQ(Connect(), 0U);
    EXPECT_EQ(out_, std::string(message.operation) + " for msg -" + message.label +
                        "- failed with err 0\n" + kSuccess);
    EXPECT_EQ(CallsOf(message.operation).size(), message.exchange + 1);
}

INSTANTIATE_TEST_SUITE_P(
    Messages, VorlConnectDmaMessage,
    ::testing::Values(Message{"vorl_send", 0, "vorl_register done"},
                      Message{"vorl_recv", 0, "vorl_register done"},
                      Message{"vorl_send", 1, "peer vorl_writeto wait"},
                      Message{"vorl_recv", 1, "peer vorl_writeto wait"},
                      Message{"vorl_send", 2, "peer vorl_writeto content verification done"},
                      Message{"vorl_recv", 2, "peer vorl_writeto content verification done"},
                      Message{"vorl_send", 3, "peer vorl_readfrom and content verification wait"},
                      Message{"vorl_recv", 3, "peer vorl_readfrom and content verification wait"},
                      Message{"vorl_send", 4, "Unregister Done"},
                      Message{"vorl_recv", 4, "Unregister Done"}));

TEST_F(VorlConnectDma, TakesAPartOfAMessageForAMessage) {
    fakes::Vorl().Return("vorl_recv", 1);
    EXPECT_EQ(Connect(), 0U);
    EXPECT_EQ(out_, kSuccess);
}

TEST_F(VorlConnectDma, QuietModeSilencesItsLines) {
    ifstSetupParams.bQuietMode = 1;
    EXPECT_EQ(Connect(), 0U);
    EXPECT_EQ(out_, "");
}

TEST_F(VorlConnectDma, ReportsAListOfBuffersThatDoesNotFit) {
    fakes::Memory().FailArray();
    EXPECT_EQ(Connect(), kMinusOne);
    EXPECT_EQ(out_, std::string("buffer allocation failed ENOMEM\n") + kFailed);
    EXPECT_THAT(Errors(), ElementsAre("buffer allocation failed"));
    EXPECT_EQ(calls_.back(), "vorl_close(3)");
}

TEST_F(VorlConnectDma, ReturnsTheErrorOfABufferThatDoesNotFit) {
    for (const unsigned skip : {0U, 1U, 2U}) {
        fakes::Memory().FailAligned(ENOMEM, skip);
        EXPECT_EQ(Connect(1, 3), static_cast<unsigned int>(ENOMEM));
        EXPECT_EQ(out_, std::string("posix_memalign failed 12\n") + kFailed);
        EXPECT_THAT(CallsOf("vorl_register"), IsEmpty());
        EXPECT_THAT(calls_.back(), StartsWith("vorl_close("));
    }
    EXPECT_THAT(Errors(), ElementsAre("'posix_memalign' failed", "'posix_memalign' failed",
                                      "'posix_memalign' failed"));
}

}  // namespace

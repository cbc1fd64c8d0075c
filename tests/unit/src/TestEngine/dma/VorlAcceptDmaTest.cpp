#include "TestEngine/dma/VorlAcceptDma.h"

#include <gmock/gmock.h>
#include <pthread.h>

#include <algorithm>
#include <cerrno>

#include "ExchangeTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr U32 kPreset = 0xFFFFFFFF;
constexpr char kSuccess[] = "ZelToHostDMA::VorlAccept Test success\n\n";
constexpr char kFailed[] = "ZelToHostDMA::VorlAccept Test failed\n\n";

class VorlAcceptDma : public ExchangeTest {
protected:
    unsigned int Accept(unsigned int pages = 1, unsigned int buffers = 1, unsigned int fixed = 0,
                        unsigned int keep = 0) {
        state_ = kPreset;
        errors_.clear();
        const VorlErrorSink sink{
            [](void* errors, const char* text) { static_cast<Texts*>(errors)->push_back(text); },
            &errors_};
        return Run([&] { return vorl_accept_dma(pages, buffers, fixed, keep, &state_, sink); });
    }

    U32 state_ = kPreset;
    Texts errors_;
};

TEST_F(VorlAcceptDma, KeepsTheOrderOfSteps) {
    EXPECT_EQ(Accept(), 0U);
    EXPECT_EQ(out_, kSuccess);
    EXPECT_EQ(state_, 1U);
    EXPECT_THAT(errors_, IsEmpty());
    EXPECT_THAT(
        calls_,
        ElementsAre("vorl_open()", "vorl_bind(3, 130)", "vorl_listen(3, 16)",
                    "vorl_accept(3, 1:130, 1)", "vorl_register(4, 4096, 0x0, 3, 0)",
                    "vorl_send(4, 4, 1)", "vorl_recv(4, 4, 1)",
                    "vorl_writeto(4, 0x80000000, 4096, 0x80000000, 4)", "vorl_send(4, 4, 1)",
                    "vorl_recv(4, 4, 1)", "vorl_send(4, 4, 1)", "vorl_recv(4, 4, 1)",
                    "vorl_readfrom(4, 0x80000000, 4096, 0x80000000, 4)", "vorl_send(4, 4, 1)",
                    "vorl_recv(4, 4, 1)", "vorl_unregister(4, 0x80000000, 4096)",
                    "vorl_send(4, 4, 1)", "vorl_recv(4, 4, 1)", "vorl_close(4)", "vorl_close(3)"));
}

TEST_F(VorlAcceptDma, TransfersEachBufferAtItsOwnOffset) {
    EXPECT_EQ(Accept(2, 2, 1), 0U);
    EXPECT_THAT(CallsOf("vorl_register"), ElementsAre("vorl_register(4, 8192, 0x80000, 3, 16)",
                                                      "vorl_register(4, 8192, 0x82000, 3, 16)"));
    EXPECT_THAT(CallsOf("vorl_writeto"), ElementsAre("vorl_writeto(4, 0x80000, 8192, 0x80000, 4)",
                                                     "vorl_writeto(4, 0x82000, 8192, 0x82000, 4)"));
    EXPECT_THAT(CallsOf("vorl_readfrom"),
                ElementsAre("vorl_readfrom(4, 0x80000, 8192, 0x80000, 4)",
                            "vorl_readfrom(4, 0x82000, 8192, 0x82000, 4)"));
    EXPECT_EQ(Accept(1, 2), 0U);
    EXPECT_THAT(CallsOf("vorl_register"), ElementsAre("vorl_register(6, 4096, 0x0, 3, 0)",
                                                      "vorl_register(6, 4096, 0x1000, 3, 0)"));
}

TEST_F(VorlAcceptDma, BuffersHoldThePatternBeforeAndAfter) {
    unsigned checked = 0;
    const auto allPattern = [&checked] {
        ++checked;
        for (const auto& window : fakes::Vorl().Windows()) {
            const auto* bytes = static_cast<const U8*>(window.memory);
            EXPECT_TRUE(
                std::all_of(bytes, bytes + window.length, [](U8 byte) { return byte == 0xAD; }));
        }
    };
    fakes::Vorl().On("vorl_writeto", allPattern);
    fakes::Vorl().On("vorl_unregister", allPattern);
    EXPECT_EQ(Accept(), 0U);
    EXPECT_EQ(checked, 2U);
}

TEST_F(VorlAcceptDma, LeavesWindowsRegisteredWhenToldTo) {
    EXPECT_EQ(Accept(1, 1, 0, 1), 0U);
    EXPECT_EQ(out_, kSuccess);
    EXPECT_EQ(CallsOf("vorl_send").size(), 4U);
    EXPECT_THAT(CallsOf("vorl_unregister"), IsEmpty());
}

TEST_F(VorlAcceptDma, AcceptsExactly64MiBAndRefusesAPageMore) {
    EXPECT_EQ(Accept(16384, 1), 0U);
    EXPECT_EQ(Accept(16385, 1), 1U);
    EXPECT_EQ(out_, std::string("Exceeded max unit test transfer size 64MB\n") + kFailed);
    EXPECT_THAT(errors_, ElementsAre("Exceeded max unit test transfer size 64MB"));
    EXPECT_THAT(calls_, IsEmpty());
    EXPECT_EQ(state_, kPreset);
}

// Unlike the connecting half.
TEST_F(VorlAcceptDma, ReckonsTheSizeWith64Bits) {
    EXPECT_EQ(Accept(0x100000, 1), 1U);
    EXPECT_THAT(errors_, ElementsAre("Exceeded max unit test transfer size 64MB"));
    EXPECT_EQ(Accept(0x80000, 1), 1U);
    EXPECT_THAT(errors_, ElementsAre("Exceeded max unit test transfer size 64MB"));
    EXPECT_THAT(calls_, IsEmpty());
}

// A library operation that fails, and what is said of it.
struct Failure {
    const char* operation;
    unsigned skip;
    int error;
    const char* text;
    const char* summary;
    bool accepted;
};

class VorlAcceptDmaFailure : public VorlAcceptDma, public ::testing::WithParamInterface<Failure> {};

TEST_P(VorlAcceptDmaFailure, IsReported) {
    const Failure& failure = GetParam();
    fakes::Vorl().Fail(failure.operation, failure.error, failure.skip);
    EXPECT_EQ(Accept(1, 2), 1U);
    EXPECT_EQ(out_, std::string(failure.text) + kFailed);
    EXPECT_THAT(errors_, ElementsAre(failure.summary));
    EXPECT_EQ(state_, failure.accepted ? 1U : kPreset);
    EXPECT_EQ(CallsOf(failure.operation).size(), failure.skip + 1);
}

INSTANTIATE_TEST_SUITE_P(
    Operations, VorlAcceptDmaFailure,
    ::testing::Values(Failure{"vorl_open", 0, ENODEV, "vorl_open failed with error 19\n",
                              "'vorl_open' failed", false},
                      Failure{"vorl_bind", 0, EADDRINUSE, "vorl_bind failed with error 98\n",
                              "'vorl_bind' failed", false},
                      Failure{"vorl_listen", 0, EINVAL, "Listen ioctl failed with error 22\n",
                              "'vorl_listen' failed", false},
                      Failure{"vorl_accept", 0, ECONNABORTED, "vorl_accept failed with errno 103\n",
                              "'vorl_accept' failed", false},
                      Failure{"vorl_register", 0, ENOMEM, "vorl_register failed with err 12\n",
                              "'vorl_register' failed", true},
                      Failure{"vorl_register", 1, ENOMEM, "vorl_register failed with err 12\n",
                              "'vorl_register' failed", true},
                      Failure{"vorl_writeto", 0, ENXIO, "vorl_writeto failed with err 6\n",
                              "'vorl_writeto' failed", true},
                      Failure{"vorl_writeto", 1, ENXIO, "vorl_writeto failed with err 6\n",
                              "'vorl_writeto' failed", true},
                      Failure{"vorl_readfrom", 0, EACCES, "vorl_readfrom failed with err 13\n",
                              "'vorl_readfrom' failed", true},
                      Failure{"vorl_readfrom", 1, EACCES, "vorl_readfrom failed with err 13\n",
                              "'vorl_readfrom' failed", true},
                      Failure{"vorl_unregister", 1, EINVAL, "vorl_unregister failed with err 22\n",
                              "'vorl_unregister' failed", true}));

TEST_F(VorlAcceptDma, ATransferFailsWithAnyResultButZero) {
    fakes::Vorl().Return("vorl_writeto", 4096, EIO);
    EXPECT_EQ(Accept(), 1U);
    EXPECT_EQ(out_, std::string("vorl_writeto failed with err 5\n") + kFailed);
}

// EAGAIN is taken for a connection; the registration on no endpoint then fails.
TEST_F(VorlAcceptDma, NobodyToAcceptFailsAtTheRegistration) {
    fakes::Vorl().Fail("vorl_accept", EAGAIN);
    EXPECT_EQ(Accept(), 1U);
    EXPECT_EQ(state_, 1U);
    EXPECT_EQ(out_, std::string("vorl_register failed with err 9\n") + kFailed);
    EXPECT_THAT(errors_, ElementsAre("'vorl_register' failed"));
    EXPECT_THAT(CallsOf("vorl_close"), ElementsAre("vorl_close(3)"));
}

TEST_F(VorlAcceptDma, ReportsAListOfBuffersThatDoesNotFit) {
    fakes::Memory().FailArray();
    EXPECT_EQ(Accept(), 1U);
    EXPECT_EQ(out_, std::string("buffer allocation failed ENOMEM\n") + kFailed);
    EXPECT_THAT(errors_, ElementsAre("buffer allocation failed"));
}

TEST_F(VorlAcceptDma, ReturnsTheErrorOfABufferThatDoesNotFit) {
    // Two for each window, and the last one.
    for (const unsigned skip : {0U, 1U, 2U, 3U, 4U}) {
        fakes::Memory().FailAligned(ENOMEM, skip);
        EXPECT_EQ(Accept(1, 2), static_cast<unsigned int>(ENOMEM));
        EXPECT_EQ(out_, std::string("posix_memalign failed 12\n") + kFailed);
        EXPECT_THAT(errors_, ElementsAre("'posix_memalign' failed"));
        EXPECT_THAT(CallsOf("vorl_register"), IsEmpty());
    }
}

TEST_F(VorlAcceptDma, AClockThatFailsBeforeATransferPreventsIt) {
    fakes::Clock().Break();
    errno = 0;
    EXPECT_EQ(Accept(), 1U);
    EXPECT_EQ(out_, std::string("gettimeofday failed with err 22\n") + kFailed);
    EXPECT_THAT(errors_, ElementsAre("'gettimeofday' failed"));
    EXPECT_THAT(CallsOf("vorl_writeto"), IsEmpty());
}

TEST_F(VorlAcceptDma, AClockThatFailsAfterATransferFailsTheExchange) {
    for (const char* const operation : {"vorl_writeto", "vorl_readfrom"}) {
        fakes::Clock().Reset();
        fakes::Vorl().Reset();
        fakes::Vorl().On(operation, [] { fakes::Clock().Break(); });
        EXPECT_EQ(Accept(1, 2), 1U);
        EXPECT_EQ(out_, std::string("gettimeofday failed with err 22\n") + kFailed);
        EXPECT_EQ(CallsOf(operation).size(), 1U);
    }
}

struct Place {
    unsigned buffer;
    size_t word;
};

class VorlAcceptDmaWrongWord : public VorlAcceptDma, public ::testing::WithParamInterface<Place> {};

TEST_P(VorlAcceptDmaWrongWord, IsReportedWithItsPlace) {
    const auto [buffer, word] = GetParam();
    fakes::Vorl().Spoil(buffer, word, 0xADADADAD);
    EXPECT_EQ(Accept(1, 2), 1U);
    EXPECT_EQ(out_, "Msg integrity mismatch i " + std::to_string(buffer) + " j " +
                        std::to_string(word) + " self_addr adadadad expected acacacac\n" + kFailed);
    EXPECT_THAT(errors_, ElementsAre("Message integrity mismatch"));
    EXPECT_EQ(CallsOf("vorl_send").size(), 3U);
}

INSTANTIATE_TEST_SUITE_P(Places, VorlAcceptDmaWrongWord,
                         ::testing::Values(Place{0, 0}, Place{0, 1023}, Place{1, 0},
                                           Place{1, 1023}));

struct Message {
    const char* operation;
    unsigned exchange;
    const char* label;
};

class VorlAcceptDmaMessage : public VorlAcceptDma, public ::testing::WithParamInterface<Message> {};

TEST_P(VorlAcceptDmaMessage, ThatFailsEndsTheExchangeWithWhatTheCallReturned) {
    const Message& message = GetParam();
    for (const int result : {-1, 0}) {
        fakes::Vorl().Reset();
        fakes::Vorl().Return(message.operation, result, ECONNRESET, message.exchange);
        EXPECT_EQ(Accept(), static_cast<unsigned int>(result));
        EXPECT_EQ(out_, std::string(message.operation) + " for msg -" + message.label +
                            "- failed with err " + std::to_string(result) + "\n" +
                            (result == 0 ? kSuccess : kFailed));
        EXPECT_EQ(CallsOf(message.operation).size(), message.exchange + 1);
        EXPECT_THAT(errors_, IsEmpty());
    }
}

INSTANTIATE_TEST_SUITE_P(
    Messages, VorlAcceptDmaMessage,
    ::testing::Values(Message{"vorl_send", 0, "vorl_register done"},
                      Message{"vorl_recv", 0, "vorl_register done"},
                      Message{"vorl_send", 1, "vorl_writeto done"},
                      Message{"vorl_recv", 1, "vorl_writeto done"},
                      Message{"vorl_send", 2, "vorl_writeto peer content verification wait"},
                      Message{"vorl_recv", 2, "vorl_writeto peer content verification wait"},
                      Message{"vorl_send", 3, "vorl_readfrom done"},
                      Message{"vorl_recv", 3, "vorl_readfrom done"},
                      Message{"vorl_send", 4, "Unregister done"},
                      Message{"vorl_recv", 4, "Unregister done"}));

TEST_F(VorlAcceptDma, QuietModeSilencesItsLines) {
    ifstSetupParams.bQuietMode = 1;
    EXPECT_EQ(Accept(), 0U);
    EXPECT_EQ(out_, "");
}

TEST_F(VorlAcceptDma, IsCancelledWhereItWaitsAndReleasesWhatItHolds) {
    const auto worker = [](void* state) -> void* {
        pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, nullptr);
        pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
        vorl_accept_dma(1, 1, 0, 0, static_cast<U32*>(state));
        return nullptr;
    };
    fakes::Vorl().BlockAccept();
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, nullptr, worker, &state_), 0);
    fakes::Vorl().AwaitBlocked();
    EXPECT_THAT(fakes::Vorl().OpenEndpoints(), Not(IsEmpty()));
    EXPECT_EQ(pthread_cancel(thread), 0);
    void* result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_EQ(state_, kPreset);
    EXPECT_THAT(fakes::Vorl().OpenEndpoints(), IsEmpty());
}

}  // namespace

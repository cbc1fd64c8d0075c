// The accepting half, as far as it differs from the connecting one; see VorlExchangeTest.cpp.
#include "TestEngine/dma/VorlAcceptDma.h"

#include <gmock/gmock.h>
#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "Door.h"
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
    unsigned int Accept(unsigned int pages = 1, unsigned int buffers = 1, unsigned int fixed = 0) {
        state_ = kPreset;
        return Run([&] { return vorl_accept_dma(pages, buffers, fixed, 0, &state_); });
    }

    U32 state_ = kPreset;
};

TEST_F(VorlAcceptDma, KeepsTheOrderOfSteps) {
    EXPECT_EQ(Accept(), 0U);
    EXPECT_EQ(out_, kSuccess);
    EXPECT_EQ(state_, 1U);
    EXPECT_THAT(Errors(), IsEmpty());
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

// Unlike the connecting half.
TEST_F(VorlAcceptDma, ReckonsTheSizeWith64Bits) {
    EXPECT_EQ(Accept(0x100000, 1), 1U);
    EXPECT_THAT(Errors(), ElementsAre("Exceeded max unit test transfer size 64MB"));
    EXPECT_EQ(Accept(0x80000, 1), 1U);
    EXPECT_THAT(Errors(), ElementsAre("Exceeded max unit test transfer size 64MB"));
    EXPECT_THAT(calls_, IsEmpty());
}

TEST_F(VorlAcceptDma, TellsItsErrorsToTheGivenTakerInsteadOfTheSummary) {
    Texts errors;
    const VorlErrorSink sink{
        [](void* taken, const char* text) { static_cast<Texts*>(taken)->push_back(text); },
        &errors};
    fakes::Vorl().Fail("vorl_listen", EINVAL);
    EXPECT_EQ(Run([&] { return vorl_accept_dma(1, 1, 0, 0, &state_, sink); }), 1U);
    EXPECT_THAT(errors, ElementsAre("'vorl_listen' failed"));
    EXPECT_THAT(Errors(), IsEmpty());
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
    EXPECT_THAT(Errors(), ElementsAre(failure.summary));
    EXPECT_EQ(state_, failure.accepted ? 1U : kPreset);
    EXPECT_EQ(CallsOf(failure.operation).size(), failure.skip + 1);
}

INSTANTIATE_TEST_SUITE_P(
    Operations, VorlAcceptDmaFailure,
    ::testing::Values(Failure{"vorl_listen", 0, EINVAL, "Listen ioctl failed with error 22\n",
                              "'vorl_listen' failed", false},
                      Failure{"vorl_accept", 0, ECONNABORTED, "vorl_accept failed with errno 103\n",
                              "'vorl_accept' failed", false},
                      Failure{"vorl_writeto", 0, ENXIO, "vorl_writeto failed with err 6\n",
                              "'vorl_writeto' failed", true},
                      Failure{"vorl_writeto", 1, ENXIO, "vorl_writeto failed with err 6\n",
                              "'vorl_writeto' failed", true},
                      Failure{"vorl_readfrom", 0, EACCES, "vorl_readfrom failed with err 13\n",
                              "'vorl_readfrom' failed", true},
                      Failure{"vorl_readfrom", 1, EACCES, "vorl_readfrom failed with err 13\n",
                              "'vorl_readfrom' failed", true}));

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
    EXPECT_THAT(Errors(), ElementsAre("'vorl_register' failed"));
    EXPECT_THAT(CallsOf("vorl_close"), ElementsAre("vorl_close(3)"));
}

TEST_F(VorlAcceptDma, AClockThatFailsBeforeATransferPreventsIt) {
    fakes::Clock().Break();
    errno = 0;
    EXPECT_EQ(Accept(), 1U);
    EXPECT_EQ(out_, std::string("gettimeofday failed with err 22\n") + kFailed);
    EXPECT_THAT(Errors(), ElementsAre("'gettimeofday' failed"));
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

// A thread that runs the half and may be cancelled at any time.
class CancellableHalf {
public:
    explicit CancellableHalf(U32* state) {
        const auto worker = [](void* half) -> void* {
            pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, nullptr);
            pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
            vorl_accept_dma(1, 1, 0, 0, static_cast<U32*>(half));
            return nullptr;
        };
        EXPECT_EQ(pthread_create(&thread_, nullptr, worker, state), 0);
    }
    void Cancel() const { EXPECT_EQ(pthread_cancel(thread_), 0); }
    void* Join() const {
        void* result = nullptr;
        EXPECT_EQ(pthread_join(thread_, &result), 0);
        return result;
    }

private:
    pthread_t thread_{};
};

TEST_F(VorlAcceptDma, IsCancelledWhereItWaitsAndReleasesWhatItHolds) {
    fakes::Vorl().BlockAccept();
    const CancellableHalf half(&state_);
    fakes::Vorl().AwaitBlocked();
    EXPECT_THAT(fakes::Vorl().OpenEndpoints(), Not(IsEmpty()));
    half.Cancel();
    EXPECT_EQ(half.Join(), PTHREAD_CANCELED);
    EXPECT_EQ(state_, kPreset);
    EXPECT_THAT(fakes::Vorl().OpenEndpoints(), IsEmpty());
}

// The library has opened the endpoint and has not returned yet.
TEST_F(VorlAcceptDma, IsCancelledInAnAcceptAndClosesTheEndpointThatItWasGiven) {
    fakes::Vorl().BlockAccepted();
    const CancellableHalf half(&state_);
    fakes::Vorl().AwaitBlocked();
    EXPECT_EQ(fakes::Vorl().OpenEndpoints(), (std::set<int>{3, 4}));
    half.Cancel();
    EXPECT_EQ(half.Join(), PTHREAD_CANCELED);
    EXPECT_EQ(state_, kPreset);
    EXPECT_THAT(fakes::Vorl().OpenEndpoints(), IsEmpty());
}

// A data log that keeps its writer until the test lets it go on.
struct SlowLog {
    Door reached;
    Door released;
    std::string text;

    static ssize_t Write(void* cookie, const char* text, size_t length) {
        auto& log = *static_cast<SlowLog*>(cookie);
        log.reached.Open();
        log.released.Await();
        log.text.append(text, length);
        return static_cast<ssize_t>(length);
    }
};

TEST_F(VorlAcceptDma, IsNotCancelledWhileItPrints) {
    SlowLog log;
    FILE* const file = fopencookie(
        &log, "w", {.read = nullptr, .write = SlowLog::Write, .seek = nullptr, .close = nullptr});
    ASSERT_NE(file, nullptr);
    std::setvbuf(file, nullptr, _IONBF, 0);
    ifstSetupParams.bQuietMode = 1;
    ifstSetupParams.logCtl.logEna = 1;
    ifstSetupParams.logCtl.dataLogHndl = file;
    fakes::Vorl().Fail("vorl_listen", EINVAL);
    const CancellableHalf half(&state_);
    log.reached.Await();
    half.Cancel();
    log.released.Open();
    half.Join();  // cancelled behind the half's end, or not at all
    EXPECT_EQ(log.text, std::string("Listen ioctl failed with error 22\n") + kFailed);
    EXPECT_THAT(fakes::Vorl().OpenEndpoints(), IsEmpty());
    std::fclose(file);
}

}  // namespace

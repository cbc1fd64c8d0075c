// What the two halves of the exchange have in common, of each; what they do differently is a row of
// the table below or a test of its own.
#include "TestEngine/dma/VorlExchange.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <tuple>

#include "ExchangeTest.h"
#include "TestEngine/dma/VorlAcceptDma.h"
#include "TestEngine/dma/VorlConnectDma.h"

namespace {

using ::testing::Combine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using ::testing::Values;
using ::testing::ValuesIn;

struct Half {
    const char* name;
    unsigned int (*run)(unsigned int pages, unsigned int buffers, unsigned int fixed,
                        unsigned int keep);
    const char* success;  // its last line
    const char* failed;
    const char* endedEarly;    // its last line after a failure before it is connected
    unsigned int failure;      // the result of a failure that has none of its own
    unsigned int portTaken;    // the result of a failing vorl_bind
    unsigned int aligned;      // pieces of aligned memory for two buffers
    unsigned int verified;     // exchanges before it looks at what the peer brought
    const char* expectedWord;  // then
    const char* exchanges[5];
};

unsigned int Connect(unsigned int pages, unsigned int buffers, unsigned int fixed,
                     unsigned int keep) {
    return vorl_connect_dma(pages, buffers, fixed, keep, 7);
}

unsigned int Accept(unsigned int pages, unsigned int buffers, unsigned int fixed,
                    unsigned int keep) {
    U32 state = 0;
    return vorl_accept_dma(pages, buffers, fixed, keep, &state);
}

constexpr Half kHalves[] = {
    {.name = "Connecting",
     .run = Connect,
     .success = "HostToZelDMA::VorlConnect Test success\n\n",
     .failed = "HostToZelDMA::VorlConnect Test failed\n\n",
     .endedEarly = "",
     .failure = 0xFFFFFFFF,
     .portTaken = 2,
     .aligned = 2,
     .verified = 2,
     .expectedWord = "adadadad",
     .exchanges = {"vorl_register done", "peer vorl_writeto wait",
                   "peer vorl_writeto content verification done",
                   "peer vorl_readfrom and content verification wait", "Unregister Done"}},
    {.name = "Accepting",
     .run = Accept,
     .success = "ZelToHostDMA::VorlAccept Test success\n\n",
     .failed = "ZelToHostDMA::VorlAccept Test failed\n\n",
     .endedEarly = "ZelToHostDMA::VorlAccept Test failed\n\n",
     .failure = 1,
     .portTaken = 1,
     .aligned = 5,
     .verified = 3,
     .expectedWord = "acacacac",
     .exchanges = {"vorl_register done", "vorl_writeto done",
                   "vorl_writeto peer content verification wait", "vorl_readfrom done",
                   "Unregister done"}},
};

void PrintTo(const Half& half, std::ostream* out) {
    *out << half.name;
}

class HalfTest : public ExchangeTest {
protected:
    explicit HalfTest(const Half& half) : half_(half) {}

    unsigned int RunHalf(unsigned int pages = 1, unsigned int buffers = 1, unsigned int keep = 0) {
        return Run([&] { return half_.run(pages, buffers, 0, keep); });
    }
    void ExpectEnd(const std::string& text, const char* lastLine, const char* summary) {
        EXPECT_EQ(out_, text + lastLine);
        EXPECT_THAT(Errors(), ElementsAre(summary));
    }

    const Half& half_;
};

class EachHalf : public HalfTest, public ::testing::WithParamInterface<Half> {
protected:
    EachHalf() : HalfTest(GetParam()) {}
};

TEST_P(EachHalf, LeavesWindowsRegisteredWhenToldTo) {
    EXPECT_EQ(RunHalf(1, 1, 1), 0U);
    EXPECT_EQ(out_, half_.success);
    EXPECT_EQ(CallsOf("vorl_send").size(), 4U);
    EXPECT_THAT(CallsOf("vorl_unregister"), IsEmpty());
}

TEST_P(EachHalf, AcceptsExactly64MiB) {
    EXPECT_EQ(RunHalf(16384, 1), 0U);
    EXPECT_EQ(RunHalf(1024, 16), 0U);
}

TEST_P(EachHalf, RefusesAPageMoreThan64MiB) {
    for (const auto& [pages, buffers] : {std::pair{16385U, 1U}, {1U, 16385U}, {16384U, 2U}}) {
        EXPECT_EQ(RunHalf(pages, buffers), 1U) << pages << " pages, " << buffers << " buffers";
        ExpectEnd("Exceeded max unit test transfer size 64MB\n", half_.endedEarly,
                  "Exceeded max unit test transfer size 64MB");
        EXPECT_THAT(calls_, IsEmpty());
    }
}

TEST_P(EachHalf, ReportsAnEndpointThatDoesNotOpen) {
    fakes::Vorl().Fail("vorl_open", ENODEV);
    EXPECT_EQ(RunHalf(), 1U);
    ExpectEnd("vorl_open failed with error 19\n", half_.endedEarly, "'vorl_open' failed");
    EXPECT_THAT(calls_, ElementsAre("vorl_open()"));
}

TEST_P(EachHalf, ReportsAPortThatIsTaken) {
    fakes::Vorl().Fail("vorl_bind", EADDRINUSE);
    EXPECT_EQ(RunHalf(), half_.portTaken);
    ExpectEnd("vorl_bind failed with error 98\n", half_.endedEarly, "'vorl_bind' failed");
    EXPECT_THAT(calls_, ElementsAre("vorl_open()", "vorl_bind(3, 130)", "vorl_close(3)"));
}

TEST_P(EachHalf, ReportsAListOfBuffersThatDoesNotFit) {
    fakes::Memory().FailArray();
    EXPECT_EQ(RunHalf(), half_.failure);
    ExpectEnd("buffer allocation failed ENOMEM\n", half_.failed, "buffer allocation failed");
}

TEST_P(EachHalf, ReturnsTheErrorOfABufferThatDoesNotFit) {
    for (unsigned skip = 0; skip < half_.aligned; ++skip) {
        fakes::Memory().FailAligned(ENOMEM, skip);
        EXPECT_EQ(RunHalf(1, 2), static_cast<unsigned int>(ENOMEM));
        ExpectEnd("posix_memalign failed 12\n", half_.failed, "'posix_memalign' failed");
        EXPECT_THAT(CallsOf("vorl_register"), IsEmpty());
    }
}

TEST_P(EachHalf, ReportsAFailedRegistrationOfAnyBuffer) {
    for (const unsigned skip : {0U, 2U}) {
        fakes::Vorl().Fail("vorl_register", ENOMEM, skip);
        EXPECT_EQ(RunHalf(1, 3), half_.failure);
        ExpectEnd("vorl_register failed with err 12\n", half_.failed, "'vorl_register' failed");
        EXPECT_EQ(CallsOf("vorl_register").size(), skip + 1);
        EXPECT_THAT(CallsOf("vorl_send"), IsEmpty());
    }
}

TEST_P(EachHalf, ReportsAFailedUnregistration) {
    fakes::Vorl().Fail("vorl_unregister", EINVAL, 1);
    EXPECT_EQ(RunHalf(1, 2), half_.failure);
    ExpectEnd("vorl_unregister failed with err 22\n", half_.failed, "'vorl_unregister' failed");
    EXPECT_EQ(CallsOf("vorl_send").size(), 4U);
}

TEST_P(EachHalf, ReportsTheFirstOfTwoWrongWords) {
    fakes::Vorl().Spoil(0, 7, 1);
    fakes::Vorl().Spoil(0, 8, 2);
    EXPECT_EQ(RunHalf(), half_.failure);
    EXPECT_THAT(out_, StartsWith("Msg integrity mismatch i 0 j 7 self_addr 1 expected "));
}

TEST_P(EachHalf, TakesAPartOfAMessageForAMessage) {
    fakes::Vorl().Return("vorl_recv", 1);
    EXPECT_EQ(RunHalf(), 0U);
    EXPECT_EQ(out_, half_.success);
}

TEST_P(EachHalf, QuietModeSilencesItsLines) {
    ifstSetupParams.bQuietMode = 1;
    EXPECT_EQ(RunHalf(), 0U);
    EXPECT_EQ(out_, "");
}

const auto kNameOfHalf = [](const auto& info) { return info.param.name; };
INSTANTIATE_TEST_SUITE_P(Halves, EachHalf, ValuesIn(kHalves), kNameOfHalf);

using WrongWord = std::tuple<Half, unsigned, size_t>;  // of which buffer, which word

class EachHalfWrongWord : public HalfTest, public ::testing::WithParamInterface<WrongWord> {
protected:
    EachHalfWrongWord() : HalfTest(std::get<Half>(GetParam())) {}
};

TEST_P(EachHalfWrongWord, IsReportedWithItsPlace) {
    const unsigned buffer = std::get<unsigned>(GetParam());
    const size_t word = std::get<size_t>(GetParam());
    fakes::Vorl().Spoil(buffer, word, 0xADADADAE);
    EXPECT_EQ(RunHalf(1, 2), half_.failure);
    ExpectEnd("Msg integrity mismatch i " + std::to_string(buffer) + " j " + std::to_string(word) +
                  " self_addr adadadae expected " + half_.expectedWord + "\n",
              half_.failed, "Message integrity mismatch");
    EXPECT_EQ(CallsOf("vorl_send").size(), half_.verified);
}

INSTANTIATE_TEST_SUITE_P(Places, EachHalfWrongWord,
                         Combine(ValuesIn(kHalves), Values(0U, 1U), Values(0UL, 512UL, 1023UL)));

using FailedMessage = std::tuple<Half, const char*, unsigned, int>;  // call, exchange, its result

class EachHalfMessage : public HalfTest, public ::testing::WithParamInterface<FailedMessage> {
protected:
    EachHalfMessage() : HalfTest(std::get<Half>(GetParam())) {}
};

// A call that moved nothing ends the exchange too, and its 0 is the result of success.
TEST_P(EachHalfMessage, ThatFailsEndsTheExchangeWithWhatTheCallReturned) {
    const std::string call = std::get<const char*>(GetParam());
    const unsigned exchange = std::get<unsigned>(GetParam());
    const int result = std::get<int>(GetParam());
    fakes::Vorl().Return(call, result, ECONNRESET, exchange);
    EXPECT_EQ(RunHalf(), static_cast<unsigned int>(result));
    EXPECT_EQ(out_, call + " for msg -" + half_.exchanges[exchange] + "- failed with err " +
                        std::to_string(result) + "\n" +
                        (result == 0 ? half_.success : half_.failed));
    EXPECT_EQ(CallsOf(call).size(), exchange + 1);
    EXPECT_THAT(Errors(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Messages, EachHalfMessage,
                         Combine(ValuesIn(kHalves), Values("vorl_send", "vorl_recv"),
                                 ::testing::Range(0U, 5U), Values(-3, -1, 0)));

}  // namespace

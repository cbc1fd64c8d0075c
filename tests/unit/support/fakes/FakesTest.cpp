// The stand-ins themselves: a stand-in that forgives would let a broken tool pass.
#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <thread>

#include "Fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FakesTest : public fakes::Fixture {
protected:
    U32 Open() {
        U32 count = devices_.size();
        EXPECT_EQ(ZelInitAPI(&handle_, 3, devices_.data(), &count), 0U);
        EXPECT_EQ(ZelInitAdapter(&handle_, &devices_[0]), 0U);
        return count;
    }

    HANDLE handle_ = nullptr;
    std::array<ZelDeviceOnSystem, 256> devices_{};
};

TEST_F(FakesTest, OneHealthyCardByDefault) {
    EXPECT_EQ(Open(), 1U);
    EXPECT_EQ(devices_[0].deviceId, 0x00501F5AU);
    EXPECT_STREQ(reinterpret_cast<const char*>(devices_[0].deviceName),
                 "Ostrel(R) Vimbra(TM) Coprocessor");
    U32 value = 0;
    EXPECT_EQ(ZelGetNumCores(handle_, &value), 0U);
    EXPECT_EQ(value, 60U);
    EXPECT_EQ(ZelReadMMIOReg(handle_, 0x1AB54, &value), 0U);
    EXPECT_EQ(value, 0xB000U);
    ZEL_CARD_USAGE_MODE mode = ZEL_USAGE_MODE_NOP;
    EXPECT_EQ(ZelGetUsageMode(handle_, &mode), 0U);
    EXPECT_EQ(mode, ZEL_USAGE_MODE_NORMAL);
    std::array<char, 32> text{};
    U32 length = text.size();
    EXPECT_EQ(ZelGetZelVersion(handle_, ZEL_VERSION_FLASH_IMAGE, text.data(), &length), 0U);
    EXPECT_STREQ(text.data(), "2.1.02.0390");
    EXPECT_EQ(length, 11U);
    EXPECT_EQ(ZelCloseAdapter(handle_), 0U);
    EXPECT_EQ(ZelCloseAPI(&handle_), 0U);
    EXPECT_EQ(handle_, nullptr);
    EXPECT_THAT(fakes::ZelAccess().Calls(),
                ElementsAre("ZelInitAPI(3, 256)", "ZelInitAdapter(0)", "ZelGetNumCores()",
                            "ZelReadMMIOReg(0x1AB54)", "ZelGetUsageMode()",
                            "ZelGetZelVersion(2, 32)", "ZelCloseAdapter()", "ZelCloseAPI()"));
}

TEST_F(FakesTest, RefusesWhatTheLibraryRefuses) {
    U32 value = 7;
    EXPECT_EQ(ZelGetNumCores(nullptr, &value), U32{ZEL_INVALID_HANDLE});
    U32 count = 256;
    ASSERT_EQ(ZelInitAPI(&handle_, 3, devices_.data(), &count), 0U);
    EXPECT_EQ(ZelGetNumCores(handle_, &value), U32{ZEL_NO_ADAPTER_OPEN});
    EXPECT_EQ(ZelInitAdapter(&handle_, &devices_[5]), U32{ZEL_NO_SUCH_DEVICE});
    EXPECT_EQ(ZelInitAdapter(&handle_, &devices_[0]), 0U);
    EXPECT_EQ(ZelInitAdapter(&handle_, &devices_[0]), U32{ZEL_ADAPTER_ALREADY_OPEN});
    EXPECT_EQ(value, 7U);
    EXPECT_THAT(fakes::ZelAccess().Calls(),
                ElementsAre("ZelGetNumCores(bad handle)", "ZelInitAPI(3, 256)", "ZelGetNumCores()",
                            "ZelInitAdapter(5)", "ZelInitAdapter(0)", "ZelInitAdapter(0)"));
}

TEST_F(FakesTest, AnswersInTurnAndThenAsUsual) {
    Open();
    fakes::ZelAccess().AnswerNext("ZelGetPcieLinkWidth", {{.value = 8}, {.status = 13}});
    U32 width = 0;
    EXPECT_EQ(ZelGetPcieLinkWidth(handle_, &width), 0U);
    EXPECT_EQ(width, 8U);
    EXPECT_EQ(ZelGetPcieLinkWidth(handle_, &width), 13U);
    EXPECT_EQ(width, 8U);
    EXPECT_EQ(ZelGetPcieLinkWidth(handle_, &width), 0U);
    EXPECT_EQ(width, 16U);
}

TEST_F(FakesTest, AStandingAnswerAndAText) {
    Open();
    fakes::ZelAccess().AnswerAlways("ZelGetPostCode", {.text = "10"});
    std::array<char, 16> code{};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(ZelGetPostCode(handle_, code.data()), 0U);
        EXPECT_STREQ(code.data(), "10");
    }
    EXPECT_EQ(fakes::ZelAccess().CountOf("ZelGetPostCode"), 3U);
}

TEST_F(FakesTest, TheNthCallFails) {
    Open();
    fakes::ZelAccess().Fail("ZelGetNumCores", 13, 2, 1);
    U32 cores = 0;
    std::vector<U32> statuses;
    for (int i = 0; i < 4; ++i) {
        statuses.push_back(ZelGetNumCores(handle_, &cores));
    }
    EXPECT_THAT(statuses, ElementsAre(0, 0, 13, 0));
}

TEST_F(FakesTest, LeftoversFailTheTest) {
    fakes::ZelAccess().AnswerNext("ZelGetNumCores", {.status = 1});
    EXPECT_NONFATAL_FAILURE(fakes::VerifyAll(), "1 answers of ZelGetNumCores never asked for");
    fakes::ResetAll();
    fakes::ZelAccess().AnswerAlways("ZelGetNumCore", {.status = 1});
    EXPECT_NONFATAL_FAILURE(fakes::VerifyAll(), "the answer of ZelGetNumCore was never asked for");
    fakes::ResetAll();
    fakes::ZelAccess().Fail("ZelGetUUID", 13, 1, 0);
    EXPECT_NONFATAL_FAILURE(fakes::VerifyAll(), "ZelGetUUID was to fail");
    fakes::ResetAll();
    fakes::ZelAccess().Expect("ZelCloseAPI()");
    EXPECT_NONFATAL_FAILURE(fakes::VerifyAll(), "expected call that never came: ZelCloseAPI()");
    fakes::ResetAll();
    fakes::SettingsFake().Fail("s", "a", 1);
    EXPECT_NONFATAL_FAILURE(fakes::VerifyAll(), "reading s/a was to fail and was not read");
    fakes::ResetAll();
    fakes::SettingsFake().FailLoad(1);
    EXPECT_NONFATAL_FAILURE(fakes::VerifyAll(), "settings.Load was to fail");
    fakes::ResetAll();
    fakes::Vorl().Fail("vorl_open", EMFILE);
    EXPECT_NONFATAL_FAILURE(fakes::VerifyAll(), "vorl_open was to fail");
    fakes::ResetAll();
    fakes::Threads().Fail("pthread_create", EAGAIN);
    EXPECT_NONFATAL_FAILURE(fakes::VerifyAll(), "pthread_create was to fail");
    fakes::ResetAll();
    fakes::Memory().FailPlain();
    EXPECT_NONFATAL_FAILURE(fakes::VerifyAll(), "malloc");
    fakes::ResetAll();
    fakes::Shell().Answer("one");
    EXPECT_NONFATAL_FAILURE(fakes::VerifyAll(), "command never run: \"one\"");
    fakes::ResetAll();
    fakes::VerifyAll();
}

U32 InitWithRoomFor(U32 count) {
    static HANDLE handle;
    static std::array<ZelDeviceOnSystem, 256> devices;
    return ZelInitAPI(&handle, 3, devices.data(), &count);
}

TEST_F(FakesTest, StrictlyInOrder) {
    fakes::ZelAccess().Expect("ZelInitAPI(3, 256)", {.status = 6});
    fakes::ZelAccess().Expect("ZelInitAPI(3, 256)");
    EXPECT_EQ(InitWithRoomFor(256), 6U);
    EXPECT_NONFATAL_FAILURE(InitWithRoomFor(255), "call that was not expected: ZelInitAPI(3, 255)");
    EXPECT_EQ(InitWithRoomFor(256), 0U);
    EXPECT_NONFATAL_FAILURE(InitWithRoomFor(256), "behind the last one: ZelInitAPI(3, 256)");
}

TEST_F(FakesTest, MemoryIsReachableInItsModeAndKeepsWhatIsWritten) {
    Open();
    std::array<U8, 8> written = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(ZelWriteMemPhysical(handle_, 4092, written.data(), 8, 4, 0), U32{ZEL_ACCESS_DENIED});
    EXPECT_EQ(ZelSetUsageModeExtn(handle_, ZEL_USAGE_MODE_MEMDIAG, 512, "image", nullptr),
              U32{ZEL_DEVICE_IN_NORMAL_MODE});
    EXPECT_EQ(ZelSetUsageMode(handle_, ZEL_USAGE_MODE_MAINTENANCE), 0U);
    EXPECT_EQ(ZelSetUsageModeExtn(handle_, ZEL_USAGE_MODE_MEMDIAG, 512, "image", nullptr), 0U);
    EXPECT_EQ(ZelWriteMemPhysical(handle_, 4092, written.data(), 8, 4, 0), 0U);
    fakes::ZelAccess().stuckBits = {{4093, 3, true}, {5000, 0, true}};
    std::array<U8, 8> found{};
    EXPECT_EQ(ZelReadMemPhysical(handle_, 4092, found.data(), 8, 4, 0), 0U);
    EXPECT_THAT(found, ElementsAre(1, 10, 3, 4, 5, 6, 7, 8));
    EXPECT_EQ(ZelReadMemPhysical(handle_, (U64{8} << 30) - 7, found.data(), 8, 4, 0),
              U32{ZEL_OUT_OF_RANGE});
    EXPECT_EQ(fakes::ZelAccess().Calls().back(), "ZelReadMemPhysical(0x1FFFFFFF9, 8, 4, 0)");
}

TEST_F(FakesTest, TheJournalKeepsEverythingInOrder) {
    PlyxDebugInfo site = {1, 42, "FakesTest", true, 0};
    fakes::CaptureOutput output;
    std::printf("one\n");
    Open();
    std::fprintf(stderr, "two");
    plyxDbg->Print(site, DLVL_DIAG1, "id %d\n", 7);
    sleep(5);
    std::printf("three");
    U32 value = 0;
    int count = 1;
    EXPECT_EQ(settings->GetWords("pcieConfigReg", "revisionID", &count, &value), 0);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(value, 0x20U);
    EXPECT_THAT(fakes::TheJournal().Lines(),
                ElementsAre("stdout \"one\\n\"", "ZelInitAPI(3, 256)", "ZelInitAdapter(0)",
                            "stderr \"two\"", "trace 8 \"id 7\\n\"", "sleep(5)", "stdout \"three\"",
                            "settings.GetWords(\"pcieConfigReg\", \"revisionID\", 1)"));
    EXPECT_EQ(output.Out(), "one\nthree");
    EXPECT_EQ(output.Err(), "two");
    EXPECT_THAT(fakes::Trace().Records(),
                ElementsAre(fakes::TraceRecord{DLVL_DIAG1, "id 7\n", 42, "FakesTest"}));
}

TEST_F(FakesTest, CapturesWhatChildProcessesWrite) {
    fakes::CaptureOutput output;
    EXPECT_EQ(std::system("echo out; echo err >&2"), 0);
    EXPECT_EQ(output.Out(), "out\n");
    EXPECT_EQ(output.Err(), "err\n");
}

TEST_F(FakesTest, OnlySleepingMovesTheClock) {
    timeval before{};
    ASSERT_EQ(gettimeofday(&before, nullptr), 0);
    const time_t start = std::time(nullptr);
    unsigned slept = 0;
    fakes::Clock().OnSleep([&slept](unsigned seconds) { slept += seconds; });
    EXPECT_EQ(sleep(3600), 0U);
    usleep(250000);
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    timeval after{};
    ASSERT_EQ(gettimeofday(&after, nullptr), 0);
    EXPECT_EQ(after.tv_sec - before.tv_sec, 3600);
    EXPECT_EQ(after.tv_usec - before.tv_usec, 750000);
    EXPECT_EQ(std::time(nullptr) - start, 3600);
    EXPECT_EQ(slept, 3600U);
    fakes::Clock().Break();
    EXPECT_EQ(gettimeofday(&after, nullptr), -1);
}

TEST_F(FakesTest, TheUserIsRootUnlessTheTestSaysOtherwise) {
    EXPECT_EQ(geteuid(), 0U);
    fakes::SetEffectiveUser(1000);
    EXPECT_EQ(geteuid(), 1000U);
}

TEST_F(FakesTest, SettingsFailAsToldAndWhenMissing) {
    fakes::SettingsFake().Fail("pcieConfigReg", "deviceID", 0x1F);
    fakes::SettingsFake().Remove("pcieConfigReg", "revisionID");
    fakes::SettingsFake().SetWords("pcieConfigReg", "subsystemID", {});
    U32 value = 9;
    int count = 1;
    EXPECT_EQ(settings->GetWords("pcieConfigReg", "deviceID", &count, &value), 0x1F);
    EXPECT_EQ(count, 0);
    count = 1;
    EXPECT_EQ(settings->GetWords("pcieConfigReg", "revisionID", &count, &value), 1);
    count = 1;
    EXPECT_EQ(settings->GetWords("pcieConfigReg", "subsystemID", &count, &value), 0);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(value, 9U);
    EXPECT_EQ(settings->Load("/opt/tools/"), 0);
    EXPECT_EQ(fakes::TheJournal().Lines().back(), "settings.Load(\"/opt/tools/\")");
}

TEST_F(FakesTest, EveryTestBeginsAnew) {
    EXPECT_THAT(fakes::TheJournal().Lines(), IsEmpty());
    EXPECT_THAT(fakes::Trace().Records(), IsEmpty());
    EXPECT_EQ(fakes::ZelAccess().cards.size(), 1U);
    EXPECT_EQ(geteuid(), 0U);
    EXPECT_EQ(fakes::Clock().Microseconds(), fakes::FakeClock::kStartMicroseconds);
}

TEST_F(FakesTest, ATestLeavesNothingToTheNext) {
    fakes::ZelAccess().readsTouchNothing = true;
    fakes::SettingsFake().SetWords("s", "a", {1});
    fakes::Trace().SetLevel(DLVL_DIAG1);
    fakes::Clock().Advance(1);
    fakes::SetEffectiveUser(1000);
    fakes::Vorl().Spoil(0, 0, 1);
    EXPECT_GE(vorl_open(), 0);
    fakes::Shell().SetFile("/no/such/file", true);
    fakes::SetLink("/no/such/link", "target");
    fakes::ResetAll();
    EXPECT_FALSE(fakes::ZelAccess().readsTouchNothing);
    int count = 0;
    EXPECT_NE(settings->GetWords("s", "a", &count, nullptr), 0);
    EXPECT_EQ(fakes::Trace().Level(), DLVL_UNDEFINED);
    EXPECT_EQ(fakes::Clock().Microseconds(), fakes::FakeClock::kStartMicroseconds);
    EXPECT_EQ(geteuid(), 0U);
    EXPECT_TRUE(fakes::Vorl().OpenEndpoints().empty());
    EXPECT_EQ(std::fopen("/no/such/file", "r"), nullptr);
    char target[8];
    EXPECT_EQ(readlink("/no/such/link", target, sizeof target), -1);
    EXPECT_THAT(fakes::TheJournal().LinesWith("vorl_"), IsEmpty());
}

}  // namespace

// The full-range test: its verdict and the state in which it leaves the card.
#include <gmock/gmock.h>

#include "MemoryFixture.h"

namespace {

class FullRangeTest : public MemoryFixture {
protected:
    FullRangeTest() {
        Group().curTest = 0;
        memory_ResetOptions();
        memory_TGCfg(&Group());
        Card().memoryBytes = 2 * kChunk;
        m_memoryCb.gen.onFailCb.onFailMask = k_BreakOnFail;
    }
    I16 Run() {
        return Printing([] { return memory_memoryfullRange(reinterpret_cast<U64>(&m_memoryCb)); });
    }
    static ifstTstCb& Test() { return TestRow("-mem", "-full"); }
    static std::string Failed(const std::string& reason) {
        return "Test 1 Failed in file TestEngine/memory/memoryfullRange, line 71 with reason [" +
               reason + "]\n\n";
    }
};

TEST_F(FullRangeTest, TestsEverythingWhateverTheRange) {
    Params().startAddress = 0x5000;
    Params().memSize = 8;
    EXPECT_EQ(Run(), k_TestFinished);
    EXPECT_EQ(Params().startAddress, 0U);
    EXPECT_EQ(Calls("ZelWriteMemPhysical").size(), 2U);
    EXPECT_THAT(out, testing::StartsWith("start at: 0x0 - length: 0x2000000 - data width: 8 - "
                                         "pattern: 0xaaaaaaaaaaaaaaaa\n"));
    EXPECT_EQ(Test().passCnt, 1);
    EXPECT_EQ(TakeErrors(), Texts{});
    EXPECT_EQ(fakes::ZelAccess().Calls().back(), "ZelSetUsageMode(5)");
}

TEST_F(FullRangeTest, PassesWithoutATestBehindAll) {
    memory_TakeAll();
    memory_TGCfg(&Group());
    const std::size_t calls = fakes::ZelAccess().Calls().size();
    EXPECT_EQ(Run(), k_TestFinished);
    EXPECT_EQ(out, "skipping full mem test \nTest 1 Passed \n\n");
    EXPECT_EQ(fakes::ZelAccess().Calls().size(), calls);
    EXPECT_EQ(Test().passCnt, 1);
}

TEST_F(FullRangeTest, FailsAndIsOverWithItsNextCall) {
    fakes::ZelAccess().stuckBits = {{0x1000008, 0, true}};
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(err, Failed("Memory write verify failure"));
    EXPECT_EQ(m_memoryCb.gen.eventCnt, 100);
    EXPECT_EQ(Card().usageMode, ZEL_USAGE_MODE_OFFLINE);
    EXPECT_EQ(TakeErrors(), (Texts{"MemDiag.FullRange: Memory write verify failure",
                                   "MemDiag.FullRange: Failed full range test"}));
    EXPECT_EQ(Run(), k_TestFinished);
    EXPECT_EQ(out, "");
    EXPECT_EQ(m_memoryCb.gen.eventCnt, 0);
}

TEST_F(FullRangeTest, DoesNotMoveACardThatItDidNotSwitch) {
    Card().usageMode = ZEL_USAGE_MODE_NORMAL;
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(err, Failed("fullRangeMemTest returned false"));
    EXPECT_EQ(Calls("ZelSetUsageMode"), Texts{});
    EXPECT_EQ(TakeErrors(), (Texts{"MemDiag.FullRange: Card not in 'ready' state",
                                   "MemDiag.FullRange: Failed full range test"}));
}

TEST_F(FullRangeTest, FailsWithoutTheMemorysSize) {
    fakes::ZelAccess().Fail("ZelGetGDDRMemSize", ZEL_DEVICE_IO_ERROR);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.FullRange: Failed full range test"});
}

TEST_F(FullRangeTest, GoesOnWhenTheCardDoesNotReturn) {
    fakes::ZelAccess().Fail("ZelSetUsageMode", ZEL_DEVICE_IO_ERROR);
    EXPECT_EQ(Run(), k_TestFinished);
    EXPECT_EQ(ErrorTraces(), Texts{"Error in setting to NORMAL MODE after memory mode testing"});
}

TEST_F(FullRangeTest, FailsWithoutTheWrapper) {
    _ZelAccess* const saved = zelAccess;
    zelAccess = nullptr;
    EXPECT_EQ(Run(), 0);
    zelAccess = saved;
    EXPECT_EQ(err, Failed("fullRangeMemTest returned false"));
    EXPECT_EQ(TakeErrors(), (Texts{"MemDiag.FullRange: Internal Error; NULL Handle",
                                   "MemDiag.FullRange: Failed full range test"}));
}

TEST_F(FullRangeTest, TellsThatItCannotReturnACardWithoutTheWrapper) {
    _ZelAccess* const saved = zelAccess;
    fakes::ZelAccess().corruptRead = [](U64, U8*, U32) { zelAccess = nullptr; };
    EXPECT_EQ(Run(), k_TestFinished);
    zelAccess = saved;
    EXPECT_EQ(ErrorTraces(), Texts{"Error getting NULL zelAccess, we should not be here \n"});
    EXPECT_EQ(Calls("ZelSetUsageMode("), Texts{});
}

TEST_F(FullRangeTest, DoesNothingWhileItIsMarkedOrInvalid) {
    m_memoryCb.gen.eventCnt = 1;
    EXPECT_EQ(Run(), 0);
    m_memoryCb.gen.eventCnt = 0;
    m_memoryCb.gen.valid = 0;
    EXPECT_EQ(Run(), 0);
    EXPECT_FALSE(TouchedMemory());
}

}  // namespace

// The write test: what it prints, the state in which it leaves the card, its verdict.
#include <gmock/gmock.h>

#include "MemoryFixture.h"

namespace {

class WriteTest : public MemoryFixture {
protected:
    WriteTest() {
        Group().curTest = 1;
        Configure({"-memSize=0x1000"});
    }
    static void Configure(const Texts& words) {
        memory_ResetOptions();
        for (const std::string& word : words)
            ASSERT_EQ(memory_TGParseUserCustom(word.c_str()), 1) << word;
        memory_TGCfg(&Group());
    }
    I16 Run() {
        return Printing([] { return memory_memorywrite(reinterpret_cast<U64>(&m_memoryCb)); });
    }
    static ifstTstCb& Test() { return TestRow("-mem", "-wr"); }
    static std::string Failed(const std::string& reason) {
        return "Test 2 Failed in file TestEngine/memory/memorywrite, line 103 with reason [" +
               reason + "]\n\n";
    }
};

TEST_F(WriteTest, PassesAndLeavesTheCardReady) {
    EXPECT_EQ(Run(), k_TestFinished);
    EXPECT_THAT(out, testing::StartsWith("start at: 0x0 - length: 0x1000 - data width: 8 - "
                                         "pattern: 0xaaaaaaaaaaaaaaaa\n"));
    EXPECT_EQ(err, "");
    EXPECT_EQ(Test().passCnt, 1);
    EXPECT_EQ(Test().failCnt, 0);
    EXPECT_EQ(Card().usageMode, ZEL_USAGE_MODE_OFFLINE);
    EXPECT_EQ(fakes::ZelAccess().Calls().back(), "ZelSetUsageMode(5)");
    EXPECT_EQ(TakeErrors(), Texts{});
}

TEST_F(WriteTest, PrintsThePatternAtTheWidth) {
    struct Case {
        const char* pattern;
        const char* width;
        const char* text;
    };
    for (const auto& [pattern, width, text] :
         {Case{"-dp=0x5", "-dw=B", "data width: 1 - pattern: 0x05\n"},
          Case{"-dp=0x1234567", "-dw=W", "data width: 2 - pattern: 0x4567\n"},
          Case{"-dp=0x7", "-dw=DW", "data width: 4 - pattern: 0x00000007\n"},
          Case{"-dp=0xABCDEF", "-dw=QW", "data width: 8 - pattern: 0x0000000000abcdef\n"}}) {
        Configure({"-startAddress=0x2000", "-endAddress=0x3000", pattern, width});
        EXPECT_EQ(Run(), k_TestFinished);
        EXPECT_THAT(
            out, testing::StartsWith(std::string("start at: 0x2000 - length: 0x1000 - ") + text));
    }
}

TEST_F(WriteTest, FailsAndIsOverWithItsNextCall) {
    fakes::ZelAccess().stuckBits = {{0x10, 0, true}};
    m_memoryCb.gen.onFailCb.onFailMask = k_BreakOnFail;
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(err, Failed("Memory write verify failure"));
    EXPECT_EQ(m_memoryCb.gen.eventCnt, 100);
    EXPECT_EQ(Test().failCnt, 1);
    EXPECT_EQ(Card().usageMode, ZEL_USAGE_MODE_OFFLINE);
    EXPECT_EQ(Reasons(Params().errorList),
              (Texts{"Memory write verify failure", "hostApertureMemTest returned false"}));
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.MemWrite: Memory write verify failure"});

    const std::size_t calls = fakes::ZelAccess().Calls().size();
    EXPECT_EQ(Run(), k_TestFinished);
    EXPECT_EQ(out, "");
    EXPECT_EQ(m_memoryCb.gen.eventCnt, 0);
    EXPECT_EQ(Test().failCnt, 1);
    EXPECT_EQ(Test().result, IFST_FAILED);
    EXPECT_EQ(fakes::ZelAccess().Calls().size(), calls);
}

TEST_F(WriteTest, CountsEveryMismatchWithoutBreakOnFail) {
    fakes::ZelAccess().stuckBits = {{0x10, 0, true}, {0x20, 2, true}, {0x30, 4, true}};
    m_memoryCb.gen.onFailCb.onFailMask = 0;
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(Test().failCnt, 1);
    EXPECT_EQ(TakeErrors(), Texts(3, "MemDiag.MemWrite: Memory write verify failure"));
}

TEST_F(WriteTest, ReportsTheReasonOfTheHead) {
    fakes::ZelAccess().Fail("ZelReadMemPhysical", ZEL_DEVICE_IO_ERROR);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(err, Failed("Memory read failure"));
}

TEST_F(WriteTest, DoesNothingWhileItIsMarkedOrInvalid) {
    m_memoryCb.gen.eventCnt = 7;
    EXPECT_EQ(Run(), 0);
    m_memoryCb.gen.eventCnt = 0;
    m_memoryCb.gen.valid = 0;
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(out, "");
    EXPECT_FALSE(TouchedMemory());
    EXPECT_EQ(Test().passCnt + Test().failCnt, 0);
}

TEST_F(WriteTest, AFailedValidationTouchesNothing) {
    Params().memSize = 0;
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(err, Failed("Memory Test parameter validation fail"));
    EXPECT_EQ(Calls("ZelSetUsageMode"), Texts{});
    EXPECT_FALSE(TouchedMemory());
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.MemWrite: Memory Test parameter validation fail"});
}

TEST_F(WriteTest, AFailedValidationThatSpokeForItselfIsNotLoggedTwice) {
    fakes::ZelAccess().Fail("ZelGetGDDRMemSize", ZEL_DEVICE_IO_ERROR);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(err, Failed("Memory Test parameter validation fail"));
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.MemWrite: Failed to get GDDR size"});
}

TEST_F(WriteTest, ACardThatIsNotReadyFailsAndIsSentThereAllTheSame) {
    Card().usageMode = ZEL_USAGE_MODE_NORMAL;
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(err, Failed("hostApertureMemTest returned false"));
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.MemWrite: Card not in 'ready' state"});
    EXPECT_EQ(Calls("ZelSetUsageMode("), Texts{"ZelSetUsageMode(5)"});
}

TEST_F(WriteTest, GoesOnWhenTheCardDoesNotReturn) {
    fakes::ZelAccess().Fail("ZelSetUsageMode", ZEL_DEVICE_IO_ERROR);
    EXPECT_EQ(Run(), k_TestFinished);
    EXPECT_EQ(ErrorTraces(), Texts{"Error in setting to OFFLINE MODE after memory mode testing"});
    EXPECT_EQ(Test().passCnt, 1);
}

TEST_F(WriteTest, ErrorsOfAnEarlierTestFailItToo) {
    addError(&Params().errorList, "earlier", 0, 8, MemErrorTypeUnknown, 0);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(err, Failed("earlier"));
}

}  // namespace

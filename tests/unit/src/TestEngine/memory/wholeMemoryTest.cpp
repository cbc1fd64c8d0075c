// The test of the whole memory: its passes, what it needs and how it ends.
#include <gmock/gmock.h>

#include "MemoryFixture.h"
#include "TestEngine/memory/wholeMemory.h"

namespace {

class FullRange : public MemoryFixture {
protected:
    ~FullRange() override { freeErrorList(&errors); }

    int Run(unsigned long start = 0, unsigned int mode = k_MemTestModeNormal) {
        return Printing([&] {
            return fullRangeMemTest(start, 8, pattern, &errors, breakOnFail, mode, modeSet);
        });
    }
    // Address and length of each write.
    static Texts Writes() { return Calls("ZelWriteMemPhysical"); }

    unsigned long pattern[8] = {0x5A5A, 0x5A5A, 0x5A5A, 0x5A5A, 0x5A5A, 0x5A5A, 0x5A5A, 0x5A5A};
    _GddrDiagErrorList* errors = nullptr;
    bool breakOnFail = true;
    bool modeSet = false;
};

TEST_F(FullRange, TestsASmallCardInOnePass) {
    Card().memoryBytes = 32 * kMiB;
    EXPECT_EQ(Run(), 1);
    EXPECT_TRUE(modeSet);
    EXPECT_EQ(Writes(), (Texts{"ZelWriteMemPhysical(0x0, 16777216, 8, 0)",
                               "ZelWriteMemPhysical(0x1000000, 16777216, 8, 0)"}));
    EXPECT_EQ(out,
              "start at: 0x0 - length: 0x2000000 - data width: 8 - pattern: 0x5a5a\n"
              "Total memory available on the Coprocessor: 0x2000000 (0GB 32MB)\n"
              "\n  0% completed - currently at:         0MB -> 0x0        \n"
              "\n100% completed - currently at:        32MB -> 0x2000000  \n"
              "\nhost-based memory testing - time elapsed:  0 msec  \n");
}

TEST_F(FullRange, TestsALargeCardBelowAndAbove4GB) {
    Card().memoryBytes = 4 * kGiB + 2 * kChunk;
    EXPECT_EQ(Run(), 1);
    const Texts writes = Writes();
    ASSERT_EQ(writes.size(), 255U + 2U);
    EXPECT_EQ(writes[254], "ZelWriteMemPhysical(0xFE000000, 16777216, 8, 0)");
    EXPECT_EQ(writes[255], "ZelWriteMemPhysical(0x100000000, 16777216, 8, 0)");
    EXPECT_EQ(writes[256], "ZelWriteMemPhysical(0x101000000, 16777216, 8, 0)");
    EXPECT_EQ(out,
              "start at: 0x0 - length: 0x102000000 - data width: 8 - pattern: 0x5a5a\n"
              "Total memory available on the Coprocessor: 0x102000000 (4GB 32MB)\n"
              "\n  0% completed - currently at:         0MB -> 0x0        \n"
              "\n 24% completed - currently at:  1GB    0MB  -> 0x40000000 \n"
              "\n 49% completed - currently at:  2GB    0MB  -> 0x80000000 \n"
              "\n 74% completed - currently at:  3GB    0MB  -> 0xc0000000 \n"
              "\n 98% completed - currently at:  3GB 1008MB -> 0xff000000 \n"
              "\n100% completed - currently at:  4GB   32MB -> 0x102000000\n"
              "\nhost-based memory testing - time elapsed:  0 msec  \n");
    EXPECT_EQ(Calls("ZelSetUsageModeExtn").size(), 1U);
}

TEST_F(FullRange, ACardOfExactly4GBHasAHighPassOfNothing) {
    Card().memoryBytes = 4 * kGiB;
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(Writes().size(), 255U);
    EXPECT_EQ(Calls("ZelGetGDDRMemSize").size(), 3U);
}

TEST_F(FullRange, NeverTestsTheStretchBelow4GB) {
    Card().memoryBytes = 4 * kGiB + kMiB;
    fakes::ZelAccess().stuckBits = {{0xFF000000, 0, true}, {0xFFFFFFFF, 0, true}};
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(errors, nullptr);
}

TEST_F(FullRange, TestsAnOlderCardFrom1MBTo64BytesBelowItsTop) {
    OpenCard(fakes::Card::OlderGeneration());
    Card().memoryBytes = 2 * kChunk;
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(Writes(), (Texts{"ZelWriteMemPhysical(0x100000, 16777216, 8, 0)",
                               "ZelWriteMemPhysical(0x1100000, 15728576, 8, 0)"}));
    EXPECT_THAT(out, testing::StartsWith(
                         "start at: 0x100000 - length: 0x2000000 - data width: 8 - pattern: "
                         "0x5a5a\nTotal memory available on the Coprocessor: 0x1ffffc0 (0GB "
                         "31MB)\n"));
}

TEST_F(FullRange, AnOlderCardHasOnePassHoweverLargeItIs) {
    OpenCard(fakes::Card::OlderGeneration());
    Card().memoryBytes = 4 * kGiB + 2 * kChunk;
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(Writes().size(), 258U);
    EXPECT_EQ(Calls("ZelGetGDDRMemSize").size(), 2U);
}

TEST_F(FullRange, AnOlderCardLosesWhatTheStartIsBelow1MB) {
    OpenCard(fakes::Card::OlderGeneration());
    Card().memoryBytes = 2 * kMiB;
    EXPECT_EQ(Run(0x1000), 0) << "the length does not leave room for the start";
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.Some: Test range if greater than available memory"});
}

// Nothing lies between 1 MB and 64 bytes below the top.
TEST_F(FullRange, RefusesAnOlderCardThatIsTooSmall) {
    struct Size {
        U64 bytes;
        const char* end;
        const char* available;
    };
    for (const auto& [bytes, end, available] :
         {Size{kMiB, "0xffffffffffffffff", "0xfffc0"},
          Size{0x80000, "0xffffffffffffffff", "0x7ffc0"}, Size{64, "0xffffffffffffffff", "0x0"},
          Size{63, "0xffffffffffffffff", "0x0"}, Size{0, "0xffffffffffffffc0", "0x0"}}) {
        fakes::Trace().Reset();
        OpenCard(fakes::Card::OlderGeneration());
        Card().memoryBytes = bytes;
        modeSet = false;
        EXPECT_EQ(Run(), 0) << bytes;
        EXPECT_THAT(out, testing::HasSubstr(std::string("\nTotal memory available on the "
                                                        "Coprocessor: ") +
                                            available + " (0GB 0MB)\n"));
        EXPECT_EQ(ErrorTraces(), Texts{std::string("test range ") + end +
                                       " is greater than available memory on Ostrel(R) Vimbra(TM) "
                                       "Coprocessor " +
                                       available + " \n"});
    }
    EXPECT_FALSE(TouchedMemory());
}

TEST_F(FullRange, AnOlderCardThatHasNothingBetweenPassesUntested) {
    OpenCard(fakes::Card::OlderGeneration());
    Card().memoryBytes = kMiB + 64;
    EXPECT_EQ(Run(), 1);
    EXPECT_FALSE(TouchedMemory());
}

TEST_F(FullRange, ACurrentCardWithoutMemoryPassesUntested) {
    Card().memoryBytes = 0;
    EXPECT_EQ(Run(), 1);
    EXPECT_FALSE(TouchedMemory());
}

TEST_F(FullRange, AStartFrom1MBOnLeavesNothingToTestOnAnOlderCard) {
    OpenCard(fakes::Card::OlderGeneration());
    EXPECT_EQ(Run(kMiB), 0);
    EXPECT_FALSE(TouchedMemory());
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.Some: Test range if greater than available memory"});
}

TEST_F(FullRange, SkipsBehindAllWithoutACall) {
    const std::size_t before = fakes::ZelAccess().Calls().size();
    Card().usageMode = ZEL_USAGE_MODE_NORMAL;
    EXPECT_EQ(Run(0, k_MemTestModeAll), 1);
    EXPECT_EQ(out, "skipping full mem test \n");
    EXPECT_EQ(fakes::ZelAccess().Calls().size(), before);
    EXPECT_FALSE(modeSet);
}

TEST_F(FullRange, NeedsTheWrapper) {
    _ZelAccess* const saved = zelAccess;
    zelAccess = nullptr;
    EXPECT_EQ(Run(), 0);
    zelAccess = saved;
    EXPECT_FALSE(modeSet);
    EXPECT_EQ(out, "zelAccess is NULL, abort the test \n");
    EXPECT_EQ(ErrorTraces(), Texts{"zelAccess is NULL, abort the test"});
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.Some: Internal Error; NULL Handle"});
}

TEST_F(FullRange, NeedsTheReadyState) {
    Card().usageMode = ZEL_USAGE_MODE_NORMAL;
    EXPECT_EQ(Run(), 0);
    EXPECT_FALSE(modeSet);
    EXPECT_EQ(ErrorTraces(),
              Texts{"Device not in ready state. Refer to help section for more info.\n"});
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.Some: Card not in 'ready' state"});
}

TEST_F(FullRange, NeedsTheMode) {
    fakes::ZelAccess().Fail("ZelGetUsageMode", ZEL_DEVICE_IO_ERROR);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(ErrorTraces(), Texts{"Could not obtain current device mode.\n"});
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.Some: Failed to get usage mode"});
}

TEST_F(FullRange, NeedsTheMemorysSize) {
    fakes::ZelAccess().Fail("ZelGetGDDRMemSize", ZEL_DEVICE_IO_ERROR);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(out, "");
    EXPECT_FALSE(modeSet);
}

TEST_F(FullRange, AFailingLowPassEndsWithTheElapsedTime) {
    Card().memoryBytes = 4 * kGiB + kMiB;
    fakes::ZelAccess().stuckBits = {{0x1000, 0, true}};
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(Writes().size(), 1U);
    EXPECT_THAT(out, testing::EndsWith("\nhost-based memory testing - time elapsed:  0 msec  \n"));
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.Some: Memory write verify failure"});
}

TEST_F(FullRange, AFailingHighPassEndsWithoutTheElapsedTime) {
    Card().memoryBytes = 4 * kGiB + kMiB;
    fakes::ZelAccess().stuckBits = {{4 * kGiB + 8, 0, true}};
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(ErrorTraces(),
              (Texts{"Memory write verify failure at address 100000008 - 5b \n",
                     "Breaking on fail in hostApertureMemTest \n",
                     "hostApertureMemTest returned false, Memory Test from Host failed"}));
    EXPECT_EQ(TakeErrors(), (Texts{"MemDiag.Some: Memory write verify failure",
                                   "MemDiag.Some: 'hostApertureMemTest' failed"}));
    EXPECT_THAT(out, testing::Not(testing::HasSubstr("elapsed")));
}

TEST_F(FullRange, GoesOnOverBothPassesWithoutBreakOnFail) {
    Card().memoryBytes = 4 * kGiB + kMiB;
    breakOnFail = false;
    fakes::ZelAccess().stuckBits = {{0x1000, 0, true}, {4 * kGiB + kMiB - 8, 0, true}};
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(TakeErrors(), Texts(2, "MemDiag.Some: Memory write verify failure"));
}

TEST_F(FullRange, ShowsTheTimeOfBothPasses) {
    Card().memoryBytes = kChunk;
    fakes::ZelAccess().corruptRead = [](U64, U8*, U32) { fakes::Clock().Advance(61'000'000); };
    EXPECT_EQ(Run(), 1);
    EXPECT_THAT(out, testing::EndsWith("time elapsed:  1 min  1 sec  \n"));
}

TEST_F(FullRange, WithoutAClockThereIsNoElapsedTime) {
    Card().memoryBytes = kChunk;
    fakes::Clock().Break();
    EXPECT_EQ(Run(), 1);
    EXPECT_THAT(out, testing::HasSubstr("failed to get zelstart_endmark \n"));
    EXPECT_THAT(out, testing::Not(testing::HasSubstr("elapsed")));
}

TEST_F(FullRange, AnEndTimeAloneTellsNoElapsedTime) {
    Card().memoryBytes = kChunk;
    fakes::Clock().Break();
    fakes::ZelAccess().corruptRead = [](U64, U8*, U32) { fakes::Clock().Repair(); };
    EXPECT_EQ(Run(), 1);
    EXPECT_THAT(out, testing::HasSubstr("failed to get zelstart_endmark \n"));
    EXPECT_THAT(out, testing::Not(testing::HasSubstr("MemTestfromHost_endmark")));
    EXPECT_THAT(out, testing::Not(testing::HasSubstr("elapsed")));
}

}  // namespace

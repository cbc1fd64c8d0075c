// The host-aperture test: chunks, progress, failures and where they are found, against a model.
#include "TestEngine/memory/hostAperture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <random>
#include <set>

#include "MemoryFixture.h"

namespace {

constexpr U64 kPattern = 0x1122334455667788;

std::string Hex(U64 value) {
    char text[24];
    std::snprintf(text, sizeof(text), "%llx", static_cast<unsigned long long>(value));
    return text;
}

std::string Mismatch(U64 address, unsigned int found) {
    return "Memory write verify failure at address " + Hex(address) + " - " + Hex(found) + " \n";
}

class Aperture : public MemoryFixture {
protected:
    ~Aperture() override { freeErrorList(&errors); }

    int Run(U64 start, U64 length, unsigned int width = 8) {
        return Printing([&] {
            return hostApertureMemTest(start, length, width, pattern, &errors, breakOnFail, modeSet,
                                       fullRange, doneBefore, showTotals);
        });
    }
    static std::string Access(const char* call, U64 address, U64 bytes, unsigned int width) {
        std::string hex = Hex(address);
        std::ranges::transform(hex, hex.begin(), [](char c) { return std::toupper(c); });
        return std::string(call) + "(0x" + hex + ", " + std::to_string(bytes) + ", " +
               std::to_string(width) + ", 0)";
    }
    static Texts Accesses(U64 start, U64 length, unsigned int width) {
        Texts calls;
        for (U64 done = 0; done < length; done += kChunk) {
            const U64 bytes = std::min(length - done, kChunk);
            calls.push_back(Access("ZelWriteMemPhysical", start + done, bytes, width));
            calls.push_back(Access("ZelReadMemPhysical", start + done, bytes, width));
        }
        return calls;
    }
    static Texts MemoryCalls() {
        Texts found;
        for (const std::string& call : fakes::ZelAccess().Calls()) {
            if (call.find("MemPhysical") != std::string::npos)
                found.push_back(call);
        }
        return found;
    }
    static void OpenOlderCard() { OpenCard(fakes::Card::OlderGeneration()); }

    unsigned long pattern[8] = {kPattern, kPattern, kPattern, kPattern,
                                kPattern, kPattern, kPattern, kPattern};
    _GddrDiagErrorList* errors = nullptr;
    bool breakOnFail = true;
    bool modeSet = false;
    bool fullRange = false;
    unsigned long doneBefore = 0;
    bool showTotals = false;
};

TEST_F(Aperture, WritesReadsAndCompares) {
    EXPECT_EQ(Run(0x1000, kMiB), 1);
    EXPECT_EQ(MemoryCalls(), Accesses(0x1000, kMiB, 8));
    EXPECT_EQ(out,
              "\n  0% completed - currently at:         0MB -> 0x1000     \n"
              "\n100% completed - currently at:         1MB -> 0x101000   \n"
              "\nhost-based memory testing - time elapsed:  0 msec  \n");
    EXPECT_EQ(errors, nullptr);
    EXPECT_TRUE(modeSet);
    EXPECT_EQ(Card().usageMode, ZEL_USAGE_MODE_MEMDIAG);
    EXPECT_EQ(ErrorTraces(), Texts{});
    EXPECT_EQ(TakeErrors(), Texts{});
}

TEST_F(Aperture, NothingToTestTouchesNoMemory) {
    EXPECT_EQ(Run(0, 0), 1);
    EXPECT_FALSE(TouchedMemory());
    EXPECT_EQ(out, "\nhost-based memory testing - time elapsed:  0 msec  \n");
}

TEST_F(Aperture, OneByteMoreThanAChunkIsTwoChunks) {
    EXPECT_EQ(Run(0, kChunk + 1, 1), 1);
    EXPECT_EQ(MemoryCalls(), Accesses(0, kChunk + 1, 1));
    EXPECT_EQ(out,
              "\n  0% completed - currently at:         0MB -> 0x0        \n"
              "\n100% completed - currently at:        16MB -> 0x1000001  \n"
              "\nhost-based memory testing - time elapsed:  0 msec  \n");
    EXPECT_EQ(fakes::Trace().TextsAt(DLVL_DIAG1), Texts{"."}) << "for the second chunk";
}

TEST_F(Aperture, BytesThatAreNoWholeElementAreNotJudged) {
    fakes::ZelAccess().stuckBits = {{kChunk, 0, true}};
    EXPECT_EQ(Run(0, kChunk + 1, 8), 1);
    EXPECT_EQ(MemoryCalls(), Accesses(0, kChunk + 1, 8));
    EXPECT_EQ(errors, nullptr);
}

TEST_F(Aperture, ShowsProgressEvery64Chunks) {
    const U64 length = 130 * kChunk;
    EXPECT_EQ(Run(kGiB - 2 * kChunk, length), 1);
    EXPECT_EQ(out,
              "\n  0% completed - currently at:       992MB -> 0x3e000000 \n"
              "\n 49% completed - currently at:  1GB  992MB  -> 0x7e000000 \n"
              "\n 98% completed - currently at:  2GB  992MB  -> 0xbe000000 \n"
              "\n100% completed - currently at:  3GB    0MB -> 0xc0000000 \n"
              "\nhost-based memory testing - time elapsed:  0 msec  \n");
    EXPECT_EQ(fakes::Trace().TextsAt(DLVL_DIAG1), Texts(127, "."));
}

TEST_F(Aperture, ShowsProgressOfTheWholeMemory) {
    Card().memoryBytes = 2 * kGiB;
    fullRange = true;
    showTotals = true;
    doneBefore = kGiB;
    EXPECT_EQ(Run(0, kGiB / 2), 1);
    EXPECT_EQ(out,
              "Total memory available on the Coprocessor: 0x80000000 (2GB 0MB)\n"
              "\n 50% completed - currently at:         0MB -> 0x0        \n"
              "\n 75% completed - currently at:       512MB -> 0x20000000 \n");
}

TEST_F(Aperture, TheHighPassHasNoTotalsAndNoFirstLine) {
    fullRange = true;
    showTotals = true;
    doneBefore = 4 * kGiB;
    modeSet = true;
    Card().usageMode = ZEL_USAGE_MODE_MEMDIAG;
    EXPECT_EQ(Run(4 * kGiB, 65 * kChunk), 1);
    EXPECT_EQ(out,
              "\n 62% completed - currently at:  5GB    0MB  -> 0x140000000\n"
              "\n 62% completed - currently at:  5GB   16MB -> 0x141000000\n");
    EXPECT_EQ(fakes::Trace().TextsAt(DLVL_DIAG1), Texts(64, "."));
}

TEST_F(Aperture, ARangeFrom4GBWithoutTotalsHasItsFirstLine) {
    EXPECT_EQ(Run(4 * kGiB, 0x1000), 1);
    EXPECT_THAT(out, testing::StartsWith("\n  0% completed - currently at:  4GB    0MB  -> "));
}

TEST_F(Aperture, QuietModeSilencesStandardOutputAndNotTheLog) {
    FILE* log = std::tmpfile();
    ifstSetupParams.logCtl.logEna = 1;
    ifstSetupParams.logCtl.dataLogHndl = log;
    ifstSetupParams.bQuietMode = 1;
    EXPECT_EQ(Run(0, 0x1000), 1);
    EXPECT_EQ(out, "");
    EXPECT_GT(std::ftell(log), 100);
    std::fclose(log);
}

// The card's state.

TEST_F(Aperture, NeedsTheWrapper) {
    _ZelAccess* const saved = zelAccess;
    zelAccess = nullptr;
    EXPECT_EQ(Run(0, 0x1000), 0);
    zelAccess = saved;
    EXPECT_EQ(out, "zelAccess is NULL, abort the test \n");
    EXPECT_EQ(ErrorTraces(), Texts{"zelAccess is NULL, abort the test"});
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.Some: Internal Error; NULL Handle"});
}

TEST_F(Aperture, NeedsTheReadyState) {
    Card().usageMode = ZEL_USAGE_MODE_MAINTENANCE;
    EXPECT_EQ(Run(0, 0x1000), 0);
    EXPECT_TRUE(modeSet);
    EXPECT_EQ(ErrorTraces(),
              Texts{"Device not in ready state. Refer to help section for more info.\n"});
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.Some: Card not in 'ready' state"});
    EXPECT_EQ(Calls("ZelSetUsageMode"), Texts{});
}

TEST_F(Aperture, NeedsTheMode) {
    fakes::ZelAccess().Fail("ZelGetUsageMode", ZEL_DEVICE_IO_ERROR);
    EXPECT_EQ(Run(0, 0x1000), 0);
    EXPECT_FALSE(modeSet);
    EXPECT_EQ(ErrorTraces(), Texts{"Could not obtain current device mode.\n"});
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.Some: Failed to get usage mode"});
}

TEST_F(Aperture, NeedsTheModeInTheSecondRangeToo) {
    modeSet = true;
    fakes::ZelAccess().Fail("ZelGetUsageMode", ZEL_DEVICE_IO_ERROR);
    EXPECT_EQ(Run(0, 0x1000), 0);
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.Some: Failed to get usage mode"});
}

TEST_F(Aperture, SwitchesTheCardOnlyForTheFirstRange) {
    EXPECT_EQ(Run(0, 0x1000), 1);
    EXPECT_EQ(Run(0x1000, 0x1000), 1);
    EXPECT_EQ(Calls("ZelSetUsageModeExtn").size(), 1U);
}

TEST_F(Aperture, StopsWhenTheSwitchFails) {
    fakes::ZelAccess().Fail("ZelSetUsageModeExtn", ZEL_IMAGE_NOT_FOUND);
    EXPECT_EQ(Run(0, 0x1000), 0);
    EXPECT_TRUE(modeSet);
    EXPECT_FALSE(TouchedMemory());
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.Some: Failed to set MEMDIAG_MODE"});
}

TEST_F(Aperture, NeedsTheMemorysSize) {
    fakes::ZelAccess().Fail("ZelGetGDDRMemSize", ZEL_DEVICE_IO_ERROR);
    EXPECT_EQ(Run(0, 0x1000), 0);
    EXPECT_EQ(ErrorTraces(), Texts{"unable to get GDDR size, ZelGetGDDRMemSize returned false, "
                                   "hostApertureMemTest failed"});
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.Some: Failed to get GDDR size"});
}

TEST_F(Aperture, RefusesRangesThatLeaveTheMemory) {
    Card().memoryBytes = kMiB;
    EXPECT_EQ(Run(0x1000, kMiB - 0x1000), 1) << "up to the last byte";
    EXPECT_EQ(Run(0x1000, kMiB - 0xFFF, 1), 0);
    EXPECT_EQ(ErrorTraces(), Texts{"test range 0x100001 is greater than available memory on "
                                   "Ostrel(R) Vimbra(TM) Coprocessor 0x100000 \n"});
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.Some: Test range if greater than available memory"});
}

// An end beyond 2^64 shows as the highest number, and not as the low one that it would wrap to.
TEST_F(Aperture, RefusesRangesWhoseEndNoNumberShows) {
    Card().memoryBytes = kMiB;
    struct Range {
        U64 start, length;
        const char* end;
    };
    for (const auto& [start, length, end] : {Range{~U64{0} - 0xFF, 0xFF, "0xffffffffffffffff"},
                                             Range{~U64{0} - 0xFF, 0x100, "0xffffffffffffffff"},
                                             Range{~U64{0} - 0xFF, 0x200, "0xffffffffffffffff"},
                                             Range{kMiB, ~U64{0} - 0xFFF, "0xffffffffffffffff"},
                                             Range{~U64{0} - 0xFFF, 0x100, "0xfffffffffffff100"}}) {
        fakes::Trace().Reset();
        EXPECT_EQ(Run(start, length, 1), 0) << end;
        EXPECT_EQ(ErrorTraces(), Texts{std::string("test range ") + end +
                                       " is greater than available memory on Ostrel(R) Vimbra(TM) "
                                       "Coprocessor 0x100000 \n"});
    }
    EXPECT_FALSE(TouchedMemory());
}

// The older generation.

TEST_F(Aperture, RaisesTheStartOnAnOlderCardAndJudgesTheGivenRange) {
    OpenOlderCard();
    Card().memoryBytes = 4 * kMiB;
    EXPECT_EQ(Run(0x1000, 0x2000), 1);
    EXPECT_THAT(out, testing::StartsWith("start address changed: 0x100000\n"));
    EXPECT_EQ(MemoryCalls(), Accesses(kMiB, 0x2000, 8));
    EXPECT_EQ(Run(kMiB, 0x2000), 1);
    EXPECT_THAT(out, testing::Not(testing::HasSubstr("changed")));
}

TEST_F(Aperture, HoldsBack64BytesOfAnOlderCard) {
    OpenOlderCard();
    Card().memoryBytes = 4 * kMiB;
    EXPECT_EQ(Run(2 * kMiB, 2 * kMiB - 64), 1);
    EXPECT_EQ(Run(2 * kMiB, 2 * kMiB - 63, 1), 0);
    EXPECT_EQ(ErrorTraces(), Texts{"test range 0x3fffc1 is greater than available memory on "
                                   "Ostrel(R) Vimbra(TM) Coprocessor 0x3fffc0 \n"});
}

TEST_F(Aperture, TheGivenStartCountsEvenWhereTheRaisedRangeLeavesTheMemory) {
    OpenOlderCard();
    Card().memoryBytes = 2 * kMiB;
    EXPECT_EQ(Run(0, 2 * kMiB - 64), 0) << "the card refuses the access";
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.Some: Memory write failure"});
}

// Failures of accesses.

TEST_F(Aperture, StopsAtAFailingWrite) {
    fakes::ZelAccess().Fail("ZelWriteMemPhysical", ZEL_DEVICE_IO_ERROR, 1);
    breakOnFail = false;
    EXPECT_EQ(Run(0x1000, 2 * kChunk, 4), 0);
    EXPECT_EQ(ErrorTraces(), (Texts{"text of status 13 \n",
                                    "Memory Write failure at address 1001000 - for a buffer size "
                                    "1000000 \n"}));
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.Some: Memory write failure"});
    ASSERT_EQ(Reasons(errors), Texts{"Memory write failure"});
    EXPECT_EQ(errors->phyAddr, 0x1001000U);
    EXPECT_EQ(errors->errType, MemErrorTypeUnknown);
    EXPECT_EQ(errors->pattern, kPattern);
    EXPECT_EQ(errors->dataWidth, 4);
}

TEST_F(Aperture, StopsAtAFailingRead) {
    fakes::ZelAccess().Fail("ZelReadMemPhysical", ZEL_DEVICE_IO_ERROR);
    EXPECT_EQ(Run(0x1000, 0x20, 4), 0);
    EXPECT_EQ(ErrorTraces(),
              (Texts{"text of status 13 \n",
                     "Memory Read failure at address 1000 - for a buffer size 20 \n"}));
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.Some: Memory read failure"});
    EXPECT_EQ(Reasons(errors), Texts{"Memory read failure"});
    EXPECT_EQ(errors->errType, MemErrorTypeUnknown);
}

// The buffer held the pattern when it was written.
TEST_F(Aperture, AReadThatChangesNothingFindsZeros) {
    fakes::ZelAccess().readsTouchNothing = true;
    EXPECT_EQ(Run(0, 0x1000), 0);
    EXPECT_EQ(ErrorTraces().at(0), Mismatch(0, 0));
}

TEST_F(Aperture, AReadThatChangesNothingFindsZerosInALaterChunkToo) {
    fakes::ZelAccess().corruptRead = [](U64, U8*, U32) {
        fakes::ZelAccess().readsTouchNothing = true;
    };
    EXPECT_EQ(Run(0, 2 * kChunk), 0);
    EXPECT_EQ(ErrorTraces().at(0), Mismatch(kChunk, 0));
}

// Mismatches.

TEST_F(Aperture, BreaksAtTheFirstMismatch) {
    fakes::ZelAccess().stuckBits = {{0x1234, 0, true}, {0x2000, 0, true}};
    EXPECT_EQ(Run(0x1000, 0x2000), 0);
    EXPECT_EQ(ErrorTraces(),
              (Texts{Mismatch(0x1230, 0x88), "Breaking on fail in hostApertureMemTest \n"}));
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.Some: Memory write verify failure"});
    ASSERT_EQ(Reasons(errors), Texts{"Memory write verify failure"});
    EXPECT_EQ(errors->phyAddr, 0x1230U);
}

TEST_F(Aperture, GoesOnWithoutBreakOnFail) {
    breakOnFail = false;
    fakes::ZelAccess().stuckBits = {{0x1001, 3, true}, {0x1FFF, 1, true}, {0x2FFF, 1, true}};
    EXPECT_EQ(Run(0x1000, 0x2000), 1);
    EXPECT_EQ(ErrorTraces(),
              (Texts{Mismatch(0x1000, 0x88), Mismatch(0x1FF8, 0x88), Mismatch(0x2FF8, 0x88)}));
    EXPECT_EQ(TakeErrors(), Texts(3, "MemDiag.Some: Memory write verify failure"));
    ASSERT_EQ(Reasons(errors).size(), 2U);
    EXPECT_EQ(errors->phyAddr, 0x1FF8U) << "the second-to-last";
    EXPECT_EQ(errors->next->phyAddr, 0x2FF8U);
}

TEST_F(Aperture, TellsTheFirstByteThatWasRead) {
    fakes::ZelAccess().stuckBits = {{0x1000, 0, true}};
    EXPECT_EQ(Run(0x1000, 0x10), 0);
    EXPECT_EQ(ErrorTraces().at(0), Mismatch(0x1000, 0x89));
}

TEST_F(Aperture, AtAWidthThatIsNoneEveryElementIsAMismatch) {
    breakOnFail = false;
    EXPECT_EQ(Run(0, 12, 3), 1);
    EXPECT_EQ(ErrorTraces(),
              (Texts{Mismatch(0, 0), Mismatch(3, 0), Mismatch(6, 0), Mismatch(9, 0)}));
    EXPECT_EQ(Run(0, 2, 0), 1);
}

TEST_F(Aperture, FindsAStuckBitAtItsAddressAtEveryWidthOnBothGenerations) {
    breakOnFail = false;
    const U64 start = 4 * kGiB - kChunk - 0x1000;
    const U64 length = 2 * kChunk + 0x2000;
    // First and last byte, both sides of the chunk borders, and of 4 GB.
    const U64 places[] = {start,    start + kChunk - 1,     start + kChunk,     4 * kGiB - 1,
                          4 * kGiB, start + 2 * kChunk - 1, start + 2 * kChunk, start + length - 1};
    for (const bool older : {false, true}) {
        OpenCard(older ? fakes::Card::OlderGeneration() : fakes::Card());
        modeSet = false;
        for (const unsigned int width : {1U, 2U, 4U, 8U}) {
            for (const U64 place : places) {
                fakes::Trace().Reset();
                fakes::ZelAccess().stuckBits = {{place, 0, true}, {place, 1, false}};
                pattern[0] = 0x1616161616161616;  // bit 0 clear, bit 1 set
                EXPECT_EQ(Run(start, length, width), 1);
                const U64 element = place - place % width;
                EXPECT_EQ(ErrorTraces(), Texts{Mismatch(element, place == element ? 0x15 : 0x16)})
                    << "width " << width << ", place " << Hex(place) << ", older " << older;
                freeErrorList(&errors);
            }
        }
    }
}

// Any width, pattern, range and set of broken cells: the failures are exactly those of the elements
// that hold a cell which does not read as it was written. Every fifth range ends a little before or
// behind a chunk's border, and half of the cells lie at such a border or at an end of the range.
TEST_F(Aperture, AgreesWithAModel) {
    std::mt19937_64 random(20240102);
    breakOnFail = false;
    for (int round = 0; round < 200; ++round) {
        const bool older = round >= 100;
        if (round == 0 || round == 100) {
            OpenCard(older ? fakes::Card::OlderGeneration() : fakes::Card());
            modeSet = false;
        }
        const unsigned int width = 1U << (random() % 4);
        const U64 lowest = older ? kMiB : 0;
        const U64 start = lowest + random() % (7 * kGiB);
        U64 length = (1 + random() % 3000) * width;
        if (round % 5 == 0)
            length += (1 + random() % 3) * kChunk - 1500 * width;
        std::fill(std::begin(pattern), std::end(pattern), random());
        auto& stuck = fakes::ZelAccess().stuckBits;
        stuck.clear();
        std::set<U64> elements;
        for (U64 cells = random() % 6; cells > 0; --cells) {
            U64 place = random() % (length + 2);
            if (random() % 2 != 0)
                place = std::min(random() % (length / kChunk + 2) * kChunk, length) + random() % 16;
            place -= std::min<U64>(place, 8);
            stuck.push_back(
                {start + place, static_cast<unsigned>(random() % 8), random() % 2 != 0});
            if (place < length)
                elements.insert(place - place % width);
        }

        Texts expected;
        for (const U64 element : elements) {
            bool differs = false;
            U8 first = 0;
            for (U64 i = 0; i < width; ++i) {
                const auto written = static_cast<U8>(pattern[0] >> (8 * i));
                U8 read = written;
                for (const fakes::StuckBit& bit : stuck) {
                    if (bit.address == start + element + i)
                        read = static_cast<U8>(bit.value ? read | 1U << bit.bit
                                                         : read & ~(1U << bit.bit));
                }
                differs = differs || read != written;
                if (i == 0)
                    first = read;
            }
            if (differs)
                expected.push_back(Mismatch(start + element, first));
        }

        fakes::Trace().Reset();
        TakeErrors();
        const std::size_t before = MemoryCalls().size();
        ASSERT_EQ(Run(start, length, width), 1);
        EXPECT_EQ(ErrorTraces(), expected) << "round " << round;
        EXPECT_EQ(TakeErrors(),
                  Texts(expected.size(), "MemDiag.Some: Memory write verify failure"));
        Texts calls = MemoryCalls();
        calls.erase(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(before));
        EXPECT_EQ(calls, Accesses(start, length, width));
        freeErrorList(&errors);
    }
}

// Whatever a chunk held that differed, the next one is written with the pattern in whole.
TEST_F(Aperture, EveryChunkIsWrittenWithThePatternWhateverTheOneBeforeHeld) {
    breakOnFail = false;
    std::mt19937_64 random(3);
    const U64 length = 3 * kChunk;
    fakes::ZelAccess().corruptRead = [&](U64 address, U8* data, U32 bytes) {
        if (address < 2 * kChunk)
            data[random() % bytes] ^= 0x40;
    };
    for (const unsigned int width : {1U, 8U}) {
        ASSERT_EQ(Run(0, length, width), 1);
        fakes::Trace().Reset();
        fakes::ZelAccess().corruptRead = nullptr;
        std::vector<U8> content(length);
        ASSERT_EQ(ZelReadMemPhysical(zelAccess->getAccessHandle(), 0, content.data(),
                                     static_cast<U32>(length), 8, 0),
                  0U);
        std::size_t wrong = 0;
        for (std::size_t i = 0; i < length; ++i)
            wrong += content[i] != static_cast<U8>(kPattern >> (8 * (i % width)));
        EXPECT_EQ(wrong, 0U) << width;
    }
}

// Clock and memory of the host.

TEST_F(Aperture, WithoutAStartTimeThereIsNoElapsedTime) {
    fakes::Clock().Break();
    EXPECT_EQ(Run(0, 0x1000), 1);
    EXPECT_THAT(out, testing::HasSubstr("failed to get zelstart_startmark \n"));
    EXPECT_THAT(out, testing::HasSubstr("failed to get MemTestfromHost_endmark \n"));
    EXPECT_THAT(out, testing::Not(testing::HasSubstr("elapsed")));
}

TEST_F(Aperture, AnEndTimeAloneTellsNoElapsedTime) {
    fakes::Clock().Break();
    fakes::ZelAccess().corruptRead = [](U64, U8*, U32) { fakes::Clock().Repair(); };
    EXPECT_EQ(Run(0, 0x1000), 1);
    EXPECT_THAT(out, testing::HasSubstr("failed to get zelstart_startmark \n"));
    EXPECT_THAT(out, testing::Not(testing::HasSubstr("endmark")));
    EXPECT_THAT(out, testing::Not(testing::HasSubstr("elapsed")));
}

TEST_F(Aperture, WithoutAnEndTimeThereIsNoElapsedTime) {
    fakes::ZelAccess().corruptRead = [](U64, U8*, U32) { fakes::Clock().Break(); };
    EXPECT_EQ(Run(0, 0x1000), 1);
    EXPECT_THAT(out, testing::Not(testing::HasSubstr("startmark")));
    EXPECT_THAT(out, testing::EndsWith("failed to get MemTestfromHost_endmark \n"));
}

TEST_F(Aperture, ShowsTheTimeThatItTook) {
    fakes::ZelAccess().corruptRead = [](U64, U8*, U32) { fakes::Clock().Advance(125'000'000); };
    EXPECT_EQ(Run(0, 0x1000), 1);
    EXPECT_THAT(out, testing::EndsWith("time elapsed:  2 min  5 sec  \n"));
}

TEST_F(Aperture, FailsWithoutAPlaceForItsBuffer) {
    fakes::Memory().FailAligned(ENOMEM);
    const int result = Run(0, 0x1000);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(ErrorTraces(), Texts{"fail buffer allocation in hostApertureMemTest \n"});
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.Some: Out of heap memory"});
}

TEST_F(Aperture, CountsEveryWordOfACardThatHasNoRightOne) {
    breakOnFail = false;
    fakes::ZelAccess().corruptRead = [](U64, U8* data, U32 bytes) {
        for (U32 i = 0; i < bytes; ++i)
            data[i] ^= 0xFF;
    };
    constexpr U64 kBytes = 0x10000;
    EXPECT_EQ(Run(0, kBytes, 1), 1);
    EXPECT_EQ(Reasons(errors).size(), 2U);
    EXPECT_EQ(errors->phyAddr, kBytes - 2);
    EXPECT_EQ(TakeErrors().size(), kBytes);
}

}  // namespace

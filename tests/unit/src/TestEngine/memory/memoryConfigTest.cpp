// From options to range, width and pattern; validation of them.
#include <random>

#include "MemoryFixture.h"

namespace {

class MemoryConfig : public MemoryFixture {
protected:
    MemoryConfig() { ifstResetParsedOptions(); }

    static void Configure(const Texts& words) {
        ifstResetParsedOptions();
        for (const std::string& word : words)
            ASSERT_EQ(memory_TGParseUserCustom(word.c_str()), 1) << word;
        Group().state = IFST_GROUP_INITIALISED;
        EXPECT_EQ(memory_TGCfg(&Group()), 0);
        EXPECT_EQ(Group().state, IFST_GROUP_RUNNING);
    }
    static std::vector<U8> PatternBytes() {
        std::vector<U8> bytes(sizeof(Params().dataPattern));
        std::memcpy(bytes.data(), Params().dataPattern, bytes.size());
        return bytes;
    }
    static void OpenOlderCard() { OpenCard(fakes::Card::OlderGeneration()); }
};

TEST_F(MemoryConfig, DefaultsOfTheCurrentGeneration) {
    Configure({});
    EXPECT_EQ(Params().startAddress, 0U);
    EXPECT_EQ(Params().memSize, kMiB);
    EXPECT_EQ(Params().dataWidth, 8U);
    EXPECT_EQ(PatternBytes(), std::vector<U8>(64, 0xAA));
    EXPECT_EQ(Params().memTestMode, k_MemTestModeNormal);
}

TEST_F(MemoryConfig, DefaultsOfTheOlderGeneration) {
    OpenOlderCard();
    Configure({});
    EXPECT_EQ(Params().startAddress, kMiB);
    EXPECT_EQ(Params().memSize, kMiB);
}

TEST_F(MemoryConfig, ALongerNameThanTheCurrentBrandIsNotItsGeneration) {
    fakes::Card card;
    card.name += " II";
    OpenCard(card);
    Configure({});
    EXPECT_EQ(Params().startAddress, kMiB);
}

TEST_F(MemoryConfig, RaisingTheStartTakesFromTheSize) {
    OpenOlderCard();
    Configure({"-startAddress=0x1000"});
    EXPECT_EQ(Params().startAddress, 0x100000U);
    EXPECT_EQ(Params().memSize, 0x1000U);
    Configure({"-startAddress=0x80000", "-memSize=0x1000"});
    EXPECT_EQ(Params().memSize, 0x1000U - 0x80000U) << "32 bits wide";
    Configure({"-endAddress=0x180000"});
    EXPECT_EQ(Params().startAddress, 0x100000U);
    EXPECT_EQ(Params().memSize, 0x80000U);
}

TEST_F(MemoryConfig, AnEndAboveTheStartGivesTheSize) {
    Configure({"-endAddress=0x1000"});
    EXPECT_EQ(Params().startAddress, 0U);
    EXPECT_EQ(Params().memSize, 0x1000U);
    Configure({"-startAddress=0x1000", "-endAddress=0x3000", "-memSize=5"});
    EXPECT_EQ(Params().memSize, 0x2000U);
    Configure({"-startAddress=0x1000", "-endAddress=0x1000", "-memSize=5"});
    EXPECT_EQ(Params().memSize, 5U) << "an end at the start counts for nothing";
    Configure({"-startAddress=0x3000", "-endAddress=0x1000"});
    EXPECT_EQ(Params().memSize, kMiB);
    EXPECT_EQ(Params().startAddress, 0x3000U);
    Configure({"-endAddress=0x300000010"});
    EXPECT_EQ(Params().memSize, 0x10U) << "32 bits wide";
    Configure({"-endAddress=0x200000000"});
    EXPECT_EQ(Params().memSize, 0U) << "32 bits wide";
}

TEST_F(MemoryConfig, RepeatsThePatternAtTheWidth) {
    Configure({"-dp=0x5a", "-dw=B"});
    EXPECT_EQ(PatternBytes(), std::vector<U8>(64, 0x5A));
    for (const auto& [name, width] : {std::pair{"B", 1U}, {"W", 2U}, {"DW", 4U}, {"QW", 8U}}) {
        Configure({"-dp=0x1122334455667788", std::string("-dw=") + name});
        EXPECT_EQ(Params().dataWidth, width);
        const U8 bytes[] = {0x88, 0x77, 0x66, 0x55, 0x44, 0x33, 0x22, 0x11};
        std::vector<U8> expected;
        for (U32 i = 0; i < 64; ++i)
            expected.push_back(bytes[i % width]);
        EXPECT_EQ(PatternBytes(), expected) << width;
    }
}

TEST_F(MemoryConfig, WithoutAWidthThePatternIsAWordOf64Bits) {
    Configure({"-dp=0x5a5a5a5a"});
    EXPECT_EQ(Params().dataWidth, 8U);
    EXPECT_EQ(PatternBytes()[0], 0x5A);
    EXPECT_EQ(PatternBytes()[4], 0);
    EXPECT_EQ(PatternBytes()[8], 0x5A);
    EXPECT_EQ(PatternBytes()[63], 0);
}

TEST_F(MemoryConfig, LeavesThePatternAtAWidthThatIsNone) {
    Params().usrInput = k_GivenDataWidth;
    Params().dataWidth = 3;
    memory_TGCfg(&Group());
    EXPECT_EQ(Params().dataWidth, 3U);
    EXPECT_EQ(Params().dataPattern[1], 0xAAAAAAAAU);
    EXPECT_EQ(Params().dataPattern[2], 0U);
}

TEST_F(MemoryConfig, KeepsTheModeOfAll) {
    memory_TakeAll();
    memory_TGCfg(&Group());
    EXPECT_EQ(Params().memTestMode, k_MemTestModeAll);
}

// The arithmetic of the range once more, written down from scratch.
TEST_F(MemoryConfig, RangeAgreesWithAModel) {
    std::mt19937_64 random(7);
    const U64 interesting[] = {0,        1,          0xFFF,       0x1000,      0xFFFFF,
                               0x100000, 0x100001,   0x200000,    0xFFFFFFFF,  0x100000000,
                               1 << 20,  0x1FFFFFFF, 0x100100000, 0x3FFFFFFFF, 0x300000010};
    const auto pick = [&] { return interesting[random() % std::size(interesting)]; };
    for (int round = 0; round < 2000; ++round) {
        const bool older = round >= 1000;
        const U64 start = pick();
        const U64 end = pick();
        const U32 size = static_cast<U32>(pick());
        SCOPED_TRACE(testing::Message() << (older ? "older" : "current") << " generation, start "
                                        << start << ", end " << end << ", size " << size);
        if (round == 0 || round == 1000)
            OpenCard(older ? fakes::Card::OlderGeneration() : fakes::Card());
        memory_ResetOptions();
        Params().startAddress = start;
        Params().endAddress = end;
        Params().memSize = size;
        memory_TGCfg(&Group());

        const U64 lowest = older ? 0x100000 : 0;
        U64 expectedStart = start;
        U64 expectedSize = end > start ? end - start : size != 0 ? U64{size} : U64{0x100000};
        if (start == 0 && end == 0) {
            expectedStart = lowest;
        } else if (start < lowest) {
            expectedSize += (U64{1} << 32) - (lowest - start);
            expectedStart = lowest;
        }
        EXPECT_EQ(Params().startAddress, expectedStart);
        EXPECT_EQ(Params().memSize, expectedSize % (U64{1} << 32));
    }
}

class Validation : public MemoryFixture {
protected:
    Validation() {
        Params().dataWidth = 8;
        Params().memSize = 0x1000;
    }
    static int Validate() { return Validate_MemTest_Param(&m_memoryCb); }
};

TEST_F(Validation, AcceptsWhatFits) {
    for (const U32 width : {0U, 1U, 2U, 4U, 8U}) {
        Params().dataWidth = width;
        EXPECT_EQ(Validate(), 1) << width;
    }
    EXPECT_EQ(ErrorTraces(), Texts{});
    EXPECT_EQ(TakeErrors(), Texts{});
}

TEST_F(Validation, RefusesOtherWidthsWithoutAWord) {
    for (const U32 width : {3U, 5U, 6U, 7U, 9U, 16U, 0xFFFFFFFFU}) {
        Params().dataWidth = width;
        EXPECT_EQ(Validate(), 0) << width;
    }
    EXPECT_EQ(ErrorTraces(), Texts{});
    EXPECT_EQ(Calls("ZelGetGDDRMemSize"), Texts{});
}

TEST_F(Validation, RefusesNothingToTest) {
    Params().memSize = 0;
    EXPECT_EQ(Validate(), 0);
    EXPECT_EQ(ErrorTraces(), Texts{"Invalid arguments, Datalenght is 0.  \n"});
    EXPECT_EQ(Calls("ZelGetGDDRMemSize"), Texts{});
}

TEST_F(Validation, RefusesACardThatDoesNotTellItsSize) {
    fakes::ZelAccess().Fail("ZelGetGDDRMemSize", ZEL_DEVICE_IO_ERROR);
    EXPECT_EQ(Validate(), 0);
    EXPECT_EQ(ErrorTraces(),
              Texts{"unable to determine memory size, ZelGetGDDRMemSize returned false."});
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.Some: Failed to get GDDR size"});
}

TEST_F(Validation, RefusesSizesFromTheMemorysOn) {
    Card().memoryBytes = 0x10000;
    Params().memSize = 0xFFF8;
    EXPECT_EQ(Validate(), 1);
    Params().memSize = 0x10000;
    EXPECT_EQ(Validate(), 0);
    Params().memSize = 0x10001;
    EXPECT_EQ(Validate(), 0);
    const std::string text = "Invalid arguments, Datalength was not between 0 and 10000\n";
    EXPECT_EQ(ErrorTraces(), (Texts{text, text}));
    EXPECT_EQ(TakeErrors(), Texts{});
}

TEST_F(Validation, RefusesSizesThatTheWidthDoesNotDivide) {
    Params().memSize = 0x1002;
    EXPECT_EQ(Validate(), 0);
    EXPECT_EQ(ErrorTraces(),
              Texts{"Invalid arguments, Datalength is not divisible by dataWidth\n"});
    Params().dataWidth = 2;
    EXPECT_EQ(Validate(), 1);
    Params().memSize = 0x1001;
    EXPECT_EQ(Validate(), 0);
    Params().dataWidth = 0;
    EXPECT_EQ(Validate(), 1);
}

}  // namespace

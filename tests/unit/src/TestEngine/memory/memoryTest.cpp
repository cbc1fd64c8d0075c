// The Memory group's front end: selection, break on fail, init and clean.
#include "TestEngine/memory/memory.h"

#include <gmock/gmock.h>

#include "MemoryFixture.h"

namespace {

class MemoryGroup : public MemoryFixture {
protected:
    MemoryGroup() { ifstResetParsedOptions(); }

    static I16 Parse(const std::string& text) {
        std::string word = text;
        return memory_TGParse(&Group(), word.data());
    }
    static bool BreaksOnFail() { return (m_memoryCb.gen.onFailCb.onFailMask & k_BreakOnFail) != 0; }
    static Texts Selected() {
        Texts names;
        for (const ifstTstCb& test : k_memoryFrontEnd.Tests()) {
            if (test.state == IFST_TEST_SELECTED)
                names.push_back(test.longNm);
        }
        return names;
    }
};

TEST_F(MemoryGroup, SelectsTestsByEitherName) {
    for (const auto& [word, name] :
         std::vector<std::pair<std::string, std::string>>{{"-full", "-fullRange"},
                                                          {"-fullRange", "-fullRange"},
                                                          {"-wr", "-write"},
                                                          {"-write", "-write"},
                                                          {"-info", "-gddrInfo"},
                                                          {"-gddrInfo", "-gddrInfo"}}) {
        ifstResetParsedOptions();
        EXPECT_EQ(Parse(word), IFST_PARSE_ACCEPTED) << word;
        EXPECT_EQ(Selected(), Texts{name}) << word;
        EXPECT_TRUE(BreaksOnFail()) << word;
    }
}

TEST_F(MemoryGroup, ComparesTestNamesWithCase) {
    for (const char* word : {"-WR", "-Write", "-FULL", "-fullrange", "-Info", "-gddrinfo"})
        EXPECT_EQ(Parse(word), IFST_PARSE_REFUSED) << word;
    EXPECT_EQ(Selected(), Texts{});
}

TEST_F(MemoryGroup, FailControlFollowsTheLastWord) {
    Parse("-wr");
    EXPECT_EQ(Parse("-breakOnFail"), IFST_PARSE_ACCEPTED);
    EXPECT_TRUE(BreaksOnFail());
    EXPECT_EQ(Parse("-continueOnFail"), IFST_PARSE_ACCEPTED);
    EXPECT_FALSE(BreaksOnFail());
    EXPECT_EQ(Parse("-BRKONFAIL"), IFST_PARSE_ACCEPTED);
    EXPECT_TRUE(BreaksOnFail());
    EXPECT_EQ(Parse("-contOnFail"), IFST_PARSE_ACCEPTED);
    EXPECT_FALSE(BreaksOnFail());
    Parse("-info");
    EXPECT_TRUE(BreaksOnFail()) << "naming a test sets it again";
}

TEST_F(MemoryGroup, AllSelectsEveryTestAndMarksTheMode) {
    for (const char* word : {"-all", "-ALL"}) {
        ifstResetParsedOptions();
        std::strcpy(m_memoryCb.fileName, "pattern");
        EXPECT_EQ(Parse(word), IFST_PARSE_ACCEPTED);
        EXPECT_EQ(Selected(), (Texts{"-fullRange", "-write", "-gddrInfo"}));
        EXPECT_EQ(Params().usrInput, U32{k_GivenAll});
        EXPECT_EQ(Params().memTestMode, k_MemTestModeAll);
        EXPECT_TRUE(BreaksOnFail());
        EXPECT_STREQ(m_memoryCb.fileName, "");
    }
}

TEST_F(MemoryGroup, NamingATestForgetsThePatternFile) {
    ASSERT_EQ(Parse("-dp=/proc/self/maps"), IFST_PARSE_ACCEPTED);
    EXPECT_STREQ(m_memoryCb.fileName, "/proc/self/maps");
    Parse("-wr");
    EXPECT_STREQ(m_memoryCb.fileName, "");
}

TEST_F(MemoryGroup, TakesItsOptionsAndRefusesOtherWords) {
    EXPECT_EQ(Parse("-memSize=0x40"), IFST_PARSE_ACCEPTED);
    EXPECT_EQ(Parse("-memSize=4z"), IFST_PARSE_REFUSED);
    EXPECT_EQ(Parse("-gec"), IFST_PARSE_REFUSED);
    EXPECT_EQ(Parse("-wr=1"), IFST_PARSE_REFUSED);
}

TEST_F(MemoryGroup, HelpPrintsTheUsageEvenBehindATest) {
    Parse("-wr");
    ifstSetupParams.conc.state = 3;
    EXPECT_EQ(Printing([] { return Parse("-Help"); }), IFST_PARSE_HELP);
    EXPECT_THAT(out, testing::StartsWith("Coprocessor Diagnostics\n\nTest Group: Memory\n\n"
                                         "Available Test(s): <Test ID>\n"
                                         "        -full or -fullRange : Full range test\n"));
    EXPECT_THAT(out, testing::HasSubstr("and datawith of 4 bytes"));
    EXPECT_EQ(ifstSetupParams.conc.state, 3U);
}

TEST_F(MemoryGroup, EndsTheProcessForAnyoneButRoot) {
    fakes::SetEffectiveUser(1000);
    EXPECT_EXIT(Parse("-wr"), testing::ExitedWithCode(251), "");
}

TEST_F(MemoryGroup, InitPreparesTheControlRecord) {
    m_memoryCb.gen.eventCnt = 7;
    m_memoryCb.gen.valid = 0;
    Params().flags = 5;
    Group().dbgLvl = 40;
    EXPECT_EQ(memory_TGInit(&Group()), 0);
    EXPECT_EQ(Group().state, IFST_GROUP_INITIALISED);
    EXPECT_EQ(Group().tstList, memoryTests);
    EXPECT_EQ(Group().numTests, 3);
    EXPECT_EQ(Group().tstCb, reinterpret_cast<U64>(&m_memoryCb));
    EXPECT_EQ(m_memoryCb.gen.eventCnt, 0);
    EXPECT_EQ(m_memoryCb.gen.valid, 1);
    EXPECT_EQ(m_memoryCb.memoryDbgLvl, 40U);
    EXPECT_EQ(Params().flags, 0U);
    EXPECT_EQ(Params().errorList, nullptr);
}

TEST_F(MemoryGroup, CleanFreesTheErrorsAndForgetsWhatWasGiven) {
    addError(&Params().errorList, "first", 1, 8, MemErrorTypeUnknown, 0);
    addError(&Params().errorList, "second", 2, 8, MemErrorTypeUnknown, 0);
    Params().flags = 1;
    Params().usrInput = 0x7F;
    EXPECT_EQ(memory_TGClean(&Group()), 0);
    EXPECT_EQ(Group().state, IFST_GROUP_DONE);
    EXPECT_EQ(Params().errorList, nullptr);
    EXPECT_EQ(Params().flags, 0U);
    EXPECT_EQ(Params().usrInput, 0U);
}

}  // namespace

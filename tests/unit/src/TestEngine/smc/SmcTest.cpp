// Firmware version, hardware revision and UUID.
#include "TestEngine/RunningTest.h"
#include "TestEngine/smc/HwRevision.h"

namespace {

class Firmware : public RunningTest {
protected:
    Firmware() : RunningTest("-smc", "-fwv") {}
};

TEST_F(Firmware, PassesThenShows) {
    Run();
    EXPECT_EQ(done_, (Texts{"ZelGetSMCFWVersion()", "stdout \"Test 1 Passed \\n\\n\"",
                            "trace 11 \"SMC firmware version: 1.16.42\\n\""}));
    ExpectPassed();
}

TEST_F(Firmware, FailsWithTraceThenVerdictThenSummary) {
    fakes::ZelAccess().Fail("ZelGetSMCFWVersion", 13);
    Run();
    EXPECT_EQ(Traced(DLVL_ERROR), Texts{"Failed to get SMC FW Version"});
    ExpectFailed("TestEngine/smc/FwVersion", 45, "",
                 "SmcDiag.FwVersion: Failed to get the SMC FW Version");
    EXPECT_EQ(done_.at(1), "trace 2 \"Failed to get SMC FW Version\"");
    EXPECT_EQ(done_.at(2).substr(0, 8), "stderr \"");
}

TEST_F(Firmware, GivesTheVerdictBeforeItTellsTheSummary) {
    fakes::ZelAccess().Fail("ZelGetSMCFWVersion", 13);
    EXPECT_EQ(ErrorsBeforeVerdict(), 0);
    EXPECT_EQ(SummaryErrors().size(), 1U);
}

TEST_F(Firmware, DoesNothingOnAnotherCard) {
    for (const char* name : {"Ostrel(R) Vimbra(TM) Coprocessor X", "", "Other"}) {
        Restart();
        Card().name = name;
        Run();
        EXPECT_EQ(done_, Texts{"trace 11 \"Test not supported on this device\\n\""});
        EXPECT_EQ(EventCount(), 0);
        EXPECT_EQ(group_.tstList[0].passCnt + group_.tstList[0].failCnt, 0);
    }
}

TEST_F(Firmware, DoesNothingWithoutAnOpenCard) {
    ASSERT_TRUE(zelAccess->setAccessHandle());
    Run();
    EXPECT_EQ(done_, Texts{"trace 11 \"Test not supported on this device\\n\""});
    EXPECT_EQ(NameInSummary(), "SmcDiag.FwVersion");
}

TEST_F(Firmware, DoesNothingWhileTheGroupIsNotValid) {
    group_.frontEnd->gen->valid = 0;
    Run(0);
    EXPECT_TRUE(done_.empty());
    EXPECT_EQ(EventCount(), 77);
}

class Hardware : public RunningTest {
protected:
    Hardware() : RunningTest("-smc", "-hwr") {}
};

TEST_F(Hardware, DecodesTheWord) {
    struct Row {
        U32 word;
        Texts lines;
    };
    for (const Row& row : std::vector<Row>{
             {0,
              {"Board Type   : MPI\n", "FAB Version  : FAB A\n", "Power Config : 300W\n",
               "Heat Sink    : Active\n", "Mem Config   : Non-Clamshell\n"}},
             {0x00020003,
              {"Board Type   : DFF\n", "FAB Version  : FAB A\n", "Power Config : 245W\n",
               "Heat Sink    : Active\n", "Mem Config   : Clamshell\n"}},
             {0x00030002,
              {"Board Type   : Product\n", "FAB Version  : FAB A\n", "Power Config : 225W\n",
               "Heat Sink    : Active\n", "Mem Config   : Non-Clamshell\n"}},
             {0xFFFDFFFC,
              {"Board Type   : CRB\n", "FAB Version  : FAB H\n", "Power Config : 300W\n",
               "Heat Sink    : Passive\n", "Mem Config   : Non-Clamshell\n"}}}) {
        fakes::Trace().Reset();
        EXPECT_EQ(printHWRevInfo({row.word}), 0);
        EXPECT_EQ(Traced(DLVL_TOOLS), row.lines) << std::hex << row.word;
    }
}

TEST_F(Hardware, ShowsThenPasses) {
    Run();
    ExpectPassed();
    EXPECT_EQ(done_.front(), "ZelGetSMCHWRevision()");
    EXPECT_EQ(done_.back(), "stdout \"Test 2 Passed \\n\\n\"");
    EXPECT_EQ(Traced(DLVL_TOOLS).size(), 5U);
}

TEST_F(Hardware, FailsWithTheFirmwareMessage) {
    fakes::ZelAccess().Fail("ZelGetSMCHWRevision", 13);
    Run();
    EXPECT_EQ(Traced(DLVL_ERROR), Texts{"Failed to get SMC FW Version"});
    ExpectFailed("TestEngine/smc/HwRevision", 128, "",
                 "SmcDiag.HwRevision: Failed to get SMC FW Version");
}

TEST_F(Hardware, TellsTheSummaryBeforeItGivesTheVerdict) {
    fakes::ZelAccess().Fail("ZelGetSMCHWRevision", 13);
    EXPECT_EQ(ErrorsBeforeVerdict(), 1);
    EXPECT_EQ(SummaryErrors().size(), 1U);
}

TEST_F(Hardware, DoesNothingOnAnotherCard) {
    Card().name = "Other";
    Run();
    EXPECT_EQ(done_, Texts{"trace 11 \"Test not supported on this device\\n\""});
}

TEST_F(Hardware, DoesNothingWithoutAnOpenCard) {
    ASSERT_TRUE(zelAccess->setAccessHandle());
    Run();
    EXPECT_EQ(done_, Texts{"trace 11 \"Test not supported on this device\\n\""});
    EXPECT_EQ(NameInSummary(), "SmcDiag.HwRevision");
}

class Uuid : public RunningTest {
protected:
    Uuid() : RunningTest("-smc", "-uniqueid") {}
};

TEST_F(Uuid, PassesThenShowsFourLinesOfFourBytes) {
    Run();
    ExpectPassed();
    EXPECT_EQ(out_, "Test 3 Passed \n\n\n\n\n\n");
    EXPECT_EQ(done_[2], "trace 11 \"SMC UUID :\\n\"");
    std::string shown;
    for (const std::string& text : Traced(DLVL_TOOLS))
        shown += text;
    EXPECT_EQ(shown,
              "SMC UUID :\n0x0 0x11 0x22 0x33 0x44 0x55 0x66 0x77 0x88 0x99 0xaa 0xbb 0xcc 0xdd "
              "0xee 0xff ");
}

TEST_F(Uuid, FailsWhenItCannotRead) {
    fakes::ZelAccess().Fail("ZelGetUUID", 13);
    Run();
    EXPECT_EQ(Traced(DLVL_ERROR), Texts{"Failed to get SMC UUID"});
    ExpectFailed("TestEngine/smc/Uuid", 57, "", "SmcDiag.Uuid: Failed to get SMC UUID");
}

TEST_F(Uuid, TellsTheSummaryBeforeItGivesTheVerdict) {
    fakes::ZelAccess().Fail("ZelGetUUID", 13);
    EXPECT_EQ(ErrorsBeforeVerdict(), 1);
    EXPECT_EQ(SummaryErrors().size(), 1U);
}

TEST_F(Uuid, DoesNothingWithoutAnOpenCard) {
    ASSERT_TRUE(zelAccess->setAccessHandle());
    ASSERT_EQ(zelAccess->GetCurrentDevice(), -1);
    Run();
    EXPECT_EQ(done_, Texts{"trace 11 \"Test not supported on this device\\n\""});
    EXPECT_EQ(NameInSummary(), "SmcDiag.Uuid");
}

}  // namespace

// Link speed and width.
#include "TestEngine/RunningTest.h"

namespace {

class LinkSpeed : public RunningTest {
protected:
    static constexpr char kFile[] = "TestEngine/PCIExpress/PCIExpressverifyLinkSpeed";
    LinkSpeed() : RunningTest("-pcie", "-vls") {}
};

TEST_F(LinkSpeed, WaitsBeforeItReads) {
    Run();
    EXPECT_EQ(done_, (Texts{"sleep(5)", "ZelGetPcieLinkSpeed()",
                            "trace 8 \"Current Link Speed = 5 GT/s\\n\"",
                            "stdout \"Test 1 Passed \\n\\n\""}));
    ExpectPassed();
}

TEST_F(LinkSpeed, FailsAtTheLowerSpeed) {
    Card().linkSpeed = LINK_SPEED_2_5;
    Run();
    ExpectFailed(kFile, 49, "Expected Link speed= 5 GT/s but found 2.5 GT/s",
                 "PcieDiag.LinkSpeed: Expected 5 GT/s but found 2.5 GT/s");
    EXPECT_TRUE(Traced(DLVL_DIAG1).empty());
}

TEST_F(LinkSpeed, FailsAtAnyOtherSpeed) {
    for (const U32 speed : {0U, 3U, 4U, 0xFFFFFFFFU}) {
        BeginSummary();
        Card().linkSpeed = speed;
        Run();
        ExpectFailed(kFile, 59, "FAILED: Invalid Link Speed found",
                     "PcieDiag.LinkSpeed: Invalid Link Speed found");
    }
}

TEST_F(LinkSpeed, FailsWhenItCannotRead) {
    fakes::ZelAccess().Fail("ZelGetPcieLinkSpeed", 13);
    Run();
    ExpectFailed(kFile, 65, "FAILED TO READ ZEL LINK SPEED ",
                 "PcieDiag.LinkSpeed: Failed to read link speed");
}

TEST_F(LinkSpeed, DoesNothingWhileTheGroupIsNotValid) {
    group_.frontEnd->gen->valid = 0;
    Run(0);
    EXPECT_TRUE(done_.empty());
    EXPECT_EQ(EventCount(), 77);
}

class LinkWidth : public RunningTest {
protected:
    static constexpr char kFile[] = "TestEngine/PCIExpress/PCIExpressverifyLinkWidth";
    LinkWidth() : RunningTest("-pcie", "-vlw") {}
};

TEST_F(LinkWidth, PassesAtSixteenLanes) {
    Run();
    ExpectPassed();
    EXPECT_EQ(Traced(DLVL_DIAG1), Texts{"Current Link Width = 16\n"});
}

TEST_F(LinkWidth, FailsWhenTrainedDown) {
    Card().linkWidth = 8;
    Run();
    ExpectFailed(kFile, 52, "FAILED: Link trained down", "PcieDiag.LinkWidth: Link trained down");
    EXPECT_EQ(Traced(DLVL_DIAG1), Texts{"FAILED: Link trained down to 8 Lanes \n"});
}

TEST_F(LinkWidth, GivesTheVerdictBeforeItTellsTheSummary) {
    Card().linkWidth = 8;
    EXPECT_EQ(ErrorsBeforeVerdict(), 0);
    EXPECT_EQ(SummaryErrors().size(), 1U);
}

TEST_F(LinkWidth, FailsAtAWiderLinkToo) {
    Card().linkWidth = 32;
    Run();
    ExpectFailed(kFile, 52, "FAILED: Link trained down", "PcieDiag.LinkWidth: Link trained down");
}

TEST_F(LinkWidth, FailsWhenItCannotRead) {
    fakes::ZelAccess().Fail("ZelGetPcieLinkWidth", 13);
    Run();
    ExpectFailed(kFile, 58, "FAILED TO READ CURRENT ZEL LINK Width ",
                 "PcieDiag.LinkWidth: Failed to read link width");
}

class Bootstrap : public RunningTest {
protected:
    static constexpr char kFile[] = "TestEngine/PCIExpress/PCIExpressverifyBootstrap";
    Bootstrap() : RunningTest("-pcie", "-vbs") {}
};

TEST_F(Bootstrap, PassesWithAGoodCode) {
    for (const char* code : {"11", "12", "FF", "ff", "Ff"}) {
        fakes::Trace().Reset();
        Card().postCode = code;
        Run();
        ExpectPassed();
        EXPECT_EQ(Traced(DLVL_DIAG1), Texts{std::string("Status code = ") + code + "\n"});
    }
}

TEST_F(Bootstrap, FailsWithAnyOther) {
    Card().postCode = "10";
    Run();
    ExpectFailed(kFile, 59, "FAILED:  Bootstrap failed to Initialize at power on",
                 "PcieDiag.Bootstrap: Bootstrap failed to Initialize at power on");
    EXPECT_EQ(Traced(DLVL_DIAG1),
              Texts{"FAILED:   Bootstrap failed to init with error code 10 \n"});
}

TEST_F(Bootstrap, FailsWithACodeThatOnlyBeginsWell) {
    Card().postCode = "112";
    Run();
    ExpectFailed(kFile, 59, "FAILED:  Bootstrap failed to Initialize at power on",
                 "PcieDiag.Bootstrap: Bootstrap failed to Initialize at power on");
}

TEST_F(Bootstrap, FailsWhenItCannotRead) {
    fakes::ZelAccess().Fail("ZelGetPostCode", 13);
    Run();
    ExpectFailed(kFile, 65, "FAILED TO READ Bootstrap status register ",
                 "PcieDiag.Bootstrap: Failed to read Bootstrap status register");
}

}  // namespace

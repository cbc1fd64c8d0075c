// What the five test groups' front ends share.
#include "TestEngine/te_main_frontend.h"

#include "Rows.h"
#include "TestEngine/TestGroups.h"
#include "TestEngine/VerdictWatch.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_params.h"
#include "TestEngine/te_main_tests.h"
#include "TestEngine/te_summary.h"
#include "ToolFixture.h"
#include "ZelAccess.h"

namespace {

class FrontEnd : public ToolFixture {
protected:
    FrontEnd() { TE::SUMMARY_INSTANCE.SetZelNumberAndVersions(0, "f", "s"); }

    // Configures a copy of the group's row; its state afterwards.
    U8 Configure(const char* name) {
        ifstTstGroup group = GroupRow(name);
        group.state = IFST_GROUP_INITIALISED;
        fakes::CaptureOutput capture;
        EXPECT_EQ(group.cfg(&group), 0);
        out_ = capture.Out();
        return group.state;
    }

    std::string out_;
};

constexpr const char* kNormalModeGroups[] = {"-pcie", "-core", "-dma", "-smc"};

TEST_F(FrontEnd, LetsAGroupRunInNormalMode) {
    ASSERT_TRUE(zelAccess->setAccessHandle());
    zelAccess->InitAdapterforDiag(0, false);
    for (const char* const group : kNormalModeGroups) {
        EXPECT_EQ(Configure(group), IFST_GROUP_RUNNING) << group;
        EXPECT_EQ(out_, "") << group;
    }
    EXPECT_EQ(SummaryErrors().size(), 0U);
}

TEST_F(FrontEnd, SaysThatThereIsNoCardAccess) {
    zelAccess = nullptr;
    const char* first[] = {
        "*** PCIE Diagnostics : zelAccess is NULL in PCIExpress_TGCfg [3] ***\n", "",
        "*** DMA Diagnostics : zelAccess is NULL in Dma_TGCfg [3] ***\n",
        ("*** SMC Diagnostics (Ostrel(R) Vimbra(TM) Coprocessor only) : zelAccess is NULL in "
         "Smc_TGCfg [3] ***\n")};
    for (size_t i = 0; i < std::size(kNormalModeGroups); ++i) {
        EXPECT_EQ(Configure(kNormalModeGroups[i]), IFST_GROUP_IDLE);
        EXPECT_EQ(out_.substr(0, out_.find(" *** ")), first[i]);
        EXPECT_NE(out_.find("in normal mode, set it to Normal mode"), std::string::npos);
    }
    EXPECT_EQ(SummaryErrors().size(), 4U);
}

TEST_F(FrontEnd, SkipsAGroupWithoutAHandle) {
    for (const char* const group : kNormalModeGroups) {
        EXPECT_NO_THROW(EXPECT_EQ(Configure(group), IFST_GROUP_IDLE)) << group;
        EXPECT_EQ(out_, "") << group;
    }
    EXPECT_EQ(SummaryErrors(),
              std::vector<std::string>(4, "<none>.<none>: Internal Error; NULL Handle"));
}

TEST_F(FrontEnd, PreparesAndClosesAGroup) {
    for (ifstTstGroup row : ifstTstGrps) {
        row.dbgLvl = 5;
        row.testDone = 3;
        row.eventCnt = 3;
        row.frontEnd->gen->id = 9;
        row.frontEnd->gen->eventCnt = 9;
        row.frontEnd->gen->valid = 0;
        row.frontEnd->gen->onFailCb.blkStepCnt = 9;
        row.frontEnd->gen->onFailCb.currStepCnt = 9;
        EXPECT_EQ(row.init(&row), 0);
        EXPECT_EQ(row.state, IFST_GROUP_INITIALISED);
        EXPECT_EQ(row.tstList, row.frontEnd->tests);
        EXPECT_EQ(row.numTests, row.frontEnd->numTests);
        EXPECT_EQ(row.tstCb, reinterpret_cast<U64>(row.frontEnd->gen));
        EXPECT_EQ(row.testDone, 0);
        EXPECT_EQ(row.eventCnt, 0);
        EXPECT_EQ(*row.frontEnd->debugLevel, 5U);
        EXPECT_EQ(row.frontEnd->gen->id, 0);
        EXPECT_EQ(row.frontEnd->gen->eventCnt, 0);
        EXPECT_EQ(row.frontEnd->gen->valid, 1);
        EXPECT_EQ(row.frontEnd->gen->onFailCb.blkStepCnt, 0U);
        EXPECT_EQ(row.frontEnd->gen->onFailCb.currStepCnt, 0U);
        EXPECT_EQ(row.clean(&row), 0);
        EXPECT_EQ(row.state, IFST_GROUP_DONE);
    }
}

// A group whose tests declare arguments of their own; the second was named last.
class OwnArguments : public FrontEnd {
protected:
    OwnArguments() : frontEnd_(*GroupRow("-core").frontEnd) {
        for (ifstTstCb& test : tests_)
            test = ifstMakeTest({"Some", "-some", "-s", ""}, nullptr, args_);
        tests_[2].longNm = "-third";
        frontEnd_.tests = tests_;
        frontEnd_.numTests = 3;
        group_.curTest = 1;
        ifstSetupParams.inpArg = {5, words_};
    }

    const TaskArg args_[5] = {{ARGTYPE_U64, "0"},
                              {ARGTYPE_INT, "-1"},
                              {ARGTYPE_INT, "1"},
                              {ARGTYPE_INT, "2"},
                              {ARGTYPE_END, nullptr}};
    const char* words_[5] = {"program", "-group", "-test", "7", "8"};
    ifstTstCb tests_[3]{};
    ifstTstCb& test_ = tests_[1];
    ifstTstGroup group_{};
    ifstGroupFrontEnd frontEnd_{};
};

TEST_F(OwnArguments, TakesAsManyWordsAsAreDeclared) {
    EXPECT_NE(ifstParseTestParam(frontEnd_, &group_, "7"), 0);
    EXPECT_TRUE(group_.argVerified);
    EXPECT_EQ(test_.tstArgsStartIdx, 3U);
    EXPECT_EQ(test_.tstArgsEndIdx, 5U);
    EXPECT_NE(ifstParseTestParam(frontEnd_, &group_, "anything"), 0)
        << "once verified, all is taken";
}

TEST_F(OwnArguments, BelongToTheTestThatWasCurrent) {
    EXPECT_NE(ifstParseTestParam(frontEnd_, &group_, "8"), 0);
    EXPECT_EQ(group_.curTest, 0) << "the group begins with its first";
    EXPECT_EQ(tests_[1].tstArgsStartIdx, 4U);
    EXPECT_EQ(tests_[1].tstArgsEndIdx, 5U);
    for (const int other : {0, 2}) {
        EXPECT_EQ(tests_[other].tstArgsStartIdx, 0U) << other;
        EXPECT_EQ(tests_[other].tstArgsEndIdx, 0U) << other;
    }
}

// The program's name is a word like any other, and the first place counts.
TEST_F(OwnArguments, AreLookedForFromTheProgramsNameOn) {
    const char* pair[] = {"7", "8"};
    ifstSetupParams.inpArg = {2, pair};
    EXPECT_NE(ifstParseTestParam(frontEnd_, &group_, "7"), 0);
    EXPECT_EQ(test_.tstArgsStartIdx, 0U);
    EXPECT_EQ(test_.tstArgsEndIdx, 2U);
    const char* twice[] = {"7", "-group", "7"};
    ifstSetupParams.inpArg = {3, twice};
    group_.argVerified = false;
    EXPECT_EQ(ifstParseTestParam(frontEnd_, &group_, "7"), 0) << "three words, two arguments";
}

TEST_F(OwnArguments, AreLookedForAnewWhenATestIsNamed) {
    group_.argVerified = true;
    tests_[2].lpCb.testLpEna = IFST_LOOP_REPEAT;
    EXPECT_EQ(ifstParseGroupWord(frontEnd_, &group_, "-third"), IFST_PARSE_ACCEPTED);
    EXPECT_FALSE(group_.argVerified);
    EXPECT_EQ(group_.curTest, 2);
    EXPECT_EQ(tests_[2].state, IFST_TEST_SELECTED);
    EXPECT_EQ(tests_[2].lpCb.testLpEna, IFST_LOOP_NONE);
}

TEST_F(OwnArguments, RefusesMoreWordsThanAreDeclared) {
    EXPECT_EQ(ifstParseTestParam(frontEnd_, &group_, "-TEST"), 0) << "three words, two arguments";
    EXPECT_EQ(ifstParseTestParam(frontEnd_, &group_, "absent"), 0);
    EXPECT_FALSE(group_.argVerified);
}

TEST_F(OwnArguments, RefusesAnyWordForATestWithoutOwnArguments) {
    const TaskArg none[] = {{ARGTYPE_END, nullptr}};
    const TaskArg engineOnly[] = {{ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
    for (const TaskArg* args : {none, engineOnly}) {
        test_.Args = args;
        EXPECT_EQ(ifstParseTestParam(frontEnd_, &group_, "8"), 0);
    }
}

}  // namespace

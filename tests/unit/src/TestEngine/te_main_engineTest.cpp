// One step of a group's tests: start, call, loop, verdict, next.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <iterator>
#include <new>
#include <string>
#include <vector>

#include "SI/si_main.h"
#include "TestEngine/TestGroups.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_frontend.h"
#include "TestEngine/te_main_params.h"
#include "TestEngine/te_main_tests.h"
#include "ToolFixture.h"

namespace {

// What the scripted tests of this file do and see.
struct Script {
    std::vector<std::function<I16(ActualArg*)>> calls;
    std::vector<std::vector<std::string>> arguments;
};
Script script;

I16 ScriptedTest(ActualArg* list) {
    std::vector<std::string> seen;
    for (ActualArg* node = list; node != nullptr; node = node->Next)
        seen.push_back(std::to_string(node->Type) + ":" + node->Value);
    script.arguments.push_back(seen);
    if (script.calls.empty()) {
        ADD_FAILURE() << "the engine called a test that the script does not expect";
        return k_TestFinished;
    }
    const auto call = script.calls.front();
    script.calls.erase(script.calls.begin());
    return call(list);
}

I16 Pass(ActualArg*) {
    ifstPassTest();
    return k_TestFinished;
}

I16 Fail(ActualArg*) {
    ifstFailTest("TestEngine/some/Source", 42, "a reason");
    return k_TestFinished;
}

constexpr TaskArg kArgs[] = {{ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
constexpr TaskArg kArgsWithOwn[] = {{ARGTYPE_U64, "0"},
                                    {ARGTYPE_INT, "-1"},
                                    {ARGTYPE_INT, "100"},
                                    {ARGTYPE_STRING, "text"},
                                    {ARGTYPE_END, nullptr}};
constexpr TaskArg kOneArg[] = {{ARGTYPE_U64, "0"}, {ARGTYPE_END, nullptr}};

class Engine : public ToolFixture {
protected:
    Engine() {
        ifstSetupParams.failCtlState = IFST_EXIT_ON_FAIL;
        script = {};
        for (int i = 0; i < 3; ++i)
            tests_[i] =
                ifstMakeTest({kDescriptions[i], "-longName", "-short", ""}, ScriptedTest, kArgs);
        group().tstList = tests_;
        group().numTests = 3;
        group().tstCb = 4711;
        group().state = IFST_GROUP_RUNNING;
        group().curTest = 0;
    }
    ~Engine() override { EXPECT_TRUE(script.calls.empty()) << "an expected call never came"; }

    ifstTstGroup& group() const { return ifstTstGrps[row_]; }

    // The group stands in another row of the table, and is the current one.
    void MoveTo(U32 row) {
        ifstTstGrps[row] = group();
        row_ = row;
        curTstGroup = row;
    }

    void ArmTest(int index, I32 loop, U32 value) {
        tests_[index].state = IFST_TEST_SELECTED;
        tests_[index].lpCb.testLpEna = loop;
        if (loop == IFST_LOOP_TIMED)
            tests_[index].lpCb.lp.timeCtl.timerVal = value;
        else
            tests_[index].lpCb.lp.repCtl.repeatVal = value;
        ifstResetLpCtlParam(&tests_[index].lpCb);
    }

    // Steps until the group's tests have finished; returns what was printed.
    std::string RunGroup(int maxSteps = 100) {
        testing::internal::CaptureStdout();
        for (steps_ = 0; group().state == IFST_GROUP_RUNNING && steps_ < maxSteps; ++steps_)
            EXPECT_EQ(ifstTstGrpEngine0(&group()), 0);
        return testing::internal::GetCapturedStdout();
    }

    static constexpr const char* kDescriptions[] = {"First", "Second", "Third"};
    ifstTstCb tests_[3];
    int steps_ = 0;

private:
    U32 row_ = 0;
};

TEST_F(Engine, PrintsNothingForAGroupWithoutSelectedTests) {
    EXPECT_EQ(RunGroup(), "");
    EXPECT_EQ(steps_, 4);
    EXPECT_EQ(group().state, IFST_GROUP_TESTED);
    EXPECT_EQ(group().curTest, 3);
}

TEST_F(Engine, RunsSelectedTestsInTableOrder) {
    tests_[0].state = tests_[2].state = IFST_TEST_SELECTED;
    script.calls = {Pass, Pass};
    EXPECT_EQ(RunGroup(), "Test 1: First\nTest 1: PASSED\n\nTest 3: Third\nTest 3: PASSED\n\n");
    EXPECT_EQ(tests_[0].state, IFST_TEST_STARTED);
    EXPECT_EQ(tests_[1].state, IFST_TEST_IDLE);
    EXPECT_EQ(group().passCnt, 2);
    EXPECT_EQ(ifstSetupParams.errLog.lastPassTestNo, 2U);
}

TEST_F(Engine, PrintsTheTestIdWhenThereIsOne) {
    testIdG = 9;
    tests_[0].state = IFST_TEST_SELECTED;
    tests_[0].tstDescr2 = "more\n";
    script.calls = {Pass};
    EXPECT_EQ(RunGroup(), "Test Id.: 9\nTest 1: First\nmore\nTest 1: PASSED\n\n");
}

TEST_F(Engine, HandsOverControlBlockAndIndex) {
    tests_[1].state = IFST_TEST_SELECTED;
    script.calls = {Pass};
    RunGroup();
    EXPECT_EQ(script.arguments[0], (std::vector<std::string>{"4:4711", "1:0x1"}));
}

TEST_F(Engine, WritesTheIndexInDecimalBehindTheHexadecimalPrefix) {
    ifstTstCb many[12];
    for (ifstTstCb& test : many)
        test = ifstMakeTest({"Many", "-many", "-m", ""}, ScriptedTest, kArgs);
    many[10].state = IFST_TEST_SELECTED;
    group().tstList = many;
    group().numTests = 12;
    script.calls = {Pass};
    RunGroup();
    EXPECT_EQ(script.arguments[0][1], "1:0x10");
}

TEST_F(Engine, FillsOwnArgumentsFromTheCommandLineThenFromDefaults) {
    const char* words[] = {"program", "-pcie", "-short", "7"};
    ifstSetupParams.inpArg = {4, words};
    tests_[0].Args = kArgsWithOwn;
    tests_[0].tstArgsStartIdx = 3;
    tests_[0].tstArgsEndIdx = 4;
    tests_[0].state = IFST_TEST_SELECTED;
    script.calls = {Pass};
    RunGroup();
    EXPECT_EQ(script.arguments[0], (std::vector<std::string>{"4:4711", "1:0x0", "1:7", "2:text"}));
}

TEST_F(Engine, HandsOverBothEngineArgumentsToATestThatDeclaresOne) {
    tests_[0].Args = kOneArg;
    tests_[0].state = IFST_TEST_SELECTED;
    script.calls = {Pass};
    RunGroup();
    EXPECT_EQ(script.arguments[0].size(), 2U);
}

TEST_F(Engine, CallsAnUnfinishedTestAgain) {
    tests_[0].state = IFST_TEST_SELECTED;
    const auto unfinished = [](ActualArg*) -> I16 { return 0; };
    script.calls = {unfinished, unfinished, Pass};
    EXPECT_EQ(RunGroup(), "Test 1: First\nTest 1: PASSED\n\n");
}

TEST_F(Engine, StaysOnATestThatNeverFinishes) {
    tests_[0].state = IFST_TEST_SELECTED;
    for (int i = 0; i < 50; ++i)
        script.calls.emplace_back([](ActualArg*) -> I16 { return 2; });
    RunGroup(50);
    EXPECT_EQ(group().curTest, 0);
    EXPECT_EQ(group().state, IFST_GROUP_RUNNING);
}

TEST_F(Engine, EndsTheGroupAfterAFailureUnderExitOnFail) {
    tests_[0].state = tests_[1].state = IFST_TEST_SELECTED;
    script.calls = {Fail};
    EXPECT_EQ(RunGroup(), "Test 1: First\nTest 1: FAILED\n\n");
    EXPECT_EQ(group().state, IFST_GROUP_TESTED);
    EXPECT_EQ(group().result, IFST_FAILED);
    EXPECT_EQ(group().failCnt, 1);
    EXPECT_EQ(ifstSetupParams.errLog.result, 1U);
    EXPECT_EQ(ifstSetupParams.errLog.tgNo, 0U);
    EXPECT_EQ(ifstSetupParams.errLog.testNo, 0U);
}

TEST_F(Engine, NotesWhereTheLastFailureWas) {
    MoveTo(3);
    ifstSetupParams.failCtlState = IFST_NO_EXIT_ON_FAIL;
    tests_[0].state = tests_[1].state = tests_[2].state = IFST_TEST_SELECTED;
    script.calls = {Fail, Fail, Pass};
    RunGroup();
    EXPECT_EQ(ifstSetupParams.errLog.result, 1U);
    EXPECT_EQ(ifstSetupParams.errLog.tgNo, 3U);
    EXPECT_EQ(ifstSetupParams.errLog.testNo, 1U);
    EXPECT_EQ(ifstSetupParams.errLog.lastPassTestNo, 2U);
}

TEST_F(Engine, GoesOnAfterAFailureOtherwise) {
    for (const U32 failCtl : {U32{IFST_SKIP_ON_FAIL}, U32{IFST_NO_EXIT_ON_FAIL}}) {
        ifstSetupParams.failCtlState = failCtl;
        group().curTest = 0;
        group().state = IFST_GROUP_RUNNING;
        tests_[0].state = tests_[1].state = IFST_TEST_SELECTED;
        script.calls = {Fail, Pass};
        EXPECT_EQ(RunGroup(), "Test 1: First\nTest 1: FAILED\n\nTest 2: Second\nTest 2: PASSED\n\n")
            << failCtl;
    }
}

TEST_F(Engine, FailsATestThatRunsOutOfMemory) {
    ifstSetupParams.failCtlState = IFST_SKIP_ON_FAIL;
    group().frontEnd->gen->eventCnt = 7;
    tests_[0].state = tests_[1].state = IFST_TEST_SELECTED;
    script.calls = {[](ActualArg*) -> I16 { throw std::bad_alloc(); }, Pass};
    EXPECT_EQ(RunGroup(), "Test 1: First\nTest 1: FAILED\n\nTest 2: Second\nTest 2: PASSED\n\n");
    EXPECT_EQ(group().failCnt, 1);
    EXPECT_EQ(group().frontEnd->gen->eventCnt, 0);
}

TEST_F(Engine, LetsTheLastVerdictDecideAndCountsAll) {
    tests_[0].state = IFST_TEST_SELECTED;
    script.calls = {[](ActualArg*) -> I16 {
        ifstFailTest("f", 1, "r");
        ifstFailTest("f", 1, "r");
        ifstPassTest();
        return k_TestFinished;
    }};
    EXPECT_EQ(RunGroup(), "Test 1: First\nTest 1: PASSED\n\n");
    EXPECT_EQ(tests_[0].failCnt, 2);
    EXPECT_EQ(tests_[0].passCnt, 1);
    EXPECT_EQ(group().result, IFST_FAILED);
    EXPECT_EQ(group().state, IFST_GROUP_TESTED);
    EXPECT_EQ(ifstSetupParams.errLog.result, 0U);
}

TEST_F(Engine, ClearsCountsWhenATestStarts) {
    tests_[0].state = IFST_TEST_SELECTED;
    tests_[0].passCnt = tests_[0].failCnt = 5;
    script.calls = {Pass};
    RunGroup();
    EXPECT_EQ(tests_[0].passCnt, 1);
    EXPECT_EQ(tests_[0].failCnt, 0);
}

TEST_F(Engine, RepeatsATest) {
    ArmTest(0, IFST_LOOP_REPEAT, 3);
    script.calls = {Pass, Pass, Pass};
    EXPECT_EQ(RunGroup(), "Test 1: First\nTest repeated for 3 times.\nTest 1: PASSED\n\n");
    EXPECT_EQ(tests_[0].passCnt, 3);
}

TEST_F(Engine, StopsALoopAtAFailureUnderSkipOnFail) {
    ifstSetupParams.failCtlState = IFST_SKIP_ON_FAIL;
    for (const I32 loop : {IFST_LOOP_REPEAT, IFST_LOOP_TIMED}) {
        group().curTest = 0;
        group().state = IFST_GROUP_RUNNING;
        ArmTest(0, loop, 1000);
        tests_[1].state = IFST_TEST_SELECTED;
        script.calls = {Pass, Fail, Pass};
        EXPECT_EQ(RunGroup(), "Test 1: First\nTest 1: FAILED\n\nTest 2: Second\nTest 2: PASSED\n\n")
            << loop;
    }
}

TEST_F(Engine, StopsALoopAtAFailureUnderExitOnFail) {
    for (const I32 loop : {IFST_LOOP_REPEAT, IFST_LOOP_TIMED}) {
        group().curTest = 0;
        group().state = IFST_GROUP_RUNNING;
        ArmTest(0, loop, 1000);
        tests_[1].state = IFST_TEST_SELECTED;
        script.calls = {Pass, Fail};
        EXPECT_EQ(RunGroup(), "Test 1: First\nTest 1: FAILED\n\n") << loop;
        EXPECT_EQ(group().state, IFST_GROUP_TESTED) << loop;
        EXPECT_EQ(group().curTest, 1) << loop;
    }
}

TEST_F(Engine, GoesOnRepeatingAFailingTestWithoutExitOnFail) {
    ifstSetupParams.failCtlState = IFST_NO_EXIT_ON_FAIL;
    ArmTest(0, IFST_LOOP_REPEAT, 3);
    script.calls = {Fail, Fail, Fail};
    EXPECT_EQ(RunGroup(), "Test 1: First\nTest repeated for 3 times.\nTest 1: FAILED\n\n");
    EXPECT_EQ(tests_[0].failCnt, 3);
}

TEST_F(Engine, ArmsTheLoopOfTheNextTest) {
    tests_[1].lpCb.testLpEna = IFST_LOOP_REPEAT;
    tests_[1].lpCb.lp.repCtl.repeatVal = 2;
    testing::internal::CaptureStdout();
    ifstTstGrpEngine0(&group());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(tests_[1].lpCb.lp.repCtl.repeatEna, 1);
    EXPECT_EQ(tests_[1].lpCb.lp.repCtl.curRepeatVal, 2U);
}

TEST_F(Engine, SilencesStandardOutputInQuietMode) {
    ifstSetupParams.bQuietMode = 1;
    group().dbgLvl = k_DbgLvlPassed | k_DbgLvlFailed;
    tests_[0].state = IFST_TEST_SELECTED;
    script.calls = {Fail};
    testing::internal::CaptureStderr();
    EXPECT_EQ(RunGroup(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Test 1 Failed in file TestEngine/some/Source, line 42 with reason [a reason]\n\n");
}

TEST_F(Engine, PrintsVerdictLinesAtTheirDebugLevels) {
    struct Row {
        U32 dbgLvl;
        const char* out;
        const char* err;
    };
    for (const Row& row :
         {Row{0, "", ""},
          {4, "", "Test 1 Failed in file f, line 7 with reason []\n\n"},
          {8, "Test 1 Passed \n\n", ""},
          {12, "Test 1 Passed \n\n", "Test 1 Failed in file f, line 7 with reason []\n\n"}}) {
        group().dbgLvl = row.dbgLvl;
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        ifstPassTest();
        ifstFailTest("f", 7, "");
        EXPECT_EQ(testing::internal::GetCapturedStdout(), row.out) << row.dbgLvl;
        EXPECT_EQ(testing::internal::GetCapturedStderr(), row.err) << row.dbgLvl;
    }
}

TEST_F(Engine, TakesAVerdictWithoutARunningGroupForNothing) {
    curTstGroup = IFST_NUM_TESTGROUPS;
    ifstPassTest();
    ifstFailTest("f", 1, "r");
    EXPECT_EQ(group().passCnt, 0);
    EXPECT_EQ(group().failCnt, 0);
}

// Reads back what was written to a log.
std::string Contents(FILE* file) {
    std::fflush(file);
    std::rewind(file);
    std::string text(4096, '\0');
    text.resize(std::fread(text.data(), 1, text.size(), file));
    return text;
}

TEST_F(Engine, WritesTheDataLogAlsoInQuietMode) {
    FILE* log = std::tmpfile();
    ASSERT_NE(log, nullptr);
    ifstSetupParams.bQuietMode = 1;
    ifstSetupParams.logCtl.logEna = 1;
    ifstSetupParams.logCtl.dataLogHndl = log;
    tests_[0].state = IFST_TEST_SELECTED;
    script.calls = {Pass};
    EXPECT_EQ(RunGroup(), "");
    EXPECT_EQ(Contents(log), "Test 1: First\nTest 1: PASSED\n\n");
    std::fclose(log);
}

TEST_F(Engine, WritesSummaryLogRowsByLoopKind) {
    struct Row {
        I32 loop;
        U32 testId;
        const char* expected;
    };
    for (const Row& row :
         {Row{IFST_LOOP_NONE, 0,
              "               PcieDiag     longName         1                              1  "
              "                   0\n"},
          {IFST_LOOP_REPEAT, 12,
           "     12        PcieDiag     longName         1                               1  "
           "                   0\n"},
          {IFST_LOOP_TIMED, 0,
           "               PcieDiag     longName                  0                     1  "
           "                   0\n"}}) {
        FILE* log = std::tmpfile();
        ASSERT_NE(log, nullptr);
        ifstSetupParams.logCtl.logEna = 1;
        ifstSetupParams.logCtl.sumLogHndl = log;
        testIdG = row.testId;
        group().curTest = 0;
        group().state = IFST_GROUP_RUNNING;
        tests_[0].state = IFST_TEST_SELECTED;
        tests_[0].lpCb = {};
        tests_[0].lpCb.testLpEna = row.loop;
        if (row.loop == IFST_LOOP_REPEAT)
            tests_[0].lpCb.lp.repCtl.repeatVal = 1;
        ifstResetLpCtlParam(&tests_[0].lpCb);
        script.calls = {Pass};
        RunGroup();
        EXPECT_EQ(Contents(log), row.expected) << row.loop;
        std::fclose(log);
    }
}

TEST_F(Engine, TalliesATestUnderItsKey) {
    tstGrpLogInfo last{};
    last.testIdx = 99;
    tstGrpLogInfo first = last;
    first.nextPtr = &last;
    concDatalogParams.testGrpLog = &first;
    ifstSetupParams.failCtlState = IFST_NO_EXIT_ON_FAIL;
    for (int pass = 0; pass < 2; ++pass) {
        group().curTest = 0;
        group().state = IFST_GROUP_RUNNING;
        tests_[0].state = IFST_TEST_SELECTED;
        script.calls = {pass == 0 ? Pass : Fail};
        RunGroup();
    }
    tstGrpLogInfo* const added = first.nextPtr;
    ASSERT_NE(added, &last) << "the new node comes behind the first";
    EXPECT_STREQ(added->testName, "longName");
    EXPECT_EQ(added->passCnt, 1);
    EXPECT_EQ(added->failCnt, 1);
    EXPECT_EQ(added->nextPtr, &last);
    EXPECT_EQ(last.nextPtr, nullptr);
    ssFreeMem(added);
}

// A node is a test's only when all four of its key agree.
TEST_F(Engine, TalliesATestUnderNoOthersKey) {
    MoveTo(2);
    testIdG = 5;
    tests_[1].state = IFST_TEST_SELECTED;
    tstGrpLogInfo own{};
    own.testIdx = 1;
    own.testId = 5;
    own.tgNo = 2;
    std::strcpy(own.testName, "longName");
    tstGrpLogInfo others[] = {own, own, own, own};
    others[0].testIdx = 0;
    others[1].testId = 4;
    others[2].tgNo = 0;
    std::strcpy(others[3].testName, "longNam");
    for (int i = 0; i < 3; ++i)
        others[i].nextPtr = &others[i + 1];
    others[3].nextPtr = &own;
    concDatalogParams.testGrpLog = others;
    script.calls = {Pass};
    RunGroup();
    EXPECT_EQ(own.passCnt, 1);
    for (const tstGrpLogInfo& other : others)
        EXPECT_EQ(other.passCnt, 0) << &other - others;
    EXPECT_EQ(others[0].nextPtr, &others[1]) << "no node is added";
}

TEST(LoopControl, EndsOnlyLoopsThatItKnows) {
    ifstLoopCb lp{};
    EXPECT_EQ(ifstCheckTstPendingLoop(&lp), 0);
    lp.testLpEna = IFST_LOOP_STOP_TIME;
    EXPECT_EQ(ifstCheckTstPendingLoop(&lp), 0);
    ifstResetLpCtlParam(&lp);
    EXPECT_EQ(lp.testLpEna, IFST_LOOP_NONE);
    lp.testLpEna = 7;
    EXPECT_NE(ifstCheckTstPendingLoop(&lp), 0);
    lp.testLpEna = IFST_LOOP_REPEAT;
    EXPECT_EQ(ifstCheckTstPendingLoop(&lp), 0) << "a repeat that is not armed";
    lp.testLpEna = IFST_LOOP_TIMED;
    lp.lp.timeCtl.timerEna = 0;
    EXPECT_EQ(ifstCheckTstPendingLoop(&lp), 0) << "a timer that is not armed";
}

class TimedLoop : public ToolFixture {};

TEST_F(TimedLoop, RunsForItsSeconds) {
    ifstLoopCb lp{};
    lp.testLpEna = IFST_LOOP_TIMED;
    lp.lp.timeCtl.timerVal = 3;
    ifstResetLpCtlParam(&lp);
    fakes::CaptureOutput capture;
    EXPECT_NE(ifstCheckTstPendingLoop(&lp), 0);
    fakes::Clock().Advance(2'999'000);
    EXPECT_NE(ifstCheckTstPendingLoop(&lp), 0);
    EXPECT_EQ(capture.Out(), "");
    fakes::Clock().Advance(1'000);
    EXPECT_EQ(ifstCheckTstPendingLoop(&lp), 0);
    EXPECT_EQ(capture.Out(), "Test is run for 3 second(s).\n");
}

}  // namespace

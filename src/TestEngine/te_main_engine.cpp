// One step of a group's tests: start, call, loop, verdict, next.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>
#include <vector>

#include "SI/cm_stub1.h"
#include "SI/si_main.h"
#include "TestEngine/TestGroups.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_cardtest.h"
#include "TestEngine/te_main_console.h"
#include "TestEngine/te_main_frontend.h"
#include "TestEngine/te_main_params.h"
#include "TestEngine/te_main_tests.h"

U32 curTstGroup = 0;
U32 testIdG = 0;
concDatalogParameters_t concDatalogParams;

namespace {

// The list of arguments of one call, with the texts that it points at.
class ActualArgList {
public:
    ActualArgList(const ifstTstGroup& group, const ifstTstCb& test) {
        std::snprintf(controlBlock_, sizeof(controlBlock_), "%ld", static_cast<long>(group.tstCb));
        // A decimal number behind a hexadecimal prefix: no test reads it.
        std::snprintf(testIndex_, sizeof(testIndex_), "0x%d", group.curTest);
        nodes_.push_back({ARGTYPE_U64, controlBlock_, nullptr});
        nodes_.push_back({ARGTYPE_INT, testIndex_, nullptr});
        AppendOwnArgs(test);
        for (std::size_t i = 1; i < nodes_.size(); ++i)
            nodes_[i - 1].Next = &nodes_[i];
    }
    ActualArgList(const ActualArgList&) = delete;
    ActualArgList& operator=(const ActualArgList&) = delete;

    ActualArg* Head() { return nodes_.data(); }

private:
    void AppendOwnArgs(const ifstTstCb& test) {
        U32 word = test.tstArgsStartIdx;
        std::size_t declared = 0;
        for (const TaskArg* arg = test.Args; arg->Type != ARGTYPE_END; ++arg, ++declared) {
            if (declared < k_EngineArgs)
                continue;
            const char* value = word < test.tstArgsEndIdx ? ifstSetupParams.inpArg.inpArgVal[word++]
                                                          : arg->DefaultValue;
            nodes_.push_back({arg->Type, value, nullptr});
        }
    }

    char controlBlock_[24];
    char testIndex_[16];
    std::vector<ActualArg> nodes_;
};

// The test that a verdict is about; null when no group runs.
ifstTstCb* CurrentTest() {
    if (curTstGroup >= IFST_NUM_TESTGROUPS)
        return nullptr;
    const ifstTstGroup& group = ifstTstGrps[curTstGroup];
    const bool present = group.tstList != nullptr && group.curTest < group.numTests;
    return present ? &group.tstList[group.curTest] : nullptr;
}

void Announce(const ifstTstGroup& group, ifstTstCb& test) {
    if (testIdG != 0)
        ifstPrint("Test Id.: %u\n", testIdG);
    ifstPrint("Test %d: ", group.curTest + 1);
    ifstPrint("%s\n", test.tstDescr1);
    if (test.tstDescr2 != nullptr)
        ifstPrint("%s", test.tstDescr2);
    test.state = IFST_TEST_STARTED;
    test.passCnt = 0;
    test.failCnt = 0;
}

// A test for which memory runs out has failed. What it held is free again, so the next one is tried.
I16 CallTest(const ifstTstGroup& group, const ifstTstCb& test) {
    try {
        ActualArgList arguments(group, test);
        return test.tst(arguments.Head());
    } catch (const std::bad_alloc&) {
        ifstFailAndLog("TestEngine/te_main_engine", __LINE__, "out of memory", "Out of memory");
        group.frontEnd->gen->eventCnt = 0;
        return k_TestFinished;
    }
}

void NextTest(ifstTstGroup& group) {
    group.curTest += 1;
    if (group.curTest < group.numTests)
        ifstResetLpCtlParam(&group.tstList[group.curTest].lpCb);
}

void RecordFailure(ifstTstGroup& group, ifstTstCb& test) {
    const U32 failCtl = ifstSetupParams.failCtlState;
    const bool loops =
        test.lpCb.testLpEna == IFST_LOOP_REPEAT || test.lpCb.testLpEna == IFST_LOOP_TIMED;
    if ((failCtl == IFST_EXIT_ON_FAIL || failCtl == IFST_SKIP_ON_FAIL) && loops)
        test.lpCb.lp.repCtl.repeatEna = 0;
    if (failCtl == IFST_EXIT_ON_FAIL)
        group.state = IFST_GROUP_TESTED;
    ifstSetupParams.errLog.result = 1;
    ifstSetupParams.errLog.tgNo = curTstGroup;
    ifstSetupParams.errLog.testNo = group.curTest;
}

void WriteSummaryLogRow(FILE* log, const ifstTstGroup& group, const ifstTstCb& test) {
    if (testIdG != 0)
        std::fprintf(log, "%7u  ", testIdG);
    else
        std::fprintf(log, "         ");
    std::fprintf(log, "%14s  %11s  ", group.longNm + 1, test.longNm + 1);
    if (test.lpCb.testLpEna == IFST_LOOP_NONE)
        std::fprintf(log, "       1           ");
    else if (test.lpCb.testLpEna == IFST_LOOP_REPEAT)
        std::fprintf(log, "%8u            ", test.lpCb.lp.repCtl.repeatVal);
    else
        std::fprintf(log, "          %7u  ", test.lpCb.lp.timeCtl.timerVal);
    std::fprintf(log, "%20ld  ", test.passCnt);
    std::fprintf(log, "%20ld\n", test.failCnt);
}

// Adds the test's counts to its node of the tally list; a test without a node gets one behind the
// list's first.
void Tally(const ifstTstGroup& group, const ifstTstCb& test) {
    tstGrpLogInfo* first = concDatalogParams.testGrpLog;
    if (first == nullptr)
        return;
    tstGrpLogInfo key{};
    key.testIdx = group.curTest;
    key.testId = testIdG;
    key.tgNo = curTstGroup;
    std::snprintf(key.testName, sizeof(key.testName), "%s", test.longNm + 1);
    for (tstGrpLogInfo* node = first; node != nullptr; node = node->nextPtr) {
        if (node->testIdx == key.testIdx && node->testId == key.testId && node->tgNo == key.tgNo &&
            std::strcmp(node->testName, key.testName) == 0) {
            node->passCnt += test.passCnt;
            node->failCnt += test.failCnt;
            return;
        }
    }
    auto* added = static_cast<tstGrpLogInfo*>(ssMemAlloc(sizeof(tstGrpLogInfo)));
    if (added == nullptr)
        return;
    *added = key;
    added->passCnt = test.passCnt;
    added->failCnt = test.failCnt;
    added->nextPtr = first->nextPtr;
    first->nextPtr = added;
}

void ReportTest(const ifstTstGroup& group, const ifstTstCb& test) {
    ifstPrint("Test %d: %s\n\n", group.curTest + 1, test.result != 0 ? "FAILED" : "PASSED");
    if (ifstSetupParams.logCtl.logEna != 0 && ifstSetupParams.logCtl.sumLogHndl != nullptr)
        WriteSummaryLogRow(ifstSetupParams.logCtl.sumLogHndl, group, test);
    Tally(group, test);
}

}  // namespace

I16 ifstTstGrpEngine0(ifstTstGroup* group) {
    if (group->curTest >= group->numTests) {
        group->state = IFST_GROUP_TESTED;
        return 0;
    }
    ifstTstCb& test = group->tstList[group->curTest];
    if (test.state == IFST_TEST_SELECTED)
        Announce(*group, test);
    if (test.state == IFST_TEST_IDLE) {
        NextTest(*group);
        return 0;
    }

    if (CallTest(*group, test) != k_TestFinished)
        return 0;
    if (test.result == IFST_FAILED)
        RecordFailure(*group, test);
    if (test.lpCb.testLpEna != IFST_LOOP_NONE && ifstCheckTstPendingLoop(&test.lpCb) != 0)
        return 0;
    ReportTest(*group, test);
    ifstSetupParams.errLog.lastPassTestNo = group->curTest;
    NextTest(*group);
    return 0;
}

void ifstPassTest() {
    ifstTstCb* test = CurrentTest();
    if (test == nullptr)
        return;
    ifstTstGroup& group = ifstTstGrps[curTstGroup];
    if ((group.dbgLvl & k_DbgLvlPassed) != 0)
        ifstPrint("Test %d Passed \n\n", group.curTest + 1);
    test->passCnt += 1;
    test->result = IFST_PASSED;
    group.passCnt += 1;
}

void ifstFailTest(const char* file, U32 line, const char* reason) {
    ifstTstCb* test = CurrentTest();
    if (test == nullptr)
        return;
    ifstTstGroup& group = ifstTstGrps[curTstGroup];
    if ((group.dbgLvl & k_DbgLvlFailed) != 0)
        std::fprintf(stderr, "Test %d Failed in file %s, line %d with reason [%s]\n\n",
                     group.curTest + 1, file, static_cast<int>(line), reason);
    test->failCnt += 1;
    test->result = IFST_FAILED;
    group.result = IFST_FAILED;
    group.failCnt += 1;
}

void ifstResetLpCtlParam(ifstLoopCb* lp) {
    switch (lp->testLpEna) {
        case IFST_LOOP_REPEAT:
            lp->lp.repCtl.repeatEna = 1;
            lp->lp.repCtl.curRepeatVal = lp->lp.repCtl.repeatVal;
            break;
        case IFST_LOOP_TIMED:
            lp->lp.timeCtl.timerEna = 1;
            lp->lp.timeCtl.startTime = cmGetSysTimeInSec();
            break;
        case IFST_LOOP_STOP_TIME:
            lp->testLpEna = IFST_LOOP_NONE;
            break;
        default:
            break;
    }
}

namespace {

I16 CheckRepeat(ifstLoopCb& lp) {
    auto& repeat = lp.lp.repCtl;
    if (repeat.repeatEna != 1)
        return 0;
    repeat.curRepeatVal -= 1;
    if (repeat.curRepeatVal != 0)
        return 1;
    ifstPrint("Test repeated for %u times.\n", repeat.repeatVal);
    return 0;
}

I16 CheckTimer(const ifstLoopCb& lp) {
    const auto& timer = lp.lp.timeCtl;
    if (timer.timerEna != 1)
        return 0;
    if (timer.timerVal > cmGetSysTimeInSec() - timer.startTime)
        return 1;
    ifstPrint("Test is run for %u second(s).\n", timer.timerVal);
    return 0;
}

}  // namespace

I16 ifstCheckTstPendingLoop(ifstLoopCb* lp) {
    switch (lp->testLpEna) {
        case IFST_LOOP_REPEAT:
            return CheckRepeat(*lp);
        case IFST_LOOP_TIMED:
            return CheckTimer(*lp);
        case IFST_LOOP_NONE:
        case IFST_LOOP_STOP_TIME:
            return 0;
        default:
            // A kind of loop that nobody set has no end.
            return 1;
    }
}

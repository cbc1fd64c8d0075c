// One card: its groups in table order through their states, and their report.
#include "TestEngine/TestGroups.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_console.h"
#include "TestEngine/te_main_params.h"

namespace {

const char* ResultName(U8 result) {
    switch (result) {
        case IFST_PASSED:
            return "PASSED";
        case IFST_FAILED:
            return "FAILED";
        default:
            return "ABORTED";
    }
}

void ReportFailedTests(const ifstTstGroup& group) {
    ifstPrint("            Following tests have failed:          \n");
    for (U16 i = 0; i < group.numTests; ++i) {
        if (group.tstList[i].result == IFST_FAILED)
            ifstPrint("   Test %d : %s \n", i + 1, group.tstList[i].tstDescr1);
    }
}

// Reports the groups that ran to their end. A group that was skipped on this card has no line and
// takes no part in the verdict.
ifstCardStatus ReportGroups() {
    ifstCardStatus verdict = IFST_CARD_OK;
    for (const ifstTstGroup& group : ifstTstGrps) {
        if (group.state != IFST_GROUP_DONE)
            continue;
        ifstPrint("Test Group [%s]: %s\n", group.name, ResultName(group.result));
        if (group.result == IFST_FAILED)
            ReportFailedTests(group);
        if (group.result != IFST_PASSED)
            verdict = IFST_CARD_FAILED;
    }
    return verdict;
}

void ResetAfterCard() {
    curTstGroup = 0;
    testIdG = 0;
    for (ifstTstGroup& group : ifstTstGrps) {
        group.state = IFST_GROUP_IDLE;
        group.result = IFST_PASSED;
        group.curTest = 0;
        for (U16 i = 0; i < group.numTests; ++i) {
            group.tstList[i].state = IFST_TEST_IDLE;
            group.tstList[i].result = IFST_PASSED;
            group.tstList[i].lpCb.testLpEna = IFST_LOOP_NONE;
        }
    }
    curTstMode |= k_NoTestSelected;
}

// However the card ends, the next one begins anew.
struct CardEnd {
    CardEnd() = default;
    ~CardEnd() { ResetAfterCard(); }
    CardEnd(const CardEnd&) = delete;
    CardEnd& operator=(const CardEnd&) = delete;
};

void Begin(ifstTstGroup& group) {
    ifstSetupParams.logCtl.dataLogHndl = group.logHndl;
    ifstPrint("%s\n", k_SingleRule);
    ifstPrint("%s : BEGINS\n\n", group.name);
    // The parser leaves the test that was named last here; a run starts with the first of the table.
    group.curTest = 0;
    group.init(&group);
}

void StepOverGroup(const ifstTstGroup& group) {
    const bool exitOnFail = ifstSetupParams.failCtlState == IFST_EXIT_ON_FAIL;
    curTstGroup = group.result != IFST_PASSED && exitOnFail ? IFST_NUM_TESTGROUPS : curTstGroup + 1;
}

// One step of the group's life. Anything but IFST_CARD_NOT_RUN ends the card.
ifstCardStatus Step(ifstTstGroup& group) {
    switch (group.state) {
        case IFST_GROUP_IDLE:
        case IFST_GROUP_DONE:
            StepOverGroup(group);
            return IFST_CARD_NOT_RUN;
        case IFST_GROUP_SELECTED:
            Begin(group);
            return IFST_CARD_NOT_RUN;
        case IFST_GROUP_INITIALISED:
            switch (const I16 status = group.cfg(&group)) {
                case IFST_CARD_OK:
                case IFST_CARD_ABORTED:
                case IFST_CARD_FAILED:
                    return static_cast<ifstCardStatus>(status);
                default:
                    return IFST_CARD_NOT_RUN;
            }
        case IFST_GROUP_RUNNING:
            group.engine(&group);
            return IFST_CARD_NOT_RUN;
        case IFST_GROUP_TESTED:
            group.state = IFST_GROUP_CLOSING;
            return IFST_CARD_NOT_RUN;
        case IFST_GROUP_CLOSING:
            group.state = IFST_GROUP_CLEANING;
            return IFST_CARD_NOT_RUN;
        case IFST_GROUP_CLEANING:
            group.clean(&group);
            ifstPrint("%s : ENDS\n", group.name);
            return IFST_CARD_NOT_RUN;
        default:
            return IFST_CARD_ABORTED;
    }
}

}  // namespace

ifstCardStatus ifstRunGroupsOnCard() {
    const CardEnd end;
    ifstCardStatus status = IFST_CARD_NOT_RUN;
    while (status == IFST_CARD_NOT_RUN)
        status =
            curTstGroup < IFST_NUM_TESTGROUPS ? Step(ifstTstGrps[curTstGroup]) : ReportGroups();
    return status;
}

// Records of test groups and tests. A group is one row of ifstTstGrps, a test one row of its group's
// table; selection, numbering, listing and running all follow from the rows.
#pragma once

#include <cstdio>

#include "CommonTool/ToolData.h"
#include "ZelTypes.h"

struct ifstTstGroup;

using ifstTestFunc = I16 (*)(ifstTstGroup* group);
using ifstParseFunc = I16 (*)(ifstTstGroup* group, char* word);
using ifstTest = I16 (*)(ActualArg* list);

// Group states.
enum ifstGroupState : U8 {
    IFST_GROUP_IDLE = 1,  // not selected, or skipped on this card
    IFST_GROUP_SELECTED = 2,
    IFST_GROUP_INITIALISED = 3,
    IFST_GROUP_RUNNING = 4,
    IFST_GROUP_CLEANING = 5,
    IFST_GROUP_DONE = 6,
    IFST_GROUP_CLOSING = 9,
    IFST_GROUP_TESTED = 10
};

// Group results.
enum ifstGroupResult : U8 { IFST_PASSED = 0, IFST_FAILED = 1, IFST_ABORTED = 2 };

// Test states.
enum ifstTestState : U8 { IFST_TEST_IDLE = 1, IFST_TEST_SELECTED = 2, IFST_TEST_STARTED = 4 };

// What a group's parser answers.
enum ifstParseStatus : I16 {
    IFST_PARSE_REFUSED = 0,
    IFST_PARSE_NO_MEMORY = 1,
    IFST_PARSE_HELP = 4,  // help was printed: nothing is tested
    IFST_PARSE_ACCEPTED = 5
};

// What a test answers when it has finished; any other answer has it called again.
inline constexpr I16 k_TestFinished = 3;

// Loops of a test (testLpEna).
enum ifstLoopKind : I32 {
    IFST_LOOP_NONE = 0,
    IFST_LOOP_REPEAT = 1,
    IFST_LOOP_TIMED = 2,
    IFST_LOOP_STOP_TIME = 3
};

struct ifstLoopCb {
    I32 testLpEna;
    union {
        struct {
            I32 repeatEna;
            U32 repeatVal;
            U32 curRepeatVal;
        } repCtl;
        struct {
            I32 timerEna;
            U32 startTime;  // seconds
            U32 timerVal;   // seconds
        } timeCtl;
        struct {
            I32 stoptimeEna;
            U32 stoptimeVal;
        } stopCtl;
    } lp;
};

// Generic head of every group's control block.
struct ifstGrpTstCb {
    U8 id;
    I32 valid;  // a test does nothing while it is 0
    U8 eventCnt;
    U64 lpCb;
    U32 mskResourceSet;
    struct {
        U32 onFailMask;  // bit 0: break on fail
        U32 stepCnt;
        U32 StepCnt;
        U32 blkStepCnt;
        U32 currStepCnt;
    } onFailCb;
};

using IfstGrpTstCb = ifstGrpTstCb;

inline constexpr U32 k_BreakOnFail = 0x1;

// Room for the file name in every group's control block.
inline constexpr U32 k_GroupFileNameSize = 34;

// A test.
struct ifstTstCb {
    const char* tstDescr1;
    const char* tstDescr2;
    const char* longNm;
    const char* shortNm;
    ifstTest tst;
    const TaskArg* Args;
    U8 state;
    const char* brief;
    const char* help;  // or null
    U32 testId;
    U64 tstSpecCb;
    U8 result;  // 0 pass, 1 fail
    I64 passCnt;
    I64 failCnt;
    ifstLoopCb lpCb;
    U32 tstArgsStartIdx;  // command-line words with values for arguments of its own
    U32 tstArgsEndIdx;
};

struct ifstGroupFrontEnd;

// A test group.
struct ifstTstGroup {
    const char* name;
    const char* longNm;
    const char* shortNm;
    ifstTestFunc init;
    ifstTestFunc cfg;
    ifstTestFunc engine;
    ifstTestFunc clean;
    ifstParseFunc parse;
    const ifstGroupFrontEnd* frontEnd;

    U8 state = 0;
    U16 curTest = 0;
    U32 dbgLvl = 0;  // bit 3: a line for each passed test; bit 2: for each failed one
    ifstTstCb* tstList = nullptr;
    U64 tstCb = 0;  // address of the control block, handed to every test
    U16 numTests = 0;
    U16 testDone = 0;
    U8 eventCnt = 0;
    U8 result = 0;
    U32 continueOnFail = 0;
    I64 passCnt = 0;
    I64 failCnt = 0;
    FILE* logHndl = nullptr;
    U16 currentCmd = 0;
    bool argVerified = false;
};

inline constexpr U32 k_DbgLvlMask = 63;
inline constexpr U32 k_DbgLvlFailed = 4;
inline constexpr U32 k_DbgLvlPassed = 8;

// Counts of one test over the run; a list that exists only when something creates it.
struct tstGrpLogInfo {
    U32 testIdx;
    U32 testId;
    U32 tgNo;
    char testName[20];
    I64 passCnt;
    I64 failCnt;
    tstGrpLogInfo* nextPtr;
};

struct concDatalogParameters_t {
    tstGrpLogInfo* testGrpLog;
    FILE* errLogHndl;
};

extern concDatalogParameters_t concDatalogParams;

// The run parameters: one process-wide record. The run driver sets its defaults once, the command
// line fills it at every parse, and engine, groups and tests read it.
#pragma once

#include <cstdio>

#include "SI/cm_stub1.h"
#include "ZelTypes.h"

// What happens after a failed test (failCtlState).
enum ifstFailCtl : U32 {
    IFST_NO_EXIT_ON_FAIL = 0,
    IFST_EXIT_ON_FAIL = 2,  // ends the card's run
    IFST_SKIP_ON_FAIL = 3   // cuts the test's own loop only
};

struct ifstSetupParameters_t {
    char progName[15];
    char version[5];

    struct {
        I32 inpArgCnt;
        const char** inpArgVal;  // not owned; index 0 stands for the program's name
    } inpArg;

    // Nothing opens the logs; every write to them is guarded.
    struct {
        I32 logEna;
        char logPath[30];
        FILE* dataLogHndl;
        FILE* sumLogHndl;
    } logCtl;

    struct {
        cmStrDate stTmSVal;
        U32 startTime;  // seconds
    } timeLog;

    struct {
        U32 concPhaseEna;
        U32 currPhId;
        U32 startSeed;
        U32 endSeed;
        U32 randomMode;
        U32 currSeed;
        U32 innerLoopCnt;
        U32 outerLoopCnt;
        U32 currInnerLp;
        U32 currOuterLp;
        U32 state;  // 12 while help text is printed
    } conc;

    struct {
        U32 result;
        U32 tgNo;
        U32 testNo;
        U32 lastPassTestNo;
    } errLog;

    U32 failCtlState;
    I32 bQuietMode;  // non-zero: the engine's lines do not go to standard output
    char cmdFileName[150];
    void* oMain;  // the tool object, not owned
    U32 lineCount;
};

extern ifstSetupParameters_t ifstSetupParams;

// conc.state while text is shown that ignores quiet mode.
inline constexpr U32 k_ConcStateDisplay = 12;

// Holds conc.state at k_ConcStateDisplay for as long as it lives.
class ifstDisplayState {
public:
    ifstDisplayState() : saved_(ifstSetupParams.conc.state) {
        ifstSetupParams.conc.state = k_ConcStateDisplay;
    }
    ~ifstDisplayState() { ifstSetupParams.conc.state = saved_; }
    ifstDisplayState(const ifstDisplayState&) = delete;
    ifstDisplayState& operator=(const ifstDisplayState&) = delete;

private:
    U32 saved_;
};

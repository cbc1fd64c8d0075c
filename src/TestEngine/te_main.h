// The test engine: runs the selected tests of the selected groups on every selected card.
//
//   te_main           the run driver: from the command line to the exit status
//   te_main_cards     one card: its groups in table order, and their report
//   te_main_cardtest  what the tests that ask an open card have in common
//   te_main_cmdline   the command line
//   te_main_console   the ways of printing
//   te_main_engine    one step of a group's tests, loops, verdicts
//   te_main_frontend  what the groups' front ends share: words of the command line, usage
//   te_main_params    the run's parameters
//   te_main_records   the records of groups and tests
//   te_main_tests     how a test joins its group
//   te_summary        the report at the end
//
// Single-threaded; verdicts are given on the thread that runs the engine, but for one failure that a
// DMA worker reports while that thread only waits.
#pragma once

#include "TestEngine/te_main_records.h"
#include "ZelTypes.h"

inline constexpr char k_ToolVersion[] = "1.0";

// Verdict on a card.
enum ifstCardStatus : I32 {
    IFST_CARD_NOT_RUN = 0,
    IFST_CARD_ABORTED = 1,
    IFST_CARD_OK = 6,
    IFST_CARD_FAILED = 11
};

// Bits of curTstMode.
inline constexpr U8 k_NoTestSelected = 0x1;

extern U8 curTstMode;
extern U32 curTstGroup;  // index of the running group
extern U32 testIdG;      // printed with each test when not 0

// Runs everything and returns the exit status. argv[0] stands for the program's name, whatever it
// is. Ends the process itself when the run cannot start; throws CommonException for a command line
// that does not parse and for a card that cannot be opened.
int InitUTask(int argc, char** argv, void* tool);

// Runs the selected groups on the open card and returns its status.
ifstCardStatus ifstRunGroupsOnCard();

// Prepares the rows of the group table for a parse: no group is named, no test has run.
void ifstResetGroupRows();

// Parses the words behind the program's name; 0, also after help, or -1 with the reason on standard
// error. Gives the same result each time.
int ifstParseCmdLine(int count, char** words);

// One step of a group's tests; returns 0.
I16 ifstTstGrpEngine0(ifstTstGroup* group);

// The current test's verdict. A test may give several: all count, the last decides. `file` is the
// source's path without extension.
void ifstPassTest();
void ifstFailTest(const char* file, U32 line, const char* reason);

// Arms a test's loop; asks, after a pass of it, whether another follows (not 0).
void ifstResetLpCtlParam(ifstLoopCb* lp);
I16 ifstCheckTstPendingLoop(ifstLoopCb* lp);

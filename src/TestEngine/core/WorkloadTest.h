// What the two tests have in common that run a workload program on the card and judge what it prints.
// A test tells its differences by one constant record.
#pragma once

#include <string>

#include "ZelTypes.h"

struct WorkloadTest {
    const char* name;          // in the run summary
    const char* banner;        // announces the run on standard output
    const char* er1xWorkload;  // for cards of the current generation
    const char* ev1xWorkload;  // for all others
    // A workload that ended well without the pass text: throws the CommonException that says so.
    void (*throwNotPassed)(const std::string& workload);
    // Gives the verdict on a test that an exception ended.
    void (*fail)(const char* reason);
};

// Uploads the workload, runs it and passes the test when its output says so. A CommonException on the
// way is shown, with what was printed so far, and fails the test; but one for a missing ssh or scp,
// without which no card can be tested, is the caller's. Returns k_TestFinished.
I16 RunWorkloadTest(U64 tstSpecCb, const WorkloadTest& test);

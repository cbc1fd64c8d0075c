// What the three tests have in common that read what a card says of its cores.
#pragma once

#include "ZelAccessApi.h"

struct CoreInfoTest {
    const char* name;   // in the run summary
    const char* file;   // source path without extension
    U32 exceptionLine;  // line of the failure when something throws
    void (*body)(HANDLE handle);
};

// Runs the body and returns k_TestFinished. A CommonException, also for a library that is not open,
// fails the test.
I16 RunCoreInfoTest(U64 tstSpecCb, const CoreInfoTest& test);

// What the tests that ask an open card have in common: fetching the handle, naming the test in the
// summary, finishing. A test tells its differences by one constant record.
#pragma once

#include "ZelAccessApi.h"

struct ifstCardTest {
    const char* name;  // in the run summary
    const char* file;  // source path without extension
    U32 noHandleLine;  // line of the failure for a missing handle
    void (*body)(HANDLE handle);
};

// Runs the body and returns k_TestFinished; returns 0, without running it, while the group's control
// block is not valid. Throws CommonException when the card-access library is not open.
I16 ifstRunCardTest(U64 tstSpecCb, const ifstCardTest& test);

// Fails the running test and adds `summary` to the run summary.
void ifstFailAndLog(const char* file, U32 line, const char* reason, const char* summary);

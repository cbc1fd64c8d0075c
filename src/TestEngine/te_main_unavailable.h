// A test whose work this build does not contain: it fails, so that nobody takes it for passed.
#pragma once

#include "TestEngine/te_main.h"
#include "TestEngine/te_main_cardtest.h"
#include "TestEngine/te_summary.h"

inline I16 ifstReportUnavailable(U64 tstSpecCb, const char* name, const char* file) {
    constexpr char kReason[] = "not available in this build";
    TE::SUMMARY_INSTANCE.SetTestName(name);
    ifstFailAndLog(file, 0, kReason, kReason);
    reinterpret_cast<ifstGrpTstCb*>(tstSpecCb)->eventCnt = 0;
    return k_TestFinished;
}

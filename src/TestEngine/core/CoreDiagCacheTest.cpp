// The caches, exercised by a workload on the card.
#include "CommonException.h"
#include "TestEngine/core/CoreDiag.h"
#include "TestEngine/core/WorkloadTest.h"
#include "TestEngine/te_main_cardtest.h"
#include "TestEngine/te_summary.h"

namespace {

// Output without the pass text is two lines in the summary: this one, and the one of every failure.
void ThrowNotPassed(const std::string& workload) {
    TE::SUMMARY_INSTANCE.LogError("Cache workload did not run as expected");
    throw CommonException(workload + "output is not having expected results \n");
}

// "execue" is part of the text, which scripts of operators look for.
void Fail(const char* reason) {
    ifstFailAndLog("TestEngine/core/CoreDiagCacheTest", 64, reason,
                   "Failed to execue the cache workload");
}

}  // namespace

I16 CoreDiag_CoreDiagCacheTest(U64 tstSpecCb) {
    return RunWorkloadTest(tstSpecCb, {"Cache", "Executing Cache tests...", "cache_workload_er1x",
                                       "cache_workload_ev1x", ThrowNotPassed, Fail});
}

constinit const ifstTestRow k_Row_CoreDiag_CoreDiagCacheTest = {
    .description = "Cache test",
    .longNm = "-Cache",
    .shortNm = "-c",
    .brief = "run a cache workload on the card",
    .help =
        "ZelDiag -CoreDiag -Cache\n| or ZelDiag -cd -c\n| Executes cache tests on the device.\n",
};

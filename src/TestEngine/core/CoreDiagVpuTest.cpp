// The vector units, exercised by a workload on the card.
#include "CommonException.h"
#include "TestEngine/core/CoreDiag.h"
#include "TestEngine/core/WorkloadTest.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_summary.h"

namespace {

void ThrowNotPassed(const std::string&) {
    throw CommonException(
        "No errors from card execute, but the expected string not found in the execute output ");
}

// The summary comes first here; the Cache test does it the other way round.
void Fail(const char* reason) {
    TE::SUMMARY_INSTANCE.LogError("VPU workload did not run as expected");
    ifstFailTest("TestEngine/core/CoreDiagVpuTest", 63, reason);
}

}  // namespace

I16 CoreDiag_CoreDiagVpuTest(U64 tstSpecCb) {
    return RunWorkloadTest(tstSpecCb, {"VPU", "Executing VPU tests...", "vpu_workload_er1x",
                                       "vpu_workload_ev1x", ThrowNotPassed, Fail});
}

constinit const ifstTestRow k_Row_CoreDiag_CoreDiagVpuTest = {
    .description = "VPU test",
    .longNm = "-Vpu",
    .shortNm = "-v",
    .brief = "run a vector-unit workload on the card",
    .help = "ZelDiag -CoreDiag -Vpu\n| or ZelDiag -cd -v\n| Executes vpu tests on the device.\n",
};

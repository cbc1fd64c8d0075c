// The VPU test, which this build does not contain.
#include "TestEngine/core/CoreDiag.h"
#include "TestEngine/te_main_unavailable.h"

I16 CoreDiag_CoreDiagVpuTest(U64 tstSpecCb) {
    return ifstReportUnavailable(tstSpecCb, "VPU", "TestEngine/core/CoreDiagVpuTest");
}

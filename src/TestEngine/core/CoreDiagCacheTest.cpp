// The Cache test, which this build does not contain.
#include "TestEngine/core/CoreDiag.h"
#include "TestEngine/te_main_unavailable.h"

I16 CoreDiag_CoreDiagCacheTest(U64 tstSpecCb) {
    return ifstReportUnavailable(tstSpecCb, "Cache", "TestEngine/core/CoreDiagCacheTest");
}

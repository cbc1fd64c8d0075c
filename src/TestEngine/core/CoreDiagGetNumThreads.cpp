// The number of hardware threads: only four a core pass.
#include "CommonTool/Trace.h"
#include "MmioRegisters.h"
#include "TestEngine/core/CoreDiag.h"
#include "TestEngine/core/CoreInfoTest.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_cardtest.h"

namespace {

constexpr char kFile[] = "TestEngine/core/CoreDiagGetNumThreads";
constexpr U32 kThreadMask = 0xF;
constexpr U32 kExpectedThreadsPerCore = 4;

// Threads are enabled from the lowest on; a mask with a gap, or an empty one, is invalid and gives 0.
U32 ThreadsPerCore(U32 mask) {
    switch (mask) {
        case 0x1:
            return 1;
        case 0x3:
            return 2;
        case 0x7:
            return 3;
        case 0xF:
            return 4;
        default:
            return 0;
    }
}

void CheckThreads(HANDLE handle) {
    U32 enabled = 0;
    if (ZelReadMMIOReg(handle, ZEL_MMIO_THREAD_ENABLE, &enabled) != 0) {
        ifstFailAndLog(kFile, 28, "Could not get number of threads.\n",
                       "Could not get number of threads");
        return;
    }
    const U32 threadsPerCore = ThreadsPerCore(enabled & kThreadMask);
    if (threadsPerCore != kExpectedThreadsPerCore) {
        ifstFailAndLog(kFile, 57, "Invalid number of threads found.\n",
                       "Invalid number of threads found");
        return;
    }
    U32 cores = 0;
    if (ZelGetNumCores(handle, &cores) != 0) {
        ifstFailAndLog(kFile, 65, "Could not get number of cores.\n",
                       "Could not get number of cores");
        return;
    }
    ZEL_TRACE(DLVL_DIAG1, "Number of threads per core: %d\n", threadsPerCore);
    ZEL_TRACE(DLVL_DIAG1, "Number of total threads: %d\n", cores * threadsPerCore);
    ifstPassTest();
}

}  // namespace

I16 CoreDiag_CoreDiagGetNumThreads(U64 tstSpecCb) {
    return RunCoreInfoTest(tstSpecCb, {"Threads", kFile, 77, CheckThreads});
}

constinit const ifstTestRow k_Row_CoreDiag_CoreDiagGetNumThreads = {
    .description = "Get number of threads",
    .longNm = "-GetNumThreads",
    .shortNm = "-gnt",
    .brief = "four threads are enabled on every core",
    .help =
        "ZelDiag -CoreDiag -GetNumThreads\n| or ZelDiag -cd -gec\n| Gets the number of threads.\n",
};

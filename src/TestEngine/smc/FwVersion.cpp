// The SMC's firmware version: shown, not judged.
#include "CommonTool/Trace.h"
#include "TestEngine/smc/Smc.h"
#include "TestEngine/smc/SmcSupport.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_cardtest.h"

namespace {

constexpr char kFile[] = "TestEngine/smc/FwVersion";

void ShowFwVersion(HANDLE handle) {
    if (!SmcSupported())
        return;
    ZEL_SMCFwRevType rev{};
    if (ZelGetSMCFWVersion(handle, &rev) != 0) {
        ZEL_TRACE(DLVL_ERROR, "Failed to get SMC FW Version");
        ifstFailAndLog(kFile, 45, "", "Failed to get the SMC FW Version");
        return;
    }
    ifstPassTest();
    ZEL_TRACE(DLVL_TOOLS, "SMC firmware version: %d.%d.%d\n", rev.revbits.major, rev.revbits.minor,
              rev.revbits.buildno);
}

}  // namespace

I16 Smc_FwVersion(U64 tstSpecCb) {
    return ifstRunCardTest(tstSpecCb, {"FwVersion", kFile, 33, ShowFwVersion});
}

constinit const ifstTestRow k_Row_Smc_FwVersion = {
    .description = "SMC get firmware version",
    .longNm = "-fwversion",
    .shortNm = "-fwv",
    .brief = "show the firmware version",
};

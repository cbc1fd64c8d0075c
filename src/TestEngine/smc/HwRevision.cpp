// The SMC's hardware revision word: decoded and shown, not judged.
#include "TestEngine/smc/HwRevision.h"

#include "CommonTool/Trace.h"
#include "TestEngine/smc/Smc.h"
#include "TestEngine/smc/SmcSupport.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_cardtest.h"
#include "TestEngine/te_summary.h"

namespace {

constexpr char kFile[] = "TestEngine/smc/HwRevision";

constexpr const char* kBoardTypes[] = {"MPI", "CRB", "DFF", "Product"};
constexpr U32 kBoardTypeDff = 2;

const char* PowerConfig(ZEL_SMCHwBits bits) {
    if (bits.power == 0)
        return "300W";
    return bits.board_type == kBoardTypeDff ? "245W" : "225W";
}

// The summary line is traced too, and comes before the verdict.
void Fail(U32 line, const char* message) {
    ZEL_TRACE(DLVL_ERROR, "%s", message);
    TE::SUMMARY_INSTANCE.LogError(message);
    ifstFailTest(kFile, line, "");
}

void ShowHwRevision(HANDLE handle) {
    if (!SmcSupported())
        return;
    ZEL_SMCHwRevType rev{};
    if (ZelGetSMCHWRevision(handle, &rev) != 0) {
        // The firmware test's message: operators' scripts look for one text in both.
        Fail(128, "Failed to get SMC FW Version");
        return;
    }
    if (printHWRevInfo(rev) != 0) {
        Fail(121, "Invalid SMC FW Version");
        return;
    }
    ifstPassTest();
}

}  // namespace

int printHWRevInfo(ZEL_SMCHwRevType revision) {
    const ZEL_SMCHwBits bits = revision.revbits;
    ZEL_TRACE(DLVL_TOOLS, "Board Type   : %s\n", kBoardTypes[bits.board_type]);
    ZEL_TRACE(DLVL_TOOLS, "FAB Version  : FAB %c\n", static_cast<char>('A' + bits.fab_version));
    ZEL_TRACE(DLVL_TOOLS, "Power Config : %s\n", PowerConfig(bits));
    ZEL_TRACE(DLVL_TOOLS, "Heat Sink    : %s\n", bits.hsink_type == 1 ? "Passive" : "Active");
    ZEL_TRACE(DLVL_TOOLS, "Mem Config   : %s\n", bits.mem_cfg == 1 ? "Clamshell" : "Non-Clamshell");
    return 0;
}

I16 Smc_HwRevision(U64 tstSpecCb) {
    return ifstRunCardTest(tstSpecCb, {"HwRevision", kFile, 106, ShowHwRevision});
}

constinit const ifstTestRow k_Row_Smc_HwRevision = {
    .description = "SMC get hardware revision",
    .longNm = "-hwrevision",
    .shortNm = "-hwr",
    .brief = "show the hardware revision",
};

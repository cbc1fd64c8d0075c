// Whether the card's PCIe link trained to all sixteen lanes.
#include "CommonTool/Trace.h"
#include "TestEngine/PCIExpress/PCIExpress.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_cardtest.h"

namespace {

constexpr char kFile[] = "TestEngine/PCIExpress/PCIExpressverifyLinkWidth";

void VerifyLinkWidth(HANDLE handle) {
    U32 width = LINK_WIDTH_16;
    if (ZelGetPcieLinkWidth(handle, &width) != 0) {
        ifstFailAndLog(kFile, 58, "FAILED TO READ CURRENT ZEL LINK Width ",
                       "Failed to read link width");
        return;
    }
    if (width != LINK_WIDTH_16) {
        ZEL_TRACE(DLVL_DIAG1, "FAILED: Link trained down to %u Lanes \n", width);
        ifstFailAndLog(kFile, 52, "FAILED: Link trained down", "Link trained down");
        return;
    }
    ZEL_TRACE(DLVL_DIAG1, "Current Link Width = %u\n", width);
    ifstPassTest();
}

}  // namespace

I16 PCIExpress_PCIExpressverifyLinkWidth(U64 tstSpecCb) {
    return ifstRunCardTest(tstSpecCb, {"LinkWidth", kFile, 33, VerifyLinkWidth});
}

constinit const ifstTestRow k_Row_PCIExpress_PCIExpressverifyLinkWidth = {
    .description = "Verify Link Width",
    .longNm = "-verifyLinkWidth",
    .shortNm = "-vlw",
    .brief = "the link trained to 16 lanes",
};

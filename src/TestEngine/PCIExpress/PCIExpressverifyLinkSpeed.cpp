// Whether the card's PCIe link trained to 5 GT/s.
#include <unistd.h>

#include "CommonTool/Trace.h"
#include "TestEngine/PCIExpress/PCIExpress.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_cardtest.h"

namespace {

constexpr char kFile[] = "TestEngine/PCIExpress/PCIExpressverifyLinkSpeed";
constexpr unsigned int kLinkSettleSeconds = 5;

void VerifyLinkSpeed(HANDLE handle) {
    sleep(kLinkSettleSeconds);
    U32 speed = LINK_SPEED_2_5;
    if (ZelGetPcieLinkSpeed(handle, &speed) != 0) {
        ifstFailAndLog(kFile, 65, "FAILED TO READ ZEL LINK SPEED ", "Failed to read link speed");
        return;
    }
    switch (speed) {
        case LINK_SPEED_5:
            ZEL_TRACE(DLVL_DIAG1, "Current Link Speed = 5 GT/s\n");
            ifstPassTest();
            break;
        case LINK_SPEED_2_5:
            ifstFailAndLog(kFile, 49, "Expected Link speed= 5 GT/s but found 2.5 GT/s",
                           "Expected 5 GT/s but found 2.5 GT/s");
            break;
        default:
            ifstFailAndLog(kFile, 59, "FAILED: Invalid Link Speed found",
                           "Invalid Link Speed found");
            break;
    }
}

}  // namespace

I16 PCIExpress_PCIExpressverifyLinkSpeed(U64 tstSpecCb) {
    return ifstRunCardTest(tstSpecCb, {"LinkSpeed", kFile, 33, VerifyLinkSpeed});
}

constinit const ifstTestRow k_Row_PCIExpress_PCIExpressverifyLinkSpeed = {
    .description = "Verify PCIe Gen 2 Link Speed",
    .longNm = "-verifyLinkSpeed",
    .shortNm = "-vls",
    .brief = "the link trained to 5 GT/s",
};

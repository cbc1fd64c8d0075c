// Whether the card's POST code says that it came up.
#include <initializer_list>

#include "CommonTool/Trace.h"
#include "SI/cm_stub0.h"
#include "TestEngine/PCIExpress/PCIExpress.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_cardtest.h"

namespace {

constexpr char kFile[] = "TestEngine/PCIExpress/PCIExpressverifyBootstrap";
constexpr int kPostCodeBytes = 16;

bool CameUp(const char* code) {
    for (const char* good : {"11", "12", "FF"}) {
        if (cmStringCmp(code, good) == 0)
            return true;
    }
    return false;
}

void VerifyBootstrap(HANDLE handle) {
    char code[kPostCodeBytes + 1] = {};
    if (ZelGetPostCode(handle, code) != 0) {
        ifstFailAndLog(kFile, 65, "FAILED TO READ Bootstrap status register ",
                       "Failed to read Bootstrap status register");
        return;
    }
    if (!CameUp(code)) {
        ZEL_TRACE(DLVL_DIAG1, "FAILED:   Bootstrap failed to init with error code %s \n", code);
        ifstFailAndLog(kFile, 59, "FAILED:  Bootstrap failed to Initialize at power on",
                       "Bootstrap failed to Initialize at power on");
        return;
    }
    ZEL_TRACE(DLVL_DIAG1, "Status code = %s\n", code);
    ifstPassTest();
}

}  // namespace

I16 PCIExpress_PCIExpressverifyBootstrap(U64 tstSpecCb) {
    return ifstRunCardTest(tstSpecCb, {"Bootstrap", kFile, 33, VerifyBootstrap});
}

constinit const ifstTestRow k_Row_PCIExpress_PCIExpressverifyBootstrap = {
    .description = "Verify Coprocessor Bootstrap status",
    .longNm = "-verifyBootStrap",
    .shortNm = "-vbs",
    .brief = "the POST code is that of a card that booted",
};

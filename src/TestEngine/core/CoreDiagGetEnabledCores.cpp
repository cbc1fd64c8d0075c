// The number of enabled cores: shown, and any number passes.
#include <iostream>

#include "TestEngine/core/CoreDiag.h"
#include "TestEngine/core/CoreInfoTest.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_cardtest.h"

namespace {

constexpr char kFile[] = "TestEngine/core/CoreDiagGetEnabledCores";

void ShowEnabledCores(HANDLE handle) {
    U32 count = 0;
    if (ZelGetNumCores(handle, &count) != 0) {
        ifstFailAndLog(kFile, 26, "Could not get number of cores.\n",
                       "Could not get number of cores");
        return;
    }
    std::cout << "Number of cores found: " << count << std::endl;
    ifstPassTest();
}

}  // namespace

I16 CoreDiag_CoreDiagGetEnabledCores(U64 tstSpecCb) {
    return RunCoreInfoTest(tstSpecCb, {"Cores", kFile, 37, ShowEnabledCores});
}

constinit const ifstTestRow k_Row_CoreDiag_CoreDiagGetEnabledCores = {
    .description = "Get list of enabled cores",
    .longNm = "-GetEnabledCores",
    .shortNm = "-gec",
    .brief = "show the number of cores",
    .help =
        "ZelDiag -CoreDiag -GetEnabledCores\n| or ZelDiag -cd -gec\n| Gets the list of current "
        "enabled cores.\n",
};

// The Core test group's front end.
#include "TestEngine/core/CoreDiag.h"

#include <iterator>

CoreDiagCb m_CoreDiagCb;

namespace {
ifstGroupParseState parseState;
}

#define IFST_TEST IFST_PLACE_TEST
ifstTstCb CoreDiagTests[] = {
#include "TestEngine/core/CoreDiagTests.def"
};

const ifstGroupFrontEnd k_CoreDiagFrontEnd = {
    .summaryName = "CoreDiag",
    .tests = CoreDiagTests,
    .numTests = std::size(CoreDiagTests),
    .gen = &m_CoreDiagCb.gen,
    .debugLevel = &m_CoreDiagCb.CoreDiagDbgLvl,
    .fileName = m_CoreDiagCb.fileName,
    .parseState = &parseState,
    .notNormalText =
        "The Coprocessor is not in normal mode, set it to Normal mode to run this test ",
    .usage = CoreDiagUsage,
};

void CoreDiagUsage() {
    ifstPrintUsage(k_CoreDiagFrontEnd, "Coprocessor Diagnostics\n\n", "Test Group: Core\n",
                   nullptr);
}

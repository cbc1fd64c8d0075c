// The SMC test group's front end.
#include "TestEngine/smc/Smc.h"

#include <iterator>

SmcCb m_SmcCb;

namespace {
ifstGroupParseState parseState;
}

#define IFST_TEST IFST_PLACE_TEST
ifstTstCb SmcTests[] = {
#include "TestEngine/smc/SmcTests.def"
};

const ifstGroupFrontEnd k_SmcFrontEnd = {
    .summaryName = "SmcDiag",
    .tests = SmcTests,
    .numTests = std::size(SmcTests),
    .gen = &m_SmcCb.gen,
    .debugLevel = &m_SmcCb.SmcDbgLvl,
    .fileName = m_SmcCb.fileName,
    .parseState = &parseState,
    .notNormalText = " Coprocessor is not in normal mode, set it to Normal mode to run this test",
    .cfgName = "Smc_TGCfg",
    .usage = SmcUsage,
};

void SmcUsage() {
    ifstPrintUsage(
        k_SmcFrontEnd, "Coprocessor Diagnostics\n\n", "Test Group: SMC\n",
        "Note: This test group is only available on Ostrel(R) Vimbra(TM) Coprocessors.\n\n");
}

// The SMC test group's front end.
#include "TestEngine/smc/Smc.h"

#include "SI/cm_stub0.h"

SmcCb m_SmcCb;

namespace {
ifstGroupParseState parseState;
}

const ifstGroupFrontEnd k_SmcFrontEnd = {
    .summaryName = "SmcDiag",
    .tests = SmcTests,
    .numTests = k_SmcTestCount,
    .gen = &m_SmcCb.gen,
    .debugLevel = &m_SmcCb.SmcDbgLvl,
    .fileName = m_SmcCb.fileName,
    .parseState = &parseState,
    .compareTestName = cmStringCmp,
    .takeAll = nullptr,
    .takeOption = nullptr,
    .resetOptions = nullptr,
    .notNormalText = " Coprocessor is not in normal mode, set it to Normal mode to run this test",
    .cfgName = "Smc_TGCfg",
    .usage = SmcUsage,
};

I16 Smc_TGParse(ifstTstGroup* group, char* word) {
    return ifstParseGroupWord(k_SmcFrontEnd, group, word);
}

int Smc_ParseTestParam(ifstTstGroup* group, char* word) {
    return ifstParseTestParam(k_SmcFrontEnd, group, word);
}

I16 Smc_TGInit(ifstTstGroup* group) {
    return ifstInitGroup(k_SmcFrontEnd, group);
}

I16 Smc_TGCfg(ifstTstGroup* group) {
    return ifstConfigureForNormalMode(k_SmcFrontEnd, group);
}

I16 Smc_TGClean(ifstTstGroup* group) {
    return ifstCleanGroup(group);
}

void SmcUsage() {
    ifstPrintUsage(
        k_SmcFrontEnd, "Coprocessor Diagnostics\n\n", "Test Group: SMC\n",
        "Note: This test group is only available on Ostrel(R) Vimbra(TM) Coprocessors.\n\n");
}

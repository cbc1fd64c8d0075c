// The Core test group's front end.
#include "TestEngine/core/CoreDiag.h"

#include "SI/cm_stub0.h"

CoreDiagCb m_CoreDiagCb;

namespace {
ifstGroupParseState parseState;
}

const ifstGroupFrontEnd k_CoreDiagFrontEnd = {
    .summaryName = "CoreDiag",
    .tests = CoreDiagTests,
    .numTests = k_CoreDiagTestCount,
    .gen = &m_CoreDiagCb.gen,
    .debugLevel = &m_CoreDiagCb.CoreDiagDbgLvl,
    .fileName = m_CoreDiagCb.fileName,
    .parseState = &parseState,
    .compareTestName = cmStringCmp,
    .takeAll = nullptr,
    .takeOption = nullptr,
    .resetOptions = nullptr,
    .notNormalText =
        "The Coprocessor is not in normal mode, set it to Normal mode to run this test ",
    .cfgName = nullptr,
    .usage = CoreDiagUsage,
};

I16 CoreDiag_TGParse(ifstTstGroup* group, char* word) {
    return ifstParseGroupWord(k_CoreDiagFrontEnd, group, word);
}

int CoreDiag_ParseTestParam(ifstTstGroup* group, char* word) {
    return ifstParseTestParam(k_CoreDiagFrontEnd, group, word);
}

I16 CoreDiag_TGInit(ifstTstGroup* group) {
    return ifstInitGroup(k_CoreDiagFrontEnd, group);
}

I16 CoreDiag_TGCfg(ifstTstGroup* group) {
    return ifstConfigureForNormalMode(k_CoreDiagFrontEnd, group);
}

I16 CoreDiag_TGClean(ifstTstGroup* group) {
    return ifstCleanGroup(group);
}

void CoreDiagUsage() {
    ifstPrintUsage(k_CoreDiagFrontEnd, "Coprocessor Diagnostics\n\n", "Test Group: Core\n",
                   nullptr);
}

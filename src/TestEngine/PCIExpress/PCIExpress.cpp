// The PCIe test group's front end.
#include "TestEngine/PCIExpress/PCIExpress.h"

#include "SI/cm_stub0.h"

PCIExpressCb m_PCIExpressCb;

namespace {
ifstGroupParseState parseState;
}

const ifstGroupFrontEnd k_PCIExpressFrontEnd = {
    .summaryName = "PcieDiag",
    .tests = PCIExpressTests,
    .numTests = k_PCIExpressTestCount,
    .gen = &m_PCIExpressCb.gen,
    .debugLevel = &m_PCIExpressCb.PCIExpressDbgLvl,
    .fileName = m_PCIExpressCb.fileName,
    .parseState = &parseState,
    .compareTestName = cmStringCmp,
    .takeAll = nullptr,
    .takeOption = nullptr,
    .resetOptions = nullptr,
    .notNormalText =
        "The Coprocessor is not in normal mode, set it to Normal mode to run this test",
    .cfgName = "PCIExpress_TGCfg",
    .usage = PCIExpressUsage,
};

I16 PCIExpress_TGParse(ifstTstGroup* group, char* word) {
    return ifstParseGroupWord(k_PCIExpressFrontEnd, group, word);
}

int PCIExpress_ParseTestParam(ifstTstGroup* group, char* word) {
    return ifstParseTestParam(k_PCIExpressFrontEnd, group, word);
}

I16 PCIExpress_TGInit(ifstTstGroup* group) {
    return ifstInitGroup(k_PCIExpressFrontEnd, group);
}

I16 PCIExpress_TGCfg(ifstTstGroup* group) {
    return ifstConfigureForNormalMode(k_PCIExpressFrontEnd, group);
}

I16 PCIExpress_TGClean(ifstTstGroup* group) {
    return ifstCleanGroup(group);
}

void PCIExpressUsage() {
    ifstPrintUsage(k_PCIExpressFrontEnd, "Coprocessor Diagnostics\n\n", "Test Group: PCIe\n",
                   nullptr);
}

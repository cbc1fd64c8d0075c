// The DMA test group's front end.
#include "TestEngine/dma/Dma.h"

#include "SI/cm_stub0.h"

DmaCb m_DmaCb;

namespace {
ifstGroupParseState parseState;
}

const ifstGroupFrontEnd k_DmaFrontEnd = {
    .summaryName = "DmaDiag",
    .tests = DmaTests,
    .numTests = k_DmaTestCount,
    .gen = &m_DmaCb.gen,
    .debugLevel = &m_DmaCb.DmaDbgLvl,
    .fileName = m_DmaCb.fileName,
    .parseState = &parseState,
    .compareTestName = cmStringCmp,
    .takeAll = nullptr,
    .takeOption = nullptr,
    .resetOptions = nullptr,
    .notNormalText =
        "The Coprocessor is not in normal mode, set it to Normal mode to run this test",
    .cfgName = "Dma_TGCfg",
    .usage = DmaUsage,
};

I16 Dma_TGParse(ifstTstGroup* group, char* word) {
    return ifstParseGroupWord(k_DmaFrontEnd, group, word);
}

int Dma_ParseTestParam(ifstTstGroup* group, char* word) {
    return ifstParseTestParam(k_DmaFrontEnd, group, word);
}

I16 Dma_TGInit(ifstTstGroup* group) {
    return ifstInitGroup(k_DmaFrontEnd, group);
}

I16 Dma_TGCfg(ifstTstGroup* group) {
    return ifstConfigureForNormalMode(k_DmaFrontEnd, group);
}

I16 Dma_TGClean(ifstTstGroup* group) {
    return ifstCleanGroup(group);
}

void DmaUsage() {
    ifstPrintUsage(k_DmaFrontEnd, "ZelDiagnostics\n\n", "Test Group: Dma\n", nullptr);
}

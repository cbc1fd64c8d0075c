// The DMA test group's front end.
#include "TestEngine/dma/Dma.h"

#include <iterator>

DmaCb m_DmaCb;

namespace {
ifstGroupParseState parseState;
}

#define IFST_TEST IFST_PLACE_TEST
ifstTstCb DmaTests[] = {
#include "TestEngine/dma/DmaTests.def"
};

const ifstGroupFrontEnd k_DmaFrontEnd = {
    .summaryName = "DmaDiag",
    .tests = DmaTests,
    .numTests = std::size(DmaTests),
    .gen = &m_DmaCb.gen,
    .debugLevel = &m_DmaCb.DmaDbgLvl,
    .fileName = m_DmaCb.fileName,
    .parseState = &parseState,
    .notNormalText =
        "The Coprocessor is not in normal mode, set it to Normal mode to run this test",
    .cfgName = "Dma_TGCfg",
    .usage = DmaUsage,
};

void DmaUsage() {
    ifstPrintUsage(k_DmaFrontEnd, "ZelDiagnostics\n\n", "Test Group: Dma\n", nullptr);
}

// The PCIe test group's front end.
#include "TestEngine/PCIExpress/PCIExpress.h"

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
    .notNormalText =
        "The Coprocessor is not in normal mode, set it to Normal mode to run this test",
    .cfgName = "PCIExpress_TGCfg",
    .usage = PCIExpressUsage,
};

void PCIExpressUsage() {
    ifstPrintUsage(k_PCIExpressFrontEnd, "Coprocessor Diagnostics\n\n", "Test Group: PCIe\n",
                   nullptr);
}

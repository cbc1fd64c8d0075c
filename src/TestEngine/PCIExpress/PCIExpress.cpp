// The PCIe test group's front end.
#include "TestEngine/PCIExpress/PCIExpress.h"

#include <iterator>

PCIExpressCb m_PCIExpressCb;

namespace {
ifstGroupParseState parseState;
}

#define IFST_TEST IFST_PLACE_TEST
ifstTstCb PCIExpressTests[] = {
#include "TestEngine/PCIExpress/PCIExpressTests.def"
};

const ifstGroupFrontEnd k_PCIExpressFrontEnd = {
    .summaryName = "PcieDiag",
    .tests = PCIExpressTests,
    .numTests = std::size(PCIExpressTests),
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

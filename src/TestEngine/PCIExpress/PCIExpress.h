// The PCIe test group: its control block, its front end and its tests.
#pragma once

#include "TestEngine/te_main_frontend.h"
#include "TestEngine/te_main_records.h"
#include "TestEngine/te_main_tests.h"

struct PCIExpressCb {
    ifstGrpTstCb gen;
    U32 PCIExpressDbgLvl;
    S8t fileName[k_GroupFileNameSize];
};

extern PCIExpressCb m_PCIExpressCb;
extern const ifstGroupFrontEnd k_PCIExpressFrontEnd;

#define IFST_TEST IFST_DECLARE_TEST
#include "TestEngine/PCIExpress/PCIExpressTests.def"
extern ifstTstCb PCIExpressTests[];

inline constexpr auto PCIExpress_TGParse = ifstGroupFunctions<k_PCIExpressFrontEnd>::Parse;
inline constexpr auto PCIExpress_ParseTestParam =
    ifstGroupFunctions<k_PCIExpressFrontEnd>::ParseTestParam;
inline constexpr auto PCIExpress_TGInit = ifstGroupFunctions<k_PCIExpressFrontEnd>::Init;
inline constexpr auto PCIExpress_TGCfg = ifstGroupFunctions<k_PCIExpressFrontEnd>::CfgForNormalMode;
inline constexpr auto PCIExpress_TGClean = ifstCleanGroup;
void PCIExpressUsage();

// Reads every SBOX register in table order. 0 when at most half of them differ from their values after
// power-on; 1 when more do, or at once when a read fails.
unsigned int CheckSboxDefaultValues(HANDLE handle);

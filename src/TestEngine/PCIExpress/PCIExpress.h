// The PCIe test group: its control block, its front end and its tests.
#pragma once

#include "TestEngine/te_main_frontend.h"
#include "TestEngine/te_main_records.h"

struct PCIExpressCb {
    ifstGrpTstCb gen;
    U32 PCIExpressDbgLvl;
    S8t fileName[k_GroupFileNameSize];
};

extern PCIExpressCb m_PCIExpressCb;
extern const ifstGroupFrontEnd k_PCIExpressFrontEnd;

inline constexpr U16 k_PCIExpressTestCount = 6;
extern ifstTstCb PCIExpressTests[k_PCIExpressTestCount];

inline constexpr auto PCIExpress_TGParse = ifstGroupFunctions<k_PCIExpressFrontEnd>::Parse;
inline constexpr auto PCIExpress_ParseTestParam =
    ifstGroupFunctions<k_PCIExpressFrontEnd>::ParseTestParam;
inline constexpr auto PCIExpress_TGInit = ifstGroupFunctions<k_PCIExpressFrontEnd>::Init;
inline constexpr auto PCIExpress_TGCfg = ifstGroupFunctions<k_PCIExpressFrontEnd>::CfgForNormalMode;
inline constexpr auto PCIExpress_TGClean = ifstCleanGroup;
void PCIExpressUsage();

// Each test takes the address of the control block and returns k_TestFinished when it has finished.
I16 PCIExpress_PCIExpressverifyLinkSpeed(U64 tstSpecCb);
I16 PCIExpress_PCIExpressverifyLinkWidth(U64 tstSpecCb);
I16 PCIExpress_PCIExpressverifyDeviceId(U64 tstSpecCb);
I16 PCIExpress_vRevSubSystemID(U64 tstSpecCb);
I16 PCIExpress_PCIExpressverifyBootstrap(U64 tstSpecCb);
I16 PCIExpress_PCIExpressSBOXDefaultValues(U64 tstSpecCb);

// Reads every SBOX register in table order. 0 when at most half of them differ from their values after
// power-on; 1 when more do, or at once when a read fails.
unsigned int CheckSboxDefaultValues(HANDLE handle);

// What the engine calls each test through.
I16 Marshal_PCIExpress_PCIExpressverifyLinkSpeed(ActualArg* list);
I16 Marshal_PCIExpress_PCIExpressverifyLinkWidth(ActualArg* list);
I16 Marshal_PCIExpress_PCIExpressverifyDeviceId(ActualArg* list);
I16 Marshal_PCIExpress_vRevSubSystemID(ActualArg* list);
I16 Marshal_PCIExpress_PCIExpressverifyBootstrap(ActualArg* list);
I16 Marshal_PCIExpress_PCIExpressSBOXDefaultValues(ActualArg* list);

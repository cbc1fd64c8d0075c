// The SMC test group: its control block, its front end and its tests.
#pragma once

#include "TestEngine/te_main_frontend.h"
#include "TestEngine/te_main_records.h"

struct SmcCb {
    ifstGrpTstCb gen;
    U32 SmcDbgLvl;
    S8t fileName[k_GroupFileNameSize];
};

extern SmcCb m_SmcCb;
extern const ifstGroupFrontEnd k_SmcFrontEnd;

inline constexpr U16 k_SmcTestCount = 3;
extern ifstTstCb SmcTests[k_SmcTestCount];

inline constexpr auto Smc_TGParse = ifstGroupFunctions<k_SmcFrontEnd>::Parse;
inline constexpr auto Smc_ParseTestParam = ifstGroupFunctions<k_SmcFrontEnd>::ParseTestParam;
inline constexpr auto Smc_TGInit = ifstGroupFunctions<k_SmcFrontEnd>::Init;
inline constexpr auto Smc_TGCfg = ifstGroupFunctions<k_SmcFrontEnd>::CfgForNormalMode;
inline constexpr auto Smc_TGClean = ifstCleanGroup;
void SmcUsage();

// Each test takes the address of the control block and returns k_TestFinished when it has finished.
I16 Smc_FwVersion(U64 tstSpecCb);
I16 Smc_HwRevision(U64 tstSpecCb);
I16 Smc_Uuid(U64 tstSpecCb);

// What the engine calls each test through.
I16 Marshal_Smc_FwVersion(ActualArg* list);
I16 Marshal_Smc_HwRevision(ActualArg* list);
I16 Marshal_Smc_Uuid(ActualArg* list);

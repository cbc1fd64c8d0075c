// The SMC test group: its control block, its front end and its tests.
#pragma once

#include "TestEngine/te_main_frontend.h"
#include "TestEngine/te_main_records.h"
#include "TestEngine/te_main_tests.h"

struct SmcCb {
    ifstGrpTstCb gen;
    U32 SmcDbgLvl;
    S8t fileName[k_GroupFileNameSize];
};

extern SmcCb m_SmcCb;
extern const ifstGroupFrontEnd k_SmcFrontEnd;

#define IFST_TEST IFST_DECLARE_TEST
#include "TestEngine/smc/SmcTests.def"
extern ifstTstCb SmcTests[];

inline constexpr auto Smc_TGParse = ifstGroupFunctions<k_SmcFrontEnd>::Parse;
inline constexpr auto Smc_ParseTestParam = ifstGroupFunctions<k_SmcFrontEnd>::ParseTestParam;
inline constexpr auto Smc_TGInit = ifstGroupFunctions<k_SmcFrontEnd>::Init;
inline constexpr auto Smc_TGCfg = ifstGroupFunctions<k_SmcFrontEnd>::CfgForNormalMode;
inline constexpr auto Smc_TGClean = ifstCleanGroup;
void SmcUsage();

// The Core test group: its control block, its front end and its tests.
#pragma once

#include "TestEngine/te_main_frontend.h"
#include "TestEngine/te_main_records.h"
#include "TestEngine/te_main_tests.h"

struct CoreDiagCb {
    ifstGrpTstCb gen;
    U32 CoreDiagDbgLvl;
    S8t fileName[k_GroupFileNameSize];
};

extern CoreDiagCb m_CoreDiagCb;
extern const ifstGroupFrontEnd k_CoreDiagFrontEnd;

#define IFST_TEST IFST_DECLARE_TEST
#include "TestEngine/core/CoreDiagTests.def"
extern ifstTstCb CoreDiagTests[];

inline constexpr auto CoreDiag_TGParse = ifstGroupFunctions<k_CoreDiagFrontEnd>::Parse;
inline constexpr auto CoreDiag_ParseTestParam =
    ifstGroupFunctions<k_CoreDiagFrontEnd>::ParseTestParam;
inline constexpr auto CoreDiag_TGInit = ifstGroupFunctions<k_CoreDiagFrontEnd>::Init;
inline constexpr auto CoreDiag_TGCfg = ifstGroupFunctions<k_CoreDiagFrontEnd>::CfgForNormalMode;
inline constexpr auto CoreDiag_TGClean = ifstCleanGroup;
void CoreDiagUsage();

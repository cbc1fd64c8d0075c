// The Core test group: its control block, its front end and its tests.
#pragma once

#include "TestEngine/te_main_frontend.h"
#include "TestEngine/te_main_records.h"

struct CoreDiagCb {
    ifstGrpTstCb gen;
    U32 CoreDiagDbgLvl;
    S8t fileName[k_GroupFileNameSize];
};

extern CoreDiagCb m_CoreDiagCb;
extern const ifstGroupFrontEnd k_CoreDiagFrontEnd;

inline constexpr U16 k_CoreDiagTestCount = 5;
extern ifstTstCb CoreDiagTests[k_CoreDiagTestCount];

inline constexpr auto CoreDiag_TGParse = ifstGroupFunctions<k_CoreDiagFrontEnd>::Parse;
inline constexpr auto CoreDiag_ParseTestParam =
    ifstGroupFunctions<k_CoreDiagFrontEnd>::ParseTestParam;
inline constexpr auto CoreDiag_TGInit = ifstGroupFunctions<k_CoreDiagFrontEnd>::Init;
inline constexpr auto CoreDiag_TGCfg = ifstGroupFunctions<k_CoreDiagFrontEnd>::CfgForNormalMode;
inline constexpr auto CoreDiag_TGClean = ifstCleanGroup;
void CoreDiagUsage();

// Each test takes the address of the control block and returns k_TestFinished when it has finished.
I16 CoreDiag_CoreDiagGetEnabledCores(U64 tstSpecCb);
I16 CoreDiag_CoreDiagGetNumThreads(U64 tstSpecCb);
I16 CoreDiag_CoreDiagGetCPUID(U64 tstSpecCb);
I16 CoreDiag_CoreDiagCacheTest(U64 tstSpecCb);
I16 CoreDiag_CoreDiagVpuTest(U64 tstSpecCb);

// What the engine calls each test through.
I16 Marshal_CoreDiag_CoreDiagGetEnabledCores(ActualArg* list);
I16 Marshal_CoreDiag_CoreDiagGetNumThreads(ActualArg* list);
I16 Marshal_CoreDiag_CoreDiagGetCPUID(ActualArg* list);
I16 Marshal_CoreDiag_CoreDiagCacheTest(ActualArg* list);
I16 Marshal_CoreDiag_CoreDiagVpuTest(ActualArg* list);

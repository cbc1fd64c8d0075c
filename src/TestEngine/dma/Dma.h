// The DMA test group: its control block, its front end and its tests.
#pragma once

#include "TestEngine/te_main_frontend.h"
#include "TestEngine/te_main_records.h"
#include "TestEngine/te_main_tests.h"

struct DmaCb {
    ifstGrpTstCb gen;
    U32 DmaDbgLvl;
    S8t fileName[k_GroupFileNameSize];
};

extern DmaCb m_DmaCb;
extern const ifstGroupFrontEnd k_DmaFrontEnd;

#define IFST_TEST IFST_DECLARE_TEST
#include "TestEngine/dma/DmaTests.def"
extern ifstTstCb DmaTests[];

inline constexpr auto Dma_TGParse = ifstGroupFunctions<k_DmaFrontEnd>::Parse;
inline constexpr auto Dma_ParseTestParam = ifstGroupFunctions<k_DmaFrontEnd>::ParseTestParam;
inline constexpr auto Dma_TGInit = ifstGroupFunctions<k_DmaFrontEnd>::Init;
inline constexpr auto Dma_TGCfg = ifstGroupFunctions<k_DmaFrontEnd>::CfgForNormalMode;
inline constexpr auto Dma_TGClean = ifstCleanGroup;
void DmaUsage();

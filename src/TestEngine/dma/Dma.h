// The DMA test group: its control block, its front end and its tests.
#pragma once

#include "TestEngine/te_main_frontend.h"
#include "TestEngine/te_main_records.h"

struct DmaCb {
    ifstGrpTstCb gen;
    U32 DmaDbgLvl;
    S8t fileName[k_GroupFileNameSize];
};

extern DmaCb m_DmaCb;
extern const ifstGroupFrontEnd k_DmaFrontEnd;

inline constexpr U16 k_DmaTestCount = 2;
extern ifstTstCb DmaTests[k_DmaTestCount];

inline constexpr auto Dma_TGParse = ifstGroupFunctions<k_DmaFrontEnd>::Parse;
inline constexpr auto Dma_ParseTestParam = ifstGroupFunctions<k_DmaFrontEnd>::ParseTestParam;
inline constexpr auto Dma_TGInit = ifstGroupFunctions<k_DmaFrontEnd>::Init;
inline constexpr auto Dma_TGCfg = ifstGroupFunctions<k_DmaFrontEnd>::CfgForNormalMode;
inline constexpr auto Dma_TGClean = ifstCleanGroup;
void DmaUsage();

// Each test takes the address of the control block and returns k_TestFinished when it has finished.
I16 Dma_DmaHostToZel(U64 tstSpecCb);
I16 Dma_DmaZelToHost(U64 tstSpecCb);

// What the engine calls each test through.
I16 Marshal_Dma_DmaHostToZel(ActualArg* list);
I16 Marshal_Dma_DmaZelToHost(ActualArg* list);

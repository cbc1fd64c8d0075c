// The table of test groups.
#include "TestEngine/TestGroups.h"

#include "TestEngine/PCIExpress/PCIExpress.h"
#include "TestEngine/core/CoreDiag.h"
#include "TestEngine/dma/Dma.h"
#include "TestEngine/memory/memory.h"
#include "TestEngine/smc/Smc.h"
#include "TestEngine/te_main.h"

const U32 ifstNumTstGroups = IFST_NUM_TESTGROUPS;

// What a row does not name starts at zero; init fills the group's tests and control block.
ifstTstGroup ifstTstGrps[IFST_NUM_TESTGROUPS] = {
    {.name = "PCIE Diagnostics",
     .longNm = "-PcieDiag",
     .shortNm = "-pcie",
     .init = PCIExpress_TGInit,
     .cfg = PCIExpress_TGCfg,
     .engine = ifstTstGrpEngine0,
     .clean = PCIExpress_TGClean,
     .parse = PCIExpress_TGParse,
     .frontEnd = &k_PCIExpressFrontEnd},
    {.name = "Coprocessor memory test group",
     .longNm = "-MemDiag",
     .shortNm = "-mem",
     .init = memory_TGInit,
     .cfg = memory_TGCfg,
     .engine = ifstTstGrpEngine0,
     .clean = memory_TGClean,
     .parse = memory_TGParse,
     .frontEnd = &k_memoryFrontEnd},
    {.name = "Core Diagnostics",
     .longNm = "-CoreDiag",
     .shortNm = "-core",
     .init = CoreDiag_TGInit,
     .cfg = CoreDiag_TGCfg,
     .engine = ifstTstGrpEngine0,
     .clean = CoreDiag_TGClean,
     .parse = CoreDiag_TGParse,
     .frontEnd = &k_CoreDiagFrontEnd},
    {.name = "DMA Diagnostics",
     .longNm = "-DmaDiag",
     .shortNm = "-dma",
     .init = Dma_TGInit,
     .cfg = Dma_TGCfg,
     .engine = ifstTstGrpEngine0,
     .clean = Dma_TGClean,
     .parse = Dma_TGParse,
     .frontEnd = &k_DmaFrontEnd},
    {.name = "SMC Diagnostics (Ostrel(R) Vimbra(TM) Coprocessor only)",
     .longNm = "-SmcDiag",
     .shortNm = "-smc",
     .init = Smc_TGInit,
     .cfg = Smc_TGCfg,
     .engine = ifstTstGrpEngine0,
     .clean = Smc_TGClean,
     .parse = Smc_TGParse,
     .frontEnd = &k_SmcFrontEnd},
};

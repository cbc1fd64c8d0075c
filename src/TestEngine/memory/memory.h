// The Memory test group: its control block, its front end and its tests.
#pragma once

#include "TestEngine/te_main_frontend.h"
#include "TestEngine/te_main_records.h"

struct _GddrDiagErrorList;

// Parameters of the memory tests; addresses are the card's, sizes are bytes.
struct GDDRDiagCb {
    U32 dataWidth;    // bytes an access: 1, 2, 4 or 8
    U32 chnlBitMask;  // memory channels, 12 bits
    bool userDefinedAddress;
    U64 startAddress;
    U64 endAddress;
    U32 memSize;
    void* virtualAddress;
    U32 dataPattern[16];  // the pattern, repeated at the data width
    U64 regData[3];
    U32 memTestMode;  // 1, or 4 after -all
    bool userDefinedData;
    void* zelAccHandle;
    _GddrDiagErrorList* errorList;
    U32 usrInput;  // bit set of the options that were given
    U32 flags;
};

struct memoryCb {
    ifstGrpTstCb gen;
    U32 memoryDbgLvl;
    S8t fileName[k_GroupFileNameSize];
    GDDRDiagCb gddrDiagCb;
};

extern memoryCb m_memoryCb;
extern const ifstGroupFrontEnd k_memoryFrontEnd;

inline constexpr U16 k_memoryTestCount = 3;
extern ifstTstCb memoryTests[k_memoryTestCount];

I16 memory_TGParse(ifstTstGroup* group, char* word);
int memory_ParseTestParam(ifstTstGroup* group, char* word);
I16 memory_TGInit(ifstTstGroup* group);
I16 memory_TGCfg(ifstTstGroup* group);
I16 memory_TGClean(ifstTstGroup* group);
void memoryUsage();

// Each test takes the address of the control block and returns k_TestFinished when it has finished.
I16 memory_memoryfullRange(U64 tstSpecCb);
I16 memory_memorywrite(U64 tstSpecCb);
I16 memory_memorygddrInfo(U64 tstSpecCb);

// What the engine calls each test through.
I16 Marshal_memory_memoryfullRange(ActualArg* list);
I16 Marshal_memory_memorywrite(ActualArg* list);
I16 Marshal_memory_memorygddrInfo(ActualArg* list);

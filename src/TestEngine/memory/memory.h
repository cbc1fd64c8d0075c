// The Memory test group: its control block, its front end and its tests.
#pragma once

#include <span>

#include "TestEngine/te_main_frontend.h"
#include "TestEngine/te_main_records.h"
#include "TestEngine/te_main_tests.h"

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

// Bits of usrInput.
enum memoryUserInput : U32 {
    k_GivenDataWidth = 0x01,
    k_GivenStartAddress = 0x02,
    k_GivenEndAddress = 0x04,
    k_GivenMemSize = 0x08,
    k_GivenDataPattern = 0x10,
    k_GivenTestChannel = 0x20,
    k_GivenAll = 0x40
};

// Values of memTestMode.
inline constexpr U32 k_MemTestModeNormal = 1;
inline constexpr U32 k_MemTestModeAll = 4;

// Left in gen.eventCnt by a test that failed, so that its next call is only the end of it.
inline constexpr U8 k_AlreadyFailed = 100;

extern memoryCb m_memoryCb;
extern const ifstGroupFrontEnd k_memoryFrontEnd;

#define IFST_TEST IFST_DECLARE_TEST
#include "TestEngine/memory/memoryTests.def"
extern ifstTstCb memoryTests[];

inline constexpr auto memory_TGParse = ifstGroupFunctions<k_memoryFrontEnd>::Parse;
inline constexpr auto memory_ParseTestParam = ifstGroupFunctions<k_memoryFrontEnd>::ParseTestParam;
I16 memory_TGInit(ifstTstGroup* group);
I16 memory_TGCfg(ifstTstGroup* group);
I16 memory_TGClean(ifstTstGroup* group);
void memoryUsage();

// An option of the group's own. `take` is false when the value is invalid.
struct MemoryOption {
    const char* key;  // in lower case; the command line takes any
    bool (*take)(const char* value);
};
std::span<const MemoryOption> memory_Options();

// A value of -datawidth, in two spellings and this letter case.
struct MemoryWidth {
    const char* name;
    const char* shortName;
    U32 bytes;
};
std::span<const MemoryWidth> memory_Widths();

// Takes a word of the form "key=value" that is one of the group's options, the key in any letter
// case; 1 when it was taken, 0 when the key or the value is invalid.
int memory_TGParseUserCustom(const char* word);

// Every option begins from its initial value at each parse, so that like cards are tested alike.
void memory_ResetOptions();
// -all: every test, the full-range one as a step that is skipped.
void memory_TakeAll();

// Whether the parameters can be used on the open card, and who has told the run summary if not.
enum class MemTestParams { usable, unusable, unusableAndLogged };
MemTestParams memory_CheckParams(const memoryCb* control);

// 1 when the parameters can be used on the open card, else 0.
int Validate_MemTest_Param(memoryCb* control);

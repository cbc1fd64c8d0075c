// From the given options to the range, width and pattern that are tested on the open card. Sizes are
// 32 bits wide, and a range that does not fit is cut to them.
#include <algorithm>
#include <cstring>
#include <iterator>

#include "CommonTool/Trace.h"
#include "TestEngine/memory/hostAperture.h"
#include "TestEngine/memory/memory.h"
#include "TestEngine/memory/memoryPattern.h"
#include "TestEngine/te_summary.h"
#include "ZelAccess.h"

namespace {

constexpr U32 kDefaultSize = 0x100000;  // 1 MB
constexpr U32 kDefaultWidth = 8;
constexpr U32 kDefaultPattern = 0xAAAAAAAA;

// The usage text promises 128 MB for the older generation; its tests begin at 1 MB all the same.
U64 DefaultStart() {
    const bool current = zelAccess != nullptr && zelAccess->IsCurrentDeviceEMR();
    return current ? 0 : k_OlderLowestAddress;
}

void ConfigureRange(GDDRDiagCb& params) {
    if (params.endAddress > params.startAddress)
        params.memSize = static_cast<U32>(params.endAddress - params.startAddress);
    else if (params.memSize == 0)
        params.memSize = kDefaultSize;

    const U64 defaultStart = DefaultStart();
    if (params.startAddress == 0 && params.endAddress == 0) {
        params.startAddress = defaultStart;
    } else if (defaultStart > params.startAddress) {
        params.memSize -= static_cast<U32>(defaultStart - params.startAddress);
        params.startAddress = defaultStart;
    }
}

void ConfigurePattern(GDDRDiagCb& params) {
    if (!params.userDefinedData)
        std::fill_n(params.dataPattern, 2, kDefaultPattern);
    if ((params.usrInput & k_GivenDataWidth) == 0)
        params.dataWidth = kDefaultWidth;
    U64 pattern = 0;
    std::memcpy(&pattern, params.dataPattern, sizeof(pattern));
    fillPattern(params.dataPattern, &pattern, params.dataWidth, sizeof(params.dataPattern));
}

bool IsWidth(U32 width) {
    static constexpr U32 kWidths[] = {0, 1, 2, 4, 8};
    return std::find(std::begin(kWidths), std::end(kWidths), width) != std::end(kWidths);
}

}  // namespace

I16 memory_TGCfg(ifstTstGroup* group) {
    GDDRDiagCb& params = m_memoryCb.gddrDiagCb;
    ConfigureRange(params);
    ConfigurePattern(params);
    if ((params.usrInput & k_GivenAll) == 0)
        params.memTestMode = k_MemTestModeNormal;
    group->state = IFST_GROUP_RUNNING;
    return 0;
}

MemTestParams memory_CheckParams(const memoryCb* control) {
    const GDDRDiagCb& params = control->gddrDiagCb;
    if (!IsWidth(params.dataWidth))
        return MemTestParams::unusable;
    if (params.memSize == 0) {
        ZEL_TRACE(DLVL_ERROR, "Invalid arguments, Datalenght is 0.  \n");
        return MemTestParams::unusable;
    }
    HANDLE handle = zelAccess != nullptr ? zelAccess->getAccessHandle() : nullptr;
    U64 memorySize = 0;
    if (ZelGetGDDRMemSize(handle, &memorySize) != 0) {
        ZEL_TRACE(DLVL_ERROR, "unable to determine memory size, ZelGetGDDRMemSize returned false.");
        TE::SUMMARY_INSTANCE.LogError("Failed to get GDDR size");
        return MemTestParams::unusableAndLogged;
    }
    if (params.memSize >= memorySize) {
        ZEL_TRACE(DLVL_ERROR, "Invalid arguments, Datalength was not between 0 and %lx\n",
                  memorySize);
        return MemTestParams::unusable;
    }
    if (params.dataWidth != 0 && params.memSize % params.dataWidth != 0) {
        ZEL_TRACE(DLVL_ERROR, "Invalid arguments, Datalength is not divisible by dataWidth\n");
        return MemTestParams::unusable;
    }
    return MemTestParams::usable;
}

int Validate_MemTest_Param(memoryCb* control) {
    return memory_CheckParams(control) == MemTestParams::usable ? 1 : 0;
}

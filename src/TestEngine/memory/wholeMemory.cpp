#include "TestEngine/memory/wholeMemory.h"

#include <algorithm>

#include "CommonTool/Trace.h"
#include "TestEngine/memory/hostAperture.h"
#include "TestEngine/memory/memory.h"
#include "TestEngine/memory/memoryCardMode.h"
#include "TestEngine/memory/memoryProgress.h"
#include "TestEngine/te_main_console.h"
#include "TestEngine/te_summary.h"
#include "ZelAccess.h"

namespace {

// The first pass over the current generation's memory ends here.
constexpr U64 kLowPassBytes = 0xFF000000;

struct Pass {
    U64 start;
    U64 length;
};

// The length of an older card's pass wraps around where there is nothing to test; such a pass fits no
// memory.
Pass LowPass(bool current, U64 start, U64 memoryBytes) {
    if (current)
        return {0, std::min(memoryBytes, kLowPassBytes)};
    const bool below = start < k_OlderLowestAddress;
    const U64 length = below ? start + memoryBytes - k_OlderLowestAddress : 0;
    return {std::max(start, k_OlderLowestAddress), length - k_OlderBytesHeldBack};
}

}  // namespace

int fullRangeMemTest(unsigned long start, unsigned int dataWidth, unsigned long* pattern,
                     _GddrDiagErrorList** errors, bool breakOnFail, unsigned int memTestMode,
                     bool& modeSet) {
    if (memTestMode != k_MemTestModeNormal) {
        ifstPrint("skipping full mem test \n");
        return 1;
    }
    if (!memory_RequireCardAccess())
        return 0;
    HANDLE handle = zelAccess->getAccessHandle();
    ZEL_CARD_USAGE_MODE mode = ZEL_USAGE_MODE_NOP;
    U64 memoryBytes = 0;
    if (!memory_ReadUsageMode(handle, mode) || !memory_RequireReadyState(mode) ||
        ZelGetGDDRMemSize(handle, &memoryBytes) != 0)
        return 0;

    const bool current = zelAccess->IsCurrentDeviceEMR();
    const Pass low = LowPass(current, start, memoryBytes);
    timeval begin{};
    const bool timed = markTime(begin) != 0;
    if (!timed)
        ifstPrint("failed to get zelstart_endmark \n");
    ifstPrint("start at: 0x%lx - length: 0x%lx - data width: %d - pattern: 0x%lx\n", low.start,
              memoryBytes, static_cast<int>(dataWidth), pattern[0]);

    const int lowResult = hostApertureMemTest(low.start, low.length, dataWidth, pattern, errors,
                                              breakOnFail, modeSet, true, 0, true);
    // What lies between the end of the low pass and 4 GB is never tested.
    if (lowResult != 0 && current && memoryBytes > k_HighPassStart - 1) {
        modeSet = true;
        if (hostApertureMemTest(k_HighPassStart, memoryBytes - k_HighPassStart, dataWidth, pattern,
                                errors, breakOnFail, modeSet, true, k_HighPassStart, true) == 0) {
            ZEL_TRACE(DLVL_ERROR,
                      "hostApertureMemTest returned false, Memory Test from Host failed");
            TE::SUMMARY_INSTANCE.LogError("'hostApertureMemTest' failed");
            return 0;
        }
    }
    timeval end{};
    if (markTime(end) != 0)
        diffTime(begin, end, k_ElapsedLabel, timed);
    return lowResult;
}

// The MemWrite test: a range of the card's memory, from the host. The card goes from its ready state
// into memory-diagnostic mode and back.
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>

#include "CommonTool/Trace.h"
#include "TestEngine/memory/hostAperture.h"
#include "TestEngine/memory/memory.h"
#include "TestEngine/memory/memoryTestRun.h"
#include "TestEngine/te_main_console.h"
#include "TestEngine/te_summary.h"
#include "ZelAccess.h"

namespace {

constexpr char kFile[] = "TestEngine/memory/memorywrite";
constexpr char kInvalid[] = "Memory Test parameter validation fail";

// The pattern's first element, two digits a byte; empty at an invalid width.
std::string ElementText(const GDDRDiagCb& params) {
    const U32 width = params.dataWidth;
    if (width != 1 && width != 2 && width != 4 && width != 8)
        return "";
    U64 element = 0;
    std::memcpy(&element, params.dataPattern, width);
    char text[2 * sizeof(element) + 1];
    std::snprintf(text, sizeof(text), "%0*" PRIx64, static_cast<int>(2 * width), element);
    return text;
}

bool CheckParams(memoryCb& control) {
    const MemTestParams verdict = memory_CheckParams(&control);
    if (verdict == MemTestParams::usable)
        return true;
    memory_RecordFailure(control.gddrDiagCb, kInvalid);
    if (verdict == MemTestParams::unusable)
        TE::SUMMARY_INSTANCE.LogError(kInvalid);
    return false;
}

void TestRange(memoryCb& control) {
    GDDRDiagCb& params = control.gddrDiagCb;
    bool modeSet = false;
    MemoryPattern pattern = memory_PatternOf(params);
    if (hostApertureMemTest(params.startAddress, params.memSize, params.dataWidth, pattern.data(),
                            &params.errorList, memory_BreaksOnFail(control), modeSet, false, 0,
                            false) == 0)
        memory_RecordFailure(params, "hostApertureMemTest returned false");
}

// The card goes back to its ready state, whatever the test found.
void ReturnCard() {
    if (zelAccess != nullptr &&
        ZelSetUsageMode(zelAccess->getAccessHandle(), ZEL_USAGE_MODE_OFFLINE) == 0)
        return;
    ZEL_TRACE(DLVL_ERROR, "Error in setting to OFFLINE MODE after memory mode testing");
}

}  // namespace

I16 memory_memorywrite(U64 tstSpecCb) {
    auto& control = *reinterpret_cast<memoryCb*>(tstSpecCb);
    const GDDRDiagCb& params = control.gddrDiagCb;
    TE::SUMMARY_INSTANCE.SetTestName("MemWrite");
    if (const auto answer = memory_AnswerAlreadyFailed(control.gen))
        return *answer;

    ifstPrint("start at: 0x%lx - length: 0x%x - data width: %d - pattern: 0x%s\n",
              params.startAddress, params.memSize, static_cast<int>(params.dataWidth),
              ElementText(params).c_str());
    if (CheckParams(control)) {
        TestRange(control);
        ReturnCard();
    }
    return memory_GiveVerdict(control, kFile, 103);
}

constinit const ifstTestRow k_Row_memory_memorywrite = {
    .description = "Write test",
    .longNm = "-write",
    .shortNm = "-wr",
    .brief = "write, read and compare a range",
};

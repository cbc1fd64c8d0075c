// The FullRange test: the whole of the card's memory, from the host. The card goes from its ready
// state into memory-diagnostic mode and back.
#include "CommonTool/Trace.h"
#include "TestEngine/memory/memory.h"
#include "TestEngine/memory/memoryTestRun.h"
#include "TestEngine/memory/wholeMemory.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_summary.h"
#include "ZelAccess.h"

namespace {

constexpr char kFile[] = "TestEngine/memory/memoryfullRange";
constexpr char kFailed[] = "fullRangeMemTest returned false";

void ReturnCard() {
    if (zelAccess == nullptr) {
        ZEL_TRACE(DLVL_ERROR, "Error getting NULL zelAccess, we should not be here \n");
        return;
    }
    if (!zelAccess->settoNormalMode())
        ZEL_TRACE(DLVL_ERROR, "Error in setting to NORMAL MODE after memory mode testing");
}

}  // namespace

I16 memory_memoryfullRange(U64 tstSpecCb) {
    auto& control = *reinterpret_cast<memoryCb*>(tstSpecCb);
    GDDRDiagCb& params = control.gddrDiagCb;
    params.startAddress = 0;
    TE::SUMMARY_INSTANCE.SetTestName("FullRange");
    if (const auto answer = memory_AnswerAlreadyFailed(control.gen))
        return *answer;

    bool modeSet = false;
    MemoryPattern pattern = memory_PatternOf(params);
    if (fullRangeMemTest(params.startAddress, params.dataWidth, pattern.data(), &params.errorList,
                         memory_BreaksOnFail(control), params.memTestMode, modeSet) == 0) {
        memory_RecordFailure(params, kFailed);
        TE::SUMMARY_INSTANCE.LogError("Failed full range test");
    }
    if (modeSet)
        ReturnCard();
    return memory_GiveVerdict(control, kFile, 71);
}

constinit const ifstTestRow k_Row_memory_memoryfullRange = {
    .description = "Full range test",
    .longNm = "-fullRange",
    .shortNm = "-full",
    .brief = "write, read and compare the whole memory",
};

// What the tests that write the card's memory have in common.
#include "TestEngine/memory/memoryTestRun.h"

#include <cstring>

#include "TestEngine/memory/memoryErrorList.h"
#include "TestEngine/te_main.h"

MemoryPattern memory_PatternOf(const GDDRDiagCb& params) {
    MemoryPattern pattern;
    static_assert(sizeof(pattern) == sizeof(params.dataPattern));
    std::memcpy(pattern.data(), params.dataPattern, sizeof(pattern));
    return pattern;
}

bool memory_BreaksOnFail(const memoryCb& control) {
    return (control.gen.onFailCb.onFailMask & k_BreakOnFail) != 0;
}

std::optional<I16> memory_AnswerAlreadyFailed(ifstGrpTstCb& gen) {
    if (gen.eventCnt == k_AlreadyFailed) {
        gen.eventCnt = 0;
        return k_TestFinished;
    }
    if (gen.eventCnt != 0 || gen.valid == 0)
        return I16{0};
    return std::nullopt;
}

void memory_RecordFailure(GDDRDiagCb& params, const char* reason) {
    addError(&params.errorList, reason, params.startAddress, params.dataWidth, MemErrorTypeUnknown,
             params.dataPattern[0]);
}

I16 memory_GiveVerdict(memoryCb& control, const char* file, U32 line) {
    const _GddrDiagErrorList* head = control.gddrDiagCb.errorList;
    if (head == nullptr) {
        ifstPassTest();
        return k_TestFinished;
    }
    ifstFailTest(file, line, head->reason);
    control.gen.eventCnt = k_AlreadyFailed;
    return 0;
}

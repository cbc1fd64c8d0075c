// The Memory test group's front end.
#include "TestEngine/memory/memory.h"

#include <cstring>
#include <iterator>

#include "TestEngine/memory/memoryErrorList.h"

memoryCb m_memoryCb;

namespace {

ifstGroupParseState parseState;

bool TakeOption(const char* word) {
    return memory_TGParseUserCustom(word) != 0;
}

void ForgetErrors() {
    freeErrorList(&m_memoryCb.gddrDiagCb.errorList);
    m_memoryCb.gddrDiagCb.flags = 0;
}

}  // namespace

#define IFST_TEST IFST_PLACE_TEST
ifstTstCb memoryTests[] = {
#include "TestEngine/memory/memoryTests.def"
};

// The names of this group's tests compare with case, unlike all other words.
const ifstGroupFrontEnd k_memoryFrontEnd = {
    .summaryName = "MemDiag",
    .tests = memoryTests,
    .numTests = std::size(memoryTests),
    .gen = &m_memoryCb.gen,
    .debugLevel = &m_memoryCb.memoryDbgLvl,
    .fileName = m_memoryCb.fileName,
    .parseState = &parseState,
    .compareTestName = std::strcmp,
    .takeAll = memory_TakeAll,
    .takeOption = TakeOption,
    .resetOptions = memory_ResetOptions,
    .usage = memoryUsage,
};

I16 memory_TGInit(ifstTstGroup* group) {
    ForgetErrors();
    return ifstInitGroup(k_memoryFrontEnd, group);
}

I16 memory_TGClean(ifstTstGroup* group) {
    ForgetErrors();
    m_memoryCb.gddrDiagCb.usrInput = 0;
    return ifstCleanGroup(group);
}

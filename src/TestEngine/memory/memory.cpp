// The Memory test group's front end.
#include "TestEngine/memory/memory.h"

#include <cstring>

#include "TestEngine/te_main_console.h"
#include "TestEngine/te_main_params.h"

memoryCb m_memoryCb;

namespace {
ifstGroupParseState parseState;
}

// The names of this group's tests compare with case, unlike all other words.
const ifstGroupFrontEnd k_memoryFrontEnd = {
    .summaryName = "MemDiag",
    .tests = memoryTests,
    .numTests = k_memoryTestCount,
    .gen = &m_memoryCb.gen,
    .debugLevel = &m_memoryCb.memoryDbgLvl,
    .fileName = m_memoryCb.fileName,
    .parseState = &parseState,
    .compareTestName = std::strcmp,
    .takeAll = nullptr,
    .takeOption = nullptr,
    .resetOptions = nullptr,
    .notNormalText = nullptr,
    .cfgName = nullptr,
    .usage = memoryUsage,
};

I16 memory_TGParse(ifstTstGroup* group, char* word) {
    return ifstParseGroupWord(k_memoryFrontEnd, group, word);
}

int memory_ParseTestParam(ifstTstGroup* group, char* word) {
    return ifstParseTestParam(k_memoryFrontEnd, group, word);
}

I16 memory_TGInit(ifstTstGroup* group) {
    return ifstInitGroup(k_memoryFrontEnd, group);
}

I16 memory_TGCfg(ifstTstGroup* group) {
    group->state = IFST_GROUP_RUNNING;
    return 0;
}

I16 memory_TGClean(ifstTstGroup* group) {
    return ifstCleanGroup(group);
}

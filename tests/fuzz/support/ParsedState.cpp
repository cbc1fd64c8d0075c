// Resets, shows and checks what the command line sets.
#include "ParsedState.h"

#include <algorithm>
#include <cstring>
#include <sstream>

#include "Expect.h"
#include "FakeTrace.h"
#include "FakeZelAccess.h"
#include "Journal.h"
#include "TestEngine/TestGroups.h"
#include "TestEngine/memory/memory.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_frontend.h"
#include "TestEngine/te_main_params.h"
#include "ToolState.h"

namespace fuzz {

namespace {

bool IsOneOf(U32 value, std::initializer_list<U32> values) {
    return std::find(values.begin(), values.end(), value) != values.end();
}

}  // namespace

void BeginProcess() {
    ResetToolState();
    fakes::ZelAccess().Reset();
    fakes::Trace().Reset();
    fakes::TheJournal().Clear();
}

std::string ShowParsed() {
    std::ostringstream text;
    text << "mode " << +curTstMode << " on fail " << ifstSetupParams.failCtlState << " quiet "
         << ifstSetupParams.bQuietMode << " seeds " << ifstSetupParams.conc.startSeed << " "
         << ifstSetupParams.conc.endSeed << " loops " << ifstSetupParams.conc.innerLoopCnt << " "
         << ifstSetupParams.conc.outerLoopCnt;
    for (const ifstTstGroup& group : ifstTstGrps) {
        const ifstGroupFrontEnd& frontEnd = *group.frontEnd;
        text << "\n"
             << group.shortNm << " state " << +group.state << " current " << group.curTest
             << " level " << group.dbgLvl << " break " << frontEnd.gen->onFailCb.onFailMask
             << " file \"" << frontEnd.fileName << "\" tests";
        for (U16 i = 0; i < frontEnd.numTests; ++i)
            text << " " << +frontEnd.tests[i].state;
    }
    const GDDRDiagCb& memory = m_memoryCb.gddrDiagCb;
    text << "\nmemory " << std::hex << memory.usrInput << " width " << memory.dataWidth
         << " channels " << memory.chnlBitMask << " range " << memory.startAddress << " "
         << memory.endAddress << " " << memory.memSize << " mode " << memory.memTestMode
         << " pattern";
    for (const U32 word : memory.dataPattern)
        text << " " << word;
    return text.str();
}

void CheckMemoryOptions() {
    const GDDRDiagCb& memory = m_memoryCb.gddrDiagCb;
    Expect((memory.usrInput & ~0x7FU) == 0, "only known options are noted as given");
    Expect(IsOneOf(memory.dataWidth, {0, 1, 2, 4, 8}), "the data width is one of those that exist");
    Expect((memory.chnlBitMask & ~0xFFFU) == 0, "there are 12 channels");
    Expect(IsOneOf(memory.memTestMode, {k_MemTestModeNormal, k_MemTestModeAll}),
           "the test mode is one of the two");
    Expect(std::memchr(m_memoryCb.fileName, 0, sizeof(m_memoryCb.fileName)) != nullptr,
           "the file name has its end");
}

void CheckParsed() {
    Expect(IsOneOf(ifstSetupParams.failCtlState,
                   {IFST_NO_EXIT_ON_FAIL, IFST_EXIT_ON_FAIL, IFST_SKIP_ON_FAIL}),
           "the fail control is one of the three");
    for (const ifstTstGroup& group : ifstTstGrps) {
        const ifstGroupFrontEnd& frontEnd = *group.frontEnd;
        Expect(IsOneOf(group.state, {IFST_GROUP_IDLE, IFST_GROUP_SELECTED}),
               "a parse selects groups or leaves them");
        Expect(group.curTest < frontEnd.numTests, "the current test is one of the group's");
        Expect(group.dbgLvl <= k_DbgLvlMask, "a debug level has six bits");
        Expect((frontEnd.gen->onFailCb.onFailMask & ~k_BreakOnFail) == 0,
               "the mask on failures has one bit");
        for (U16 i = 0; i < frontEnd.numTests; ++i) {
            const U8 state = frontEnd.tests[i].state;
            Expect(state == IFST_TEST_IDLE ||
                       (state == IFST_TEST_SELECTED && group.state == IFST_GROUP_SELECTED),
                   "a test is selected in a selected group only");
        }
    }
    CheckMemoryOptions();
}

}  // namespace fuzz

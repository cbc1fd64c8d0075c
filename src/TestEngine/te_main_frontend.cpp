// What the five test groups' front ends share.
#include "TestEngine/te_main_frontend.h"

#include <unistd.h>

#include <algorithm>

#include "CommonTool/Trace.h"
#include "SI/cm_stub0.h"
#include "SI/si_main.h"
#include "TestEngine/TestGroups.h"
#include "TestEngine/te_main_cmdline.h"
#include "TestEngine/te_main_console.h"
#include "TestEngine/te_main_params.h"
#include "TestEngine/te_main_tests.h"
#include "TestEngine/te_summary.h"
#include "ZelAccess.h"

namespace {

// 251 as the shell sees it.
constexpr int kNotRootStatus = -5;

bool Equals(const char* word, const char* name) {
    return cmStringCmp(word, name) == 0;
}

void PrintHelp(const ifstGroupFrontEnd& frontEnd, const ifstTstGroup& group) {
    const char* help =
        frontEnd.parseState->tstDefined ? frontEnd.tests[group.curTest].help : nullptr;
    if (help != nullptr)
        IFSTDISP("%s", help);
    else
        frontEnd.usage();
}

void RequireRoot() {
    if (geteuid() == 0)
        return;
    ZEL_TRACE(DLVL_TOOLS,
              "\n\tYou need to be root (or) have root permissions to run ZelDiag.\n\tPlease use "
              "root permission and run this application again.\n\n");
    ssExitTask(kNotRootStatus);
}

void SetBreakOnFail(const ifstGroupFrontEnd& frontEnd, bool breakOnFail) {
    U32& mask = frontEnd.gen->onFailCb.onFailMask;
    mask = breakOnFail ? mask | k_BreakOnFail : mask & ~k_BreakOnFail;
}

void SelectTest(ifstTstCb& test) {
    test.state = IFST_TEST_SELECTED;
    test.lpCb.testLpEna = IFST_LOOP_NONE;
}

bool SelectNamedTests(const ifstGroupFrontEnd& frontEnd, ifstTstGroup& group, const char* word) {
    bool found = false;
    for (U16 i = 0; i < frontEnd.numTests; ++i) {
        ifstTstCb& test = frontEnd.tests[i];
        if (frontEnd.compareTestName(word, test.longNm) != 0 &&
            frontEnd.compareTestName(word, test.shortNm) != 0)
            continue;
        SetBreakOnFail(frontEnd, true);
        SelectTest(test);
        frontEnd.fileName[0] = '\0';
        frontEnd.parseState->tstDefined = true;
        group.curTest = i;
        group.argVerified = false;
        found = true;
    }
    return found;
}

void SelectAllTests(const ifstGroupFrontEnd& frontEnd) {
    for (ifstTstCb& test : frontEnd.Tests())
        SelectTest(test);
    if (frontEnd.takeAll != nullptr)
        frontEnd.takeAll();
}

// The first place of the word on the command line, the program's name included; -1 when it has none.
I32 FindOnCommandLine(const char* word) {
    const auto& arguments = ifstSetupParams.inpArg;
    for (I32 i = 0; i < arguments.inpArgCnt; ++i) {
        if (Equals(word, arguments.inpArgVal[i]))
            return i;
    }
    return -1;
}

U32 CountDeclaredArgs(const ifstTstCb& test) {
    U32 count = 0;
    while (test.Args[count].Type != ARGTYPE_END)
        ++count;
    return count;
}

constexpr GroupWord kGroupWords[] = {
    {{"-all", nullptr}, SelectAllTests},
    {{"-continueOnFail", "-contOnFail"},
     [](const ifstGroupFrontEnd& frontEnd) { SetBreakOnFail(frontEnd, false); }},
    {{"-breakOnFail", "-brkOnFail"},
     [](const ifstGroupFrontEnd& frontEnd) { SetBreakOnFail(frontEnd, true); }},
};

bool TakeGroupWord(const ifstGroupFrontEnd& frontEnd, const char* word) {
    for (const GroupWord& row : kGroupWords) {
        const bool named =
            std::any_of(row.names.begin(), row.names.end(),
                        [word](const char* name) { return name != nullptr && Equals(word, name); });
        if (!named)
            continue;
        row.take(frontEnd);
        return true;
    }
    return false;
}

bool TakeWord(const ifstGroupFrontEnd& frontEnd, ifstTstGroup& group, const char* word) {
    if (SelectNamedTests(frontEnd, group, word))
        return true;
    if (TakeGroupWord(frontEnd, word))
        return true;
    if (frontEnd.takeOption != nullptr)
        return frontEnd.takeOption(word);
    return ifstParseTestParam(frontEnd, &group, word) != 0;
}

}  // namespace

std::span<const GroupWord> ifstGroupWords() {
    return kGroupWords;
}

I16 ifstParseGroupWord(const ifstGroupFrontEnd& frontEnd, ifstTstGroup* group, const char* word) {
    if (Equals(word, k_HelpWord)) {
        PrintHelp(frontEnd, *group);
        return IFST_PARSE_HELP;
    }
    RequireRoot();
    return TakeWord(frontEnd, *group, word) ? IFST_PARSE_ACCEPTED : IFST_PARSE_REFUSED;
}

int ifstParseTestParam(const ifstGroupFrontEnd& frontEnd, ifstTstGroup* group, const char* word) {
    if (group->argVerified)
        return 1;
    const I32 place = FindOnCommandLine(word);
    if (place < 0)
        return 0;
    ifstTstCb& test = frontEnd.tests[group->curTest];
    const U32 declared = CountDeclaredArgs(test);
    const auto words = static_cast<U32>(ifstSetupParams.inpArg.inpArgCnt - place);
    if (declared == 0 || words + k_EngineArgs > declared)
        return 0;
    group->argVerified = true;
    group->curTest = 0;
    test.tstArgsStartIdx = static_cast<U32>(place);
    test.tstArgsEndIdx = static_cast<U32>(ifstSetupParams.inpArg.inpArgCnt);
    return 1;
}

I16 ifstInitGroup(const ifstGroupFrontEnd& frontEnd, ifstTstGroup* group) {
    frontEnd.gen->id = 0;
    frontEnd.gen->eventCnt = 0;
    frontEnd.gen->valid = 1;
    frontEnd.gen->onFailCb.blkStepCnt = 0;
    frontEnd.gen->onFailCb.currStepCnt = 0;
    *frontEnd.debugLevel = group->dbgLvl;
    group->tstList = frontEnd.tests;
    group->tstCb = reinterpret_cast<U64>(frontEnd.gen);
    group->numTests = frontEnd.numTests;
    group->testDone = 0;
    group->eventCnt = 0;
    group->state = IFST_GROUP_INITIALISED;
    TE::SUMMARY_INSTANCE.SetGroupName(frontEnd.summaryName);
    return 0;
}

I16 ifstConfigureForNormalMode(const ifstGroupFrontEnd& frontEnd, ifstTstGroup* group) {
    if (zelAccess == nullptr && frontEnd.cfgName != nullptr)
        ifstPrint("*** %s : zelAccess is NULL in %s [%d] ***\n", group->name, frontEnd.cfgName,
                  group->state);
    group->state = IFST_GROUP_IDLE;
    // Without a handle the mode cannot be asked for.
    if (zelAccess != nullptr && zelAccess->m_accessHandle == nullptr) {
        TE::SUMMARY_INSTANCE.LogError("Internal Error; NULL Handle");
        return 0;
    }
    if (zelAccess != nullptr && zelAccess->checknSetNormalMode()) {
        group->state = IFST_GROUP_RUNNING;
        return 0;
    }
    ifstPrint(" *** %s :%s ***\n\n", group->name, frontEnd.notNormalText);
    TE::SUMMARY_INSTANCE.LogError("The Coprocessor is not in normal mode");
    return 0;
}

I16 ifstCleanGroup(ifstTstGroup* group) {
    group->state = IFST_GROUP_DONE;
    return 0;
}

void ifstPrintTestList(const ifstGroupFrontEnd& frontEnd) {
    for (const ifstTstCb& test : frontEnd.Tests())
        IFSTDISP("        %s or %s : %s\n", test.shortNm, test.longNm, test.tstDescr1);
}

void ifstPrintUsage(const ifstGroupFrontEnd& frontEnd, const char* title, const char* groupLine,
                    const char* note) {
    const ifstDisplayState displaying;
    IFSTDISP("%s", title);
    IFSTDISP("%s", groupLine);
    if (note != nullptr)
        IFSTDISP("%s", note);
    IFSTDISP("\n");
    IFSTDISP("Available Test(s): <Test ID>\n");
    ifstPrintTestList(frontEnd);
    IFSTDISP("\nNotes:\n");
    IFSTDISP("     This test group requires the devices to be in Normal mode.\n");
    IFSTDISP("     For more information please consult the User Guide.\n\n");
}

void ifstResetParsedOptions() {
    for (ifstTstGroup& group : ifstTstGrps) {
        const ifstGroupFrontEnd& frontEnd = *group.frontEnd;
        group.argVerified = false;
        frontEnd.parseState->tstDefined = false;
        frontEnd.gen->onFailCb.onFailMask = 0;
        frontEnd.fileName[0] = '\0';
        for (ifstTstCb& test : frontEnd.Tests()) {
            test.state = IFST_TEST_IDLE;
            test.tstArgsStartIdx = 0;
            test.tstArgsEndIdx = 0;
        }
        if (frontEnd.resetOptions != nullptr)
            frontEnd.resetOptions();
    }
}

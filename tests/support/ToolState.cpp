#include "ToolState.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "TestEngine/TestGroups.h"
#include "TestEngine/memory/memory.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_frontend.h"
#include "TestEngine/te_main_params.h"
#include "TestEngine/te_summary.h"
#include "ZelAccess.h"

namespace {

// The rows and tables as the program starts with them; made before the first test changes any.
struct InitialTables {
    std::vector<ifstTstGroup> groups{std::begin(ifstTstGrps), std::end(ifstTstGrps)};
    std::vector<std::vector<ifstTstCb>> tests;

    InitialTables() {
        for (const ifstTstGroup& group : ifstTstGrps) {
            const auto table = group.frontEnd->Tests();
            tests.emplace_back(table.begin(), table.end());
        }
    }
};

void ResetFrontEnd(const ifstGroupFrontEnd& frontEnd, const std::vector<ifstTstCb>& tests) {
    std::copy(tests.begin(), tests.end(), frontEnd.tests);
    *frontEnd.gen = {};
    *frontEnd.debugLevel = 0;
    std::fill_n(frontEnd.fileName, k_GroupFileNameSize, '\0');
    *frontEnd.parseState = {};
}

}  // namespace

void ResetToolState() {
    static const InitialTables initial;
    std::copy(initial.groups.begin(), initial.groups.end(), ifstTstGrps);
    for (std::size_t i = 0; i < IFST_NUM_TESTGROUPS; ++i)
        ResetFrontEnd(*initial.groups[i].frontEnd, initial.tests[i]);
    m_memoryCb = {};
    ifstSetupParams = {};
    concDatalogParams = {};
    curTstMode = k_NoTestSelected;
    curTstGroup = 0;
    testIdG = 0;
    g_ZelAccess = _ZelAccess();
    zelAccess = &g_ZelAccess;
    TE::SUMMARY_INSTANCE = TE::TESummary();
}

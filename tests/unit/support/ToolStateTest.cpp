// The reset of the tool's globals: one that is forgotten would let a test depend on those before it.
#include "ToolState.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "Rows.h"
#include "SummaryErrors.h"
#include "TestEngine/TestGroups.h"
#include "TestEngine/memory/memory.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_frontend.h"
#include "TestEngine/te_main_params.h"
#include "TestEngine/te_summary.h"
#include "ToolFixture.h"
#include "ZelAccess.h"

namespace {

class ToolStateTest : public ToolFixture {};

template <typename Object>
std::string BytesOf(const Object& object) {
    return {reinterpret_cast<const char*>(&object), sizeof object};
}

TEST_F(ToolStateTest, TheRunIsAsAtTheBeginning) {
    const std::string parameters = BytesOf(ifstSetupParams);
    ifstSetupParams.bQuietMode = 1;
    ifstSetupParams.conc = {7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7};
    ifstSetupParams.errLog.result = 1;
    concDatalogParams.errLogHndl = stderr;
    curTstMode = 0;
    curTstGroup = 2;
    testIdG = 9;
    ResetToolState();
    EXPECT_EQ(BytesOf(ifstSetupParams), parameters);
    EXPECT_EQ(concDatalogParams.errLogHndl, nullptr);
    EXPECT_EQ(curTstMode, k_NoTestSelected);
    EXPECT_EQ(curTstGroup, 0U);
    EXPECT_EQ(testIdG, 0U);
}

TEST_F(ToolStateTest, TheTablesAreAsAtTheBeginning) {
    for (ifstTstGroup& group : ifstTstGrps) {
        const ifstGroupFrontEnd& frontEnd = *group.frontEnd;
        const std::string row = BytesOf(group);
        const std::string tests(reinterpret_cast<const char*>(frontEnd.tests),
                                frontEnd.Tests().size_bytes());
        group.logHndl = stderr;
        group.result = 1;
        group.cfg = nullptr;
        frontEnd.tests[0].state = IFST_TEST_SELECTED;
        frontEnd.tests[frontEnd.numTests - 1].failCnt = 3;
        frontEnd.gen->eventCnt = 7;
        *frontEnd.debugLevel = 4;
        std::strcpy(frontEnd.fileName, "pattern");
        frontEnd.parseState->tstDefined = true;
        ResetToolState();
        EXPECT_EQ(BytesOf(group), row) << group.name;
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(frontEnd.tests),
                              frontEnd.Tests().size_bytes()),
                  tests)
            << group.name;
        EXPECT_EQ(frontEnd.gen->eventCnt, 0) << group.name;
        EXPECT_EQ(*frontEnd.debugLevel, 0U) << group.name;
        EXPECT_STREQ(frontEnd.fileName, "") << group.name;
        EXPECT_FALSE(frontEnd.parseState->tstDefined) << group.name;
    }
}

TEST_F(ToolStateTest, NoCardIsOpenAndNothingIsTold) {
    _ZelAccess other;
    zelAccess = &other;
    g_ZelAccess.m_accessHandle = &other;
    g_ZelAccess.m_totalDevices = 3;
    g_ZelAccess.m_currentDevice = 2;
    m_memoryCb.gddrDiagCb.usrInput = 1;
    TE::SUMMARY_INSTANCE.SetZelNumberAndVersions(0, "f", "s");
    TE::SUMMARY_INSTANCE.LogError("an error");
    ASSERT_EQ(SummaryErrors().size(), 1U);
    ResetToolState();
    EXPECT_EQ(zelAccess, &g_ZelAccess);
    EXPECT_EQ(g_ZelAccess.m_accessHandle, nullptr);
    EXPECT_EQ(g_ZelAccess.m_totalDevices, 0U);
    EXPECT_EQ(g_ZelAccess.m_currentDevice, -1);
    EXPECT_EQ(m_memoryCb.gddrDiagCb.usrInput, 0U);
    EXPECT_TRUE(SummaryErrors().empty());
}

}  // namespace

#include "TraceLevel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

TEST(ParseTraceConfig, AcceptsNumbersAndNames) {
    const std::pair<const char*, DebugLevel> table[] = {
        {"0", DLVL_UNDEFINED}, {"1", DLVL_CRITICAL},          {"9", DLVL_DIAG2},
        {"11", DLVL_TOOLS},    {"undefined", DLVL_UNDEFINED}, {"critical", DLVL_CRITICAL},
        {"error", DLVL_ERROR}, {"Warning", DLVL_WARNING},     {"TRACE", DLVL_TRACE},
        {"info", DLVL_INFO},   {"info_2", DLVL_INFO_2},       {"Trace_Arg", DLVL_TRACE_ARG},
        {"diag1", DLVL_DIAG1}, {"DIAG2", DLVL_DIAG2},         {"diag3", DLVL_DIAG3},
        {"tools", DLVL_TOOLS}, {"007", DLVL_TRACE_ARG},
    };
    for (const auto& [text, level] : table) {
        const auto config = ParseTraceConfig(text);
        ASSERT_TRUE(config) << text;
        EXPECT_EQ(config->threshold, level) << text;
        EXPECT_FALSE(config->silent) << text;
    }
}

TEST(ParseTraceConfig, NoneIsSilent) {
    for (const char* text : {"none", "NONE", "None"}) {
        const auto config = ParseTraceConfig(text);
        ASSERT_TRUE(config) << text;
        EXPECT_TRUE(config->silent) << text;
    }
}

TEST(ParseTraceConfig, RefusesEverythingElse) {
    for (const char* text : {"", " ", "12", "-1", "+1", "0x2", "1 ", " 1", "diag", "diag22", "2.0",
                             "DLVL_ERROR", "nonee", "99999999999999999999", "\xff"}) {
        EXPECT_FALSE(ParseTraceConfig(text)) << '"' << text << '"';
    }
}

class TraceConfigFromEnvironmentTest : public ::testing::Test {
protected:
    void TearDown() override { unsetenv("PLYX_DEBUG_LEVEL"); }
};

TEST_F(TraceConfigFromEnvironmentTest, DefaultsToErrors) {
    unsetenv("PLYX_DEBUG_LEVEL");
    EXPECT_EQ(TraceConfigFromEnvironment().threshold, DLVL_ERROR);
    setenv("PLYX_DEBUG_LEVEL", "", 1);
    CaptureStderr();
    EXPECT_EQ(TraceConfigFromEnvironment().threshold, DLVL_ERROR);
    EXPECT_EQ(GetCapturedStderr(), "");
}

TEST_F(TraceConfigFromEnvironmentTest, ReadsTheVariable) {
    setenv("PLYX_DEBUG_LEVEL", "diag2", 1);
    EXPECT_EQ(TraceConfigFromEnvironment().threshold, DLVL_DIAG2);
}

TEST_F(TraceConfigFromEnvironmentTest, AnUnknownValueIsReportedAndChangesNothing) {
    setenv("PLYX_DEBUG_LEVEL", "loud\x1b[31m", 1);
    CaptureStderr();
    const TraceConfig config = TraceConfigFromEnvironment();
    EXPECT_EQ(
        GetCapturedStderr(),
        "PLYX_DEBUG_LEVEL: not a debug level, error is used; set none, a number from 0 to 11, or "
        "a name such as warning, info, diag1 or diag2\n");
    EXPECT_EQ(config.threshold, DLVL_ERROR);
    EXPECT_FALSE(config.silent);
}

}  // namespace

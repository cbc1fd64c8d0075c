// The reader of the tool's report: what it misreads, every judge misjudges.
#include "Report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kOut[] =
    "Device Status: not at the beginning of a card\n"
    "PCIE Diagnostics : BEGINS\n\nTest 1: Bootstrap\nTest 1: PASSED\n\n"
    "Core Diagnostics : BEGINS\n\nTest 2: Get CPU ID has FAILED\n"
    "Test 2 Failed in file TestEngine/core, line 7 with reason [no CPU\nat all]\n\n"
    "Test 2: FAILED\n\nTest Group [Core Diagnostics]: FAILED\nDevice Status: FAILED\n"
    "Test 1: PASSED\nTest Group [PCIE Diagnostics]: PASSED\nDevice Status: OK\n"
    "\nHOSK Version: 3.1\n--\n"
    "zel0 (0000:02:00.0; Flash=2.1; SMC=1.16): FAILED (2)\n"
    "  CoreDiag.CPUID: one\n"
    "  CoreDiag.CPUID: two\n"
    "zel1 (0000:03:00.0; Flash=2.1; SMC=1.16): PASSED\n"
    "zel12 (0000:04:00.0; Flash=2.1; SMC=1.16): MAYBE\n"
    "--\nZEL Card Numbers with Errors: 0\n";

TEST(Report, HasEachCardUpToItsStatus) {
    const Report report(kOut);
    ASSERT_EQ(report.cards.size(), 2U);
    EXPECT_TRUE(report.cards[0].text.ends_with("\nDevice Status: FAILED"));
    EXPECT_EQ(report.cards[0].status, "FAILED");
    EXPECT_TRUE(report.cards[0].Failed());
    EXPECT_TRUE(report.cards[1].text.starts_with("\nTest 1: PASSED\n"));
    EXPECT_EQ(report.cards[1].status, "OK");
    EXPECT_FALSE(report.cards[1].Failed());
    EXPECT_TRUE(report.rest.starts_with("\n\nHOSK Version: "));
    EXPECT_TRUE(Report("x\nDevice Status: ABORTED").cards.at(0).Failed());
}

TEST(Report, TakesTheLinesThatEndSomethingForVerdicts) {
    const Report report(kOut);
    EXPECT_THAT(report.cards.at(1).verdicts,
                ElementsAre("Test 1: PASSED", "Test Group [PCIE Diagnostics]: PASSED",
                            "Device Status: OK"));
    EXPECT_THAT(Report("Test 1: Get CPU ID\nTest x: PASSED\nTest 1: PASSED.\nTest 10: FAILED\n"
                       " Test 1: PASSED\n")
                    .verdicts,
                ElementsAre("Test 10: FAILED"));
    EXPECT_TRUE(IsFailure("Test Group [x]: ABORTED"));
    EXPECT_FALSE(IsFailure("Test Group [FAILED]: PASSED"));
}

TEST(Report, TellsWhereATestFailedAndWhy) {
    const Report report(kOut);
    ASSERT_EQ(report.failures.size(), 1U);
    EXPECT_EQ(report.failures[0].group, "Core Diagnostics");
    EXPECT_EQ(report.failures[0].test, 2U);
    EXPECT_EQ(report.failures[0].reason, "no CPU\nat all");
    EXPECT_EQ(Report("Test 1 Failed in file f, line 7 with reason []\n").failures.at(0).group, "");
}

TEST(Report, HasEachCardOfTheSummaryWithItsErrors) {
    const Report report(kOut);
    ASSERT_EQ(report.summary.size(), 3U);
    EXPECT_EQ(report.summary[0].name, "zel0");
    EXPECT_EQ(report.summary[0].result, Report::Result::Failed);
    EXPECT_THAT(report.summary[0].errors,
                ElementsAre("CoreDiag.CPUID: one", "CoreDiag.CPUID: two"));
    EXPECT_EQ(report.summary[1].result, Report::Result::Passed);
    EXPECT_THAT(report.summary[1].errors, IsEmpty());
    EXPECT_EQ(report.summary[2].name, "zel12");
    EXPECT_EQ(report.summary[2].result, Report::Result::Unreadable);
    EXPECT_TRUE(report.listsCardsWithErrors);
    EXPECT_EQ(Report("zel0 (0000:02:00.0; Flash=2.1): FAILED\n").summary.at(0).result,
              Report::Result::Unreadable);
}

TEST(Report, OfNothingIsEmpty) {
    const Report report("");
    EXPECT_TRUE(report.cards.empty() && report.verdicts.empty() && report.failures.empty() &&
                report.summary.empty());
    EXPECT_FALSE(
        Report("zel (1): PASSED\nzel0: PASSED\nNo ZEL Cards with Errors.\n").listsCardsWithErrors);
    EXPECT_THAT(Report("zel (1): PASSED\nzel0: PASSED\n").summary, IsEmpty());
}

}  // namespace

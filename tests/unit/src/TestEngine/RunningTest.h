// The base of the tests of one card test: a card is open, the test's group runs, and the verdict
// lines are on.
#pragma once

#include "Rows.h"
#include "SummaryErrors.h"
#include "TestEngine/TestGroups.h"
#include "TestEngine/VerdictWatch.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_frontend.h"
#include "TestEngine/te_main_params.h"
#include "TestEngine/te_summary.h"
#include "ToolFixture.h"
#include "ZelAccess.h"

class RunningTest : public ToolFixture {
protected:
    RunningTest(const char* group, const char* test)
        : group_(GroupRow(group)), test_(TestIndex(group, test)) {
        Begin();
    }

    // From the beginning, with healthy stand-ins.
    void Restart() {
        fakes::ResetAll();
        ResetToolState();
        Begin();
    }

    void BeginSummary() const {
        TE::SUMMARY_INSTANCE = TE::TESummary();
        TE::SUMMARY_INSTANCE.SetZelNumberAndVersions(0, "f", "s");
        TE::SUMMARY_INSTANCE.SetGroupName(group_.frontEnd->summaryName);
    }

    // Runs the test on the open card; everything that it did stands in done_.
    void Run(I16 expectedStatus = k_TestFinished) {
        if (!zelAccess->m_accessHandle) {
            ASSERT_TRUE(zelAccess->setAccessHandle());
            zelAccess->InitAdapterforDiag(0, false);
        }
        fakes::TheJournal().Clear();
        ifstTstCb& test = group_.tstList[group_.curTest];
        const std::string block = std::to_string(reinterpret_cast<U64>(group_.frontEnd->gen));
        ActualArg list{ARGTYPE_U64, block.c_str(), nullptr};
        fakes::CaptureOutput capture;
        EXPECT_EQ(test.tst(&list), expectedStatus);
        out_ = capture.Out();
        err_ = capture.Err();
        done_ = fakes::TheJournal().Lines();
    }

    U8 EventCount() const { return group_.frontEnd->gen->eventCnt; }

    // The line that a failure leaves on standard error.
    std::string FailLine(const std::string& file, int line, const std::string& reason) const {
        return "Test " + std::to_string(group_.curTest + 1) + " Failed in file " + file +
               ", line " + std::to_string(line) + " with reason [" + reason + "]\n\n";
    }
    std::string PassLine() const {
        return "Test " + std::to_string(group_.curTest + 1) + " Passed \n\n";
    }

    // Group and test under which the summary notes an error now.
    static std::string NameInSummary() {
        TE::SUMMARY_INSTANCE.LogError("");
        const std::string line = SummaryErrors().back();
        return line.substr(0, line.find(':'));
    }

    // How many errors the summary holds when a failing test gives its verdict.
    int ErrorsBeforeVerdict() {
        EXPECT_TRUE(zelAccess->setAccessHandle());
        if (zelAccess->GetCurrentDevice() < 0)
            zelAccess->InitAdapterforDiag(0, false);
        const std::string block = std::to_string(reinterpret_cast<U64>(group_.frontEnd->gen));
        ActualArg list{ARGTYPE_U64, block.c_str(), nullptr};
        const fakes::CaptureOutput capture;
        const VerdictWatch watch;
        EXPECT_EQ(group_.tstList[group_.curTest].tst(&list), k_TestFinished);
        return watch.ErrorsBefore();
    }

    // Runs the test with the library closed.
    void RunWithoutHandle() {
        ASSERT_TRUE(zelAccess->setAccessHandle());
        g_ZelAccess.m_accessHandle = nullptr;
        const std::string block = std::to_string(reinterpret_cast<U64>(group_.frontEnd->gen));
        ActualArg list{ARGTYPE_U64, block.c_str(), nullptr};
        fakes::CaptureOutput capture;
        EXPECT_EQ(group_.tstList[group_.curTest].tst(&list), k_TestFinished);
        err_ = capture.Err();
    }

    // Exactly one failure, told on standard error and in the summary, and nothing passed.
    void ExpectFailed(const std::string& file, int line, const std::string& reason,
                      const std::string& summary) {
        EXPECT_EQ(err_, FailLine(file, line, reason));
        EXPECT_EQ(SummaryErrors(), std::vector<std::string>{summary});
        EXPECT_EQ(out_.find("Passed"), std::string::npos) << out_;
        EXPECT_EQ(EventCount(), 0);
    }
    void ExpectPassed() {
        EXPECT_EQ(err_, "");
        EXPECT_TRUE(SummaryErrors().empty());
        EXPECT_NE(out_.find(PassLine()), std::string::npos) << out_;
        EXPECT_EQ(EventCount(), 0);
    }

    fakes::Card& Card() { return fakes::ZelAccess().cards[0]; }
    static std::vector<std::string> Traced(DebugLevel level) {
        return fakes::Trace().TextsAt(level);
    }

    using Texts = std::vector<std::string>;

    ifstTstGroup& group_;
    std::string out_;
    std::string err_;
    Texts done_;

private:
    void Begin() {
        ifstSetupParams.failCtlState = IFST_EXIT_ON_FAIL;
        curTstGroup = static_cast<U32>(&group_ - ifstTstGrps);
        group_.frontEnd->gen->valid = 1;
        group_.frontEnd->gen->eventCnt = 77;
        group_.tstList = group_.frontEnd->tests;
        group_.numTests = group_.frontEnd->numTests;
        group_.curTest = test_;
        group_.dbgLvl = k_DbgLvlPassed | k_DbgLvlFailed;
        BeginSummary();
    }

    const U16 test_;
};

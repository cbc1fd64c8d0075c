// The VPU and the Cache test: which program goes to which card, what passes, and all that is printed
// and noted when one does not.
#include "TestEngine/core/WorkloadTest.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <iostream>
#include <sstream>

#include "CommonException.h"
#include "CommonTool/ShellExecuter.h"
#include "FakeLinks.h"
#include "TestEngine/RunningTest.h"
#include "TestEngine/VerdictWatch.h"
#include "TestEngine/core/CoreDiag.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::ThrowsMessage;

constexpr int kRefused = fakes::ShellAnswer::Exit(1);

// What the two tests differ in.
struct Subject {
    const char* test;
    std::string name;
    std::string workload;  // without its generation
    std::string file;
    int line;
    std::string summary;
    std::vector<std::string> notPassedSummary;
    std::string notPassedReason;  // on a card of the current generation
};

void PrintTo(const Subject& subject, std::ostream* out) {
    *out << subject.name;
}

const Subject kCache = {
    .test = "-c",
    .name = "Cache",
    .workload = "cache_workload",
    .file = "TestEngine/core/CoreDiagCacheTest",
    .line = 64,
    .summary = "CoreDiag.Cache: Failed to execue the cache workload",
    .notPassedSummary = {"CoreDiag.Cache: Cache workload did not run as expected",
                         "CoreDiag.Cache: Failed to execue the cache workload"},
    .notPassedReason = "cache_workload_er1xoutput is not having expected results \n",
};

const Subject kVpu = {
    .test = "-v",
    .name = "VPU",
    .workload = "vpu_workload",
    .file = "TestEngine/core/CoreDiagVpuTest",
    .line = 63,
    .summary = "CoreDiag.VPU: VPU workload did not run as expected",
    .notPassedSummary = {"CoreDiag.VPU: VPU workload did not run as expected"},
    .notPassedReason =
        "No errors from card execute, but the expected string not found in the execute output ",
};

class Workload : public RunningTest, public ::testing::WithParamInterface<Subject> {
protected:
    Workload() : RunningTest("-core", GetParam().test) {
        fakes::SetLink("/proc/self/exe", "/opt/tools/ZelDiag");
        ShellExecuter::SetAppDirAccessPath();
        fakes::Shell().SetFile("/usr/bin/ssh", true);
        fakes::Shell().SetFile("/usr/bin/scp", true);
        fakes::Shell().SetFile("/opt/tools/" + Er1x(), true);
        fakes::Shell().SetFile("/opt/tools/" + Ev1x(), true);
        fakes::Shell().OnCommand(nullptr);
    }

    static std::string Er1x() { return GetParam().workload + "_er1x"; }
    static std::string Ev1x() { return GetParam().workload + "_ev1x"; }
    static std::string Banner() { return "Executing " + GetParam().name + " tests...\n"; }
    static std::string Copy(const std::string& workload, int card = 0) {
        return "/usr/bin/scp /opt/tools/" + workload + "  zel" + std::to_string(card) + ":/  2>&1";
    }
    static std::string Execution(const std::string& workload, int card = 0) {
        return "/usr/bin/ssh zel" + std::to_string(card) + "  /" + workload + " ";
    }

    // A run on a card where the copy goes well.
    void RunWith(const fakes::ShellAnswer& execution) {
        fakes::Shell().Answer(Copy(Er1x()), {"copied\n", 0});
        fakes::Shell().Answer(Execution(Er1x()), execution);
        Run();
    }

    void ExpectWorkload(const std::string& workload) {
        fakes::Shell().Answer(Copy(workload));
        fakes::Shell().Answer(Execution(workload), {"TEST PASSED", 0});
        Run();
        ExpectPassed();
    }

    static std::string Block(const std::string& step, const std::string& reason,
                             const std::string& output) {
        return "\nAn error occurred in " + step + "  " + Er1x() + " : \n" + reason +
               "\nOutput from " + Er1x() + " :: \n" + output + "\n\n";
    }
};

TEST_P(Workload, CopiesRunsAndPasses) {
    RunWith({"banner\nTEST PASSED\n", 0});
    EXPECT_EQ(out_, Banner() + PassLine());
    ExpectPassed();
    EXPECT_THAT(done_, ElementsAre("stdout " + fakes::Quote(Banner()),
                                   "shell " + fakes::Quote(Copy(Er1x())),
                                   "shell " + fakes::Quote(Execution(Er1x())),
                                   "stdout " + fakes::Quote(PassLine())))
        << "the banner is out before anything runs";
}

TEST_P(Workload, FindsThePassTextAnywhere) {
    RunWith({"xxTEST PASSEDxx\nmore", 0});
    ExpectPassed();
}

TEST_P(Workload, ComparesThePassTextWithLetterCase) {
    for (const char* output : {"test passed", "Test Passed", "TEST  PASSED", "TEST\nPASSED"}) {
        BeginSummary();
        RunWith({output, 0});
        EXPECT_EQ(out_, Banner() + Block("executing", GetParam().notPassedReason, output));
        EXPECT_EQ(err_, FailLine(GetParam().file, GetParam().line, GetParam().notPassedReason));
        EXPECT_EQ(SummaryErrors(), GetParam().notPassedSummary);
        EXPECT_EQ(EventCount(), 0);
    }
}

TEST_P(Workload, FailsWhenNothingIsPrinted) {
    RunWith({"", 0});
    EXPECT_EQ(out_, Banner() + Block("executing", GetParam().notPassedReason, ""));
    EXPECT_EQ(SummaryErrors(), GetParam().notPassedSummary);
}

TEST_P(Workload, FailsWhenTheProgramFailsWhateverItPrints) {
    RunWith({"TEST PASSED\n", kRefused});
    EXPECT_EQ(out_, Banner() + Block("executing", "TEST PASSED", ""))
        << "what it printed is the reason";
    ExpectFailed(GetParam().file, GetParam().line, "TEST PASSED", GetParam().summary);
}

TEST_P(Workload, FailsWhenTheCopyFails) {
    fakes::Shell().Answer(Copy(Er1x()), {"Connection refused\n", kRefused});
    Run();
    const std::string reason = "upload command failed for the Card binary ::  " + Er1x();
    EXPECT_EQ(out_, Banner() + Block("uploading", reason, "Connection refused"));
    ExpectFailed(GetParam().file, GetParam().line, reason, GetParam().summary);
}

TEST_P(Workload, FailsWhenTheWorkloadIsNotBesideTheTool) {
    fakes::Shell().SetFile("/opt/tools/" + Er1x(), false);
    Run();
    EXPECT_EQ(out_, Banner() + Block("uploading", "File to upload was not found", ""));
    ExpectFailed(GetParam().file, GetParam().line, "File to upload was not found",
                 GetParam().summary);
    EXPECT_THAT(fakes::Shell().Commands(), IsEmpty());
}

TEST_P(Workload, FailsWhenNoShellCanBeStarted) {
    fakes::Shell().Answer(Copy(Er1x()), {"copied", 0});
    fakes::Shell().Refuse(Execution(Er1x()));
    Run();
    const std::string reason = "Could not open file descriptor to " + Execution(Er1x());
    EXPECT_EQ(out_, Banner() + Block("executing", reason, ""));
    ExpectFailed(GetParam().file, GetParam().line, reason, GetParam().summary);
}

TEST_P(Workload, TakesTheOlderProgramForEveryOtherCard) {
    Card() = fakes::Card::OlderGeneration();
    ExpectWorkload(Ev1x());
}

TEST_P(Workload, ComparesTheCardsNameWhole) {
    Card().name = "Ostrel(R) Vimbra(TM) Coprocessor X100";
    ExpectWorkload(Ev1x());
}

TEST_P(Workload, DoesNotTakeTheBeginningOfTheNameForIt) {
    Card().name = "Ostrel(R) Vimbra(TM) Coprocesso";
    ExpectWorkload(Ev1x());
}

TEST_P(Workload, GoesToTheOpenCard) {
    fakes::ZelAccess().cards.assign(13, fakes::Card());
    ASSERT_TRUE(zelAccess->setAccessHandle());
    zelAccess->InitAdapterforDiag(12, false);
    fakes::Shell().Answer(Copy(Er1x(), 12));
    fakes::Shell().Answer(Execution(Er1x(), 12), {"TEST PASSED", 0});
    Run();
    ExpectPassed();
}

TEST_P(Workload, TakesTheFallbackNameWithoutAnOpenCard) {
    ASSERT_TRUE(zelAccess->setAccessHandle());
    fakes::Shell().Answer(Copy(Ev1x(), -1));
    fakes::Shell().Answer(Execution(Ev1x(), -1), {"TEST PASSED", 0});
    Run();
    ExpectPassed();
}

// Calls the test as the engine does, without opening the library before.
I16 Call(const ifstTstGroup& group) {
    const std::string block = std::to_string(reinterpret_cast<U64>(group.frontEnd->gen));
    ActualArg list{ARGTYPE_U64, block.c_str(), nullptr};
    return group.tstList[group.curTest].tst(&list);
}

TEST_P(Workload, FailsWithoutTheLibraryBeforeItHasChosenAProgram) {
    {
        fakes::CaptureOutput capture;
        EXPECT_EQ(Call(group_), k_TestFinished);
        out_ = capture.Out();
        err_ = capture.Err();
    }
    EXPECT_EQ(out_,
              "\nAn error occurred in uploading   : \nAccess handle is NULL\n\nOutput from  :: \n"
              "\n\n");
    ExpectFailed(GetParam().file, GetParam().line, "Access handle is NULL\n", GetParam().summary);
}

TEST_P(Workload, EndsTheRunWithoutTheSecureCopy) {
    fakes::Shell().SetFile("/usr/bin/scp", false);
    EXPECT_THAT([&] { Call(group_); },
                ThrowsMessage<CommonException>("Upload tool not found in: /usr/bin/scp"));
    EXPECT_THAT(SummaryErrors(), IsEmpty());
}

TEST_P(Workload, EndsTheRunWithoutTheSecureShell) {
    fakes::Shell().SetFile("/usr/bin/ssh", false);
    EXPECT_THAT([&] { Call(group_); },
                ThrowsMessage<CommonException>("Could not find ZelCmd path"));
    EXPECT_THAT(SummaryErrors(), IsEmpty());
}

TEST_P(Workload, LooksForTheCopyFirst) {
    fakes::Shell().SetFile("/usr/bin/ssh", false);
    fakes::Shell().SetFile("/usr/bin/scp", false);
    EXPECT_THAT([&] { Call(group_); },
                ThrowsMessage<CommonException>("Upload tool not found in: /usr/bin/scp"));
}

INSTANTIATE_TEST_SUITE_P(Core, Workload, ::testing::Values(kCache, kVpu),
                         [](const auto& subject) { return subject.param.name; });

// Which of summary and verdict comes first ---------------------------------------------------------

class Order : public Workload {
protected:
    int ErrorsBeforeVerdict(const fakes::ShellAnswer& execution) {
        EXPECT_TRUE(zelAccess->setAccessHandle());
        zelAccess->InitAdapterforDiag(0, false);
        fakes::Shell().Answer(Copy(Er1x()));
        fakes::Shell().Answer(Execution(Er1x()), execution);
        const fakes::CaptureOutput capture;
        const VerdictWatch watch;
        EXPECT_EQ(Call(group_), k_TestFinished);
        return watch.ErrorsBefore();
    }
};

class CacheOrder : public Order {};
class VpuOrder : public Order {};

TEST_P(VpuOrder, SummaryBeforeVerdict) {
    EXPECT_EQ(ErrorsBeforeVerdict({"", kRefused}), 1);
    EXPECT_EQ(SummaryErrors().size(), 1U);
}

TEST_P(CacheOrder, VerdictBeforeSummary) {
    EXPECT_EQ(ErrorsBeforeVerdict({"", kRefused}), 0);
    EXPECT_EQ(SummaryErrors().size(), 1U);
}

TEST_P(CacheOrder, FirstOfTwoLinesBeforeTheVerdict) {
    EXPECT_EQ(ErrorsBeforeVerdict({"", 0}), 1);
    EXPECT_EQ(SummaryErrors().size(), 2U);
}

INSTANTIATE_TEST_SUITE_P(Core, CacheOrder, ::testing::Values(kCache));
INSTANTIATE_TEST_SUITE_P(Core, VpuOrder, ::testing::Values(kVpu));

}  // namespace

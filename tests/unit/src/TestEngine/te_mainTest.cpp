// The run driver over several cards, and the life of groups on each.
#include "TestEngine/te_main.h"

#include <malloc.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <new>
#include <sstream>
#include <utility>

#include "CommonException.h"
#include "FakeLinks.h"
#include "Rows.h"
#include "TestEngine/TestGroups.h"
#include "TestEngine/te_main_frontend.h"
#include "TestEngine/te_main_params.h"
#include "TestEngine/te_summary.h"
#include "ToolFixture.h"
#include "ZelAccess.h"
#include "ZelDiagTool.h"

namespace {

const std::string kSingle(72, '-');
const std::string kDouble(72, '=');

class Run : public ToolFixture {
protected:
    static void Forget() {
        ResetToolState();
        fakes::ResetAll();
    }

    static void Cards(unsigned count) {
        fakes::ZelAccess().cards.assign(count, fakes::Card());
        for (unsigned i = 0; i < count; ++i)
            fakes::SetLink(
                "/sys/class/zel/zel" + std::to_string(i),
                "../../devices/0000:" + std::to_string(i) + "/zel/zel" + std::to_string(i));
    }

    // Runs the tool with words separated by blanks; the exit status, or -1 when it threw.
    int Tool(const std::string& line) {
        words_ = {"ZelDiag"};
        std::istringstream stream(line);
        for (std::string word; stream >> word;)
            words_.push_back(word);
        argv_.clear();
        for (std::string& word : words_)
            argv_.push_back(word.data());
        argv_.push_back(nullptr);
        fakes::CaptureOutput capture;
        int status = -1;
        try {
            ZelDiagTool tool;
            status = tool.ExecuteCmds(static_cast<int>(words_.size()), argv_.data());
        } catch (const CommonException& failure) {
            thrown_ = failure.what();
        }
        out_ = capture.Out();
        err_ = capture.Err();
        return status;
    }

    size_t Count(const std::string& text) const {
        size_t count = 0;
        for (size_t at = out_.find(text); at != std::string::npos; at = out_.find(text, at + 1))
            ++count;
        return count;
    }

    std::string out_;
    std::string err_;
    std::string thrown_;
    std::vector<std::string> words_;
    std::vector<char*> argv_;
};

TEST_F(Run, PrintsHeaderGroupsAndTrailer) {
    Cards(1);
    EXPECT_EQ(Tool("-core -gec -smc -fwv"), 0);
    EXPECT_EQ(out_,
              "ZelGetVersion  1.0.0 \n" + kDouble +
                  "\nRunning Coprocessor Diagnostics on device 1 of 1 (zel0 on PCIe Addr 0000:0)\n"
                  "HOSK Version=NotAvailable; Flash version=2.1.02.0390; SMC Version=1.16.42\n" +
                  kSingle +
                  "\nCore Diagnostics : BEGINS\n\n"
                  "Test 1: Get list of enabled cores\nNumber of cores found: 60\n"
                  "Test 1: PASSED\n\nCore Diagnostics : ENDS\n" +
                  kSingle +
                  "\nSMC Diagnostics (Ostrel(R) Vimbra(TM) Coprocessor only) : BEGINS\n\n"
                  "Test 1: SMC get firmware version\nTest 1: PASSED\n\n"
                  "SMC Diagnostics (Ostrel(R) Vimbra(TM) Coprocessor only) : ENDS\n"
                  "Test Group [Core Diagnostics]: PASSED\n"
                  "Test Group [SMC Diagnostics (Ostrel(R) Vimbra(TM) Coprocessor only)]: PASSED\n" +
                  kSingle +
                  "\nCoprocessor Diagnostics completed for device: 1 of 1\nDevice Status: OK\n" +
                  kDouble + "\n");
    EXPECT_EQ(err_, "");
}

TEST_F(Run, ReportsFailedTests) {
    Cards(1);
    fakes::ZelAccess().cards[0].registers[0x1AB54] = 0;
    fakes::ZelAccess().cards[0].registers[0x1AB30] = 0;
    EXPECT_EQ(Tool("-noExitOnFail -core -gec -gnt -gid"), 1);
    EXPECT_NE(out_.find("Test Group [Core Diagnostics]: FAILED\n"
                        "            Following tests have failed:          \n"
                        "   Test 2 : Get number of threads \n   Test 3 : Get CPU ID \n" +
                        kSingle),
              std::string::npos)
        << out_;
    EXPECT_NE(out_.find("Device Status: FAILED\n"), std::string::npos);
}

TEST_F(Run, ShowsVersionAndEndsWithoutWords) {
    Cards(1);
    EXPECT_EXIT(Tool(""), testing::ExitedWithCode(1), "");
    EXPECT_EXIT(Tool("-summary"), testing::ExitedWithCode(1), "");
}

TEST_F(Run, OpensNoCardWithoutATest) {
    Cards(1);
    for (const char* line : {"-quietMode", "-help", "-core -help", "-core -gec -help",
                             "-core -dbgLvl=8", "-core -gec -smc"}) {
        Forget();
        EXPECT_EQ(Tool(line), 0) << line;
        EXPECT_TRUE(fakes::ZelAccess().Calls().empty()) << line;
    }
}

TEST_F(Run, ThrowsForWordsThatDoNotParse) {
    Cards(1);
    EXPECT_EQ(Tool("-core -gec -nothing"), -1);
    EXPECT_EQ(thrown_, "Could not parse arguments");
}

TEST_F(Run, LetsTheLastTestedCardDecide) {
    struct Row {
        bool firstFails, lastFails;
        const char* list;
        int status;
    };
    for (const Row& row : {Row{true, false, "0,1", 0},
                           {false, true, "0,1", 1},
                           {true, true, "0,1", 1},
                           {true, false, "0", 1},
                           {false, true, "0", 0},
                           {true, true, "7", 0}}) {
        Forget();
        Cards(2);
        fakes::ZelAccess().cards[0].registers[0x1AB54] = row.firstFails ? 0 : 0xB000;
        fakes::ZelAccess().cards[1].registers[0x1AB54] = row.lastFails ? 0 : 0xB000;
        EXPECT_EQ(Tool(std::string("-devicelist ") + row.list + " -summary -core -gid"), row.status)
            << row.firstFails << row.lastFails << row.list;
        EXPECT_EQ(Count("HOSK Version: "), 1U) << "one summary, also when the last card is skipped";
    }
}

TEST_F(Run, RunsEverythingAgainOnTheNextCard) {
    Cards(3);
    fakes::ZelAccess().cards[0].linkWidth = 8;
    EXPECT_EQ(Tool("-summary -pcie -vlw -vdi -core -gec -dbgLvl=8"), 0);
    EXPECT_EQ(Count("PCIE Diagnostics : BEGINS"), 3U);
    EXPECT_EQ(Count("Core Diagnostics : BEGINS"), 2U) << "the failed group ends the first card";
    EXPECT_EQ(Count("Test 3: Verify Coprocessor Device ID"), 2U);
    EXPECT_EQ(Count("Test 1 Passed \n"), 2U) << "the debug level holds on every card";
    EXPECT_EQ(Count("Device Status: FAILED"), 1U);
    EXPECT_EQ(Count("ZEL Card Numbers with Errors: 0\n"), 1U);
}

TEST_F(Run, RunsTheChosenCardAlone) {
    Cards(3);
    EXPECT_EQ(Tool("-devicelist 2 -core -gec -gnt"), 0);
    EXPECT_EQ(Count("Running Coprocessor Diagnostics on device 3 of 3 (zel2 on"), 1U);
    EXPECT_EQ(Count("Running Coprocessor"), 1U);
    EXPECT_EQ(GroupRow("-core").passCnt, 2) << "counters of the card alone";
}

// What the command line names must still be there then.
TEST_F(Run, ParsesAgainBeforeSkippedCardsToo) {
    const std::string pattern =
        std::filesystem::temp_directory_path() / ("skipped-cards-" + std::to_string(getpid()));
    std::ofstream(pattern) << "pattern";
    Cards(2);
    fakes::ZelAccess().cards[0].usageMode = ZEL_USAGE_MODE_OFFLINE;
    fakes::ZelAccess().corruptRead = [&](U64, U8*, U32) { std::filesystem::remove(pattern); };
    EXPECT_EQ(Tool("-devicelist 0 -mem -wr -dp=" + pattern), -1);
    EXPECT_EQ(Count("Device Status: OK"), 1U);
    EXPECT_EQ(thrown_, "Could not parse arguments");
}

TEST_F(Run, AVerdictIsOfItsOwnCard) {
    Cards(2);
    fakes::ZelAccess().cards[1] = fakes::Card::OlderGeneration();
    fakes::ZelAccess().Fail("ZelGetUUID", 13);
    EXPECT_EQ(Tool("-summary -noExitOnFail -smc -uuid"), 0);
    EXPECT_EQ(Count("Device Status: FAILED"), 1U);
    EXPECT_EQ(Count("Device Status: OK"), 1U) << "the test passes over the older generation";
    EXPECT_EQ(Count("Test 3: FAILED\n"), 1U);
    EXPECT_EQ(Count("   Test 3 : SMC get UUID \n"), 1U);
    EXPECT_EQ(Count("ZEL Card Numbers with Errors: 0\n"), 1U);
}

TEST_F(Run, SkipsAGroupOnACardInAnotherMode) {
    Cards(1);
    fakes::ZelAccess().cards[0].usageMode = ZEL_USAGE_MODE_MAINTENANCE;
    EXPECT_EQ(Tool("-summary -pcie -vlw -core -gec -dma -vdh2l -smc -fwv"), 0);
    EXPECT_EQ(Count("Test Group ["), 0U);
    EXPECT_EQ(Count("Device Status: OK"), 1U);
    EXPECT_EQ(
        Count(" *** PCIE Diagnostics :The Coprocessor is not in normal mode, set it to Normal "
              "mode to run this test ***\n\n"),
        1U);
    EXPECT_EQ(
        Count(" *** Core Diagnostics :The Coprocessor is not in normal mode, set it to Normal "
              "mode to run this test  ***\n\n"),
        1U);
    EXPECT_EQ(Count(" *** DMA Diagnostics :The Coprocessor is not in normal mode, set it to Normal "
                    "mode to run this test ***\n\n"),
              1U);
    EXPECT_EQ(Count(" *** SMC Diagnostics (Ostrel(R) Vimbra(TM) Coprocessor only) : Coprocessor is "
                    "not in normal mode, set it to Normal mode to run this test ***\n\n"),
              1U);
    EXPECT_EQ(Count("(0000:0; Flash=2.1.02.0390; SMC=1.16.42): FAILED (4)\n"
                    "  PcieDiag.<none>: The Coprocessor is not in normal mode\n"
                    "  CoreDiag.<none>: The Coprocessor is not in normal mode\n"
                    "  DmaDiag.<none>: The Coprocessor is not in normal mode\n"
                    "  SmcDiag.<none>: The Coprocessor is not in normal mode\n"),
              1U);
}

TEST_F(Run, SaysNotAvailableForVersionsItCannotRead) {
    Cards(1);
    fakes::ZelAccess().Fail("ZelGetZelVersion", 13, 1);
    fakes::ZelAccess().Fail("ZelGetSMCFWVersion", 13);
    EXPECT_EQ(Tool("-core -gec"), 0);
    EXPECT_EQ(Count("HOSK Version=NotAvailable; Flash version=NA; SMC Version=NA\n"), 1U);
}

TEST_F(Run, ReportsACardThatDoesNotClose) {
    Cards(1);
    fakes::ZelAccess().Fail("ZelCloseAdapter", 13);
    EXPECT_EQ(Tool("-core -gec"), 0) << "the card's tests passed";
    EXPECT_EQ(Count("Device Status: OK\nFailed to close adapter for device: 1 of 1\n" + kDouble),
              1U);
}

TEST_F(Run, FailsWhenACardThatDoesNotCloseIsTheLast) {
    Cards(2);
    fakes::ZelAccess().cards[0].registers[0x1AB54] = 0;
    fakes::ZelAccess().Fail("ZelCloseAdapter", 13, 1);
    EXPECT_EQ(Tool("-core -gid"), 1);
}

TEST_F(Run, ReportsALibraryThatDoesNotClose) {
    Cards(2);
    fakes::ZelAccess().Fail("ZelCloseAPI", 13);
    EXPECT_EQ(Tool("-core -gec"), 0);
    EXPECT_EQ(Count(kDouble + "\nFailed to close API for device id: 0\n"), 1U);
    Forget();
    Cards(2);
    fakes::ZelAccess().cards[0].registers[0x1AB54] = 0;
    fakes::ZelAccess().Fail("ZelCloseAPI", 13);
    EXPECT_EQ(Tool("-core -gid"), 1) << "not every card passed";
}

TEST_F(Run, EndsWhenACardDoesNotOpen) {
    Cards(3);
    fakes::ZelAccess().Fail("ZelInitAdapter", 13, 1);
    EXPECT_EQ(Tool("-core -gec"), -1);
    EXPECT_EQ(thrown_, "ZelInitAdapter failed");
    EXPECT_EQ(Count("Running Coprocessor"), 1U);
}

TEST_F(Run, EndsWithoutCards) {
    Cards(0);
    EXPECT_EXIT(Tool("-core -gec"), testing::ExitedWithCode(1), "");
    fakes::ZelAccess().Fail("ZelInitAPI", 13);
    EXPECT_EXIT(Tool("-core -gec"), testing::ExitedWithCode(1), "");
    fakes::ResetAll();
    Cards(1);
    zelAccess = nullptr;
    EXPECT_EXIT(Tool("-core -gec"), testing::ExitedWithCode(1), "");
}

TEST_F(Run, RefusesMoreCardsThanItSupports) {
    Cards(256);
    EXPECT_EXIT(Tool("-core -gec"), testing::ExitedWithCode(1), "");
    EXPECT_EQ((Cards(255), Tool("-smc -fwv")), 0);
    EXPECT_EQ(Count("Device Status: OK"), 255U);
}

TEST_F(Run, HandsTheArgumentsOver) {
    Cards(1);
    ifstSetupParams.conc = {7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7};
    ifstSetupParams.bQuietMode = 1;
    ifstSetupParams.errLog.result = 1;
    ifstSetupParams.failCtlState = IFST_NO_EXIT_ON_FAIL;
    std::strcpy(ifstSetupParams.cmdFileName, "old");
    ifstSetupParams.logCtl.logEna = 1;
    ifstSetupParams.logCtl.dataLogHndl = ifstSetupParams.logCtl.sumLogHndl = stderr;
    concDatalogParams.errLogHndl = stderr;
    Tool("-summary -core -gec");
    EXPECT_EQ(Count("Test 1: PASSED"), 1U) << "not quiet";
    EXPECT_EQ(err_, "") << "no log is written";
    EXPECT_EQ(ifstSetupParams.bQuietMode, 0);
    EXPECT_EQ(ifstSetupParams.errLog.result, 0U);
    EXPECT_STREQ(ifstSetupParams.cmdFileName, "");
    EXPECT_EQ(ifstSetupParams.logCtl.dataLogHndl, nullptr);
    EXPECT_EQ(ifstSetupParams.logCtl.sumLogHndl, nullptr);
    EXPECT_EQ(concDatalogParams.errLogHndl, nullptr);
    EXPECT_EQ(ifstSetupParams.inpArg.inpArgCnt, 3);
    EXPECT_STREQ(ifstSetupParams.inpArg.inpArgVal[0], "-summary");
    EXPECT_NE(ifstSetupParams.oMain, nullptr);
    EXPECT_STREQ(ifstSetupParams.logCtl.logPath, "./log/");
    EXPECT_EQ(ifstSetupParams.logCtl.logEna, 0);
    EXPECT_EQ(ifstSetupParams.conc.concPhaseEna, 2U);
    EXPECT_EQ(ifstSetupParams.conc.randomMode, 1U);
    EXPECT_EQ(ifstSetupParams.conc.innerLoopCnt, 1U);
    EXPECT_EQ(ifstSetupParams.conc.outerLoopCnt, 1U);
    EXPECT_EQ(ifstSetupParams.conc.startSeed, 0U);
    EXPECT_EQ(ifstSetupParams.conc.endSeed, 0U);
    EXPECT_EQ(ifstSetupParams.failCtlState, U32{IFST_EXIT_ON_FAIL});
    EXPECT_EQ(ifstSetupParams.timeLog.startTime, 1704164645U);
    EXPECT_STREQ(ifstSetupParams.timeLog.stTmSVal.sYear, "2024");
    EXPECT_EQ(fakes::Trace().Callback() != nullptr, true);
}

TEST_F(Run, ForgetsTheLogsOfTheRunBeforeWithoutATest) {
    ifstSetupParams.logCtl.dataLogHndl = stderr;
    EXPECT_EQ(Tool("-core -help"), 0);
    EXPECT_EQ(ifstSetupParams.logCtl.dataLogHndl, nullptr);
}

TEST_F(Run, MakesAGroupsLogTheDataLogWhenItBegins) {
    Cards(1);
    ifstTstGrps[2].logHndl = stderr;
    EXPECT_EQ(Tool("-core -gec"), 0);
    EXPECT_EQ(ifstSetupParams.logCtl.dataLogHndl, stderr);
    EXPECT_EQ(Tool("-core -gec -smc -fwv"), 0);
    EXPECT_EQ(ifstSetupParams.logCtl.dataLogHndl, nullptr) << "the group that began last has none";
    ifstTstGrps[2].logHndl = nullptr;
}

TEST_F(Run, ForgetsTestIdAndLoopsAfterACard) {
    Cards(2);
    testIdG = 9;
    ifstTstCb& notSelected = ifstTstGrps[2].frontEnd->tests[4];
    notSelected.lpCb.testLpEna = IFST_LOOP_REPEAT;
    EXPECT_EQ(Tool("-core -gec"), 0);
    EXPECT_EQ(Count("Test Id.: 9\nTest 1: "), 1U) << "the first card's alone";
    EXPECT_EQ(Count("Test 1: PASSED"), 2U);
    EXPECT_EQ(testIdG, 0U);
    EXPECT_EQ(notSelected.lpCb.testLpEna, IFST_LOOP_NONE);
}

// The sanitizers look for it too; they need no count.
TEST_F(Run, LeavesNoMemoryBehind) {
    char program[] = "ZelDiag";
    char quiet[] = "-quietMode";
    char* words[] = {program, quiet, nullptr};
    constexpr size_t kRuns = 1000;
    ASSERT_EQ(InitUTask(2, words, nullptr), 0);
    const size_t before = mallinfo2().uordblks;
    for (size_t i = 0; i < kRuns; ++i) {
        InitUTask(2, words, nullptr);
        fakes::TheJournal().Clear();
    }
    EXPECT_LT(mallinfo2().uordblks, before + kRuns);
}

TEST_F(Run, BeginsEachGroupWithItsFirstTest) {
    Cards(1);
    EXPECT_EQ(Tool("-core -gid -gec"), 0);
    EXPECT_LT(out_.find("Test 1: Get list"), out_.find("Test 3: Get CPU ID"));
}

// A group whose configuration answers what the row says.
class CardVerdict : public Run {};

TEST_F(CardVerdict, CanEndInTheConfiguration) {
    static I16 answer;
    for (const auto& [status, expected] : std::vector<std::pair<I16, int>>{
             {I16{IFST_CARD_OK}, 0}, {I16{IFST_CARD_ABORTED}, 1}, {I16{IFST_CARD_FAILED}, 1}}) {
        Forget();
        ifstTstGrps[0].cfg = [](ifstTstGroup*) { return answer; };
        Cards(1);
        answer = status;
        EXPECT_EQ(Tool("-pcie -vlw -core -gec"), expected) << status;
        EXPECT_EQ(Count("Core Diagnostics : BEGINS"), 0U);
    }
}

TEST_F(CardVerdict, AbortsInAnIllegalState) {
    static U8 state;
    for (const U8 illegal : {U8{0}, U8{7}, U8{8}, U8{11}, U8{255}}) {
        Forget();
        ifstTstGrps[0].cfg = [](ifstTstGroup* group) -> I16 {
            group->state = state;
            return 0;
        };
        Cards(2);
        state = illegal;
        EXPECT_EQ(Tool("-pcie -vlw -core -gec"), 1) << int{illegal};
        EXPECT_EQ(Count("Device Status: FAILED"), 2U) << "the next card is tested all the same";
    }
}

TEST_F(CardVerdict, FailsACardThatRunsOutOfMemory) {
    static bool first;
    first = true;
    ifstTstGrps[0].cfg = [](ifstTstGroup* group) -> I16 {
        if (std::exchange(first, false))
            throw std::bad_alloc();
        group->state = IFST_GROUP_RUNNING;
        return IFST_CARD_NOT_RUN;
    };
    Cards(2);
    EXPECT_EQ(Tool("-summary -pcie -vlw -vdi"), 0) << "the last card passed";
    EXPECT_EQ(Count("Device Status: FAILED"), 1U);
    EXPECT_EQ(Count("Device Status: OK"), 1U);
    EXPECT_EQ(Count("FAILED (1)\n  PcieDiag.<none>: Out of memory\n"), 1U) << out_;
    EXPECT_EQ(err_, "ZelDiag: out of memory; zel0 was not tested to the end\n");
}

TEST_F(CardVerdict, ReportsAnAbortedGroup) {
    ifstTstGrps[0].cfg = [](ifstTstGroup* group) -> I16 {
        group->state = IFST_GROUP_TESTED;
        group->result = IFST_ABORTED;
        return 0;
    };
    Cards(1);
    EXPECT_EQ(Tool("-pcie -vlw -core -gec"), 1);
    EXPECT_EQ(Count("Test Group [PCIE Diagnostics]: ABORTED\n" + kSingle), 1U) << out_;
}

}  // namespace

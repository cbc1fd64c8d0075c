// The command line.
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "CommonTool/ShellExecuter.h"
#include "FakeLinks.h"
#include "Rows.h"
#include "TestEngine/TestGroups.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_frontend.h"
#include "TestEngine/te_main_params.h"
#include "ToolFixture.h"

namespace {

constexpr char kPcie[] = "-pcie";
constexpr char kMemory[] = "-mem";
constexpr char kCore[] = "-core";
constexpr char kDma[] = "-dma";
constexpr char kSmc[] = "-smc";

class CommandLine : public ToolFixture {
protected:
    CommandLine() { Rearm(); }

    // What the run driver does before each parse.
    static void Rearm() {
        ResetToolState();
        ifstSetupParams.failCtlState = IFST_EXIT_ON_FAIL;
        ResetRows();
    }
    static void ResetRows() {
        for (ifstTstGroup& group : ifstTstGrps) {
            group.state = IFST_GROUP_IDLE;
            group.curTest = 0;
            group.dbgLvl = 0;
        }
    }

    // Parses words separated by blanks.
    int Parse(const std::string& line) {
        words_ = {"ZelDiag"};
        std::istringstream stream(line);
        for (std::string word; stream >> word;)
            words_.push_back(word);
        argv_.clear();
        for (std::string& word : words_)
            argv_.push_back(word.data());
        ifstSetupParams.inpArg.inpArgCnt = static_cast<I32>(argv_.size());
        ifstSetupParams.inpArg.inpArgVal = const_cast<const char**>(argv_.data());
        return ParseAgain();
    }
    int ParseAgain() {
        fakes::CaptureOutput capture;
        const int result = ifstParseCmdLine(static_cast<int>(argv_.size()) - 1, argv_.data() + 1);
        out_ = capture.Out();
        err_ = capture.Err();
        return result;
    }

    static bool NothingSelected() { return (curTstMode & k_NoTestSelected) != 0; }

    // The short names of the selected tests, in table order, each with a blank behind it.
    static std::string Selected() {
        std::string selected;
        for (const ifstTstGroup& group : ifstTstGrps) {
            for (const ifstTstCb& test : group.frontEnd->Tests()) {
                if (test.state == IFST_TEST_SELECTED)
                    selected += std::string(test.shortNm) + " ";
            }
        }
        return selected;
    }

    // What Selected() says when every test of the groups is.
    static std::string AllOf(std::initializer_list<const char*> groups) {
        std::string all;
        for (const char* const group : groups) {
            for (const ifstTstCb& test : GroupRow(group).frontEnd->Tests())
                all += std::string(test.shortNm) + " ";
        }
        return all;
    }

    static bool BreaksOnFail(const char* group) {
        return (GroupRow(group).frontEnd->gen->onFailCb.onFailMask & k_BreakOnFail) != 0;
    }

    void ExpectInvalid(const std::string& line, const std::string& word) {
        Rearm();
        EXPECT_EQ(Parse(line), -1) << line;
        EXPECT_EQ(err_, "Invalid argument: " + word + "\nPlease try -help for help.\n") << line;
        EXPECT_EQ(out_, "") << line;
    }

    std::string out_;
    std::string err_;
    std::vector<std::string> words_;
    std::vector<char*> argv_;
};

TEST_F(CommandLine, SelectsATest) {
    EXPECT_EQ(Parse("-CoreDiag -gec"), 0);
    EXPECT_EQ(Selected(), "-gec ");
    EXPECT_FALSE(NothingSelected());
    EXPECT_EQ(GroupRow(kCore).state, IFST_GROUP_SELECTED);
    EXPECT_EQ(GroupRow(kPcie).state, IFST_GROUP_IDLE);
    EXPECT_TRUE(BreaksOnFail(kCore));
}

TEST_F(CommandLine, IgnoresCase) {
    EXPECT_EQ(Parse("-COREDIAG -getcpuid -SMC -FWV"), 0);
    EXPECT_EQ(Selected(), "-gid -fwv ");
}

TEST_F(CommandLine, ComparesNamesOfMemoryTestsWithCase) {
    EXPECT_EQ(Parse("-mem -wr -ALL -CONTONFAIL"), 0);
    EXPECT_EQ(Selected(), AllOf({"-mem"}));
    EXPECT_FALSE(BreaksOnFail(kMemory));
    ExpectInvalid("-mem -WR", "-WR");
}

TEST_F(CommandLine, RefusesASingleWord) {
    for (const char* word : {"-core", "-CoreDiag", "-r=1", "anything", "x-helpful"}) {
        Rearm();
        EXPECT_EQ(Parse(word), -1) << word;
        EXPECT_EQ(err_, "One argument is missing.\n") << word;
    }
}

TEST_F(CommandLine, TakesASingleFlag) {
    EXPECT_EQ(Parse("-quietMode"), 0);
    EXPECT_TRUE(NothingSelected());
    EXPECT_EQ(ifstSetupParams.bQuietMode, 1);
}

TEST_F(CommandLine, FindsFlagsInsideAnyWord) {
    EXPECT_EQ(Parse("-core -gec x-QUIETMODEx"), 0);
    EXPECT_EQ(ifstSetupParams.bQuietMode, 1);
    for (const auto& [line, failCtl] : std::vector<std::pair<const char*, U32>>{
             {"-exitOnFail a-SKIPONFAILb", IFST_SKIP_ON_FAIL},
             {"-noExitOnFail -quietMode", IFST_NO_EXIT_ON_FAIL},
             {"-skipOnFail -noexitonfail -EXITONFAIL", IFST_EXIT_ON_FAIL},
             {"-skipOnFail-exitOnFail -quietMode", IFST_EXIT_ON_FAIL}}) {
        Rearm();
        EXPECT_EQ(Parse(line), 0) << line;
        EXPECT_EQ(ifstSetupParams.failCtlState, failCtl) << line;
    }
}

TEST_F(CommandLine, UnselectsWhenAGroupIsNamed) {
    EXPECT_EQ(Parse("-core -gec -smc"), 0);
    EXPECT_TRUE(NothingSelected());
    Rearm();
    EXPECT_EQ(Parse("-core -gec -core"), 0);
    EXPECT_TRUE(NothingSelected());
}

TEST_F(CommandLine, OffersAWordToEveryGroupNamedSoFar) {
    EXPECT_EQ(Parse("-pcie -vls -core -gec -smc -all"), 0);
    EXPECT_EQ(Selected(), AllOf({"-pcie", "-core", "-smc"}));
    Rearm();
    EXPECT_EQ(Parse("-pcie -core -vlw -gec"), 0);
    EXPECT_EQ(Selected(), "-vlw -gec ");
    ExpectInvalid("-pcie -gec", "-gec");
}

TEST_F(CommandLine, SetsBreakOnFailByWord) {
    EXPECT_EQ(Parse("-core -gec -continueOnFail"), 0);
    EXPECT_FALSE(BreaksOnFail(kCore));
    for (const auto& [line, breaks] :
         std::vector<std::pair<const char*, bool>>{{"-core -gec -contOnFail", false},
                                                   {"-core -gec -contOnFail -brkOnFail", true},
                                                   {"-core -gec -contOnFail -breakOnFail", true},
                                                   {"-core -contOnFail -gec", true},
                                                   {"-core -all", false}}) {
        Rearm();
        EXPECT_EQ(Parse(line), 0) << line;
        EXPECT_EQ(BreaksOnFail(kCore), breaks) << line;
    }
}

TEST_F(CommandLine, SetsDebugLevelsWithoutSelecting) {
    EXPECT_EQ(Parse("-core -dbgLvl=72"), 0);
    EXPECT_EQ(GroupRow(kCore).dbgLvl, 8U);
    EXPECT_TRUE(NothingSelected());
    for (const auto& [line, level] : std::vector<std::pair<const char*, U32>>{
             {"-core -gec -DEBUGLEVEL=0xFF", 63}, {"-core -gec -dbglvl=", 0}}) {
        Rearm();
        EXPECT_EQ(Parse(line), 0) << line;
        EXPECT_EQ(GroupRow(kCore).dbgLvl, level) << line;
        EXPECT_FALSE(NothingSelected()) << line;
    }
    ExpectInvalid("-core -gec -dbgLvl=abc", "-dbgLvl=abc");
    ExpectInvalid("-core -gec -dbgLvl", "-dbgLvl");
    ExpectInvalid("-dbgLvl=8 -core", "-dbgLvl=8");
}

TEST_F(CommandLine, SetsTheDebugLevelOfEveryGroupNamedSoFar) {
    EXPECT_EQ(Parse("-core -smc -dbgLvl=4 -dma -fwv"), 0);
    EXPECT_EQ(GroupRow(kCore).dbgLvl, 4U);
    EXPECT_EQ(GroupRow(kSmc).dbgLvl, 4U);
    EXPECT_EQ(GroupRow(kDma).dbgLvl, 0U);
}

TEST_F(CommandLine, StoresRunValuesAndRefusesThem) {
    struct Row {
        const char* word;
        U32 start, end, inner, outer;
    };
    for (const Row& row : {Row{"-b=7", 7, 0, 0, 0},
                           {"-BS=0x10", 16, 0, 0, 0},
                           {"-beginSeed=1", 1, 0, 0, 0},
                           {"-e=2", 0, 2, 0, 0},
                           {"-es=3", 0, 3, 0, 0},
                           {"-endSeed=", 0, 0, 0, 0},
                           {"-r=3", 0, 0, 4, 0},
                           {"-R=3", 0, 0, 4, 0},
                           {"-Repeat=5", 0, 0, 6, 0},
                           {"-innerLpCnt=1", 0, 0, 2, 0},
                           {"-outerLpCnt=8", 0, 0, 0, 9},
                           {"-r=x", 0, 0, 0, 0},
                           {"-q=3", 0, 0, 0, 0}}) {
        for (const std::string& line :
             {row.word + std::string(" -core"), "-core -gec " + std::string(row.word)}) {
            ExpectInvalid(line, row.word);
            EXPECT_EQ(ifstSetupParams.conc.startSeed, row.start) << line;
            EXPECT_EQ(ifstSetupParams.conc.endSeed, row.end) << line;
            EXPECT_EQ(ifstSetupParams.conc.innerLoopCnt, row.inner) << line;
            EXPECT_EQ(ifstSetupParams.conc.outerLoopCnt, row.outer) << line;
        }
    }
}

TEST_F(CommandLine, RefusesUnknownWords) {
    ExpectInvalid("-gec -core", "-gec");
    ExpectInvalid("-core -gec nothing", "nothing");
    ExpectInvalid("-core -gec =", "=");
    ExpectInvalid("-core -gec x-helpful", "x-helpful");
    const std::string huge(100000, 'a');
    ExpectInvalid("-core -gec " + huge + "=" + huge, huge + "=" + huge);
    ExpectInvalid("-core -gec \xFF\x01-\xC3\xA9", "\xFF\x01-\xC3\xA9");
}

TEST_F(CommandLine, PrintsHelpBeforeAnyGroup) {
    for (const char* line : {"-help", "-HELP", "--help", "x-help", "-help-help", "-helpme-help",
                             "-quietMode -help nonsense"}) {
        Rearm();
        EXPECT_EQ(Parse(line), 0) << line;
        EXPECT_EQ(out_.rfind("\nZelDiag provides diagnostic tests for Ostrel(R) Vimbra(TM) "
                             "Coprocessors.\n \nAvailable Global Options",
                             0),
                  0U)
            << line;
        EXPECT_NE(out_.find("\n        -pcie or -PcieDiag : PCIE Diagnostics\n"),
                  std::string::npos);
        EXPECT_TRUE(NothingSelected()) << line;
    }
}

TEST_F(CommandLine, SaysThatTheHelpTextIsMissing) {
    // The test program has no help text beside it.
    ifstSetupParams.conc.state = 3;
    EXPECT_EQ(Parse("-help"), 0);
    EXPECT_EQ(err_, "Error! unable to find te_doc.t Please check your installation\n");
    EXPECT_EQ(ifstSetupParams.conc.state, 12U);
}

TEST_F(CommandLine, CopiesTheHelpTextAndRestoresTheDisplayState) {
    const auto folder =
        std::filesystem::temp_directory_path() / ("zeldiag-help-" + std::to_string(getpid()));
    ASSERT_TRUE(std::filesystem::create_directory(folder));
    std::ofstream(folder / "te_doc.t") << "# a comment\nthe text # and more\n of help\n";
    fakes::SetLink("/proc/self/exe", folder / "program");
    ShellExecuter::SetAppDirAccessPath();
    ifstSetupParams.conc.state = 3;
    EXPECT_EQ(Parse("-help"), 0);
    ShellExecuter::SetAppDirAccessPath();
    std::filesystem::remove_all(folder);
    EXPECT_TRUE(out_.ends_with("\nthe text  of help\n\n")) << out_;
    EXPECT_EQ(err_, "");
    EXPECT_EQ(ifstSetupParams.conc.state, 3U);
}

TEST_F(CommandLine, PrintsAGroupsHelpAndSelectsNothing) {
    EXPECT_EQ(Parse("-core -help"), 0);
    EXPECT_EQ(out_.rfind("Coprocessor Diagnostics\n\nTest Group: Core\n\nAvailable", 0), 0U)
        << out_;
    Rearm();
    EXPECT_EQ(Parse("-core -gec -Help -nonsense"), 0);
    EXPECT_EQ(out_,
              "ZelDiag -CoreDiag -GetEnabledCores\n| or ZelDiag -cd -gec\n"
              "| Gets the list of current enabled cores.\n");
    EXPECT_TRUE(NothingSelected());
}

TEST_F(CommandLine, PrintsTheHelpOfEveryGroupNamedSoFar) {
    EXPECT_EQ(Parse("-smc -core -gnt -help"), 0);
    EXPECT_EQ(out_.rfind("ZelDiag -CoreDiag -GetNumThreads\n| or ZelDiag -cd -gec\n", 0), 0U);
    EXPECT_NE(out_.find("Test Group: SMC\nNote: This test group is only available on Ostrel(R) "
                        "Vimbra(TM) Coprocessors.\n\n\nAvailable Test(s): <Test ID>\n"),
              std::string::npos);
}

TEST_F(CommandLine, ShowsUsageForATestWithoutHelp) {
    EXPECT_EQ(Parse("-dma -vdh2l -help"), 0);
    EXPECT_EQ(
        out_,
        "ZelDiagnostics\n\nTest Group: Dma\n\nAvailable Test(s): <Test ID>\n"
        "        -vdh2l or -verifyDMAHostToCoprocessor : verify DMA from Host to Coprocessor \n"
        "        -vdl2h or -verifyDMACoprocessorToHost : verify DMA from Coprocessor to Host\n"
        "\nNotes:\n     This test group requires the devices to be in Normal mode.\n"
        "     For more information please consult the User Guide.\n\n");
}

TEST_F(CommandLine, EndsForOtherUsersAtTheFirstWordBehindAGroup) {
    fakes::SetEffectiveUser(1000);
    EXPECT_EXIT(Parse("-core -gec"), testing::ExitedWithCode(251), "");
    EXPECT_EXIT(Parse("-mem nonsense"), testing::ExitedWithCode(251), "");
    EXPECT_EQ(Parse("-core -help"), 0);
    EXPECT_EQ(Parse("-core -dbgLvl=8"), 0);
    EXPECT_EQ(Parse("-help"), 0);
}

TEST_F(CommandLine, GivesTheSameResultEachTime) {
    EXPECT_EQ(Parse("-skipOnFail -mem -info -core -gec -gid -contOnFail -smc -uuid -dbgLvl=5"), 0);
    const std::string first = Selected();
    EXPECT_EQ(first, "-info -gec -gid -uniqueid ");
    for (int card = 1; card < 3; ++card) {
        ResetRows();
        EXPECT_EQ(ParseAgain(), 0);
        EXPECT_EQ(Selected(), first);
        EXPECT_FALSE(BreaksOnFail(kCore));
        EXPECT_TRUE(BreaksOnFail(kSmc));
        EXPECT_EQ(GroupRow(kSmc).dbgLvl, 5U);
        EXPECT_EQ(ifstSetupParams.failCtlState, U32{IFST_SKIP_ON_FAIL});
    }
    // Nothing of one command line is left for another.
    ResetRows();
    EXPECT_EQ(Parse("-core -all"), 0);
    EXPECT_EQ(Selected(), AllOf({"-core"}));
    EXPECT_FALSE(BreaksOnFail(kCore));
}

}  // namespace

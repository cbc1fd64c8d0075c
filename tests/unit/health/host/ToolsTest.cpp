// Finding runs of the tool among made-up processes.
#include "host/Tools.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include "Scratch.h"

namespace zelhealth {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kNothingPending[] = "SigPnd:\t0000000000000000\nShdPnd:\t0000000000000000\n";
constexpr char kKillPending[] = "SigPnd:\t0000000000000000\nShdPnd:\t0000000000000100\n";

class ToolsTest : public testing::Test {
protected:
    // What /proc tells of a process. Words are divided by NUL.
    void Add(pid_t pid, pid_t parent, const std::string& program, const std::string& words,
             char state = 'S', const std::string& status = kNothingPending) {
        const std::string folder = std::to_string(pid) + "/";
        proc_.Write(folder + "stat",
                    fmt::format("{} (a (b) c) {} {} 0 0 0 0 0 0 0 0 0 0 0 0 0 20 0 1 0 {} 0\n", pid,
                                state, parent, 1000 + pid));
        proc_.Write(folder + "status", "Name:\tx\n" + status);
        proc_.Write(folder + "cmdline", words);
        std::filesystem::create_symlink("/usr/lib/zeldiag/bin/" + program,
                                        proc_ / (folder + "exe"));
    }

    std::vector<std::string> Found(ToolRun::Kind kind) const {
        std::vector<std::string> found;
        for (const ToolRun& run : FindToolRuns("ZelDiag", proc_.Path())) {
            if (run.kind == kind)
                found.push_back(run.Text());
        }
        return found;
    }

    Scratch proc_;
};

const std::string kWords("ZelDiag\0-dma\0-all\0", 18);

TEST_F(ToolsTest, OneOfSomebodyElseIsForeign) {
    Add(10, 1, "bash", "bash");
    Add(11, 10, "ZelDiag", kWords);
    EXPECT_THAT(Found(ToolRun::Kind::foreign), ElementsAre("pid 11 (ZelDiag -dma -all)"));
    EXPECT_EQ(FindForeignTools("ZelDiag", proc_.Path()).size(), 1U);
}

TEST_F(ToolsTest, OneBelowALivingRunIsOurs) {
    Add(10, 1, "zelhealth", "zelhealth");
    Add(11, 10, "zelkeeper", "zelkeeper");
    Add(12, 11, "ZelDiag", kWords);
    EXPECT_THAT(Found(ToolRun::Kind::ours), ElementsAre("pid 12 (ZelDiag -dma -all)"));
    EXPECT_THAT(FindForeignTools("ZelDiag", proc_.Path()), IsEmpty());
}

TEST_F(ToolsTest, OneWhoseRunIsGoneIsLeftBehind) {
    Add(11, 1, "zelkeeper", "zelkeeper");
    Add(12, 11, "ZelDiag", kWords);
    EXPECT_THAT(Found(ToolRun::Kind::leftBehind), ElementsAre("pid 12 (ZelDiag -dma -all)"));
}

TEST_F(ToolsTest, OneThatIsKilledAndDoesNotEndIsLeftBehind) {
    Add(12, 1, "ZelDiag", kWords, 'D', kKillPending);
    EXPECT_THAT(Found(ToolRun::Kind::leftBehind), ElementsAre("pid 12 (ZelDiag -dma -all)"));
}

// Somebody who runs zelhealth's own programs by hand is not a run.
TEST_F(ToolsTest, OneThatZelhealthDidNotStartThroughAKeeperIsForeign) {
    Add(10, 1, "zelhealth", "zelhealth");
    Add(12, 10, "ZelDiag", kWords);
    EXPECT_THAT(Found(ToolRun::Kind::foreign), ElementsAre("pid 12 (ZelDiag -dma -all)"));
}

TEST_F(ToolsTest, ItsWordsTellTheCard) {
    Add(12, 1, "ZelDiag",
        std::string("ZelDiag\0-summary\0-devicelist\0"
                    "1\0",
                    31));
    const auto runs = FindToolRuns("ZelDiag", proc_.Path());
    ASSERT_EQ(runs.size(), 1U);
    EXPECT_TRUE(runs[0].IsOn("zel1"));
    EXPECT_FALSE(runs[0].IsOn("zel11"));
    EXPECT_FALSE(runs[0].IsOn("zel0"));
}

TEST_F(ToolsTest, OneThatHasEndedIsNone) {
    Add(12, 1, "ZelDiag", "", 'Z');
    EXPECT_THAT(FindToolRuns("ZelDiag", proc_.Path()), IsEmpty());
}

TEST_F(ToolsTest, AnotherProgramWithTheNameInItsWordsIsNone) {
    Add(12, 1, "vi", std::string("vi\0ZelDiag\0", 11));
    EXPECT_THAT(FindToolRuns("ZelDiag", proc_.Path()), IsEmpty());
}

// Any user can call a program so.
TEST_F(ToolsTest, OneOfAnotherUserThanRootIsNone) {
    Add(12, 1, "ZelDiag", kWords);
    ASSERT_EQ(FindToolRuns("ZelDiag", proc_.Path()).size(), 1U);
    constexpr uid_t kNobody = 65534;
    ASSERT_EQ(chown((proc_ / "12").c_str(), kNobody, kNobody), 0);
    EXPECT_THAT(FindToolRuns("ZelDiag", proc_.Path()), IsEmpty());
}

TEST_F(ToolsTest, OneUnderItsOwnNameIsFoundBesideAnother) {
    Add(12, 1, "ZelDiag", kWords);
    Add(13, 1, "MyDiag", "MyDiag");
    Add(14, 1, "other", "other");
    EXPECT_EQ(FindToolRuns("MyDiag", proc_.Path()).size(), 2U);
    EXPECT_EQ(FindToolRuns("ZelDiag", proc_.Path()).size(), 1U);
}

TEST_F(ToolsTest, OneWhoseFileWasReplacedMeanwhileIsFound) {
    Add(12, 1, "ZelDiag (deleted)", kWords);
    EXPECT_EQ(FindToolRuns("ZelDiag", proc_.Path()).size(), 1U);
}

// Parents of a made-up loop are not followed for ever.
TEST_F(ToolsTest, ProcessesThatChangeWhileTheyAreReadDoNotHang) {
    Add(11, 12, "bash", "bash");
    Add(12, 11, "ZelDiag", kWords);
    EXPECT_EQ(FindToolRuns("ZelDiag", proc_.Path()).size(), 1U);
}

TEST_F(ToolsTest, WordsCannotCommandATerminal) {
    Add(12, 1, "ZelDiag", "ZelDiag\x1b[2J\n");
    EXPECT_THAT(Found(ToolRun::Kind::foreign), ElementsAre("pid 12 (ZelDiag?[2J?)"));
}

TEST(ProcessesTest, ThisOneLivesAndAnotherWithItsPidDoesNot) {
    ProcessId self = ThisProcess();
    EXPECT_NE(self.startTime, 0U);
    EXPECT_TRUE(IsAlive(self));
    self.startTime += 1;
    EXPECT_FALSE(IsAlive(self));
}

}  // namespace

}  // namespace zelhealth

// What Slurm is told, and what is understood of what it says.
#include "fleet/Slurm.h"

#include <gmock/gmock.h>

#include <cstdlib>

#include "host/Scratch.h"

namespace zelhealth {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

// Slurm's commands, as scripts in front of all others.
class WithSlurm : public ::testing::Test {
protected:
    WithSlurm() : path_(std::getenv("PATH")) {
        setenv("PATH", (scratch_.Path().string() + ":" + path_).c_str(), 1);
    }
    ~WithSlurm() override { setenv("PATH", path_.c_str(), 1); }

    std::string Error(const NodeChoice& choice) const {
        try {
            NodesOf(choice, stop_);
        } catch (const SlurmError& error) {
            return error.what();
        }
        return "";
    }

    std::string path_;
    Scratch scratch_;
    Stop stop_;
};

TEST_F(WithSlurm, NodesAreAskedThatTakeSteps) {
    scratch_.Script("sinfo", R"(cat << 'end'
n1|big|up|idle|none
n1|all*|up|idle|none
n1|old|down|idle|none
n2|all*|up|mixed+|none
n3|all*|up|drained|bad fan | so
n4|all*|up|down*|Not responding
n5|all*|up|idle*|none
n6|all*|up|draining|x
n7|old|down|idle|none
end
)");
    const std::vector<Node> nodes = NodesOf({"", "all"}, stop_);
    ASSERT_THAT(nodes, SizeIs(7));
    EXPECT_THAT(nodes[0].partitions, ElementsAre("all", "big"));
    EXPECT_FALSE(nodes[0].busy);
    EXPECT_TRUE(nodes[1].busy);
    EXPECT_FALSE(nodes[6].inStep);
    EXPECT_EQ(nodes[6].trouble, "no partition of it is up");
    EXPECT_TRUE(nodes[0].inStep);
    EXPECT_EQ(nodes[0].trouble, "");
    EXPECT_TRUE(nodes[1].inStep);
    EXPECT_FALSE(nodes[2].inStep);
    EXPECT_EQ(nodes[2].notAsked, "drained: bad fan | so");
    EXPECT_FALSE(nodes[3].inStep);
    EXPECT_EQ(nodes[3].notAsked, "");
    EXPECT_EQ(nodes[3].trouble, "its slurmd does not answer; Slurm calls it down*: Not responding");
    EXPECT_EQ(nodes[4].trouble, "its slurmd does not answer; Slurm calls it idle*");
    EXPECT_EQ(nodes[5].notAsked, "draining: x");
}

TEST_F(WithSlurm, WhatCannotBeAnsweredIsTold) {
    EXPECT_THAT(Error({"n1", ""}),
                testing::AnyOf(HasSubstr("sinfo cannot be started"), HasSubstr("sinfo failed")));
    scratch_.Script("sinfo", "echo 'sinfo: error: no controller' >&2; exit 1\n");
    EXPECT_EQ(Error({"n1", ""}), "sinfo failed: sinfo: error: no controller");
    scratch_.Script("sinfo", "echo gibberish\n");
    EXPECT_EQ(Error({"n1", ""}), "sinfo said what is not understood: gibberish");
    scratch_.Script("sinfo", "exit 0\n");
    EXPECT_EQ(Error({"", "p"}), "Slurm knows no such node; sinfo lists them");
    EXPECT_EQ(Error({"n1", ""}), "Slurm knows no node n1 in any partition; sinfo lists them");
    scratch_.Script("sinfo", "echo 'n1|p|up|idle'\n");
    EXPECT_EQ(Error({"n1", ""}), "sinfo said what is not understood: n1|p|up|idle");
    scratch_.Script("sinfo", "echo 'n1|p|up|idle|none'\n");
    EXPECT_EQ(Error({"n1,n2", "p"}), "Slurm knows no node n2 in partition p; sinfo lists them");
}

TEST_F(WithSlurm, TheStepOfThatNameIsTerminated) {
    scratch_.Script("squeue", "printf '7.0 other\\n8.0 mine\\n9.0 mine\\n'\n");
    scratch_.Script("scancel", "echo \"$*\" >> " + (scratch_ / "said").string() + "\n");
    EXPECT_TRUE(TerminateStep("mine", stop_));
    EXPECT_EQ(ReadText(scratch_ / "said"), "--signal=TERM 8.0 9.0\n");
    EXPECT_FALSE(TerminateStep("none", stop_));
    EXPECT_TRUE(KillStep("mine", stop_));
    EXPECT_EQ(ReadText(scratch_ / "said"), "--signal=TERM 8.0 9.0\n8.0 9.0\n--name=mine\n");
    scratch_.Script("scancel", "exit 1\n");
    EXPECT_FALSE(TerminateStep("mine", stop_));
}

StepOptions Options() {
    StepOptions options;
    options.name = "mine";
    options.program = "/bin/echo";
    options.folder = "/f";
    return options;
}

TEST(Step, IsWhatIsAskedFor) {
    StepOptions options = Options();
    std::vector<std::string> command = StepCommand(options, 3, "/f/nodes");
    EXPECT_EQ(command[0], "srun");
    for (const char* const word :
         {"--nodes=3", "--ntasks=3", "--ntasks-per-node=1", "--nodelist=/f/nodes", "--no-kill",
          "--kill-on-bad-exit=0", "--wait=0", "--input=none", "--job-name=mine"}) {
        EXPECT_THAT(command, Contains(word));
    }
    EXPECT_THAT(command, Not(Contains(HasSubstr("--partition"))));
    EXPECT_THAT(command, Not(Contains(HasSubstr("--time"))));
    EXPECT_THAT(command, Not(Contains(HasSubstr("--exclusive"))));
    EXPECT_THAT(command, Not(Contains(HasSubstr("--immediate"))));
    options.partition = "p";
    options.timeLimit = "10";
    options.sharing = "--exclusive";
    options.wait = "7";
    options.srunOptions = {"--overcommit"};
    options.words = {"--plan", "check"};
    command = StepCommand(options, 3, "/f/nodes");
    EXPECT_THAT(command, Contains("--partition=p"));
    EXPECT_THAT(command, Contains("--time=10"));
    EXPECT_THAT(command, Contains("--exclusive"));
    EXPECT_THAT(command, Contains("--immediate=7"));
    EXPECT_THAT(command, Contains("--overcommit"));
    EXPECT_EQ(std::vector(command.end() - 2, command.end()), options.words);
}

// What srun would start on a node.
int RunTask(const StepOptions& options, const std::string& said) {
    const std::vector<std::string> command = StepCommand(options, 1, "/f/nodes");
    const auto shell = std::find(command.begin(), command.end(), "sh");
    std::string line = "SLURMD_NODENAME=n3";
    for (auto word = shell; word != command.end(); ++word) {
        line += " '" + *word + "'";
    }
    return std::system((line + " > " + said + " 2>&1").c_str());
}

TEST(Step, HasAFileOfItsOwnForEachNode) {
    const Scratch scratch;
    StepOptions options = Options();
    options.folder = (scratch / "a folder").string();
    options.words = {"--plan", "my plan"};
    EXPECT_NE(RunTask(options, scratch / "said"), 0);
    EXPECT_EQ(ReadText(scratch / "said"), "n3: there is no folder " + options.folder + "\n");
    std::filesystem::create_directory(options.folder);
    EXPECT_EQ(RunTask(options, scratch / "said"), 0);
    EXPECT_EQ(ReadText(scratch / "said"), "");
    EXPECT_EQ(ReadText(scratch / "a folder/n3.jsonl"), "run --quiet --output - --plan my plan\n");
    EXPECT_EQ(ReadText(scratch / "a folder/n3.log"), "");
}

TEST(Step, IsNotBegunForAReason) {
    EXPECT_EQ(WhyNoNodes("srun: error: bad\n"), "");
    EXPECT_EQ(
        WhyNoNodes("x\nsrun: error: Unable to allocate resources: Requested nodes are busy\ny"),
        "no node was free in time, for jobs run on them; give a longer --wait, or --shared");
    EXPECT_EQ(WhyNoNodes("srun: error: Unable to allocate resources: Invalid account\ny"),
              "Slurm gives no node: Invalid account");
}

TEST(Step, TroublesAreThoseOfTheNodesThatAreNamed) {
    std::vector<Node> nodes = {
        {"n1", true, "", "a"}, {"n10", true, "", "b"}, {"n2", true, "", "c"}};
    AddTroubles("srun: error: n10: task 9: Killed\nsrun: error: Node failure on n2\nn3: x\n",
                nodes);
    EXPECT_EQ(nodes[0].trouble, "a");
    EXPECT_EQ(nodes[1].trouble, "srun: error: n10: task 9: Killed");
    EXPECT_EQ(nodes[2].trouble, "srun: error: Node failure on n2");
}

}  // namespace
}  // namespace zelhealth

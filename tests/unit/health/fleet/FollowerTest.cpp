// Streams that grow.
#include "fleet/Follower.h"

#include <gmock/gmock.h>

#include <fstream>

#include "fleet/FleetView.h"
#include "host/Scratch.h"
#include "report/Records.h"

namespace zelhealth {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using namespace std::chrono_literals;

class Following : public ::testing::Test {
protected:
    void Append(const std::string& node, const std::string& text) const {
        std::ofstream(scratch_ / (node + ".jsonl"), std::ios::app) << text;
    }

    void Append(const std::string& node, const Json& fields) const {
        Append(node, Line(RecordOf(node, "1", fields)) + "\n");
    }

    const NodeProgress& Node(std::size_t index) const { return follower_.Nodes()[index]; }

    Scratch scratch_;
    NodeProgress::Clock::time_point now_ = NodeProgress::Clock::now();
    Follower follower_{scratch_.Path().string(), {std::vector<std::string>{"a", "b"}}, now_};
};

TEST_F(Following, ReadsWhatHasComeSince) {
    EXPECT_THAT(follower_.Look(now_), IsEmpty());
    EXPECT_FALSE(follower_.Began());
    Append("a", RunStarted());
    Append("a", CardStarted("zel0"));
    follower_.Look(now_);
    EXPECT_TRUE(follower_.Began());
    EXPECT_TRUE(Node(0).began);
    EXPECT_FALSE(Node(1).began);
    EXPECT_EQ(Node(0).cards, 1);
    Append("a", Tested("zel0", "vlw", "failed", "bad\x1b[2J"));
    follower_.Look(now_);
    EXPECT_EQ(Node(0).tests, 1);
    EXPECT_EQ(Node(0).cards, 1);
    EXPECT_EQ(Node(0).status, 2);
    EXPECT_EQ(Node(0).failure, "zel0 pcie.vlw: bad?[2J");
    Append("a", RunFinished(0));
    const auto ended = follower_.Look(now_);
    ASSERT_THAT(ended, SizeIs(1));
    EXPECT_EQ(EndedLine(*ended[0], false), "a: failed: zel0 pcie.vlw: bad?[2J");
    EXPECT_THAT(follower_.Look(now_), IsEmpty());
}

TEST_F(Following, AwaitsTheRestOfALine) {
    const std::string line = Line(RecordOf("a", "1", Tested("zel0", "vlw", "passed")));
    Append("a", line.substr(0, 40));
    follower_.Look(now_);
    EXPECT_EQ(Node(0).tests, 0);
    Append("a", line.substr(40) + "\n");
    follower_.Look(now_);
    EXPECT_EQ(Node(0).tests, 1);
    EXPECT_EQ(Node(0).status, 0);
}

TEST_F(Following, PassesOverWhatIsNoRecord) {
    Append("a", "no record\n" + std::string(9000000, 'x') + "\n");
    Append("a", Tested("zel0", "vlw", "skipped", "in use"));
    follower_.Look(now_);
    follower_.Look(now_);
    EXPECT_EQ(Node(0).tests, 1);
    EXPECT_EQ(Node(0).status, 1);
}

// Whatever stands behind its end.
TEST_F(Following, EndsANodeOnce) {
    Append("a", RunStarted());
    Append("a", RunFinished(0));
    EXPECT_THAT(follower_.Look(now_), SizeIs(1));
    Append("a", RunStarted());
    Append("a", Tested("zel0", "vlw", "failed", "bad"));
    EXPECT_THAT(follower_.Look(now_), IsEmpty());
    EXPECT_EQ(Node(0).status, 0);
}

// It may wait for its nodes as long as it likes.
TEST_F(Following, CallsNoNodeSilentOfAStepThatHasNotBegun) {
    Follower follower(scratch_.Path().string(),
                      {std::vector<std::string>{"a", "b"}, std::vector<std::string>{"c"}}, now_);
    Append("a", RunStarted());
    follower.Look(now_);
    EXPECT_TRUE(follower.Began(0));
    EXPECT_FALSE(follower.Began(1));
    EXPECT_TRUE(follower.Nodes()[1].IsSilent(now_ + 241s));
    EXPECT_FALSE(follower.Nodes()[2].IsSilent(now_ + 1h));
    EXPECT_EQ(follower.Nodes()[2].step, 1U);
    Append("c", RunStarted());
    follower.Look(now_ + 1h);
    EXPECT_TRUE(follower.Began(1));
    EXPECT_FALSE(follower.Nodes()[2].IsSilent(now_ + 1h + 239s));
    EXPECT_TRUE(follower.Nodes()[2].IsSilent(now_ + 1h + 241s));
}

TEST_F(Following, CallsANodeSilentWhenItsTestIsOverdue) {
    Append("a", RunStarted());
    follower_.Look(now_);
    EXPECT_FALSE(Node(0).IsSilent(now_ + 239s));
    EXPECT_TRUE(Node(0).IsSilent(now_ + 241s));
    // A long test may be silent for as long as it may last, whatever the other cards do.
    Append("a", {{"record", "test_started"}, {"card", "zel0"}, {"deadline_seconds", 600}});
    follower_.Look(now_ + 10s);
    Append("a", {{"record", "test_started"}, {"card", "zel1"}, {"deadline_seconds", 5}});
    follower_.Look(now_ + 20s);
    EXPECT_FALSE(Node(0).IsSilent(now_ + 849s));
    EXPECT_TRUE(Node(0).IsSilent(now_ + 851s));
    EXPECT_TRUE(Node(1).IsSilent(now_ + 241s));
    EXPECT_THAT(FleetLines(follower_.Nodes(), 9, 80, false, now_, now_ + 241s),
                ElementsAre("0 of 2 nodes done, 0 failing, 1 silent, 1 not begun, 0 tests, 241 s",
                            "  b silent for 241 s"));
}

// A step may wait for its nodes for hours.
TEST_F(Following, CountsSilenceFromTheStepsBeginning) {
    follower_.Look(now_ + 3600s);
    Append("a", RunStarted());
    follower_.Look(now_ + 3601s);
    EXPECT_FALSE(Node(1).IsSilent(now_ + 3601s));
    EXPECT_FALSE(Node(1).IsSilent(now_ + 3840s));
    EXPECT_TRUE(Node(1).IsSilent(now_ + 3842s));
}

TEST_F(Following, ShowsWhatThereIsRoomFor) {
    for (const char* const node : {"a", "b"}) {
        Append(node, Tested("zel0", "vlw", "failed", "x"));
    }
    follower_.Look(now_);
    const auto lines = [&](std::size_t rows) {
        return FleetLines(follower_.Nodes(), rows, 30, false, now_, now_);
    };
    EXPECT_THAT(lines(0), IsEmpty());
    EXPECT_THAT(lines(1), ElementsAre("0 of 2 nodes done, 2 failing, "));
    EXPECT_THAT(lines(2), ElementsAre(HasSubstr("0 of 2"), "  and 2 more"));
    EXPECT_THAT(lines(3),
                ElementsAre(HasSubstr("0 of 2"), HasSubstr("a failing"), HasSubstr("b failing")));
}

}  // namespace
}  // namespace zelhealth

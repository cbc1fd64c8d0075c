// Nodes of several partitions.
#include "fleet/StepNodes.h"

#include <gmock/gmock.h>

namespace zelhealth {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

Node NodeIn(const std::string& name, const std::vector<std::string>& partitions) {
    Node node{name, true, "", ""};
    node.partitions = partitions;
    return node;
}

TEST(StepNodes, AreThoseOfOnePartitionEach) {
    std::vector<Node> nodes = {NodeIn("n1", {"big"}), NodeIn("n2", {"all", "gpu"}),
                               NodeIn("n3", {"gpu"}), NodeIn("n4", {"all", "gpu"}),
                               NodeIn("n5", {"big"}), NodeIn("n6", {"gpu"})};
    nodes[5].inStep = false;
    const std::vector<StepNodes> steps = ByPartition(nodes);
    ASSERT_THAT(steps, SizeIs(2));
    EXPECT_EQ(steps[0].partition, "gpu");
    EXPECT_THAT(steps[0].names, ElementsAre("n2", "n3", "n4"));
    EXPECT_EQ(steps[1].partition, "big");
    EXPECT_THAT(steps[1].names, ElementsAre("n1", "n5"));
}

TEST(StepNodes, AreThoseOfTheDefaultPartitionWhereItHasThemAll) {
    const std::vector<StepNodes> steps =
        ByPartition({NodeIn("n1", {"all", "a"}), NodeIn("n2", {"all", "a"})});
    ASSERT_THAT(steps, SizeIs(1));
    EXPECT_EQ(steps[0].partition, "all");
}

TEST(StepNodes, AreNoneWhereNoneTakesAStep) {
    EXPECT_THAT(ByPartition({{"n1", false, "drained", ""}}), IsEmpty());
    EXPECT_THAT(InOneStep({{"n1", false, "drained", ""}}), IsEmpty());
    const std::vector<StepNodes> one =
        InOneStep({NodeIn("n1", {"a"}), {"n2", false, "", ""}, NodeIn("n3", {"b"})});
    ASSERT_THAT(one, SizeIs(1));
    EXPECT_EQ(one[0].partition, "");
    EXPECT_THAT(one[0].names, ElementsAre("n1", "n3"));
}

}  // namespace
}  // namespace zelhealth

// What is said of what was found, for people and for machines.
#include "explain/Explanation.h"

#include <gmock/gmock.h>

namespace zelhealth {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

std::vector<Explanation> Explanations(const std::string& what) {
    std::vector<Explanation> explanations;
    for (const Found& found : LookUp(what).found)
        explanations.push_back(Explain(found));
    return explanations;
}

Explanation First(const std::string& what) {
    return Explanations(what).at(0);
}

TEST(Explanation, OfAMessageForPeople) {
    EXPECT_EQ(TextOf(First("Link trained down"), 80, false),
              "Link trained down\n"
              "  shown  in the report that -summary prints at the end, behind the card's line\n"
              "  reads  pcie.vlw: width of the link\n"
              "  means  The link has not 16 lanes: the card transfers more slowly than it\n"
              "         could.\n"
              "  causes 1. the card is not seated fully, or its contacts are dirty\n"
              "         2. the slot has fewer lanes, or shares them with another\n"
              "         3. a lane is broken: of the card, if the fault follows it to another\n"
              "            slot\n"
              "  next   Reseat the card; try a slot of 16 lanes.\n"
              "  beside FAILED: Link trained down\n"
              "         FAILED: Link trained down to <n> Lanes\n");
}

TEST(Explanation, OfAMessageForMachines) {
    const Json json = JsonOf(First("FAILED: Link trained down to 8 Lanes"));
    EXPECT_EQ(json["kind"], "message");
    EXPECT_EQ(json["name"], "FAILED: Link trained down to <n> Lanes");
    EXPECT_THAT(json["shown"].get<std::string>(), ::testing::EndsWith("on (trace diag1)"));
    EXPECT_THAT(json["reads"], ElementsAre("pcie.vlw: width of the link"));
    EXPECT_EQ(json["causes"].size(), 3U);
    EXPECT_EQ(json["next"], "Reseat the card; try a slot of 16 lanes.");
    EXPECT_THAT(json["beside"], ElementsAre("FAILED: Link trained down", "Link trained down"));
}

TEST(Explanation, OfATest) {
    const Json json = JsonOf(First("mem.wr"));
    EXPECT_EQ(json["kind"], "test");
    EXPECT_EQ(json["about"], "Write test");
    EXPECT_EQ(json["mode"], "ready");
    EXPECT_THAT(json["way"].get<std::string>(), StartsWith("disruptive: "));
    EXPECT_THAT(json["needs"], ElementsAre("libraries", "memdiag_image"));
    EXPECT_THAT(json["options"], Contains("-memSize"));
    EXPECT_THAT(
        json["time"].get<std::string>(),
        AllOf(HasSubstr("10 s on a healthy card; ended after 420 s: "), Not(HasSubstr("GiB:"))));
    EXPECT_EQ(json["command"], "ZelDiag -mem -wr, or -write; MemDiag.MemWrite in its report");
    EXPECT_THAT(json["failures"], Contains("Memory write verify failure"));
    EXPECT_FALSE(json.contains("resources"));

    const Json dma = JsonOf(First("dma.vdh2l"));
    EXPECT_THAT(dma["resources"], ElementsAre("dma_port"));
    // Its group's row.
    EXPECT_THAT(dma["failures"], Contains("'vorl_connect' failed"));
    EXPECT_THAT(JsonOf(First("mem.full"))["time"].get<std::string>(),
                HasSubstr("and 60 s more for each GiB"));
    EXPECT_THAT(JsonOf(First("vlw"))["way"].get<std::string>(), StartsWith("passive: "));
}

TEST(Explanation, OfATestForPeople) {
    EXPECT_EQ(TextOf(First("smc.uuid"), 80, false),
              "smc.uuid  SMC get UUID\n"
              "  reads  the card's UUID\n"
              "  way    passive: it disturbs nobody\n"
              "  mode   normal\n"
              "  needs  libraries\n"
              "  cards  er1x\n"
              "  time   0.1 s on a healthy card; ended after 20 s: asks the card once\n"
              "  tool   ZelDiag -smc -uuid, or -uniqueid; SmcDiag.Uuid in its report\n"
              "  fails  The Coprocessor is not in normal mode\n"
              "         Failed to get SMC UUID\n");
    EXPECT_THAT(TextOf(First("vlw"), 80, false), HasSubstr("\n  cards  er1x, ev1x\n"));
}

TEST(Explanation, OfAVerdict) {
    const std::vector<Explanation> both = Explanations("failed");
    EXPECT_EQ(both.at(0).about, "of a test");
    EXPECT_EQ(both.at(1).about, "of a card or a run");
    const Json json = JsonOf(First("not run"));
    EXPECT_EQ(json["name"], "not_run");
    EXPECT_EQ(json["status"], "1, a run that is degraded");
    EXPECT_GE(json["causes"].size(), 2U);
}

TEST(Explanation, OfAStatus) {
    const Json json = JsonOf(First("2"));
    EXPECT_EQ(json["name"], "status 2");
    EXPECT_EQ(json["about"], "of zelhealth");
    EXPECT_EQ(json["monitor"], "CRITICAL by a monitor");
    EXPECT_EQ(json["use"], "a health check drains the node; a prolog refuses the job");
    const Json tool = JsonOf(First("127"));
    EXPECT_EQ(tool["about"], "of ZelDiag");
    EXPECT_FALSE(tool.contains("monitor"));
}

TEST(Explanation, HasTheColourOfItsVerdict) {
    EXPECT_THAT(TextOf(First("healthy"), 80, true),
                StartsWith("\033[32mhealthy\033[0m  of a card"));
    EXPECT_THAT(TextOf(First("Link trained down"), 80, true),
                StartsWith("\033[31mLink trained down\033[0m\n"));
    EXPECT_THAT(TextOf(First("vlw"), 80, true), Not(HasSubstr("\033")));
    EXPECT_THAT(TextOf(First("healthy"), 80, false), Not(HasSubstr("\033")));
}

TEST(Explanation, FitsIntoItsColumns) {
    int lines = 0;
    const auto look = [&lines](const Found& found, std::size_t columns) {
        const std::string text = TextOf(Explain(found), columns, false);
        for (std::size_t begin = 0; begin < text.size(); ++lines) {
            const std::size_t end = text.find('\n', begin);
            EXPECT_LE(end - begin, columns) << text.substr(begin, end - begin);
            begin = end + 1;
        }
    };
    for (const std::size_t columns : {40U, 80U, 200U}) {
        for (const char* what :
             {"mem.full", "vsrdv", "setup", "3", "0", "Memory write failure",
              "PLYX_DEBUG_LEVEL: not a debug level, error is used; set none, a "
              "number from 0 to 9, or a name such as warning, info, diag1 or diag2"})
            look(LookUp(what).found.at(0), columns);
    }
    EXPECT_GT(lines, 100);
}

}  // namespace
}  // namespace zelhealth

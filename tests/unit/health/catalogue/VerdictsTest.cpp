// The rows of verdicts and exit statuses, compared with what the companion gives.
#include "catalogue/Verdicts.h"

#include <gmock/gmock.h>

#include <map>
#include <set>

#include "fleet/FleetReport.h"
#include "readers/Outcome.h"
#include "report/RunEnd.h"
#include "run/Verdict.h"

namespace zelhealth {
namespace {

TEST(Verdicts, HaveARowForEachThatATestCanHave) {
    std::set<std::string> given;
    for (int verdict = 0; verdict <= static_cast<int>(Verdict::setup); ++verdict)
        given.emplace(NameOf(static_cast<Verdict>(verdict)));
    std::set<std::string> known;
    for (const VerdictRow& row : Verdicts::BuiltIn().All()) {
        if (row.of == "test")
            known.insert(row.name);
    }
    EXPECT_EQ(known, given);
}

TEST(Verdicts, HaveTheStatusThatTheyGiveARun) {
    int cards = 0;
    for (const VerdictRow& row : Verdicts::BuiltIn().All()) {
        const auto status = static_cast<Status>(row.status);
        if (row.of == "test") {
            EXPECT_EQ(StatusOfTest({{"verdict", row.name}}), status) << row.name;
        } else if (row.of == "card") {
            EXPECT_EQ(row.name, VerdictOf(status));
            ++cards;
        }
    }
    EXPECT_EQ(cards, 4);
}

TEST(Verdicts, OfNodesHaveTheStatusThatTheyGiveAFleet) {
    const FleetSummary nothing;
    std::map<std::string, int> given;
    for (const Node& node : {Node{"n1", true, "", ""}, Node{"n2", false, "drained", ""}}) {
        const FleetReport report = ReportOf(nothing, {node}, Reach::slurm);
        given[std::string(report.rows.front().verdict)] = static_cast<int>(report.status);
    }
    std::map<std::string, int> known;
    for (const VerdictRow& row : Verdicts::BuiltIn().All()) {
        if (row.of == "node")
            known[row.name] = row.status;
    }
    EXPECT_EQ(known, given);
}

TEST(Verdicts, OfARunWithoutAnEndHasTheStatusOfOne) {
    int found = 0;
    for (const VerdictRow& row : Verdicts::BuiltIn().All()) {
        if (row.of != "run")
            continue;
        EXPECT_EQ(RunEnd().Status(), row.status);
        EXPECT_EQ(RunEnd().Verdict(), row.name);
        ++found;
    }
    EXPECT_EQ(found, 1);
}

TEST(Verdicts, OfATestThatIsNotKnownIsFailed) {
    EXPECT_EQ(Verdicts::BuiltIn().OfTest("timed_out").name, "timed_out");
    EXPECT_EQ(Verdicts::BuiltIn().OfTest("healthy").name, "failed");
    // The same word of a card is another verdict.
    const Verdicts mixed(
        "[[verdict]]\nof = \"card\"\nname = \"failed\"\nwhen = \"c\"\nmeans = \"m\"\nstatus = 2\n"
        "[[verdict]]\nof = \"test\"\nname = \"failed\"\nwhen = \"t\"\nmeans = \"m\"\nstatus = 2\n");
    EXPECT_EQ(mixed.OfTest("failed").when, "t");
    EXPECT_EQ(mixed.OfTest("x").when, "t");
}

TEST(Verdicts, ThatAreWrongAreRefused) {
    for (const char* toml :
         {"[[verdict]]\nof = \"test\"\nname = \"x\"\nwhen = \"w\"\nmeans = \"m\"\n",
          "[[status]]\nof = \"x\"\nnumber = \"1\"\nwhen = \"w\"\n", "[[verdicts]]\n",
          "[[verdict]]\nof = \"test\"\nname = \"x\"\nmeans = \"m\"\nstatus = 1\n"})
        EXPECT_THROW(Verdicts{toml}, std::runtime_error) << toml;
    EXPECT_THROW(Verdicts("").OfTest("failed"), std::runtime_error);
}

}  // namespace
}  // namespace zelhealth

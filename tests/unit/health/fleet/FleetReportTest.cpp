// What is told of a fleet: nodes, differences, slow cards.
#include "fleet/FleetReport.h"

#include <gmock/gmock.h>

#include "fleet/FleetData.h"
#include "fleet/FleetText.h"
#include "report/Records.h"

namespace zelhealth {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

class Fleets : public ::testing::Test {
protected:
    void Read(const std::string& host, const std::vector<Json>& records,
              const std::string& run = "1") {
        for (const Json& fields : records) {
            runs_.Read(RecordOf(host, run, fields));
        }
    }

    // A run of two cards to its end.
    void ReadHealthy(const std::string& host, const std::string& flash = "2.1",
                     double seconds = 1) {
        std::vector<Json> records = {RunStarted()};
        records[0]["versions"] = {{"zeldiag", "1.0"}};
        for (const char* const card : {"zel0", "zel1"}) {
            Json started = CardStarted(card);
            started["generation"] = "er1x";
            started["facts"] = {{"flash", flash}, {"uuid", host + card}, {"link_speed", host}};
            Json test = Tested(card, "vlw", "passed");
            test["seconds"] = seconds;
            records.insert(records.end(), {started, test, CardFinished(card, "healthy")});
        }
        records.push_back(RunFinished(0));
        Read(host, records);
    }

    FleetReport Report(const std::vector<Node>& asked = {}, Reach reach = Reach::ssh) {
        runs_.EndAll();
        return ReportOf(fleet_, asked, reach);
    }

    Summary summary_;
    FleetSummary fleet_;
    Runs runs_{{&summary_, &fleet_}};
};

std::vector<std::string> Verdicts(const FleetReport& report) {
    std::vector<std::string> verdicts;
    for (const FleetReport::Row& row : report.rows) {
        verdicts.push_back(row.node + " " + std::string(row.verdict));
    }
    return verdicts;
}

TEST_F(Fleets, TellTheWorstFirst) {
    ReadHealthy("a");
    Read("b", {RunStarted(), Tested("zel0", "vlw", "skipped", "in use"), RunFinished(1)});
    Read("c",
         {RunStarted(), CardFinished("zel1", "unknown", Reason("no answer", 3)), RunFinished(3)});
    Read("d", {RunStarted(), Tested("zel0", "vlw", "passed")});
    Read("e", {RunStarted(), Tested("zel0", "vls", "failed", "x"),
               Tested("zel1", "vlw", "failed", "y"), RunFinished(2)});
    Read("f", {RunStarted(), Tested("zel0", "vlw", "failed", "x")});
    const FleetReport report = Report();
    EXPECT_THAT(Verdicts(report),
                ElementsAre("e failed", "d lost", "f lost", "c unknown", "b degraded"));
    EXPECT_EQ(report.status, Status::critical);
    EXPECT_EQ(report.nodes, 6);
    EXPECT_EQ(report.healthy, 1);
    EXPECT_EQ(report.rows[0].text, "zel0 pcie.vls: x (and 1 more)");
    EXPECT_EQ(report.rows[0].look, "ssh e zelhealth run --plan check --cards zel0");
    EXPECT_EQ(report.rows[2].text,
              "zel0 pcie.vlw: x; its stream has no end, last heard of 2026-11-21T20:15:04.500Z");
    EXPECT_EQ(report.rows[1].look, "ssh d zelhealth history");
    EXPECT_EQ(report.rows[3].text, "no answer");
}

TEST_F(Fleets, HaveTheStatusOfTheWorstNode) {
    ReadHealthy("a");
    EXPECT_EQ(Report().status, Status::ok);
    EXPECT_EQ(Report({{"a", true, "", ""}}).status, Status::ok);
    EXPECT_EQ(Report({{"z", false, "drained: fan", ""}}).status, Status::warning);
    EXPECT_EQ(Report({{"z", true, "", ""}}).status, Status::unknown);
    Read("b", {RunStarted(), RunFinished(1)});
    EXPECT_EQ(Report().status, Status::warning);
}

TEST_F(Fleets, NameNodesThatDidNotAnswer) {
    ReadHealthy("a");
    Read("b", {RunStarted()});
    const FleetReport report = Report({{"a", true, "", "x"},
                                       {"b", true, "", "task 1: Killed"},
                                       {"c", true, "", ""},
                                       {"d", false, "drained: fan", ""}},
                                      Reach::slurm);
    EXPECT_THAT(Verdicts(report), ElementsAre("b lost", "c lost", "d not_asked"));
    EXPECT_EQ(report.nodes, 4);
    EXPECT_THAT(report.rows[0].text, HasSubstr("; task 1: Killed"));
    EXPECT_EQ(report.rows[0].look, "ssh b zelhealth history");
    EXPECT_EQ(report.rows[1].text, "no word of it");
    EXPECT_EQ(report.rows[1].look, "scontrol show node c");
    EXPECT_EQ(report.rows[2].text, "drained: fan");
    EXPECT_EQ(report.Count("lost"), 2);
    const std::string text = FleetText(report, summary_, 80, false);
    EXPECT_THAT(text, HasSubstr("4 nodes: 2 lost, 1 not asked, 1 healthy\n"));
}

TEST_F(Fleets, CountTheLastRunOfAHost) {
    Read("a", {RunStarted(), Tested("zel0", "vlw", "failed", "x"), RunFinished(2)}, "1");
    Read("a", {RunStarted(), RunFinished(0)}, "2");
    EXPECT_THAT(Report().rows, IsEmpty());
    Read("b", {RunStarted(), RunFinished(0)}, "2");
    Read("b", {RunStarted(), Tested("zel0", "vlw", "failed", "x"), RunFinished(2)}, "1");
    EXPECT_THAT(Report().rows, IsEmpty());
}

// Machines of one name, such as localhost: what is healthy of one does not hide what failed of another.
TEST_F(Fleets, TellHostsOfOneNameApartByTheirCards) {
    const auto run = [this](const std::string& id, const std::string& uuid, int status) {
        Json started = CardStarted("zel0");
        started["uuid"] = uuid;
        Read("localhost",
             {RunStarted(), started, Tested("zel0", "vlw", status == 0 ? "passed" : "failed", "x"),
              RunFinished(status)},
             id);
    };
    run("1", "u1", 2);
    run("2", "u2", 0);
    EXPECT_THAT(Verdicts(Report()), ElementsAre("localhost failed"));
    EXPECT_EQ(Report().nodes, 2);
    run("3", "u1", 0);
    EXPECT_EQ(Report().status, Status::ok);
    EXPECT_EQ(Report().healthy, 2);
}

// A card of which a whole stream tells nothing is not healthy.
TEST_F(Fleets, MissACardThatTheRunExpected) {
    Json started = RunStarted();
    started["expected"] = {"zel0", "zel1", "0000:09:00.0"};
    Json other = CardFinished("0000:09:00.0", "healthy");
    Read("a", {started, CardFinished("zel0", "healthy"), other, RunFinished(0)});
    FleetReport report = Report();
    EXPECT_EQ(report.status, Status::unknown);
    EXPECT_EQ(report.rows[0].text, "zel1: its records are missing in the stream");
    Read("b", {started, CardFinished("zel0", "healthy"), CardFinished("zel1", "healthy"), other,
               RunFinished(0)});
    EXPECT_EQ(Report().healthy, 1);
}

// Whoever says at its end that all is well, and has said otherwise before, is not believed.
TEST_F(Fleets, BelieveFailuresMoreThanEnds) {
    Read("a", {RunStarted(), Tested("zel0", "vlw", "failed", "x"), RunFinished(0)});
    EXPECT_THAT(Verdicts(Report()), ElementsAre("a failed"));
}

TEST_F(Fleets, TellWhatDiffersFromMost) {
    for (const char* const host : {"a", "b", "c"}) {
        ReadHealthy(host);
    }
    ReadHealthy("d", "2.0");
    const FleetReport report = Report({}, Reach::slurm);
    // What is one card's own, or is not compared, is not told.
    ASSERT_THAT(report.differences, SizeIs(1));
    const Divergence& difference = report.differences[0];
    EXPECT_EQ(difference.item, "flash version of er1x cards");
    EXPECT_TRUE(difference.ofCards);
    EXPECT_EQ(difference.count, 8);
    ASSERT_THAT(difference.values, SizeIs(2));
    EXPECT_EQ(difference.values[0].text, "2.1");
    EXPECT_THAT(difference.values[0].places, IsEmpty());
    EXPECT_EQ(difference.values[1].count, 2);
    ASSERT_THAT(difference.values[1].places, SizeIs(2));
    EXPECT_EQ(difference.values[1].places[1].host, "d");
    EXPECT_EQ(difference.values[1].places[1].card, "zel1");
    EXPECT_THAT(FleetText(report, summary_, 80, false),
                HasSubstr("  flash version of er1x cards: 2.1 on 6 of 8 cards\n"
                          "    2.0 on 2 cards: d zel0, d zel1\n"
                          "    look ssh d zelhealth cards\n"));
}

TEST_F(Fleets, TellCardsThatAreSlowerThanTheirKind) {
    for (const char* const host : {"a", "b", "c"}) {
        ReadHealthy(host, "2.1", 1);
    }
    Json slow = Tested("zel0", "vlw", "passed");
    slow["seconds"] = 1.3;
    Json started = CardStarted("zel0");
    started["generation"] = "er1x";
    Read("d", {started, slow, RunFinished(0)});
    // Of another kind it is the only one.
    Json other = CardStarted("zel1");
    other["generation"] = "ev1x";
    slow["card"] = "zel1";
    slow["seconds"] = 9;
    Read("e", {other, slow, RunFinished(0)});
    const FleetReport report = Report();
    ASSERT_THAT(report.slow, SizeIs(1));
    EXPECT_EQ(report.slow[0].host, "d");
    EXPECT_EQ(report.slow[0].kind, "er1x, 1024 MiB");
    ASSERT_THAT(report.slow[0].tests, SizeIs(1));
    EXPECT_EQ(report.slow[0].tests[0].test, "pcie.vlw");
    EXPECT_NEAR(report.slow[0].tests[0].median, 1, 0.02);
    EXPECT_EQ(report.slow[0].tests[0].count, 7);
    EXPECT_THAT(FleetText(report, summary_, 200, false),
                HasSubstr("look   ssh d zelhealth history --card zel0 --test pcie.vlw\n"));
}

TEST_F(Fleets, GiveCommandsThatShellsTakeAsTheyAre) {
    Read("a;reboot", {RunStarted(), Tested("$(x)", "vlw", "failed", "x"), RunFinished(2)});
    Read("it's", {RunStarted(), RunFinished(1)});
    const FleetReport report = Report();
    EXPECT_EQ(report.rows[0].look, "ssh 'a;reboot' zelhealth run --plan check --cards '$(x)'");
    EXPECT_EQ(report.rows[1].look, "ssh 'it'\\''s' zelhealth run --plan check");
}

TEST_F(Fleets, AreDrawnOutOfData) {
    ReadHealthy("a");
    Read("b", {RunStarted(), Tested("zel0", "vlw", "failed", "x"), RunFinished(2)});
    const Json data = FleetData(Report(), summary_);
    EXPECT_EQ(data["nodes"]["healthy"], 1);
    EXPECT_EQ(data["nodes"]["failed"], 1);
    EXPECT_EQ(data["rows"][0]["node"], "b");
    EXPECT_EQ(data["looks"], Json::array({"ssh b zelhealth run --cards zel0"}));
}

}  // namespace
}  // namespace zelhealth

// What many runs come to, told to people.
#include "report/Summary.h"

#include <gmock/gmock.h>

#include "host/Scratch.h"
#include "report/Page.h"
#include "report/PageData.h"
#include "report/PageText.h"
#include "report/Records.h"
#include "report/SummaryText.h"
#include "report/Text.h"

namespace zelhealth {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;

// --- runs

// What each run was told, as "host run: kinds", in the order of their ends.
class Told : public Output {
public:
    std::unique_ptr<RunReader> Begin(const RunName& name) override {
        class Reader : public RunReader {
        public:
            Reader(Told& told, const RunName& name)
                : told_(told), text_(name.host + " " + name.run + ":") {}
            void Read(const Json& record) override { text_ += " " + record.value("record", ""); }
            void End() override { told_.ends.push_back(text_); }

        private:
            Told& told_;
            std::string text_;
        };
        return std::make_unique<Reader>(*this, name);
    }
    void Close() override {}

    std::vector<std::string> ends;
};

TEST(Runs, AreToldApartWhereTheirRecordsAlternate) {
    Told told;
    Runs runs({&told});
    for (const char* const run : {"1", "2"}) {
        for (const char* const host : {"a", "b"}) {
            EXPECT_EQ(runs.Read(RecordOf(host, run, RunStarted())), "");
        }
    }
    EXPECT_EQ(runs.Read(RecordOf("a", "2", RunFinished(0))), "");
    EXPECT_EQ(runs.Read(RecordOf("b", "1", RunFinished(0))), "");
    runs.EndAll();
    EXPECT_THAT(told.ends,
                ElementsAre("a 2: run_started run_finished", "b 1: run_started run_finished",
                            "a 1: run_started", "b 2: run_started"));
}

TEST(Runs, LeaveOutWhatComesAgain) {
    Told told;
    Runs runs({&told});
    EXPECT_EQ(runs.Read(RecordOf("a", "1", RunFinished(0))), "");
    EXPECT_THAT(std::string(runs.Read(RecordOf("a", "1", RunStarted()))),
                HasSubstr("has ended before"));
    EXPECT_EQ(runs.Read(RecordOf("b", "1", RunFinished(0))), "");
    runs.EndAll();
    EXPECT_THAT(told.ends, SizeIs(2));
}

TEST(Runs, AreOpenInABoundedNumber) {
    Told told;
    Runs runs({&told});
    for (std::size_t i = 0; i <= Runs::kMostOpen; ++i) {
        runs.Read(RecordOf("host" + std::to_string(i), "1", RunStarted()));
        runs.Read(RecordOf("host0", "1", Tested("zel0", "vlw", "passed")));
    }
    // The one that was silent for longest.
    ASSERT_THAT(told.ends, SizeIs(1));
    EXPECT_THAT(told.ends[0], HasSubstr("host1 1:"));
}

// --- the summary

class Summarizing : public ::testing::Test {
protected:
    void Read(const std::string& host, const Json& test, const std::string& verdict, int status,
              const std::string& run = "1") {
        ReadRun(runs_, host, run, test, verdict, status);
    }

    std::string Text() const { return SummaryText(summary_, 80, false); }

    Summary summary_;
    Runs runs_{{&summary_}};
};

TEST_F(Summarizing, CountsHostsByTheirLastRun) {
    Read("a", Tested("zel0", "vlw", "failed", "x"), "failed", 2, "1");
    Read("a", Tested("zel0", "vlw", "passed"), "healthy", 0, "2");
    Read("b", Tested("zel0", "vlw", "passed"), "healthy", 0, "2");
    Read("b", Tested("zel0", "vlw", "failed", "x"), "failed", 2, "1");
    Read("c", Tested("zel0", "vlw", "skipped", "y"), "degraded", 1);
    Read("d", Tested("zel0", "vlw", "setup", "z"), "unknown", 3);
    runs_.Read(RecordOf("e", "1", CardStarted("zel0")));
    runs_.Read(RecordOf("e", "1", CardFinished("zel0", "healthy")));
    runs_.EndAll();
    EXPECT_THAT(summary_.Hosts(), ElementsAre(0, 1, 1, 1, 2));
    EXPECT_THAT(summary_.Cards(), ElementsAre(0, 1, 1, 1, 2));
    EXPECT_EQ(summary_.Runs(), 7U);
    EXPECT_EQ(summary_.Tests().at("failed"), 2U);
    ASSERT_THAT(summary_.BrokenOffRuns(), SizeIs(1));
    EXPECT_EQ(summary_.BrokenOffRuns()[0].host, "e");
    const std::string text = Text();
    EXPECT_THAT(text,
                HasSubstr("7 runs\n5 hosts: 1 unknown, 1 broken off, 1 degraded, 2 healthy\n"));
    EXPECT_THAT(text,
                HasSubstr("broken off\n  e  run 1, last heard of 2026-11-21T20:15:04.500Z\n"));
}

TEST_F(Summarizing, TellsFailuresThatAreAlikeOnceAndTheWorstFirst) {
    Read("a", Tested("zel0", "vls", "skipped", "not in normal mode"), "degraded", 1);
    Read("b", Tested("zel0", "vls", "skipped", "not in normal mode"), "degraded", 1);
    Read("c", Tested("zel0", "vlw", "failed", "Link trained down"), "failed", 2);
    Read("d", Tested("zel0", "vls", "failed", "Link trained down"), "failed", 2);
    Read("e", Tested("zel0", "vlw", "timed_out", "no end"), "failed", 2);
    const auto groups = summary_.WorstFirst();
    ASSERT_THAT(groups, SizeIs(3));
    EXPECT_EQ(groups[0]->text, "Link trained down");
    EXPECT_THAT(groups[0]->tests, ElementsAre("pcie.vls", "pcie.vlw"));
    EXPECT_THAT(groups[0]->hosts, ElementsAre(2, 3));
    EXPECT_THAT(groups[0]->means, HasSubstr("16 lanes"));
    EXPECT_EQ(groups[1]->verdict, "timed_out");
    EXPECT_EQ(groups[2]->count, 2U);
    EXPECT_THAT(
        Text(),
        HasSubstr("\nfailed  2 hosts, 2 times  pcie.vls, pcie.vlw\n  seen   Link trained down\n"));
    EXPECT_THAT(Text(), HasSubstr("  hosts  c, d\n"));
    ASSERT_THAT(summary_.Incidents(), SizeIs(5));
    EXPECT_THAT(summary_.Incidents()[2].out, ElementsAre("line of vlw"));
}

TEST_F(Summarizing, TellsReasonsOfCardsWithoutTheirNames) {
    for (const char* const card : {"zel1", "zel12"}) {
        const std::string text = std::string(card) + " is not there, nor is zel123";
        runs_.Read(RecordOf("a", "1", CardFinished(card, "failed", Reason(text, 2))));
    }
    runs_.Read(RecordOf("a", "1", CardFinished("zel3", "healthy", Reason("only to be known", 0))));
    ASSERT_THAT(summary_.WorstFirst(), SizeIs(1));
    EXPECT_EQ(summary_.WorstFirst()[0]->text, "the card is not there, nor is zel123");
    EXPECT_EQ(summary_.WorstFirst()[0]->count, 2U);
    // A name that is part of what takes its place.
    runs_.Read(RecordOf("a", "1", CardFinished("card", "failed", Reason("card card", 2))));
    EXPECT_EQ(summary_.WorstFirst()[1]->text, "the card the card");
}

TEST_F(Summarizing, HoldsABoundedNumberOfFailures) {
    for (int i = 0; i < 3000; ++i) {
        const std::string number = std::to_string(i);
        runs_.Read(RecordOf("host" + number, "1",
                            Tested("zel0", "t" + number, "failed", "failure " + number)));
        runs_.Read(RecordOf("host" + number, "1", Tested("zel0", "vlw", "skipped", "mode")));
        runs_.Read(RecordOf("host" + number, "1", RunFinished(2)));
    }
    const auto groups = summary_.WorstFirst();
    EXPECT_LE(groups.size(), 510U);
    std::uint64_t count = 0;
    for (const FailureGroup* const group : groups) {
        count += group->count;
        EXPECT_LE(group->tests.size(), 64U);
    }
    EXPECT_EQ(count, 6000U);
    EXPECT_EQ(groups[0]->text, "(what is too varied to be told apart)");
    EXPECT_EQ(summary_.Incidents().size() + summary_.IncidentsLeftOut(), 6000U);
    EXPECT_LE(summary_.Incidents().size(), 1800U);
    EXPECT_THAT(Text(), HasSubstr(" more kinds of failures\n"));
}

TEST(Durations, KnowTheMedianAboutAndTheEndsExactly) {
    Durations durations;
    for (int i = 1; i <= 999; ++i) {
        durations.Add(i);
    }
    EXPECT_EQ(durations.Fastest(), 1);
    EXPECT_EQ(durations.Slowest(), 999);
    EXPECT_NEAR(durations.Median(), 500, 25);
    EXPECT_EQ(durations.Count(), 999U);
    Durations odd;
    for (const double seconds : {0.0, 1e9}) {
        odd.Add(seconds);
    }
    EXPECT_EQ(odd.Fastest(), 0);
    EXPECT_EQ(odd.Slowest(), 1e9);
}

// --- text

std::string TextOfRuns(std::size_t hosts) {
    std::FILE* const out = std::tmpfile();
    Summary summary;
    class Text text(out, 80, false, summary);
    Runs runs({&summary, &text});
    for (std::size_t i = 0; i < hosts; ++i) {
        ReadRun(runs, "host" + std::to_string(i), "1",
                Tested("zel0", "vlw", "failed", "Link trained down"), "failed", 2);
    }
    text.Close();
    std::string made(static_cast<std::size_t>(std::ftell(out)), '\0');
    std::rewind(out);
    made.resize(std::fread(made.data(), 1, made.size(), out));
    std::fclose(out);
    return made;
}

TEST(Text, IsTheClosingReportOfEachRunOfFew) {
    const std::string one = TextOfRuns(1);
    EXPECT_THAT(one, ::testing::StartsWith("host host0, run 1, plan check\n\ncard   PCIe address"));
    EXPECT_THAT(one, ::testing::HasSubstr("\n1 failed; 7.5 seconds; exit status 2\n"));
    const std::string two = TextOfRuns(2);
    EXPECT_THAT(two, HasSubstr("\n\nhost host1, run 1, plan check\n"));
    EXPECT_THAT(two,
                HasSubstr("\n2 runs\n2 hosts: 2 failed\n2 cards: 2 failed\n2 tests: 2 failed\n"));
    EXPECT_THAT(TextOfRuns(64), HasSubstr("host host63, run 1"));
    EXPECT_THAT(TextOfRuns(65), ::testing::StartsWith("65 runs\n65 hosts: 65 failed\n"));
}

// --- the page

class Paging : public Summarizing {
protected:
    Json Data(std::size_t bytes = 400000) const {
        const std::string text = PageData(summary_, problems_, rows_, Json(), bytes);
        EXPECT_EQ(text.find('<'), text.npos);
        return Json::parse(text);
    }

    Problems problems_;
    Json rows_ = Json::array();
};

TEST_F(Paging, HasWhatThePageShows) {
    Read("a", Tested("zel0", "vlw", "failed", "</script><b>"), "failed", 2);
    const Json data = Data();
    EXPECT_EQ(data["counts"]["hosts"]["failed"], 1);
    EXPECT_EQ(data["groups"][0]["text"], "</script><b>");
    EXPECT_EQ(data["groups"][0]["hosts"], Json::array({"a"}));
    EXPECT_EQ(data["incidents"][0]["g"], 0);
    EXPECT_EQ(data["incidents"][0]["out"], Json::array({"line of vlw"}));
    EXPECT_EQ(data["times"][0]["test"], "pcie.vlw");
}

TEST_F(Paging, LeavesOutEvidenceFirst) {
    for (int i = 0; i < 100; ++i) {
        Json test = Tested("zel0", "vlw", "failed", "Link trained down");
        test["evidence"]["out"] = Json::array({std::string(400, '<')});
        Read("host" + std::to_string(i), test, "failed", 2);
    }
    const std::size_t full = Data(1000000).dump().size();
    EXPECT_GT(full, 50000U);
    for (const std::size_t bytes : {60000U, 20000U}) {
        EXPECT_LE(ForPage(Data(bytes)).size(), bytes);
    }
    EXPECT_THAT(Data(60000)["incidents"], SizeIs(100));
    EXPECT_LT(Data(10000)["incidents"].size(), 100U);
    EXPECT_FALSE(Data(20000)["incidents"].back().contains("out"));
}

TEST_F(Paging, ShowsCardsByTestsInTheCataloguesOrder) {
    Cells cells;
    cells.Read(Tested("zel10", "vlw", "passed"));
    cells.Read(Tested("zel9", "own", "failed"));
    cells.Read(Tested("zel9", "vls", "passed"));
    cells.Read(Tested("zel9", "vls", "failed"));
    cells.Read(CardFinished("zel9", "healthy"));
    RunEnd end;
    rows_ = RowsOf({"h", "r"}, end, cells);
    Json data = Data();
    EXPECT_EQ(data["matrix"]["tests"], Json::array({"pcie.vls", "pcie.vlw", "pcie.own"}));
    EXPECT_EQ(data["matrix"]["rows"][0]["card"], "zel9");
    EXPECT_EQ(data["matrix"]["rows"][0]["cells"][0], Json::array({"failed", 1.5, 2}));
    EXPECT_TRUE(data["matrix"]["rows"][0]["cells"][1].is_null());
    EXPECT_EQ(data["matrix"]["rows"][0]["verdict"], "broken_off");
    end.Read(RunFinished(0));
    rows_ = RowsOf({"h", "r"}, end, cells);
    EXPECT_EQ(Data()["matrix"]["rows"][0]["verdict"], "healthy");
    EXPECT_EQ(Data()["matrix"]["rows"][1]["verdict"], "broken_off");
}

TEST(Page, HoldsAllOfItselfAndForbidsTheRest) {
    const std::string text = PageText(Drawing::report, "{}");
    EXPECT_THAT(text, HasSubstr("content=\"default-src 'none'; script-src 'sha256-"));
    EXPECT_THAT(text, HasSubstr("id=\"data\">{}</script>"));
    EXPECT_THAT(text, HasSubstr("Chart.js v3"));
    for (const char* const place :
         {"@POLICY@", "@TITLE@", "@STYLE@", "@DATA@", "@CHART@", "@ELEMENTS@", "@SCRIPT@"}) {
        EXPECT_THAT(text, Not(HasSubstr(place)));
    }
}

TEST(Page, IsAMatrixOfFewAndASummaryOfMany) {
    for (const std::size_t hosts : {64U, 65U}) {
        const Scratch scratch;
        Summary summary;
        const Problems problems;
        Page page(scratch / "page.html", summary, problems, {});
        Runs runs({&summary, &page});
        for (std::size_t i = 0; i < hosts; ++i) {
            ReadRun(runs, "host" + std::to_string(i), "1", Tested("zel0", "vlw", "passed"),
                    "healthy", 0);
        }
        page.Close();
        const std::string text = ReadText(scratch / "page.html");
        EXPECT_EQ(text.find("\"matrix\":null") == text.npos, hosts == 64) << hosts;
    }
}

}  // namespace
}  // namespace zelhealth

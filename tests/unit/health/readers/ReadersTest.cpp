// What people, monitors and scripts see of a run: all from its records.
#include <gmock/gmock.h>

#include "catalogue/Messages.h"
#include "catalogue/Verdicts.h"
#include "readers/LiveView.h"
#include "readers/Outcome.h"
#include "readers/PluginLine.h"
#include "readers/Report.h"

namespace zelhealth {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;

Json CardStarted(int card) {
    return {{"record", "card_started"},
            {"card", "zel" + std::to_string(card)},
            {"pcie", "0000:0" + std::to_string(card + 2) + ":00.0"},
            {"tests", 2},
            {"expected_seconds", 10.0}};
}

Json TestStarted(int card, const std::string& test) {
    return {{"record", "test_started"},
            {"card", "zel" + std::to_string(card)},
            {"group", "pcie"},
            {"test", test},
            {"expected_seconds", 5.0}};
}

Json TestFinished(int card, const std::string& test, const std::string& verdict,
                  const std::string& reason = "") {
    return {{"record", "test_finished"},
            {"card", "zel" + std::to_string(card)},
            {"group", "pcie"},
            {"test", test},
            {"verdict", verdict},
            {"seconds", 1.5},
            {"reason", reason},
            {"messages", reason.empty() ? Json::array() : Json::array({reason})}};
}

Json CardFinished(int card, const std::string& verdict, const Json& reasons = Json::array()) {
    return {{"record", "card_finished"},
            {"card", "zel" + std::to_string(card)},
            {"verdict", verdict},
            {"reasons", reasons}};
}

Json Reason(const std::string& text, int status) {
    return Json::array({{{"reason", "x"}, {"text", text}, {"status", status}}});
}

Json RunFinished(int status) {
    return {{"record", "run_finished"}, {"status", status}, {"seconds", 3.0}};
}

// Eight cards, of which one has failed and one hangs.
std::vector<Json> EightCards() {
    std::vector<Json> records;
    for (int card = 0; card < 8; ++card) {
        records.push_back(CardStarted(card));
        records.push_back(TestStarted(card, "vls"));
        if (card != 5) {
            records.push_back(TestFinished(card, "vls", "passed"));
            records.push_back(TestFinished(card, "vlw", card == 2 ? "failed" : "passed",
                                           card == 2 ? "Link trained down" : ""));
            records.push_back(CardFinished(card, card == 2 ? "failed" : "healthy"));
        }
    }
    return records;
}

// --- the exit status

TEST(Outcome, IsTheWorstInTheOrderOfMonitors) {
    EXPECT_EQ(Worse(Status::unknown, Status::critical), Status::critical);
    EXPECT_EQ(Worse(Status::critical, Status::unknown), Status::critical);
    EXPECT_EQ(Worse(Status::warning, Status::unknown), Status::unknown);
    EXPECT_EQ(Worse(Status::ok, Status::warning), Status::warning);
}

// What is a failure is said once in the catalogue and once in the code.
TEST(Outcome, TakesForFailuresWhatTheCatalogueDoes) {
    int failures = 0;
    for (const VerdictRow& row : Verdicts::BuiltIn().All()) {
        if (row.of != "test") {
            continue;
        }
        EXPECT_EQ(IsFailure(row.name), row.status == 2) << row.name;
        EXPECT_EQ(IsAnswer(row.name), row.status == 2 || row.name == "passed") << row.name;
        EXPECT_EQ(static_cast<int>(StatusOfTest(TestFinished(0, "vlw", row.name))), row.status)
            << row.name;
        failures += IsFailure(row.name) ? 1 : 0;
    }
    EXPECT_EQ(failures, 3);
    EXPECT_FALSE(IsFailure("fail"));
    EXPECT_FALSE(IsFailure(""));
    EXPECT_FALSE(IsAnswer(""));
}

TEST(Outcome, OfEachVerdict) {
    const std::pair<const char*, Status> rows[] = {
        {"passed", Status::ok},         {"unsupported", Status::ok},
        {"failed", Status::critical},   {"timed_out", Status::critical},
        {"crashed", Status::critical},  {"skipped", Status::warning},
        {"not_run", Status::warning},   {"setup", Status::unknown},
        {"something", Status::unknown}, {"", Status::unknown},
    };
    for (const auto& [verdict, status] : rows) {
        Outcome outcome;
        outcome.Read(TestFinished(0, "vlw", verdict, "x"));
        EXPECT_EQ(outcome.Get(), status) << verdict;
    }
    Json waived = TestFinished(0, "vlw", "failed");
    waived["waived"] = "until then";
    EXPECT_EQ(StatusOfTest(waived), Status::warning);
    waived["verdict"] = "setup";
    EXPECT_EQ(StatusOfTest(waived), Status::unknown);
}

TEST(Outcome, OfReasons) {
    Outcome outcome;
    outcome.Read(CardFinished(0, "failed", Reason("missing", 2)));
    EXPECT_EQ(outcome.Get(), Status::critical);
    EXPECT_EQ(StatusOfReasons(Reason("odd", 7)), Status::unknown);
    EXPECT_EQ(StatusOfReasons(Json::array({Json::object()})), Status::unknown);
    EXPECT_FALSE(outcome.Finished());
}

// --- the closing report

TEST(Report, SaysOfEachFailureWhatItMeansAndWhatToDo) {
    Report report;
    report.Read(CardStarted(0));
    report.Read(TestFinished(0, "vls", "passed"));
    report.Read(TestFinished(0, "vlw", "failed", "Link trained down"));
    Json finished = CardFinished(0, "failed");
    finished["seconds"] = 2.5;
    report.Read(finished);
    report.Read(RunFinished(2));
    EXPECT_EQ(report.Text(80, false),
              "card   PCIe address  verdict    seconds  tests\n"
              "zel0   0000:02:00.0  failed         2.5  1 passed, 1 failed\n"
              "\n"
              "zel0  pcie.vlw  failed\n"
              "  seen   Link trained down\n"
              "  means  The link has not 16 lanes: the card transfers more slowly than it\n"
              "         could.\n"
              "  next   Reseat the card; try a slot of 16 lanes.\n"
              "\n"
              "1 failed; 3.0 seconds; exit status 2\n"
              "more: zelhealth explain \"Link trained down\"\n");
}

// What is wrong with a card, and with this host, comes with advice too, and in front of what is less bad.
TEST(Report, TellsTheWorstFirst) {
    Report report;
    report.Read(TestFinished(0, "vls", "not_run", "the card does not answer"));
    report.Read(TestFinished(1, "vlw", "failed", "Link trained down"));
    const std::string silent = "it does not answer: no answer within 10 s";
    report.Read(CardFinished(0, "failed", Reason(silent, 2)));
    report.Read(CardFinished(1, "failed"));
    report.Read(CardFinished(2, "failed", Reason(silent, 2)));
    report.Read({{"record", "run_note"}, {"reasons", Reason("interrupted", 3)}});
    report.Read({{"record", "run_note"}, {"reasons", Reason("zel5 is back in normal", 0)}});
    report.Read(RunFinished(2));
    const std::string text = report.Text(80, false);
    const std::vector<std::string> order = {
        "\n\nzel0, zel2  failed\n  seen   " + silent + "\n  means  ",
        "\n\nzel1  pcie.vlw  failed\n", "\n\nthis host  unknown\n  seen   interrupted\n",
        "\n\nzel0  pcie.vls  not run\n", "\n\nzel5 is back in normal\n\n"};
    std::size_t place = 0;
    for (const std::string& part : order) {
        const std::size_t found = text.find(part, place);
        ASSERT_NE(found, std::string::npos) << part << text;
        place = found;
    }
}

TEST(Report, SaysHowToGetMoreWhereThereIsMore) {
    const auto text = [](const std::vector<Json>& records) {
        Report report;
        for (const Json& record : records)
            report.Read(record);
        return report.Text(80, false);
    };
    Json mended = TestFinished(0, "vlw", "setup", "ssh is missing");
    mended["mend"] = "apt-get install openssh-client";
    Json late = TestFinished(0, "vls", "timed_out", "ended after 9 s");
    late["messages"] = Json::array();
    EXPECT_THAT(text({TestFinished(0, "vlw", "passed")}), Not(HasSubstr("more: ")));
    EXPECT_THAT(text({mended}), Not(HasSubstr("more: ")));
    // Its row has nothing that the report does not say.
    EXPECT_THAT(text({TestFinished(0, "vdi", "failed", "Failed to get GDDR size")}),
                Not(HasSubstr("more: ")));
    // The first that has, and what the card says only where it is known.
    EXPECT_THAT(text({mended, late, TestFinished(0, "vlw", "failed", "Link trained down")}),
                ::testing::EndsWith("\nmore: zelhealth explain timed_out\n"));
    EXPECT_THAT(text({TestFinished(0, "vlw", "failed", "\"; rm -r /")}),
                ::testing::EndsWith("\nmore: zelhealth explain failed\n"));
}

// It is put into quotes, which is enough for the shell.
TEST(Report, NamesNoMessageThatTheShellTakesForMore) {
    for (const MessageSection& section : Messages::BuiltIn().Book().sections) {
        for (const MessageRow& row : section.rows) {
            for (const MessageText& message : row.texts) {
                if (message.kind == "failure") {
                    EXPECT_EQ(message.text.find_first_of("\"$`\\"), std::string::npos)
                        << message.text;
                }
            }
        }
    }
}

TEST(Report, SaysOnceWhatSeveralSayAlike) {
    Report report;
    for (int card = 0; card < 3; ++card) {
        report.Read(CardStarted(card));
        report.Read(TestFinished(card, "vlw", "setup", "ssh is missing"));
        report.Read(TestFinished(card, "vls", "setup", "ssh is missing"));
    }
    EXPECT_THAT(report.Text(80, false), HasSubstr("zel0, zel1, zel2  pcie.vlw, pcie.vls  setup\n"));
}

TEST(Report, AddsUpTheTestsWhereACardTellsNoTime) {
    Report report;
    report.Read(TestFinished(0, "vls", "passed"));
    report.Read(TestFinished(0, "vlw", "passed"));
    report.Read(CardFinished(0, "healthy"));
    EXPECT_THAT(report.Text(80, false), HasSubstr(" 3.0  2 passed\n"));
}

TEST(Report, HasTheCardsInTheirOrder) {
    Report report;
    for (const int card : {10, 9, 1, 0})
        report.Read(CardStarted(card));
    const std::string text = report.Text(80, false);
    std::vector<std::size_t> places;
    for (const char* card : {"zel0 ", "zel1 ", "zel9 ", "zel10 "})
        places.push_back(text.find(card));
    EXPECT_TRUE(std::is_sorted(places.begin(), places.end())) << text;
    EXPECT_NE(places.back(), std::string::npos);
}

TEST(Report, KeepsAVerdictWholeAtTheEndOfALine) {
    Report report;
    for (int card = 0; card < 9; ++card) {
        report.Read(CardStarted(card));
        report.Read(TestFinished(card, "a-longer-name", "timed_out", "x"));
    }
    // "zel0, ..., zel8  pcie.a-longer-name" is 72 columns long.
    EXPECT_THAT(report.Text(82, false), HasSubstr("pcie.a-longer-name\n  timed out\n"));
    EXPECT_THAT(report.Text(83, false), HasSubstr("pcie.a-longer-name  timed out\n"));
}

TEST(Report, SaysThatARunWasBrokenOff) {
    Report report;
    report.Read(CardStarted(0));
    report.Read(TestFinished(0, "vls", "passed"));
    const std::string text = report.Text(80, false);
    EXPECT_THAT(text, HasSubstr("the run was broken off"));
    EXPECT_THAT(text, Not(HasSubstr("healthy")));
}

TEST(Report, ObeysNothingThatACardSays) {
    Report report;
    report.Read(CardStarted(0));
    report.Read(TestFinished(0, "vlw", "failed", "\033[2J\007x"));
    report.Read(CardFinished(0, "failed", Reason("\033]0;title\007", 2)));
    const std::string text = report.Text(80, false);
    EXPECT_EQ(text.find('\033'), std::string::npos);
    EXPECT_EQ(text.find('\007'), std::string::npos);
}

TEST(Report, FitsIntoItsColumns) {
    Report report;
    for (const Json& record : EightCards()) {
        report.Read(record);
    }
    report.Read(
        CardFinished(5, "failed", Reason(std::string(300, 'x') + " " + std::string(90, 'y'), 2)));
    report.Read(RunFinished(2));
    const std::string text = report.Text(80, false);
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = text.find('\n', begin);
        EXPECT_LE(end - begin, 80U) << text.substr(begin, end - begin);
        begin = end + 1;
    }
}

TEST(Report, HasColoursWhereTheyAreWanted) {
    Report report;
    for (const Json& record : EightCards()) {
        report.Read(record);
    }
    EXPECT_THAT(report.Text(80, true), HasSubstr("\033[31mfailed"));
    EXPECT_EQ(report.Text(80, false).find('\033'), std::string::npos);
}

// --- while it runs

std::vector<std::string> DrawEight(std::size_t rows, std::size_t columns) {
    LiveLines lines;
    const auto begin = LiveLines::Clock::time_point(1000s);
    for (const Json& record : EightCards()) {
        lines.Read(record, begin);
    }
    return lines.Draw(rows, columns, false, begin + 3s);
}

TEST(LiveLines, AreALineACard) {
    const std::vector<std::string> lines = DrawEight(23, 79);
    ASSERT_THAT(lines, SizeIs(8));
    EXPECT_EQ(lines[0], "zel0   healthy   2/2  0 s  ");
    EXPECT_EQ(lines[2], "zel2   failed    2/2  0 s  pcie.vlw failed: Link trained down");
    EXPECT_EQ(lines[5], "zel5   pcie.vls  [#######.................]  0/2  3 s of 10 s");
}

TEST(LiveLines, FitIntoNarrowAndLowTerminals) {
    for (const std::size_t columns : {1U, 10U, 20U, 40U, 50U, 79U, 199U}) {
        for (const std::size_t rows : {0U, 1U, 3U, 8U, 49U}) {
            const std::vector<std::string> lines = DrawEight(rows, columns);
            EXPECT_LE(lines.size(), rows);
            for (const std::string& line : lines) {
                EXPECT_LE(line.size(), columns) << line;
            }
        }
    }
}

TEST(LiveLines, ShowThoseThatRunWhereThereIsNoRoomForAll) {
    const std::vector<std::string> lines = DrawEight(3, 79);
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_THAT(lines[0], HasSubstr("zel5"));
    EXPECT_EQ(lines[1], "7 of 8 cards are done");
}

TEST(LiveLines, FollowTheToolsOwnPercentage) {
    LiveLines lines;
    const auto begin = LiveLines::Clock::time_point(1000s);
    lines.Read(CardStarted(0), begin);
    lines.Read(TestStarted(0, "vls"), begin);
    Json progress = TestStarted(0, "vls");
    progress["record"] = "test_progress";
    progress["percent"] = 80;
    lines.Read(progress, begin);
    EXPECT_THAT(lines.Draw(5, 79, false, begin + 1s),
                ElementsAre("zel0   pcie.vls  [#########...............]  0/2  1 s of 10 s"));
}

TEST(LiveLines, SayThatACardIsLate) {
    LiveLines lines;
    const auto begin = LiveLines::Clock::time_point() + 1000s;
    lines.Read(CardStarted(0), begin);
    lines.Read(TestStarted(0, "vls"), begin);
    EXPECT_THAT(lines.Draw(5, 79, false, begin + 10s),
                ElementsAre("zel0   pcie.vls  [############............]  0/2  10 s of 10 s"));
    EXPECT_THAT(lines.Draw(5, 79, false, begin + 12s),
                ElementsAre("zel0   pcie.vls  [############............]  0/2  12 s, late"));
}

// --- monitors

TEST(PluginLine, TellsWhatIsCriticalFirst) {
    PluginLine line;
    line.Read({{"record", "run_started"},
               {"found", Json::array({"zel0", "zel1"})},
               {"expected", Json::array({"zel0", "zel1"})}});
    line.Read(TestFinished(0, "vls", "not_run", "held"));
    line.Read(TestFinished(1, "vlw", "failed", "Link trained down | x=1\n"));
    line.Read(CardFinished(0, "unknown"));
    line.Read(CardFinished(1, "failed"));
    line.Read(RunFinished(2));
    EXPECT_EQ(line.Text(),
              "ZEL CRITICAL - zel1: pcie.vlw Link trained down / x=1?; zel0: pcie.vls held | "
              "cards=2;;;0;2 healthy=0;;;0;2 failed=1;;;0;2 tests_passed=0 tests_failed=1 "
              "tests_not_judged=1 time=3.00s");
    EXPECT_EQ(line.Reason(), "zel1 pcie.vlw: Link trained down / x=1?");
}

// The trace has the number; what stands in brackets there is no more than the message.
TEST(PluginLine, GivesSchedulersTheFullerText) {
    Json test = TestFinished(1, "vlw", "failed", "Link trained down");
    test["evidence"]["err"] = {"Test 2 Failed with reason [FAILED: Link trained down]", 8,
                               "FAILED: Link trained down to 8 Lanes  "};
    PluginLine line;
    line.Read(test);
    EXPECT_EQ(line.Reason(), "zelhealth: the run was broken off");
    line.Read(RunFinished(2));
    EXPECT_EQ(line.Reason(), "zel1 pcie.vlw: Link trained down to 8 Lanes");
}

TEST(PluginLine, GivesSchedulersWhatIsNotCriticalOnlyWhereNothingElseIs) {
    PluginLine line;
    line.Read(RunFinished(1));
    line.Read(CardFinished(0, "healthy"));
    EXPECT_EQ(line.Reason(), "1 card healthy");
    line.Read(TestFinished(0, "vls", "not_run", "held"));
    line.Add(Status::unknown, "the disk is full");
    EXPECT_EQ(line.Reason(), "zel0 pcie.vls: held; zelhealth: the disk is full");
    line.Read({{"record", "card_finished"},
               {"card", "zel0"},
               {"verdict", "failed"},
               {"reasons", Json::array({{{"status", 2}, {"text", std::string(1000, 'x')}}})}});
    EXPECT_THAT(line.Reason(), ::testing::StartsWith("zel0: xxx"));
    EXPECT_THAT(line.Reason(), SizeIs(200));
}

// A card that does not answer would fill the line with its tests.
TEST(PluginLine, TellsOnceWhatTheTestsOfACardSayAlike) {
    PluginLine line;
    for (const char* const test : {"vlw", "vls", "vlw", "vdi"}) {
        line.Read(TestFinished(0, test, "not_run", "the card does not answer"));
    }
    line.Read(TestFinished(1, "vlw", "not_run", "the card does not answer"));
    line.Read(TestFinished(1, "vls", "not_run", "held"));
    line.Read(RunFinished(1));
    EXPECT_EQ(line.Reason(),
              "zel0 pcie.vlw (and 2 more): the card does not answer; zel1 pcie.vlw: the card does "
              "not answer; zel1 pcie.vls: held");
    EXPECT_THAT(line.Text(), HasSubstr(" - zel0: pcie.vlw (and 2 more) the card does not answer; "
                                       "zel1: pcie.vlw the card"));
}

// Whichever card was done first.
TEST(PluginLine, GivesSchedulersCardsInTheirOrder) {
    PluginLine line;
    line.Read(
        {{"record", "run_note"},
         {"reasons", Json::array({{{"status", 2}, {"text", "this host is out of memory"}}})}});
    for (const int card : {10, 2}) {
        line.Read(TestFinished(card, "vlw", "failed", "down"));
        line.Read(TestFinished(card, "vls", "failed", "slow"));
    }
    line.Read(RunFinished(2));
    EXPECT_EQ(line.Reason(),
              "zel2 pcie.vlw: down; zel2 pcie.vls: slow; zel10 pcie.vlw: down; "
              "zel10 pcie.vls: slow; zelhealth: this host is out of memory");
}

TEST(PluginLine, CallsNoBrokenOffRunHealthy) {
    PluginLine line;
    line.Read(CardFinished(0, "healthy"));
    EXPECT_THAT(line.Text(), ::testing::StartsWith("ZEL UNKNOWN - the run was broken off | "));
}

}  // namespace
}  // namespace zelhealth

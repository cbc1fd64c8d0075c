// What machines read of runs: as it stands in files.
#include <gmock/gmock.h>

#include <set>
#include <sstream>

#include "host/Scratch.h"
#include "report/Csv.h"
#include "report/JUnit.h"
#include "report/Metrics.h"
#include "report/Records.h"

namespace zelhealth {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

// What an output makes of records of one host's run.
template <typename Kind>
std::string Made(const std::vector<Json>& records) {
    const Scratch scratch;
    Kind output(scratch / "out");
    Runs runs({&output});
    for (const Json& fields : records) {
        EXPECT_EQ(runs.Read(RecordOf("node1", "20261121T201504Z-00000001", fields)), "");
    }
    runs.EndAll();
    output.Close();
    return ReadText(scratch / "out");
}

// --- CSV

TEST(Csv, QuotesAndMakesFormulasText) {
    const std::pair<const char*, const char*> rows[] = {
        {"", ""},
        {"plain", "plain"},
        {"a,b", "\"a,b\""},
        {"a\"b", "\"a\"\"b\""},
        {"a\r\nb", "\"a\r\nb\""},
        {"=1+1", "'=1+1"},
        {"+1", "'+1"},
        {"-1", "'-1"},
        {"@x", "'@x"},
        {"\tx", "\"'\tx\""},
        {"\rx", "\"'\rx\""},
        {"a=b", "a=b"},
        {"a;=b", "\"a;=b\""},
        {"=\"x\"", "\"'=\"\"x\"\"\""},
        {"\x1b[0m", "?[0m"},
    };
    for (const auto& [text, field] : rows) {
        EXPECT_EQ(CsvField(text), field) << text;
    }
}

TEST(Csv, HasARowForEachTestAndForARunThatWasBrokenOff) {
    Json test = Tested("zel1", "vlw", "failed", "Link, trained down");
    test["waived"] = "until then";
    const std::string titles =
        "host,run,time,card,pcie,group,test,options,round,verdict,seconds,reason,messages,mend,"
        "waived\r\n";
    const std::string row =
        "node1,20261121T201504Z-00000001,2026-11-21T20:15:04.500Z,zel1,0000:02:00.0,pcie,vlw,,1,"
        "failed,1.500,"
        "\"Link, trained down\",\"Link, trained down\",,until then\r\n";
    EXPECT_EQ(Made<Csv>({test, RunFinished(2)}), titles + row);
    EXPECT_EQ(Made<Csv>({test}),
              titles + row +
                  "node1,20261121T201504Z-00000001,2026-11-21T20:15:04.500Z,,,,,,,broken_off,,"
                  "the run was broken off,,,\r\n");
}

// --- JUnit

TEST(JUnit, WritesOnlyWhatXmlCanHold) {
    EXPECT_EQ(XmlText("a\tb\nc"), "a\tb\nc");
    EXPECT_EQ(XmlText(std::string_view("a\0b\x1f", 4)),
              "a\xEF\xBF\xBD"
              "b\xEF\xBF\xBD");
    EXPECT_EQ(XmlText("\xEF\xBF\xBE|\xEF\xBF\xBF|\xEF\xBF\xBD"),
              "\xEF\xBF\xBD|\xEF\xBF\xBD|\xEF\xBF\xBD");
    EXPECT_EQ(XmlText("\xF0\x9F\x98\x80"), "\xF0\x9F\x98\x80");
}

TEST(JUnit, HasACaseForEachTestCardAndRun) {
    EXPECT_EQ(Made<JUnit>({RunStarted(), Tested("zel0", "vls", "passed"),
                           Tested("zel0", "vlw", "failed", "Link <trained> down"),
                           CardFinished("zel0", "failed"), RunFinished(2)}),
              R"(<?xml version="1.0" encoding="UTF-8"?>
<testsuites>
  <testsuite name="zelhealth node1 20261121T201504Z-00000001" hostname="node1" timestamp="2026-11-21T20:15:04" tests="4" failures="1" errors="0" skipped="0" time="3.000">
    <testcase classname="node1.zel0" name="pcie.vls" time="1.500" />
    <testcase classname="node1.zel0" name="pcie.vlw" time="1.500">
      <failure message="Link &lt;trained> down" type="failed">Link &lt;trained&gt; down
Link &lt;trained&gt; down</failure>
      <system-out>line of vlw
</system-out>
    </testcase>
    <testcase classname="node1.zel0" name="card" time="0.000" />
    <testcase classname="node1" name="run" time="0.000" />
  </testsuite>
</testsuites>
)");
}

TEST(JUnit, SaysOfEachVerdictWhatItIs) {
    const std::pair<const char*, const char*> rows[] = {
        {"failed", "<failure"},      {"timed_out", "<failure"}, {"crashed", "<error"},
        {"setup", "<error"},         {"skipped", "<skipped"},   {"not_run", "<skipped"},
        {"unsupported", "<skipped"}, {"new one", "<error"},
    };
    for (const auto& [verdict, element] : rows) {
        const std::string text =
            Made<JUnit>({Tested("zel0", "vlw", verdict, "why"), RunFinished(0)});
        EXPECT_THAT(text, HasSubstr(std::string(element) + " message=\"why\"")) << verdict;
    }
    Json waived = Tested("zel0", "vlw", "failed", "why");
    waived["waived"] = "known until 2027";
    const std::string text = Made<JUnit>({waived, RunFinished(1)});
    EXPECT_THAT(text, HasSubstr("<skipped message=\"why\">why\nwhy\nknown until 2027</skipped>"));
    EXPECT_THAT(text, HasSubstr("failures=\"0\" errors=\"0\" skipped=\"1\""));
}

TEST(JUnit, SaysWhatIsWrongWithCardsAndRuns) {
    const std::string text =
        Made<JUnit>({CardFinished("zel1", "failed", Reason("zel1 is not there", 2)),
                     {{"record", "run_note"}, {"reasons", Reason("another tool runs", 3)}},
                     RunFinished(2)});
    EXPECT_THAT(
        text,
        HasSubstr("name=\"card\" time=\"0.000\">\n      <failure message=\"zel1 is not there\""));
    EXPECT_THAT(
        text,
        HasSubstr("name=\"run\" time=\"0.000\">\n      <error message=\"another tool runs\""));
    EXPECT_THAT(Made<JUnit>({Tested("zel0", "vlw", "passed")}),
                HasSubstr("<error message=\"the run was broken off\""));
    // What nobody told the reason of.
    EXPECT_THAT(Made<JUnit>({RunFinished(2)}),
                HasSubstr("<failure message=\"the run ended with status 2\""));
    EXPECT_THAT(Made<JUnit>({RunFinished(0)}),
                HasSubstr("failures=\"0\" errors=\"0\" skipped=\"0\""));
}

// What only warns may come first.
TEST(JUnit, SaysTheWorstOfSeveralReasons) {
    Json reasons = Reason("flash version differs", 1);
    for (const auto& [text, status] : {std::pair("no settings", 3), {"wedged", 2}, {"mode", 2}}) {
        reasons.push_back(Reason(text, status).front());
    }
    EXPECT_THAT(Made<JUnit>({CardFinished("zel1", "failed", reasons), RunFinished(2)}),
                HasSubstr("<failure message=\"wedged\" type=\"failed\">flash version differs\n"
                          "no settings\nwedged\nmode</failure>"));
}

TEST(JUnit, BeginsAnotherSuiteWhereOneGrowsLarge) {
    std::vector<Json> records;
    for (int i = 0; i < 4000; ++i) {
        records.push_back(Tested("zel0", "vlw", "failed", std::string(200, 'x')));
    }
    records.push_back(RunFinished(2));
    const std::string text = Made<JUnit>(records);
    EXPECT_THAT(text, HasSubstr("-00000001 (part 3)\""));
    std::size_t cases = 0;
    for (std::size_t at = text.find("<testcase"); at != text.npos;
         at = text.find("<testcase", at + 1)) {
        ++cases;
    }
    EXPECT_EQ(cases, 4001U);
}

// --- metrics

TEST(Metrics, EscapesAndBoundsLabels) {
    EXPECT_EQ(LabelValue("a\"b\\c\nd"), R"("a\"b\\c?d")");
    EXPECT_EQ(LabelValue(std::string(5000, 'x')).size(), 105U);
}

TEST(Metrics, TellOfRunsCardsAndTests) {
    const std::string text =
        Made<Metrics>({CardStarted("zel0"), Tested("zel0", "vls", "passed"),
                       Tested("zel0", "vlw", "timed_out", "no end"),
                       Tested("zel0", "vlw", "passed"), CardFinished("zel0", "failed"),
                       CardStarted("zel1"), CardFinished("zel1", "healthy"), RunFinished(2)});
    const std::string host = "{host=\"node1\"";
    const std::string card = host + ",card=\"zel0\",pcie=\"0000:02:00.0\"";
    for (const std::string& line : {
             "zelhealth_last_run_timestamp_seconds" + host + "} 1795292104.5\n",
             "zelhealth_last_run_finished" + host + "} 1\n",
             "zelhealth_last_run_status" + host + "} 2\n",
             "zelhealth_last_run_verdict" + host + ",verdict=\"failed\"} 1\n",
             "zelhealth_last_run_verdict" + host + ",verdict=\"healthy\"} 0\n",
             "zelhealth_last_run_duration_seconds" + host + "} 7.5\n",
             "zelhealth_card_healthy" + card + "} 0\n",
             "zelhealth_card_healthy" + host + ",card=\"zel1\",pcie=\"0000:02:00.0\"} 1\n",
             "zelhealth_card_memory_bytes" + card + "} 1073741824\n",
             "zelhealth_test_verdict" + card + ",test=\"pcie.vls\",verdict=\"passed\"} 1\n",
             "zelhealth_test_verdict" + card + ",test=\"pcie.vlw\",verdict=\"timed_out\"} 1\n",
             "zelhealth_test_duration_seconds" + card + ",test=\"pcie.vls\"} 1.5\n",
         }) {
        EXPECT_THAT(text, HasSubstr("\n" + line));
    }
    EXPECT_THAT(text, ::testing::EndsWith("\n# EOF\n"));
}

TEST(Metrics, CallNothingHealthyOfARunThatWasBrokenOff) {
    const std::string text = Made<Metrics>({CardStarted("zel0"), CardFinished("zel0", "healthy")});
    EXPECT_THAT(
        text,
        HasSubstr(
            "zelhealth_card_healthy{host=\"node1\",card=\"zel0\",pcie=\"0000:02:00.0\"} 0\n"));
    EXPECT_THAT(text, HasSubstr("zelhealth_last_run_status{host=\"node1\"} 3\n"));
    EXPECT_THAT(text, HasSubstr("verdict=\"broken_off\"} 1\n"));
    EXPECT_THAT(text, HasSubstr("zelhealth_last_run_finished{host=\"node1\"} 0\n"));
    EXPECT_THAT(text, Not(HasSubstr("duration_seconds{")));
}

TEST(Metrics, AreThoseOfTheLastRun) {
    const Scratch scratch;
    Metrics metrics(scratch / "out");
    Runs runs({&metrics});
    ReadRun(runs, "a", "20261102T000000Z-00000000", Tested("zel0", "vlw", "failed"), "failed", 2);
    ReadRun(runs, "a", "20261101T000000Z-00000000", Tested("zel0", "vlw", "passed"), "healthy", 0);
    metrics.Close();
    const std::string text = ReadText(scratch / "out");
    EXPECT_THAT(text, HasSubstr("zelhealth_last_run_status{host=\"a\"} 2\n"));
    EXPECT_THAT(text, Not(HasSubstr("zelhealth_last_run_status{host=\"a\"} 0\n")));
    EXPECT_THAT(text, Not(HasSubstr("verdict=\"passed\"")));
}

// In whatever order hosts and their runs come.
TEST(Metrics, AreThoseOfTheLastRunOfEachOfManyHosts) {
    constexpr int kHosts = 500;
    const Scratch scratch;
    const auto write = [&scratch](const char* name, int step, bool earlierToo) {
        Metrics metrics(scratch / name);
        Runs runs({&metrics});
        for (int i = 0; i < kHosts; ++i) {
            const std::string host = "node" + std::to_string(i * step % kHosts);
            const Json test =
                Tested("zel0", "t" + std::to_string(i * step % kHosts % 50), "failed");
            if (earlierToo && i % 2 == 0) {
                ReadRun(runs, host, "20261101T000000Z-00000000", Tested("zel9", "old", "passed"),
                        "healthy", 0);
            }
            ReadRun(runs, host, "20261102T000000Z-00000000", test, "failed", 2);
            if (earlierToo && i % 2 == 1) {
                ReadRun(runs, host, "20261101T000000Z-00000001", Tested("zel9", "old", "passed"),
                        "healthy", 0);
            }
        }
        metrics.Close();
        return ReadText(scratch / name);
    };
    const std::string text = write("plain", 1, false);
    EXPECT_EQ(write("mixed", 7, true), text);
    std::istringstream lines(text);
    std::set<std::string> known;
    for (std::string line; std::getline(lines, line);) {
        known.insert(line);
    }
    for (int i = 0; i < kHosts; ++i) {
        const std::string labels = "{host=\"node" + std::to_string(i) +
                                   "\",card=\"zel0\",pcie=\"0000:02:00.0\",test=\"pcie.t" +
                                   std::to_string(i % 50) + "\"";
        EXPECT_EQ(known.count("zelhealth_test_verdict" + labels + ",verdict=\"failed\"} 1"), 1U);
        EXPECT_EQ(known.count("zelhealth_test_duration_seconds" + labels + "} 1.5"), 1U);
    }
}

}  // namespace
}  // namespace zelhealth

// What the tool's output means: outputs that the suite holds the tool to, and those twisted in every way
// in which a child can go wrong.
#include "run/Verdict.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include "catalogue/Catalogue.h"
#include "run/ToolTexts.h"

namespace zelhealth {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const std::filesystem::path kCases = CASES_FOLDER;

std::string Contents(const std::filesystem::path& file) {
    std::ifstream stream(file);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

AskedTest Asked(const std::string& id, int card = 0) {
    const TestRow* const row = Catalogue::BuiltIn().Find(id);
    EXPECT_NE(row, nullptr) << id;
    return {card, row->groupTitle, row->groupSummary, row->number, row->title, ""};
}

ChildResult Exit(int status, std::string out, std::string err = {}) {
    ChildResult result;
    result.end = ChildEnd::exited;
    result.code = status;
    result.out = std::move(out);
    result.err = std::move(err);
    return result;
}

ChildResult Recorded(const std::string& name) {
    const std::string status = Contents(kCases / name / "status");
    return Exit(status.empty() ? 0 : std::stoi(status), Contents(kCases / name / "stdout"),
                Contents(kCases / name / "stderr"));
}

std::string Replace(std::string text, std::string_view from, std::string_view to) {
    const std::size_t place = text.find(from);
    EXPECT_NE(place, std::string::npos) << from;
    return text.replace(place, from.size(), to);
}

// A case that asks one test of one card, as zelhealth does: its test; null for others.
const TestRow* SingleTest(const std::string& name, const std::string& out) {
    static const std::regex form(
        "(PLYX_DEBUG_LEVEL=[a-z0-9]+ )?ZelDiag -summary -([a-z]+) -([a-z0-9]+)"
        "( -[a-zA-Z]+=[^ ]+| -(continue|break|exit|skip|noExit)OnFail)*\n");
    std::smatch match;
    const std::string command = Contents(kCases / name / "command");
    const bool one = out.find("on device 1 of 1 ") != std::string::npos;
    if (!one || !std::regex_match(command, match, form)) {
        return nullptr;
    }
    return Catalogue::BuiltIn().Find(match[2].str() + "." + match[3].str());
}

TEST(RecordedOutput, IsReadInFormAndJudgedAsTheToolDid) {
    int seen = 0;
    for (const auto& folder : std::filesystem::directory_iterator(kCases)) {
        const std::string name = folder.path().filename();
        const ChildResult result = Recorded(name);
        const TestRow* const row = SingleTest(name, result.out);
        const bool skipped = result.out.find(" *** ") != std::string::npos;
        if (row == nullptr || skipped) {
            continue;
        }
        SCOPED_TRACE(name);
        ++seen;
        const AskedTest asked = Asked(row->Id());
        EXPECT_THAT(ReadToolOutput(result.out, asked).problem, IsEmpty());
        const Verdict verdict = Judge(result, asked).verdict;
        // A card that cannot be closed does not count as failed for the tool, either.
        if (result.code == 0 && result.out.find(tool::kCardNotClosed) == std::string::npos) {
            EXPECT_EQ(verdict, Verdict::passed);
        } else if (result.code != 0) {
            EXPECT_THAT(verdict, ::testing::AnyOf(Verdict::failed, Verdict::setup));
        }
    }
    EXPECT_GT(seen, 60);
}

// Names of recorded cases, what they ask, and what that means.
struct Row {
    std::string name;
    std::string test;
    Verdict verdict;
    std::string reason;
    int card = 0;
};

class Recording : public ::testing::TestWithParam<Row> {};

TEST_P(Recording, MeansWhatItShould) {
    const Row& row = GetParam();
    const Judgement judgement = Judge(Recorded(row.name), Asked(row.test, row.card));
    EXPECT_EQ(NameOf(judgement.verdict), NameOf(row.verdict)) << judgement.reason;
    EXPECT_EQ(judgement.reason, row.reason);
}

INSTANTIATE_TEST_SUITE_P(
    All, Recording,
    ::testing::Values(
        Row{"pcie-width-8", "pcie.vlw", Verdict::failed, "Link trained down"},
        Row{"smc-uuid-unreadable", "smc.uuid", Verdict::failed, "Failed to get SMC UUID"},
        Row{"mem-full-mode-unreadable", "mem.full", Verdict::failed, "Failed to get usage mode"},
        Row{"mem-full-size-unreadable", "mem.full", Verdict::failed, "Failed full range test"},
        Row{"mem-info-vendor-unknown", "mem.info", Verdict::failed, "GDDR Vendor not supported"},
        Row{"mem-info-eleven-vendors", "mem.info", Verdict::setup,
            "Too many GDDR vendors in Settings.ini"},
        Row{"run-card-does-not-close", "core.gec", Verdict::passed, ""},
        Row{"run-link-without-address", "core.gec", Verdict::setup,
            "the cards' driver is not loaded"},
        Row{"run-library-does-not-open", "core.gec", Verdict::failed,
            "the card-access library gives no access to any card"},
        Row{"run-no-cards", "core.gec", Verdict::failed,
            "the card-access library gives no access to any card"},
        Row{"run-256-cards", "core.gec", Verdict::setup, "the tool takes 255 cards at most"},
        Row{"run-library-version-unreadable", "core.gec", Verdict::failed,
            "the card cannot be opened: The card does not answer"}),
    [](const auto& row) { return std::regex_replace(row.param.name, std::regex("-"), "_"); });

TEST(Judgement, TellsTheCardApartThatCannotBeClosed) {
    const Judgement judgement = Judge(Recorded("run-card-does-not-close"), Asked("core.gec"));
    EXPECT_EQ(judgement.verdict, Verdict::passed);
    EXPECT_THAT(judgement.cardProblems, ElementsAre("the card could not be closed"));
    EXPECT_THAT(Judge(Recorded("pcie-width-8"), Asked("pcie.vlw")).messages,
                ElementsAre("Link trained down"));
}

constexpr char kSkipped[] =
    "ZelGetVersion  3.1.2 \n"
    "========================================================================\n"
    "Running Coprocessor Diagnostics on device 1 of 1 (zel0 on PCIe Addr 0000:02:00.0)\n"
    "HOSK Version=3.1.2; Flash version=2.1.02.0390; SMC Version=1.16.42\n"
    "------------------------------------------------------------------------\n"
    "PCIE Diagnostics : BEGINS\n\n"
    " *** PCIE Diagnostics :The Coprocessor is not in normal mode, set it to Normal mode to run "
    "this test "
    "***\n\n"
    "------------------------------------------------------------------------\n"
    "Coprocessor Diagnostics completed for device: 1 of 1\n"
    "Device Status: OK\n"
    "========================================================================\n\n"
    "HOSK Version: 3.1.2\n"
    "==============================================================================\n"
    "zel0 (0000:02:00.0; Flash=2.1.02.0390; SMC=1.16.42): FAILED (1)\n"
    "  PcieDiag.<none>: The Coprocessor is not in normal mode\n"
    "==============================================================================\n"
    "ZEL Card Numbers with Errors: 0\n";

TEST(Judgement, OfAGroupThatWasSkipped) {
    const Judgement judgement = Judge(Exit(0, kSkipped), Asked("pcie.vlw"));
    EXPECT_EQ(judgement.verdict, Verdict::skipped);
    EXPECT_EQ(judgement.reason, "The Coprocessor is not in normal mode");
    // Without its reason it is none.
    EXPECT_EQ(Judge(Exit(0, Replace(kSkipped, "<none>", "LinkWidth")), Asked("pcie.vlw")).verdict,
              Verdict::crashed);
}

TEST(Judgement, OfSettingsThatCannotBeRead) {
    const Judgement judgement =
        Judge(Exit(1, "An error has occurred: Could process settings\n",
                   "/opt/bin/Settings.ini: cannot be opened: No such file or directory\n"),
              Asked("core.gec"));
    EXPECT_EQ(judgement.verdict, Verdict::setup);
    EXPECT_EQ(judgement.reason,
              "/opt/bin/Settings.ini: cannot be opened: No such file or directory");
}

TEST(Judgement, OfAMissingLibrary) {
    const std::string loader =
        "ZelDiag: error while loading shared libraries: libvorl.so: cannot open shared object "
        "file\n";
    EXPECT_EQ(Judge(Exit(127, "", loader), Asked("core.gec")).verdict, Verdict::setup);
    // Any program may end with 127.
    EXPECT_EQ(Judge(Exit(127, ""), Asked("core.gec")).verdict, Verdict::crashed);
}

// The number that was asked for may belong to another card by now.
TEST(Judgement, OfAnotherCardsRun) {
    const ChildResult result = Recorded("run-card-does-not-close");
    AskedTest asked = Asked("core.gec");
    const ToolReport report = ReadToolOutput(result.out, asked);
    ASSERT_FALSE(report.pcie.empty());
    asked.pcie = report.pcie;
    EXPECT_EQ(Judge(result, asked).verdict, Verdict::passed);
    asked.pcie = "0000:99:00.0";
    EXPECT_EQ(Judge(result, asked).verdict, Verdict::crashed);
    EXPECT_THAT(Judge(result, asked).reason, HasSubstr("not that on 0000:99:00.0"));
}

TEST(Judgement, OfOtherEnds) {
    const AskedTest asked = Asked("core.gec");
    ChildResult result = Recorded("run-card-does-not-close");
    result.end = ChildEnd::signalled;
    result.code = SIGSEGV;
    EXPECT_EQ(Judge(result, asked).verdict, Verdict::crashed);
    EXPECT_THAT(Judge(result, asked).reason, HasSubstr("signal 11"));
    // Somebody wanted it to end: that is no card's fault.
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        result.code = signal;
        EXPECT_EQ(Judge(result, asked).verdict, Verdict::setup) << signal;
    }
    // Without its keeper a tool is killed, whatever it was about to say.
    result.code = SIGKILL;
    result.error = "zelkeeper was killed";
    EXPECT_EQ(Judge(result, asked).verdict, Verdict::setup);
    EXPECT_EQ(Judge(result, asked).reason, "zelkeeper was killed");
    result.end = ChildEnd::timedOut;
    EXPECT_EQ(Judge(result, asked).verdict, Verdict::timedOut);
    result.end = ChildEnd::givenUp;
    result.pid = 4711;
    EXPECT_EQ(Judge(result, asked).verdict, Verdict::timedOut);
    EXPECT_THAT(Judge(result, asked).reason, HasSubstr("4711"));
    result.end = ChildEnd::stopped;
    EXPECT_EQ(Judge(result, asked).verdict, Verdict::notRun);
    result.end = ChildEnd::notStarted;
    result.error = "ZelDiag: No such file or directory";
    EXPECT_EQ(Judge(result, asked).verdict, Verdict::setup);
    EXPECT_EQ(Judge(Exit(251, ""), asked).verdict, Verdict::setup);
}

// A plan's options that the tool refuses are no card's fault; without options it is the card that does not
// fit the test.
TEST(Judgement, OfAPlansOptions) {
    AskedTest asked = Asked("mem.wr");
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"mem-write-size-not-divisible", "Invalid arguments, Datalength is not divisible by"},
        {"mem-write-larger-than-memory", "Invalid arguments, Datalength was not between 0 and"},
        {"mem-write-range-leaves-memory", "Test range if greater than available memory"},
    };
    for (const auto& [name, reason] : rows) {
        SCOPED_TRACE(name);
        asked.hasOptions = true;
        const Judgement judgement = Judge(Recorded(name), asked);
        EXPECT_EQ(judgement.verdict, Verdict::setup);
        EXPECT_THAT(judgement.reason,
                    HasSubstr("the plan's options do not fit the card: " + reason));
        asked.hasOptions = false;
        EXPECT_EQ(Judge(Recorded(name), asked).verdict, Verdict::failed);
    }
    // A card's own failure stays one, whatever was asked.
    asked.hasOptions = true;
    EXPECT_EQ(Judge(Recorded("mem-write-size-unreadable"), asked).verdict, Verdict::failed);
    const Judgement refused = Judge(Recorded("cmdline-unknown-word"), asked);
    EXPECT_EQ(refused.verdict, Verdict::setup);
    EXPECT_EQ(refused.reason, "the tool refuses the plan's options: Invalid argument: -nothing");
}

// A run that passed, to be twisted.
class Twisted : public ::testing::Test {
protected:
    static std::string Healthy() {
        return "ZelGetVersion  3.1.2 \n"
               "========================================================================\n"
               "Running Coprocessor Diagnostics on device 2 of 3 (zel1 on PCIe Addr 0000:03:00.0)\n"
               "HOSK Version=3.1.2; Flash version=2.1.02.0390; SMC Version=1.16.42\n"
               "------------------------------------------------------------------------\n"
               "PCIE Diagnostics : BEGINS\n\n"
               "Test 2: Verify Link Width\n"
               "free text\n"
               "Test 2: PASSED\n\n"
               "PCIE Diagnostics : ENDS\n"
               "Test Group [PCIE Diagnostics]: PASSED\n"
               "------------------------------------------------------------------------\n"
               "Coprocessor Diagnostics completed for device: 2 of 3\n"
               "Device Status: OK\n"
               "========================================================================\n\n"
               "HOSK Version: 3.1.2\n"
               "==============================================================================\n"
               "zel1 (0000:03:00.0; Flash=2.1.02.0390; SMC=1.16.42): PASSED\n"
               "==============================================================================\n"
               "No ZEL Cards with Errors.\n";
    }

    static Judgement Of(const std::string& out, int status = 0) {
        return Judge(Exit(status, out), Asked("pcie.vlw", 1));
    }

    static Verdict With(std::string_view from, std::string_view to, int status = 0) {
        return Of(Replace(Healthy(), from, to), status).verdict;
    }
};

TEST_F(Twisted, NotAtAllPasses) {
    EXPECT_EQ(Of(Healthy()).verdict, Verdict::passed) << Of(Healthy()).reason;
}

TEST_F(Twisted, EndingAfterAnyByteIsNoPass) {
    const std::string whole = Healthy();
    for (std::size_t bytes = 0; bytes < whole.size(); ++bytes) {
        EXPECT_NE(Of(whole.substr(0, bytes)).verdict, Verdict::passed) << bytes;
    }
}

TEST_F(Twisted, MissingAnyLineIsNoPassBehindTheHeader) {
    const std::string whole = Healthy();
    for (std::size_t begin = whole.find("Running"); begin < whole.size();) {
        const std::size_t end = whole.find('\n', begin) + 1;
        const std::string line = whole.substr(begin, end - begin);
        if (line != "free text\n") {
            EXPECT_NE(Of(whole.substr(0, begin) + whole.substr(end)).verdict, Verdict::passed)
                << line;
        }
        begin = end;
    }
}

TEST_F(Twisted, DoublingAnyLineIsNoPassBehindTheHeader) {
    const std::string whole = Healthy();
    for (std::size_t begin = whole.find("Running"); begin < whole.size();) {
        const std::size_t end = whole.find('\n', begin) + 1;
        const std::string line = whole.substr(begin, end - begin);
        // Free text may say anything but the verdict, titles and empty lines too.
        if (line != "free text\n" && line != "Test 2: Verify Link Width\n") {
            EXPECT_NE(Of(whole.substr(0, end) + whole.substr(begin)).verdict, Verdict::passed)
                << line;
        }
        begin = end;
    }
}

TEST_F(Twisted, AFailureInAnyOfTheStatementsFails) {
    EXPECT_EQ(With("Test 2: PASSED", "Test 2: FAILED"), Verdict::failed);
    EXPECT_EQ(With("[PCIE Diagnostics]: PASSED", "[PCIE Diagnostics]: FAILED"), Verdict::failed);
    EXPECT_EQ(With("[PCIE Diagnostics]: PASSED", "[PCIE Diagnostics]: ABORTED"), Verdict::failed);
    EXPECT_EQ(With("Status: OK", "Status: FAILED"), Verdict::failed);
    EXPECT_EQ(With("1.16.42): PASSED", "1.16.42): FAILED (1)"), Verdict::failed);
    EXPECT_EQ(With("Test 2: PASSED", "Test 2: FAILED", 1), Verdict::failed);
}

// Also where only libraries print: in front of the header, and while the test runs.
TEST_F(Twisted, AFailureAmongFreeTextFails) {
    for (const std::string place : {"ZelGetVersion  3.1.2 ", "free text"}) {
        EXPECT_EQ(With(place, "zel1 (0000:03:00.0): FAILED (1)"), Verdict::failed) << place;
        EXPECT_EQ(With(place, "Device Status: FAILED"), Verdict::failed) << place;
        EXPECT_EQ(With(place, "Test Group [PCIE Diagnostics]: FAILED"), Verdict::failed) << place;
        EXPECT_EQ(With(place, "it says FAILED (1)"), Verdict::passed) << place;
    }
}

TEST_F(Twisted, PassedWithAnotherStatusIsNoPass) {
    EXPECT_EQ(Of(Healthy(), 1).verdict, Verdict::crashed);
    EXPECT_EQ(Of(Healthy(), 3).verdict, Verdict::crashed);
}

TEST_F(Twisted, ALibraryThatDoesNotCloseIsTheCards) {
    const Judgement judgement = Of(Healthy() + "Failed to close API for device id: 0\n", 1);
    EXPECT_EQ(judgement.verdict, Verdict::passed) << judgement.reason;
    EXPECT_THAT(judgement.cardProblems, ElementsAre("the library could not be closed"));
    EXPECT_EQ(Of(Healthy() + "More\n").verdict, Verdict::crashed);
}

TEST_F(Twisted, ATestThatDoesNothingIsNoPass) {
    EXPECT_EQ(With("free text", "Test not supported on this device"), Verdict::skipped);
}

TEST_F(Twisted, AVerdictInFreeTextIsNoPass) {
    EXPECT_EQ(With("free text", "Test 2: PASSED"), Verdict::crashed);
    EXPECT_EQ(With("free text", "Test 2: PASSED\n\nPCIE Diagnostics : ENDS"), Verdict::crashed);
    EXPECT_EQ(With("free text", "Test 2: FAILED"), Verdict::failed);
    EXPECT_EQ(Of("Test 2: PASSED\n" + Healthy()).verdict, Verdict::crashed);
}

TEST_F(Twisted, AnotherCardOrTestIsNoPass) {
    EXPECT_EQ(Judge(Exit(0, Healthy()), Asked("pcie.vlw", 0)).verdict, Verdict::crashed);
    EXPECT_EQ(Judge(Exit(0, Healthy()), Asked("pcie.vls", 1)).verdict, Verdict::crashed);
    EXPECT_EQ(Judge(Exit(0, Healthy()), Asked("core.gec", 1)).verdict, Verdict::crashed);
}

TEST_F(Twisted, ACardThatTheToolDoesNotFindFails) {
    const Judgement judgement =
        Of("\nHOSK Version: \n"
           "==============================================================================\n"
           "==============================================================================\n"
           "No ZEL Cards with Errors.\n");
    EXPECT_EQ(judgement.verdict, Verdict::failed);
    EXPECT_EQ(judgement.reason, "the tool finds no card zel1");
}

TEST_F(Twisted, OddBytesAreNoPass) {
    EXPECT_EQ(With("Test 2: PASSED", "Test 2: PASSED "), Verdict::crashed);
    EXPECT_EQ(With("Test 2: PASSED", "Test 2: PASSED\r"), Verdict::crashed);
    EXPECT_EQ(With("Status: OK", std::string_view("Status: OK\0", 11)), Verdict::crashed);
    EXPECT_EQ(With("Test 2: PASSED", "\033[32mTest 2: PASSED"), Verdict::crashed);
}

TEST_F(Twisted, TooMuchIsNoPass) {
    ChildResult result = Exit(0, Healthy());
    result.outCut = true;
    EXPECT_EQ(Judge(result, Asked("pcie.vlw", 1)).verdict, Verdict::crashed);
}

// Late workers of the DMA tests print wherever they come.
TEST_F(Twisted, AFailureWithABrokenFormIsStillAFailure) {
    const Judgement judgement = Of(Replace(Replace(Healthy(), "Test 2: PASSED", "Test 2: FAILED"),
                                           "Device Status", "late\nDevice Status"));
    EXPECT_EQ(judgement.verdict, Verdict::failed);
    EXPECT_THAT(judgement.reason, HasSubstr("has not its form"));
}

}  // namespace
}  // namespace zelhealth

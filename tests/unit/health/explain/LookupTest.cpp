// What is found by a word or a line, and in which order.
#include "explain/Lookup.h"

#include <gmock/gmock.h>

namespace zelhealth {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

std::vector<std::string> Names(const Answer& answer) {
    std::vector<std::string> names;
    for (const Found& found : answer.found)
        names.push_back(NameOf(found));
    return names;
}

std::vector<std::string> Exact(const std::string& what) {
    const Answer answer = LookUp(what);
    EXPECT_TRUE(answer.exact) << what;
    return Names(answer);
}

std::vector<std::string> Nearest(const std::string& what) {
    const Answer answer = LookUp(what);
    EXPECT_FALSE(answer.exact) << what;
    return Names(answer);
}

TEST(Lookup, FindsATestByEachOfItsNames) {
    for (const char* what :
         {"pcie.vlw", "vlw", "-vlw", "verifyLinkWidth", "-verifyLinkWidth", "-pcie -vlw",
          "PcieDiag.LinkWidth", "Verify Link Width", " vlw\n", "PCIE.VLW", "-VerifyLinkWidth"})
        EXPECT_THAT(Exact(what), ElementsAre("pcie.vlw")) << what;
    EXPECT_THAT(Exact("-c"), ElementsAre("core.c"));
    EXPECT_THAT(Exact("-hwr"), ElementsAre("smc.hwr"));
    EXPECT_THAT(Exact("-uniqueid"), ElementsAre("smc.uuid"));
}

TEST(Lookup, FindsEveryTestByItsId) {
    for (const TestRow& row : Catalogue::BuiltIn().Tests())
        EXPECT_THAT(Exact(row.Id()), ElementsAre(row.Id()));
}

TEST(Lookup, FindsVerdictsAndStatuses) {
    EXPECT_THAT(Exact("timed_out"), ElementsAre("timed_out"));
    EXPECT_THAT(Exact("timed out"), ElementsAre("timed_out"));
    EXPECT_THAT(Exact("degraded"), ElementsAre("degraded"));
    // Of a test, and of a card.
    EXPECT_THAT(Exact("failed"), ElementsAre("failed", "failed"));
    for (const char* what : {"2", "status 2", "exit status 2", "Exit status 2", "CRITICAL"})
        EXPECT_THAT(Exact(what), ElementsAre("status 2")) << what;
    // Of zelhealth, and of the tool.
    EXPECT_THAT(Exact("1"), ElementsAre("status 1", "status 1"));
    EXPECT_THAT(Exact("251"), ElementsAre("status 251"));
    EXPECT_THAT(Exact("1 failed; 3.0 seconds; exit status 2"), ElementsAre("status 2"));
}

TEST(Lookup, FindsMessagesAsTheyArePrinted) {
    const std::pair<const char*, const char*> rows[] = {
        {"Link trained down", "Link trained down"},
        {"  Link trained down \n", "Link trained down"},
        {"PCIeDiag.LinkWidth: Link trained down", "Link trained down"},
        {"FAILED: Link trained down to 8 Lanes", "FAILED: Link trained down to <n> Lanes"},
        {"Expected 5 GT/s but found 2.5 GT/s", "Expected 5 GT/s but found 2.5 GT/s"},
        {"test range 0x10 is greater than available memory on Ostrel(R) Vimbra(TM) Coprocessor "
         "0xfF",
         "test range 0x<hex> is greater than available memory on Ostrel(R) Vimbra(TM) Coprocessor "
         "0x<hex>"},
        {"zel0   pcie.vlw   failed          0.1 s  Link trained down", "Link trained down"},
        {"  seen   Link trained down", "Link trained down"},
        {"link TRAINED down", "Link trained down"},
        {"pciediag.linkwidth: LINK trained down", "Link trained down"},
    };
    for (const auto& [what, name] : rows)
        EXPECT_THAT(Exact(what), ElementsAre(name)) << what;
}

TEST(Lookup, FindsWhatZelhealthItselfSays) {
    const std::pair<const char*, const char*> rows[] = {
        {"  seen   ended after 9 s, its time being over", "ended after <n> s, its time being over"},
        {"ended after 0.5 s, its time being over", "ended after <seconds> s, its time being over"},
        {"zelhealth: standard output cannot be written", "standard output cannot be written"},
        {"zel1: it is in mode offline, in which no job can use it",
         "it is in mode <mode>, in which no job can use it"},
        {"zelhealth: --since: \"30\" is no time; it takes 90m, 12h, 30d, 8w, or a day such as "
         "2026-11-21",
         "--since: <text> is no time; it takes 90m, 12h, 30d, 8w, or a day such as 2026-11-21"},
        {"zelhealth: /v/history.db: database is locked; another program holds it, which fuser "
         "/v/history.db names: end that, and run again",
         "<file>: database is locked; another program holds it, which fuser <file> names: end "
         "that, and run again"},
        {"zelhealth: /v/history.db: the file is empty; it is set aside as /v/history.db.damaged-2, "
         "and a new history begins",
         "<file>: the file is empty; it is set aside as <file>, and a new history begins"},
        {"the host key of zel0 is not known: Host key verification failed.",
         "the host key of <card> is not known: <reason>"},
    };
    for (const auto& [what, name] : rows)
        EXPECT_THAT(Exact(what), ElementsAre(name)) << what;
    EXPECT_THAT(Exact("zel1: it cannot be opened: ZelInitAdapter failed"),
                ElementsAre("ZelInitAdapter failed", "it cannot be opened: <reason>"));
}

// The cause is told beside the line that it stands in.
TEST(Lookup, FindsTheMessageInAMessage) {
    EXPECT_THAT(Exact("An error has occurred: ZelInitAdapter failed"),
                ElementsAre("ZelInitAdapter failed", "An error has occurred: <cause>"));
    EXPECT_THAT(
        Exact(
            "Test 2 Failed in file TestEngine/x, line 52 with reason [FAILED: Link trained down]"),
        ElementsAre("FAILED: Link trained down",
                    "Test <n> Failed in file <file>, line <n> with reason [<reason>]"));
    EXPECT_THAT(Exact("Test 2: Verify Link Width"), ElementsAre("pcie.vlw", "Test <n>: <title>"));
    EXPECT_THAT(Exact("Test 2: PASSED"), ElementsAre("Test <n>: <PASSED or FAILED>"));
    EXPECT_THAT(Exact("/x/Settings.ini:3: a value without a key; write the key before the \"=\""),
                ElementsAre("a value without a key; write the key before the \"=\""));
}

// As a terminal shows them.
TEST(Lookup, FindsMessagesThatRunIntoEachOtherOrOn) {
    EXPECT_THAT(Exact("Failed to get SMC UUIDTest 3: FAILED"),
                ElementsAre("Failed to get SMC UUID", "Test <n>: <PASSED or FAILED>"));
    EXPECT_THAT(
        Exact("Test 3 Failed in file a/b, line 27 with reason [Could not get CPU information"),
        ElementsAre("Could not get CPU information",
                    "Test <n> Failed in file <file>, line <n> with reason [<reason>]"));
}

TEST(Lookup, FindsAllThatAMonitorShows) {
    EXPECT_THAT(
        Exact("ZEL CRITICAL - zel1: pcie.vlw Link trained down; zel0: pcie.vls Expected 5 GT/s "
              "but found 2.5 GT/s | cards=2;;;0;2"),
        ElementsAre("Link trained down", "Expected 5 GT/s but found 2.5 GT/s"));
    // Without a mark behind the last, and with a mark in one.
    EXPECT_THAT(Exact("zel1 pcie.vlw: Link trained down to 8 Lanes; zel7: it does not answer: x"),
                ElementsAre("Link trained down", "it does not answer: <reason>"));
    EXPECT_THAT(Exact("zel1: /v/h.db: database is locked; another program holds it, which fuser "
                      "/v/h.db names: end that, and run again; zel0: pcie.vlw Link trained down"),
                SizeIs(2));
    EXPECT_THAT(Exact("zel0, zel1  pcie.vlw, core.c  what"), ElementsAre("core.c", "pcie.vlw"));
}

// As a check's line and schedulers have them, where a text may be longer than its row.
TEST(Lookup, FindsMessagesBehindNamesAndInFrontOfMore) {
    const std::pair<const char*, const char*> rows[] = {
        {"Link trained down to 8 Lanes", "Link trained down"},
        {"zel1 pcie.vlw: Link trained down to 8 Lanes", "Link trained down"},
        {"zel1: pcie.vlw Link trained down (waived until 2027-01-01: known)", "Link trained down"},
        {"node7 zel1 pcie.vlw: Link trained down, again", "Link trained down"},
        {"zel1 PCIE.VLW: LINK trained down TO 8 lanes", "Link trained down"},
        {"zel7: it does not answer: no answer within 10 s", "it does not answer: <reason>"},
        {"zel7: it does not answer: ...", "it does not answer: <reason>"},
        {"zel3: its facts cannot be read: nothing was said", "its facts cannot be read: <reason>"},
        {"zel1 does not answer: no route", "<card> does not answer: <reason>"},
        {"0000:03:00.0 is not there", "<card> is not there"},
        {"zelkeeper was killed", "zelkeeper was killed"},
        {"zelhealth: the run was broken off", "the run was broken off"},
        {"zel1 pcie.vlw: xyzzy", "pcie.vlw"},
    };
    for (const auto& [what, name] : rows)
        EXPECT_THAT(Exact(what), ElementsAre(name)) << what;
    EXPECT_THAT(Exact("zel7: it does not answer: zelkeeper was killed"),
                ElementsAre("zelkeeper was killed", "it does not answer: <reason>"));
    // It goes on behind a word.
    EXPECT_THAT(Exact("zel0: the card is in use by 3 jobs"), ElementsAre("the card is in use"));
    EXPECT_THAT(LookUp("Link trained downwards").exact, false);
}

TEST(Lookup, FindsWhatANodeOrARunMayBe) {
    for (const char* what : {"not asked", "not_asked", "broken off", "broken_off", "lost"})
        EXPECT_THAT(Exact(what), SizeIs(1)) << what;
    EXPECT_THAT(Exact("2 healthy; the run was broken off"), ElementsAre("the run was broken off"));
}

TEST(Lookup, SaysARowOnceByTheTextThatWasFound) {
    // It is a reason and a failure of one row.
    EXPECT_THAT(Exact("Memory write failure"), ElementsAre("Memory write failure"));
}

TEST(Lookup, FindsTheNearest) {
    EXPECT_THAT(Nearest("pcie.vlx"), SizeIs(::testing::Ge(1)));
    EXPECT_THAT(Nearest("Link traind down"), ElementsAre("Link trained down"));
    EXPECT_THAT(Nearest("LINK TRAIND DOWN"), ElementsAre("Link trained down"));
    EXPECT_THAT(Nearest("timd_out"), ElementsAre("timed_out"));
    EXPECT_THAT(Nearest("full range"), ElementsAre("mem.full", "Failed full range test"));
}

TEST(Lookup, LeavesOutWhatIsTooMuch) {
    const Answer answer = LookUp("vorl_writeto");
    EXPECT_THAT(answer.found, SizeIs(::testing::Le(3)));
    const Answer memory = LookUp("memory");
    EXPECT_THAT(memory.found, SizeIs(3));
    EXPECT_GT(memory.more, 5U);
    EXPECT_FALSE(memory.exact);
}

TEST(Lookup, KnowsNothingOfOtherThings) {
    for (const char* what : {"", "  \n", "xyzzy", "qqqqqqqqqqqqqqqqqqqq", "\033[2J", "7",
                             "<library>", "a: b", "A sentence of a person that no program prints."})
        EXPECT_THAT(LookUp(what).found, IsEmpty()) << what;
}

TEST(Lookup, TakesTextsOfAnyLength) {
    EXPECT_THAT(LookUp(std::string(1 << 20, ':')).found, IsEmpty());
    EXPECT_THAT(LookUp(std::string(1 << 20, ' ') + "vlw").found, IsEmpty());
    std::string line;
    for (int i = 0; i < 500; ++i)
        line += "a: ";
    EXPECT_THAT(LookUp(line).found, IsEmpty());
}

}  // namespace
}  // namespace zelhealth

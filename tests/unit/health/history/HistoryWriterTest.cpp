// What runs leave in the history, and what becomes of its file.
#include "history/HistoryWriter.h"

#include <SQLiteCpp/Statement.h>
#include <gmock/gmock.h>

#include <fstream>
#include <thread>

#include "history/History.h"
#include "history/Retention.h"
#include "history/Schema.h"
#include "history/Show.h"
#include "host/Scratch.h"
#include "report/Records.h"

namespace zelhealth {
namespace {

using std::chrono::system_clock;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

class HistoryTest : public ::testing::Test {
protected:
    HistoryWriter Writer(const HistoryLimits& limits = {}) {
        return {file, limits, [this](const std::string& text) { told.push_back(text); }};
    }

    static Json Of(const std::string& run, Json fields, const std::string& time) {
        fields["time"] = time;
        return RecordOf("host", run, fields);
    }

    // A run of one card and one test, to its end or not.
    void Run(const std::string& run, const Json& test, const std::string& verdict,
             const std::string& time = "2026-11-21T20:15:04.500Z", bool ends = true) {
        HistoryWriter writer = Writer();
        Read(writer, run, test, verdict, time, ends);
        writer.Close();
        EXPECT_EQ(writer.Error(), std::nullopt);
    }

    static void Read(HistoryWriter& writer, const std::string& run, const Json& test,
                     const std::string& verdict, const std::string& time, bool ends = true) {
        Json started = CardStarted("zel0");
        started["uuid"] = "u0";
        for (const Json& fields : {RunStarted(), started, test}) {
            writer.Read(Of(run, fields, time));
        }
        if (ends) {
            writer.Read(Of(run, CardFinished("zel0", verdict), time));
            writer.Read(Of(run, RunFinished(0), time));
        }
    }

    History Ask(const std::string& since = "") {
        HistoryFile history(file);
        return AskHistory(history.Open(HistoryAccess::read), {since, {}, {}});
    }

    // Breaks a page that no run looks into which only adds its own rows.
    void BreakOldestResults() {
        SQLite::Database(file.string(), SQLite::OPEN_READWRITE)
            .exec("PRAGMA wal_checkpoint(TRUNCATE)");
        const auto oldest = Number(
            "SELECT pageno FROM dbstat WHERE name = 'result' AND pagetype = 'leaf'"
            " ORDER BY path LIMIT 1");
        constexpr std::streamoff kPage = 4096;
        std::fstream broken(file, std::ios::in | std::ios::out | std::ios::binary);
        broken.seekp((oldest - 1) * kPage);
        broken << std::string(kPage, '\xff');
    }

    std::int64_t Number(const std::string& query) {
        SQLite::Database database(file.string());
        return database.execAndGet(query).getInt64();
    }

    Scratch scratch;
    std::filesystem::path file = scratch.Path() / "state" / "history.db";
    std::vector<std::string> told;
};

TEST_F(HistoryTest, HoldsWhatRunsSay) {
    Run("r1", Tested("zel0", "vlw", "passed"), "healthy", "2026-11-21T20:15:04.500Z");
    Run("r2", Tested("zel0", "vlw", "failed", "Link trained down"), "failed",
        "2026-11-22T20:15:04.500Z");
    const History history = Ask();
    EXPECT_EQ(history.runs, 2U);
    EXPECT_EQ(history.notEnded, 0U);
    EXPECT_EQ(history.firstTime, "2026-11-21T20:15:04.500Z");
    EXPECT_EQ(history.lastTime, "2026-11-22T20:15:04.500Z");
    ASSERT_THAT(history.cards, SizeIs(1));
    EXPECT_EQ(history.cards[0].name, "zel0");
    EXPECT_EQ(history.cards[0].uuid, "u0");
    EXPECT_THAT(history.cards[0].verdicts, ElementsAre(Pair("failed", 1), Pair("healthy", 1)));
    EXPECT_THAT(history.cards[0].last, ElementsAre("healthy", "failed"));
    ASSERT_THAT(history.tests, SizeIs(1));
    EXPECT_EQ(history.tests[0].name, "pcie.vlw");
    EXPECT_EQ(history.tests[0].trend.Seen(), "Link trained down");
    EXPECT_THAT(history.tests[0].trend.Last(), ElementsAre("passed", "failed"));
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(HistoryTest, LeavesOutWhatWasBefore) {
    Run("r1", Tested("zel0", "vlw", "failed", "x"), "failed", "2026-11-21T20:15:04.500Z");
    Run("r2", Tested("zel0", "vlw", "passed"), "healthy", "2026-11-22T20:15:04.500Z");
    const History history = Ask("2026-11-22");
    EXPECT_EQ(history.runs, 1U);
    EXPECT_THAT(history.cards[0].last, ElementsAre("healthy"));
    EXPECT_EQ(history.tests[0].trend.Failed(), 0U);
}

TEST_F(HistoryTest, HoldsWhatARunSaidThatDidNotEnd) {
    Run("r1", Tested("zel0", "vlw", "failed", "x"), "", "2026-11-21T20:15:04.500Z", false);
    const History history = Ask();
    EXPECT_EQ(history.notEnded, 1U);
    EXPECT_THAT(history.cards[0].last, ElementsAre(kNotEnded));
    EXPECT_EQ(history.tests[0].trend.Failed(), 1U);
}

TEST_F(HistoryTest, DoesNotCallACardHealthyWhoseRunDidNotEnd) {
    HistoryWriter writer = Writer();
    Read(writer, "r1", Tested("zel0", "vlw", "passed"), "", "2026-11-21", false);
    writer.Read(Of("r1", CardFinished("zel0", "healthy"), "2026-11-21"));
    EXPECT_THAT(Ask().cards[0].last, ElementsAre(kNotEnded));
}

TEST_F(HistoryTest, TakesTheWorstOfWhatARunDoesOften) {
    HistoryWriter writer = Writer();
    Read(writer, "r1", Tested("zel0", "vlw", "passed"), "", "2026-11-21", false);
    writer.Read(Of("r1", Tested("zel0", "vlw", "failed", "x"), "2026-11-21"));
    writer.Read(Of("r1", Tested("zel0", "vlw", "passed"), "2026-11-21"));
    EXPECT_THAT(Ask().tests[0].trend.Last(), ElementsAre("failed"));
    EXPECT_EQ(Number("SELECT COUNT(*) FROM result"), 3);
}

TEST_F(HistoryTest, TellsTestsWithOtherOptionsApart) {
    HistoryWriter writer = Writer();
    Json other = Tested("zel0", "vlw", "failed", "x");
    other["options"] = {"-pattern=0", "-memSize=1"};
    Read(writer, "r1", Tested("zel0", "vlw", "passed"), "", "2026-11-21", false);
    writer.Read(Of("r1", other, "2026-11-21"));
    const History history = Ask();
    ASSERT_THAT(history.tests, SizeIs(2));
    EXPECT_EQ(history.tests[0].options, "");
    EXPECT_EQ(history.tests[1].options, "-pattern=0 -memSize=1");
    EXPECT_EQ(history.tests[0].trend.Failed(), 0U);
}

TEST_F(HistoryTest, KnowsWhatWasWaived) {
    Json waived = Tested("zel0", "vlw", "failed", "x");
    waived["waived"] = "waived until 2999-01-01: riser";
    Run("r1", waived, "degraded");
    EXPECT_TRUE(Ask().tests[0].trend.Waived());
    Run("r2", Tested("zel0", "vlw", "failed", "x"), "failed");
    EXPECT_FALSE(Ask().tests[0].trend.Waived());
}

TEST_F(HistoryTest, TakesAGroupByItsWholeName) {
    Run("r1", Tested("zel0", "vlw", "passed"), "healthy");
    HistoryFile history(file);
    SQLite::Database& database = history.Open(HistoryAccess::read);
    EXPECT_THAT(AskHistory(database, {"", {}, "pcie"}).tests, SizeIs(1));
    EXPECT_THAT(AskHistory(database, {"", {}, "pcie.vlw"}).tests, SizeIs(1));
    EXPECT_THAT(AskHistory(database, {"", {}, "pc"}).tests, IsEmpty());
    EXPECT_THAT(AskHistory(database, {"", {}, "pcie.vl"}).tests, IsEmpty());
}

TEST_F(HistoryTest, TakesAnotherCardInTheSlotForAnother) {
    Run("r1", Tested("zel0", "vlw", "failed", "x"), "failed");
    HistoryWriter writer = Writer();
    Json started = CardStarted("zel0");
    started["uuid"] = "u1";
    writer.Read(RecordOf("host", "r2", RunStarted()));
    writer.Read(RecordOf("host", "r2", started));
    writer.Read(RecordOf("host", "r2", Tested("zel0", "vlw", "passed")));
    const History history = Ask();
    ASSERT_THAT(history.cards, SizeIs(2));
    EXPECT_EQ(history.tests[0].trend.Failed(), 1U);
    EXPECT_EQ(history.tests[1].trend.Failed(), 0U);
}

// Each result tells which of the cards it is of.
TEST_F(HistoryTest, TellsTheCardsOfASlotApart) {
    for (const std::string uuid : {"4f3a91c2-1", "4f3a91c2-2"}) {
        HistoryWriter writer = Writer();
        Json started = CardStarted("zel0");
        started["uuid"] = uuid;
        writer.Read(RecordOf("host", uuid, RunStarted()));
        writer.Read(RecordOf("host", uuid, started));
        writer.Read(RecordOf("host", uuid, Tested("zel0", "vlw", "failed", "x")));
        writer.Read(RecordOf("host", uuid, CardFinished("zel0", "failed")));
        writer.Close();
    }
    const History history = Ask();
    ASSERT_THAT(history.cards, SizeIs(2));
    EXPECT_EQ(CardTitle(history, history.cards[0]), "zel0 (uuid 4f3a91c2-1)");
    const std::string text = HistoryText(history, 80, false, true);
    for (const char* const said :
         {"\nzel0 (uuid 4f3a91c2-1) 0000:", "\nzel0 (uuid 4f3a91c2-2) 0000:",
          "\nzel0 (uuid 4f3a91c2-1) pcie.vlw\n", "\nzel0 (uuid 4f3a91c2-2) pcie.vlw\n"})
        EXPECT_THAT(text, HasSubstr(said));
    EXPECT_EQ(HistoryJson(history)["tests"][1]["uuid"], "4f3a91c2-2");
}

// Else a card that does not answer would be told of once a test.
TEST_F(HistoryTest, TellsOnceWhatTheTestsOfACardHaveAlike) {
    HistoryWriter writer = Writer();
    writer.Read(RecordOf("host", "r1", RunStarted()));
    writer.Read(RecordOf("host", "r1", CardStarted("zel0")));
    for (const char* const test : {"vlw", "vls", "vdi"})
        writer.Read(RecordOf("host", "r1", Tested("zel0", test, "not_run", "it is silent")));
    writer.Read(RecordOf("host", "r1", Tested("zel0", "vbs", "failed", "x")));
    writer.Read(RecordOf("host", "r1", CardFinished("zel0", "failed")));
    writer.Close();
    const std::string text = HistoryText(Ask(), 80, false, false);
    for (const char* const said :
         {"\nzel0 pcie.vdi, pcie.vls, pcie.vlw\n  but    not judged in the last 1 run",
          "\nzel0 pcie.vbs\n  is  "})
        EXPECT_THAT(text, HasSubstr(said));
}

// One that is dead tells no uuid, and the run names it by its address.
TEST_F(HistoryTest, KnowsADeadCardByItsSlot) {
    const std::string slot = CardStarted("zel0")["pcie"];
    Run("r1", Tested("zel0", "vlw", "passed"), "healthy");
    HistoryWriter writer = Writer();
    Json started = CardStarted(slot);
    started["pcie"] = slot;
    writer.Read(RecordOf("host", "r2", RunStarted()));
    writer.Read(RecordOf("host", "r2", started));
    writer.Read(RecordOf("host", "r2", Tested(slot, "vlw", "not_run", slot + " is not there")));
    writer.Read(RecordOf("host", "r2", CardFinished(slot, "failed")));
    writer.Close();
    const History dead = Ask();
    ASSERT_THAT(dead.cards, SizeIs(1));
    EXPECT_EQ(dead.cards[0].name, slot);
    EXPECT_EQ(dead.cards[0].uuid, "u0");
    EXPECT_THAT(dead.cards[0].last, ElementsAre("healthy", "failed"));
    ASSERT_THAT(dead.tests, SizeIs(1));
    EXPECT_EQ(dead.tests[0].trend.Silent(), 1U);
    EXPECT_THAT(HistoryText(dead, 80, false, false), ::testing::Not(HasSubstr("more than one")));
    // Back again it is the same one; another card in its slot is another one.
    Run("r3", Tested("zel0", "vlw", "failed", "x"), "failed");
    EXPECT_THAT(Ask().cards, SizeIs(1));
    EXPECT_EQ(Ask().tests[0].trend.Failed(), 1U);
    HistoryWriter other = Writer();
    started = CardStarted("zel0");
    started["uuid"] = "u1";
    other.Read(RecordOf("host", "r4", RunStarted()));
    other.Read(RecordOf("host", "r4", started));
    other.Read(RecordOf("host", "r4", CardFinished("zel0", "healthy")));
    const History both = Ask();
    ASSERT_THAT(both.cards, SizeIs(2));
    EXPECT_EQ(both.cards[0].runs, 3U);
    EXPECT_EQ(both.cards[1].runs, 1U);
}

TEST_F(HistoryTest, HasACardThatWasNotThere) {
    HistoryWriter writer = Writer();
    writer.Read(RecordOf("host", "r1", RunStarted()));
    writer.Read(
        RecordOf("host", "r1", CardFinished("zel9", "failed", Reason("zel9 is not there", 2))));
    writer.Read(RecordOf("host", "r1", RunFinished(2)));
    const History history = Ask();
    ASSERT_THAT(history.cards, SizeIs(1));
    EXPECT_EQ(history.cards[0].pcie, "zel9");
    EXPECT_EQ(Number("SELECT COUNT(*) FROM card_run WHERE reason = 'zel9 is not there'"), 1);
}

// --- the file

TEST_F(HistoryTest, SetsAsideWhatIsNoDatabase) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << std::string(5000, 'x');
    Run("r1", Tested("zel0", "vlw", "passed"), "healthy");
    ASSERT_THAT(told, SizeIs(1));
    EXPECT_THAT(told[0], HasSubstr(file.string() + ": file is not a database; it is set aside as " +
                                   file.string() + ".damaged-2"));
    EXPECT_EQ(Ask().runs, 1U);
    int aside = 0;
    for (const auto& entry : std::filesystem::directory_iterator(file.parent_path())) {
        aside += entry.path().filename().string().starts_with("history.db.damaged-") ? 1 : 0;
    }
    EXPECT_EQ(aside, 1);
}

// Breaks the pages of every table while a run is going on.
TEST_F(HistoryTest, GoesOnInANewFileWhenItsOwnBreaks) {
    for (int i = 0; i < 30; ++i) {
        Run("r" + std::to_string(i), Tested("zel0", "vlw", "failed", std::string(900, 'x')),
            "failed");
    }
    {
        SQLite::Database(file.string(), SQLite::OPEN_READWRITE)
            .exec("PRAGMA wal_checkpoint(TRUNCATE)");
    }
    const auto size = std::filesystem::file_size(file);
    constexpr std::streamoff kPage = 4096;
    ASSERT_GT(size, 4U * kPage);
    {
        std::fstream broken(file, std::ios::in | std::ios::out | std::ios::binary);
        broken.seekp(2 * kPage);  // behind the tables' names, so that the file opens
        broken << std::string(size - 2 * kPage, '\xff');
    }
    Run("last", Tested("zel0", "vlw", "failed", "x"), "failed");
    ASSERT_THAT(told, SizeIs(1));
    EXPECT_THAT(told[0], HasSubstr("database disk image is malformed; it is set aside as "));
    const History history = Ask();
    EXPECT_EQ(history.runs, 1U);
    EXPECT_THAT(history.cards[0].last, ElementsAre("failed"));
    EXPECT_EQ(history.tests[0].trend.Failed(), 1U);
}

// What a run has told before its file breaks is in the new file too.
TEST_F(HistoryTest, StoresTheWholeRunAgainWhereANewFileBegins) {
    HistoryWriter writer = Writer();
    Read(writer, "r1", Tested("zel0", "vlw", "failed", "x"), "", "2026-11-21", false);
    HistoryFile other(file);
    other.Open(HistoryAccess::write);
    EXPECT_FALSE(other.SetAside().empty());
    writer.Read(Of("r1", Tested("zel0", "vls", "passed"), "2026-11-21"));
    writer.Read(Of("r1", CardFinished("zel0", "failed"), "2026-11-21"));
    writer.Read(Of("r1", RunFinished(2), "2026-11-21"));
    writer.Close();
    EXPECT_EQ(writer.Error(), std::nullopt);
    const History history = Ask();
    EXPECT_EQ(history.runs, 1U);
    EXPECT_EQ(history.notEnded, 0U);
    ASSERT_THAT(history.tests, SizeIs(2));
    EXPECT_EQ(history.tests[1].trend.Failed(), 1U);
}

// The end of a run is where retention looks into pages that nobody else does.
TEST_F(HistoryTest, StoresTheRunAgainWhereRetentionFindsTheDamage) {
    for (int i = 0; i < 120; ++i) {
        Run("r" + std::to_string(i), Tested("zel0", "vlw", "failed", std::string(900, 'x')),
            "failed", "2026-11-01T00:00:00.000Z");
    }
    BreakOldestResults();
    HistoryWriter writer = Writer({std::chrono::days(1), 1UL << 40});
    Read(writer, "last", Tested("zel0", "vlw", "failed", "x"), "failed", "2026-11-21");
    EXPECT_THAT(told, IsEmpty()) << "the run itself does not meet the damage";
    writer.Close();
    EXPECT_EQ(writer.Error(), std::nullopt);
    ASSERT_THAT(told, SizeIs(1));
    EXPECT_THAT(told[0], HasSubstr("a new history begins"));
    EXPECT_EQ(Ask().runs, 1U);
    EXPECT_EQ(Ask().tests[0].trend.Failed(), 1U);
}

constexpr HistoryLimits kForGood{std::chrono::days(36500), 1UL << 40};

// The first run of a day that takes as long as that looks through the whole file.
TEST_F(HistoryTest, IsLookedThroughOnceADay) {
    for (int i = 0; i < 120; ++i) {
        Run("r" + std::to_string(i), Tested("zel0", "vlw", "failed", std::string(900, 'x')),
            "failed", "2026-11-01T00:00:00.000Z");
    }
    Run("of today", Tested("zel0", "vlw", "passed"), "healthy", "2026-11-21T01:00:00.000Z");
    BreakOldestResults();
    const auto run = [this](const std::string& name, const std::string& time, double seconds) {
        HistoryWriter writer = Writer(kForGood);
        Read(writer, name, Tested("zel0", "vlw", "passed"), "", time, false);
        Json end = RunFinished(0);
        end["seconds"] = seconds;
        writer.Read(Of(name, end, time));
        writer.Close();
        EXPECT_EQ(writer.Error(), std::nullopt);
    };
    run("also of today", "2026-11-21T02:00:00.000Z", 7.5);
    EXPECT_THAT(told, IsEmpty());
    run("too short", "2026-11-22T02:00:00.000Z", 0.001);
    EXPECT_THAT(told, IsEmpty());
    run("of the next day", "2026-11-22T03:00:00.000Z", 7.5);
    ASSERT_THAT(told, SizeIs(1));
    EXPECT_THAT(told[0], HasSubstr(": database disk image is malformed; it is set aside as "));
    const History history = Ask();
    EXPECT_EQ(history.runs, 1U);
    EXPECT_EQ(history.notEnded, 0U);
    EXPECT_EQ(history.lastTime, "2026-11-22T03:00:00.000Z");
}

// --- what cannot be stored at once

class LockedTest : public HistoryTest {
protected:
    // The whole of a run up to its second test, behind which another program takes the file for itself.
    void BeginLocked(HistoryWriter& writer) {
        Read(writer, "r1", Tested("zel0", "vlw", "passed"), "", "2026-11-21", false);
        other.emplace(file.string(), SQLite::OPEN_READWRITE);
        other->exec("BEGIN IMMEDIATE");
        writer.Read(Of("r1", Tested("zel0", "vlw", "failed", "x"), "2026-11-21"));
        EXPECT_TRUE(writer.Error());
    }

    Stop stop;
    std::optional<SQLite::Database> other;
};

TEST_F(LockedTest, StoresAllOfItWhenTheLockIsGone) {
    HistoryWriter writer = Writer();
    BeginLocked(writer);
    // The run's tests wait no more than once.
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 20; ++i) {
        writer.Read(Of("r1", Tested("zel0", "vls", "passed"), "2026-11-21"));
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
    writer.CatchUp(std::chrono::milliseconds(0), stop);
    ASSERT_TRUE(writer.Error());
    EXPECT_EQ(*writer.Error(), file.string() +
                                   ": database is locked; another program holds it, which fuser " +
                                   file.string() + " names: end that, and run again");
    Stop wish;
    wish.Request();
    writer.CatchUp(std::chrono::milliseconds(300), wish);
    EXPECT_TRUE(writer.Error()) << "who wishes to end waits no longer";
    std::thread ending([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(700));
        other.reset();
    });
    writer.CatchUp(std::chrono::seconds(30), stop);
    ending.join();
    EXPECT_EQ(writer.Error(), std::nullopt);
    writer.Read(Of("r1", CardFinished("zel0", "failed"), "2026-11-21"));
    writer.Read(Of("r1", RunFinished(2), "2026-11-21"));
    writer.Close();
    EXPECT_EQ(writer.Error(), std::nullopt);
    EXPECT_THAT(told, IsEmpty());
    EXPECT_EQ(Number("SELECT COUNT(*) FROM run WHERE ended IS NOT NULL"), 1);
    EXPECT_EQ(Number("SELECT COUNT(*) FROM card"), 1);
    EXPECT_EQ(Number("SELECT COUNT(*) FROM result"), 22) << "each once";
    EXPECT_EQ(Number("SELECT MAX(number) FROM result"), 20);
}

TEST_F(LockedTest, TellsHowManyRecordsCouldNotBeKept) {
    HistoryWriter writer = Writer({std::chrono::days(36500), 1UL << 40, 5});
    BeginLocked(writer);
    for (int i = 0; i < 4; ++i) {
        writer.Read(Of("r1", Tested("zel0", "vls", "passed"), "2026-11-21"));
    }
    other.reset();
    writer.CatchUp(std::chrono::milliseconds(0), stop);
    ASSERT_TRUE(writer.Error());
    EXPECT_THAT(*writer.Error(), HasSubstr(": could not be written for so long that 3 records of "
                                           "the run are not in it"));
    writer.Close();
    EXPECT_EQ(Number("SELECT COUNT(*) FROM result"), 3);
}

// A file that is new holds each record once: those that are kept, and the one that found it new.
TEST_F(HistoryTest, StoresNoRecordTwice) {
    for (const int beyond : {-1, 0, 1, 2}) {
        SCOPED_TRACE(beyond);
        std::filesystem::remove_all(file.parent_path());
        HistoryWriter writer = Writer({std::chrono::days(36500), 1UL << 40, 5});
        Read(writer, "r1", Tested("zel0", "vlw", "passed"), "", "2026-11-21", false);
        for (int i = 0; i < 1 + beyond; ++i) {
            writer.Read(Of("r1", Tested("zel0", "vlw", "passed"), "2026-11-21"));
        }
        HistoryFile other(file);
        other.Open(HistoryAccess::write);
        EXPECT_FALSE(other.SetAside().empty());
        for (int i = 0; i < 2; ++i) {
            writer.Read(Of("r1", Tested("zel0", "vlw", "failed", "x"), "2026-11-21"));
        }
        EXPECT_EQ(writer.Error(), std::nullopt);
        EXPECT_EQ(Number("SELECT COUNT(*) FROM result WHERE verdict = 'failed'"), 2);
        EXPECT_EQ(Number("SELECT COUNT(*) FROM result WHERE verdict = 'passed'"),
                  std::min(2 + beyond, 3));
    }
}

TEST_F(HistoryTest, IsNotBegunAnewWithoutAWordWhereItsFileIsEmpty) {
    Run("r1", Tested("zel0", "vlw", "passed"), "healthy");
    std::ofstream(file, std::ios::trunc).close();
    Run("r2", Tested("zel0", "vlw", "passed"), "healthy");
    ASSERT_THAT(told, SizeIs(1));
    EXPECT_THAT(told[0], HasSubstr("the file is empty; it is set aside as "));
    EXPECT_EQ(Ask().runs, 1U);
}

// What is told to be there is there.
TEST_F(HistoryTest, IsSetAsideWhereOnlyItsLogIsLeft) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file.string() + "-wal") << "what was written last";
    Run("r1", Tested("zel0", "vlw", "passed"), "healthy");
    ASSERT_THAT(told, SizeIs(1));
    const std::string before =
        file.string() + ": the file is gone, and only its log is left; it is set aside as ";
    ASSERT_THAT(told[0], ::testing::StartsWith(before));
    const std::string aside =
        told[0].substr(before.size(), told[0].find(", and a new") - before.size());
    EXPECT_EQ(ReadText(aside), "what was written last") << aside;
    EXPECT_EQ(Ask().runs, 1U);
}

TEST_F(HistoryTest, TellsHowRunsEnded) {
    Run("r1", Tested("zel0", "vlw", "passed"), "healthy");
    HistoryWriter writer = Writer();
    writer.Read(RecordOf("host", "r2", RunStarted()));
    Json end = RunFinished(2);
    end["verdict"] = "failed";
    writer.Read(RecordOf("host", "r2", end));
    const History history = Ask();
    EXPECT_THAT(history.verdicts, ElementsAre(Pair("failed", 1), Pair("unknown", 1)));
    EXPECT_EQ(history.lastVerdict, "failed");
}

TEST_F(HistoryTest, IsSetAsideOnce) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << std::string(5000, 'x');
    std::ofstream(file.string() + "-wal") << "what was written last";
    HistoryFile one(file);
    HistoryFile other(file);
    EXPECT_THROW(one.Open(HistoryAccess::write), SQLite::Exception);
    EXPECT_THROW(other.Open(HistoryAccess::write), SQLite::Exception);
    const std::filesystem::path aside = one.SetAside();
    EXPECT_EQ(ReadText(aside), std::string(5000, 'x'));
    EXPECT_EQ(ReadText(aside.string() + "-wal"), "what was written last");
    Run("r1", Tested("zel0", "vlw", "passed"), "healthy");
    EXPECT_EQ(other.SetAside(), "") << "another file has its name now";
    EXPECT_EQ(Ask().runs, 1U);
}

TEST_F(HistoryTest, IsNotWrittenByAnOlderRelease) {
    Run("r1", Tested("zel0", "vlw", "passed"), "healthy");
    { SQLite::Database(file.string(), SQLite::OPEN_READWRITE).exec("PRAGMA user_version = 99"); }
    HistoryWriter writer = Writer();
    Read(writer, "r2", Tested("zel0", "vlw", "passed"), "healthy", "2026-11-21");
    ASSERT_TRUE(writer.Error());
    EXPECT_THAT(*writer.Error(), HasSubstr(file.string() + ": is of a later release"));
    EXPECT_EQ(Number("SELECT COUNT(*) FROM run"), 1);
}

TEST_F(HistoryTest, TellsWhatCannotBeMade) {
    std::ofstream(file.parent_path());  // a file where the folder is to be
    HistoryWriter writer = Writer();
    Read(writer, "r1", Tested("zel0", "vlw", "passed"), "healthy", "2026-11-21");
    writer.Close();
    ASSERT_TRUE(writer.Error());
    EXPECT_THAT(*writer.Error(), HasSubstr(file.parent_path().string()));
}

// --- releases

TEST_F(HistoryTest, OfAnOlderReleaseBecomesOneOfThis) {
    std::filesystem::create_directories(file.parent_path());
    SQLite::Database database(file.string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
    const std::array<std::string_view, 1> first = {"CREATE TABLE a (x); INSERT INTO a VALUES (7)"};
    const std::array<std::string_view, 3> later = {first[0], "ALTER TABLE a ADD COLUMN y DEFAULT 8",
                                                   "INSERT INTO a VALUES (9, 10)"};
    Migrate(database, first);
    Migrate(database, later);
    Migrate(database, later);
    EXPECT_EQ(database.execAndGet("SELECT SUM(x * 100 + y) FROM a").getInt(), 708 + 910);
    EXPECT_EQ(database.execAndGet("PRAGMA user_version").getInt(), 3);
    EXPECT_THROW(Migrate(database, first), NewerHistory);
}

TEST_F(HistoryTest, StaysAsItIsWhenAStepFails) {
    std::filesystem::create_directories(file.parent_path());
    SQLite::Database database(file.string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
    const std::array<std::string_view, 2> steps = {"CREATE TABLE a (x)", "CREATE TABLE a (x)"};
    EXPECT_THROW(Migrate(database, steps), SQLite::Exception);
    EXPECT_FALSE(database.tableExists("a"));
    EXPECT_EQ(database.execAndGet("PRAGMA user_version").getInt(), 0);
}

// --- limits

constexpr std::chrono::hours kDay{24};

class RetentionTest : public HistoryTest {
protected:
    void RunOfDay(int day, bool ends = true) {
        char time[] = "2026-01-00T00:00:00.000Z";
        time[8] = static_cast<char>('0' + day / 10);
        time[9] = static_cast<char>('0' + day % 10);
        const std::string padding(3000, 'x');
        HistoryWriter writer = Writer({std::chrono::days(36500), 1UL << 40});
        Read(writer, "r" + std::to_string(day), Tested("zel0", "vlw", "failed", padding), "failed",
             time, ends);
    }

    static system_clock::time_point Day(int day) {
        return std::chrono::sys_days(std::chrono::January / day / 2026);
    }

    void TakeOut(const HistoryLimits& limits, system_clock::time_point now, std::int64_t run = 0) {
        HistoryFile history(file);
        TakeOutOldest(history.Open(HistoryAccess::write), run, limits, now);
    }

    std::string Left() {
        SQLite::Database database(file.string());
        SQLite::Statement runs(database, "SELECT run FROM run ORDER BY id");
        std::string left;
        while (runs.executeStep()) {
            left += (left.empty() ? "" : " ") + runs.getColumn(0).getString();
        }
        return left;
    }
};

TEST_F(RetentionTest, TakesOutWhatIsTooOld) {
    for (const int day : {1, 2, 3, 4}) {
        RunOfDay(day);
    }
    TakeOut({std::chrono::days(2), 1UL << 40}, Day(5) + kDay / 2);
    EXPECT_EQ(Left(), "r4");
    EXPECT_EQ(Number("SELECT COUNT(*) FROM result"), 1) << "what belongs to a run goes with it";
    EXPECT_EQ(Number("SELECT COUNT(*) FROM card_run"), 1);
}

TEST_F(RetentionTest, TakesOutTheOldestOfWhatIsTooLarge) {
    for (int day = 1; day <= 30; ++day) {
        RunOfDay(day);
    }
    const auto before = Number("PRAGMA page_count");
    TakeOut({std::chrono::days(36500), 80000}, Day(30));
    EXPECT_LE(Number("PRAGMA page_count") * 4096, 80000);
    EXPECT_LT(Number("PRAGMA page_count"), before) << "the disk has its room back";
    EXPECT_THAT(Left(), ::testing::EndsWith("r29 r30"));
    EXPECT_THAT(Left(), ::testing::Not(HasSubstr("r1 ")));
    EXPECT_THAT(Left(), HasSubstr("r25")) << "and no more than must be";
}

TEST_F(RetentionTest, LeavesTheRunItselfAndOneThatMayGoOn) {
    RunOfDay(1);
    RunOfDay(2, false);
    RunOfDay(3);
    TakeOut({std::chrono::days(1), 1}, Day(10), 3);
    EXPECT_EQ(Left(), "r2 r3");
    TakeOut({std::chrono::days(1), 1}, Day(10) + 31 * kDay, 3);
    EXPECT_EQ(Left(), "r3") << "none takes that long";
}

TEST_F(RetentionTest, LosesLittleToAWrongClock) {
    HistoryWriter writer = Writer({std::chrono::days(36500), 1UL << 40});
    for (int i = 0; i < kMostRunsTaken + 50; ++i) {
        Read(writer, "r" + std::to_string(i), Tested("zel0", "vlw", "passed"), "healthy",
             "2026-01-01T00:00:00.000Z");
    }
    TakeOut({}, Day(1) + 100 * 365 * kDay);
    EXPECT_EQ(Number("SELECT COUNT(*) FROM run"), 50);
}

}  // namespace
}  // namespace zelhealth

#include "history/History.h"

#include <SQLiteCpp/Statement.h>
#include <SQLiteCpp/Transaction.h>

#include <algorithm>
#include <cctype>
#include <map>

#include "report/Cells.h"

namespace zelhealth {

namespace {

std::string Known(const std::string& verdict) {
    const bool known = verdict == "healthy" || verdict == "degraded" || verdict == "failed";
    return known ? verdict : "unknown";
}

void AskRuns(SQLite::Database& database, const HistoryQuery& query, History& history) {
    SQLite::Statement runs(database,
                           "SELECT COUNT(*), COUNT(*) - COUNT(ended), COALESCE(MIN(began), ''),"
                           " COALESCE(MAX(began), '') FROM run WHERE began >= ?");
    runs.bind(1, query.since);
    runs.executeStep();
    history.runs = static_cast<std::uint64_t>(runs.getColumn(0).getInt64());
    history.notEnded = static_cast<std::uint64_t>(runs.getColumn(1).getInt64());
    history.firstTime = runs.getColumn(2).getString();
    history.lastTime = runs.getColumn(3).getString();
    SQLite::Statement verdicts(
        database,
        "SELECT ended IS NOT NULL, COALESCE(verdict, '') FROM run WHERE began >= ? ORDER BY id");
    verdicts.bind(1, query.since);
    while (verdicts.executeStep()) {
        const bool ended = verdicts.getColumn(0).getInt() != 0;
        history.lastVerdict = ended ? Known(verdicts.getColumn(1).getString()) : kNotEnded;
        history.verdicts[history.lastVerdict] += ended ? 1 : 0;
    }
    std::erase_if(history.verdicts, [](const auto& verdict) { return verdict.second == 0; });
}

// What a run that did not end said of a card does not count, unless it is bad.
std::string VerdictOf(const std::string& said, bool ended) {
    if (said.empty() || (!ended && said != "failed")) {
        return kNotEnded;
    }
    return Known(said);
}

void AddRun(CardHistory& card, const std::string& verdict) {
    ++card.runs;
    ++card.verdicts[verdict];
    card.last.push_back(verdict);
    if (card.last.size() > Trend::kLast) {
        card.last.pop_front();
    }
}

// The digits of a uuid are written large by some programs.
bool IsSameUuid(const std::string& one, const std::string& other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(), [](char a, char b) {
        return std::tolower(static_cast<unsigned char>(a)) ==
               std::tolower(static_cast<unsigned char>(b));
    });
}

// A card that is dead, or missing, tells no uuid: it is the one that was in its slot before, or else behind that.
class Occupants {
public:
    Occupants(SQLite::Database& database, const HistoryQuery& query) {
        SQLite::Statement rows(
            database,
            "SELECT card.pcie, card_run.run, card.id"
            " FROM run JOIN card_run ON card_run.run = run.id JOIN card ON card.id = card_run.card"
            " WHERE run.began >= ? AND card.uuid <> ''"
            " AND card.pcie IN (SELECT pcie FROM card WHERE uuid = '') ORDER BY card_run.run");
        rows.bind(1, query.since);
        while (rows.executeStep()) {
            auto& ofSlot = slots_[rows.getColumn(0).getString()];
            const std::int64_t card = rows.getColumn(2).getInt64();
            if (ofSlot.empty() || ofSlot.rbegin()->second != card) {
                ofSlot.emplace_hint(ofSlot.end(), rows.getColumn(1).getInt64(), card);
            }
        }
    }

    // The card itself where it has a uuid, or where its slot has no other.
    std::int64_t CardOf(const CardHistory& card, std::int64_t run) const {
        const auto slot = slots_.find(card.pcie);
        if (!card.uuid.empty() || slot == slots_.end()) {
            return card.id;
        }
        const auto behind = slot->second.upper_bound(run);
        return (behind == slot->second.begin() ? behind : std::prev(behind))->second;
    }

private:
    // By slot, the run from which on it has had each card.
    std::map<std::string, std::map<std::int64_t, std::int64_t>> slots_;
};

// The card that is a row's columns "id, pcie, uuid".
CardHistory CardIn(SQLite::Statement& row) {
    CardHistory card;
    card.id = row.getColumn(0).getInt64();
    card.pcie = row.getColumn(1).getString();
    card.uuid = row.getColumn(2).getString();
    return card;
}

void AskCards(SQLite::Database& database, const HistoryQuery& query, const Occupants& occupants,
              History& history) {
    SQLite::Statement rows(
        database,
        "SELECT card.id, card.pcie, card.uuid, card_run.name, COALESCE(card_run.verdict, ''),"
        " run.ended IS NOT NULL, run.began, run.id"
        " FROM run JOIN card_run ON card_run.run = run.id JOIN card ON card.id = card_run.card"
        " WHERE run.began >= ? ORDER BY card.pcie, run.id, card.id");
    rows.bind(1, query.since);
    std::map<std::int64_t, std::size_t> indices;
    while (rows.executeStep()) {
        const CardHistory said = CardIn(rows);
        const std::int64_t id = occupants.CardOf(said, rows.getColumn(7).getInt64());
        const auto [index, isNew] = indices.emplace(id, history.cards.size());
        if (isNew) {
            history.cards.push_back(said);
            history.cards.back().id = id;
        }
        CardHistory& card = history.cards[index->second];
        card.uuid = said.uuid.empty() ? card.uuid : said.uuid;
        card.name = rows.getColumn(3).getString();
        card.lastTime = rows.getColumn(6).getString();
        AddRun(card, VerdictOf(rows.getColumn(4).getString(), rows.getColumn(5).getInt() != 0));
    }
    if (query.card) {
        std::erase_if(history.cards, [&query](const CardHistory& card) {
            return card.name != *query.card && card.pcie != *query.card &&
                   !IsSameUuid(card.uuid, *query.card);
        });
    }
}

std::optional<std::size_t> IndexOf(const History& history, std::int64_t card) {
    const auto found = std::find_if(history.cards.begin(), history.cards.end(),
                                    [card](const CardHistory& known) { return known.id == card; });
    return found == history.cards.end()
               ? std::nullopt
               : std::optional(static_cast<std::size_t>(found - history.cards.begin()));
}

bool IsAskedFor(const HistoryQuery& query, const std::string& test) {
    return !query.test || test == *query.test || test.starts_with(*query.test + ".");
}

// Puts together what one run says of a test more than once, as rows come: by slot, by test, by run.
class TestRows {
public:
    TestRows(const HistoryQuery& query, const Occupants& occupants, History& history)
        : query_(query), occupants_(occupants), history_(history) {}

    void Add(SQLite::Statement& row) {
        const CardHistory said = CardIn(row);
        const std::int64_t run = row.getColumn(3).getInt64();
        const std::int64_t test = row.getColumn(4).getInt64();
        const std::int64_t card = occupants_.CardOf(said, run);
        if (card != card_ || test != test_ || run != run_) {
            End();
        }
        if (said.pcie != pcie_ || test != test_) {
            ofCards_.clear();
        }
        card_ = card;
        test_ = test;
        run_ = run;
        pcie_ = said.pcie;
        Join(row);
    }

    void End() {
        if (!result_.verdict.empty()) {
            if (const auto place = Place()) {
                history_.tests[*place].trend.Add(result_);
            }
        }
        result_ = {};
    }

private:
    // That of the card's test; null where it is not asked for.
    std::optional<std::size_t> Place() {
        const auto card = IndexOf(history_, card_);
        if (!card || !IsAskedFor(query_, name_)) {
            return std::nullopt;
        }
        const auto [place, isNew] = ofCards_.emplace(card_, history_.tests.size());
        if (isNew) {
            history_.tests.push_back({*card, name_, options_, {}});
        }
        return place->second;
    }

    void Join(SQLite::Statement& row) {
        name_ = row.getColumn(5).getString();
        options_ = row.getColumn(6).getString();
        const std::string verdict = row.getColumn(9).getString();
        result_.seconds = std::max(result_.seconds, row.getColumn(10).getDouble());
        if (!result_.verdict.empty() && Badness(verdict) <= Badness(result_.verdict)) {
            return;
        }
        result_.time = row.getColumn(7).getString();
        result_.second = row.getColumn(8).getDouble();
        result_.verdict = verdict;
        result_.seen = row.getColumn(11).getString();
        result_.waived = row.getColumn(12).getInt() != 0;
    }

    const HistoryQuery& query_;
    const Occupants& occupants_;
    History& history_;
    std::int64_t card_ = -1;
    std::int64_t test_ = -1;
    std::int64_t run_ = -1;
    std::string pcie_;
    std::string name_;
    std::string options_;
    std::map<std::int64_t, std::size_t> ofCards_;  // this test's places, by card
    RunResult result_;
};

void AskTests(SQLite::Database& database, const HistoryQuery& query, const Occupants& occupants,
              History& history) {
    SQLite::Statement rows(
        database,
        "SELECT card.id, card.pcie, card.uuid, run.id, test.id, test.name, test.options, run.began,"
        " COALESCE(strftime('%s', run.began), 0), result.verdict, result.seconds,"
        " COALESCE(result.seen, ''), result.waived"
        " FROM run JOIN result ON result.run = run.id JOIN test ON test.id = result.test"
        " JOIN card ON card.id = result.card WHERE run.began >= ?"
        " ORDER BY card.pcie, test.name, test.options, run.id, card.id");
    rows.bind(1, query.since);
    TestRows tests(query, occupants, history);
    while (rows.executeStep()) {
        tests.Add(rows);
    }
    tests.End();
    std::stable_sort(
        history.tests.begin(), history.tests.end(),
        [](const TestHistory& one, const TestHistory& other) { return one.card < other.card; });
}

}  // namespace

History AskHistory(SQLite::Database& database, const HistoryQuery& query) {
    // One look at all: runs go on meanwhile.
    SQLite::Transaction transaction(database);
    History history;
    AskRuns(database, query, history);
    const Occupants occupants(database, query);
    AskCards(database, query, occupants, history);
    AskTests(database, query, occupants, history);
    return history;
}

}  // namespace zelhealth

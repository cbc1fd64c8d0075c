#include "history/History.h"

#include <SQLiteCpp/Statement.h>
#include <SQLiteCpp/Transaction.h>

#include <algorithm>
#include <cctype>

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

void AskCards(SQLite::Database& database, const HistoryQuery& query, History& history) {
    SQLite::Statement rows(
        database,
        "SELECT card.id, card.pcie, card.uuid, card_run.name, COALESCE(card_run.verdict, ''),"
        " run.ended IS NOT NULL, run.began"
        " FROM run JOIN card_run ON card_run.run = run.id JOIN card ON card.id = card_run.card"
        " WHERE run.began >= ? ORDER BY card.pcie, card.id, run.id");
    rows.bind(1, query.since);
    while (rows.executeStep()) {
        const std::int64_t id = rows.getColumn(0).getInt64();
        if (history.cards.empty() || history.cards.back().id != id) {
            CardHistory card;
            card.id = id;
            card.pcie = rows.getColumn(1).getString();
            card.uuid = rows.getColumn(2).getString();
            history.cards.push_back(std::move(card));
        }
        CardHistory& card = history.cards.back();
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

// Puts together what one run says of a test more than once, as rows come.
class TestRows {
public:
    TestRows(const HistoryQuery& query, History& history) : query_(query), history_(history) {}

    void Add(SQLite::Statement& row) {
        const std::int64_t card = row.getColumn(0).getInt64();
        const std::int64_t test = row.getColumn(1).getInt64();
        const std::int64_t run = row.getColumn(2).getInt64();
        if (card != card_ || test != test_) {
            End();
            card_ = card;
            test_ = test;
            Begin(row);
        } else if (run != run_) {
            End();
        }
        run_ = run;
        Join(row);
    }

    void End() {
        if (current_ && !result_.verdict.empty()) {
            history_.tests.back().trend.Add(result_);
        }
        result_ = {};
    }

private:
    void Begin(SQLite::Statement& row) {
        const auto card = IndexOf(history_, card_);
        const std::string name = row.getColumn(3).getString();
        current_ = card && IsAskedFor(query_, name);
        if (current_) {
            history_.tests.push_back({*card, name, row.getColumn(4).getString(), {}});
        }
    }

    void Join(SQLite::Statement& row) {
        const std::string verdict = row.getColumn(7).getString();
        result_.seconds = std::max(result_.seconds, row.getColumn(8).getDouble());
        if (!result_.verdict.empty() && Badness(verdict) <= Badness(result_.verdict)) {
            return;
        }
        result_.time = row.getColumn(5).getString();
        result_.second = row.getColumn(6).getDouble();
        result_.verdict = verdict;
        result_.seen = row.getColumn(9).getString();
        result_.waived = row.getColumn(10).getInt() != 0;
    }

    const HistoryQuery& query_;
    History& history_;
    std::int64_t card_ = -1;
    std::int64_t test_ = -1;
    std::int64_t run_ = -1;
    bool current_ = false;  // whether these rows are asked for
    RunResult result_;
};

void AskTests(SQLite::Database& database, const HistoryQuery& query, History& history) {
    SQLite::Statement rows(
        database,
        "SELECT result.card, result.test, run.id, test.name, test.options, run.began,"
        " COALESCE(strftime('%s', run.began), 0), result.verdict, result.seconds,"
        " COALESCE(result.seen, ''), result.waived"
        " FROM run JOIN result ON result.run = run.id JOIN test ON test.id = result.test"
        " JOIN card ON card.id = result.card WHERE run.began >= ?"
        " ORDER BY card.pcie, card.id, test.name, test.options, run.id");
    rows.bind(1, query.since);
    TestRows tests(query, history);
    while (rows.executeStep()) {
        tests.Add(rows);
    }
    tests.End();
}

}  // namespace

History AskHistory(SQLite::Database& database, const HistoryQuery& query) {
    // One look at all: runs go on meanwhile.
    SQLite::Transaction transaction(database);
    History history;
    AskRuns(database, query, history);
    AskCards(database, query, history);
    AskTests(database, query, history);
    return history;
}

}  // namespace zelhealth

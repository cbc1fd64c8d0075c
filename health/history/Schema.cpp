#include "history/Schema.h"

#include <SQLiteCpp/Transaction.h>
#include <fmt/format.h>

#include <array>

namespace zelhealth {

namespace {

constexpr std::string_view kFirst = R"(
CREATE TABLE run (
    id      INTEGER PRIMARY KEY,  -- in the order in which they came
    host    TEXT NOT NULL,
    run     TEXT NOT NULL,        -- as in the stream of records
    plan    TEXT NOT NULL,
    began   TEXT NOT NULL,        -- UTC: 2026-11-21T20:15:04.123Z
    ended   TEXT,                 -- this and what follows are missing of a run that did not end
    verdict TEXT,
    status  INTEGER,
    seconds REAL,
    UNIQUE (host, run)
);
CREATE INDEX run_began ON run (began);

CREATE TABLE card (
    id   INTEGER PRIMARY KEY,
    pcie TEXT NOT NULL,           -- its name where the address is not known
    uuid TEXT NOT NULL,           -- empty where it is not known
    UNIQUE (pcie, uuid)
);

CREATE TABLE card_run (
    run     INTEGER NOT NULL REFERENCES run ON DELETE CASCADE,
    card    INTEGER NOT NULL REFERENCES card,
    name    TEXT NOT NULL,        -- zel0
    verdict TEXT,                 -- missing of a card that did not end
    reason  TEXT,                 -- the first of those that were found beside tests
    PRIMARY KEY (run, card)
) WITHOUT ROWID;

CREATE TABLE test (
    id      INTEGER PRIMARY KEY,
    name    TEXT NOT NULL,        -- pcie.vlw
    options TEXT NOT NULL,        -- those that follow it on the tool's command line
    UNIQUE (name, options)
);

CREATE TABLE result (
    run     INTEGER NOT NULL REFERENCES run ON DELETE CASCADE,
    card    INTEGER NOT NULL REFERENCES card,
    test    INTEGER NOT NULL REFERENCES test,
    number  INTEGER NOT NULL,     -- counts what a run does more than once
    verdict TEXT NOT NULL,
    seconds REAL NOT NULL,
    seen    TEXT,                 -- missing of what passed
    waived  INTEGER NOT NULL,
    PRIMARY KEY (run, card, test, number)
) WITHOUT ROWID;
)";

constexpr std::array<std::string_view, 1> kSteps = {kFirst};

}  // namespace

std::span<const std::string_view> HistorySteps() {
    return kSteps;
}

void Migrate(SQLite::Database& database, std::span<const std::string_view> steps) {
    const auto version = [&database] {
        return static_cast<std::size_t>(database.execAndGet("PRAGMA user_version").getInt());
    };
    if (version() == steps.size()) {
        return;
    }
    // Others may be at it at the same time: whoever has the lock looks again.
    SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
    const std::size_t found = version();
    if (found > steps.size()) {
        throw NewerHistory(fmt::format(
            "{}: is of a later release of zelhealth (its tables have version {}, those of this "
            "release {}); use that release, or move the file away",
            database.getFilename(), found, steps.size()));
    }
    for (const std::string_view step : steps.subspan(found)) {
        database.exec(std::string(step));
    }
    database.exec(fmt::format("PRAGMA user_version = {}", steps.size()));
    transaction.commit();
}

}  // namespace zelhealth

#include "history/Tables.h"

#include <fmt/format.h>

#include <algorithm>

#include "record/Fields.h"

namespace zelhealth {

namespace {

// The id of a row that is made where there is none: `key` are the columns that tell rows apart.
template <typename... Values>
std::int64_t RowOf(SQLite::Database& database, const std::string& table, const std::string& key,
                   const Values&... values) {
    std::string places;
    for (std::size_t i = 0; i < sizeof...(values); ++i) {
        places += i == 0 ? "?" : ", ?";
    }
    SQLite::Statement insert(
        database, fmt::format("INSERT OR IGNORE INTO {} ({}) VALUES ({})", table, key, places));
    SQLite::Statement find(database,
                           fmt::format("SELECT id FROM {} WHERE ({}) = ({})", table, key, places));
    for (SQLite::Statement* const statement : {&insert, &find}) {
        int place = 0;
        (statement->bind(++place, values), ...);
    }
    insert.exec();
    find.executeStep();
    return find.getColumn(0).getInt64();
}

std::string Options(const Json& record) {
    return fmt::format("{}", fmt::join(TextsOf(record, "options"), " "));
}

std::string FirstReason(const Json& record) {
    const Json& reasons = ListOf(record, "reasons");
    return reasons.empty() ? "" : TextOf(reasons.front(), "text");
}

}  // namespace

Tables::Tables(SQLite::Database& database, const Json& runStarted)
    : database_(database),
      result_(database, "INSERT OR IGNORE INTO result VALUES (?, ?, ?, ?, ?, ?, ?, ?)") {
    SQLite::Statement insert(
        database_,
        "INSERT INTO run (host, run, plan, began) VALUES (?, ?, ?, ?)"
        " ON CONFLICT (host, run) DO UPDATE SET plan = excluded.plan RETURNING id");
    int place = 0;
    for (const char* const field : {"host", "run", "plan", "time"}) {
        insert.bind(++place, TextOf(runStarted, field));
    }
    insert.executeStep();
    run_ = insert.getColumn(0).getInt64();
    insert.executeStep();
}

void Tables::Write(const Json& record) {
    const std::string& kind = TextOf(record, "record");
    if (kind == "card_started") {
        CardOf(record);
    } else if (kind == "test_finished") {
        WriteTest(record);
    } else if (kind == "card_finished") {
        EndCard(record);
    } else if (kind == "run_finished") {
        EndRun(record);
    }
}

// A card that was never found has no record with a uuid, and perhaps none with an address.
Tables::Id Tables::CardOf(const Json& record) {
    const std::string& name = TextOf(record, "card");
    if (const auto known = cards_.find(name); known != cards_.end()) {
        return known->second;
    }
    const std::string& pcie = TextOf(record, "pcie");
    const Id card =
        RowOf(database_, "card", "pcie, uuid", pcie.empty() ? name : pcie, TextOf(record, "uuid"));
    SQLite::Statement insert(database_,
                             "INSERT OR IGNORE INTO card_run (run, card, name) VALUES (?, ?, ?)");
    insert.bind(1, run_);
    insert.bind(2, card);
    insert.bind(3, name);
    insert.exec();
    return cards_[name] = card;
}

Tables::Id Tables::TestOf(const Json& record) {
    const std::pair key(TextOf(record, "group") + "." + TextOf(record, "test"), Options(record));
    const auto known = tests_.find(key);
    return known != tests_.end()
               ? known->second
               : tests_[key] = RowOf(database_, "test", "name, options", key.first, key.second);
}

void Tables::WriteTest(const Json& record) {
    const Id card = CardOf(record);
    const Id test = TestOf(record);
    const std::string& verdict = TextOf(record, "verdict");
    const std::string& seen = TextOf(record, "reason");
    result_.reset();
    result_.clearBindings();
    int place = 0;
    result_.bind(++place, run_);
    result_.bind(++place, card);
    result_.bind(++place, test);
    result_.bind(++place, static_cast<int>(NumberOf(record, "number")));
    result_.bind(++place, verdict);
    result_.bind(++place, NumberOf(record, "seconds"));
    if (++place; !seen.empty()) {
        result_.bind(place, seen);
    }
    result_.bind(++place, record.contains("waived") ? 1 : 0);
    result_.exec();
}

void Tables::EndCard(const Json& record) {
    const std::string reason = FirstReason(record);
    SQLite::Statement update(
        database_,
        "UPDATE card_run SET verdict = ?, reason = NULLIF(?, '') WHERE run = ? AND card = ?");
    update.bind(1, TextOf(record, "verdict"));
    update.bind(2, reason);
    update.bind(3, run_);
    update.bind(4, CardOf(record));
    update.exec();
}

// The end is on the disk before it is told.
void Tables::EndRun(const Json& record) {
    database_.exec("PRAGMA synchronous = FULL");
    SQLite::Statement update(
        database_, "UPDATE run SET ended = ?, verdict = ?, status = ?, seconds = ? WHERE id = ?");
    update.bind(1, TextOf(record, "time"));
    update.bind(2, TextOf(record, "verdict"));
    update.bind(3, static_cast<int>(NumberOf(record, "status")));
    update.bind(4, NumberOf(record, "seconds"));
    update.bind(5, run_);
    update.exec();
}

}  // namespace zelhealth

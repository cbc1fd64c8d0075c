#include "history/Retention.h"

#include <SQLiteCpp/Statement.h>

#include "host/UtcTime.h"

namespace zelhealth {

namespace {

// Longer than a run may take.
constexpr std::chrono::days kLongestRun{31};

std::uint64_t Number(SQLite::Database& database, const char* pragma) {
    return static_cast<std::uint64_t>(database.execAndGet(pragma).getInt64());
}

std::uint64_t BytesInUse(SQLite::Database& database) {
    const std::uint64_t pages =
        Number(database, "PRAGMA page_count") - Number(database, "PRAGMA freelist_count");
    return pages * Number(database, "PRAGMA page_size");
}

// Whether there was one.
bool TakeOutOne(SQLite::Database& database, std::int64_t run, const std::string& olderThan,
                const std::string& mayGoOn) {
    SQLite::Statement statement(
        database,
        "DELETE FROM run WHERE id = (SELECT id FROM run WHERE id <> ? AND began < ?"
        " AND (ended IS NOT NULL OR began < ?) ORDER BY id LIMIT 1)");
    statement.bind(1, run);
    statement.bind(2, olderThan);
    statement.bind(3, mayGoOn);
    return statement.exec() > 0;
}

}  // namespace

void TakeOutOldest(SQLite::Database& database, std::int64_t run, const HistoryLimits& limits,
                   std::chrono::system_clock::time_point now) {
    // Behind every time: what is too large goes whatever its age.
    const std::string kAnyTime = "~";
    const std::string mayGoOn = UtcText(now - kLongestRun);
    for (int taken = 0; taken < kMostRunsTaken; ++taken) {
        const bool tooLarge = BytesInUse(database) > limits.bytes;
        if (!TakeOutOne(database, run, tooLarge ? kAnyTime : UtcText(now - limits.age), mayGoOn)) {
            break;
        }
    }
    database.exec("PRAGMA incremental_vacuum");
}

}  // namespace zelhealth

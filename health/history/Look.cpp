#include "history/Look.h"

#include <SQLiteCpp/Statement.h>
#include <sqlite3.h>

namespace zelhealth {

namespace {

// A slow host's.
constexpr double kBytesASecond = 50e6;

bool IsFirstOfItsDay(SQLite::Database& database, std::int64_t run) {
    const double bytes = database.execAndGet("PRAGMA page_count").getDouble() *
                         database.execAndGet("PRAGMA page_size").getDouble();
    SQLite::Statement first(
        database,
        "SELECT seconds >= ?1 AND NOT EXISTS (SELECT 1 FROM run AS earlier"
        " WHERE began >= substr(run.began, 1, 10) AND id < run.id AND seconds >= ?1)"
        " FROM run WHERE id = ?2");
    first.bind(1, bytes / kBytesASecond);
    first.bind(2, run);
    return first.executeStep() && first.getColumn(0).getInt() != 0;
}

}  // namespace

void LookOnceADay(SQLite::Database& database, std::int64_t run) {
    if (IsFirstOfItsDay(database, run) &&
        database.execAndGet("PRAGMA quick_check(1)").getString() != "ok") {
        throw SQLite::Exception("database disk image is malformed", SQLITE_CORRUPT);
    }
}

}  // namespace zelhealth

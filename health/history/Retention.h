// Keeps the history within its limits.
#pragma once

#include <SQLiteCpp/Database.h>

#include <chrono>
#include <cstdint>

#include "history/HistoryLimits.h"

namespace zelhealth {

// So many runs at most are taken out at a time: a clock that stands years ahead for one run costs no more, and no
// run waits long for it.
constexpr int kMostRunsTaken = 100;

// Takes out the oldest runs that are beyond the limits, with all that they hold, and gives the disk what they took.
// `run` stays, and so does one that may still go on. Throws SQLite::Exception.
void TakeOutOldest(SQLite::Database& database, std::int64_t run, const HistoryLimits& limits,
                   std::chrono::system_clock::time_point now);

}  // namespace zelhealth

// What the history says of a host's cards: how their runs ended, what failed and how often, what comes and goes, and
// how long tests take. Memory goes with the number of cards and tests, not with that of runs.
#pragma once

#include <SQLiteCpp/Database.h>

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "history/Trend.h"

namespace zelhealth {

struct HistoryQuery {
    std::string since;                // "2026-11-21T20:15:04.123Z": what began then, or later
    std::optional<std::string> card;  // "zel0", a PCIe address, or a uuid
    std::optional<std::string> test;  // "pcie.vlw", or a whole group: "pcie"
};

// A card is what had one PCIe address and one uuid: another card in its slot is another one here. What told no uuid
// there, being dead, is the one that was there.
struct CardHistory {
    std::int64_t id = 0;
    std::string name;  // its last: "zel0"; its address where the driver knows it no more
    std::string pcie;
    std::string uuid;
    std::uint64_t runs = 0;
    std::map<std::string, std::uint64_t> verdicts;  // how often; kNotEnded of runs that did not end
    std::deque<std::string> last;                   // of the last few runs, the oldest first
    std::string lastTime;
};

inline constexpr const char* kNotEnded = "not_ended";

// One test, with one set of options, on one card.
struct TestHistory {
    std::size_t card = 0;  // an index
    std::string name;
    std::string options;
    Trend trend;
};

struct History {
    std::uint64_t runs = 0;
    std::uint64_t notEnded = 0;
    std::map<std::string, std::uint64_t> verdicts;  // of those that ended, how often
    std::string lastVerdict;                        // kNotEnded where the last did not
    std::string firstTime;  // when the first run and the last began; empty without runs
    std::string lastTime;
    std::vector<CardHistory> cards;  // by PCIe address
    std::vector<TestHistory> tests;  // by card, then by name
};

// Throws SQLite::Exception.
History AskHistory(SQLite::Database& database, const HistoryQuery& query);

}  // namespace zelhealth

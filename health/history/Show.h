// The history for people at a terminal, and for programs.
#pragma once

#include <cstddef>
#include <string>

#include "history/History.h"
#include "record/Record.h"

namespace zelhealth {

// For so many columns. `all` tells how long each test takes on each card, too; otherwise a line a test.
std::string HistoryText(const History& history, std::size_t columns, bool colours, bool all);

// The same, and what the page draws. docs/man/zelhealth.8 says what stands in it.
Json HistoryJson(const History& history);

// What became of a test: "comes and goes: failed 3 of the last 10 runs"; empty of one that never failed.
std::string FateOf(const Trend& trend);

// "24% slower in the last 10 runs"; empty where it takes as long as ever.
std::string DriftOf(const Trend& trend);

// "zel1"; where its slot has had several cards "zel1 (uuid 4f3a91c2)", as much of it as tells them apart.
std::string CardTitle(const History& history, const CardHistory& card);

// "zel1 pcie.vlw", with the options of a test that has any.
std::string TestTitle(const History& history, const TestHistory& test);

}  // namespace zelhealth

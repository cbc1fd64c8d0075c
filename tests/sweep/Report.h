// What the tool printed, taken apart.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "Outcome.h"

namespace sweep {

// The reports of the cards, in order, each up to its status.
std::vector<std::string_view> CardReports(std::string_view out);

// The lines that say how a test, a group and a card ended.
std::vector<std::string_view> Verdicts(std::string_view out);

// How often `part` stands in `text`.
std::size_t Times(std::string_view text, std::string_view part);

// Without what a DMA worker says that was given up: it runs on beside later tests, and later cards.
std::string WithoutWorkers(std::string text);

// Whether the verdicts follow from each other, from the first failed test to the exit status: in a run
// of `cards` cards, or in one that ends before all had their turn.
bool Follows(const Outcome& outcome, std::size_t cards);

// Whether the run says that something failed.
bool TellsFailure(const Outcome& outcome);

}  // namespace sweep

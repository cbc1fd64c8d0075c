// Whether what a run says of itself holds together.
#pragma once

#include <cstddef>
#include <string>

#include "Outcome.h"

namespace sweep {

// Without what a DMA worker says that was given up: it runs on beside later tests, and later cards.
std::string WithoutWorkers(std::string text);

// Whether the verdicts follow from each other, from the first failed test to the exit status: in a run
// of `cards` cards, or in one that ends before all had their turn.
bool Follows(const Outcome& outcome, std::size_t cards);

// Whether the run says that something failed.
bool TellsFailure(const Outcome& outcome);

}  // namespace sweep

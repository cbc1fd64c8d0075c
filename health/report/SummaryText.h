// What many runs come to, as text.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "report/Summary.h"

namespace zelhealth {

// "3 hosts"
std::string Plural(std::uint64_t count, const char* what);

// "broken off" for "broken_off".
std::string VerdictInWords(std::string_view verdict);

// How many cards and tests there are, by verdict: a line each.
std::string CardsText(const Summary& summary);

// Failures that are alike, told once, the worst first. `look` gives a command that looks closer, when there is one.
std::string GroupsText(const Summary& summary, std::size_t columns, bool colours,
                       const std::function<std::string(const FailureGroup&)>& look = {});

// All of it, and the runs that were broken off.
std::string SummaryText(const Summary& summary, std::size_t columns, bool colours);

}  // namespace zelhealth

// What must hold for a run in which something failed, compared with a run in which nothing did.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "Outcome.h"

namespace sweep {

enum class Fault {
    Crashed,
    Hung,      // does not end, or asks to sleep longer than any wait of the tool
    Leaked,    // memory, a descriptor or a process
    Passed,    // reported passed, although something that the report needs did not happen
    Mode,      // a card is in another mode than it is to be left in
    NextCard,  // more than the card that the failure was met on has another report
    Count,
};

constexpr const char* NameOf(Fault fault) {
    constexpr std::array<const char*, static_cast<std::size_t>(Fault::Count)> kNames = {
        "crashed", "hung", "leaked", "passed", "mode", "next card"};
    return kNames[static_cast<std::size_t>(fault)];
}

// A failure that was put into a run.
struct Failure {
    std::string part;  // of the sweep
    Kind kind;
};

// Why `clean`, in which nothing failed, is no run to compare others with: it must hold a healthy report
// of `cards` cards, each with `tests` tests passed, and leave nothing behind. Empty when it is one.
std::string WhyNotWhole(const Outcome& clean, std::size_t cards, std::size_t tests);

// What is wrong with `outcome`; nothing, as it should be.
std::vector<Fault> Judge(const Outcome& clean, const Outcome& outcome);

// The tool's function in which something happened, past those that only hand on what others ask for.
// `site` are the functions that led there, innermost first.
std::string CallerIn(const std::vector<std::string>& site);
inline std::string CallerIn(const Outcome& outcome) {
    return CallerIn(outcome.site);
}

// Why `fault` is right after all; null when it is not.
const char* Reason(Fault fault, const Failure& failure, const Outcome& clean,
                   const Outcome& outcome);

}  // namespace sweep

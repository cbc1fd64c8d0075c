// What must hold for a run in which something failed, compared with a run in which nothing did.
#pragma once

#include <string>
#include <vector>

#include "Tool.h"

namespace sweep {

enum class Fault {
    Crashed,
    Hung,
    Leaked,
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

// What is wrong with `outcome`; nothing, as it should be.
std::vector<Fault> Judge(Kind kind, const Outcome& clean, const Outcome& outcome);

// Why `fault` is right after all; null when it is not.
const char* Reason(Fault fault, Kind kind, const Outcome& outcome);

}  // namespace sweep

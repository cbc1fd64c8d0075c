// What came of one run of the tool.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "Injection.h"

namespace sweep {

// A block of memory that was still allocated at the end.
struct Kept {
    std::uint64_t bytes = 0;
    std::string library;               // that asked for it; empty: there were more than can be told
    std::vector<std::string> callers;  // the tool's functions that led there, innermost first
};

struct Outcome {
    bool hung = false;
    int signal = 0;
    int status = -1;
    std::string out;
    std::string err;
    std::array<std::uint64_t, kKinds> counts{};
    bool struck = false;
    std::string what;                  // that failed
    std::vector<std::string> site;     // the tool's functions that led to it, innermost first
    bool tidied = false;               // it ended with all its static objects destroyed
    std::int64_t blocks = 0;           // allocated and not freed at the end
    std::vector<Kept> kept;            // these, where nothing was made to fail
    int descriptors = 0;               // more open at the end than at the beginning
    int processes = 0;                 // left behind, and not ending by themselves
    std::uint64_t slept = 0;           // seconds that it asked to sleep, all threads together
    std::vector<std::uint32_t> modes;  // of the cards, afterwards

    std::uint64_t CountOf(Kind kind) const { return counts[static_cast<std::size_t>(kind)]; }
};

}  // namespace sweep

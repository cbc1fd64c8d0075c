// How much of the history is kept.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace zelhealth {

struct HistoryLimits {
    std::chrono::days age{90};
    std::uint64_t bytes = 256000000;

    // Of a run, while it goes on: more than any plan has. They are in memory, to be stored again where the file
    // was not to be had, or has to begin anew.
    std::size_t records = 50000;
};

}  // namespace zelhealth

// How much of the history is kept.
#pragma once

#include <chrono>
#include <cstdint>

namespace zelhealth {

struct HistoryLimits {
    std::chrono::days age{90};
    std::uint64_t bytes = 256000000;
};

}  // namespace zelhealth

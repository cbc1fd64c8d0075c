// The calls of the simulated libraries that can fail, as a fleet file's faults name them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace simulated {

inline constexpr std::size_t kMaxCallLength = 31;

const std::vector<std::string>& CallNames();
bool IsCall(std::string_view name);

// Whether the call comes before any card is open.
bool IsHostCall(std::string_view name);

}  // namespace simulated

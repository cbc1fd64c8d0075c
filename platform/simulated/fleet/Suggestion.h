// What a mistyped word may have meant.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace simulated {

// "; did you mean \"link_width\"?" for the known word that is at most two edits away, letter case aside;
// else `otherwise`.
std::string Suggestion(std::string_view word, const std::vector<std::string>& known,
                       const std::string& otherwise = "");

}  // namespace simulated

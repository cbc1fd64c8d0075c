// How unlike two texts are.
#pragma once

#include <string_view>

namespace zelhealth {

// How many letters have to be put in, taken out or changed.
std::size_t Distance(std::string_view one, std::string_view other);

}  // namespace zelhealth

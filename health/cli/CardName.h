// What people call a card by.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zelhealth {

// As records and the library name it: "zel1" for zel1 and 1, "0000:03:00.0" for 0000:03:00.0 and 03:00.0.
// Nothing where the text can be the name of no card.
std::optional<std::string> CardName(std::string_view text);

}  // namespace zelhealth

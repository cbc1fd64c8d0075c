// Texts of others, made fit to be shown: cards, commands and files may hold anything.
#pragma once

#include <string>
#include <string_view>

namespace zelhealth {

// What would command a terminal, or end a line, becomes a question mark.
std::string Printable(std::string_view text);

}  // namespace zelhealth

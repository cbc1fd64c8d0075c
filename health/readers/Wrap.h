// Text as people read it in a terminal.
#pragma once

#include <string>

namespace zelhealth {

// Text broken into lines of so many columns at most, with that many blanks in front of all but the first.
std::string Wrap(const std::string& text, std::size_t columns, std::size_t indent);

}  // namespace zelhealth

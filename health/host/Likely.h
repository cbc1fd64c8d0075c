// What somebody probably meant who wrote a word that is not known.
#pragma once

#include <string>
#include <vector>

namespace zelhealth {

// The known word that is most like one that is not known; empty when none is like it.
std::string Likely(const std::string& word, const std::vector<std::string>& known);

}  // namespace zelhealth

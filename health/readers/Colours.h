// Colours on a terminal.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "readers/Outcome.h"

namespace zelhealth {

inline bool WantsColours(std::FILE* out) {
    const char* const no = std::getenv("NO_COLOR");
    return isatty(fileno(out)) != 0 && (no == nullptr || *no == '\0');
}

// A word in the colour of a verdict, of a test or a card; as it is without colours.
inline std::string Coloured(const std::string& word, std::string_view verdict, bool colours) {
    if (!colours) {
        return word;
    }
    const bool good = verdict == "healthy" || verdict == "passed" || verdict == "unsupported";
    return std::string(good                 ? "\033[32m"
                       : IsFailure(verdict) ? "\033[31m"
                                            : "\033[33m") +
           word + "\033[0m";
}

}  // namespace zelhealth

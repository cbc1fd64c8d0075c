#include "cli/CardName.h"

#include <regex>

namespace zelhealth {

std::optional<std::string> CardName(std::string_view text) {
    static const std::regex index("(?:zel)?(0|[1-9][0-9]{0,3})");
    static const std::regex address("(?:([0-9a-f]{4}):)?([0-9a-f]{2}:[01][0-9a-f]\\.[0-7])",
                                    std::regex::icase);
    std::cmatch parts;
    const char* const end = text.data() + text.size();
    if (std::regex_match(text.data(), end, parts, index)) {
        return "zel" + parts[1].str();
    }
    if (!std::regex_match(text.data(), end, parts, address)) {
        return std::nullopt;
    }
    std::string name = (parts[1].matched ? parts[1].str() : "0000") + ":" + parts[2].str();
    for (char& c : name) {
        c = c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return name;
}

}  // namespace zelhealth

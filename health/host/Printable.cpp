// Makes texts fit to be shown.
#include "host/Printable.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string_view>

namespace zelhealth {

namespace {

struct Character {
    std::uint32_t code = 0;
    std::size_t bytes = 0;
};

// The character with which a text begins; nothing where its bytes are none, too long a form included.
std::optional<Character> FirstOf(std::string_view text) {
    constexpr std::uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    const auto first = static_cast<unsigned char>(text.front());
    if (first < 0x80)
        return Character{first, 1};
    const std::size_t bytes = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC0 || first > 0xF7 || text.size() < bytes)
        return std::nullopt;
    std::uint32_t code = first & (0x7FU >> bytes);
    for (std::size_t i = 1; i < bytes; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xC0U) != 0x80)
            return std::nullopt;
        code = code << 6 | (next & 0x3FU);
    }
    const bool valid =
        code >= kLeast[bytes] && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
    return valid ? std::optional(Character{code, bytes}) : std::nullopt;
}

// Characters that a terminal obeys, or that show other ones in another order or place.
bool Meddles(std::uint32_t code) {
    const bool control = code < 0x20 || (code >= 0x7F && code < 0xA0);
    const bool separator = code == 0x2028 || code == 0x2029;
    const bool direction = code == 0x061C || code == 0x200E || code == 0x200F ||
                           (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
    return control || separator || direction;
}

}  // namespace

std::string Printable(std::string_view text) {
    // Most texts are plain, and reports show them by the million.
    if (std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; }))
        return std::string(text);
    std::string shown;
    shown.reserve(text.size());
    for (std::string_view rest = text; !rest.empty();) {
        const auto character = FirstOf(rest);
        const std::size_t bytes = character ? character->bytes : 1;
        if (character && !Meddles(character->code))
            shown += rest.substr(0, bytes);
        else
            shown += '?';
        rest.remove_prefix(bytes);
    }
    return shown;
}

}  // namespace zelhealth

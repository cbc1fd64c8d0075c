// The contents of a settings file: sections of keys, each with its values and its line.
//
// Parsing refuses whatever could be read in two ways (a key given twice, a line that inih would
// shorten or skip in silence), so that a mistyped file is reported and not half obeyed.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "ZelTypes.h"

// What is wrong with a file and what to do about it, as one line of printable text. Line 0 stands
// for the file as a whole.
struct SettingsFault {
    int line;
    std::string text;
};

class SettingsDocument {
public:
    struct Entry {
        int line;
        std::vector<std::string> values;
    };

    // Parses a whole file. Comments begin with ';' or '#' at the start of a line or after a blank.
    // A value that holds a comma, or blanks at its ends, stands in double quotes.
    static std::variant<SettingsDocument, SettingsFault> Parse(std::string_view text);

    // Null when there is no such section or key.
    const Entry* Find(std::string_view section, std::string_view key) const;

private:
    friend class SettingsParser;
    using Keys = std::map<std::string, Entry, std::less<>>;
    std::map<std::string, Keys, std::less<>> sections_;
};

// The number that a value stands for: decimal, or hexadecimal after "0x"; nothing when it is
// anything else or needs more than 32 bits.
std::optional<U32> ParseWord(std::string_view value);

// `text` in double quotes, bytes that do not print replaced, a long text cut: fit for one line.
std::string QuoteForFault(std::string_view text);

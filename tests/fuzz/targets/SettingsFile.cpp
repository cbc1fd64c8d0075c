// Settings.ini: the input is the file.
//
// It is refused with a line and one line of printable text, or each of its keys is found, in its line;
// the values, written down again, read as the same. A byte order mark in front changes nothing.
#include <algorithm>
#include <cctype>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "SettingsDocument.h"
#include "support/Expect.h"
#include "support/Input.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::size_t kMaxLineBytes = 8192;

std::string_view Trim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    return first == text.npos ? text.substr(0, 0)
                              : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

void CheckFault(const SettingsFault& fault, std::string_view text) {
    const auto lines = std::count(text.begin(), text.end(), '\n') + 1;
    Expect(fault.line >= 0 && fault.line <= lines, "a fault is in one of the lines");
    Expect(!fault.text.empty(), "a fault has a text");
    Expect(std::all_of(fault.text.begin(), fault.text.end(),
                       [](char c) { return c >= 0x20 && c < 0x7F; }),
           "the text of a fault prints in one line");
}

// A value that stood in quotes, or can stand in them, does so again.
std::string Written(const std::string& value) {
    return value.find('"') == value.npos ? '"' + value + '"' : value;
}

// Few enough digits, and nothing else: a number of 32 bits, whatever the digits are.
bool IsShortNumber(const std::string& value) {
    const bool hexadecimal = value.starts_with("0x") || value.starts_with("0X");
    const std::string digits = value.substr(hexadecimal ? 2 : 0);
    return !digits.empty() && digits.size() <= (hexadecimal ? 8 : 9) &&
           digits.find_first_not_of(hexadecimal ? "0123456789abcdefABCDEF" : "0123456789") ==
               digits.npos;
}

void CheckWord(const std::string& value) {
    const std::optional<U32> word = ParseWord(value);
    Expect(word || !IsShortNumber(value), "a number of 32 bits is read: " + value);
    if (!word)
        return;
    const bool hexadecimal = value.size() > 1 && std::tolower(value[1]) == 'x';
    std::ostringstream printed;
    printed << (hexadecimal ? std::hex : std::dec) << *word;
    std::string digits = hexadecimal ? value.substr(2) : value;
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size() - 1));
    std::transform(digits.begin(), digits.end(), digits.begin(),
                   [](char c) { return static_cast<char>(std::tolower(c)); });
    ExpectEqual(printed.str(), digits, "the number");
}

void CheckValues(const std::vector<std::string>& values, std::string_view line) {
    // Without blanks: behind one, a value could be taken for a comment.
    std::string written = "[section]\nkey=";
    for (const std::string& value : values) {
        Expect(line.find(value) != line.npos, "a value stands in its line");
        CheckWord(value);
        written += (&value == &values.front() ? "" : ",") + Written(value);
    }
    if (written.size() > kMaxLineBytes)
        return;
    const auto parsed = SettingsDocument::Parse(written);
    const auto* const again = std::get_if<SettingsDocument>(&parsed);
    Expect(again != nullptr, "values that were read can be written");
    const SettingsDocument::Entry* const entry = again->Find("section", "key");
    Expect(entry != nullptr && entry->values == values, "written values read as the same");
}

void CheckKey(const SettingsDocument& document, const std::string& section, std::string_view text,
              int line) {
    const std::size_t end = std::min(text.find_first_of("=:"), text.size());
    const std::string key(Trim(text.substr(0, end)));
    const SettingsDocument::Entry* const entry = document.Find(section, key);
    Expect(entry != nullptr, "each key is found: " + key);
    ExpectEqual(entry->line, line, "the key's line");
    CheckValues(entry->values, text);
    Expect(document.Find(section, key + "\n") == nullptr, "no other key is found");
}

void CheckDocument(const SettingsDocument& document, std::string_view text) {
    while (text.starts_with(kByteOrderMark))
        text.remove_prefix(kByteOrderMark.size());
    std::string section;
    for (int line = 1; !text.empty(); ++line) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view content = Trim(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (content.empty() || content.front() == ';' || content.front() == '#')
            continue;
        if (content.front() == '[')
            section = content.substr(1, content.find(']') - 1);
        else
            CheckKey(document, section, content, line);
    }
}

std::string ResultOf(const std::variant<SettingsDocument, SettingsFault>& parsed) {
    const auto* const fault = std::get_if<SettingsFault>(&parsed);
    return fault == nullptr ? "accepted" : std::to_string(fault->line) + ": " + fault->text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = fuzz::Text(data, size);
    const auto parsed = SettingsDocument::Parse(text);
    if (const auto* const fault = std::get_if<SettingsFault>(&parsed))
        CheckFault(*fault, text);
    else
        CheckDocument(std::get<SettingsDocument>(parsed), text);
    const std::string marked = std::string(kByteOrderMark) + std::string(text);
    ExpectEqual(ResultOf(SettingsDocument::Parse(marked)), ResultOf(parsed),
                "the result behind a byte order mark");
    return 0;
}

// Parses settings files with inih, one line at a time through a reader of our own. The reader refuses
// what inih would cut, skip or take for the end of a text; it also knows the line number, which inih
// does not pass on.
#include "SettingsDocument.h"

#include <ini.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <new>
#include <utility>

namespace {

constexpr std::size_t kMaxLineBytes = 8192;
constexpr std::size_t kMaxNameBytes = 48;    // inih cuts section and key names after 49 bytes
constexpr std::size_t kMaxQuotedBytes = 40;  // of a value, in the text of a fault
constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

char commentPrefixes[] = ";#";

std::string_view Trim(std::string_view text) {
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool IsText(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte == '\t' || byte == '\r' || (byte >= 0x20 && byte != 0x7F);
}

bool IsComment(std::string_view text) {
    return !text.empty() && (text.front() == ';' || text.front() == '#');
}

// Why a line must not reach inih; empty when it may.
std::string LineFault(std::string_view line) {
    if (line.size() > kMaxLineBytes) {
        return "the line is longer than " + std::to_string(kMaxLineBytes) + " bytes; shorten it";
    }
    if (!std::all_of(line.begin(), line.end(), IsText)) {
        return "the line holds bytes that are not text; settings are a plain text file, replace it";
    }
    const std::string_view trimmed = Trim(line);
    if (trimmed.empty() || trimmed.front() != '[') {
        return {};
    }
    const auto close = trimmed.find(']');
    if (close == std::string_view::npos) {
        return "the section name " + QuoteForFault(trimmed) + " is not closed; end it with \"]\"";
    }
    const std::string_view rest = Trim(trimmed.substr(close + 1));
    if (!rest.empty() && !IsComment(rest)) {
        return QuoteForFault(rest) + " follows a section name; put it on a line of its own";
    }
    if (Trim(trimmed.substr(1, close - 1)).empty()) {
        return "a section without a name; write it between \"[\" and \"]\"";
    }
    if (close - 1 > kMaxNameBytes) {
        return "the section name is longer than " + std::to_string(kMaxNameBytes) +
               " bytes; shorten it";
    }
    return {};
}

// Takes one value off the front of a list; `rest` then begins at the comma behind it, or is empty.
// Gives the fault, empty when there is none.
std::string TakeValue(std::string_view& rest, std::string& value) {
    rest = Trim(rest);
    if (rest.empty() || rest.front() != '"') {
        const auto comma = std::min(rest.find(','), rest.size());
        value = Trim(rest.substr(0, comma));
        rest.remove_prefix(comma);
        return value.empty() ? "an empty value between commas; remove the comma or write the value"
                             : "";
    }
    const auto close = rest.find('"', 1);
    if (close == std::string_view::npos) {
        return "the value " + QuoteForFault(rest) + " is not closed; end it with a double quote";
    }
    value = rest.substr(1, close - 1);
    rest = Trim(rest.substr(close + 1));
    if (!rest.empty() && rest.front() != ',') {
        return QuoteForFault(rest) + " follows a quoted value; separate values with a comma";
    }
    return {};
}

std::string SplitValues(std::string_view list, std::vector<std::string>& values) {
    std::string_view rest = Trim(list);
    while (!rest.empty()) {
        std::string value;
        std::string fault = TakeValue(rest, value);
        if (!fault.empty()) {
            return fault;
        }
        values.push_back(std::move(value));
        if (rest.empty()) {
            break;
        }
        rest.remove_prefix(1);  // the comma
        if (Trim(rest).empty()) {
            return "a comma at the end of the values; remove it or write the missing value";
        }
    }
    return {};
}

void ConfigureInih() {
    ini_use_stack = false;
    ini_initial_alloc = kMaxLineBytes + 3;  // line end and terminator
    ini_max_line = kMaxLineBytes + 3;
    ini_allow_multiline = false;
    ini_stop_on_first_error = true;
    ini_inline_comment_prefixes = commentPrefixes;
}

}  // namespace

class SettingsParser {
public:
    // A byte order mark goes first: inih would skip it behind the checks of the line that it is on.
    explicit SettingsParser(std::string_view text) : rest_(text) {
        while (rest_.starts_with(kByteOrderMark))
            rest_.remove_prefix(kByteOrderMark.size());
    }

    std::variant<SettingsDocument, SettingsFault> Run() {
        ConfigureInih();
        const int status =
            ini_parse_stream(&SettingsParser::NextLine, this, &SettingsParser::OnKey, this);
        if (outOfMemory_ || status < 0) {
            fault_ = "not enough memory to read it; end other programs";
        } else if (fault_.empty() && status > 0) {
            fault_ = QuoteForFault(Trim(current_)) +
                     " is neither a [section], a \"key = value\" nor a comment; correct the line";
        }
        if (!fault_.empty()) {
            return SettingsFault{line_, fault_};
        }
        return std::move(document_);
    }

private:
    // inih's reader: the next line into `buffer`, or null at the end and at a fault. Like the handler
    // it lets no exception through inih, which could not release its line buffer.
    static char* NextLine(char* buffer, int capacity, void* parser) {
        auto* const self = static_cast<SettingsParser*>(parser);
        try {
            return self->CopyLine(buffer, static_cast<std::size_t>(capacity));
        } catch (const std::bad_alloc&) {
            self->outOfMemory_ = true;
            return nullptr;
        }
    }

    static int OnKey(void* parser, const char* section, const char* key, const char* value) {
        auto* const self = static_cast<SettingsParser*>(parser);
        try {
            return self->AddKey(section, key, value) ? 1 : 0;
        } catch (const std::bad_alloc&) {
            self->outOfMemory_ = true;
            return 0;
        }
    }

    char* CopyLine(char* buffer, std::size_t capacity) {
        if (rest_.empty()) {
            return nullptr;
        }
        ++line_;
        const auto end = std::min(rest_.find('\n'), rest_.size());
        current_ = rest_.substr(0, end);
        rest_.remove_prefix(std::min(end + 1, rest_.size()));
        fault_ = LineFault(current_);
        if (!fault_.empty() || current_.size() >= capacity) {
            return nullptr;
        }
        std::memcpy(buffer, current_.data(), current_.size());
        buffer[current_.size()] = '\0';
        return buffer;
    }

    bool AddKey(std::string_view section, std::string_view key, std::string_view value) {
        if (section.empty()) {
            fault_ = "the key " + QuoteForFault(key) +
                     " stands before any section; write its "
                     "[section] above it";
        } else if (key.empty()) {
            fault_ = "a value without a key; write the key before the \"=\"";
        } else if (key.size() > kMaxNameBytes) {
            fault_ =
                "the key is longer than " + std::to_string(kMaxNameBytes) + " bytes; shorten it";
        } else {
            fault_ = Insert(section, key, value);
        }
        return fault_.empty();
    }

    std::string Insert(std::string_view section, std::string_view key, std::string_view value) {
        SettingsDocument::Entry entry{line_, {}};
        std::string fault = SplitValues(value, entry.values);
        if (!fault.empty()) {
            return fault;
        }
        auto& keys = document_.sections_[std::string(section)];
        const auto [position, added] = keys.try_emplace(std::string(key), std::move(entry));
        if (added) {
            return {};
        }
        return "the key " + QuoteForFault(key) + " is given twice, first in line " +
               std::to_string(position->second.line) + "; remove one of them";
    }

    std::string_view rest_;
    std::string_view current_;
    int line_ = 0;
    bool outOfMemory_ = false;
    std::string fault_;
    SettingsDocument document_;
};

std::variant<SettingsDocument, SettingsFault> SettingsDocument::Parse(std::string_view text) {
    return SettingsParser(text).Run();
}

const SettingsDocument::Entry* SettingsDocument::Find(std::string_view section,
                                                      std::string_view key) const {
    const auto keys = sections_.find(section);
    if (keys == sections_.end()) {
        return nullptr;
    }
    const auto entry = keys->second.find(key);
    return entry == keys->second.end() ? nullptr : &entry->second;
}

std::optional<U32> ParseWord(std::string_view value) {
    int base = 10;
    if (value.starts_with("0x") || value.starts_with("0X")) {
        base = 16;
        value.remove_prefix(2);
    }
    U32 word = 0;
    const char* const end = value.data() + value.size();
    const auto [stop, error] = std::from_chars(value.data(), end, word, base);
    if (error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return word;
}

std::string QuoteForFault(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text.substr(0, kMaxQuotedBytes)) {
        const auto byte = static_cast<unsigned char>(c);
        quoted += byte >= 0x20 && byte < 0x7F ? c : '?';
    }
    quoted += text.size() > kMaxQuotedBytes ? "...\"" : "\"";
    return quoted;
}

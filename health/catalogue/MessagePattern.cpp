#include "catalogue/MessagePattern.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace zelhealth {

namespace {

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// "PASSED, FAILED or ABORTED" as three.
std::vector<std::string> Choices(std::string_view name) {
    std::vector<std::string> choices;
    while (!name.empty()) {
        const std::size_t comma = std::min(name.find(", "), name.find(" or "));
        choices.emplace_back(name.substr(0, comma));
        name.remove_prefix(std::min(name.size(), comma));
        name.remove_prefix(name.starts_with(", ") ? 2 : std::min(name.size(), std::size_t{4}));
    }
    return choices;
}

constexpr std::string_view kBehindWords = " :;,.";

// Of the name or the PCIe address with which the text begins: "zel1", "0000:03:00.0"; 0 where none does.
std::size_t CardLength(std::string_view text) {
    constexpr std::string_view kName = "zel";
    constexpr std::string_view kDigits = "0123456789";
    if (text.starts_with(kName)) {
        const std::size_t end =
            std::min(text.find_first_not_of(kDigits, kName.size()), text.size());
        return end == kName.size() ? 0 : end;
    }
    const std::size_t end = std::min(text.find_first_not_of("0123456789abcdef:."), text.size());
    const std::string_view address = text.substr(0, end);
    return address.find(':') < address.find('.') && address.find('.') + 1 < end
               ? address.find('.') + 2
               : 0;
}

// Places of what has a row of its own.
constexpr std::string_view kTitle = "title";
constexpr std::array<std::string_view, 6> kInner = {"cause",   "failure", "fault",
                                                    "library", "reason",  kTitle};

bool IsInner(std::string_view name) {
    return std::find(kInner.begin(), kInner.end(), name) != kInner.end();
}

}  // namespace

std::string OneLine(std::string_view text) {
    std::string line;
    for (const char c : text) {
        if (!IsBlank(c)) {
            line += c;
        } else if (!line.empty() && line.back() != ' ') {
            line += ' ';
        }
    }
    if (line.ends_with(' ')) {
        line.pop_back();
    }
    return line;
}

MessagePattern::Part MessagePattern::Varying(const std::string& name) {
    constexpr std::pair<std::string_view, Kind> kKinds[] = {
        {"n", Kind::number},      {"line", Kind::digits},   {"numbers", Kind::digits},
        {"hex", Kind::hex},       {"letter", Kind::letter}, {"file", Kind::word},
        {"function", Kind::word}, {"test", Kind::word},     {"card", Kind::card},
        {"path", Kind::word},     {"folder", Kind::word},   {"version", Kind::maybe},
        {"program", Kind::maybe}, {"reason", Kind::maybe},
    };
    if (name.find(" or ") != name.npos) {
        return {Kind::choice, name, Choices(name)};
    }
    for (const auto& [known, kind] : kKinds) {
        if (name == known) {
            return {kind, name, {}};
        }
    }
    return {Kind::anything, name, {}};
}

MessagePattern::MessagePattern(std::string_view text) : text_(OneLine(text)) {
    std::string literal;
    const auto addLiteral = [this, &literal] {
        if (!literal.empty()) {
            parts_.push_back({Kind::literal, literal, {}});
        }
        literal.clear();
    };
    for (std::size_t at = 0; at < text_.size();) {
        const std::size_t end = text_.find_first_of("<>", at + 1);
        const bool varies = text_[at] == '<' && end != text_.npos && text_[end] == '>' &&
                            std::isalnum(static_cast<unsigned char>(text_[at + 1])) != 0;
        if (!varies) {
            literal += text_[at++];
            continue;
        }
        addLiteral();
        parts_.push_back(Varying(text_.substr(at + 1, end - at - 1)));
        at = end + 1;
    }
    addLiteral();
    for (const Part& part : parts_) {
        if (part.kind == Kind::literal && part.text.size() > fixed_.size()) {
            fixed_ = OneLine(part.text);
        }
    }
}

// Runs of characters of one kind, from each place on.
void MessagePattern::AddRuns(const Part& part, std::string_view line, const Places& from,
                             Places& to) {
    const auto isOne = [&part](char c) {
        const auto u = static_cast<unsigned char>(c);
        switch (part.kind) {
            case Kind::number:
                return std::isdigit(u) != 0;
            case Kind::digits:
                return std::isdigit(u) != 0 || c == ',';
            case Kind::hex:
                return std::isxdigit(u) != 0;
            case Kind::word:
                return c != ' ';
            default:
                return true;
        }
    };
    bool open = false;  // a run that has begun has come to here
    for (std::size_t at = 0; at < line.size(); ++at) {
        const bool sign =
            part.kind == Kind::number && at > 0 && from[at - 1] && line[at - 1] == '-';
        open = (open || from[at] || sign) && isOne(line[at]);
        to[at + 1] = to[at + 1] || open;
    }
}

MessagePattern::Places MessagePattern::Behind(const Part& part, std::string_view line,
                                              const Places& from) {
    Places to(from.size(), false);
    const auto addText = [&](std::string_view text) {
        for (std::size_t at = 0; at + text.size() <= line.size(); ++at) {
            if (from[at] && line.substr(at, text.size()) == text) {
                to[at + text.size()] = true;
            }
        }
    };
    switch (part.kind) {
        case Kind::literal:
            addText(part.text);
            break;
        case Kind::choice:
            std::for_each(part.choices.begin(), part.choices.end(), addText);
            break;
        case Kind::letter:
            for (std::size_t at = 0; at < line.size(); ++at) {
                to[at + 1] = from[at] && std::isalpha(static_cast<unsigned char>(line[at])) != 0;
            }
            break;
        case Kind::card:
            for (std::size_t at = 0; at < line.size(); ++at) {
                if (const std::size_t length = from[at] ? CardLength(line.substr(at)) : 0;
                    length > 0) {
                    to[at + length] = true;
                }
            }
            break;
        case Kind::maybe:
            to = from;
            AddRuns(part, line, from, to);
            break;
        default:
            AddRuns(part, line, from, to);
    }
    return to;
}

// Where the first parts may end.
MessagePattern::Places MessagePattern::Reach(std::string_view line, std::size_t parts) const {
    Places places(line.size() + 1, false);
    places[0] = true;
    for (std::size_t i = 0; i < parts; ++i) {
        places = Behind(parts_[i], line, places);
    }
    return places;
}

bool MessagePattern::Matches(std::string_view line) const {
    if (line.find(fixed_) == line.npos) {
        return false;
    }
    // What varies may be empty at the end, where the blank in front of it is gone.
    const auto isWhole = [this](std::string_view text) -> bool {
        return Reach(text, parts_.size()).back();
    };
    return isWhole(line) || isWhole(std::string(line) + " ");
}

bool MessagePattern::Begins(std::string_view line) const {
    if (line.find(fixed_) == line.npos) {
        return false;
    }
    const Places ends = Reach(line, parts_.size());
    for (std::size_t at = line.find(' '); at < line.size(); ++at) {
        const bool isBehindAWord = kBehindWords.find(line[at]) != kBehindWords.npos;
        if (ends[at] && isBehindAWord && line.substr(0, at).find(' ') != line.npos) {
            return true;
        }
    }
    return ends.back() && line.find(' ') != line.npos;
}

std::vector<std::string> MessagePattern::Inner(std::string_view line) const {
    std::vector<std::string> inner;
    const auto part = std::find_if(parts_.begin(), parts_.end(), [](const Part& each) {
        return each.kind != Kind::literal && IsInner(each.text);
    });
    if (part == parts_.end() || !Matches(line)) {
        return inner;
    }
    // Only fixed text stands behind it.
    std::size_t behind = 0;
    std::for_each(part + 1, parts_.end(),
                  [&behind](const Part& each) { behind += each.text.size(); });
    const Places begins = Reach(line, static_cast<std::size_t>(part - parts_.begin()));
    for (std::size_t at = 0; at + behind < line.size(); ++at) {
        if (begins[at]) {
            inner.push_back(OneLine(line.substr(at, line.size() - behind - at)));
        }
    }
    return inner;
}

bool MessagePattern::NamesATest() const {
    return std::any_of(parts_.begin(), parts_.end(), [](const Part& part) {
        return part.kind != Kind::literal && part.text == kTitle;
    });
}

bool MessagePattern::IsTold() const {
    return std::any_of(parts_.begin(), parts_.end(), [](const Part& part) {
        const auto isLetter = [](char c) {
            return std::isalpha(static_cast<unsigned char>(c)) != 0;
        };
        return part.kind == Kind::literal &&
               std::adjacent_find(part.text.begin(), part.text.end(), [&](char one, char other) {
                   return isLetter(one) && isLetter(other);
               }) != part.text.end();
    });
}

}  // namespace zelhealth

#include "fleet/NodeList.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

namespace zelhealth {

namespace {

// More than any cluster has: a slip of the hand is to take no memory.
constexpr std::size_t kMostNames = 200000;
constexpr std::size_t kMostDigits = 9;

// Parts between commas that stand in no brackets.
std::vector<std::string_view> Parts(std::string_view list) {
    std::vector<std::string_view> parts;
    std::size_t begin = 0;
    int depth = 0;
    for (std::size_t at = 0; at <= list.size(); ++at) {
        const char c = at < list.size() ? list[at] : ',';
        depth += c == '[' ? 1 : c == ']' ? -1 : 0;
        if (c == ',' && (depth == 0 || at == list.size())) {
            parts.push_back(list.substr(begin, at - begin));
            begin = at + 1;
        }
    }
    return parts;
}

[[noreturn]] void Fail(std::string_view part, const char* why) {
    throw NodeListError(fmt::format("{}: {}; nodes are written as n1,n[3-5]", part, why));
}

void ExpectNumber(std::string_view part, std::string_view text) {
    if (text.empty() || text.size() > kMostDigits ||
        text.find_first_not_of("0123456789") != std::string_view::npos) {
        Fail(part, "in brackets stand numbers and ranges of numbers");
    }
}

// Puts each name in front of each number of the brackets.
std::vector<std::string> WithNumbers(const std::vector<std::string>& names, std::string_view part,
                                     std::string_view brackets) {
    std::vector<std::string> numbers;
    for (const std::string_view range : Parts(brackets)) {
        const std::size_t dash = range.find('-');
        const std::string_view first = range.substr(0, dash);
        const std::string_view last =
            dash == std::string_view::npos ? first : range.substr(dash + 1);
        ExpectNumber(part, first);
        ExpectNumber(part, last);
        const unsigned long begin = std::stoul(std::string(first));
        const unsigned long end = std::stoul(std::string(last));
        if (end < begin) {
            Fail(part, "a range begins with the smaller number");
        }
        for (unsigned long i = begin; i <= end; ++i) {
            numbers.push_back(fmt::format("{:0{}}", i, first.size()));
            if (numbers.size() * names.size() > kMostNames) {
                Fail(part, "too many nodes");
            }
        }
    }
    std::vector<std::string> all;
    for (const std::string& name : names) {
        for (const std::string& number : numbers) {
            all.push_back(name + number);
        }
    }
    return all;
}

std::vector<std::string> NamesOfPart(std::string_view part) {
    std::vector<std::string> names = {""};
    for (std::size_t at = 0; at < part.size();) {
        const std::size_t open = std::min(part.find('[', at), part.size());
        const std::size_t close = std::min(part.find(']', at), part.size());
        if (close < open || (open < part.size() && close == part.size())) {
            Fail(part, "a bracket is missing");
        }
        for (std::string& name : names) {
            name += part.substr(at, open - at);
        }
        if (open < part.size()) {
            names = WithNumbers(names, part, part.substr(open + 1, close - open - 1));
        }
        at = open < part.size() ? close + 1 : open;
    }
    return names;
}

}  // namespace

std::vector<std::string> NamesOf(const std::string& list) {
    std::vector<std::string> names;
    for (const std::string_view part : Parts(list)) {
        if (part.empty()) {
            continue;
        }
        for (std::string& name : NamesOfPart(part)) {
            names.push_back(std::move(name));
        }
        if (names.size() > kMostNames) {
            Fail(part, "too many nodes");
        }
    }
    return names;
}

}  // namespace zelhealth

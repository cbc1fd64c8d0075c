#include "explain/Lookup.h"

#include <algorithm>
#include <cctype>

#include "catalogue/MessagePattern.h"
#include "explain/Index.h"
#include "host/Distance.h"

namespace zelhealth {

namespace {

constexpr std::size_t kLongestLine = 1000;
constexpr std::size_t kMostNear = 3;
constexpr std::size_t kLeastPiece = 4;  // fewer letters are in everything

void AddOnce(std::vector<Found>& all, const Found& found) {
    if (std::find(all.begin(), all.end(), found) == all.end()) {
        all.push_back(found);
    }
}

void AddOnce(std::vector<Found>& all, const std::vector<Found>& found) {
    for (const Found& each : found) {
        AddOnce(all, each);
    }
}

// What is this line as a whole, and what stands in it in place of another message.
std::vector<Found> Whole(const Index& index, const std::string& line) {
    std::vector<Found> found;
    for (const Index::Entry& entry : index.Entries()) {
        if (!entry.pattern.Matches(line)) {
            continue;
        }
        std::vector<Found> inner;
        for (const std::string& text : entry.pattern.Inner(line)) {
            if (inner.empty()) {
                inner = Whole(index, text);
            }
        }
        // "Test 1: PASSED" has the form of "Test 1: Verify Link Width", and is something else.
        if (!inner.empty() || !entry.pattern.NamesATest()) {
            AddOnce(found, entry.found);
        }
        AddOnce(found, inner);
    }
    return found;
}

// Two messages of which the first ends without a line end, or none.
std::vector<Found> Joined(const Index& index, const std::string& line) {
    for (std::size_t at = 1; at < line.size(); ++at) {
        if (std::isupper(static_cast<unsigned char>(line[at])) == 0 || line[at - 1] == ' ') {
            continue;
        }
        std::vector<Found> found = Whole(index, line.substr(0, at));
        const std::vector<Found> second = Whole(index, line.substr(at));
        if (!found.empty() && !second.empty()) {
            AddOnce(found, second);
            return found;
        }
    }
    return {};
}

// The longest end of the line that is something; one of a single word is taken for a test alone.
std::vector<Found> EndOf(const Index& index, std::string_view line) {
    for (std::size_t blank = line.find(' '); blank != line.npos;
         blank = line.find(' ', blank + 1)) {
        const std::string end(line.substr(blank + 1));
        if (end.find(' ') == end.npos) {
            break;
        }
        if (auto found = Whole(index, end); !found.empty()) {
            return found;
        }
    }
    return {};
}

std::vector<std::string> Split(const std::string& line, std::string_view separator) {
    std::vector<std::string> parts;
    std::string_view rest = line;
    for (std::size_t at = rest.find(separator); at != rest.npos; at = rest.find(separator)) {
        parts.emplace_back(rest.substr(0, at));
        rest.remove_prefix(at + separator.size());
    }
    parts.emplace_back(rest);
    return parts;
}

// "zel0  pcie.vlw  failed": the tests that are named.
std::vector<Found> TestsIn(const Index& index, const std::string& line) {
    std::vector<Found> found;
    for (const std::string& word : Split(line, " ")) {
        if (word.find('.') != word.npos) {
            AddOnce(found, Whole(index, word.substr(0, word.find_last_not_of(",;:") + 1)));
        }
    }
    return found;
}

// A line that holds more than what it is asked for: "zel0  pcie.vlw  failed  Link trained down", or the
// several things that a monitor shows.
std::vector<Found> PartsOf(const Index& index, const std::string& line) {
    std::vector<Found> found = Joined(index, line);
    found = found.empty() ? EndOf(index, line) : found;
    if (!found.empty()) {
        return found;
    }
    for (const std::string& side : Split(line, " | ")) {
        for (const std::string& part : Split(side, "; ")) {
            AddOnce(found, Whole(index, part));
            AddOnce(found, EndOf(index, part));
        }
    }
    return found.empty() ? TestsIn(index, line) : found;
}

struct Near {
    std::size_t distance = 0;
    const Index::Entry* entry = nullptr;
};

// Those that hold what was typed; where none does, those with the fewest letters that differ.
std::vector<Near> NearOnes(const Index& index, const std::string& line) {
    std::vector<Near> holding;
    std::vector<Near> like;
    const std::size_t most = line.size() / 3;
    for (const Index::Entry& entry : index.Entries()) {
        const std::string& text = entry.pattern.Text();
        if (line.size() >= kLeastPiece && text.find(line) != text.npos) {
            holding.push_back({0, &entry});
        }
        const std::size_t longer = std::max(text.size(), line.size());
        if (longer - std::min(text.size(), line.size()) > most) {
            continue;
        }
        if (const std::size_t distance = Distance(line, text); distance <= most) {
            like.push_back({distance, &entry});
        }
    }
    if (!holding.empty()) {
        return holding;
    }
    const auto least = std::min_element(like.begin(), like.end(), [](const Near& a, const Near& b) {
        return a.distance < b.distance;
    });
    const std::size_t distance = least == like.end() ? 0 : least->distance;
    std::erase_if(like, [distance](const Near& near) { return near.distance != distance; });
    return like;
}

Answer Nearest(const std::string& line) {
    Answer answer;
    const std::vector<Near> near = NearOnes(Index::OfLowCase(), LowCase(line));
    for (const Near& each : near) {
        AddOnce(answer.found, each.entry->found);
    }
    return answer;
}

void Sort(std::vector<Found>& found) {
    std::stable_sort(found.begin(), found.end(), [](const Found& one, const Found& other) {
        return NameOf(one).size() < NameOf(other).size();
    });
}

Answer Find(const std::string& line) {
    const std::string lowLine = LowCase(line);
    for (const auto way : {Whole, PartsOf}) {
        for (const bool asTyped : {true, false}) {
            std::vector<Found> found =
                asTyped ? way(Index::AsWritten(), line) : way(Index::OfLowCase(), lowLine);
            if (!found.empty()) {
                return {std::move(found), true, 0};
            }
        }
    }
    return Nearest(line);
}

}  // namespace

Answer LookUp(std::string_view what) {
    std::string line = OneLine(what.substr(0, kLongestLine));
    if (line.empty()) {
        return {};
    }
    // A reason may end with a line end, behind which the bracket stands that belongs to it.
    if (line.find('[') != line.npos && line.find(']') == line.npos) {
        line += ']';
    }
    Answer answer = Find(line);
    Sort(answer.found);
    if (!answer.exact && answer.found.size() > kMostNear) {
        answer.more = answer.found.size() - kMostNear;
        answer.found.resize(kMostNear);
    }
    return answer;
}

}  // namespace zelhealth

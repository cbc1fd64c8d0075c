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
constexpr std::size_t kMostSpans = 4;   // that are one message

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

// The longest end of the line that is something and begins in its first letters; one of a single word is taken
// for a test alone.
std::vector<Found> EndOf(const Index& index, std::string_view line, std::size_t letters) {
    for (std::size_t blank = line.find(' '); blank < letters; blank = line.find(' ', blank + 1)) {
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

// What the text goes on behind: "Link trained down" of "Link trained down to 8 Lanes".
std::vector<Found> Beginning(const Index& index, std::string_view text) {
    std::vector<Found> found;
    for (const Index::Entry& entry : index.Entries()) {
        if (entry.pattern.Begins(text)) {
            AddOnce(found, entry.found);
        }
    }
    return found;
}

// The same where names stand in front: "zel1 pcie.vlw: Link trained down to 8 Lanes".
std::vector<Found> BeginningInside(const Index& index, std::string_view line) {
    std::vector<Found> found = Beginning(index, line);
    for (std::size_t blank = line.find(' '); found.empty() && blank != line.npos;
         blank = line.find(' ', blank + 1)) {
        found = Beginning(index, line.substr(blank + 1));
    }
    return found;
}

struct Span {
    std::size_t begin = 0;
    std::size_t end = 0;
};

// Between " | " and "; ", with which monitors and reasons go on.
std::vector<Span> SpansOf(std::string_view line) {
    std::vector<Span> spans = {{0, line.size()}};
    for (std::size_t at = 0; at < line.size(); ++at) {
        const std::string_view rest = line.substr(at);
        const std::size_t mark = rest.starts_with(" | ") ? 3 : rest.starts_with("; ") ? 2 : 0;
        if (mark > 0) {
            spans.back().end = at;
            spans.push_back({at + mark, line.size()});
            at += mark - 1;
        }
    }
    return spans;
}

struct Part {
    std::vector<Found> found;
    std::size_t spans = 1;
};

// What begins in the first of the spans: a message may have marks itself.
Part FirstPart(const Index& index, const std::string& line, const std::vector<Span>& spans,
               std::size_t first) {
    const auto [begin, end] = spans[first];
    for (std::size_t count = std::min(kMostSpans, spans.size() - first); count > 0; --count) {
        const std::string text = line.substr(begin, spans[first + count - 1].end - begin);
        if (auto found = Whole(index, text); !found.empty()) {
            return {std::move(found), count};
        }
        if (auto found = EndOf(index, text, end - begin); !found.empty()) {
            return {std::move(found), count};
        }
    }
    return {BeginningInside(index, line.substr(begin, end - begin)), 1};
}

// A line that holds more than what it is asked for: "zel0  pcie.vlw  failed  Link trained down", or the
// several things that a monitor shows.
std::vector<Found> PartsOf(const Index& index, const std::string& line) {
    std::vector<Found> found = Joined(index, line);
    if (!found.empty()) {
        return found;
    }
    const std::vector<Span> spans = SpansOf(line);
    for (std::size_t i = 0; i < spans.size();) {
        const Part part = FirstPart(index, line, spans, i);
        AddOnce(found, part.found);
        i += part.spans;
    }
    return found;
}

// "zel0  pcie.vlw  failed": the tests that are named.
std::vector<Found> TestsIn(const Index& index, const std::string& line) {
    std::vector<Found> found;
    for (std::size_t at = 0; at < line.size();) {
        const std::size_t end = std::min(line.find(' ', at), line.size());
        const std::string word = line.substr(at, end - at);
        if (word.find('.') != word.npos) {
            AddOnce(found, Whole(index, word.substr(0, word.find_last_not_of(",;:") + 1)));
        }
        at = end + 1;
    }
    return found;
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
    for (const auto way : {Whole, PartsOf, TestsIn}) {
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

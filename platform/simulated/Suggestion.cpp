// What a mistyped word may have meant.
#include "Suggestion.h"

#include <algorithm>
#include <numeric>

namespace simulated {

namespace {

constexpr std::size_t kMaxDistance = 2;

// Insertions, deletions and replacements that turn one text into the other.
std::size_t EditDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
        }
    }
    return row[b.size()];
}

}  // namespace

std::string Suggestion(std::string_view word, const std::vector<std::string>& known) {
    const std::string* best = nullptr;
    std::size_t bestDistance = kMaxDistance + 1;
    for (const std::string& candidate : known) {
        // The lengths alone tell most of them, and every one for a word without end.
        if (std::max(word.size(), candidate.size()) - std::min(word.size(), candidate.size()) >
            kMaxDistance)
            continue;
        const std::size_t distance = EditDistance(word, candidate);
        if (distance < bestDistance && distance < candidate.size()) {
            best = &candidate;
            bestDistance = distance;
        }
    }
    return best == nullptr ? "" : "; did you mean \"" + *best + "\"?";
}

}  // namespace simulated

// What a mistyped word may have meant.
#include "fleet/Suggestion.h"

#include <algorithm>
#include <numeric>

namespace simulated {

namespace {

constexpr std::size_t kMaxDistance = 2;

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Insertions, deletions, replacements and swaps of neighbours that turn one text into the other, letter
// case aside.
std::size_t EditDistance(std::string_view a, std::string_view b) {
    std::vector<std::vector<std::size_t>> distance(a.size() + 1,
                                                   std::vector<std::size_t>(b.size() + 1));
    const auto same = [&](std::size_t i, std::size_t j) { return Lower(a[i]) == Lower(b[j]); };
    std::iota(distance[0].begin(), distance[0].end(), 0);
    for (std::size_t i = 1; i <= a.size(); ++i) {
        distance[i][0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            distance[i][j] = std::min({distance[i - 1][j] + 1, distance[i][j - 1] + 1,
                                       distance[i - 1][j - 1] + (same(i - 1, j - 1) ? 0 : 1)});
            if (i > 1 && j > 1 && same(i - 1, j - 2) && same(i - 2, j - 1))
                distance[i][j] = std::min(distance[i][j], distance[i - 2][j - 2] + 1);
        }
    }
    return distance[a.size()][b.size()];
}

}  // namespace

std::string Suggestion(std::string_view word, const std::vector<std::string>& known,
                       const std::string& otherwise) {
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
    return best == nullptr ? otherwise : "; did you mean \"" + *best + "\"?";
}

}  // namespace simulated

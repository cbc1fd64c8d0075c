#include "host/Likely.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

namespace zelhealth {

namespace {

// Longer words are like no other.
constexpr std::size_t kLongestWord = 40;

// How many letters have to be put in, taken out or changed.
std::size_t Distance(const std::string& one, const std::string& other) {
    std::array<std::size_t, kLongestWord + 1> row{};
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= one.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i);
        for (std::size_t j = 1; j <= other.size(); ++j) {
            const std::size_t changed = diagonal + (one[i - 1] == other[j - 1] ? 0 : 1);
            diagonal = std::exchange(row[j], std::min({row[j] + 1, row[j - 1] + 1, changed}));
        }
    }
    return row[other.size()];
}

}  // namespace

std::string Likely(const std::string& word, const std::vector<std::string>& known) {
    std::string best;
    std::size_t least = word.size() / 3 + 1;
    for (const std::string& candidate : known) {
        if (std::max(word.size(), candidate.size()) > kLongestWord) {
            continue;
        }
        const std::size_t distance = Distance(word, candidate);
        if (distance < least) {
            least = distance;
            best = candidate;
        }
    }
    return best;
}

}  // namespace zelhealth

#include "host/Likely.h"

#include <algorithm>

#include "host/Distance.h"

namespace zelhealth {

namespace {

// Longer words are like no other.
constexpr std::size_t kLongestWord = 40;

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

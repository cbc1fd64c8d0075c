#include "fleet/Slowness.h"

#include <algorithm>

namespace zelhealth {

namespace {

// What the median of absolute deviations is of a normal distribution's standard deviation.
constexpr double kOfDeviation = 1.4826;
constexpr double kDeviations = 6;

// Cards that are all alike deviate by hardly anything: less than that is nobody's concern.
constexpr double kLeastPart = 1.1;
constexpr double kLeastSeconds = 0.1;

}  // namespace

bool Slowness::IsSlow(double seconds, double median, double deviation) {
    return seconds > median + kDeviations * kOfDeviation * deviation &&
           seconds > median * kLeastPart && seconds > median + kLeastSeconds;
}

void Slowness::Add(const std::string& test, const std::string& kind, const std::string& host,
                   const std::string& card, double seconds) {
    auto place = kinds_.find({test, kind});
    if (place == kinds_.end()) {
        if (kinds_.size() >= kMostKinds) {
            return;
        }
        place = kinds_.emplace(std::pair(test, kind), Kind()).first;
    }
    Kind& all = place->second;
    all.all.Add(seconds);
    const auto faster = [](const Time& one, const Time& other) {
        return one.seconds > other.seconds;
    };
    if (all.slowest.size() >= kMostSlow) {
        if (all.slowest.front().seconds >= seconds) {
            return;
        }
        std::pop_heap(all.slowest.begin(), all.slowest.end(), faster);
        all.slowest.pop_back();
    }
    all.slowest.push_back({seconds, host, card});
    std::push_heap(all.slowest.begin(), all.slowest.end(), faster);
}

std::vector<SlowCard> Slowness::Find() const {
    std::map<std::pair<std::string, std::string>, SlowCard> cards;
    for (const auto& [key, kind] : kinds_) {
        if (kind.all.Count() < kFewest) {
            continue;
        }
        const double median = kind.all.Median();
        const double deviation = kind.all.Deviation();
        for (const Time& time : kind.slowest) {
            if (!IsSlow(time.seconds, median, deviation)) {
                continue;
            }
            SlowCard& card = cards[{time.host, time.card}];
            card.host = time.host;
            card.card = time.card;
            card.kind = key.second;
            const SlowTest slow{key.first, time.seconds, median, deviation, kind.all.Count()};
            // Of several rounds the slowest counts.
            const auto known =
                std::find_if(card.tests.begin(), card.tests.end(),
                             [&](const SlowTest& other) { return other.test == slow.test; });
            if (known == card.tests.end()) {
                card.tests.push_back(slow);
            } else if (known->seconds < slow.seconds) {
                *known = slow;
            }
        }
    }
    const auto ratio = [](const SlowTest& test) { return test.seconds / test.median; };
    std::vector<SlowCard> found;
    for (auto& [name, card] : cards) {
        std::stable_sort(
            card.tests.begin(), card.tests.end(),
            [&](const auto& one, const auto& other) { return ratio(one) > ratio(other); });
        found.push_back(std::move(card));
    }
    std::stable_sort(found.begin(), found.end(), [&](const auto& one, const auto& other) {
        return std::pair(one.tests.size(), ratio(one.tests.front())) >
               std::pair(other.tests.size(), ratio(other.tests.front()));
    });
    return found;
}

}  // namespace zelhealth

#include "report/Durations.h"

#include <algorithm>
#include <cmath>

namespace zelhealth {

namespace {

constexpr double kShortest = 0.001;
constexpr double kRatio = 1.1;

}  // namespace

void Durations::Add(double seconds) {
    fastest_ = count_ == 0 ? seconds : std::min(fastest_, seconds);
    slowest_ = std::max(slowest_, seconds);
    ++count_;
    const double place = std::log(std::max(seconds, kShortest) / kShortest) / std::log(kRatio);
    ++buckets_[static_cast<std::size_t>(std::min(place, kBuckets - 1.0))];
}

double Durations::Median() const {
    std::uint64_t before = 0;
    for (std::size_t i = 0; i < kBuckets; ++i) {
        before += buckets_[i];
        if (before * 2 >= count_) {
            const double middle = kShortest * std::pow(kRatio, static_cast<double>(i) + 0.5);
            return std::clamp(middle, fastest_, slowest_);
        }
    }
    return slowest_;
}

}  // namespace zelhealth

#include "report/Durations.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace zelhealth {

namespace {

constexpr double kShortest = 0.001;
constexpr double kRatio = 1.02;

}  // namespace

void Durations::Add(double seconds) {
    fastest_ = count_ == 0 ? seconds : std::min(fastest_, seconds);
    slowest_ = std::max(slowest_, seconds);
    ++count_;
    const double place = std::log(std::max(seconds, kShortest) / kShortest) / std::log(kRatio);
    ++buckets_[static_cast<std::size_t>(std::min(place, kBuckets - 1.0))];
}

void Durations::Join(const Durations& others) {
    if (others.count_ == 0) {
        return;
    }
    fastest_ = count_ == 0 ? others.fastest_ : std::min(fastest_, others.fastest_);
    slowest_ = std::max(slowest_, others.slowest_);
    count_ += others.count_;
    for (std::size_t i = 0; i < kBuckets; ++i) {
        buckets_[i] += others.buckets_[i];
    }
}

double Durations::MiddleOf(std::size_t bucket) const {
    const double middle = kShortest * std::pow(kRatio, static_cast<double>(bucket) + 0.5);
    return std::clamp(middle, fastest_, slowest_);
}

double Durations::Median() const {
    std::uint64_t before = 0;
    for (std::size_t i = 0; i < kBuckets; ++i) {
        before += buckets_[i];
        if (before * 2 >= count_) {
            return MiddleOf(i);
        }
    }
    return slowest_;
}

double Durations::Deviation() const {
    const double median = Median();
    std::vector<std::pair<double, std::uint64_t>> deviations;
    for (std::size_t i = 0; i < kBuckets; ++i) {
        if (buckets_[i] > 0) {
            deviations.emplace_back(std::abs(MiddleOf(i) - median), buckets_[i]);
        }
    }
    std::sort(deviations.begin(), deviations.end());
    std::uint64_t before = 0;
    for (const auto& [deviation, count] : deviations) {
        before += count;
        if (before * 2 >= count_) {
            return deviation;
        }
    }
    return 0;
}

}  // namespace zelhealth

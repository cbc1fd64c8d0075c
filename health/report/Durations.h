// How long a test takes: the fastest, the slowest, and about the median, of any number of times in a few bytes.
#pragma once

#include <array>
#include <cstdint>

namespace zelhealth {

class Durations {
public:
    void Add(double seconds);

    // As if each of the others had been added.
    void Join(const Durations& others);

    std::uint64_t Count() const { return count_; }
    double Fastest() const { return fastest_; }
    double Slowest() const { return slowest_; }

    // Wrong by a hundredth at most, from a millisecond to ten days.
    double Median() const;

    // The median of the absolute deviations from the median, as exact as that is.
    double Deviation() const;

private:
    static constexpr std::size_t kBuckets = 1040;

    double MiddleOf(std::size_t bucket) const;

    std::uint64_t count_ = 0;
    double fastest_ = 0;
    double slowest_ = 0;
    std::array<std::uint32_t, kBuckets> buckets_{};  // each a fiftieth wider than the one before
};

}  // namespace zelhealth

// Cards that are slower than others of their kind in the same test: by the median of the kind, and by how far its
// cards are from it (the median of the absolute deviations). Of any number of times it keeps how many there are of
// each length, and the slowest.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "report/Durations.h"

namespace zelhealth {

struct SlowTest {
    std::string test;  // "dma.vdh2l", and the options that it ran with
    double seconds = 0;
    double median = 0;     // of its kind
    double deviation = 0;  // the median of the absolute deviations from it
    std::uint64_t count = 0;
};

struct SlowCard {
    std::string host;
    std::string card;
    std::string kind;
    std::vector<SlowTest> tests;  // the slowest first, compared with the median
};

class Slowness {
public:
    // So many of a test are kept at most, the slowest.
    static constexpr std::size_t kMostSlow = 200;

    // Of fewer times nobody can say what is usual.
    static constexpr std::uint64_t kFewest = 5;

    void Add(const std::string& test, const std::string& kind, const std::string& host,
             const std::string& card, double seconds);

    // Those that are slow in most tests first.
    std::vector<SlowCard> Find() const;

    // Slower by more than what is usual among its kind, and by so much that it matters.
    static bool IsSlow(double seconds, double median, double deviation);

private:
    struct Time {
        double seconds;
        std::string host;
        std::string card;
    };

    struct Kind {
        Durations all;
        std::vector<Time> slowest;  // a heap, the fastest of them on top
    };

    static constexpr std::size_t kMostKinds = 512;

    std::map<std::pair<std::string, std::string>, Kind> kinds_;  // by test and kind
};

}  // namespace zelhealth

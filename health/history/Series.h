// Samples of any number as few points: the mean of neighbours is one, so that years have as many as days.
#pragma once

#include <cstddef>
#include <vector>

namespace zelhealth {

class Series {
public:
    static constexpr std::size_t kMostPoints = 128;

    struct Point {
        double time = 0;  // seconds since 1970
        double value = 0;
    };

    // In the order of time.
    void Add(double time, double value);

    std::vector<Point> Points() const;

private:
    std::vector<Point> points_;
    Point sum_;              // of what has come for the next point
    std::size_t count_ = 0;  // of that
    std::size_t step_ = 1;   // samples a point
};

}  // namespace zelhealth

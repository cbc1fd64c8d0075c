#include "history/Series.h"

namespace zelhealth {

namespace {

Series::Point Mean(const Series::Point& sum, std::size_t count) {
    const auto number = static_cast<double>(count);
    return {sum.time / number, sum.value / number};
}

}  // namespace

void Series::Add(double time, double value) {
    sum_ = {sum_.time + time, sum_.value + value};
    if (++count_ < step_) {
        return;
    }
    points_.push_back(Mean(sum_, count_));
    sum_ = {};
    count_ = 0;
    if (points_.size() < kMostPoints) {
        return;
    }
    for (std::size_t i = 0; i < kMostPoints / 2; ++i) {
        const Point& one = points_[2 * i];
        const Point& other = points_[2 * i + 1];
        points_[i] = Mean({one.time + other.time, one.value + other.value}, 2);
    }
    points_.resize(kMostPoints / 2);
    step_ *= 2;
}

std::vector<Series::Point> Series::Points() const {
    std::vector<Point> points = points_;
    if (count_ > 0) {
        points.push_back(Mean(sum_, count_));
    }
    return points;
}

}  // namespace zelhealth

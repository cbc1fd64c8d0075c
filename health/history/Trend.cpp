#include "history/Trend.h"

#include <algorithm>
#include <vector>

#include "readers/Outcome.h"

namespace zelhealth {

namespace {

// The median of so many runs is one to compare with.
constexpr std::uint64_t kEnough = 10;

// Less is seen from one boot to the next; the median before is known to a twentieth.
constexpr double kLeastDrift = 0.1;
constexpr double kLeastSeconds = 0.1;

}  // namespace

void Trend::Add(const RunResult& result) {
    if (result.verdict == "unsupported") {
        return;
    }
    if (!IsAnswer(result.verdict)) {
        ++silent_;
        silentAs_ = result.verdict;
        return;
    }
    silent_ = 0;
    AddJudged(result);
    if (result.verdict == "passed") {
        AddTime(result);
    }
}

void Trend::AddJudged(const RunResult& result) {
    const bool failed = IsFailure(result.verdict);
    const bool turned = last_.empty() || IsFailure(last_.back()) != failed;
    inARow_ = turned ? 1 : inARow_ + 1;
    if (turned) {
        since_ = result.time;
    }
    ++judged_;
    if (failed) {
        ++failed_;
        streaks_ += turned ? 1 : 0;
        firstFailed_ = failed_ == 1 ? result.time : firstFailed_;
        lastFailed_ = result.time;
        seen_ = result.seen;
        failedAs_ = result.verdict;
        waived_ = result.waived;
    }
    last_.push_back(result.verdict);
    if (last_.size() > kLast) {
        last_.pop_front();
    }
}

void Trend::AddTime(const RunResult& result) {
    all_.Add(result.seconds);
    times_.Add(result.second, result.seconds);
    recent_.push_back(result.seconds);
    if (recent_.size() > kLast) {
        earlier_.Add(recent_.front());
        recent_.pop_front();
    }
}

std::size_t Trend::FailedOfLast() const {
    return static_cast<std::size_t>(std::count_if(last_.begin(), last_.end(), IsFailure));
}

Trend::Kind Trend::What() const {
    if (failed_ == 0) {
        return Kind::good;
    }
    if (streaks_ > 1) {
        return Kind::unsteady;
    }
    return IsFailure(last_.back()) ? Kind::failing : Kind::mended;
}

double Trend::RecentMedian() const {
    if (recent_.empty()) {
        return 0;
    }
    std::vector<double> sorted(recent_.begin(), recent_.end());
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::nth_element(sorted.begin(), middle, sorted.end());
    return *middle;
}

double Trend::Drift() const {
    if (recent_.size() < kLast || earlier_.Count() < kEnough) {
        return 0;
    }
    const double before = earlier_.Median();
    const auto [fastest, slowest] = std::minmax_element(recent_.begin(), recent_.end());
    const double difference = RecentMedian() - before;
    const bool allDiffer = *fastest > before || *slowest < before;
    const bool enough = std::abs(difference) >= std::max(kLeastDrift * before, kLeastSeconds);
    return allDiffer && enough ? difference / before : 0;
}

}  // namespace zelhealth

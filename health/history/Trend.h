// How a test on a card did from run to run, in bounded memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>

#include "history/Series.h"
#include "report/Durations.h"

namespace zelhealth {

// What a run says of a test: the worst verdict, where it was done more than once, and the longest time.
struct RunResult {
    std::string time;   // when the run began: "2026-11-21T20:15:04.123Z"
    double second = 0;  // the same, since 1970
    std::string verdict;
    double seconds = 0;
    std::string seen;
    bool waived = false;
};

class Trend {
public:
    static constexpr std::size_t kLast = 10;

    // In the order of the runs.
    void Add(const RunResult& result);

    // Runs that gave an answer: passed or failed.
    std::uint64_t Judged() const { return judged_; }
    std::uint64_t Failed() const { return failed_; }

    // The verdicts of the last of these, the oldest first.
    const std::deque<std::string>& Last() const { return last_; }
    std::size_t FailedOfLast() const;

    enum class Kind {
        good,      // never failed
        mended,    // failed once, for one run or several in a row, and passes since
        unsteady,  // failed, passed, failed: comes and goes
        failing,   // fails since some run
    };
    Kind What() const;

    // Of what failed: the first run that did, the last, and the first of those that say the same since. Without a
    // failure empty.
    const std::string& FirstFailed() const { return firstFailed_; }
    const std::string& LastFailed() const { return lastFailed_; }
    const std::string& Since() const { return since_; }

    // How many runs in a row have said what the last said.
    std::uint64_t InARow() const { return inARow_; }

    // What the last failure showed, its verdict, and whether it was waived.
    const std::string& Seen() const { return seen_; }
    const std::string& FailedAs() const { return failedAs_; }
    bool Waived() const { return waived_; }

    // Runs behind the last answer that gave none, and the verdict of the last of them: "setup".
    std::uint64_t Silent() const { return silent_; }
    const std::string& SilentAs() const { return silentAs_; }

    // How long the test took where it passed: in all but the last runs, and the median of the last.
    const Durations& All() const { return all_; }
    double RecentMedian() const;

    // By how much each of the last runs differs from the median before them: 0.25 for slower by a quarter; 0 where
    // they do not all differ in the same way, or only a little, or where there is not enough to compare.
    double Drift() const;

    const Series& Times() const { return times_; }

private:
    void AddJudged(const RunResult& result);
    void AddTime(const RunResult& result);

    std::uint64_t judged_ = 0;
    std::uint64_t failed_ = 0;
    std::uint64_t streaks_ = 0;  // of failures
    std::deque<std::string> last_;
    std::string firstFailed_;
    std::string lastFailed_;
    std::string since_;
    std::uint64_t inARow_ = 0;
    std::string seen_;
    std::string failedAs_;
    bool waived_ = false;
    std::uint64_t silent_ = 0;
    std::string silentAs_;
    Durations all_;
    Durations earlier_;          // without the last
    std::deque<double> recent_;  // the last
    Series times_;
};

}  // namespace zelhealth

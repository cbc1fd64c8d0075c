// How a test does from run to run.
#include "history/Trend.h"

#include <gmock/gmock.h>

#include "history/Show.h"

namespace zelhealth {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;

// A run a letter: "." passed, "F" failed, "T" timed out, "s" setup; a minute lies between them.
Trend TrendOf(std::string_view runs, double seconds = 1) {
    Trend trend;
    int minute = 0;
    for (const char run : runs) {
        RunResult result;
        result.time = "2026-11-21T20:" + std::to_string(10 + minute) + ":00.000Z";
        result.second = 60.0 * minute++;
        result.verdict = run == '.'   ? "passed"
                         : run == 'F' ? "failed"
                         : run == 'T' ? "timed_out"
                                      : "setup";
        result.seconds = seconds;
        result.seen = run == '.' ? "" : std::string("seen in run ") + std::to_string(minute);
        trend.Add(result);
    }
    return trend;
}

TEST(Trend, OfATestThatNeverFailedIsGood) {
    const Trend trend = TrendOf("...");
    EXPECT_EQ(trend.What(), Trend::Kind::good);
    EXPECT_EQ(FateOf(trend), "");
    EXPECT_EQ(trend.Judged(), 3U);
}

TEST(Trend, TellsSinceWhenATestFails) {
    const Trend trend = TrendOf("...FTF");
    EXPECT_EQ(trend.What(), Trend::Kind::failing);
    EXPECT_EQ(FateOf(trend), "fails since 2026-11-21 20:13: 3 runs in a row");
    EXPECT_EQ(trend.Seen(), "seen in run 6");
    EXPECT_EQ(trend.FailedAs(), "failed");
}

TEST(Trend, TellsThatATestNeverPassed) {
    EXPECT_EQ(FateOf(TrendOf("F")), "has never passed: failed in 1 run");
}

TEST(Trend, TellsWhatIsOver) {
    const Trend trend = TrendOf(".FF..");
    EXPECT_EQ(trend.What(), Trend::Kind::mended);
    EXPECT_EQ(FateOf(trend), "passes since 2026-11-21 20:13: 2 runs in a row");
    EXPECT_EQ(trend.FirstFailed(), "2026-11-21T20:11:00.000Z");
    EXPECT_EQ(trend.LastFailed(), "2026-11-21T20:12:00.000Z");
}

TEST(Trend, TellsWhatComesAndGoes) {
    EXPECT_EQ(FateOf(TrendOf("F.F")), "comes and goes: failed 2 of the last 3 runs, and fails now");
    EXPECT_EQ(FateOf(TrendOf("FFFFF.F....F....")), "comes and goes: failed 2 of the last 10 runs");
}

TEST(Trend, CountsOnlyRunsThatGaveAnAnswer) {
    const Trend trend = TrendOf("F.ss");
    EXPECT_EQ(trend.Judged(), 2U);
    EXPECT_THAT(trend.Last(), ElementsAre("failed", "passed"));
    EXPECT_EQ(trend.Silent(), 2U);
    EXPECT_EQ(trend.SilentAs(), "setup");
    EXPECT_EQ(TrendOf("s.").Silent(), 0U);
    Trend unsupported;
    unsupported.Add({"", 0, "unsupported", 0, "", false});
    EXPECT_EQ(unsupported.Silent(), 0U) << "nothing is wrong with it";
}

// --- how long

Trend Timed(const std::vector<double>& seconds) {
    Trend trend;
    for (const double second : seconds) {
        trend.Add({"", 0, "passed", second, "", false});
    }
    return trend;
}

std::vector<double> Times(std::size_t before, double was, std::size_t after, double is) {
    std::vector<double> times(before, was);
    times.insert(times.end(), after, is);
    return times;
}

TEST(Trend, SeesThatATestHasBecomeSlower) {
    const Trend trend = Timed(Times(20, 2.0, 10, 3.0));
    EXPECT_NEAR(trend.Drift(), 0.5, 0.08);
    EXPECT_THAT(DriftOf(trend), ::testing::EndsWith("% slower in the last 10 runs: 3.00 s"));
    EXPECT_LT(Timed(Times(20, 3.0, 10, 2.0)).Drift(), -0.2);
}

TEST(Trend, SeesNoDriftInOneSlowRun) {
    EXPECT_EQ(Timed(Times(29, 2.0, 1, 9.0)).Drift(), 0);
    EXPECT_EQ(Timed(Times(20, 2.0, 9, 3.0)).Drift(), 0) << "one of the last ten is as ever";
}

TEST(Trend, SeesNoDriftInWhatIsSmall) {
    EXPECT_EQ(Timed(Times(20, 2.0, 10, 2.1)).Drift(), 0);
    EXPECT_EQ(Timed(Times(20, 0.02, 10, 0.04)).Drift(), 0) << "a twentieth of a second";
}

TEST(Trend, ComparesWithEnoughOnly) {
    EXPECT_EQ(Timed(Times(9, 2.0, 10, 3.0)).Drift(), 0);
    EXPECT_NE(Timed(Times(10, 2.0, 10, 3.0)).Drift(), 0);
}

TEST(Trend, DoesNotTakeTheTimeOfAFailureForItsTime) {
    EXPECT_EQ(TrendOf("FFF", 30).All().Count(), 0U);
    EXPECT_THAT(TrendOf("F.F.").Times().Points(), SizeIs(2));
}

TEST(Trend, KnowsTheMedianOfTheLast) {
    EXPECT_EQ(Timed({1, 5, 2}).RecentMedian(), 2);
    EXPECT_EQ(Trend().RecentMedian(), 0);
}

TEST(Durations, OfSeveralAreThoseOfAll) {
    Durations one;
    Durations other;
    for (const double seconds : {2.0, 3.0, 4.0}) {
        one.Add(seconds);
    }
    other.Add(1.0);
    other.Add(90.0);
    one.Join(Durations());
    one.Join(other);
    EXPECT_EQ(one.Count(), 5U);
    EXPECT_EQ(one.Fastest(), 1);
    EXPECT_EQ(one.Slowest(), 90);
    EXPECT_NEAR(one.Median(), 3, 0.2);
    Durations none;
    none.Join(other);
    EXPECT_EQ(none.Fastest(), 1);
}

// --- series

TEST(Series, KeepsFewAsTheyAre) {
    Series series;
    series.Add(10, 1);
    series.Add(20, 3);
    const auto points = series.Points();
    ASSERT_THAT(points, SizeIs(2));
    EXPECT_EQ(points[1].time, 20);
    EXPECT_EQ(points[1].value, 3);
}

TEST(Series, MakesMeansOfMany) {
    Series series;
    constexpr int kMany = 100000;
    for (int i = 0; i < kMany; ++i) {
        series.Add(i, 2.0 * i);
    }
    const auto points = series.Points();
    ASSERT_LE(points.size(), Series::kMostPoints);
    ASSERT_GE(points.size(), Series::kMostPoints / 2);
    for (std::size_t i = 0; i < points.size(); ++i) {
        EXPECT_EQ(points[i].value, 2 * points[i].time);
        EXPECT_TRUE(i == 0 || points[i].time > points[i - 1].time);
    }
    EXPECT_LT(points.front().time, kMany / 60.0);
    EXPECT_GT(points.back().time, kMany * 0.98);
}

}  // namespace
}  // namespace zelhealth

#include <cmath>

#include "catalogue/Messages.h"
#include "history/Show.h"

namespace zelhealth {

namespace {

Json JsonOf(const History& history, const CardHistory& card) {
    return {{"card", card.name}, {"title", CardTitle(history, card)},
            {"pcie", card.pcie}, {"uuid", card.uuid},
            {"runs", card.runs}, {"verdicts", card.verdicts},
            {"last", card.last}, {"time", card.lastTime}};
}

Json JsonOf(const Durations& durations) {
    return {{"passed", durations.Count()},
            {"fastest", durations.Fastest()},
            {"median", durations.Median()},
            {"slowest", durations.Slowest()}};
}

Json PointsOf(const Series& series) {
    constexpr double kMilli = 1000;
    Json points = Json::array();
    for (const Series::Point& point : series.Points()) {
        points.push_back({std::round(point.time), std::round(point.value * kMilli) / kMilli});
    }
    return points;
}

Json JsonOf(const History& history, const TestHistory& test) {
    const Trend& trend = test.trend;
    const CardHistory& card = history.cards[test.card];
    Json json = {{"card", card.name},        {"title", CardTitle(history, card)},
                 {"pcie", card.pcie},        {"uuid", card.uuid},
                 {"test", test.name},        {"options", test.options},
                 {"judged", trend.Judged()}, {"failed", trend.Failed()},
                 {"last", trend.Last()},     {"fate", FateOf(trend)}};
    if (trend.Failed() > 0) {
        const Advice advice = AdviceFor({trend.Seen()}, trend.Seen(), trend.FailedAs());
        json.update({{"verdict", trend.FailedAs()},
                     {"first_failed", trend.FirstFailed()},
                     {"last_failed", trend.LastFailed()},
                     {"failing", trend.What() == Trend::Kind::failing},
                     {"seen", trend.Seen()},
                     {"waived", trend.Waived()},
                     {"means", advice.means},
                     {"next", advice.next}});
    }
    if (trend.Silent() > 0) {
        json.update({{"silent", trend.Silent()}, {"silent_as", trend.SilentAs()}});
    }
    if (trend.All().Count() > 0) {
        json["seconds"] = JsonOf(trend.All());
        json["seconds"]["recent"] = trend.RecentMedian();
        json["drift"] = trend.Drift();
        json["points"] = PointsOf(trend.Times());
    }
    return json;
}

}  // namespace

Json HistoryJson(const History& history) {
    Json cards = Json::array();
    for (const CardHistory& card : history.cards) {
        cards.push_back(JsonOf(history, card));
    }
    Json tests = Json::array();
    for (const TestHistory& test : history.tests) {
        tests.push_back(JsonOf(history, test));
    }
    return {{"runs", history.runs},
            {"verdicts", history.verdicts},
            {"last_verdict", history.lastVerdict},
            {"not_ended", history.notEnded},
            {"first", history.firstTime},
            {"last", history.lastTime},
            {"cards", cards},
            {"tests", tests}};
}

}  // namespace zelhealth

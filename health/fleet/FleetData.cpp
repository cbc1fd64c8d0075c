#include "fleet/FleetData.h"

#include <algorithm>
#include <span>

namespace zelhealth {

namespace {

constexpr std::size_t kMostRows = 3000;
constexpr std::size_t kMostValues = 30;
constexpr std::size_t kMostPlaces = 100;
constexpr std::size_t kMostSlow = 500;
constexpr std::size_t kMostTests = 20;

template <typename List>
auto First(const List& list, std::size_t most) {
    return std::span(list.data(), std::min(list.size(), most));
}

Json Counts(const FleetReport& fleet) {
    Json counts = {{"healthy", fleet.healthy}};
    for (const char* const verdict : {"degraded", "not_asked", "unknown", "lost", "failed"}) {
        counts[verdict] = fleet.Count(verdict);
    }
    return counts;
}

Json ValueOf(const Divergence::Value& value) {
    Json places = Json::array();
    for (const Place& place : First(value.places, kMostPlaces)) {
        places.push_back(place.card.empty() ? place.host : place.host + " " + place.card);
    }
    return {{"value", value.text},
            {"count", value.count},
            {"places", places},
            {"look", LookAtDivergence(value)}};
}

Json SlowOf(const SlowCard& card) {
    Json tests = Json::array();
    for (const SlowTest& test : First(card.tests, kMostTests)) {
        tests.push_back({{"test", test.test},
                         {"seconds", test.seconds},
                         {"median", test.median},
                         {"deviation", test.deviation},
                         {"count", test.count}});
    }
    return {{"host", card.host},
            {"card", card.card},
            {"kind", card.kind},
            {"tests", tests},
            {"testCount", card.tests.size()},
            {"look", LookAtSlow(card)}};
}

}  // namespace

Json FleetData(const FleetReport& fleet, const Summary& summary) {
    Json rows = Json::array();
    for (const FleetReport::Row& row : First(fleet.rows, kMostRows)) {
        rows.push_back(
            {{"node", row.node}, {"verdict", row.verdict}, {"text", row.text}, {"look", row.look}});
    }
    Json differences = Json::array();
    for (const Divergence& difference : fleet.differences) {
        Json values = Json::array();
        for (const Divergence::Value& value : First(difference.values, kMostValues)) {
            values.push_back(ValueOf(value));
        }
        differences.push_back({{"item", difference.item},
                               {"what", difference.ofCards ? "cards" : "hosts"},
                               {"count", difference.count},
                               {"valueCount", difference.values.size()},
                               {"values", values}});
    }
    Json slow = Json::array();
    for (const SlowCard& card : First(fleet.slow, kMostSlow)) {
        slow.push_back(SlowOf(card));
    }
    Json looks = Json::array();
    for (const FailureGroup* const group : summary.WorstFirst()) {
        looks.push_back(LookAtGroup(summary, *group));
    }
    return {{"nodes", Counts(fleet)},
            {"rowCount", fleet.rows.size()},
            {"rows", rows},
            {"differences", differences},
            {"slowCount", fleet.slow.size()},
            {"slow", slow},
            {"looks", looks}};
}

}  // namespace zelhealth

#include "fleet/FleetText.h"

#include <fmt/format.h>

#include <algorithm>

#include "host/Printable.h"
#include "readers/Colours.h"
#include "readers/Wrap.h"
#include "report/SummaryText.h"

namespace zelhealth {

namespace {

constexpr std::size_t kMostRows = 40;
constexpr std::size_t kMostPlaces = 12;
constexpr std::size_t kMostTests = 4;
constexpr std::size_t kIndent = 9;

std::string More(std::size_t all, std::size_t shown, const char* what) {
    return all > shown ? fmt::format("  and {}\n", Plural(all - shown, what)) : "";
}

std::string Line(const char* label, const std::string& text, std::size_t columns) {
    return text.empty() ? "" : fmt::format("  {:<6} {}\n", label, Wrap(text, columns, kIndent));
}

std::string NodesText(const FleetReport& fleet, std::size_t columns, bool colours) {
    if (fleet.rows.empty()) {
        return "";
    }
    std::size_t widest = 0;
    for (std::size_t i = 0; i < std::min(fleet.rows.size(), kMostRows); ++i) {
        widest = std::max(widest, fleet.rows[i].node.size());
    }
    std::string text = "\nnodes, the worst first\n";
    for (std::size_t i = 0; i < std::min(fleet.rows.size(), kMostRows); ++i) {
        const FleetReport::Row& row = fleet.rows[i];
        constexpr std::size_t kVerdict = 9;
        const std::string verdict = fmt::format("{:<{}}", VerdictInWords(row.verdict), kVerdict);
        text += fmt::format("  {:<{}}  {}  {}\n", row.node, widest,
                            Coloured(verdict, row.verdict, colours),
                            Wrap(row.text, columns, widest + kVerdict + 6));
        text += fmt::format("  {:<{}}  {:<{}}  {}\n", "", widest, "look", kVerdict, row.look);
    }
    return text + More(fleet.rows.size(), kMostRows, "more node");
}

std::string PlacesText(const Divergence::Value& value) {
    std::string text;
    for (std::size_t i = 0; i < std::min(value.places.size(), kMostPlaces); ++i) {
        const Place& place = value.places[i];
        text += fmt::format("{}{}{}{}", i == 0 ? "" : ", ", place.host,
                            place.card.empty() ? "" : " ", place.card);
    }
    const std::uint64_t shown = std::min<std::uint64_t>(value.places.size(), kMostPlaces);
    return text + (value.count > shown ? fmt::format(" and {} more", value.count - shown) : "");
}

std::string DifferencesText(const FleetReport& fleet, std::size_t columns) {
    std::string text = fleet.differences.empty() ? "" : "\nwhat differs from most\n";
    for (const Divergence& difference : fleet.differences) {
        const char* const what = difference.ofCards ? "card" : "host";
        text +=
            fmt::format("  {}: {} on {} of {}\n", difference.item, difference.values.front().text,
                        difference.values.front().count, Plural(difference.count, what));
        for (std::size_t i = 1; i < difference.values.size(); ++i) {
            const Divergence::Value& value = difference.values[i];
            if (i > kMostPlaces) {
                text += More(difference.values.size(), i, "more value");
                break;
            }
            text += fmt::format(
                "    {}\n", Wrap(fmt::format("{} on {}: {}", value.text, Plural(value.count, what),
                                             PlacesText(value)),
                                 columns, kIndent));
            text += fmt::format("    look {}\n", LookAtDivergence(value));
        }
    }
    return text;
}

std::string SlowText(const FleetReport& fleet, std::size_t columns) {
    std::string text = fleet.slow.empty() ? "" : "\ncards slower than their kind\n";
    for (std::size_t i = 0; i < std::min(fleet.slow.size(), kMostRows); ++i) {
        const SlowCard& card = fleet.slow[i];
        std::string tests;
        for (std::size_t j = 0; j < std::min(card.tests.size(), kMostTests); ++j) {
            const SlowTest& test = card.tests[j];
            tests += fmt::format(
                "{}{} {:.2f} s, {:.2f} times the median of {} ({:.2f} s, deviation {:.2f} s)",
                j == 0 ? "" : "; ", test.test, test.seconds, test.seconds / test.median, test.count,
                test.median, test.deviation);
        }
        if (card.tests.size() > kMostTests) {
            tests += fmt::format("; and {}", Plural(card.tests.size() - kMostTests, "more test"));
        }
        text += fmt::format("  {} {}  {}\n", card.host, card.card, card.kind);
        text += Line("slow", tests, columns);
        text += Line("look", LookAtSlow(card), columns);
    }
    return text + More(fleet.slow.size(), kMostRows, "more card");
}

}  // namespace

std::string FleetText(const FleetReport& fleet, const Summary& summary, std::size_t columns,
                      bool colours) {
    std::string counts;
    for (const char* const verdict : {"failed", "lost", "unknown", "not_asked", "degraded"}) {
        if (const std::size_t count = fleet.Count(verdict); count > 0) {
            counts += fmt::format("{} {}, ", count, VerdictInWords(verdict));
        }
    }
    return fmt::format("{}: {}{} healthy\n", Plural(fleet.nodes, "node"), counts, fleet.healthy) +
           CardsText(summary) + NodesText(fleet, columns, colours) +
           GroupsText(summary, columns, colours,
                      [&](const FailureGroup& group) { return LookAtGroup(summary, group); }) +
           DifferencesText(fleet, columns) + SlowText(fleet, columns);
}

}  // namespace zelhealth

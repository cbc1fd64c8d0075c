#include "fleet/FleetView.h"

#include <fmt/format.h>

#include <algorithm>

#include "readers/Colours.h"
#include "readers/DrawnLines.h"
#include "readers/Outcome.h"
#include "report/SummaryText.h"

namespace zelhealth {

namespace {

using Clock = NodeProgress::Clock;

long Seconds(Clock::duration duration) {
    return std::chrono::duration_cast<std::chrono::seconds>(duration).count();
}

bool IsFailing(const NodeProgress& node) {
    return static_cast<Status>(node.status) == Status::critical;
}

std::string CountsLine(const std::vector<NodeProgress>& nodes, Clock::time_point began,
                       Clock::time_point now) {
    const auto count = [&nodes](auto what) {
        return std::count_if(nodes.begin(), nodes.end(), what);
    };
    const auto done = count([](const NodeProgress& node) { return node.ended; });
    const auto failing = count(IsFailing);
    const auto silent = count([now](const NodeProgress& node) { return node.IsSilent(now); });
    const auto waiting = count([](const NodeProgress& node) { return !node.began; });
    std::size_t tests = 0;
    for (const NodeProgress& node : nodes) {
        tests += node.tests;
    }
    return fmt::format("{} of {} done, {} failing, {} silent, {} not begun, {}, {} s", done,
                       Plural(nodes.size(), "node"), failing, silent, waiting,
                       Plural(tests, "test"), Seconds(now - began));
}

}  // namespace

std::vector<std::string> FleetLines(const std::vector<NodeProgress>& nodes, std::size_t rows,
                                    std::size_t columns, bool colours, Clock::time_point began,
                                    Clock::time_point now) {
    std::vector<std::string> lines;
    if (rows == 0) {
        return lines;
    }
    lines.push_back(CutTo(CountsLine(nodes, began, now), columns));
    std::vector<std::string> told;
    for (const NodeProgress& node : nodes) {
        if (IsFailing(node)) {
            told.push_back(
                CutTo(fmt::format("  {} failing: {}", node.name, node.failure), columns));
        }
    }
    for (const NodeProgress& node : nodes) {
        if (node.IsSilent(now)) {
            told.push_back(
                CutTo(fmt::format("  {} silent for {} s", node.name, Seconds(now - node.heard)),
                      columns));
        }
    }
    const std::size_t room = rows - 1;
    const std::size_t shown = told.size() <= room ? told.size() : room > 0 ? room - 1 : 0;
    for (std::size_t i = 0; i < shown; ++i) {
        lines.push_back(Coloured(told[i], "failed", colours));
    }
    if (shown < told.size() && room > 0) {
        lines.push_back(CutTo(fmt::format("  and {} more", told.size() - shown), columns));
    }
    return lines;
}

std::string EndedLine(const NodeProgress& node, bool colours) {
    const std::string verdict(VerdictOf(static_cast<Status>(node.status)));
    return fmt::format("{}: {}{}{}", node.name, Coloured(verdict, verdict, colours),
                       node.failure.empty() ? "" : ": ", node.failure);
}

}  // namespace zelhealth

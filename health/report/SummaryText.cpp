// What many runs come to, as text.
#include <fmt/format.h>

#include <algorithm>

#include "host/Printable.h"
#include "readers/Colours.h"
#include "readers/Report.h"
#include "readers/Wrap.h"
#include "report/Text.h"

namespace zelhealth {

namespace {

constexpr std::size_t kMostGroups = 40;
constexpr std::size_t kMostNames = 12;
constexpr std::size_t kIndent = 9;

std::string Words(std::string_view verdict) {
    std::string words(verdict);
    std::replace(words.begin(), words.end(), '_', ' ');
    return words;
}

std::string Plural(std::uint64_t count, const char* what) {
    return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

// "80 cards: 2 failed, 78 healthy"
std::string CountsLine(const VerdictCounts& counts, const char* what) {
    std::uint64_t all = 0;
    std::vector<std::string> parts;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        all += counts[i];
        if (counts[i] > 0) {
            parts.push_back(fmt::format("{} {}", counts[i], Words(kRunVerdicts[i])));
        }
    }
    return fmt::format("{}{}{}\n", Plural(all, what), parts.empty() ? "" : ": ",
                       fmt::join(parts, ", "));
}

std::string TestsLine(const Summary& summary) {
    std::uint64_t all = 0;
    std::vector<std::string> parts;
    for (const auto& [verdict, count] : summary.Tests()) {
        all += count;
        parts.push_back(fmt::format("{} {}", count, Words(verdict)));
    }
    return fmt::format("{}{}{}\n", Plural(all, "test"), parts.empty() ? "" : ": ",
                       fmt::join(parts, ", "));
}

std::string HostNames(const Summary& summary, const FailureGroup& group) {
    std::vector<std::string> names;
    for (const std::uint32_t host : group.hosts) {
        if (names.size() >= kMostNames) {
            break;
        }
        names.push_back(summary.HostName(host));
    }
    const std::size_t more = group.hosts.size() - names.size();
    return fmt::format("{}{}", fmt::join(names, ", "),
                       more > 0 ? fmt::format(" and {} more", more) : "");
}

std::string GroupText(const Summary& summary, const FailureGroup& group, std::size_t columns,
                      bool colours) {
    const std::string verdict = Words(group.verdict);
    std::string text = fmt::format("\n{}  {}, {}", Coloured(verdict, group.verdict, colours),
                                   Plural(group.hosts.size(), "host"), Plural(group.count, "time"));
    text += group.tests.empty() ? "\n" : fmt::format("  {}\n", fmt::join(group.tests, ", "));
    for (const auto& [label, what] : {std::pair("seen", Printable(group.text)),
                                      {"means", group.means},
                                      {"next", group.next},
                                      {"hosts", HostNames(summary, group)}}) {
        if (!what.empty()) {
            text += fmt::format("  {:<6} {}\n", label, Wrap(what, columns, kIndent));
        }
    }
    return text;
}

std::string BrokenOffText(const Summary& summary) {
    std::string text = summary.BrokenOffCount() > 0 ? "\nbroken off\n" : "";
    std::size_t shown = 0;
    for (const BrokenOff& run : summary.BrokenOffRuns()) {
        if (++shown > kMostGroups) {
            break;
        }
        text += fmt::format("  {}  run {}, last heard of {}\n", run.host, run.run, run.last);
    }
    const std::uint64_t listed =
        std::min<std::uint64_t>(summary.BrokenOffRuns().size(), kMostGroups);
    const std::uint64_t more = summary.BrokenOffCount() - listed;
    return text + (more > 0 ? fmt::format("  and {} more\n", more) : "");
}

}  // namespace

std::string SummaryText(const Summary& summary, std::size_t columns, bool colours) {
    std::string text = fmt::format("{}\n", Plural(summary.Runs(), "run")) +
                       CountsLine(summary.Hosts(), "host") + CountsLine(summary.Cards(), "card") +
                       TestsLine(summary);
    const std::vector<const FailureGroup*> groups = summary.WorstFirst();
    for (std::size_t i = 0; i < std::min(groups.size(), kMostGroups); ++i) {
        text += GroupText(summary, *groups[i], columns, colours);
    }
    if (groups.size() > kMostGroups) {
        text += fmt::format("\n{} more kinds of failures\n", groups.size() - kMostGroups);
    }
    return text + BrokenOffText(summary);
}

}  // namespace zelhealth

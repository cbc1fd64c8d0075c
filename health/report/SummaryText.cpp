#include "report/SummaryText.h"

#include <fmt/format.h>

#include <algorithm>

#include "host/Printable.h"
#include "readers/Colours.h"
#include "readers/Report.h"
#include "readers/Wrap.h"

namespace zelhealth {

namespace {

constexpr std::size_t kMostGroups = 40;
constexpr std::size_t kMostNames = 12;
constexpr std::size_t kIndent = 9;

// "80 cards: 2 failed, 78 healthy"
std::string CountsLine(const VerdictCounts& counts, const char* what) {
    std::uint64_t all = 0;
    std::vector<std::string> parts;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        all += counts[i];
        if (counts[i] > 0) {
            parts.push_back(fmt::format("{} {}", counts[i], VerdictInWords(kRunVerdicts[i])));
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
        parts.push_back(fmt::format("{} {}", count, VerdictInWords(verdict)));
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

std::string GroupText(const Summary& summary, const FailureGroup& group, const std::string& look,
                      std::size_t columns, bool colours) {
    const std::string verdict = VerdictInWords(group.verdict);
    std::string text = fmt::format("\n{}  {}, {}", Coloured(verdict, group.verdict, colours),
                                   Plural(group.hosts.size(), "host"), Plural(group.count, "time"));
    text += group.tests.empty() ? "\n" : fmt::format("  {}\n", fmt::join(group.tests, ", "));
    for (const auto& [label, what] : {std::pair("seen", Printable(group.text)),
                                      {"means", group.means},
                                      {"next", group.next},
                                      {"hosts", HostNames(summary, group)},
                                      {"look", look}}) {
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

std::string Plural(std::uint64_t count, const char* what) {
    return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

std::string VerdictInWords(std::string_view verdict) {
    std::string words(verdict);
    std::replace(words.begin(), words.end(), '_', ' ');
    return words;
}

std::string CardsText(const Summary& summary) {
    return CountsLine(summary.Cards(), "card") + TestsLine(summary);
}

std::string GroupsText(const Summary& summary, std::size_t columns, bool colours,
                       const std::function<std::string(const FailureGroup&)>& look) {
    std::string text;
    const std::vector<const FailureGroup*> groups = summary.WorstFirst();
    for (std::size_t i = 0; i < std::min(groups.size(), kMostGroups); ++i) {
        text += GroupText(summary, *groups[i], look ? look(*groups[i]) : "", columns, colours);
    }
    if (groups.size() > kMostGroups) {
        text += fmt::format("\n{} more kinds of failures\n", groups.size() - kMostGroups);
    }
    return text;
}

std::string SummaryText(const Summary& summary, std::size_t columns, bool colours) {
    return fmt::format("{}\n", Plural(summary.Runs(), "run")) +
           CountsLine(summary.Hosts(), "host") + CardsText(summary) +
           GroupsText(summary, columns, colours) + BrokenOffText(summary);
}

}  // namespace zelhealth

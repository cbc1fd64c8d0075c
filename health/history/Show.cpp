#include "history/Show.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>

#include "catalogue/Messages.h"
#include "host/Printable.h"
#include "readers/Colours.h"
#include "readers/Outcome.h"
#include "readers/Wrap.h"

namespace zelhealth {

namespace {

constexpr std::size_t kIndent = 9;
constexpr std::array<const char*, 5> kVerdicts = {"healthy", "degraded", "failed", "unknown",
                                                  kNotEnded};

std::string Words(std::string verdict) {
    std::replace(verdict.begin(), verdict.end(), '_', ' ');
    return verdict;
}

// "2026-11-21 20:15" of "2026-11-21T20:15:04.123Z".
std::string Minute(const std::string& time) {
    constexpr std::size_t kLength = 16;
    std::string text = Printable(time.substr(0, kLength));
    std::replace(text.begin(), text.end(), 'T', ' ');
    return text;
}

std::string Runs(std::uint64_t count) {
    return fmt::format("{} run{}", count, count == 1 ? "" : "s");
}

// A run is a letter: the last ones of a card, or of a test.
char Letter(const std::string& verdict) {
    static const std::map<std::string, char, std::less<>> kLetters = {
        {"healthy", '.'}, {"passed", '.'},    {"degraded", 'd'}, {"failed", 'F'},
        {"unknown", '?'}, {"timed_out", 'T'}, {"crashed", 'C'},  {kNotEnded, '-'}};
    const auto known = kLetters.find(verdict);
    return known == kLetters.end() ? '?' : known->second;
}

std::string Strip(const std::deque<std::string>& verdicts) {
    std::string strip;
    for (const std::string& verdict : verdicts) {
        strip += Letter(verdict);
    }
    return strip;
}

std::string Head(const History& history, bool colours) {
    std::vector<std::string> parts;
    for (const char* const verdict : kVerdicts) {
        if (const auto count = history.verdicts.find(verdict); count != history.verdicts.end()) {
            parts.push_back(fmt::format("{} {}", count->second, verdict));
        }
    }
    if (history.notEnded > 0) {
        parts.push_back(fmt::format("{} did not end, or {} still going", history.notEnded,
                                    history.notEnded == 1 ? "is" : "are"));
    }
    return fmt::format("{} from {} to {} UTC: {}\nthe last one: {}\n", Runs(history.runs),
                       Minute(history.firstTime), Minute(history.lastTime), fmt::join(parts, ", "),
                       Coloured(Words(history.lastVerdict), history.lastVerdict, colours));
}

bool ShareASlot(const CardHistory& one, const CardHistory& other) {
    return &one != &other && one.pcie == other.pcie;
}

// Columns for verdicts that no card has are left out.
std::string CardTable(const History& history, bool colours) {
    std::array<bool, kVerdicts.size()> wanted{};
    std::size_t widest = 6;
    for (const CardHistory& card : history.cards) {
        for (std::size_t i = 0; i < kVerdicts.size(); ++i) {
            wanted[i] = wanted[i] || i == 0 || card.verdicts.contains(kVerdicts[i]);
        }
        widest = std::max(widest, Printable(CardTitle(history, card)).size());
    }
    std::string text = fmt::format("\n{:<{}} {:<12} {:>6}", "card", widest, "PCIe", "runs");
    for (std::size_t i = 0; i < kVerdicts.size(); ++i) {
        text += wanted[i] ? fmt::format(" {:>9}", Words(kVerdicts[i])) : "";
    }
    text += fmt::format("  {:<10}  last\n", "last 10");
    for (const CardHistory& card : history.cards) {
        text += fmt::format("{:<{}} {:<12} {:>6}", Printable(CardTitle(history, card)), widest,
                            Printable(card.pcie), card.runs);
        for (std::size_t i = 0; i < kVerdicts.size(); ++i) {
            const auto count = card.verdicts.find(kVerdicts[i]);
            text += wanted[i]
                        ? fmt::format(" {:>9}", count == card.verdicts.end() ? 0 : count->second)
                        : "";
        }
        const std::string verdict = card.last.back();
        text += fmt::format("  {:<10}  {} {}\n", Strip(card.last), Minute(card.lastTime),
                            Coloured(Printable(Words(verdict)), verdict, colours));
    }
    return text;
}

std::string ReplacedText(const History& history) {
    std::string text;
    for (std::size_t i = 1; i < history.cards.size(); ++i) {
        const CardHistory& one = history.cards[i - 1];
        const CardHistory& other = history.cards[i];
        if (one.pcie == other.pcie) {
            text += fmt::format("{} has had more than one card: uuid {} and {}\n",
                                Printable(one.pcie), Printable(one.uuid), Printable(other.uuid));
        }
    }
    return text.empty() ? "" : "\n" + text;
}

// The worst first: what fails now, what comes and goes, what is over.
int Order(const Trend& trend) {
    switch (trend.What()) {
        case Trend::Kind::failing:
            return 0;
        case Trend::Kind::unsteady:
            return 1;
        case Trend::Kind::mended:
            return 2;
        case Trend::Kind::good:
            break;
    }
    return 3;
}

std::vector<const TestHistory*> TroubledTests(const History& history) {
    std::vector<const TestHistory*> failed;
    for (const TestHistory& test : history.tests) {
        if (test.trend.Failed() > 0 || test.trend.Silent() > 0) {
            failed.push_back(&test);
        }
    }
    std::stable_sort(failed.begin(), failed.end(), [](const auto* one, const auto* other) {
        return Order(one->trend) < Order(other->trend);
    });
    return failed;
}

std::string NameOf(const TestHistory& test) {
    return test.name + (test.options.empty() ? "" : " " + test.options);
}

// What is said alike of tests of a card, such as of all where it does not answer.
struct Trouble {
    std::size_t card = 0;
    std::string tests;
    bool now = false;
    bool waived = false;
    std::string text;
};

std::string LinesOf(const Trend& trend, std::size_t columns) {
    const bool failed = trend.Failed() > 0;
    const Advice advice =
        AdviceFor({trend.Seen()}, trend.Seen(), failed ? trend.FailedAs() : trend.SilentAs());
    const std::string counts =
        !failed ? ""
                : fmt::format("{} of {}, first {}, last {}", trend.Failed(), Runs(trend.Judged()),
                              Minute(trend.FirstFailed()), Minute(trend.LastFailed()));
    const std::string silent = trend.Silent() == 0
                                   ? ""
                                   : fmt::format("not judged in the last {}: {}",
                                                 Runs(trend.Silent()), Words(trend.SilentAs()));
    std::string text;
    for (const auto& [label, what] : {std::pair("is", FateOf(trend)),
                                      {"failed", counts},
                                      {"last", Strip(trend.Last())},
                                      {"but", silent},
                                      {"seen", trend.Seen()},
                                      {"means", advice.means},
                                      {"next", advice.next}}) {
        if (!what.empty()) {
            text += fmt::format("  {:<6} {}\n", label, Wrap(Printable(what), columns, kIndent));
        }
    }
    return text;
}

std::vector<Trouble> Troubles(const History& history, std::size_t columns) {
    std::vector<Trouble> troubles;
    for (const TestHistory* const test : TroubledTests(history)) {
        const Trend& trend = test->trend;
        Trouble trouble{test->card, Printable(TestTitle(history, *test)),
                        trend.What() == Trend::Kind::failing, trend.Waived(),
                        LinesOf(trend, columns)};
        const auto same =
            std::find_if(troubles.begin(), troubles.end(), [&trouble](const Trouble& other) {
                return other.card == trouble.card && other.now == trouble.now &&
                       other.waived == trouble.waived && other.text == trouble.text;
            });
        if (same == troubles.end()) {
            troubles.push_back(std::move(trouble));
        } else {
            same->tests += ", " + Printable(NameOf(*test));
        }
    }
    return troubles;
}

std::string TroubleText(const Trouble& trouble, std::size_t columns, bool colours) {
    return "\n" +
           Coloured(Wrap(trouble.tests, columns, 0), trouble.now ? "failed" : "degraded", colours) +
           (trouble.waived ? "  waived\n" : "\n") + trouble.text;
}

constexpr std::size_t kTitleColumns = 24;

std::string TimeLine(const std::string& title, std::size_t widest, const Durations& all,
                     double recent, const std::string& drift) {
    return fmt::format("{:<{}} {:>7} {:>9.2f} {:>9.2f} {:>9.2f} {:>9}  {}\n", title, widest,
                       all.Count(), all.Fastest(), all.Median(), all.Slowest(),
                       recent > 0 ? fmt::format("{:.2f}", recent) : "", drift);
}

std::string Trimmed(std::string text) {
    for (std::size_t end = text.find(" \n"); end != text.npos; end = text.find(" \n")) {
        text.erase(end, 1);
    }
    return text;
}

std::string TimesText(const History& history, bool all) {
    std::map<std::string, Durations> byTest;
    std::string lines;
    std::string drifts;
    std::size_t widest = kTitleColumns;
    for (const TestHistory& test : history.tests) {
        widest = all ? std::max(widest, Printable(TestTitle(history, test)).size()) : widest;
    }
    for (const TestHistory& test : history.tests) {
        const Trend& trend = test.trend;
        if (trend.All().Count() == 0) {
            continue;
        }
        const std::string title = Printable(TestTitle(history, test));
        const std::string drift = DriftOf(trend);
        byTest[test.name].Join(trend.All());
        lines += all ? TimeLine(title, widest, trend.All(), trend.RecentMedian(), drift) : "";
        drifts += drift.empty() ? "" : fmt::format("{}: {}\n", title, drift);
    }
    if (byTest.empty()) {
        return "";
    }
    for (const auto& [name, durations] : byTest) {
        lines += all ? "" : TimeLine(Printable(name), widest, durations, 0, "");
    }
    const std::string heading =
        fmt::format("\n{:<{}} {:>7} {:>9} {:>9} {:>9} {:>9}\n", "seconds", widest, "passed",
                    "fastest", "median", "slowest", all ? "last 10" : "");
    return Trimmed(heading + lines) + (all || drifts.empty() ? "" : "\n" + drifts);
}

}  // namespace

std::string CardTitle(const History& history, const CardHistory& card) {
    constexpr std::size_t kLeast = 8;
    std::size_t length = 0;
    for (const CardHistory& other : history.cards) {
        if (ShareASlot(card, other)) {
            const auto differ = std::mismatch(card.uuid.begin(), card.uuid.end(),
                                              other.uuid.begin(), other.uuid.end());
            const auto same = static_cast<std::size_t>(differ.first - card.uuid.begin());
            length = std::max({length, kLeast, same + 1});
        }
    }
    return length == 0 ? card.name
                       : fmt::format("{} (uuid {})", card.name, card.uuid.substr(0, length));
}

std::string TestTitle(const History& history, const TestHistory& test) {
    return CardTitle(history, history.cards[test.card]) + " " + NameOf(test);
}

std::string FateOf(const Trend& trend) {
    const std::string row = fmt::format("{} in a row", Runs(trend.InARow()));
    const std::string ofLast =
        fmt::format("{} of the last {}", trend.FailedOfLast(), Runs(trend.Last().size()));
    switch (trend.What()) {
        case Trend::Kind::failing:
            return trend.Failed() == trend.Judged()
                       ? fmt::format("has never passed: failed in {}", Runs(trend.Judged()))
                       : fmt::format("fails since {}: {}", Minute(trend.Since()), row);
        case Trend::Kind::unsteady:
            return fmt::format("comes and goes: failed {}{}", ofLast,
                               IsFailure(trend.Last().back()) ? ", and fails now" : "");
        case Trend::Kind::mended:
            return fmt::format("passes since {}: {}", Minute(trend.Since()), row);
        case Trend::Kind::good:
            break;
    }
    return "";
}

std::string DriftOf(const Trend& trend) {
    constexpr double kPercent = 100;
    const double drift = trend.Drift();
    return drift == 0 ? ""
                      : fmt::format("{:.0f}% {} in the last {}: {:.2f} s",
                                    std::abs(drift) * kPercent, drift > 0 ? "slower" : "faster",
                                    Runs(Trend::kLast), trend.RecentMedian());
}

std::string HistoryText(const History& history, std::size_t columns, bool colours, bool all) {
    std::string text = Head(history, colours) + CardTable(history, colours) + ReplacedText(history);
    for (const Trouble& trouble : Troubles(history, columns)) {
        text += TroubleText(trouble, columns, colours);
    }
    return text + TimesText(history, all);
}

}  // namespace zelhealth

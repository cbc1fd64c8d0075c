#include "readers/PluginLine.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "host/Printable.h"

namespace zelhealth {

namespace {

// What monitors show of it.
constexpr std::size_t kLongestText = 800;
// What is read as a node's reason: 200 bytes with the points that stand for the rest.
constexpr std::size_t kLongestReason = 197;
constexpr std::array<const char*, 4> kNames = {"OK", "WARNING", "CRITICAL", "UNKNOWN"};

int CountOf(const std::map<std::string, int>& counts, const std::string& name) {
    const auto count = counts.find(name);
    return count == counts.end() ? 0 : count->second;
}

// Of "zel12" its number, so that cards stand in their order; whatever is no such name comes behind them.
unsigned long PlaceOf(const std::string& card) {
    constexpr std::size_t kPrefix = 3;
    constexpr std::size_t kDigits = 6;
    const bool isNumbered = card.starts_with("zel") && card.size() > kPrefix &&
                            card.size() <= kPrefix + kDigits &&
                            card.find_first_not_of("0123456789", kPrefix) == std::string::npos;
    return isNumbered ? std::stoul(card.substr(kPrefix))
                      : std::numeric_limits<unsigned long>::max();
}

// What begins the performance data has no place in the text.
std::string Plain(std::string text) {
    text = Printable(text);
    std::replace(text.begin(), text.end(), '|', '/');
    return text;
}

// "Link trained down to 8 Lanes" for "Link trained down", where a line of the trace goes on so.
std::string Fuller(const std::string& text, const Json& record) {
    const Json evidence = record.value("evidence", Json::object());
    for (const Json& line : evidence.value("err", Json::array())) {
        const std::string whole = line.is_string() ? line.get<std::string>() : "";
        const std::size_t found = text.empty() ? whole.npos : whole.find(text);
        if (found != whole.npos && whole.substr(found + text.size()).starts_with(' ')) {
            const std::string fuller = whole.substr(found);
            return fuller.substr(0, fuller.find_last_not_of(" \r\n") + 1);
        }
    }
    return text;
}

}  // namespace

// "pcie.vlw (and 10 more)"
std::string PluginLine::Trouble::Tests() const {
    return others.empty() ? test : fmt::format("{} (and {} more)", test, others.size());
}

std::string PluginLine::ForMonitors(const Trouble& trouble) {
    const std::string card = trouble.card.empty() ? "" : trouble.card + ": ";
    return card + (trouble.test.empty() ? "" : trouble.Tests() + " ") + trouble.text;
}

// "zelhealth" says whose reason it is where no card does.
std::string PluginLine::ForSchedulers(const Trouble& trouble) {
    const std::string card = trouble.card.empty() ? "zelhealth" : trouble.card;
    return card + (trouble.test.empty() ? "" : " " + trouble.Tests()) + ": " + trouble.fullText;
}

void PluginLine::Note(Status status, Trouble trouble) {
    for (std::string* const text :
         {&trouble.card, &trouble.test, &trouble.text, &trouble.fullText}) {
        *text = Plain(*text);
    }
    if (status == Status::ok) {
        return;
    }
    std::vector<Trouble>& troubles = status == Status::critical ? critical_ : others_;
    const auto same = std::find_if(troubles.begin(), troubles.end(), [&](const Trouble& other) {
        return other.card == trouble.card && other.test.empty() == trouble.test.empty() &&
               other.text == trouble.text && other.fullText == trouble.fullText;
    });
    if (same == troubles.end()) {
        troubles.push_back(std::move(trouble));
    } else if (trouble.test != same->test) {
        same->others.insert(trouble.test);
    }
}

void PluginLine::Read(const Json& record) {
    const std::string kind = record.value("record", "");
    if (kind == "run_started") {
        found_ = static_cast<int>(record.value("found", Json::array()).size());
        expected_ = static_cast<int>(record.value("expected", Json::array()).size());
    } else if (kind == "test_finished") {
        ++tests_[record.value("verdict", "")];
        const std::string reason = record.value("reason", "");
        const std::string note =
            record.contains("waived") ? " (" + record.value("waived", "") + ")" : "";
        Note(StatusOfTest(record),
             {record.value("card", ""), record.value("group", "") + "." + record.value("test", ""),
              reason + note, Fuller(reason, record) + note});
    } else if (kind == "card_finished" || kind == "run_note") {
        if (kind == "card_finished") {
            ++cards_[record.value("verdict", "")];
        }
        for (const Json& reason : record.value("reasons", Json::array())) {
            const std::string text = reason.value("text", "");
            // One that nobody knows counts as one that could not be answered.
            const int status = std::clamp(reason.value("status", 3), 0, 3);
            Note(static_cast<Status>(status), {record.value("card", ""), "", text, text});
        }
    } else if (kind == "run_finished") {
        finished_ = record;
    }
}

void PluginLine::Add(Status status, const std::string& text) {
    added_ = Worse(added_, status);
    Note(Status::unknown, {"", "", text, text});
}

std::vector<PluginLine::Trouble> PluginLine::Troubles() const {
    std::vector<Trouble> troubles = critical_;
    troubles.insert(troubles.end(), others_.begin(), others_.end());
    return troubles;
}

std::string PluginLine::Healthy() const {
    const int healthy = CountOf(cards_, "healthy");
    return fmt::format("{} card{} healthy", healthy, healthy == 1 ? "" : "s");
}

std::string PluginLine::Reason() const {
    std::vector<Trouble> troubles = critical_.empty() ? others_ : critical_;
    // Cards are tested side by side: the same faults are the same reason, whichever card was done first.
    std::stable_sort(troubles.begin(), troubles.end(), [](const Trouble& a, const Trouble& b) {
        return PlaceOf(a.card) < PlaceOf(b.card);
    });
    std::vector<std::string> texts;
    for (const Trouble& trouble : troubles) {
        texts.push_back(ForSchedulers(trouble));
    }
    const bool brokenOff = finished_.is_null() && added_ == Status::ok;
    const std::string text = brokenOff       ? "zelhealth: the run was broken off"
                             : texts.empty() ? Healthy()
                                             : fmt::format("{}", fmt::join(texts, "; "));
    return Bounded(text, kLongestReason);
}

std::string PluginLine::Text() const {
    const auto finished = static_cast<Status>(
        finished_.is_null() ? 3 : std::clamp(finished_.value("status", 3), 0, 3));
    const Status status = Worse(finished, added_);
    std::vector<std::string> troubles;
    for (const Trouble& trouble : Troubles()) {
        troubles.push_back(ForMonitors(trouble));
    }
    const bool brokenOff = finished_.is_null() && added_ == Status::ok;
    std::string text = brokenOff          ? "the run was broken off"
                       : troubles.empty() ? Healthy()
                                          : fmt::format("{}", fmt::join(troubles, "; "));
    text = Bounded(text, kLongestText);
    const int all = expected_;
    return fmt::format(
        "ZEL {} - {} | cards={};;;0;{} healthy={};;;0;{} failed={};;;0;{} tests_passed={} "
        "tests_failed={} tests_not_judged={} time={:.2f}s",
        kNames[static_cast<std::size_t>(status)], text, found_, all, CountOf(cards_, "healthy"),
        all, CountOf(cards_, "failed"), all, CountOf(tests_, "passed"),
        CountOf(tests_, "failed") + CountOf(tests_, "timed_out") + CountOf(tests_, "crashed"),
        CountOf(tests_, "skipped") + CountOf(tests_, "not_run") + CountOf(tests_, "setup"),
        finished_.is_null() ? 0.0 : finished_.value("seconds", 0.0));
}

}  // namespace zelhealth

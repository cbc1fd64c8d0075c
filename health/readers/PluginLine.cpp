#include "readers/PluginLine.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "host/Printable.h"

namespace zelhealth {

namespace {

// What monitors show of it.
constexpr std::size_t kLongestText = 800;
constexpr std::array<const char*, 4> kNames = {"OK", "WARNING", "CRITICAL", "UNKNOWN"};

int CountOf(const std::map<std::string, int>& counts, const std::string& name) {
    const auto count = counts.find(name);
    return count == counts.end() ? 0 : count->second;
}

// What begins the performance data has no place in the text.
std::string Plain(std::string text) {
    text = Printable(text);
    std::replace(text.begin(), text.end(), '|', '/');
    return text;
}

}  // namespace

void PluginLine::Read(const Json& record) {
    const std::string kind = record.value("record", "");
    if (kind == "run_started") {
        found_ = static_cast<int>(record.value("found", Json::array()).size());
        expected_ = static_cast<int>(record.value("expected", Json::array()).size());
    } else if (kind == "test_finished") {
        ++tests_[record.value("verdict", "")];
        const Status status = StatusOfTest(record);
        const std::string text =
            fmt::format("{}: {}.{} {}", record.value("card", ""), record.value("group", ""),
                        record.value("test", ""), record.value("reason", ""));
        const std::string note =
            record.contains("waived") ? " (" + record.value("waived", "") + ")" : "";
        if (status != Status::ok) {
            (status == Status::critical ? critical_ : others_).push_back(Plain(text + note));
        }
    } else if (kind == "card_finished" || kind == "run_note") {
        if (kind == "card_finished") {
            ++cards_[record.value("verdict", "")];
        }
        for (const Json& reason : record.value("reasons", Json::array())) {
            const int status = reason.value("status", 3);
            const std::string card = record.value("card", "");
            const std::string text = (card.empty() ? "" : card + ": ") + reason.value("text", "");
            if (status != 0) {
                (status == 2 ? critical_ : others_).push_back(Plain(text));
            }
        }
    } else if (kind == "run_finished") {
        finished_ = record;
    }
}

void PluginLine::Add(Status status, const std::string& text) {
    added_ = Worse(added_, status);
    others_.push_back(Plain(text));
}

std::string PluginLine::Text() const {
    const auto finished = static_cast<Status>(
        finished_.is_null() ? 3 : std::clamp(finished_.value("status", 3), 0, 3));
    const Status status = Worse(finished, added_);
    std::vector<std::string> troubles = critical_;
    troubles.insert(troubles.end(), others_.begin(), others_.end());
    const int healthy = CountOf(cards_, "healthy");
    std::string text = finished_.is_null() ? "the run was broken off"
                       : troubles.empty()
                           ? fmt::format("{} card{} healthy", healthy, healthy == 1 ? "" : "s")
                           : fmt::format("{}", fmt::join(troubles, "; "));
    text = Bounded(text, kLongestText);
    const int all = expected_;
    return fmt::format(
        "ZEL {} - {} | cards={};;;0;{} healthy={};;;0;{} failed={};;;0;{} tests_passed={} "
        "tests_failed={} tests_not_judged={} time={:.2f}s",
        kNames[static_cast<std::size_t>(status)], text, found_, all, healthy, all,
        CountOf(cards_, "failed"), all, CountOf(tests_, "passed"),
        CountOf(tests_, "failed") + CountOf(tests_, "timed_out") + CountOf(tests_, "crashed"),
        CountOf(tests_, "skipped") + CountOf(tests_, "not_run") + CountOf(tests_, "setup"),
        finished_.is_null() ? 0.0 : finished_.value("seconds", 0.0));
}

}  // namespace zelhealth

#include "report/Metrics.h"

#include <fmt/format.h>

#include <algorithm>
#include <ctime>
#include <iterator>
#include <optional>

#include "readers/Outcome.h"
#include "report/CardSamples.h"

namespace zelhealth {

namespace {

// Hosts beyond are left out: no monitor collects so many from one file.
constexpr std::size_t kMostHosts = 100000;
constexpr std::size_t kMostTests = 1000;

// "2026-11-21T20:15:04.123Z"
std::optional<double> SecondsSince1970(const std::string& time) {
    std::tm parts{};
    const char* const rest = strptime(time.c_str(), "%Y-%m-%dT%H:%M:%S", &parts);
    double fraction = 0;
    if (rest == nullptr || std::sscanf(rest, "%lfZ", &fraction) != 1 || fraction < 0 ||
        fraction >= 1) {
        return std::nullopt;
    }
    return static_cast<double>(timegm(&parts)) + fraction;
}

std::string HostLabel(const std::string& name) {
    return "host=" + LabelValue(name);
}

class MetricsRun : public RunReader {
public:
    MetricsRun(Metrics& metrics, RunName name) : metrics_(metrics), name_(std::move(name)) {}

    void Read(const Json& record) override {
        end_.Read(record);
        cells_.Read(record);
    }

    void End() override { metrics_.Add(name_, end_, cells_); }

private:
    Metrics& metrics_;
    RunName name_;
    RunEnd end_;
    Cells cells_;
};

}  // namespace

std::string LabelValue(std::string_view text) {
    std::string value = "\"";
    for (const char c : ShortName(text)) {
        value += c == '"' || c == '\\' ? "\\" : "";
        value += c;
    }
    return value + "\"";
}

Metrics::Metrics(const std::string& file) : file_(file) {}

std::unique_ptr<RunReader> Metrics::Begin(const RunName& name) {
    return std::make_unique<MetricsRun>(*this, name);
}

// Nothing for a test beyond what any catalogue has.
std::optional<std::uint32_t> Metrics::IndexOf(const std::string& test) {
    if (const auto known = indices_.find(test); known != indices_.end()) {
        return known->second;
    }
    if (tests_.size() >= kMostTests) {
        return std::nullopt;
    }
    tests_.push_back(",test=" + LabelValue(test));
    return indices_.emplace(test, tests_.size() - 1).first->second;
}

void Metrics::Add(const RunName& name, const RunEnd& end, const Cells& cells) {
    const std::string hostName = ShortName(name.host);
    if (hosts_.size() >= kMostHosts && !hosts_.contains(hostName)) {
        return;
    }
    Host& host = hosts_[hostName];
    // Runs' names sort as they came.
    if (name.run < host.run) {
        return;
    }
    std::vector<CardSamples> samples;
    for (const CardCells& card : cells.Cards()) {
        CardSamples& sample = samples.emplace_back();
        sample.labels =
            fmt::format(",card={},pcie={}", LabelValue(card.card), LabelValue(card.pcie));
        sample.healthy = end.Finished() && card.verdict == "healthy";
        sample.memoryBytes = card.memoryBytes;
        for (const auto& [test, cell] : card.tests) {
            if (const auto index = IndexOf(test)) {
                const auto badness = static_cast<std::uint32_t>(Badness(cell.verdict));
                sample.tests.push_back({*index, badness, cell.seconds});
            }
        }
    }
    host = {name.run,       SecondsSince1970(end.LastTime()), end.Seconds(), end.Status(),
            end.Finished(), spool_.Add(Packed(samples))};
}

template <typename Function>
void Metrics::ForEachCard(const Function& function) const {
    for (const auto& [name, host] : hosts_) {
        const std::string labels = HostLabel(name);
        for (const CardSamples& card : Unpacked(spool_.Read(host.cards))) {
            function(labels, card);
        }
    }
}

void Metrics::Family(std::string_view name, std::string_view help) {
    file_.Write(
        fmt::format("# HELP zelhealth_{} {}\n# TYPE zelhealth_{} gauge\n", name, help, name));
}

template <typename... Labels>
void Metrics::Sample(std::string_view name, double value, const Labels&... labels) {
    line_.assign("zelhealth_").append(name).append("{");
    (line_.append(labels), ...);
    fmt::format_to(std::back_inserter(line_), "}} {:.15g}\n", value);
    file_.Write(line_);
}

void Metrics::WriteRuns() {
    Family("last_run_timestamp_seconds",
           "When the last record of the host's last run was written.");
    for (const auto& [name, host] : hosts_) {
        if (host.time) {
            Sample("last_run_timestamp_seconds", *host.time, HostLabel(name));
        }
    }
    Family("last_run_finished", "1 when the run came to its end, 0 when it was broken off.");
    for (const auto& [name, host] : hosts_) {
        Sample("last_run_finished", host.finished ? 1 : 0, HostLabel(name));
    }
    Family("last_run_status",
           "The run's exit status, that of monitoring plugins; 3 when it was broken off.");
    for (const auto& [name, host] : hosts_) {
        Sample("last_run_status", host.status, HostLabel(name));
    }
    Family("last_run_verdict", "1 for the run's verdict, 0 for the others.");
    for (const auto& [name, host] : hosts_) {
        const std::string_view own =
            host.finished ? VerdictOf(static_cast<Status>(host.status)) : "broken_off";
        for (const char* const verdict :
             {"healthy", "degraded", "failed", "unknown", "broken_off"}) {
            Sample("last_run_verdict", own == verdict ? 1 : 0, HostLabel(name), ",verdict=\"",
                   verdict, "\"");
        }
    }
    Family("last_run_duration_seconds", "How long the run took.");
    for (const auto& [name, host] : hosts_) {
        if (host.finished) {
            Sample("last_run_duration_seconds", host.seconds, HostLabel(name));
        }
    }
}

void Metrics::WriteCards() {
    Family("card_healthy", "1 when the run came to its end and found the card healthy.");
    ForEachCard([this](const std::string& host, const CardSamples& card) {
        Sample("card_healthy", card.healthy ? 1 : 0, host, card.labels);
    });
    Family("card_memory_bytes", "The card's memory, where it was told.");
    ForEachCard([this](const std::string& host, const CardSamples& card) {
        if (card.memoryBytes > 0) {
            Sample("card_memory_bytes", card.memoryBytes, host, card.labels);
        }
    });
}

void Metrics::WriteTests() {
    Family("test_verdict",
           "1, with the verdict of the test; the worst where it ran more than once.");
    ForEachCard([this](const std::string& host, const CardSamples& card) {
        for (const TestSample& sample : card.tests) {
            Sample("test_verdict", 1, host, card.labels, tests_[sample.test], ",verdict=\"",
                   VerdictOfBadness(sample.badness), "\"");
        }
    });
    Family("test_duration_seconds",
           "How long the test took; the longest where it ran more than once.");
    ForEachCard([this](const std::string& host, const CardSamples& card) {
        for (const TestSample& sample : card.tests) {
            Sample("test_duration_seconds", sample.seconds, host, card.labels, tests_[sample.test]);
        }
    });
}

void Metrics::Close() {
    WriteRuns();
    WriteCards();
    WriteTests();
    file_.Write("# EOF\n");
    file_.Commit();
}

}  // namespace zelhealth

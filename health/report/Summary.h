// What many runs come to: verdicts by hosts, failures that are alike told once, and some of them in full. It holds
// no result of a test that passed, so that a fleet's report needs little more memory than a host's.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "readers/Outcome.h"
#include "report/Durations.h"
#include "report/Output.h"
#include "report/RunEnd.h"

namespace zelhealth {

// The verdicts of runs and cards, worst first.
inline constexpr std::array<std::string_view, 5> kRunVerdicts = {"failed", "unknown", "broken_off",
                                                                 "degraded", "healthy"};
using VerdictCounts = std::array<std::uint64_t, kRunVerdicts.size()>;

// Failures that say the same.
struct FailureGroup {
    Status status = Status::ok;
    std::string verdict;  // of the tests; "card" and "run" for what was found beside tests
    std::string text;
    std::string means;  // empty where the catalogue does not say
    std::string next;
    std::uint64_t count = 0;
    std::set<std::string> tests;
    std::vector<std::uint32_t> hosts;  // sorted indices; no more than kMostHostsOfGroup

    static constexpr std::size_t kMostHostsOfGroup = 20000;
};

// A failure in full.
struct Incident {
    std::uint32_t group = 0;
    std::uint32_t host = 0;
    std::string run;
    std::string time;
    std::string card;
    std::string test;  // "pcie.vlw (round 2)"; empty for what was found beside tests
    double seconds = 0;
    std::string note;  // of a waiver
    std::string mend;
    std::vector<std::string> out;
    std::vector<std::string> err;
};

struct BrokenOff {
    std::string host;
    std::string run;
    std::string last;  // the time of its last record
};

class Summary : public Output {
public:
    std::unique_ptr<RunReader> Begin(const RunName& name) override;
    void Close() override {}

    std::uint64_t Runs() const { return runs_; }

    // Of each host's last run.
    VerdictCounts Hosts() const;
    VerdictCounts Cards() const;

    // Of all runs, by verdict.
    const std::map<std::string, std::uint64_t, std::less<>>& Tests() const { return tests_; }

    const std::string& HostName(std::uint32_t index) const { return hosts_[index].name; }

    // Worst first.
    std::vector<const FailureGroup*> WorstFirst() const;
    std::uint32_t IndexOf(const FailureGroup& group) const;

    const std::vector<Incident>& Incidents() const { return incidents_; }
    std::uint64_t IncidentsLeftOut() const { return leftOut_; }

    const std::vector<BrokenOff>& BrokenOffRuns() const { return brokenOff_; }
    std::uint64_t BrokenOffCount() const { return brokenOffCount_; }

    // By "pcie.vlw": of tests that were judged.
    const std::map<std::string, Durations>& Times() const { return times_; }

private:
    friend class SummaryRun;

    struct Host {
        std::string name;
        std::string run;
        std::string_view verdict;
        VerdictCounts cards{};
    };

    std::uint32_t HostOf(const std::string& name);
    void AddTest(std::uint32_t host, const RunName& name, const Json& record);
    void AddReason(std::uint32_t host, const RunName& name, const Json& record, const Json& reason);
    std::uint32_t AddToGroup(std::uint32_t host, Status status, std::string_view verdict,
                             const std::string& text);
    void AddIncident(Incident incident, const Json& record);
    void AddEnd(std::uint32_t host, const RunName& name, const RunEnd& end,
                const VerdictCounts& cards);

    std::uint64_t runs_ = 0;
    std::vector<Host> hosts_;
    std::unordered_map<std::string, std::uint32_t> hostIndices_;
    std::map<std::string, std::uint64_t, std::less<>> tests_;
    std::deque<FailureGroup> groups_;  // stay where they are
    std::unordered_map<std::string, std::uint32_t> groupIndices_;
    std::vector<Incident> incidents_;
    std::array<std::size_t, 4> incidentsOf_{};  // by status
    std::map<std::uint32_t, std::size_t> incidentsOfGroup_;
    std::size_t evidenceBytes_ = 0;
    std::uint64_t leftOut_ = 0;
    std::vector<BrokenOff> brokenOff_;
    std::uint64_t brokenOffCount_ = 0;
    std::map<std::string, Durations> times_;
};

}  // namespace zelhealth

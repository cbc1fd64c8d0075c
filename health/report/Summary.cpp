#include "report/Summary.h"

#include <fmt/format.h>

#include <algorithm>

#include "catalogue/Messages.h"
#include "record/Fields.h"
#include "report/Cells.h"

namespace zelhealth {

namespace {

constexpr std::size_t kMostHosts = 200000;
constexpr std::size_t kMostGroups = 500;
constexpr std::size_t kMostTestNames = 64;
constexpr std::size_t kMostBrokenOff = 1000;
constexpr std::size_t kMostIncidentsOfGroup = 100;
constexpr std::size_t kMostEvidence = 2500UL * 1000;
constexpr std::size_t kLongestText = 400;

// By status: what is worst has most room, and nothing takes that of another.
constexpr std::array<std::size_t, 4> kMostIncidents = {0, 300, 1500, 300};

constexpr char kOthers[] = "(what is too varied to be told apart)";

std::size_t IndexOfVerdict(std::string_view verdict) {
    const auto* const known = std::find(kRunVerdicts.begin(), kRunVerdicts.end(), verdict);
    return known == kRunVerdicts.end() ? 1 : static_cast<std::size_t>(known - kRunVerdicts.begin());
}

std::string Text(const std::string& text) {
    return Bounded(text, kLongestText);
}

// "zel1 is not there" is what "zel2 is not there" says, too.
std::string WithoutName(std::string_view text, const std::string& card) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    std::string without;
    while (!card.empty()) {
        const std::size_t at = text.find(card);
        if (at == std::string_view::npos) {
            break;
        }
        const std::size_t behind = at + card.size();
        const bool whole = behind == text.size() || !isDigit(text[behind]);
        without.append(text.substr(0, at)).append(whole ? "the card" : card);
        text.remove_prefix(behind);
    }
    return without.append(text);
}

bool WasJudged(std::string_view verdict) {
    return verdict == "passed" || verdict == "failed" || verdict == "timed_out";
}

}  // namespace

class SummaryRun : public RunReader {
public:
    SummaryRun(Summary& summary, RunName name)
        : summary_(summary), name_(std::move(name)), host_(summary.HostOf(name_.host)) {}

    void Read(const Json& record) override {
        end_.Read(record);
        const std::string& kind = TextOf(record, "record");
        if (kind == "test_finished") {
            summary_.AddTest(host_, name_, record);
        } else if (kind == "card_started") {
            ++started_;
        } else if (kind == "card_finished") {
            ++finished_;
            ++cards_[IndexOfVerdict(TextOf(record, "verdict"))];
        }
        if (kind == "card_finished" || kind == "run_note") {
            for (const Json& reason : ListOf(record, "reasons")) {
                summary_.AddReason(host_, name_, record, reason);
            }
        }
    }

    void End() override {
        VerdictCounts cards = cards_;
        if (!end_.Finished()) {
            cards = {};
            cards[IndexOfVerdict("failed")] = cards_[IndexOfVerdict("failed")];
        }
        std::uint64_t counted = 0;
        for (const std::uint64_t count : cards) {
            counted += count;
        }
        cards[IndexOfVerdict("broken_off")] = std::max(started_, finished_) - counted;
        summary_.AddEnd(host_, name_, end_, cards);
    }

private:
    Summary& summary_;
    RunName name_;
    std::uint32_t host_;
    RunEnd end_;
    std::uint64_t started_ = 0;
    std::uint64_t finished_ = 0;
    VerdictCounts cards_{};
};

std::unique_ptr<RunReader> Summary::Begin(const RunName& name) {
    ++runs_;
    return std::make_unique<SummaryRun>(*this, name);
}

// All hosts beyond the bound are one.
std::uint32_t Summary::HostOf(const std::string& name) {
    const std::string shown = hosts_.size() < kMostHosts ? ShortName(name) : "(others)";
    const auto [place, fresh] =
        hostIndices_.try_emplace(shown, static_cast<std::uint32_t>(hosts_.size()));
    if (fresh) {
        hosts_.push_back({shown, "", "broken_off", {}});
    }
    return place->second;
}

void Summary::AddTest(std::uint32_t host, const RunName& name, const Json& record) {
    const std::string_view verdict = KnownVerdict(record);
    const auto counted = tests_.find(verdict);
    ++(counted == tests_.end() ? tests_.emplace(verdict, 0).first : counted)->second;
    const std::string test = ShortName(TextOf(record, "group") + "." + TextOf(record, "test"));
    if (WasJudged(verdict) && (times_.size() < kMostTestNames || times_.contains(test))) {
        times_[test].Add(NumberOf(record, "seconds"));
    }
    if (verdict == "passed" || verdict == "unsupported") {
        return;
    }
    const bool waived = record.contains("waived");
    const std::string text = TextOf(record, "reason") + (waived ? " (waived)" : "");
    const std::uint32_t index = AddToGroup(host, StatusOfTest(record), verdict, text);
    FailureGroup& group = groups_[index];
    if (group.tests.size() < kMostTestNames) {
        group.tests.insert(test);
    }
    if (group.next.empty()) {
        const Advice advice = AdviceFor(TextsOf(record, "messages"), record.value("reason", ""),
                                        std::string(verdict));
        group.means = advice.means;
        group.next = advice.next;
    }
    const double round = NumberOf(record, "round");
    Incident incident;
    incident.group = index;
    incident.host = host;
    incident.run = ShortName(name.run);
    incident.test = round > 1 ? fmt::format("{} (round {:.0f})", test, round) : test;
    AddIncident(std::move(incident), record);
}

void Summary::AddIncident(Incident incident, const Json& record) {
    const auto status = static_cast<std::size_t>(groups_[incident.group].status);
    std::size_t& ofGroup = incidentsOfGroup_[incident.group];
    if (incidentsOf_[status] >= kMostIncidents[status] || ofGroup >= kMostIncidentsOfGroup) {
        ++leftOut_;
        return;
    }
    ++incidentsOf_[status];
    ++ofGroup;
    incident.time = ShortName(TextOf(record, "time"));
    incident.card = ShortName(TextOf(record, "card"));
    incident.seconds = NumberOf(record, "seconds");
    incident.note = Text(TextOf(record, record.contains("waived") ? "waived" : "waiver_expired"));
    incident.mend = Text(TextOf(record, "mend"));
    const auto evidence = record.find("evidence");
    if (evidence != record.end() && evidenceBytes_ < kMostEvidence) {
        incident.out = TextsOf(*evidence, "out");
        incident.err = TextsOf(*evidence, "err");
        for (const auto* const lines : {&incident.out, &incident.err}) {
            for (const std::string& line : *lines) {
                evidenceBytes_ += line.size();
            }
        }
    }
    incidents_.push_back(std::move(incident));
}

void Summary::AddReason(std::uint32_t host, const RunName& name, const Json& record,
                        const Json& reason) {
    const Status status = StatusOfReasons(Json::array({reason}));
    if (status == Status::ok) {
        return;
    }
    const std::string& card = TextOf(record, "card");
    Incident incident;
    incident.group = AddToGroup(host, status, card.empty() ? "run" : "card",
                                WithoutName(TextOf(reason, "text"), card));
    incident.host = host;
    incident.run = ShortName(name.run);
    AddIncident(std::move(incident), record);
}

// Gives the group's index.
std::uint32_t Summary::AddToGroup(std::uint32_t host, Status status, std::string_view verdict,
                                  const std::string& text) {
    // Every verdict keeps a group for what has no room.
    const bool room = groups_.size() < kMostGroups;
    const auto key = [&](const std::string& what) {
        return fmt::format("{} {} {}", static_cast<int>(status), verdict, what);
    };
    std::string shown = Text(text);
    if (!room && !groupIndices_.contains(key(shown))) {
        shown = kOthers;
    }
    const auto [place, fresh] =
        groupIndices_.try_emplace(key(shown), static_cast<std::uint32_t>(groups_.size()));
    if (fresh) {
        groups_.emplace_back();
        groups_.back().status = status;
        groups_.back().verdict = verdict;
        groups_.back().text = shown;
    }
    FailureGroup& group = groups_[place->second];
    ++group.count;
    const auto at = std::lower_bound(group.hosts.begin(), group.hosts.end(), host);
    if ((at == group.hosts.end() || *at != host) &&
        group.hosts.size() < FailureGroup::kMostHostsOfGroup) {
        group.hosts.insert(at, host);
    }
    return place->second;
}

void Summary::AddEnd(std::uint32_t host, const RunName& name, const RunEnd& end,
                     const VerdictCounts& cards) {
    if (!end.Finished()) {
        ++brokenOffCount_;
        if (brokenOff_.size() < kMostBrokenOff) {
            brokenOff_.push_back({ShortName(name.host), ShortName(name.run), end.LastTime()});
        }
    }
    Host& known = hosts_[host];
    const std::string run = ShortName(name.run);
    // Runs' names sort as they came.
    if (run >= known.run) {
        known.run = run;
        known.verdict = end.Verdict();
        known.cards = cards;
    }
}

VerdictCounts Summary::Hosts() const {
    VerdictCounts counts{};
    for (const Host& host : hosts_) {
        ++counts[IndexOfVerdict(host.verdict)];
    }
    return counts;
}

VerdictCounts Summary::Cards() const {
    VerdictCounts counts{};
    for (const Host& host : hosts_) {
        for (std::size_t i = 0; i < counts.size(); ++i) {
            counts[i] += host.cards[i];
        }
    }
    return counts;
}

std::vector<const FailureGroup*> Summary::WorstFirst() const {
    std::vector<const FailureGroup*> groups;
    for (const FailureGroup& group : groups_) {
        groups.push_back(&group);
    }
    std::stable_sort(groups.begin(), groups.end(), [](const auto* one, const auto* other) {
        if (one->status != other->status) {
            return Worse(one->status, other->status) == one->status;
        }
        return std::pair(one->hosts.size(), one->count) >
               std::pair(other->hosts.size(), other->count);
    });
    return groups;
}

std::uint32_t Summary::IndexOf(const FailureGroup& group) const {
    const auto found =
        std::find_if(groups_.begin(), groups_.end(),
                     [&group](const FailureGroup& known) { return &known == &group; });
    return static_cast<std::uint32_t>(found - groups_.begin());
}

}  // namespace zelhealth

#include "fleet/FleetReport.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <unordered_map>

namespace zelhealth {

namespace {

using Row = FleetReport::Row;

constexpr std::array<std::string_view, 5> kWorstFirst = {"failed", "lost", "unknown", "not_asked",
                                                         "degraded"};

std::size_t PlaceOf(std::string_view verdict) {
    return static_cast<std::size_t>(std::find(kWorstFirst.begin(), kWorstFirst.end(), verdict) -
                                    kWorstFirst.begin());
}

// Names in commands are between quotes where a shell would make something else of them.
std::string Quoted(const std::string& word) {
    const bool plain = !word.empty() && std::all_of(word.begin(), word.end(), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 ||
               std::string_view("-_.:,").find(c) != std::string_view::npos;
    });
    if (plain && word.front() != '-') {
        return word;
    }
    std::string quoted = "'";
    for (const char c : word) {
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + "'";
}

std::string OfCard(const std::string& card) {
    return card.empty() ? "" : " --cards " + Quoted(card);
}

Row RowOf(const FleetHost& host, const std::string& trouble) {
    Row row{host.name, VerdictOf(host.status), host.firstFailure, ""};
    if (!host.finished) {
        const std::string end = fmt::format("its stream has no end, last heard of {}{}{}",
                                            host.last, trouble.empty() ? "" : "; ", trouble);
        row.verdict = "lost";
        row.text += (row.text.empty() ? "" : "; ") + end;
    }
    if (host.failedTests > 1) {
        row.text += fmt::format(" (and {} more)", host.failedTests - 1);
    }
    const std::string plan = host.plan.empty() ? "" : " --plan " + Quoted(host.plan);
    row.look = LookAt(host.name, host.finished ? "run" + plan + OfCard(host.firstCard) : "history");
    return row;
}

Row Unheard(const Node& node, Reach reach) {
    const bool asked = node.notAsked.empty();
    const std::string why = !node.trouble.empty()   ? node.trouble
                            : reach == Reach::slurm ? "no word of it"
                                                    : "no stream of it was given";
    return {node.name, asked ? "lost" : "not_asked", asked ? why : node.notAsked,
            reach == Reach::slurm ? "scontrol show node " + Quoted(node.name)
                                  : LookAt(node.name, "history")};
}

}  // namespace

std::size_t FleetReport::Count(std::string_view verdict) const {
    return static_cast<std::size_t>(std::count_if(
        rows.begin(), rows.end(), [verdict](const Row& row) { return row.verdict == verdict; }));
}

FleetReport ReportOf(const FleetSummary& fleet, const std::vector<Node>& asked, Reach reach) {
    FleetReport report;
    std::unordered_map<std::string, const Node*> silent;
    for (const Node& node : asked) {
        silent.emplace(node.name, &node);
    }
    report.nodes = silent.size();
    for (const FleetHost& host : fleet.Hosts()) {
        const auto known = silent.find(host.name);
        const std::string trouble = known == silent.end() ? "" : known->second->trouble;
        report.nodes += known == silent.end() ? 1 : 0;
        report.status = Worse(report.status, host.status);
        if (host.status == Status::ok) {
            ++report.healthy;
        } else {
            report.rows.push_back(RowOf(host, trouble));
        }
        if (known != silent.end()) {
            silent.erase(known);
        }
    }
    for (const Node& node : asked) {
        if (silent.erase(node.name) > 0) {
            report.rows.push_back(Unheard(node, reach));
            report.status =
                Worse(report.status, node.notAsked.empty() ? Status::unknown : Status::warning);
        }
    }
    std::stable_sort(report.rows.begin(), report.rows.end(), [](const Row& one, const Row& other) {
        return std::pair(PlaceOf(one.verdict), one.node) <
               std::pair(PlaceOf(other.verdict), other.node);
    });
    report.differences = fleet.Divergences();
    report.slow = fleet.SlowCards();
    return report;
}

std::string LookAt(const std::string& node, const std::string& words) {
    return fmt::format("ssh {} zelhealth {}", Quoted(node), words);
}

std::string LookAtGroup(const Summary& summary, const FailureGroup& group) {
    const std::uint32_t index = summary.IndexOf(group);
    for (const Incident& incident : summary.Incidents()) {
        if (incident.group == index) {
            return LookAt(summary.HostName(incident.host), "run" + OfCard(incident.card));
        }
    }
    return group.hosts.empty() ? "" : LookAt(summary.HostName(group.hosts.front()), "run");
}

std::string LookAtDivergence(const Divergence::Value& value) {
    return value.places.empty() ? "" : LookAt(value.places.front().host, "cards");
}

std::string LookAtSlow(const SlowCard& card) {
    const std::string& test = card.tests.front().test;
    return LookAt(card.host, fmt::format("history --card {} --test {}", Quoted(card.card),
                                         Quoted(test.substr(0, test.find(' ')))));
}

}  // namespace zelhealth

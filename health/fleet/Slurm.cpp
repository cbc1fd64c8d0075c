#include "fleet/Slurm.h"

#include <fmt/format.h>

#include <algorithm>
#include <sstream>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "fleet/NodeList.h"
#include "host/Printable.h"
#include "record/Record.h"

namespace zelhealth {

namespace {

constexpr std::chrono::seconds kPatience{60};
constexpr std::chrono::seconds kShortPatience{10};  // of somebody who wants to end
constexpr std::size_t kMostOutput = 64UL * 1024 * 1024;
constexpr std::size_t kLongestReason = 200;

// What each task does. srun would name the files by hosts, whose names may be others than those of the nodes.
constexpr char kTask[] =
    "if [ ! -d \"$1\" ]; then echo \"$SLURMD_NODENAME: there is no folder $1\" >&2; exit 3; fi; "
    "at=$1/$SLURMD_NODENAME; shift; exec \"$@\" > \"$at.jsonl\" 2> \"$at.log\"";

std::string FirstLine(const std::string& text) {
    return Printable(Bounded(text.substr(0, text.find('\n')), kLongestReason));
}

// What a command of Slurm's prints.
std::string Output(const std::vector<std::string>& command, const Stop& stop,
                   std::chrono::seconds patience = kPatience) {
    ChildSpec spec;
    spec.command = command;
    spec.deadline = patience;
    spec.keepBytes = kMostOutput;
    const ChildResult result = RunChild(spec, stop);
    const std::string& name = command.front();
    switch (result.end) {
        case ChildEnd::exited:
            if (result.code == 0 && !result.outCut) {
                return result.out;
            }
            throw SlurmError(fmt::format("{} failed: {}", name,
                                         result.err.empty() ? fmt::format("status {}", result.code)
                                                            : FirstLine(result.err)));
        case ChildEnd::notStarted:
            throw SlurmError(
                fmt::format("{} cannot be started: {}; where Slurm is not installed, bring "
                            "the streams and give them to --from",
                            name, result.error));
        case ChildEnd::stopped:
            throw SlurmError("interrupted");
        default:
            throw SlurmError(fmt::format("{} does not answer; look at slurmctld", name));
    }
}

std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        if (!line.empty()) {
            lines.push_back(line);
        }
    }
    return lines;
}

// What Slurm says of a node: a state, such as "idle" or "down*", and its reason, which may be "none".
Node NodeOf(const std::string& name, const std::string& state, const std::string& reason) {
    // Flags stand behind a state; the star means that the node's daemon does not answer.
    const std::string base =
        state.substr(0, state.find_first_not_of("abcdefghijklmnopqrstuvwxyz_ "));
    const bool answers = state.find('*') == std::string::npos;
    const std::string why = reason.empty() || reason == "none" ? "" : ": " + FirstLine(reason);
    Node node{name, false, "", ""};
    if (base == "drained" || base == "draining" || base == "drain") {
        node.notAsked = base + why;
        return node;
    }
    node.busy = base == "mixed" || base == "allocated" || base == "completing";
    static const std::unordered_set<std::string_view> takeSteps = {
        "idle", "mixed", "allocated", "completing", "planned", "reserved", "maint"};
    node.inStep = answers && takeSteps.contains(base);
    node.trouble = node.inStep
                       ? ""
                       : fmt::format("{}Slurm calls it {}{}",
                                     answers ? "" : "its slurmd does not answer; ", state, why);
    return node;
}

// A line of sinfo: node, partition, whether that is up, state, reason, which may be anything.
std::vector<std::string> FieldsOf(const std::string& line) {
    constexpr std::size_t kBars = 4;
    std::vector<std::string> fields;
    std::size_t begin = 0;
    for (std::size_t bar = 0; fields.size() < kBars; begin = bar + 1) {
        bar = line.find('|', begin);
        if (bar == std::string::npos) {
            throw SlurmError("sinfo said what is not understood: " + FirstLine(line));
        }
        fields.push_back(line.substr(begin, bar - begin));
    }
    fields.push_back(line.substr(begin));
    return fields;
}

// A star stands behind the default one.
void AddPartition(Node& node, const std::string& name) {
    const bool isDefault = name.ends_with('*');
    node.partitions.insert(isDefault ? node.partitions.begin() : node.partitions.end(),
                           name.substr(0, name.size() - (isDefault ? 1 : 0)));
}

bool IsOfName(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '_' || c == '.';
}

}  // namespace

std::vector<Node> NodesOf(const NodeChoice& choice, const Stop& stop) {
    std::vector<std::string> command = {"sinfo", "--noheader", "--Node", "--format=%N|%P|%a|%T|%E"};
    if (!choice.nodes.empty()) {
        command.push_back("--nodes=" + choice.nodes);
    }
    if (!choice.partition.empty()) {
        command.push_back("--partition=" + choice.partition);
    }
    std::vector<Node> nodes;
    std::unordered_map<std::string, std::size_t> known;
    for (const std::string& line : LinesOf(Output(command, stop))) {
        const std::vector<std::string> fields = FieldsOf(line);
        const auto [place, isNew] = known.try_emplace(fields[0], nodes.size());
        if (isNew) {
            nodes.push_back(NodeOf(fields[0], fields[3], fields[4]));
        }
        if (fields[2] == "up") {
            AddPartition(nodes[place->second], fields[1]);
        }
    }
    for (Node& node : nodes) {
        if (node.inStep && node.partitions.empty()) {
            node.inStep = false;
            node.trouble = "no partition of it is up";
        }
    }
    if (!choice.nodes.empty()) {
        for (const std::string& name : NamesOf(choice.nodes)) {
            if (!known.contains(name)) {
                throw SlurmError(fmt::format(
                    "Slurm knows no node {} in {}; sinfo lists them", name,
                    choice.partition.empty() ? "any partition" : "partition " + choice.partition));
            }
        }
    }
    if (nodes.empty()) {
        throw SlurmError("Slurm knows no such node; sinfo lists them");
    }
    return nodes;
}

std::vector<std::string> StepCommand(const StepOptions& options, std::size_t nodes,
                                     const std::string& nodeFile) {
    // A bad card's status ends neither the other tasks nor the step, nor does a node that fails.
    std::vector<std::string> command = {"srun",
                                        "--job-name=" + options.name,
                                        fmt::format("--nodes={}", nodes),
                                        fmt::format("--ntasks={}", nodes),
                                        "--ntasks-per-node=1",
                                        "--nodelist=" + nodeFile,
                                        "--kill-on-bad-exit=0",
                                        "--no-kill",
                                        "--wait=0",
                                        "--input=none"};
    if (!options.partition.empty()) {
        command.push_back("--partition=" + options.partition);
    }
    if (!options.sharing.empty()) {
        command.push_back(options.sharing);
    }
    if (!options.wait.empty()) {
        command.push_back("--immediate=" + options.wait);
    }
    if (!options.timeLimit.empty()) {
        command.push_back("--time=" + options.timeLimit);
    }
    command.insert(command.end(), options.srunOptions.begin(), options.srunOptions.end());
    command.insert(command.end(), {"sh", "-c", kTask, "zelhealth", options.folder, options.program,
                                   "run", "--quiet", "--output", "-"});
    command.insert(command.end(), options.words.begin(), options.words.end());
    return command;
}

std::string WhyNoNodes(const std::string& srunSaid) {
    constexpr std::string_view kRefused = "Unable to allocate resources: ";
    const std::size_t found = srunSaid.find(kRefused);
    if (found == std::string::npos) {
        return "";
    }
    const std::string why = FirstLine(srunSaid.substr(found + kRefused.size()));
    return why == "Requested nodes are busy"
               ? "no node was free in time, for jobs run on them; give a longer --wait, or --shared"
               : "Slurm gives no node: " + why;
}

namespace {

// Sends what `options` of scancel say to the steps of that name.
bool Cancel(const std::string& name, const std::vector<std::string>& options, const Stop& stop) {
    try {
        const std::string steps =
            Output({"squeue", "--steps", "--noheader", "--format=%i %j"}, stop, kShortPatience);
        std::vector<std::string> command = {"scancel"};
        command.insert(command.end(), options.begin(), options.end());
        const std::size_t words = command.size();
        for (const std::string& line : LinesOf(steps)) {
            const std::size_t blank = line.find(' ');
            if (blank != std::string::npos && line.substr(blank + 1) == name) {
                command.push_back(line.substr(0, blank));
            }
        }
        if (command.size() > words) {
            Output(command, stop, kShortPatience);
            return true;
        }
    } catch (const SlurmError&) {
        // Whoever wants the step to end has stronger means.
    }
    return false;
}

}  // namespace

bool TerminateStep(const std::string& name, const Stop& stop) {
    return Cancel(name, {"--signal=TERM"}, stop);
}

bool KillStep(const std::string& name, const Stop& stop) {
    const bool killed = Cancel(name, {}, stop);
    try {
        // An allocation that srun has made has the same name, and outlives a srun that is killed.
        Output({"scancel", "--name=" + name}, stop, kShortPatience);
    } catch (const SlurmError&) {
        return false;
    }
    return killed;
}

void AddTroubles(const std::string& srunSaid, std::vector<Node>& nodes) {
    std::unordered_map<std::string_view, Node*> named;
    for (Node& node : nodes) {
        named.emplace(node.name, &node);
    }
    for (const std::string& line : LinesOf(srunSaid)) {
        for (std::size_t at = 0; at < line.size();) {
            std::size_t end = at;
            while (end < line.size() && IsOfName(line[end])) {
                ++end;
            }
            const auto node = named.find(std::string_view(line).substr(at, end - at));
            if (node != named.end()) {
                node->second->trouble = FirstLine(line);
            }
            at = end + 1;
        }
    }
}

}  // namespace zelhealth

// Finds runs of the tool, and tells ours by the keeper above them.
#include "host/Tools.h"

#include <fmt/format.h>

#include <map>

namespace zelhealth {

namespace {

constexpr char kKeeper[] = "zelkeeper";
constexpr char kCompanion[] = "zelhealth";

using ByPid = std::map<pid_t, Process>;

// The processes above one, nearest first. Each pid is followed once: while /proc is read, parents change.
std::vector<const Process*> Above(const ByPid& processes, const Process& process) {
    std::vector<const Process*> above;
    auto next = processes.find(process.parent);
    while (next != processes.end() && above.size() < processes.size()) {
        above.push_back(&next->second);
        next = processes.find(next->second.parent);
    }
    return above;
}

ToolRun::Kind KindOf(const ByPid& processes, const Process& tool) {
    bool kept = false;
    for (const Process* process : Above(processes, tool)) {
        if (process->program == kKeeper)
            kept = true;
        else if (kept && process->program == kCompanion)
            return ToolRun::Kind::ours;
    }
    // The keeper of one that cannot be killed is gone after a while.
    return kept || tool.killed ? ToolRun::Kind::leftBehind : ToolRun::Kind::foreign;
}

}  // namespace

bool ToolRun::IsOn(const std::string& card) const {
    constexpr std::size_t kPrefix = 3;  // "zel"
    const std::string words = process.command + " ";
    return words.find(" -devicelist " + card.substr(kPrefix) + " ") != std::string::npos;
}

std::string ToolRun::Text() const {
    return fmt::format("pid {} ({})", process.id.pid, process.command);
}

std::vector<ToolRun> FindToolRuns(const std::string& tool, const std::filesystem::path& proc) {
    ByPid processes;
    for (Process& process : ReadProcesses(proc))
        processes.emplace(process.id.pid, std::move(process));
    std::vector<ToolRun> runs;
    for (const auto& [pid, process] : processes) {
        const bool isTool = process.program == tool || process.program == kToolName;
        // Without root rights the tool does nothing, and whoever has none must not keep others from theirs.
        if (isTool && process.ofRoot && !process.ended)
            runs.push_back({process, KindOf(processes, process)});
    }
    return runs;
}

std::vector<ToolRun> FindForeignTools(const std::string& tool, const std::filesystem::path& proc) {
    std::vector<ToolRun> runs = FindToolRuns(tool, proc);
    std::erase_if(runs, [](const ToolRun& run) { return run.kind != ToolRun::Kind::foreign; });
    return runs;
}

}  // namespace zelhealth

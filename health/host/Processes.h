// Processes of this host, as /proc tells of them. A pid alone names no process, because it is given out
// again; with the time of its start it does.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zelhealth {

struct ProcessId {
    pid_t pid = 0;
    std::uint64_t startTime = 0;  // clock ticks since the boot
    bool operator==(const ProcessId&) const = default;
};

struct Process {
    ProcessId id;
    pid_t parent = 0;
    bool ended = false;   // a zombie: nothing of it runs any more
    bool ofRoot = false;  // by its effective user
    bool killed = false;  // SIGKILL is on its way, and waits until a call into the kernel returns
    std::string
        program;  // the file name of its executable; of a kernel thread, or without leave, its name
    std::string command;  // its words, for people: no control characters, and cut where it is long
};

// Null when there is no such process, or no longer.
std::optional<Process> ReadProcess(pid_t pid, const std::filesystem::path& proc = "/proc");

std::vector<Process> ReadProcesses(const std::filesystem::path& proc = "/proc");

ProcessId ThisProcess();

bool IsAlive(const ProcessId& id, const std::filesystem::path& proc = "/proc");

}  // namespace zelhealth

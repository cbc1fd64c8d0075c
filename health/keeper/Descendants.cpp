#include "keeper/Descendants.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <system_error>

namespace zelhealth::keeper {

namespace {

namespace fs = std::filesystem;

constexpr int kStatBytes = 512;
constexpr int kPausesPerSecond = 100;
constexpr long kPauseNanoseconds = 1000000000 / kPausesPerSecond;

struct Process {
    pid_t parent = 0;
    char state = '?';
};

// Out of /proc/PID/stat, in which the name may hold blanks and brackets.
bool ReadProcess(const std::string& pid, Process& process) {
    const std::string path = "/proc/" + pid + "/stat";
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "re"), std::fclose);
    char text[kStatBytes];
    if (file == nullptr || std::fgets(text, sizeof text, file.get()) == nullptr) {
        return false;
    }
    const char* const rest = std::strrchr(text, ')');
    return rest != nullptr && std::sscanf(rest + 1, " %c %d", &process.state, &process.parent) == 2;
}

std::map<pid_t, Process> Processes() {
    std::map<pid_t, Process> processes;
    std::error_code error;
    for (fs::directory_iterator entry("/proc", error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        const pid_t pid = std::atoi(name.c_str());
        Process process;
        if (pid > 0 && ReadProcess(name, process)) {
            processes[pid] = process;
        }
    }
    return processes;
}

bool DescendsFrom(pid_t ancestor, pid_t pid, const std::map<pid_t, Process>& processes) {
    // A pid can come again while the list is read, so that a chain need not end by itself.
    for (std::size_t steps = 0; steps < processes.size(); ++steps) {
        const auto process = processes.find(pid);
        if (process == processes.end()) {
            return false;
        }
        pid = process->second.parent;
        if (pid == ancestor) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::vector<pid_t> Descendants() {
    std::vector<pid_t> descendants;
    const pid_t self = getpid();
    const std::map<pid_t, Process> processes = Processes();
    for (const auto& [pid, process] : processes) {
        if (process.state != 'Z' && DescendsFrom(self, pid, processes)) {
            descendants.push_back(pid);
        }
    }
    return descendants;
}

bool ReapChildren(const Reaped& reaped) {
    int status = 0;
    pid_t child = 0;
    while ((child = waitpid(-1, &status, WNOHANG)) > 0) {
        reaped(child, status);
    }
    return child < 0 && errno == ECHILD;
}

bool KillDescendants(int seconds, const Reaped& reaped) {
    for (int pauses = seconds * kPausesPerSecond; !ReapChildren(reaped); --pauses) {
        for (const pid_t pid : Descendants()) {
            kill(pid, SIGKILL);
        }
        if (pauses <= 0) {
            return ReapChildren(reaped);
        }
        const timespec pause{0, kPauseNanoseconds};
        nanosleep(&pause, nullptr);
    }
    return true;
}

}  // namespace zelhealth::keeper

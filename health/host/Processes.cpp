// Reads /proc.
#include "host/Processes.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <system_error>

#include "host/Printable.h"

namespace zelhealth {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kCommandBytes = 160;
constexpr int kFieldsBehindParent = 17;  // the start time is field 22, the parent field 4

std::string ReadAll(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// Whether one of the two masks of pending signals, of the thread and of the process, holds SIGKILL.
bool KillIsPending(const fs::path& statusFile) {
    std::ifstream status(statusFile);
    for (std::string line; std::getline(status, line);) {
        if (!line.starts_with("SigPnd:") && !line.starts_with("ShdPnd:"))
            continue;
        const std::uint64_t mask = std::strtoull(line.c_str() + 7, nullptr, 16);
        if ((mask >> (SIGKILL - 1) & 1) != 0)
            return true;
    }
    return false;
}

// Words are divided by NUL.
std::string CommandText(std::string words) {
    while (!words.empty() && words.back() == '\0')
        words.pop_back();
    std::replace(words.begin(), words.end(), '\0', ' ');
    words = Printable(words);
    if (words.size() > kCommandBytes) {
        words.resize(kCommandBytes);
        words += "...";
    }
    return words;
}

}  // namespace

std::optional<Process> ReadProcess(pid_t pid, const fs::path& proc) {
    const fs::path folder = proc / std::to_string(pid);
    const std::string status = ReadAll(folder / "stat");
    // "PID (NAME) STATE PARENT ...": the name may hold blanks and brackets itself.
    const auto open = status.find('(');
    const auto close = status.rfind(')');
    if (open == std::string::npos || close == std::string::npos || close < open)
        return std::nullopt;
    Process process;
    process.id.pid = pid;
    std::istringstream fields(status.substr(close + 1));
    char state = 0;
    std::string skipped;
    fields >> state >> process.parent;
    for (int i = 0; i < kFieldsBehindParent; ++i)
        fields >> skipped;
    if (!(fields >> process.id.startTime))
        return std::nullopt;
    process.ended = state == 'Z' || state == 'X';
    struct stat owner {};
    process.ofRoot = stat(folder.c_str(), &owner) == 0 && owner.st_uid == 0;
    process.killed = KillIsPending(folder / "status");

    std::error_code hidden;
    const fs::path program = fs::read_symlink(folder / "exe", hidden);
    process.program =
        hidden ? status.substr(open + 1, close - open - 1) : program.filename().string();
    constexpr std::string_view kDeleted = " (deleted)";
    if (process.program.ends_with(kDeleted))
        process.program.resize(process.program.size() - kDeleted.size());
    process.command = CommandText(ReadAll(folder / "cmdline"));
    if (process.command.empty())
        process.command = process.program;
    return process;
}

std::vector<Process> ReadProcesses(const fs::path& proc) {
    std::vector<Process> processes;
    std::error_code error;
    for (fs::directory_iterator entry(proc, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        pid_t pid = 0;
        const auto [stop, fault] = std::from_chars(name.data(), name.data() + name.size(), pid);
        if (fault != std::errc() || stop != name.data() + name.size())
            continue;
        if (auto process = ReadProcess(pid, proc))
            processes.push_back(std::move(*process));
    }
    return processes;
}

ProcessId ThisProcess() {
    const auto process = ReadProcess(getpid());
    return process ? process->id : ProcessId{.pid = getpid(), .startTime = 0};
}

bool IsAlive(const ProcessId& id, const fs::path& proc) {
    const auto process = ReadProcess(id.pid, proc);
    return process && !process->ended && process->id == id;
}

}  // namespace zelhealth

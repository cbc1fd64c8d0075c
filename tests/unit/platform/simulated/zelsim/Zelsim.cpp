#include "Zelsim.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace {

[[noreturn]] void Throw(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

// The reading and the writing end, as of a pipe.
void OpenEnds(const PseudoTerminal& terminal, int* ends) {
    ends[0] = fcntl(terminal.Screen(), F_DUPFD_CLOEXEC, 0);
    ends[1] = fcntl(terminal.Get(), F_DUPFD_CLOEXEC, 0);
    if (ends[0] < 0 || ends[1] < 0)
        Throw("dup");
}

// Reads what is there; false at the end.
bool Drain(int descriptor, std::string& text) {
    char piece[4096];
    const ssize_t length = read(descriptor, piece, sizeof(piece));
    if (length <= 0)
        return false;
    text.append(piece, static_cast<std::size_t>(length));
    return true;
}

void ReadBoth(int out, std::string& outText, int err, std::string& errText) {
    pollfd streams[] = {{out, POLLIN, 0}, {err, POLLIN, 0}};
    std::string* texts[] = {&outText, &errText};
    while (streams[0].fd >= 0 || streams[1].fd >= 0) {
        if (poll(streams, 2, -1) < 0)
            Throw("poll");
        for (int i = 0; i < 2; ++i) {
            if (streams[i].fd >= 0 && streams[i].revents != 0 && !Drain(streams[i].fd, *texts[i]))
                streams[i].fd = -1;
        }
    }
}

std::string FileText(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

}  // namespace

Zelsim::Zelsim(const std::vector<std::string>& arguments,
               const std::vector<std::string>& environment, Streams streams) {
    int out[2];
    int err[2];
    if (streams == Streams::terminal) {
        for (auto& terminal : terminals_)
            terminal = std::make_unique<PseudoTerminal>();
        OpenEnds(*terminals_[0], out);
        OpenEnds(*terminals_[1], err);
    } else if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) {
        Throw("pipe2");
    }
    std::vector<std::string> words = {"env"};
    words.insert(words.end(), environment.begin(), environment.end());
    words.emplace_back(ZELSIM);
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    pid_ = fork();
    if (pid_ < 0)
        Throw("fork");
    if (pid_ == 0) {
        // A process group of its own, as a shell gives one to each command.
        setpgid(0, 0);
        dup2(out[1], STDOUT_FILENO);
        dup2(err[1], STDERR_FILENO);
        execv("/usr/bin/env", argv.data());
        _exit(99);
    }
    close(out[1]);
    close(err[1]);
    for (auto& terminal : terminals_) {
        if (terminal)
            terminal->LeaveTerminal();
    }
    out_ = out[0];
    err_ = err[0];
}

Zelsim::~Zelsim() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    close(out_);
    close(err_);
}

void Zelsim::Send(int signal) const {
    if (kill(pid_, signal) != 0)
        Throw("kill");
}

void Zelsim::AwaitOutput(const std::string& text) {
    while (seen_.find(text) == seen_.npos) {
        if (!Drain(out_, seen_))
            throw std::runtime_error("zelsim ended without \"" + text + "\": " + seen_);
    }
}

Ended Zelsim::Wait() {
    Ended ended;
    ended.out = seen_;
    ReadBoth(out_, ended.out, err_, ended.err);
    int status = 0;
    if (waitpid(pid_, &status, 0) != pid_)
        Throw("waitpid");
    pid_ = -1;
    ended.status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    return ended;
}

TemporaryFile::TemporaryFile(const std::string& text) {
    char path[] = "/tmp/zelsim-test-XXXXXX";
    const int file = mkstemp(path);
    if (file < 0)
        Throw(path);
    close(file);
    path_ = path;
    std::ofstream(path_) << text;
}

TemporaryFile::~TemporaryFile() {
    std::error_code error;
    std::filesystem::remove(path_, error);
}

bool ProcessRuns(const std::string& text) {
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::string commandLine = FileText(entry.path() / "cmdline");
        std::replace(commandLine.begin(), commandLine.end(), '\0', ' ');
        if (commandLine.find(text) != commandLine.npos)
            return true;
    }
    return false;
}

bool ProcessStays(const std::string& text) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (ProcessRuns(text)) {
        if (std::chrono::steady_clock::now() > end)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

std::string Traces() {
    std::string traces;
    std::istringstream mounts(FileText("/proc/self/mountinfo"));
    for (std::string line; std::getline(mounts, line);) {
        if (line.find("zelsim") != line.npos)
            traces += line + "\n";
    }
    for (const char* path : {"/run/zelsim", "/etc/hosk", "/usr/share/hosk", "/usr/share/flash",
                             "/sys/class/zel", "/tmp/upper", "/tmp/work"}) {
        if (std::filesystem::exists(path))
            traces += std::string(path) + "\n";
    }
    return traces;
}

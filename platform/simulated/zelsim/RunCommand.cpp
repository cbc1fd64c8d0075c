// Runs a command on a simulated host.
//
// Three processes: this one stays outside and waits; its child is the first process of the host, and
// with its end the kernel ends everything on it; the child's child is the command. The first process
// dies with the one outside, however that ends, so that a killed zelsim leaves nothing.
#include "RunCommand.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "Host.h"

namespace simulated {

namespace {

int StatusOf(int waitStatus) {
    return WIFSIGNALED(waitStatus) ? 128 + WTERMSIG(waitStatus) : WEXITSTATUS(waitStatus);
}

[[noreturn]] void BecomeCommand(char* const* command) {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGQUIT, SIG_DFL);
    execvp(command[0], command);
    const bool missing = errno == ENOENT || errno == ENOTDIR;
    std::fprintf(stderr, "zelsim: %s: %s\n", command[0], std::strerror(errno));
    _exit(missing ? kNoSuchCommand : kNotExecutable);
}

// Waits for the command, and for every orphan of the host on the way.
int WaitForCommand(pid_t command) {
    for (;;) {
        int status = 0;
        const pid_t ended = wait(&status);
        if (ended == command)
            return StatusOf(status);
        if (ended < 0 && errno != EINTR)
            return kOwnFailure;
    }
}

// The host's first process lives no longer than the process outside. The kernel sees to that from here
// on; that it has not ended before shows in the pipe whose other end it holds.
bool DieWithParent(int parentPipe) {
    if (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0)
        return false;
    pollfd state{parentPipe, POLLIN, 0};
    return poll(&state, 1, 0) == 0;
}

int RunFirstProcess(const Fleet& fleet, const std::string& programFolder, char* const* command) {
    try {
        BuildHost(fleet, programFolder);
    } catch (const HostError& failure) {
        std::fprintf(stderr, "zelsim: %s\n", failure.what());
        return kOwnFailure;
    }
    const pid_t child = fork();
    if (child < 0) {
        std::fprintf(stderr, "zelsim: cannot start a process: %s\n", std::strerror(errno));
        return kOwnFailure;
    }
    if (child == 0)
        BecomeCommand(command);
    return WaitForCommand(child);
}

}  // namespace

int RunOnHost(const Fleet& fleet, const std::string& programFolder, char* const* command) {
    std::array<int, 2> parentPipe{};
    if (pipe2(parentPipe.data(), O_CLOEXEC) != 0)
        throw HostError(std::string("cannot make a pipe: ") + std::strerror(errno));
    EnterNamespaces();

    // The terminal's signals are the command's.
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGQUIT, SIG_IGN);
    const pid_t first = fork();
    if (first < 0)
        throw HostError(std::string("cannot start a process: ") + std::strerror(errno));
    if (first == 0) {
        close(parentPipe[1]);
        if (!DieWithParent(parentPipe[0]))
            _exit(kOwnFailure);
        _exit(RunFirstProcess(fleet, programFolder, command));
    }
    int status = 0;
    while (waitpid(first, &status, 0) < 0) {
        if (errno != EINTR)
            return kOwnFailure;
    }
    return StatusOf(status);
}

}  // namespace simulated

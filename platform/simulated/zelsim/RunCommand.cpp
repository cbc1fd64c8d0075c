// Runs a command on a simulated host.
//
// Three processes: this one stays outside and waits; its child is the first process of the host, which
// serves the cards' connections, and with whose end the kernel ends everything on the host; the child's
// child is the command. The first process dies with the one outside, however that ends, so that a killed
// zelsim leaves nothing.
//
// The terminal's signals are the command's as soon as there is one; until then they end zelsim. So that
// none is lost on the way from one to the other, the outer process hands over when the first one is about
// to start the command, and that one passes on what came meanwhile.
#include "zelsim/RunCommand.h"

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <optional>

#include "common/UniqueFd.h"
#include "fleet/Suggestion.h"
#include "host/HostState.h"
#include "zelsim/CardServer.h"
#include "zelsim/Host.h"
#include "zelsim/HostFiles.h"
#include "zelsim/Terminal.h"

namespace simulated {

namespace {

int StatusOf(int waitStatus) {
    return WIFSIGNALED(waitStatus) ? 128 + WTERMSIG(waitStatus) : WEXITSTATUS(waitStatus);
}

constexpr int kTerminalSignals[] = {SIGINT, SIGQUIT};

void IgnoreTerminalSignals() {
    for (const int signal : kTerminalSignals)
        std::signal(signal, SIG_IGN);
}

void HoldTerminalSignals() {
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : kTerminalSignals)
        sigaddset(&held, signal);
    sigprocmask(SIG_BLOCK, &held, nullptr);
}

// From here on this process ignores them. One that it has held back goes to the command, which gets it
// a second time if it was there already.
void PassOnTerminalSignals(pid_t command) {
    sigset_t pending;
    sigpending(&pending);
    for (const int signal : kTerminalSignals) {
        if (sigismember(&pending, signal) == 1)
            kill(command, signal);
    }
    IgnoreTerminalSignals();
}

// Between zelsim's two processes.
void Tell(const platform::UniqueFd& colleague) {
    send(colleague.Get(), "", 1, MSG_NOSIGNAL);
}

// Waits until the other process tells something; false when it ends without.
bool Hear(const platform::UniqueFd& colleague) {
    char word = 0;
    ssize_t got = 0;
    do {
        got = read(colleague.Get(), &word, 1);
    } while (got < 0 && errno == EINTR);
    return got == 1;
}

[[noreturn]] void BecomeCommand(char* const* command, const CardServer& cards) {
    cards.PrepareChild();
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    execvp(command[0], command);
    const bool missing = errno == ENOENT || errno == ENOTDIR;
    const std::string reason = std::strerror(errno);
    Complain(command[0] + (": " + reason) +
             (missing ? Suggestion(command[0], {"ZelDiag", "zelsim"}) : ""));
    _exit(missing ? kNoSuchCommand : kNotExecutable);
}

// From here on the end of a child shows in the descriptor.
platform::UniqueFd WatchChildren() {
    sigset_t child;
    sigemptyset(&child);
    sigaddset(&child, SIGCHLD);
    sigprocmask(SIG_BLOCK, &child, nullptr);
    platform::UniqueFd ended(signalfd(-1, &child, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!ended.IsValid())
        ThrowHostError("cannot watch the command");
    return ended;
}

// Takes leave of all children that have ended, orphans of the host among them; the command's wait
// status when it was one of them.
std::optional<int> ReapChildren(pid_t command, CardServer& cards) {
    std::optional<int> commandStatus;
    int status = 0;
    for (pid_t ended = 0; (ended = waitpid(-1, &status, WNOHANG)) > 0;) {
        if (ended == command)
            commandStatus = status;
        else
            cards.ChildEnded(ended);
    }
    return commandStatus;
}

// Serves the cards until the command ends.
int WaitForCommand(pid_t command, const platform::UniqueFd& childrenEnded, CardServer& cards) {
    std::array<pollfd, 2> events{{{childrenEnded.Get(), POLLIN, 0}, {cards.Events(), POLLIN, 0}}};
    for (;;) {
        if (poll(events.data(), events.size(), -1) < 0 && errno != EINTR)
            ThrowHostError("cannot wait for the command");
        signalfd_siginfo signal{};
        while (read(childrenEnded.Get(), &signal, sizeof(signal)) > 0) {
        }
        if (const auto status = ReapChildren(command, cards))
            return StatusOf(*status);
        cards.Serve();
    }
}

int ServeCommand(char* const* command, const platform::UniqueFd& outer) {
    const auto host = HostState::Open();
    if (!host)
        ThrowHostError(kStateFile);
    CardServer cards(*host);
    const platform::UniqueFd childrenEnded = WatchChildren();
    HoldTerminalSignals();
    Tell(outer);
    if (!Hear(outer))
        return kOwnFailure;
    const pid_t child = fork();
    if (child < 0)
        ThrowHostError("cannot start a process");
    if (child == 0)
        BecomeCommand(command, cards);
    PassOnTerminalSignals(child);
    return WaitForCommand(child, childrenEnded, cards);
}

// The host's first process lives no longer than the process outside. The kernel sees to that from here
// on; that it has not ended before shows in the connection to it.
bool DieWithParent(const platform::UniqueFd& outer) {
    if (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0)
        return false;
    pollfd state{outer.Get(), POLLIN, 0};
    return poll(&state, 1, 0) == 0;
}

int RunFirstProcess(const Fleet& fleet, const std::string& programFolder, char* const* command,
                    const platform::UniqueFd& outer) {
    try {
        BuildHost(fleet, programFolder);
        return ServeCommand(command, outer);
    } catch (const std::exception& failure) {
        Complain(failure.what());
        return kOwnFailure;
    }
}

}  // namespace

int RunOnHost(const Fleet& fleet, const std::string& programFolder, char* const* command) {
    if (programFolder.find(':') != std::string::npos)
        throw HostError("cannot put " + programFolder +
                        " into the host's PATH: a folder there has no \":\" in its name");
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        throw HostError(std::string("cannot make a connection: ") + std::strerror(errno));
    platform::UniqueFd inner(ends[0]);
    platform::UniqueFd outer(ends[1]);
    const platform::UniqueFd ownProcesses(open("/proc/self/ns/pid", O_RDONLY | O_CLOEXEC));
    if (!ownProcesses.IsValid())
        throw HostError(std::string("cannot open /proc/self/ns/pid: ") + std::strerror(errno));
    EnterNamespaces();

    // Ignored, as it may be inherited, it would take away the statuses of the processes waited for.
    std::signal(SIGCHLD, SIG_DFL);
    const pid_t first = fork();
    if (first < 0)
        throw HostError(std::string("cannot start a process: ") + std::strerror(errno));
    if (first == 0) {
        inner.Reset();
        if (!DieWithParent(outer))
            _exit(kOwnFailure);
        _exit(RunFirstProcess(fleet, programFolder, command, outer));
    }
    outer.Reset();
    // What is started from here on is no part of the host, where with the end of the first process nothing
    // can be started any more, not even a leak check's thread.
    if (setns(ownProcesses.Get(), CLONE_NEWPID) != 0)
        throw HostError(std::string("cannot leave the host's processes: ") + std::strerror(errno));
    if (Hear(inner)) {
        IgnoreTerminalSignals();
        Tell(inner);
    }
    int status = 0;
    while (waitpid(first, &status, 0) < 0) {
        if (errno != EINTR)
            return kOwnFailure;
    }
    return StatusOf(status);
}

}  // namespace simulated

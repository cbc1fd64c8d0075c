// zelkeeper PROGRAM ARGUMENT...: starts a program and keeps it: tells how it ended, and sees to it that
// nothing that the program has started lives on, neither when the program ends nor when the one that
// started zelkeeper does, whatever kills it.
//
// It talks over the socket that it finds as descriptor 3 (Report.h). It is started as the leader of a
// session of its own, so that nothing below it can ask anything on a terminal. What the program leaves
// becomes a child of zelkeeper's. Nothing here takes memory in proportion to what the program does.
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "keeper/Descendants.h"
#include "keeper/Report.h"

using zelhealth::keeper::KillDescendants;
using zelhealth::keeper::kSocket;
using zelhealth::keeper::Order;
using zelhealth::keeper::Report;

namespace {

constexpr int kCannotKeep = 125;
constexpr int kCannotStart = 127;

// How long what is left may take to go after SIGKILL. What takes longer hangs in the kernel, is gone
// as soon as it leaves it, and is not waited for.
constexpr int kSecondsToGo = 5;

void Tell(Report::Kind kind, pid_t pid, int value) {
    const Report report{kind, pid, value};
    // Whoever is gone need not be told.
    (void)send(kSocket, &report, sizeof report, MSG_NOSIGNAL);
}

[[noreturn]] void BecomeProgram(char** words, pid_t keeper) {
    // If the keeper itself is killed, the program must not go on unkept.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != keeper) {
        _exit(kCannotStart);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    execvp(words[0], words);
    Tell(Report::Kind::notStarted, getpid(), errno);
    _exit(kCannotStart);
}

// The program that is kept, and how it has ended.
class Program {
public:
    explicit Program(pid_t pid) : pid_(pid) {}

    // To be told of every child that is reaped. The program's end is told at once, whatever else is
    // left.
    void Reaped(pid_t child, int status) {
        if (child == pid_) {
            ended_ = true;
            Tell(Report::Kind::ended, pid_, status);
        }
    }

    void Terminate() const { kill(pid_, SIGTERM); }
    bool HasEnded() const { return ended_; }

private:
    const pid_t pid_;
    bool ended_ = false;
};

enum class Wish { none, terminate, kill };

Wish ReadOrder() {
    char order = 0;
    const ssize_t bytes = recv(kSocket, &order, 1, MSG_DONTWAIT);
    if (bytes < 0 && (errno == EAGAIN || errno == EINTR)) {
        return Wish::none;
    }
    if (bytes <= 0 || order == static_cast<char>(Order::kill)) {
        return Wish::kill;
    }
    return order == static_cast<char>(Order::terminate) ? Wish::terminate : Wish::none;
}

// Until the program has ended, or all is to be killed.
void Keep(Program& program, const zelhealth::keeper::Reaped& reaped, int signals) {
    pollfd events[] = {{kSocket, POLLIN, 0}, {signals, POLLIN, 0}};
    while (true) {
        (void)zelhealth::keeper::ReapChildren(reaped);
        if (program.HasEnded() || (poll(events, 2, -1) < 0 && errno != EINTR)) {
            return;
        }
        signalfd_siginfo signal{};
        (void)!read(signals, &signal, sizeof signal);
        const Wish wish = ReadOrder();
        if (wish == Wish::kill) {
            return;
        }
        if (wish == Wish::terminate) {
            program.Terminate();
        }
    }
}

int Run(char** words) {
    fcntl(kSocket, F_SETFD, FD_CLOEXEC);
    // Its own signals would only come from an administrator who ends a session; the socket tells
    // when it is time to go.
    sigset_t mask;
    sigfillset(&mask);
    sigprocmask(SIG_SETMASK, &mask, nullptr);
    const int signals = signalfd(-1, &mask, SFD_CLOEXEC | SFD_NONBLOCK);
    if (signals < 0 || prctl(PR_SET_CHILD_SUBREAPER, 1) != 0) {
        return kCannotKeep;
    }
    const pid_t self = getpid();
    const pid_t pid = fork();
    if (pid < 0) {
        Tell(Report::Kind::notStarted, 0, errno);
        return kCannotKeep;
    }
    if (pid == 0) {
        BecomeProgram(words, self);
    }
    // Only the program's own descriptors keep its pipes open: they end with it.
    close(STDOUT_FILENO);
    close(STDERR_FILENO);
    Tell(Report::Kind::started, pid, 0);

    Program program(pid);
    const auto reaped = [&program](pid_t child, int status) { program.Reaped(child, status); };
    Keep(program, reaped, signals);
    KillDescendants(kSecondsToGo, reaped);
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    Report peer{};
    // Started by hand it has nobody to tell anything.
    if (argc < 2 || (recv(kSocket, &peer, 0, MSG_DONTWAIT | MSG_PEEK) < 0 && errno != EAGAIN)) {
        std::fprintf(stderr, "zelkeeper is started by zelhealth\n");
        return kCannotKeep;
    }
    return Run(argv + 1);
}

// Makes the cards reachable over the network.
#include "zelsim/CardServer.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/timerfd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "host/HostClock.h"
#include "host/ModeChange.h"
#include "zelsim/CardSystems.h"
#include "zelsim/Host.h"
#include "zelsim/HostFiles.h"
#include "zelsim/SecureShell.h"
#include "zelsim/Terminal.h"

namespace simulated {

namespace {

namespace fs = std::filesystem;

constexpr int kBacklog = 64;
constexpr std::size_t kEventsAtOnce = 64;
constexpr rlim_t kOtherFiles = 64;  // that this process has open beside a socket for each card

// In an event, instead of a card's number.
constexpr U64 kModeChange = ~U64{0};
constexpr U64 kArrival = kModeChange - 1;

void Watch(int events, int descriptor, U64 what) {
    epoll_event event{.events = EPOLLIN, .data = {.u64 = what}};
    if (epoll_ctl(events, EPOLL_CTL_ADD, descriptor, &event) != 0)
        ThrowHostError("cannot watch a card's connections");
}

// Ends every process that sees `root` as its root. True when there was one.
bool KillProcessesBelow(const std::string& root) {
    bool found = false;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        pid_t process = 0;
        const auto parsed = std::from_chars(name.data(), name.data() + name.size(), process);
        if (parsed.ec != std::errc() || parsed.ptr != name.data() + name.size())
            continue;
        std::error_code gone;
        if (fs::read_symlink(entry.path() / "root", gone) != root || gone)
            continue;
        found = kill(process, SIGKILL) == 0 || found;
    }
    return found;
}

}  // namespace

CardServer::CardServer(const HostState& host)
    : host_(host),
      events_(epoll_create1(EPOLL_CLOEXEC)),
      listeners_(host.Cards().size()),
      started_(host.Cards().size()) {
    if (!events_.IsValid())
        ThrowHostError("cannot watch the cards' connections");
    RaiseFileLimit();
    modeChanges_ = ListenForModeChanges();
    if (!modeChanges_.IsValid())
        ThrowHostError("cannot listen for mode changes");
    Watch(events_.Get(), modeChanges_.Get(), kModeChange);
    arrival_ = platform::UniqueFd(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK));
    if (!arrival_.IsValid())
        ThrowHostError("cannot watch the cards' modes");
    Watch(events_.Get(), arrival_.Get(), kArrival);
    FollowModes();
}

void CardServer::Serve() {
    std::array<epoll_event, kEventsAtOnce> ready{};
    const int count = epoll_wait(events_.Get(), ready.data(), kEventsAtOnce, 0);
    for (int i = 0; i < count; ++i) {
        const U64 what = ready[static_cast<std::size_t>(i)].data.u64;
        // What a command does to a card's folder or address is no reason to end the host.
        try {
            ServeEvent(what);
        } catch (const std::runtime_error& failure) {
            Complain(failure.what());
        }
    }
}

void CardServer::ServeEvent(U64 what) {
    if (what == kModeChange) {
        const platform::UniqueFd teller(
            accept4(modeChanges_.Get(), nullptr, nullptr, SOCK_CLOEXEC));
        FollowModes();
    } else if (what == kArrival) {
        FollowModes();
    } else {
        Accept(what);
    }
}

void CardServer::PrepareChild() const {
    setrlimit(RLIMIT_NOFILE, &fileLimit_);
}

void CardServer::RaiseFileLimit() {
    if (getrlimit(RLIMIT_NOFILE, &fileLimit_) != 0)
        ThrowHostError("cannot read the limit of open files");
    const rlim_t needed = listeners_.size() + kOtherFiles;
    if (fileLimit_.rlim_cur >= needed)
        return;
    rlimit raised = fileLimit_;
    raised.rlim_cur = needed;
    raised.rlim_max = std::max(raised.rlim_max, needed);
    if (setrlimit(RLIMIT_NOFILE, &raised) != 0)
        ThrowHostError("cannot open a socket for each of " + std::to_string(listeners_.size()) +
                       " cards");
}

void CardServer::FollowModes() {
    const auto cards = host_.Cards();
    const U64 now = HostClock();
    U64 next = 0;
    for (std::size_t i = 0; i < cards.size(); ++i) {
        const UsageMode::Value value = cards[i].usageMode.Load();
        const bool reachable = IsReachable(cards[i], value.At(now));
        if (reachable && !listeners_[i].IsValid())
            StartListening(i);
        else if (!reachable && listeners_[i].IsValid())
            StopCard(i);
        if (value.arrives <= now)
            cards[i].usageMode.Settle(value);
        else if (next == 0 || value.arrives < next)
            next = value.arrives;
    }
    WakeAt(next);
}

// By the host's clock; 0: not at all.
void CardServer::WakeAt(U64 time) {
    constexpr U64 kPerSecond = 1'000'000;
    constexpr U64 kNanoseconds = 1000;
    itimerspec timer{};
    timer.it_value.tv_sec = static_cast<time_t>(time / kPerSecond);
    timer.it_value.tv_nsec = static_cast<long>(time % kPerSecond * kNanoseconds);
    if (timerfd_settime(arrival_.Get(), TFD_TIMER_ABSTIME, &timer, nullptr) != 0)
        ThrowHostError("cannot watch the cards' modes");
}

void CardServer::StartListening(std::size_t card) {
    platform::UniqueFd listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(kSshPort);
    address.sin_addr.s_addr = htonl(CardAddress(card));
    const int yes = 1;
    // A card that comes back may still have connections of its former life in the kernel's books.
    if (!listener.IsValid() ||
        setsockopt(listener.Get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes)) != 0 ||
        bind(listener.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(listener.Get(), kBacklog) != 0)
        ThrowHostError("cannot listen on " + CardAddressText(card));
    // Nobody takes what arrives at a silent card; its callers are connected and wait.
    if (host_.Cards()[card].ssh != SshState::Silent)
        Watch(events_.Get(), listener.Get(), card);
    listeners_[card] = std::move(listener);
}

// With the card's operating system ends all that runs on it.
void CardServer::StopCard(std::size_t card) {
    listeners_[card].Reset();
    for (const auto& [sshd, where] : sessions_) {
        if (where == card)
            kill(sshd, SIGKILL);
    }
    while (KillProcessesBelow(CardRoot(card))) {
    }
}

void CardServer::Accept(std::size_t card) {
    // Not there any more when the caller has given up, or the card has stopped since.
    const platform::UniqueFd connection(
        accept4(listeners_[card].Get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!connection.IsValid())
        return;
    if (!started_[card]) {
        StartCardSystem(card);
        started_[card] = true;
    }
    const pid_t child = fork();
    if (child == 0)
        BecomeSshd(card, connection.Get());
    if (child > 0)
        sessions_[child] = card;
}

void CardServer::BecomeSshd(std::size_t card, int connection) const {
    PrepareChild();
    // Another machine's processes: the terminal's signals do not reach them.
    setsid();
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGQUIT, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    umask(022);
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (chdir("/") != 0 || dup2(connection, STDIN_FILENO) < 0 ||
        dup2(connection, STDOUT_FILENO) < 0 || dup2(null, STDERR_FILENO) < 0)
        _exit(1);
    const std::string root = "ChrootDirectory=" + CardRoot(card);
    const char* const arguments[] = {
        kSshd, "-i", "-f", kSshdConfiguration, "-E", kSshdLog, "-o", root.c_str(), nullptr};
    char* const environment[] = {nullptr};
    execve(kSshd, const_cast<char* const*>(arguments), environment);
    _exit(1);
}

}  // namespace simulated

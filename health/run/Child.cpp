#include "run/Child.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "keeper/Report.h"
#include "run/BoundedText.h"
#include "run/Descriptor.h"

namespace zelhealth {

namespace {

using Clock = std::chrono::steady_clock;
using keeper::Order;
using keeper::Report;
using std::chrono::milliseconds;

// What a pipe can hold at most; so much may still be in it when the program has ended.
constexpr std::size_t kPipeBytes = 1024UL * 1024;
constexpr std::size_t kReadBytes = 64UL * 1024;

// One of the child's outputs.
class Output {
public:
    Output(std::size_t keepBytes, const std::function<void(std::string_view)>& onLine)
        : kept_(keepBytes), onLine_(onLine) {}

    void Open(Descriptor reader) { reader_ = std::move(reader); }
    int Reader() const { return reader_.Get(); }

    // What there is, `limit` bytes at most.
    void Read(std::size_t limit) {
        std::array<char, kReadBytes> buffer;
        while (reader_.IsOpen() && limit > 0) {
            const ssize_t bytes =
                read(reader_.Get(), buffer.data(), std::min(limit, buffer.size()));
            if (bytes < 0 && errno == EINTR) {
                continue;
            }
            if (bytes < 0 && errno == EAGAIN) {
                return;
            }
            if (bytes <= 0) {
                reader_.Close();
                return;
            }
            limit -= static_cast<std::size_t>(bytes);
            Take({buffer.data(), static_cast<std::size_t>(bytes)});
        }
    }

    // What stands behind the last line end is a line too.
    void Finish() {
        if (onLine_ && !line_.empty()) {
            onLine_(line_);
        }
        line_.clear();
    }

    std::string Text() const { return kept_.Text(); }
    bool Cut() const { return kept_.Cut(); }

private:
    void Take(std::string_view text) {
        kept_.Append(text);
        if (!onLine_) {
            return;
        }
        while (!text.empty()) {
            const std::size_t room = ChildSpec::kLongestLine - line_.size();
            const std::size_t length = std::min(text.find('\n'), text.size());
            const bool ends = length < text.size() && length <= room;
            const std::size_t taken = std::min(length, room);
            line_.append(text.substr(0, taken));
            text.remove_prefix(taken + (ends ? 1 : 0));
            if (ends || line_.size() == ChildSpec::kLongestLine) {
                onLine_(line_);
                line_.clear();
            }
        }
    }

    Descriptor reader_;
    BoundedText kept_;
    std::function<void(std::string_view)> onLine_;
    std::string line_;
};

// An argument or environment list as the system wants it.
std::vector<char*> Pointers(std::vector<std::string>& words) {
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::string_view NameOf(std::string_view variable) {
    return variable.substr(0, variable.find('='));
}

// With what would let ssh ask its questions elsewhere than on a terminal taken out.
std::vector<std::string> Environment(const std::vector<std::string>& changes) {
    std::vector<std::string> unset = {"SSH_ASKPASS", "SSH_ASKPASS_REQUIRE"};
    unset.insert(unset.end(), changes.begin(), changes.end());
    std::vector<std::string> environment;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const auto changed = [name = NameOf(*variable)](const std::string& change) {
            return NameOf(change) == name;
        };
        if (std::none_of(unset.begin(), unset.end(), changed)) {
            environment.emplace_back(*variable);
        }
    }
    std::copy_if(changes.begin(), changes.end(), std::back_inserter(environment),
                 [](const std::string& change) { return change.find('=') != std::string::npos; });
    return environment;
}

class SpawnSettings {
public:
    SpawnSettings() {
        posix_spawn_file_actions_init(&actions_);
        posix_spawnattr_init(&attributes_);
        sigset_t none;
        sigemptyset(&none);
        posix_spawnattr_setsigmask(&attributes_, &none);
        sigset_t all;
        sigfillset(&all);
        posix_spawnattr_setsigdefault(&attributes_, &all);
        posix_spawnattr_setflags(
            &attributes_, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&actions_);
        posix_spawnattr_destroy(&attributes_);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    posix_spawn_file_actions_t actions_;
    posix_spawnattr_t attributes_;
};

// Two ends that are not inherited; the first is ours, and does not block.
bool MakePipe(Descriptor& reader, Descriptor& writer) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return false;
    }
    reader = Descriptor(ends[0]);
    writer = Descriptor(ends[1]);
    return fcntl(ends[0], F_SETFL, O_NONBLOCK) == 0;
}

bool MakeSocket(Descriptor& ours, Descriptor& theirs) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        return false;
    }
    ours = Descriptor(ends[0]);
    theirs = Descriptor(ends[1]);
    return true;
}

class Run {
public:
    Run(const ChildSpec& spec, const Stop& stop)
        : spec_(spec),
          stop_(stop),
          out_(spec.keepBytes, spec.onLine),
          err_(spec.keepBytes, nullptr),
          begin_(Clock::now()),
          until_(begin_ + spec.deadline) {}

    // Out of memory, say: then nobody waits for what was started, which is killed.
    ~Run() {
        if (keeperPid_ > 0) {
            keeper_.Close();
            AwaitKeeper();
        }
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    ChildResult ToItsEnd() {
        if (Start()) {
            while (stage_ != Stage::over) {
                Step();
            }
            Finish();
        }
        result_.seconds = Clock::now() - begin_;
        return std::move(result_);
    }

private:
    enum class Stage { running, terminated, killed, over };

    bool Fail(int error, const std::string& what) {
        result_.end = ChildEnd::notStarted;
        result_.code = error;
        result_.error = what + ": " + std::strerror(error);
        stage_ = Stage::over;
        return false;
    }

    bool Start() {
        Descriptor outReader;
        Descriptor outWriter;
        Descriptor errReader;
        Descriptor errWriter;
        Descriptor theirs;
        if (!MakePipe(outReader, outWriter) || !MakePipe(errReader, errWriter) ||
            !MakeSocket(keeper_, theirs)) {
            return Fail(errno, spec_.command.front());
        }
        // Nothing that is put in place is put over another that is still to be.
        for (Descriptor* const end : {&outWriter, &errWriter, &theirs}) {
            if (!end->MoveAbove(keeper::kSocket)) {
                return Fail(errno, spec_.command.front());
            }
        }
        SpawnSettings settings;
        posix_spawn_file_actions_t& actions = settings.actions_;
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&actions, outWriter.Get(), STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, errWriter.Get(), STDERR_FILENO);
        posix_spawn_file_actions_adddup2(&actions, theirs.Get(), keeper::kSocket);
        posix_spawn_file_actions_addclosefrom_np(&actions, keeper::kSocket + 1);

        std::vector<std::string> words = {ProgramFolder() + "/zelkeeper"};
        words.insert(words.end(), spec_.command.begin(), spec_.command.end());
        std::vector<std::string> environment = Environment(spec_.environment);
        const int error =
            posix_spawn(&keeperPid_, words.front().c_str(), &actions, &settings.attributes_,
                        Pointers(words).data(), Pointers(environment).data());
        if (error != 0) {
            keeperPid_ = 0;
            return Fail(error, words.front());
        }
        out_.Open(std::move(outReader));
        err_.Open(std::move(errReader));
        return true;
    }

    int MillisecondsLeft() const {
        const auto left = std::chrono::ceil<milliseconds>(until_ - Clock::now()).count();
        return static_cast<int>(std::clamp<long>(left, 0, INT_MAX));
    }

    void Step() {
        const Stop* const stronger = stop_.Stronger();
        // A wish that is made stays readable, and is not looked at again.
        const int wish = stage_ == Stage::running ? stop_.Event() : -1;
        const int strongWish =
            stage_ < Stage::killed && stronger != nullptr ? stronger->Event() : -1;
        pollfd events[] = {{keeper_.Get(), POLLIN, 0},
                           {out_.Reader(), POLLIN, 0},
                           {err_.Reader(), POLLIN, 0},
                           {wish, POLLIN, 0},
                           {strongWish, POLLIN, 0}};
        if (poll(events, std::size(events), MillisecondsLeft()) < 0 && errno != EINTR) {
            End(ChildEnd::stopped, Stage::killed, Order::kill);
        }
        out_.Read(kReadBytes);
        err_.Read(kReadBytes);
        if (events[0].revents != 0) {
            Hear();
        }
        if (stage_ == Stage::over) {
            return;
        }
        if (events[4].revents != 0) {
            End(ChildEnd::stopped, Stage::killed, Order::kill);
        } else if (events[3].revents != 0) {
            End(ChildEnd::stopped, Stage::terminated, Order::terminate);
        } else if (Clock::now() >= until_) {
            Expire();
        }
    }

    void Expire() {
        switch (stage_) {
            case Stage::running:
                End(ChildEnd::timedOut, Stage::terminated, Order::terminate);
                break;
            case Stage::terminated:
                End(why_, Stage::killed, Order::kill);
                break;
            default:
                result_.end = ChildEnd::givenUp;
                // A keeper that hangs may not even have started it.
                result_.pid = result_.pid != 0 ? result_.pid : keeperPid_;
                stage_ = Stage::over;
                break;
        }
    }

    // Why it is ended is what was first the reason.
    void End(ChildEnd why, Stage stage, Order order) {
        if (stage_ == Stage::running) {
            why_ = why;
        }
        stage_ = stage;
        until_ = Clock::now() + spec_.grace;
        const char byte = static_cast<char>(order);
        (void)send(keeper_.Get(), &byte, 1, MSG_NOSIGNAL);
    }

    void Hear() {
        Report report{};
        const ssize_t bytes = recv(keeper_.Get(), &report, sizeof report, MSG_DONTWAIT);
        if (bytes < 0 && (errno == EAGAIN || errno == EINTR)) {
            return;
        }
        if (bytes != sizeof report) {
            LostKeeper();
            return;
        }
        switch (report.kind) {
            case Report::Kind::started:
                result_.pid = report.pid;
                break;
            case Report::Kind::notStarted:
                Fail(report.value, spec_.command.front());
                break;
            case Report::Kind::ended:
                Ended(report.value);
                break;
        }
    }

    // One that is gone without a word when all was to end anyway has ended like the rest.
    void LostKeeper() {
        result_.end = stage_ == Stage::running ? ChildEnd::signalled : why_;
        result_.code = SIGKILL;
        result_.error = "zelkeeper was killed";
        stage_ = Stage::over;
    }

    void Ended(int status) {
        if (stage_ != Stage::running) {
            result_.end = why_;
        } else {
            result_.end = !WIFSIGNALED(status)          ? ChildEnd::exited
                          : IsOneWish(WTERMSIG(status)) ? ChildEnd::stopped
                                                        : ChildEnd::signalled;
        }
        result_.code = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
        stage_ = Stage::over;
    }

    // Schedulers and sessions tell all of their processes at once that they are to end. The child may have heard
    // it first.
    bool IsOneWish(int signal) const {
        constexpr int kMilliseconds = 500;
        return (signal == SIGTERM || signal == SIGINT || signal == SIGHUP) &&
               stop_.WaitFor(kMilliseconds);
    }

    void Finish() {
        out_.Read(kPipeBytes);
        err_.Read(kPipeBytes);
        out_.Finish();
        result_.out = out_.Text();
        result_.err = err_.Text();
        result_.outCut = out_.Cut();
        result_.errCut = err_.Cut();
        keeper_.Close();
        AwaitKeeper();
        keeperPid_ = 0;
    }

    // Once it is gone, nothing is left of what it kept. One that cannot end is left to do it later.
    void AwaitKeeper() const {
        const Descriptor process(static_cast<int>(syscall(SYS_pidfd_open, keeperPid_, 0)));
        pollfd event{process.Get(), POLLIN, 0};
        const int grace =
            result_.end == ChildEnd::givenUp ? 0 : static_cast<int>(spec_.grace.count());
        if (!process.IsOpen() || poll(&event, 1, grace) > 0) {
            waitpid(keeperPid_, nullptr, 0);
        }
    }

    const ChildSpec& spec_;
    const Stop& stop_;
    Output out_;
    Output err_;
    Clock::time_point begin_;
    Clock::time_point until_;
    Stage stage_ = Stage::running;
    ChildEnd why_ = ChildEnd::timedOut;
    Descriptor keeper_;
    pid_t keeperPid_ = 0;
    ChildResult result_;
};

}  // namespace

ChildResult RunChild(const ChildSpec& spec, const Stop& stop) {
    return Run(spec, stop).ToItsEnd();
}

std::string ProgramFolder() {
    std::array<char, PATH_MAX> path;
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    const std::string_view file(path.data(), length < 0 ? 0 : static_cast<std::size_t>(length));
    return std::string(file.substr(0, file.rfind('/')));
}

}  // namespace zelhealth

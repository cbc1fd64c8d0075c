// Starts the tool, waits for it, and clears what it left.
#include "Tool.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fstream>
#include <iterator>
#include <new>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace sweep {

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kLongest = std::chrono::seconds(200);

// What the tool sleeps is for a program on the card to catch up, which takes less here.
constexpr char kSleepPart[] = "20";

// What a run prints, in a file without a name.
class Output {
public:
    Output() : file_(memfd_create("output", MFD_CLOEXEC)) {
        if (file_ < 0)
            throw std::system_error(errno, std::generic_category(), "memfd_create");
    }
    ~Output() { close(file_); }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    int File() const { return file_; }

    std::string Text() const {
        std::string text(static_cast<std::size_t>(lseek(file_, 0, SEEK_END)), '\0');
        const ssize_t length = pread(file_, text.data(), text.size(), 0);
        text.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
        return text;
    }

private:
    int file_;
};

// Times differ from run to run.
std::string Masked(std::string text) {
    constexpr std::string_view kElapsed = "time elapsed:";
    for (std::size_t at = text.find(kElapsed); at != std::string::npos;
         at = text.find(kElapsed, at + 1)) {
        const std::size_t begin = at + kElapsed.size();
        text.replace(begin, std::min(text.find('\n', begin), text.size()) - begin, " -");
    }
    return text;
}

// The processes that the run left, the card's programs among them.
std::vector<pid_t> Children() {
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
    std::ifstream list("/proc/self/task/" + std::to_string(getpid()) + "/children");
    return {std::istream_iterator<pid_t>(list), {}};
}

// Waits until what the run left has ended, which a card's program does when its caller is gone, and ends
// what has not. Returns how many that are.
int ClearProcesses() {
    constexpr auto kTimeToEnd = std::chrono::seconds(5);
    constexpr useconds_t kPause = 1000;
    const auto end = Clock::now() + kTimeToEnd;
    while (!Children().empty() && Clock::now() < end)
        usleep(kPause);
    const int left = static_cast<int>(Children().size());
    for (std::vector<pid_t> rest = Children(); !rest.empty(); rest = Children()) {
        for (const pid_t process : rest)
            kill(process, SIGKILL);
        usleep(kPause);
    }
    return left;
}

// Waits for the process; false when it does not end in time.
bool Await(pid_t process, int* status) {
    const int handle = static_cast<int>(syscall(SYS_pidfd_open, process, 0));
    if (handle < 0)
        throw std::system_error(errno, std::generic_category(), "pidfd_open");
    pollfd ended{handle, POLLIN, 0};
    constexpr auto kMilliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(kLongest).count();
    const bool inTime = poll(&ended, 1, static_cast<int>(kMilliseconds)) > 0;
    close(handle);
    if (!inTime)
        kill(process, SIGKILL);
    waitpid(process, status, 0);
    return inTime;
}

}  // namespace

Tool::Tool(std::vector<std::string> words, std::string preload)
    : words_(std::move(words)),
      host_(simulated::HostState::Open()),
      preload_(std::move(preload)),
      symbols_(words_.front()) {
    if (!host_)
        throw std::runtime_error("runs on a simulated host only: zelsim run -- zel_sweep ...");
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    file_ = memfd_create("injection", 0);
    if (file_ < 0 || ftruncate(file_, sizeof(Injection)) != 0)
        throw std::system_error(errno, std::generic_category(), "memfd_create");
    void* const memory =
        mmap(nullptr, sizeof(Injection), PROT_READ | PROT_WRITE, MAP_SHARED, file_, 0);
    if (memory == MAP_FAILED)
        throw std::system_error(errno, std::generic_category(), "mmap");
    injection_ = static_cast<Injection*>(memory);
    environment_ = "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(file_);
}

Tool::~Tool() {
    munmap(injection_, sizeof(Injection));
    close(file_);
}

std::vector<std::string> Tool::NamesOf(const std::array<std::uint64_t, kDepth>& site) {
    std::vector<std::uint64_t> calls;
    for (const std::uint64_t address : site) {
        // The call lies before the address to which it returns.
        if (address != 0)
            calls.push_back(address - 1);
    }
    return symbols_.NamesAt(calls);
}

Outcome Tool::Run(Kind kind, std::uint64_t at, ZEL_CARD_USAGE_MODE mode) {
    for (simulated::CardState& card : host_->Cards()) {
        if (simulated::HostState::UsageModeOf(card) != mode)
            simulated::HostState::SetUsageMode(card, mode);
    }
    new (injection_) Injection{};
    injection_->kind = kind;
    injection_->at = at;

    const Output out;
    const Output err;
    std::vector<char*> arguments;
    for (std::string& word : words_)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    const pid_t process = fork();
    if (process < 0)
        throw std::system_error(errno, std::generic_category(), "fork");
    if (process == 0) {
        dup2(out.File(), STDOUT_FILENO);
        dup2(err.File(), STDERR_FILENO);
        setenv(kVariable, environment_.c_str(), 1);
        setenv("LD_PRELOAD", preload_.c_str(), 1);
        setenv("ZELDIAG_SLEEP_PART", kSleepPart, 1);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    Outcome outcome;
    int status = 0;
    outcome.hung = !Await(process, &status);
    outcome.processes = ClearProcesses();

    outcome.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    outcome.out = Masked(out.Text());
    outcome.err = err.Text();
    for (std::size_t i = 0; i < kKinds; ++i)
        outcome.counts[i] = injection_->counts[i];
    outcome.struck = injection_->struck != 0;
    outcome.what = injection_->what;
    outcome.tidied = injection_->tidied != 0;
    outcome.blocks = injection_->blocks;
    outcome.descriptors = injection_->openAfter - injection_->openBefore;
    outcome.slept = injection_->slept;
    outcome.site = NamesOf(injection_->site);
    for (std::size_t i = 0; i < injection_->keptBlocks; ++i) {
        const KeptBlock& block = injection_->kept[i];
        outcome.kept.push_back({block.bytes, block.library, NamesOf(block.site)});
    }
    for (const simulated::CardState& card : host_->Cards())
        outcome.modes.push_back(simulated::HostState::UsageModeOf(card));
    return outcome;
}

}  // namespace sweep

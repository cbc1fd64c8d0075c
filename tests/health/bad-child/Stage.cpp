#include "Stage.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "host/Processes.h"
#include "run/Descriptor.h"
#include "run/Verdict.h"
#include "schedule/TestRun.h"

namespace bad {

namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

// For what never ends by itself, for what takes a processor until then, and for what does, however busy the machine is.
constexpr milliseconds kShort{300};
constexpr milliseconds kBusy{100};
constexpr milliseconds kLong{60000};

// Behind its deadline a run has so much to come to its end.
constexpr milliseconds kMore{15000};
constexpr long kMostKilobytes = 30L * 1024;

milliseconds DeadlineOf(const Act& act) {
    const bool busy = act.fault->kind == Kind::floods || act.fault->kind == Kind::pours;
    return busy ? kBusy : act.Stalls() ? kShort : kLong;
}

std::ptrdiff_t OpenDescriptors() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

// The stand-ins that live of those whose name begins so.
std::string Living(const std::string& name) {
    for (const zelhealth::Process& process : zelhealth::ReadProcesses()) {
        const bool named = process.command.find(name) != std::string::npos;
        if (named && !process.ended && process.program == "bad_child_stand_in")
            return "pid " + std::to_string(process.id.pid) + " lives on: " + process.command;
    }
    return "";
}

// Files of a run's own folders that are none of those that stay, or that somebody still locks.
std::string LeftIn(const fs::path& folder) {
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (!entry.is_regular_file())
            continue;
        const std::string parent = entry.path().parent_path().filename();
        if (parent == "modes" || parent == "wedged")
            return entry.path().string() + " is left";
        const zelhealth::Descriptor file(open(entry.path().c_str(), O_RDONLY | O_CLOEXEC));
        if (flock(file.Get(), LOCK_EX | LOCK_NB) != 0)
            return entry.path().string() + " is locked";
    }
    return "";
}

struct Ended {
    int status = -1;  // -1 when it does not end
    long kilobytes = 0;
};

Ended AwaitEnd(pid_t pid, milliseconds limit) {
    const zelhealth::Descriptor process(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
    pollfd event{process.Get(), POLLIN, 0};
    const bool inTime = poll(&event, 1, static_cast<int>(limit.count())) > 0;
    if (!inTime)
        kill(pid, SIGKILL);
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    return {inTime && WIFEXITED(status) ? WEXITSTATUS(status) : -1, usage.ru_maxrss};
}

pid_t Start(std::vector<std::string> words, std::vector<std::string> variables) {
    for (char** variable = environ; *variable != nullptr; ++variable)
        variables.emplace_back(*variable);
    const auto pointers = [](std::vector<std::string>& texts) {
        std::vector<char*> list;
        for (std::string& text : texts)
            list.push_back(text.data());
        list.push_back(nullptr);
        return list;
    };
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int output : {STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&actions, output, "/dev/null", O_WRONLY, 0);
    pid_t pid = 0;
    const int error = posix_spawn(&pid, words.front().c_str(), &actions, nullptr,
                                  pointers(words).data(), pointers(variables).data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw std::runtime_error(words.front() + " does not start");
    return pid;
}

}  // namespace

Stage::Stage(const std::string& part, std::string zelhealth)
    : part_(part), zelhealth_(std::move(zelhealth)) {
    std::string folder = fs::temp_directory_path() / "bad-child.XXXXXX";
    if (mkdtemp(folder.data()) == nullptr)
        throw std::runtime_error("no folder");
    folder_ = folder;
    fs::permissions(folder_, fs::perms(0755));
    descriptors_ = OpenDescriptors();
}

Stage::~Stage() {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
}

fs::path Stage::MakeStandIn(const Recording& recording, const Act& act) const {
    fs::path standIn = folder_ / NameOf(recording.script.name, act);
    fs::create_symlink(fs::read_symlink("/proc/self/exe").parent_path() / "bad_child_stand_in",
                       standIn);
    return standIn;
}

Found Stage::Try(const Recording& recording, const Act& act) const {
    Found found;
    const auto begin = Clock::now();
    found.wrong = part_ == "read"     ? Read(recording, act, found)
                  : part_ == "played" ? Play(recording, act, found)
                                      : Whole(recording, act, found);
    const bool mayPass = MayPass(recording, act);
    if (found.wrong.empty() && found.verdict == "passed" && !mayPass)
        found.wrong = "passed, which it has not";
    if (found.wrong.empty() && found.verdict != "passed" && mayPass)
        found.wrong = "is " + found.verdict + ", and has passed";
    if (found.wrong.empty() && Clock::now() - begin > DeadlineOf(act) + kMore)
        found.wrong = "took longer than its deadline and 15 seconds";
    if (found.wrong.empty() && part_ == "whole")
        found.wrong = Living(NameOf(recording.script.name, act) + " ");
    return found;
}

std::string Stage::Read(const Recording& recording, const Act& act, Found& found) const {
    const Speech speech = SpeechOf(recording.script, act);
    zelhealth::ChildResult child;
    child.end = zelhealth::ChildEnd::exited;
    child.code = speech.after ? recording.script.status : act.number;
    child.out = speech.before + speech.after.value_or("");
    child.err = recording.script.err;
    found.verdict = NameOf(zelhealth::Judge(child, recording.Asked()).verdict);
    return "";
}

std::string Stage::Play(const Recording& recording, const Act& act, Found& found) const {
    const zelhealth::Stop never;
    zelhealth::PlannedTest test;
    test.row = recording.row;
    const zelhealth::TestOutcome outcome = zelhealth::RunTest(
        MakeStandIn(recording, act), 0, "", test, DeadlineOf(act), [](int) {}, never);
    found.verdict = NameOf(outcome.judgement.verdict);
    const bool stalls = act.Stalls();
    return stalls == (outcome.judgement.verdict == zelhealth::Verdict::timedOut)
               ? ""
               : "is " + found.verdict + ": " + outcome.judgement.reason;
}

std::string Stage::Whole(const Recording& recording, const Act& act, Found& found) const {
    const fs::path standIn = MakeStandIn(recording, act);
    const fs::path own = standIn.string() + ".d";
    fs::create_directories(own / "etc");
    std::ofstream(own / "plan.toml")
        << "[[test]]\ntest = \"" << recording.row->Id()
        << "\"\ndeadline = " << std::chrono::duration<double>(DeadlineOf(act)).count() << "\n";
    // What is not about the test is bounded by the run's deadline.
    const char* const deadline = act.AtOnce() ? "1" : "60";
    const pid_t pid = Start({zelhealth_, "run", "--deadline", deadline, "--quiet", "--plan",
                             own / "plan.toml", "--tool", standIn, "--output", own / "stream"},
                            {"ZELHEALTH_RUN_FOLDER=" + (own / "run").string(),
                             "ZELHEALTH_STATE_FOLDER=" + (own / "state").string(),
                             "ZELHEALTH_CONFIGURATION_FOLDER=" + (own / "etc").string()});
    const Ended ended = AwaitEnd(pid, DeadlineOf(act) + kMore);
    std::ifstream stream(own / "stream");
    nlohmann::json last;
    for (std::string line; std::getline(stream, line);) {
        last = nlohmann::json::parse(line);
        if (last["record"] == "test_finished")
            found.verdict = last["verdict"];
    }
    if (ended.status < 0)
        return "does not end";
    if (last.value("record", "") != "run_finished" || last.value("status", -1) != ended.status)
        return "its stream does not end with its status, " + std::to_string(ended.status);
    if ((ended.status == 0) != (found.verdict == "passed"))
        return "ends with " + std::to_string(ended.status) + ", and is " + found.verdict;
    found.kilobytes = ended.kilobytes;
    if (ended.kilobytes > kMostKilobytes)
        return "takes " + std::to_string(ended.kilobytes) + " KiB";
    return LeftIn(own);
}

std::string Stage::Left() const {
    std::string living = Living(folder_);
    if (!living.empty())
        return living;
    const std::ptrdiff_t more = OpenDescriptors() - descriptors_;
    return more == 0 ? "" : std::to_string(more) + " descriptors more are open than before";
}

}  // namespace bad

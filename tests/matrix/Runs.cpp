// Runs of every test on a card with a fault.
#include "Runs.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "Report.h"
#include "TestEngine/TestGroups.h"
#include "TestEngine/te_main_frontend.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kRuns = 3;
constexpr int kHostsAtOnce = 4;  // a run waits more than it works

// What ends a run that does not end by itself, long after another one has.
constexpr char kEnding[] = "timeout --kill-after=1 60 ";

std::string ShortName(const ifstTstGroup& group, std::size_t test) {
    return test < group.frontEnd->numTests ? group.frontEnd->tests[test].shortNm : "?";
}

// Runs a command line of the shell and returns what it printed.
std::string Output(const std::string& command) {
    FILE* const stream = popen(command.c_str(), "r");
    if (stream == nullptr)
        throw std::runtime_error(command);
    std::string text;
    std::array<char, 4096> piece;
    while (const std::size_t length = std::fread(piece.data(), 1, piece.size(), stream))
        text.append(piece.data(), length);
    pclose(stream);
    return text;
}

// Every test in the state that it needs: the memory tests in the ready state, each by itself since a
// failure of the one counts for the other, all others in normal mode.
std::string Script(const Fault& fault) {
    std::string words;
    for (const ifstTstGroup& group : ifstTstGrps) {
        if (std::string(group.shortNm) != "-mem")
            words += std::string(" ") + group.shortNm;
    }
    words += " -all";
    const std::string after = " -dbgLvl=4 2>&1; printf \"\\nstatus %s\\n\" $?; zelsim mode zel0 " +
                              fault.memoryMode + "; ";
    const std::string before = fault.blocks ? kEnding : "";
    std::string script;
    for (const std::string& run :
         {words, std::string(" -mem -wr -info"), std::string(" -mem -full")}) {
        script += before + "ZelDiag -summary -noExitOnFail";
        script += run;
        script += after;
    }
    return script;
}

std::string Trimmed(std::string text) {
    std::ranges::replace(text, '\n', ' ');
    std::ranges::replace(text, '|', '/');
    const auto first = text.find_first_not_of(' ');
    return first == std::string::npos ? ""
                                      : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// Which of two reasons a failed exchange has depends on which half ends first; what a workload tells
// depends on the machine, but for its verdict.
std::string Settled(const std::string& reason) {
    const std::size_t verdict = reason.find("TEST FAILED: ");
    if (verdict != std::string::npos)
        return reason.substr(verdict);
    return reason == "Thread canceled." ? "Test failed. Threads did not succeed." : reason;
}

const ifstTstGroup& GroupNamed(std::string_view name) {
    for (const ifstTstGroup& group : ifstTstGrps) {
        if (name == group.name)
            return group;
    }
    throw std::runtime_error("a failed test outside of every group: " + std::string(name));
}

void CollectReasons(const std::string& text, Result& result) {
    for (const Report::Failure& failure : Report(text).failures) {
        const std::string name = ShortName(GroupNamed(failure.group), failure.test - 1);
        result.reasons.emplace(name, Settled(Trimmed(std::string(failure.reason))));
    }
}

// Waits take that part of their time. What they wait for takes its whole time, and under a sanitizer much more.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr char kSleepPart[] = "4";
#else
constexpr char kSleepPart[] = "8";
#endif

// By the summary; a card that it fails although none of its tests did was not in the mode that they need.
Verdict VerdictOf(const std::string& run, int status) {
    const Report report(run);
    if (report.summary.empty()) {
        for (const Verdict& ended : {kDoesNotEnd, kEndsByKill}) {
            if (status == ended.status)
                return ended;
        }
        return kEndsEarly;
    }
    if (report.summary.front().result == Report::Result::Passed)
        return kPassed;
    return !report.cards.empty() && report.cards.front().status == "OK" ? kSkipped : kFailed;
}

Result RunTests(const std::string& build, const Fault& fault) {
    const fs::path fleet = fs::temp_directory_path() /
                           ("zeldiag-matrix." + fault.name + "." + std::to_string(getpid()));
    std::ofstream(fleet) << FleetWith(fault);
    const std::string output = Output(build + "/bin/zelsim run --fleet '" + fleet.string() +
                                      "' -- env LD_PRELOAD=" + build +
                                      "/tests/e2e_shim.so ZELDIAG_SLEEP_PART=" + kSleepPart +
                                      " sh -c '" + Script(fault) + "' < /dev/null");
    fs::remove(fleet);
    Result result;
    CollectReasons(output, result);
    constexpr std::string_view kEnd = "\nstatus ";
    std::size_t begin = 0;
    for (std::size_t end = output.find(kEnd); end != std::string::npos;
         end = output.find(kEnd, begin)) {
        const std::string run = output.substr(begin, end - begin);
        begin = end + kEnd.size();
        const int status = std::stoi(output.substr(begin));
        const Verdict verdict = VerdictOf(run, status);
        if (status != verdict.status)
            throw std::runtime_error(fault.name + ": a run (" + std::string(verdict.text) +
                                     ") ended with " + std::to_string(status) + ":\n" + output);
        result.verdicts.push_back(verdict);
    }
    if (result.verdicts.size() != kRuns)
        throw std::runtime_error(fault.name + ": not every run ends:\n" + output);
    return result;
}

}  // namespace

std::vector<std::string> AllTests() {
    std::vector<std::string> tests;
    for (const ifstTstGroup& group : ifstTstGrps) {
        for (std::size_t i = 0; i < group.frontEnd->numTests; ++i)
            tests.push_back(ShortName(group, i));
    }
    return tests;
}

std::vector<Result> RunAll(const std::string& build, const std::vector<Fault>& faults) {
    std::vector<Result> results(faults.size());
    std::vector<std::exception_ptr> failures(faults.size());
    std::atomic<std::size_t> next{0};
    const auto work = [&] {
        for (std::size_t i = next++; i < faults.size(); i = next++) {
            try {
                results[i] = RunTests(build, faults[i]);
            } catch (...) {
                failures[i] = std::current_exception();
            }
        }
    };
    std::vector<std::jthread> workers;
    for (int i = 0; i < kHostsAtOnce; ++i)
        workers.emplace_back(work);
    workers.clear();
    for (const std::exception_ptr& failure : failures) {
        if (failure)
            std::rethrow_exception(failure);
    }
    return results;
}

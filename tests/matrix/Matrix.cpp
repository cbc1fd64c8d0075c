// Writes which test finds which fault, as a Markdown document: every fault of a folder, and every failing
// call of the simulated libraries, is put into an otherwise healthy card, and every test runs on it.
//
//     zel_matrix BUILD_DIR FAULTS_DIR > document
//
// Fails when a healthy card does not pass, or when there is a test that finds no fault.
#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "CallNames.h"
#include "TestEngine/TestGroups.h"
#include "TestEngine/te_main_frontend.h"

namespace {

namespace fs = std::filesystem;

struct Fault {
    std::string name;
    std::string description;
    std::string card;  // what stands in the fleet file
    bool ofHost = false;
};

struct Result {
    std::map<std::string, std::string> reasons;  // by the test's short name
    std::vector<std::string> verdicts;           // of the runs
};

constexpr std::size_t kRuns = 3;

const Fault kHealthy = {"(none)", "a healthy card", ""};

// More registers differ than the test lets pass.
Fault SboxFault() {
    constexpr int kTooMany = 360;
    std::string card = "[card.sbox]\n";
    int count = 0;
#define SBOX_REGISTER(name, offset, width, value, source) \
    if (count++ < kTooMany)                               \
        card += #name " = " + std::to_string((value) ^ 1U) + "\n";
#include "SboxRegisters.def"
#undef SBOX_REGISTER
    return {"sbox-registers", "more than half of the SBOX registers do not hold their defaults",
            card};
}

// The card's memory is small, so that testing all of it takes no time.
std::string Fleet(const Fault& fault) {
    const bool sized = fault.card.find("memory_size") != std::string::npos;
    const std::string card = std::string("[[card]]\n") + (sized ? "" : "memory_size = \"48MiB\"\n");
    return fault.ofHost ? fault.card + card : card + fault.card;
}

std::vector<Fault> ReadFaults(const fs::path& folder) {
    std::vector<Fault> faults;
    for (const auto& entry : fs::directory_iterator(folder)) {
        std::ifstream file(entry.path());
        std::string description;
        std::getline(file, description);
        if (!description.starts_with("# "))
            throw std::runtime_error(entry.path().string() + ": the first line says what is wrong");
        std::ostringstream card;
        card << file.rdbuf();
        faults.push_back({entry.path().stem(), description.substr(2), card.str()});
    }
    faults.push_back(SboxFault());
    std::ranges::sort(faults, {}, &Fault::name);
    for (const std::string& call : simulated::CallNames()) {
        // An end that is not closed keeps the other one waiting, or not.
        if (call == "vorl_close")
            continue;
        const bool ofHost = simulated::IsHostCall(call);
        faults.push_back({call, "the call fails",
                          std::string(ofHost ? "[[fault]]" : "[[card.fault]]") + "\ncall = \"" +
                              call + "\"\ncount = 0\n",
                          ofHost});
    }
    return faults;
}

std::string ShortName(const ifstTstGroup& group, std::size_t test) {
    return test < group.frontEnd->numTests ? group.frontEnd->tests[test].shortNm : "?";
}

std::vector<std::string> AllTests() {
    std::vector<std::string> tests;
    for (const ifstTstGroup& group : ifstTstGrps) {
        for (std::size_t i = 0; i < group.frontEnd->numTests; ++i)
            tests.push_back(ShortName(group, i));
    }
    return tests;
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
std::string Script() {
    std::string words;
    for (const ifstTstGroup& group : ifstTstGrps) {
        if (std::string(group.shortNm) != "-mem")
            words += std::string(" ") + group.shortNm;
    }
    words += " -all";
    std::string script;
    for (const std::string& run :
         {words, std::string(" -mem -wr -info"), std::string(" -mem -full")}) {
        script += "ZelDiag -summary -noExitOnFail" + run +
                  " -dbgLvl=4 2>&1; echo \"status $?\"; zelsim mode zel0 offline; ";
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

// Which of two reasons a failed exchange has depends on which half ends first.
std::string Settled(const std::string& reason) {
    return reason == "Thread canceled." ? "Test failed. Threads did not succeed." : reason;
}

// The group whose tests are being reported at this place of the output.
const ifstTstGroup* GroupBefore(const std::string& text, std::size_t at) {
    const ifstTstGroup* found = nullptr;
    std::size_t last = 0;
    for (const ifstTstGroup& group : ifstTstGrps) {
        const std::size_t begin = text.rfind(std::string(group.name) + " : BEGINS", at);
        if (begin != std::string::npos && begin >= last) {
            last = begin;
            found = &group;
        }
    }
    return found;
}

void CollectReasons(const std::string& text, Result& result) {
    constexpr char kFailed[] = " Failed in file ";
    constexpr char kReason[] = " with reason [";
    for (std::size_t at = text.find(kFailed); at != std::string::npos;
         at = text.find(kFailed, at + 1)) {
        const std::size_t number = text.rfind("Test ", at) + 5;
        const std::size_t reason = text.find(kReason, at) + sizeof(kReason) - 1;
        const ifstTstGroup* const group = GroupBefore(text, at);
        if (group == nullptr)
            throw std::runtime_error("a failed test outside of every group:\n" + text);
        const std::string name = ShortName(*group, std::stoul(text.substr(number)) - 1);
        result.reasons.emplace(
            name, Settled(Trimmed(text.substr(reason, text.find("]\n", reason) - reason))));
    }
}

std::string Verdict(const std::string& run) {
    if (run.find("\nzel0 (") == std::string::npos)
        return "ends early";
    return run.find("): PASSED\n") != std::string::npos ? "passed" : "failed";
}

Result RunTests(const std::string& build, const Fault& fault) {
    const fs::path fleet = fs::temp_directory_path() /
                           ("zeldiag-matrix." + fault.name + "." + std::to_string(getpid()));
    std::ofstream(fleet) << Fleet(fault);
    const std::string output = Output(
        build + "/bin/zelsim run --fleet '" + fleet.string() + "' -- env LD_PRELOAD=" + build +
        "/tests/e2e_shim.so ZELDIAG_SLEEP_PART=20 sh -c '" + Script() + "' < /dev/null");
    fs::remove(fleet);
    Result result;
    CollectReasons(output, result);
    constexpr std::string_view kEnd = "\nstatus ";
    std::size_t begin = 0;
    for (std::size_t end = output.find(kEnd); end != std::string::npos;
         end = output.find(kEnd, begin)) {
        result.verdicts.push_back(Verdict(output.substr(begin, end - begin)));
        begin = end + kEnd.size();
    }
    if (result.verdicts.size() != kRuns)
        throw std::runtime_error(fault.name + ": not every run ends:\n" + output);
    return result;
}

// All faults, a few at a time: a run waits more than it works.
std::vector<Result> RunAll(const std::string& build, const std::vector<Fault>& faults) {
    std::vector<Result> results(faults.size());
    std::atomic<std::size_t> next{0};
    const auto work = [&] {
        for (std::size_t i = next++; i < faults.size(); i = next++)
            results[i] = RunTests(build, faults[i]);
    };
    std::vector<std::jthread> workers;
    for (int i = 0; i < 4; ++i)
        workers.emplace_back(work);
    workers.clear();
    return results;
}

void Write(const std::vector<Fault>& faults, const std::vector<Result>& results) {
    std::cout
        << "# What each test finds\n\n"
           "Written by `tests/matrix/matrix --write`, and compared by the test suite with what the "
           "tool "
           "does: each fault is put into\nan otherwise healthy simulated card, and every test runs "
           "on "
           "it.\n\n"
           "## Faults\n\n"
           "The verdicts are those of three runs: of the groups that need normal mode, of `-mem "
           "-wr "
           "-info`, and of `-mem -full`.\n\n"
           "| fault | what is wrong | verdicts | found by, with the reason |\n|---|---|---|---|\n";
    for (std::size_t i = 0; i < faults.size(); ++i) {
        std::cout << "| " << faults[i].name << " | " << faults[i].description << " |";
        for (const std::string& verdict : results[i].verdicts)
            std::cout << " " << verdict << (&verdict == &results[i].verdicts.back() ? " | " : ",");
        if (results[i].reasons.empty())
            std::cout << "no test";
        const char* separator = "";
        for (const std::string& test : AllTests()) {
            const auto found = results[i].reasons.find(test);
            if (found == results[i].reasons.end())
                continue;
            std::cout << separator << "`" << test << "` " << found->second;
            separator = "; ";
        }
        std::cout << " |\n";
    }
    std::cout << "\n## Tests\n\n| test | finds |\n|---|---|\n";
    for (const std::string& test : AllTests()) {
        std::cout << "| `" << test << "` | ";
        const char* separator = "";
        for (std::size_t i = 0; i < faults.size(); ++i) {
            if (!results[i].reasons.contains(test))
                continue;
            std::cout << separator << faults[i].name;
            separator = ", ";
        }
        std::cout << " |\n";
    }
}

bool Check(const std::vector<Result>& results) {
    const Result& healthy = results.front();
    bool right = healthy.reasons.empty() &&
                 std::ranges::all_of(healthy.verdicts,
                                     [](const auto& verdict) { return verdict == "passed"; });
    if (!right)
        std::cerr << "a healthy card does not pass\n";
    for (const std::string& test : AllTests()) {
        const bool finds = std::ranges::any_of(
            results, [&](const Result& result) { return result.reasons.contains(test); });
        if (!finds)
            std::cerr << test << " finds no fault\n";
        right = right && finds;
    }
    return right;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: zel_matrix BUILD_DIR FAULTS_DIR\n";
        return 2;
    }
    try {
        std::vector<Fault> faults = ReadFaults(argv[2]);
        faults.insert(faults.begin(), kHealthy);
        const std::vector<Result> results = RunAll(argv[1], faults);
        Write(faults, results);
        return Check(results) ? 0 : 1;
    } catch (const std::exception& failure) {
        std::cerr << "zel_matrix: " << failure.what() << "\n";
        return 2;
    }
}

// What the workload programs share: their arguments, one thread bound to every processor that they
// may use, and the list of what was found wrong.
//
// A program prints to standard output only, which is what comes back from a card, and ends with 0 and
// the pass text only when nothing was found wrong: 1 for a fault, 2 for arguments it does not take, 3
// when its standard input, a pipe, has ended.
#pragma once

#include <pthread.h>
#include <sched.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "../CallerWatch.h"

namespace workload {

inline constexpr int kPassed = 0;
inline constexpr int kFailed = 1;
inline constexpr int kMisused = 2;

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A result to be made wrong on purpose, which shows that the program notices.
struct Corruption {
    std::string operation;
    std::uint64_t place = 0;  // a lane, or a cache line
};

struct Options {
    std::uint64_t rounds = 0;
    std::uint64_t waitSeconds = 30;    // for another thread, before it counts as lost
    std::optional<std::string> level;  // of the processor's instructions, instead of all of them
    std::optional<Corruption> corruption;
};

inline std::uint64_t ParseNumber(std::string_view text) {
    std::uint64_t number = 0;
    const auto end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end)
        throw UsageError("\"" + std::string(text) + "\" is no number");
    return number;
}

inline Corruption ParseCorruption(std::string_view text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos)
        throw UsageError("a corruption is OPERATION:PLACE");
    return {std::string(text.substr(0, colon)), ParseNumber(text.substr(colon + 1))};
}

// What differs between the programs.
struct Program {
    const char* usage;
    const char* corruptVariable;  // of the environment: stands for --corrupt
    std::uint64_t defaultRounds;
    bool hasLevels;  // takes --level
};

inline Options ParseArguments(int argc, char** argv, const Program& program) {
    constexpr std::string_view kRounds = "--rounds=";
    constexpr std::string_view kWait = "--wait=";
    constexpr std::string_view kCorrupt = "--corrupt=";
    constexpr std::string_view kLevel = "--level=";
    Options options{
        .rounds = program.defaultRounds, .level = std::nullopt, .corruption = std::nullopt};
    // On a card a program is given no arguments.
    if (const char* const corruption = std::getenv(program.corruptVariable))
        options.corruption = ParseCorruption(corruption);
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        if (word.starts_with(kRounds))
            options.rounds = ParseNumber(word.substr(kRounds.size()));
        else if (word.starts_with(kWait))
            options.waitSeconds = ParseNumber(word.substr(kWait.size()));
        else if (word.starts_with(kCorrupt))
            options.corruption = ParseCorruption(word.substr(kCorrupt.size()));
        else if (program.hasLevels && word.starts_with(kLevel))
            options.level = word.substr(kLevel.size());
        else
            throw UsageError("\"" + std::string(word) + "\" is no argument of this program");
    }
    if (options.rounds == 0)
        throw UsageError("nothing is tested in 0 rounds");
    return options;
}

// What one thread found wrong: every fault is counted, the first few are told. It takes no memory that
// may run out.
class Findings {
public:
    __attribute__((format(printf, 2, 3))) void Add(const char* format, ...) {
        if (count_ < kTold) {
            va_list arguments;
            va_start(arguments, format);
            std::vsnprintf(lines_[count_].data(), kLineBytes, format, arguments);
            va_end(arguments);
        }
        ++count_;
    }

    std::uint64_t Count() const { return count_; }

    void Print() const {
        for (std::size_t line = 0; line < std::min<std::uint64_t>(count_, kTold); ++line)
            std::printf("MISMATCH: %s\n", lines_[line].data());
    }

private:
    static constexpr std::size_t kTold = 4;
    static constexpr std::size_t kLineBytes = 256;

    std::uint64_t count_ = 0;
    std::array<std::array<char, kLineBytes>, kTold> lines_{};
};

// A thread of the workload.
struct Worker {
    std::size_t index = 0;
    int processor = 0;
    std::uint64_t compared = 0;  // results that were looked at
    Findings findings;
};

inline std::vector<int> UsableProcessors() {
    cpu_set_t set;
    CPU_ZERO(&set);
    if (sched_getaffinity(0, sizeof(set), &set) != 0)
        throw std::runtime_error("the processors that may be used cannot be told");
    std::vector<int> processors;
    for (int processor = 0; processor < CPU_SETSIZE; ++processor) {
        if (CPU_ISSET(processor, &set))
            processors.push_back(processor);
    }
    return processors;
}

// A thread that wanders would leave a processor untested.
inline void BindToProcessor(Worker& worker) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(worker.processor, &set);
    if (pthread_setaffinity_np(pthread_self(), sizeof(set), &set) != 0)
        worker.findings.Add("thread %zu: cannot be bound to processor %d", worker.index,
                            worker.processor);
}

inline const char* Reason(const std::exception& failure) {
    return dynamic_cast<const std::bad_alloc*>(&failure) != nullptr ? "no memory" : failure.what();
}

// Runs body(worker, cancelled) on a thread for each processor, on at least `minimum` threads, and
// returns when all have ended. `cancelled` tells a body that another thread will not come, because it could
// not be started or has run out of memory.
template <typename Body>
std::vector<Worker> RunOnEveryProcessor(std::size_t minimum, const Body& body) {
    const std::vector<int> processors = UsableProcessors();
    std::vector<Worker> workers(std::max(minimum, processors.size()));
    std::atomic<bool> cancelled = false;
    std::vector<std::jthread> threads;
    for (std::size_t i = 0; i < workers.size(); ++i) {
        workers[i].index = i;
        workers[i].processor = processors[i % processors.size()];
    }
    threads.reserve(workers.size());
    for (Worker& worker : workers) {
        try {
            threads.emplace_back([&body, &worker, &cancelled] {
                BindToProcessor(worker);
                try {
                    body(worker, cancelled);
                } catch (const std::exception& failure) {
                    worker.findings.Add("thread %zu: %s", worker.index, Reason(failure));
                    cancelled = true;
                }
            });
        } catch (const std::exception& failure) {
            worker.findings.Add("thread %zu: cannot be started: %s", worker.index, Reason(failure));
            cancelled = true;
            break;
        }
    }
    threads.clear();
    return workers;
}

inline std::uint64_t Compared(const std::vector<Worker>& workers) {
    std::uint64_t total = 0;
    for (const Worker& worker : workers)
        total += worker.compared;
    return total;
}

// Tells what was found and gives the exit status.
inline int Conclude(const std::vector<Worker>& workers) {
    std::uint64_t faults = 0;
    for (const Worker& worker : workers) {
        faults += worker.findings.Count();
        worker.findings.Print();
    }
    if (faults == 0)
        std::printf("TEST PASSED\n");
    else
        std::printf("TEST FAILED: %llu faults\n", static_cast<unsigned long long>(faults));
    // A report that does not arrive is no pass.
    const bool told = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
    return faults == 0 && told ? kPassed : kFailed;
}

// The program around `run`, which takes the options and gives the exit status.
template <typename Run>
int Main(int argc, char** argv, const Program& program, const Run& run) {
    card::EndWithCaller();
    try {
        return run(ParseArguments(argc, argv, program));
    } catch (const UsageError& error) {
        std::printf("%s\n%s", error.what(), program.usage);
        return kMisused;
    } catch (const std::exception& error) {
        std::printf("TEST FAILED: %s\n", Reason(error));
        return kFailed;
    }
}

// Numbers without a pattern, the same in every run (a splitmix64 generator).
class Numbers {
public:
    explicit Numbers(std::uint64_t seed) : state_(seed) {}

    std::uint64_t Next() {
        state_ += 0x9E3779B97F4A7C15;
        std::uint64_t mixed = state_;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EB;
        return mixed ^ (mixed >> 31);
    }

private:
    std::uint64_t state_;
};

}  // namespace workload

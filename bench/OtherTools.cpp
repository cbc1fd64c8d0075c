// Memory testers of the host. Their start and end are taken out by running each for a short and for a
// longer while; what counts is the difference.
#include "OtherTools.h"

#include <sys/resource.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>

namespace {

constexpr std::size_t kMiB = 1024 * 1024;
constexpr double kStuckAddressPasses = 16;  // a loop writes and reads all memory so often

std::optional<std::string> OutputOf(const std::string& command) {
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr)
        return std::nullopt;
    std::string output;
    std::array<char, 4096> piece;
    while (const std::size_t length = fread(piece.data(), 1, piece.size(), pipe))
        output.append(piece.data(), length);
    const int status = pclose(pipe);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? std::optional(output) : std::nullopt;
}

bool IsInstalled(const std::string& program) {
    return OutputOf("command -v " + program + " 2>/dev/null").has_value();
}

// Processor time of all child processes that have ended.
double ChildrenSeconds() {
    rusage used{};
    getrusage(RUSAGE_CHILDREN, &used);
    return static_cast<double>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) +
           static_cast<double>(used.ru_utime.tv_usec + used.ru_stime.tv_usec) / 1e6;
}

std::optional<double> MemtesterSeconds(std::size_t bytes, int loops) {
    // Stuck Address always comes first; the mask names no test behind it.
    const std::string command = "MEMTESTER_TEST_MASK=0x40000000 memtester " +
                                std::to_string(bytes / kMiB) + "M " + std::to_string(loops) +
                                " 2>&1";
    const double begin = ChildrenSeconds();
    if (!OutputOf(command))
        return std::nullopt;
    return ChildrenSeconds() - begin;
}

struct Copied {
    double copied;   // bytes, read and written
    double seconds;  // of the processor, start and final check included
};

std::optional<Copied> RunStressapptest(std::size_t bytes, int seconds) {
    const double begin = ChildrenSeconds();
    const auto output = OutputOf("stressapptest -s " + std::to_string(seconds) + " -m 1 -M " +
                                 std::to_string(bytes / kMiB) + " 2>&1");
    constexpr char kResult[] = "Memory Copy: ";
    const std::size_t at = output ? output->find(kResult) : std::string::npos;
    double megabytes = 0;
    if (at == std::string::npos ||
        std::sscanf(output->c_str() + at + sizeof(kResult) - 1, "%lfM", &megabytes) != 1)
        return std::nullopt;
    return Copied{megabytes * kMiB, ChildrenSeconds() - begin};
}

}  // namespace

std::optional<double> MeasureMemtester(std::size_t bytes) {
    if (!IsInstalled("memtester"))
        return std::nullopt;
    const auto one = MemtesterSeconds(bytes, 1);
    const auto two = MemtesterSeconds(bytes, 2);
    if (!one || !two || *two <= *one)
        return std::nullopt;
    return kStuckAddressPasses * static_cast<double>(bytes) / (*two - *one);
}

std::optional<double> MeasureStressapptest(std::size_t bytes) {
    if (!IsInstalled("stressapptest"))
        return std::nullopt;
    // It always copies for five seconds at least.
    const auto brief = RunStressapptest(bytes, 5);
    const auto longer = RunStressapptest(bytes, 10);
    if (!brief || !longer || longer->seconds <= brief->seconds)
        return std::nullopt;
    return (longer->copied - brief->copied) / (longer->seconds - brief->seconds) / 2;
}

// Memory testers of the host. Neither tells how fast one of its parts is: memtester's start is taken
// out by running it with one loop and with three.
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

}  // namespace

std::optional<double> MeasureMemtester(std::size_t bytes) {
    if (!IsInstalled("memtester"))
        return std::nullopt;
    const auto one = MemtesterSeconds(bytes, 1);
    const auto three = MemtesterSeconds(bytes, 3);
    if (!one || !three || *three <= *one)
        return std::nullopt;
    return 2 * kStuckAddressPasses * static_cast<double>(bytes) / (*three - *one);
}

std::optional<double> MeasureStressapptest(std::size_t bytes) {
    if (!IsInstalled("stressapptest"))
        return std::nullopt;
    const auto output =
        OutputOf("stressapptest -s 5 -m 1 -M " + std::to_string(bytes / kMiB) + " 2>&1");
    const std::size_t line = output ? output->find("Memory Copy:") : std::string::npos;
    const std::size_t at = output ? output->find(" at ", line) : std::string::npos;
    if (line == std::string::npos || at == std::string::npos)
        return std::nullopt;
    double megabytes = 0;
    if (std::sscanf(output->c_str() + at, " at %lfMB/s", &megabytes) != 1)
        return std::nullopt;
    return megabytes * kMiB / 2;
}

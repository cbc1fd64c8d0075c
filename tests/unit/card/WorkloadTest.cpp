// The workload programs, run as they are: they pass, use every processor, and notice each kind of
// result that is made wrong on purpose.
#include <elf.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

struct Result {
    int status = -1;
    std::string output;

    std::vector<std::string> Mismatches() const {
        std::vector<std::string> lines;
        constexpr char kMark[] = "MISMATCH: ";
        for (std::size_t at = output.find(kMark); at != std::string::npos;
             at = output.find(kMark, at + 1))
            lines.push_back(output.substr(at, output.find('\n', at) - at));
        return lines;
    }
};

constexpr char kEndless[] = " --rounds=1000000000000";

Result ExecuteAs(const std::string& caller, const std::string& commandLine) {
    Result result;
    FILE* const stream = popen((caller + CARD_PROGRAMS + commandLine).c_str(), "r");
    if (stream == nullptr)
        return result;
    for (int c = std::fgetc(stream); c != EOF; c = std::fgetc(stream))
        result.output += static_cast<char>(c);
    const int status = pclose(stream);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

Result Execute(const std::string& commandLine) {
    return ExecuteAs("< /dev/null ", commandLine);
}

void ExpectPassed(const Result& result) {
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_TRUE(result.output.ends_with("\nTEST PASSED\n")) << result.output;
    EXPECT_THAT(result.output, Not(HasSubstr("MISMATCH")));
}

void ExpectFailed(const Result& result) {
    EXPECT_EQ(result.status, 1) << result.output;
    EXPECT_THAT(result.output, HasSubstr("\nTEST FAILED: "));
    EXPECT_THAT(result.output, Not(HasSubstr("TEST PASSED")));
}

void ExpectMisused(const std::string& commandLine) {
    const Result result = Execute(commandLine);
    EXPECT_EQ(result.status, 2) << commandLine;
    EXPECT_THAT(result.output, HasSubstr("usage: ")) << commandLine;
    EXPECT_THAT(result.output, Not(HasSubstr("TEST PASSED"))) << commandLine;
}

std::string Processors() {
    cpu_set_t set;
    CPU_ZERO(&set);
    sched_getaffinity(0, sizeof(set), &set);
    return std::to_string(CPU_COUNT(&set));
}

class AnyWorkload : public ::testing::TestWithParam<std::string> {};

TEST_P(AnyWorkload, PassesAsTheToolStartsIt) {
    ExpectPassed(Execute(GetParam() + " "));
}

TEST_P(AnyWorkload, SaysWhatItIs) {
    const std::string& name = GetParam();
    EXPECT_THAT(Execute(name + " --rounds=1").output,
                HasSubstr(name.substr(0, name.rfind('_')) + " (" +
                          name.substr(name.rfind('_') + 1) + "): "));
}

TEST_P(AnyWorkload, NeedsNoLibrary) {
    std::ifstream file(CARD_PROGRAMS + GetParam(), std::ios::binary);
    Elf64_Ehdr header{};
    ASSERT_TRUE(file.read(reinterpret_cast<char*>(&header), sizeof(header)));
    ASSERT_GT(header.e_phnum, 0);
    file.seekg(static_cast<std::streamoff>(header.e_phoff));
    for (int i = 0; i < header.e_phnum; ++i) {
        Elf64_Phdr segment{};
        ASSERT_TRUE(file.read(reinterpret_cast<char*>(&segment), sizeof(segment)));
        EXPECT_NE(segment.p_type, Elf64_Word{PT_INTERP}) << "it asks for a loader";
    }
}

TEST_P(AnyWorkload, RefusesArgumentsThatItDoesNotTake) {
    for (const char* arguments :
         {"x", "--rounds", "--rounds=", "--rounds=0", "--rounds=1x", "--rounds=-1",
          "--rounds=99999999999999999999", "--corrupt=", "--corrupt=x", "--corrupt=x:0",
          "--corrupt=:0", "--corrupt=write:", "--corrupt=add:-1", "--corrupt=add:16",
          "--corrupt=write:99999999", "--wait=soon"})
        ExpectMisused(GetParam() + " " + arguments);
}

TEST_P(AnyWorkload, RefusesAVariableThatIsNoCorruption) {
    const std::string& name = GetParam();
    const std::string variable = name.starts_with("vpu") ? "VPU" : "CACHE";
    for (const char* value : {"''", "x", "x:0", ":0"}) {
        const Result result =
            ExecuteAs(variable + "_WORKLOAD_CORRUPT=" + value + " ", name + " --rounds=1");
        EXPECT_EQ(result.status, 2) << value;
        EXPECT_THAT(result.output, HasSubstr(variable + "_WORKLOAD_CORRUPT")) << value;
    }
}

TEST_P(AnyWorkload, FailsWhenItsReportDoesNotArrive) {
    EXPECT_EQ(Execute(GetParam() + " --rounds=1 >/dev/full").status, 1);
}

TEST_P(AnyWorkload, EndsWithItsCaller) {
    for (const char* caller : {"true", "sleep 0.3", "(echo input; sleep 0.3)"}) {
        const Result result = ExecuteAs(std::string(caller) + " | ", GetParam() + kEndless);
        EXPECT_EQ(result.status, 3) << caller;
        EXPECT_EQ(result.output, "the caller has gone: standard input has ended\n");
    }
}

TEST_P(AnyWorkload, RunsToItsEndWithoutACaller) {
    ExpectPassed(Execute(GetParam() + " --rounds=2 < /dev/null"));
    ExpectPassed(Execute(GetParam() + " --rounds=2 <&-"));
}

INSTANTIATE_TEST_SUITE_P(Card, AnyWorkload,
                         ::testing::Values("vpu_workload_er1x", "vpu_workload_ev1x",
                                           "cache_workload_er1x", "cache_workload_ev1x"),
                         [](const auto& name) { return name.param; });

// On a card no arguments reach a program, and the environment says what goes wrong.
TEST(Workload, TheEnvironmentStandsForTheOption) {
    for (const auto& [variable, name, value] :
         {std::array{"VPU_WORKLOAD_CORRUPT=", "vpu_workload_er1x", "multiply:3"},
          std::array{"CACHE_WORKLOAD_CORRUPT=", "cache_workload_er1x", "pingpong:3"}}) {
        const std::string program = std::string(name) + " --rounds=1";
        const Result result = ExecuteAs(variable + (value + std::string(" ")), program);
        ExpectFailed(result);
        EXPECT_EQ(result.Mismatches().size(),
                  Execute(program + " --corrupt=" + value).Mismatches().size());
    }
}

// A variable is one program's own.
TEST(Workload, AnotherProgramsVariableIsNotRead) {
    ExpectPassed(ExecuteAs("CACHE_WORKLOAD_CORRUPT=walk:0 ", "vpu_workload_er1x --rounds=1"));
    ExpectPassed(ExecuteAs("VPU_WORKLOAD_CORRUPT=add:0 ", "cache_workload_er1x --rounds=1"));
}

// Vector units --------------------------------------------------------------------------------------

struct LaneKind {
    const char* name;
    int lanes;
    const char* digits;  // of a value, as a regular expression
};
constexpr LaneKind kKinds[] = {{"single", 16, "0x[0-9a-f]{8}"},
                               {"double", 8, "0x[0-9a-f]{16}"},
                               {"integer", 16, "0x[0-9a-f]{8}"}};

struct Level {
    const char* name;
    const char* width;
    bool here;
};

// As the operating system tells it.
bool HasAll(const std::vector<std::string>& wanted) {
    std::ifstream file("/proc/cpuinfo");
    std::string line;
    while (std::getline(file, line) && !line.starts_with("flags")) {
    }
    std::istringstream words(line);
    const std::set<std::string> flags{std::istream_iterator<std::string>(words), {}};
    return std::all_of(wanted.begin(), wanted.end(),
                       [&](const std::string& flag) { return flags.contains(flag); });
}

std::vector<Level> Levels() {
#if defined(__x86_64__)
    const bool v3 = HasAll({"avx", "avx2", "bmi1", "bmi2", "f16c", "fma", "abm", "movbe", "xsave"});
    const bool v4 = v3 && HasAll({"avx512f", "avx512bw", "avx512cd", "avx512dq", "avx512vl"});
    return {{"baseline", "128 bits (baseline)", true},
            {"x86-64-v3", "256 bits (x86-64-v3)", v3},
            {"x86-64-v4", "512 bits (x86-64-v4)", v4}};
#else
    return {{"baseline", "128 bits (baseline)", true}};
#endif
}

std::size_t LevelsHere() {
    std::size_t count = 0;
    for (const Level& level : Levels())
        count += level.here ? 1 : 0;
    return count;
}

class VpuOperation : public ::testing::TestWithParam<std::string> {};

TEST_P(VpuOperation, NoticesEveryWrongLaneOfEveryLevel) {
    const std::string& operation = GetParam();
    for (const Level& level : Levels()) {
        for (const LaneKind& kind : kKinds) {
            for (int lane = 0; lane < kind.lanes && level.here; ++lane) {
                const std::string arguments = std::string("--level=") + level.name +
                                              " --corrupt=" + kind.name + "-" + operation + ":" +
                                              std::to_string(lane);
                SCOPED_TRACE(arguments);
                const Result result = Execute("vpu_workload_er1x --rounds=2 " + arguments);
                ExpectFailed(result);
                EXPECT_THAT(result.output, HasSubstr("TEST FAILED: 1 faults\n"));
                EXPECT_THAT(
                    result.Mismatches(),
                    testing::ElementsAre(testing::ContainsRegex(
                        std::string("^MISMATCH: thread 0 on processor [0-9]+, ") + level.name +
                        ", " + kind.name + " " + operation + ", lane " + std::to_string(lane) +
                        ": expected " + kind.digits + ", found " + kind.digits + "$")));
            }
        }
    }
}

TEST_P(VpuOperation, NoticesWrongLanesOfEveryKindAtOnce) {
    EXPECT_EQ(
        Execute("vpu_workload_ev1x --rounds=1 --corrupt=" + GetParam() + ":3").Mismatches().size(),
        3U);
    EXPECT_EQ(
        Execute("vpu_workload_ev1x --rounds=1 --corrupt=" + GetParam() + ":9").Mismatches().size(),
        2U)
        << "there are 8 double lanes";
}

INSTANTIATE_TEST_SUITE_P(Card, VpuOperation,
                         ::testing::Values("add", "subtract", "multiply", "fma", "shuffle",
                                           "compare", "reduce"),
                         [](const auto& name) { return name.param; });

TEST(VpuWorkload, UsesEveryProcessor) {
    const Result result = Execute("vpu_workload_er1x --rounds=1");
    ExpectPassed(result);
    EXPECT_THAT(result.output,
                HasSubstr(": " + Processors() +
                          " threads, blocks of 16 single, 8 double and 16 integer lanes\n"));
}

TEST(VpuWorkload, RunsAndNamesEveryWidthThatTheProcessorHas) {
    std::string here;
    std::string missing;
    for (const Level& level : Levels()) {
        std::string& names = level.here ? here : missing;
        names += (names.empty() ? "" : ", ") + std::string(level.width);
    }
    const Result result = Execute("vpu_workload_er1x --rounds=1");
    ExpectPassed(result);
    EXPECT_THAT(result.output, HasSubstr("\nvectors of " + here + "\n"));
    const std::string left = "\nnot on this processor: vectors of " + missing + "\n";
    EXPECT_EQ(result.output.find("not on this processor") != std::string::npos, !missing.empty());
    EXPECT_TRUE(missing.empty() || result.output.find(left) != std::string::npos) << result.output;
}

TEST(VpuWorkload, RunsOneLevelWhenItIsAskedTo) {
    for (const Level& level : Levels()) {
        const std::string command =
            std::string("vpu_workload_er1x --rounds=1 --level=") + level.name;
        if (!level.here) {
            ExpectMisused(command);
            continue;
        }
        const Result result = Execute(command);
        ExpectPassed(result);
        EXPECT_THAT(result.output, HasSubstr(std::string("\nvectors of ") + level.width + "\n"));
    }
    for (const char* level : {"", "x86-64", "x86-64-v2", "V3"})
        ExpectMisused(std::string("vpu_workload_er1x --level=") + level);
    ExpectMisused("cache_workload_er1x --level=baseline");
}

// Leaves one processor to the workloads while it lives.
class OneProcessor {
public:
    OneProcessor() {
        EXPECT_EQ(sched_getaffinity(0, sizeof(all_), &all_), 0);
        cpu_set_t first;
        CPU_ZERO(&first);
        for (int processor = 0; CPU_COUNT(&first) == 0; ++processor) {
            if (CPU_ISSET(processor, &all_))
                CPU_SET(processor, &first);
        }
        EXPECT_EQ(sched_setaffinity(0, sizeof(first), &first), 0);
    }
    ~OneProcessor() { EXPECT_EQ(sched_setaffinity(0, sizeof(all_), &all_), 0); }
    OneProcessor(const OneProcessor&) = delete;
    OneProcessor& operator=(const OneProcessor&) = delete;

private:
    cpu_set_t all_{};
};

TEST(Workloads, UseNoProcessorThatTheyMayNot) {
    const OneProcessor one;
    const Result vpu = Execute("vpu_workload_er1x --rounds=1");
    const Result cache = Execute("cache_workload_er1x --rounds=2");
    ExpectPassed(vpu);
    ExpectPassed(cache);
    EXPECT_THAT(vpu.output, HasSubstr(": 1 threads, "));
    EXPECT_THAT(cache.output, HasSubstr(": 2 threads, ")) << "a line travels between two";
}

TEST(VpuWorkload, ComparesEveryLaneOfEveryRound) {
    const std::string all =
        std::to_string(std::stoul(Processors()) * 3 * LevelsHere() * 7 * (16 + 8 + 16));
    EXPECT_THAT(Execute("vpu_workload_er1x --rounds=3").output,
                HasSubstr("3 rounds a thread, " + all + " lanes compared\n"));
}

TEST(VpuWorkload, HasNoSuchKindOrLane) {
    ExpectMisused("vpu_workload_er1x --corrupt=half-add:0");
    ExpectMisused("vpu_workload_er1x --corrupt=double-add:8");
    ExpectMisused("vpu_workload_er1x --corrupt=single-add:16");
    ExpectMisused("vpu_workload_er1x --corrupt=single-divide:0");
}

// Caches --------------------------------------------------------------------------------------------

std::string CacheMismatch(const std::string& test, int line) {
    return "^MISMATCH: thread [0-9]+ on processor [0-9]+, " + test + ", line " +
           std::to_string(line) +
           ", address 0x[0-9a-f]+: expected 0x[0-9a-f]{16}, found 0x[0-9a-f]{16}$";
}

class CacheLine : public ::testing::TestWithParam<int> {};

TEST_P(CacheLine, NoticesAWrongTagOnTheWalk) {
    const Result result =
        Execute("cache_workload_er1x --rounds=2 --corrupt=walk:" + std::to_string(GetParam()));
    ExpectFailed(result);
    EXPECT_THAT(result.Mismatches(),
                testing::ElementsAre(testing::ContainsRegex(CacheMismatch("walk", GetParam())),
                                     testing::ContainsRegex(CacheMismatch("walk", GetParam()))))
        << "once in each of the two buffers";
}

TEST_P(CacheLine, NoticesAWrongLinkByTheLinesThatWereMissed) {
    const Result result =
        Execute("cache_workload_er1x --rounds=1 --corrupt=link:" + std::to_string(GetParam()));
    ExpectFailed(result);
    ASSERT_FALSE(result.Mismatches().empty());
    EXPECT_THAT(result.Mismatches()[0], HasSubstr("visits of the walk"));
}

TEST_P(CacheLine, NoticesAWrongWrite) {
    const Result result =
        Execute("cache_workload_er1x --rounds=2 --corrupt=write:" + std::to_string(GetParam()));
    ExpectFailed(result);
    EXPECT_THAT(result.Mismatches(),
                testing::ElementsAre(testing::ContainsRegex(CacheMismatch("write", GetParam())),
                                     testing::ContainsRegex(CacheMismatch("write", GetParam()))));
}

TEST_P(CacheLine, NoticesAWrongLineFromANeighbour) {
    const Result result =
        Execute("cache_workload_er1x --rounds=2 --corrupt=pingpong:" + std::to_string(GetParam()));
    ExpectFailed(result);
    EXPECT_THAT(
        result.Mismatches(),
        testing::ElementsAre(testing::ContainsRegex(CacheMismatch("pingpong", GetParam()))));
    EXPECT_THAT(result.output, Not(HasSubstr("thread 0 on"))) << "the neighbour notices";
}

INSTANTIATE_TEST_SUITE_P(Card, CacheLine, ::testing::Values(0, 1, 100, 255));

TEST(CacheWorkload, DoesNotWaitForeverForALineThatIsLost) {
    const Result result = Execute("cache_workload_er1x --rounds=1 --wait=2 --corrupt=lost:5");
    ExpectFailed(result);
    EXPECT_THAT(result.output, HasSubstr("pingpong, line 5, address 0x"));
    EXPECT_THAT(result.output, HasSubstr("expected turn 1, found turn 0 after 2 seconds\n"));
}

// Whatever the memory suffices for: the start of the program, of a thread, the buffers of one thread or of
// both. A thread that ends waits for no other, which here would take longer than the test may.
TEST(CacheWorkload, SaysThatMemoryHasRunOutAndEnds) {
    const OneProcessor one;  // two threads
    bool inAThread = false;
    bool atItsStart = false;
    bool enough = false;
    for (int kilobytes = 4000; !enough && kilobytes < 40000; kilobytes += 200) {
        const std::string limits =
            "ulimit -s 8192; ulimit -v " + std::to_string(kilobytes) + "; exec < /dev/null; ";
        const Result result = ExecuteAs(limits, "cache_workload_er1x --rounds=1 --wait=600");
        SCOPED_TRACE(std::to_string(kilobytes) + " kB");
        enough = result.status == 0;
        if (enough) {
            ExpectPassed(result);
            continue;
        }
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.output, testing::ContainsRegex("TEST FAILED: [1-9no]"));
        EXPECT_THAT(result.output, Not(HasSubstr("TEST PASSED")));
        const bool noMemory = result.output.find(": no memory\n") != std::string::npos;
        const bool notStarted = result.output.find("cannot be started") != std::string::npos;
        EXPECT_TRUE(noMemory || notStarted) << result.output;
        atItsStart = atItsStart || notStarted;
        for (const std::string& line : result.Mismatches())
            inAThread = inAThread || line.ends_with(": no memory");
    }
    EXPECT_TRUE(inAThread) << "no limit let a thread start and not have its buffers";
    EXPECT_TRUE(atItsStart) << "no limit kept a thread from starting";
    EXPECT_TRUE(enough);
}

TEST(CacheWorkload, UsesEveryProcessorAndAtLeastTwoThreads) {
    const Result result = Execute("cache_workload_er1x --rounds=1");
    ExpectPassed(result);
    const std::string threads = Processors() == "1" ? "2" : Processors();
    EXPECT_THAT(result.output, HasSubstr(": " + threads + " threads, buffers of "));
    EXPECT_THAT(result.output, HasSubstr(" KiB, 64-byte lines\n"));
}

}  // namespace

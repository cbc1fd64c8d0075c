// The cache workload: every processor of the card walks through buffers of the caches' sizes, writes
// them and reads them back, and sends cache lines to its neighbour and back.
//
// A line that does not hold what was put there is told with test, line, address, expected and found
// value, and the program fails. So does a line that a neighbour never sends.
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <numeric>

#include "Workload.h"

namespace {

constexpr char kUsage[] =
    "usage: cache_workload [--rounds=N] [--wait=SECONDS] [--corrupt=OPERATION:LINE]\n"
    "  OPERATION is walk, link, write, pingpong or lost\n"
    "  the environment variable CACHE_WORKLOAD_CORRUPT stands for --corrupt\n";

constexpr workload::Program kProgram = {.usage = kUsage,
                                        .corruptVariable = "CACHE_WORKLOAD_CORRUPT",
                                        .defaultRounds = 300,
                                        .hasLevels = false};

using workload::Worker;

constexpr std::size_t kLineBytes = 64;
constexpr std::size_t kLineWords = kLineBytes / sizeof(std::uint64_t);

// Stand for a cache whose size the processor does not tell; the largest bounds a run's time.
constexpr std::size_t kUsualFirstLevelBytes = 32 * 1024;
constexpr std::size_t kUsualSecondLevelBytes = 512 * 1024;
constexpr std::size_t kLargestBytes = 1024 * 1024;

struct alignas(kLineBytes) Line {
    std::array<std::uint64_t, kLineWords> words;
};

// A line that travels: odd turns are the owner's, even ones the neighbour's answer.
struct alignas(kLineBytes) SharedLine {
    std::atomic<std::uint64_t> turn = 0;
    std::array<std::uint64_t, kLineWords - 1> words{};
};
static_assert(sizeof(Line) == kLineBytes && sizeof(SharedLine) == kLineBytes);

using Buffer = std::vector<Line>;
using SharedBuffer = std::vector<SharedLine>;

std::size_t LinesOf(int cacheSizeName, std::size_t usualBytes) {
    const long told = sysconf(cacheSizeName);
    const std::size_t bytes = told > 0 ? static_cast<std::size_t>(told) : usualBytes;
    return std::min(bytes, kLargestBytes) / kLineBytes;
}

// Which operation goes wrong, on which line, in the first round of the first thread.
struct Damage {
    std::string operation;
    std::size_t line = 0;

    bool Hits(const char* name, std::size_t at) const { return operation == name && line == at; }
};

// What the rounds of one thread need.
struct Context {
    Worker& worker;
    const Damage& damage;
    const std::atomic<bool>& cancelled;
    std::uint64_t waitSeconds;
};

void Compare(Worker& worker, const char* test, std::size_t line, const std::uint64_t* word,
             std::uint64_t expected) {
    ++worker.compared;
    const std::uint64_t found = *word;
    if (found != expected)
        worker.findings.Add(
            "thread %zu on processor %d, %s, line %zu, address %p: expected 0x%016llx, found "
            "0x%016llx",
            worker.index, worker.processor, test, line, static_cast<const void*>(word),
            static_cast<unsigned long long>(expected), static_cast<unsigned long long>(found));
}

// Everything behind it reads memory, not what the compiler remembers of it.
inline void ForgetMemory() {
    asm volatile("" ::: "memory");
}

std::uint64_t Mark(std::uint64_t round, std::size_t line, std::size_t word) {
    return workload::Numbers((round << 48) ^ (line << 8) ^ word).Next();
}

// Walk: lines linked in a ring without a pattern, so that each step waits for the line before --------

constexpr std::size_t kNext = 0;  // words of a line
constexpr std::size_t kTag = 1;
constexpr std::size_t kVisits = 2;

void LinkLines(Buffer& buffer, std::uint64_t round) {
    std::vector<std::size_t> order(buffer.size());
    std::iota(order.begin(), order.end(), 0);
    workload::Numbers numbers(round);
    for (std::size_t left = order.size(); left > 1; --left)
        std::swap(order[left - 1], order[numbers.Next() % left]);
    for (std::size_t i = 0; i < order.size(); ++i) {
        Line& line = buffer[order[i]];
        line.words[kNext] = order[(i + 1) % order.size()];
        line.words[kTag] = Mark(round, order[i], kTag);
        line.words[kVisits] = 0;
    }
}

void Walk(const Context& context, Buffer& buffer, std::uint64_t round) {
    LinkLines(buffer, round);
    for (std::size_t line = 0; line < buffer.size() && round == 0; ++line) {
        if (context.damage.Hits("walk", line))
            buffer[line].words[kTag] ^= 1;
        if (context.damage.Hits("link", line))
            buffer[line].words[kNext] = line;
    }
    ForgetMemory();
    std::size_t at = 0;
    for (std::size_t step = 0; step < buffer.size(); ++step) {
        Line& line = buffer[at];
        Compare(context.worker, "walk", at, &line.words[kTag], Mark(round, at, kTag));
        ++line.words[kVisits];
        if (line.words[kNext] >= buffer.size())
            break;  // the visits tell which lines were missed
        at = line.words[kNext];
    }
    ForgetMemory();
    for (std::size_t line = 0; line < buffer.size(); ++line)
        Compare(context.worker, "visits of the walk", line, &buffer[line].words[kVisits], 1);
}

// Write and read back: every bit of every word, up and then, inverted, down --------------------------

void WriteAndRead(const Context& context, Buffer& buffer, std::uint64_t round) {
    for (std::size_t line = 0; line < buffer.size(); ++line) {
        for (std::size_t word = 0; word < kLineWords; ++word)
            buffer[line].words[word] = Mark(round, line, word);
        if (round == 0 && context.damage.Hits("write", line))
            buffer[line].words[kLineWords - 1] ^= 1;
    }
    ForgetMemory();
    for (std::size_t line = 0; line < buffer.size(); ++line) {
        for (std::size_t word = 0; word < kLineWords; ++word) {
            const std::uint64_t mark = Mark(round, line, word);
            Compare(context.worker, "write", line, &buffer[line].words[word], mark);
            buffer[line].words[word] = ~mark;
        }
    }
    ForgetMemory();
    for (std::size_t line = buffer.size(); line-- > 0;) {
        for (std::size_t word = kLineWords; word-- > 0;)
            Compare(context.worker, "inverted write", line, &buffer[line].words[word],
                    ~Mark(round, line, word));
    }
}

// Ping-pong: each thread sends the lines of a buffer of its own, answers those of its neighbour and
// looks at the answers to its own --------------------------------------------------------------------

// Whether the line's turn came. A line that does not come is a fault, and the end of the exchange.
bool WaitForTurn(const Context& context, SharedLine& shared, std::size_t line, std::uint64_t turn) {
    using Clock = std::chrono::steady_clock;
    constexpr int kSpins = 1000;
    for (int spin = 0; spin < kSpins; ++spin) {
        if (shared.turn.load(std::memory_order_acquire) == turn)
            return true;
    }
    const auto deadline = Clock::now() + std::chrono::seconds(context.waitSeconds);
    while (shared.turn.load(std::memory_order_acquire) != turn) {
        if (context.cancelled)
            return false;
        if (Clock::now() >= deadline) {
            context.worker.findings.Add(
                "thread %zu on processor %d, pingpong, line %zu, address %p: expected turn %llu, "
                "found turn %llu after %llu seconds",
                context.worker.index, context.worker.processor, line, static_cast<void*>(&shared),
                static_cast<unsigned long long>(turn),
                static_cast<unsigned long long>(shared.turn.load()),
                static_cast<unsigned long long>(context.waitSeconds));
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

void Send(const Context& context, SharedBuffer& own, std::uint64_t round) {
    for (std::size_t line = 0; line < own.size(); ++line) {
        SharedLine& shared = own[line];
        for (std::size_t word = 0; word < shared.words.size(); ++word)
            shared.words[word] = Mark(round, line, word);
        if (round == 0 && context.damage.Hits("pingpong", line))
            shared.words.back() ^= 1;
        if (round == 0 && context.damage.Hits("lost", line))
            continue;
        shared.turn.store(2 * round + 1, std::memory_order_release);
    }
}

bool Answer(const Context& context, SharedBuffer& neighbours, std::uint64_t round) {
    for (std::size_t line = 0; line < neighbours.size(); ++line) {
        SharedLine& shared = neighbours[line];
        if (!WaitForTurn(context, shared, line, 2 * round + 1))
            return false;
        for (std::size_t word = 0; word < shared.words.size(); ++word) {
            Compare(context.worker, "pingpong", line, &shared.words[word], Mark(round, line, word));
            shared.words[word] = ~Mark(round, line, word);
        }
        shared.turn.store(2 * round + 2, std::memory_order_release);
    }
    return true;
}

bool Collect(const Context& context, SharedBuffer& own, std::uint64_t round) {
    for (std::size_t line = 0; line < own.size(); ++line) {
        if (!WaitForTurn(context, own[line], line, 2 * round + 2))
            return false;
        for (std::size_t word = 0; word < own[line].words.size(); ++word)
            Compare(context.worker, "answered pingpong", line, &own[line].words[word],
                    ~Mark(round, line, word));
    }
    return true;
}

bool PingPong(const Context& context, SharedBuffer& own, SharedBuffer& neighbours,
              std::uint64_t round) {
    Send(context, own, round);
    return Answer(context, neighbours, round) && Collect(context, own, round);
}

// ----------------------------------------------------------------------------------------------------

// Buffers for each thread. The shared ones lie together: any thread may own or answer any of them.
class Buffers {
public:
    Buffers(std::size_t threads, std::size_t firstLevelLines, std::size_t secondLevelLines)
        : firstLevelLines_(firstLevelLines), secondLevelLines_(secondLevelLines) {
        for (std::size_t i = 0; i < threads; ++i)
            shared_.push_back(std::make_unique<SharedBuffer>(firstLevelLines));
    }

    SharedBuffer& Own(std::size_t thread) const { return *shared_[thread]; }
    SharedBuffer& Neighbours(std::size_t thread) const {
        return *shared_[(thread + 1) % shared_.size()];
    }
    // A thread's private buffers are made by the thread itself, near its processor.
    Buffer MakeFirstLevel() const { return Buffer(firstLevelLines_); }
    Buffer MakeSecondLevel() const { return Buffer(secondLevelLines_); }

private:
    std::size_t firstLevelLines_;
    std::size_t secondLevelLines_;
    std::vector<std::unique_ptr<SharedBuffer>> shared_;
};

void TestCaches(const Context& context, const Buffers& buffers, std::uint64_t rounds) {
    Buffer firstLevel = buffers.MakeFirstLevel();
    Buffer secondLevel = buffers.MakeSecondLevel();
    SharedBuffer& own = buffers.Own(context.worker.index);
    SharedBuffer& neighbours = buffers.Neighbours(context.worker.index);
    for (std::uint64_t round = 0; round < rounds && !context.cancelled; ++round) {
        for (Buffer* buffer : {&firstLevel, &secondLevel}) {
            Walk(context, *buffer, round);
            WriteAndRead(context, *buffer, round);
        }
        if (!PingPong(context, own, neighbours, round))
            return;
    }
}

Damage PlanDamage(const workload::Corruption& corruption, std::size_t firstLevelLines) {
    constexpr std::array<const char*, 5> kOperations = {"walk", "link", "write", "pingpong",
                                                        "lost"};
    if (std::find(kOperations.begin(), kOperations.end(), corruption.operation) ==
        kOperations.end())
        throw workload::UsageError("\"" + corruption.operation + "\" is no operation");
    if (corruption.place >= firstLevelLines)
        throw workload::UsageError("there is no such line");
    return {corruption.operation, corruption.place};
}

int Run(const workload::Options& options) {
    const std::size_t firstLevelLines = LinesOf(_SC_LEVEL1_DCACHE_SIZE, kUsualFirstLevelBytes);
    const std::size_t secondLevelLines = LinesOf(_SC_LEVEL2_CACHE_SIZE, kUsualSecondLevelBytes);
    const Damage none;
    const Damage damage =
        options.corruption ? PlanDamage(*options.corruption, firstLevelLines) : none;
    // A ping-pong takes two.
    const std::size_t threads = std::max<std::size_t>(2, workload::UsableProcessors().size());
    const Buffers buffers(threads, firstLevelLines, secondLevelLines);
    const auto workers = workload::RunOnEveryProcessor(
        threads, [&](Worker& worker, const std::atomic<bool>& cancelled) {
            const Damage& own = worker.index == 0 ? damage : none;
            TestCaches({worker, own, cancelled, options.waitSeconds}, buffers, options.rounds);
        });
    std::printf("cache_workload (%s): %zu threads, buffers of %zu and %zu KiB, %zu-byte lines\n",
                ZEL_GENERATION, workers.size(), firstLevelLines * kLineBytes / 1024,
                secondLevelLines * kLineBytes / 1024, kLineBytes);
    std::printf("walk, write, pingpong: %llu rounds a thread, %llu words compared\n",
                static_cast<unsigned long long>(options.rounds),
                static_cast<unsigned long long>(workload::Compared(workers)));
    return workload::Conclude(workers);
}

}  // namespace

int main(int argc, char** argv) {
    return workload::Main(argc, argv, kProgram, Run);
}

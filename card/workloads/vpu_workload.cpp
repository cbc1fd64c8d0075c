// The vector-unit workload: vector arithmetic on every processor of the card, in vectors of every width that
// it has instructions for, each lane of each result compared, bit by bit, with what scalar arithmetic makes
// of the same numbers.
//
// A lane that differs is told with level, operation, lane, expected and found value, and the program fails.
#include <algorithm>
#include <array>
#include <bit>

#include "VectorCode.h"
#include "Workload.h"

namespace {

using vectors::Kind;
using vectors::kLanes;
using vectors::kOperationCount;
using vectors::Operands;
using vectors::Results;

constexpr char kUsage[] =
    "usage: vpu_workload [--rounds=N] [--level=LEVEL] [--corrupt=[KIND-]OPERATION:LANE]\n"
    "  LEVEL is baseline, x86-64-v3 or x86-64-v4; all that the processor has without it\n"
    "  KIND is single, double or integer; all of them without it\n"
    "  OPERATION is add, subtract, multiply, fma, shuffle, compare or reduce\n"
    "  the environment variable VPU_WORKLOAD_CORRUPT stands for --corrupt\n";

constexpr workload::Program kProgram = {.usage = kUsage,
                                        .corruptVariable = "VPU_WORKLOAD_CORRUPT",
                                        .defaultRounds = 400000,
                                        .hasLevels = true};

constexpr std::array<const char*, kOperationCount> kOperationNames = {
    "add", "subtract", "multiply", "fma", "shuffle", "compare", "reduce"};

// The versions of the vector code. All that the processor can run are run: each uses instructions that the
// others do not.
struct Level {
    const char* name;
    const vectors::VectorCode* code;
    bool here;
};

std::vector<Level> Levels() {
#if defined(__x86_64__)
    __builtin_cpu_init();
    return {{"baseline", &vectors::baseline::kCode, true},
            {"x86-64-v3", &vectors::v3::kCode, __builtin_cpu_supports("x86-64-v3") != 0},
            {"x86-64-v4", &vectors::v4::kCode, __builtin_cpu_supports("x86-64-v4") != 0}};
#else
    return {{"baseline", &vectors::baseline::kCode, true}};
#endif
}

// Which result of the first level is made wrong in the first round of the first thread.
struct Damage {
    bool wanted = false;
    std::string kind;  // or empty: every kind that has the lane
    std::size_t operation = 0;
    std::size_t lane = 0;

    template <typename T>
    void Apply(Results<T>& results) const {
        if (!wanted || (!kind.empty() && kind != Kind<T>::kName) || lane >= kLanes<T>)
            return;
        T& value = results.lanes[operation][lane];
        value = std::bit_cast<T>(std::bit_cast<typename Kind<T>::Bits>(value) ^ 1);
    }
};

Damage PlanDamage(const workload::Corruption& corruption) {
    Damage damage{.wanted = true, .kind = {}, .operation = 0, .lane = corruption.place};
    std::string operation = corruption.operation;
    std::size_t lanes = kLanes<float>;
    if (const std::size_t dash = operation.find('-'); dash != std::string::npos) {
        damage.kind = operation.substr(0, dash);
        operation.erase(0, dash + 1);
        if (damage.kind == Kind<double>::kName)
            lanes = kLanes<double>;
        else if (damage.kind != Kind<float>::kName && damage.kind != Kind<std::uint32_t>::kName)
            throw workload::UsageError("\"" + damage.kind + "\" is no kind of lanes");
    }
    const auto name = std::find(kOperationNames.begin(), kOperationNames.end(), operation);
    if (name == kOperationNames.end())
        throw workload::UsageError("\"" + operation + "\" is no operation");
    if (damage.lane >= lanes)
        throw workload::UsageError("there is no such lane");
    damage.operation = static_cast<std::size_t>(name - kOperationNames.begin());
    return damage;
}

// The scalar side -------------------------------------------------------------------------------
// Closed to the compiler: one lane a call, so that nothing here becomes vector code itself.

template <typename T>
[[gnu::noipa]] T Add(T a, T b) {
    return a + b;
}

template <typename T>
[[gnu::noipa]] T Subtract(T a, T b) {
    return a - b;
}

template <typename T>
[[gnu::noipa]] T Multiply(T a, T b) {
    return a * b;
}

template <typename T>
[[gnu::noipa]] T MultiplyAdd(T a, T b, T c) {
    if constexpr (std::is_same_v<T, float>)
        return __builtin_fmaf(a, b, c);
    else if constexpr (std::is_same_v<T, double>)
        return __builtin_fma(a, b, c);
    else
        return a * b + c;
}

template <typename T>
[[gnu::noipa]] T Less(T a, T b) {
    using Bits = typename Kind<T>::Bits;
    return std::bit_cast<T>(a < b ? ~Bits{0} : Bits{0});
}

template <typename T>
[[gnu::noinline]] Results<T> ComputeLaneByLane(const Operands<T>& in) {
    using namespace vectors;
    constexpr std::size_t kOwn = kLanes<T>;
    Results<T> out;
    for (std::size_t lane = 0; lane < kOwn; ++lane) {
        out.lanes[kAdd][lane] = Add(in.a[lane], in.b[lane]);
        out.lanes[kSubtract][lane] = Subtract(in.a[lane], in.b[lane]);
        out.lanes[kMultiply][lane] = Multiply(in.a[lane], in.b[lane]);
        out.lanes[kFma][lane] = MultiplyAdd(in.a[lane], in.b[lane], in.c[lane]);
        const std::size_t from = in.order[lane];
        out.lanes[kShuffle][lane] = from < kOwn ? in.a[from] : in.b[from - kOwn];
        out.lanes[kCompare][lane] = Less(in.a[lane], in.b[lane]);
    }
    // In the order of the vector's folds: sums of floating-point numbers depend on it.
    T(&sums)[kLanes<T>] = out.lanes[kReduce];
    std::copy(std::begin(in.a), std::end(in.a), sums);
    for (std::size_t fold = kLanes<T> / 2; fold > 0; fold /= 2) {
        for (std::size_t lane = 0; lane < fold; ++lane)
            sums[lane] = Add(sums[lane], sums[lane + fold]);
    }
    std::fill(std::begin(sums), std::end(sums), sums[0]);
    return out;
}

// -----------------------------------------------------------------------------------------------

// Any integer; floating-point numbers of both signs below 4, with all bits of their fraction in use.
template <typename T>
T DrawLane(workload::Numbers& numbers) {
    if constexpr (std::is_integral_v<T>)
        return static_cast<T>(numbers.Next());
    else
        return static_cast<T>(static_cast<std::int64_t>(numbers.Next())) * static_cast<T>(0x1p-61);
}

template <typename T>
[[gnu::noinline]] void Draw(workload::Numbers& numbers, Operands<T>& operands) {
    for (std::size_t lane = 0; lane < kLanes<T>; ++lane) {
        operands.a[lane] = DrawLane<T>(numbers);
        operands.b[lane] = DrawLane<T>(numbers);
        operands.c[lane] = DrawLane<T>(numbers);
        const std::uint64_t number = numbers.Next();
        operands.order[lane] = static_cast<typename Kind<T>::Bits>(number % (2 * kLanes<T>));
        // Less and not greater are told apart by what is equal.
        if (number >> 62 == 0)
            operands.b[lane] = operands.a[lane];
    }
}

template <typename T>
void Compare(workload::Worker& worker, const char* level, const Results<T>& expected,
             const Results<T>& found) {
    using Bits = typename Kind<T>::Bits;
    for (std::size_t operation = 0; operation < kOperationCount; ++operation) {
        for (std::size_t lane = 0; lane < kLanes<T>; ++lane) {
            const auto want = std::bit_cast<Bits>(expected.lanes[operation][lane]);
            const auto have = std::bit_cast<Bits>(found.lanes[operation][lane]);
            if (want != have)
                worker.findings.Add(
                    "thread %zu on processor %d, %s, %s %s, lane %zu: expected 0x%0*llx, found "
                    "0x%0*llx",
                    worker.index, worker.processor, level, Kind<T>::kName,
                    kOperationNames[operation], lane, static_cast<int>(2 * sizeof(Bits)),
                    static_cast<unsigned long long>(want), static_cast<int>(2 * sizeof(Bits)),
                    static_cast<unsigned long long>(have));
        }
    }
    worker.compared += kOperationCount * kLanes<T>;
}

template <typename T>
void TestKind(workload::Worker& worker, workload::Numbers& numbers,
              const std::vector<Level>& levels, vectors::Compute<T> vectors::VectorCode::*compute,
              const Damage* damage) {
    // What stands here when a lane is not written is no result of the level before.
    constexpr unsigned char kNotWritten = 0x5A;
    Operands<T> operands;
    Results<T> found;
    Draw(numbers, operands);
    const Results<T> expected = ComputeLaneByLane(operands);
    for (const Level& level : levels) {
        std::fill_n(reinterpret_cast<unsigned char*>(&found), sizeof(found), kNotWritten);
        (level.code->*compute)(operands, found);
        if (damage != nullptr && &level == &levels.front())
            damage->Apply<T>(found);
        Compare(worker, level.name, expected, found);
    }
}

// Those to be run: all that are here, or the one that is asked for.
std::vector<Level> ChooseLevels(const std::vector<Level>& levels,
                                const std::optional<std::string>& name) {
    std::vector<Level> chosen;
    for (const Level& level : levels) {
        if (name && *name != level.name)
            continue;
        if (name && !level.here)
            throw workload::UsageError("this processor has no " + *name);
        if (level.here)
            chosen.push_back(level);
    }
    if (chosen.empty())
        throw workload::UsageError("\"" + *name + "\" is no level");
    return chosen;
}

std::string WidthsOf(const std::vector<Level>& levels) {
    std::string text;
    for (const Level& level : levels)
        text += (text.empty() ? "" : ", ") + std::to_string(level.code->vectorBits) + " bits (" +
                level.name + ")";
    return text;
}

int Run(const workload::Options& options) {
    const Damage damage = options.corruption ? PlanDamage(*options.corruption) : Damage{};
    const std::vector<Level> levels = Levels();
    const std::vector<Level> chosen = ChooseLevels(levels, options.level);
    const auto workers = workload::RunOnEveryProcessor(
        1, [&](workload::Worker& worker, const std::atomic<bool>& cancelled) {
            using vectors::VectorCode;
            workload::Numbers numbers(worker.index);
            for (std::uint64_t round = 0; round < options.rounds && !cancelled; ++round) {
                const Damage* now = worker.index == 0 && round == 0 ? &damage : nullptr;
                TestKind<float>(worker, numbers, chosen, &VectorCode::single, now);
                TestKind<double>(worker, numbers, chosen, &VectorCode::twofold, now);
                TestKind<std::uint32_t>(worker, numbers, chosen, &VectorCode::integer, now);
            }
        });
    std::printf(
        "vpu_workload (%s): %zu threads, blocks of %zu single, %zu double and %zu integer lanes\n",
        ZEL_GENERATION, workers.size(), kLanes<float>, kLanes<double>, kLanes<std::uint32_t>);
    std::printf("vectors of %s\n", WidthsOf(chosen).c_str());
    std::vector<Level> missing = levels;
    std::erase_if(missing, [](const Level& level) { return level.here; });
    if (!missing.empty())
        std::printf("not on this processor: vectors of %s\n", WidthsOf(missing).c_str());
    std::printf(
        "add, subtract, multiply, fma, shuffle, compare, reduce: %llu rounds a thread, %llu lanes "
        "compared\n",
        static_cast<unsigned long long>(options.rounds),
        static_cast<unsigned long long>(workload::Compared(workers)));
    return workload::Conclude(workers);
}

}  // namespace

int main(int argc, char** argv) {
    return workload::Main(argc, argv, kProgram, Run);
}

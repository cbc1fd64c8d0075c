// The vector-unit workload: vector arithmetic on every processor of the card, each lane of each result
// compared, bit by bit, with what scalar arithmetic makes of the same numbers.
//
// A lane that differs is told with operation, lane, expected and found value, and the program fails.
#include <array>
#include <bit>
#include <cstring>
#include <type_traits>

#include "Workload.h"

// Where the processor may have wider vector units than the compiler assumes, a second version of the
// vector code uses them, fused multiply-add among them.
#if defined(__x86_64__)
#define WIDEST_VECTORS __attribute__((target_clones("default", "arch=haswell")))
#else
#define WIDEST_VECTORS
#endif

namespace {

constexpr char kUsage[] =
    "usage: vpu_workload [--rounds=N] [--corrupt=[KIND-]OPERATION:LANE]\n"
    "  KIND is single, double or integer; all of them without it\n"
    "  OPERATION is add, multiply, fma, shuffle or reduce\n"
    "  the environment variable VPU_WORKLOAD_CORRUPT stands for --corrupt\n";

constexpr workload::Program kProgram = {kUsage, "VPU_WORKLOAD_CORRUPT", 400000};

constexpr std::size_t kVectorBytes = 64;

enum Operation : std::size_t { kAdd, kMultiply, kFma, kShuffle, kReduce, kOperationCount };
constexpr std::array<const char*, kOperationCount> kOperationNames = {"add", "multiply", "fma",
                                                                      "shuffle", "reduce"};

// The kinds of lanes, each with the integers of its width.
template <typename T>
struct Kind;
template <>
struct Kind<float> {
    static constexpr char kName[] = "single";
    using Index = std::int32_t;
    using Bits = std::uint32_t;
};
template <>
struct Kind<double> {
    static constexpr char kName[] = "double";
    using Index = std::int64_t;
    using Bits = std::uint64_t;
};
template <>
struct Kind<std::uint32_t> {
    static constexpr char kName[] = "integer";
    using Index = std::int32_t;
    using Bits = std::uint32_t;
};

template <typename T>
constexpr std::size_t kLanes = kVectorBytes / sizeof(T);

template <typename T>
using Lanes = std::array<T, kLanes<T>>;

template <typename T>
struct Operands {
    alignas(kVectorBytes) Lanes<T> a, b, c;
    // A lane of the shuffled result is this lane of a, or, counted on, of b.
    alignas(kVectorBytes) Lanes<typename Kind<T>::Index> order;
};

template <typename T>
using Results = std::array<Lanes<T>, kOperationCount>;

// Which result is made wrong in the first round of the first thread.
struct Damage {
    bool wanted = false;
    std::string kind;  // or empty: every kind that has the lane
    std::size_t operation = 0;
    std::size_t lane = 0;

    template <typename T>
    void Apply(Results<T>& results) const {
        if (!wanted || (!kind.empty() && kind != Kind<T>::kName) || lane >= kLanes<T>)
            return;
        T& value = results[operation][lane];
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

// The vector side -------------------------------------------------------------------------------

template <typename T>
struct VectorTypes {
    using Vector [[gnu::vector_size(kVectorBytes)]] = T;
    using Order [[gnu::vector_size(kVectorBytes)]] = typename Kind<T>::Index;
};

template <typename V, typename Array>
[[gnu::always_inline]] inline void Load(V& vector, const Array& lanes) {
    static_assert(sizeof(vector) == sizeof(lanes));
    std::memcpy(&vector, lanes.data(), sizeof(vector));
}

template <typename V, typename Array>
[[gnu::always_inline]] inline void Store(Array& lanes, const V& vector) {
    static_assert(sizeof(vector) == sizeof(lanes));
    std::memcpy(lanes.data(), &vector, sizeof(vector));
}

// Adds all lanes: each step folds the vector on itself, and every lane ends as the sum.
template <typename T>
[[gnu::always_inline]] inline void Reduce(typename VectorTypes<T>::Vector& vector) {
    for (std::size_t fold = kLanes<T> / 2; fold > 0; fold /= 2) {
        typename VectorTypes<T>::Order partner;
        for (std::size_t lane = 0; lane < kLanes<T>; ++lane)
            partner[lane] = static_cast<typename Kind<T>::Index>(lane ^ fold);
        vector = vector + __builtin_shuffle(vector, partner);
    }
}

// One rounding only, where an addition behind a multiplication would have two. The loop becomes a
// vector instruction where the processor has one; integers are never rounded.
template <typename T>
[[gnu::always_inline]] inline void FusedMultiplyAdd(const T* __restrict a, const T* __restrict b,
                                                    const T* __restrict c, T* __restrict out) {
    for (std::size_t lane = 0; lane < kLanes<T>; ++lane) {
        if constexpr (std::is_same_v<T, float>)
            out[lane] = __builtin_fmaf(a[lane], b[lane], c[lane]);
        else if constexpr (std::is_same_v<T, double>)
            out[lane] = __builtin_fma(a[lane], b[lane], c[lane]);
        else
            out[lane] = a[lane] * b[lane] + c[lane];
    }
}

template <typename T>
[[gnu::always_inline]] inline void Compute(const Operands<T>& in, Results<T>& out) {
    typename VectorTypes<T>::Vector a, b;
    typename VectorTypes<T>::Order order;
    Load(a, in.a);
    Load(b, in.b);
    Load(order, in.order);
    Store(out[kAdd], a + b);
    Store(out[kMultiply], a * b);
    FusedMultiplyAdd(in.a.data(), in.b.data(), in.c.data(), out[kFma].data());
    Store(out[kShuffle], __builtin_shuffle(a, b, order));
    Reduce<T>(a);
    Store(out[kReduce], a);
}

WIDEST_VECTORS void ComputeOnVectors(const Operands<float>& in, Results<float>& out) {
    Compute(in, out);
}
WIDEST_VECTORS void ComputeOnVectors(const Operands<double>& in, Results<double>& out) {
    Compute(in, out);
}
WIDEST_VECTORS void ComputeOnVectors(const Operands<std::uint32_t>& in,
                                     Results<std::uint32_t>& out) {
    Compute(in, out);
}

// The scalar side -------------------------------------------------------------------------------
// Closed to the compiler: one lane a call, so that nothing here can become part of the vector code.

template <typename T>
[[gnu::noipa]] T Add(T a, T b) {
    return a + b;
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
Results<T> ComputeLaneByLane(const Operands<T>& in) {
    Results<T> out;
    for (std::size_t lane = 0; lane < kLanes<T>; ++lane) {
        out[kAdd][lane] = Add(in.a[lane], in.b[lane]);
        out[kMultiply][lane] = Multiply(in.a[lane], in.b[lane]);
        out[kFma][lane] = MultiplyAdd(in.a[lane], in.b[lane], in.c[lane]);
        const auto from = static_cast<std::size_t>(in.order[lane]);
        out[kShuffle][lane] = from < in.a.size() ? in.a[from] : in.b[from - in.a.size()];
    }
    // In the order of the vector's folds: sums of floating-point numbers depend on it.
    Lanes<T> sums = in.a;
    for (std::size_t fold = kLanes<T> / 2; fold > 0; fold /= 2) {
        const Lanes<T> before = sums;
        for (std::size_t lane = 0; lane < kLanes<T>; ++lane)
            sums[lane] = Add(before[lane], before[lane ^ fold]);
    }
    out[kReduce] = sums;
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
void Draw(workload::Numbers& numbers, Operands<T>& operands) {
    for (std::size_t lane = 0; lane < kLanes<T>; ++lane) {
        operands.a[lane] = DrawLane<T>(numbers);
        operands.b[lane] = DrawLane<T>(numbers);
        operands.c[lane] = DrawLane<T>(numbers);
        operands.order[lane] =
            static_cast<typename Kind<T>::Index>(numbers.Next() % (2 * kLanes<T>));
    }
}

template <typename T>
void Compare(workload::Worker& worker, const Results<T>& expected, const Results<T>& found) {
    using Bits = typename Kind<T>::Bits;
    for (std::size_t operation = 0; operation < kOperationCount; ++operation) {
        for (std::size_t lane = 0; lane < kLanes<T>; ++lane) {
            const auto want = std::bit_cast<Bits>(expected[operation][lane]);
            const auto have = std::bit_cast<Bits>(found[operation][lane]);
            if (want != have)
                worker.findings.Add(
                    "thread %zu on processor %d, %s %s, lane %zu: expected 0x%0*llx, found "
                    "0x%0*llx",
                    worker.index, worker.processor, Kind<T>::kName, kOperationNames[operation],
                    lane, static_cast<int>(2 * sizeof(Bits)), static_cast<unsigned long long>(want),
                    static_cast<int>(2 * sizeof(Bits)), static_cast<unsigned long long>(have));
        }
    }
    worker.compared += kOperationCount * kLanes<T>;
}

template <typename T>
void TestKind(workload::Worker& worker, workload::Numbers& numbers, const Damage* damage) {
    Operands<T> operands;
    alignas(kVectorBytes) Results<T> found;
    Draw(numbers, operands);
    ComputeOnVectors(operands, found);
    if (damage != nullptr)
        damage->Apply<T>(found);
    Compare(worker, ComputeLaneByLane(operands), found);
}

int Run(const workload::Options& options) {
    const Damage damage = options.corruption ? PlanDamage(*options.corruption) : Damage{};
    const auto workers = workload::RunOnEveryProcessor(
        1, [&](workload::Worker& worker, const std::atomic<bool>& cancelled) {
            workload::Numbers numbers(worker.index);
            for (std::uint64_t round = 0; round < options.rounds && !cancelled; ++round) {
                const Damage* now = worker.index == 0 && round == 0 ? &damage : nullptr;
                TestKind<float>(worker, numbers, now);
                TestKind<double>(worker, numbers, now);
                TestKind<std::uint32_t>(worker, numbers, now);
            }
        });
    std::printf(
        "vpu_workload (%s): %zu threads, %zu-bit vectors of %zu single, %zu double and %zu "
        "integer lanes\n",
        ZEL_GENERATION, workers.size(), kVectorBytes * 8, kLanes<float>, kLanes<double>,
        kLanes<std::uint32_t>);
    std::printf("add, multiply, fma, shuffle, reduce: %llu rounds a thread, %llu lanes compared\n",
                static_cast<unsigned long long>(options.rounds),
                static_cast<unsigned long long>(workload::Compared(workers)));
    return workload::Conclude(workers);
}

}  // namespace

int main(int argc, char** argv) {
    return workload::Main(argc, argv, kProgram, Run);
}

// The vector arithmetic that the vector-unit workload tests: blocks of lanes, the operations on them, and
// the versions of the code, each for one width of vectors.
//
// A version is compiled for more than any x86-64 processor has, so nothing that another source file
// compiles too may stand here: of two versions of an inline function the linker keeps one, and it might
// keep the one that not every processor can run.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vectors {

inline constexpr std::size_t kBlockBytes = 64;

enum Operation : std::size_t {
    kAdd,
    kSubtract,
    kMultiply,
    kFma,
    kShuffle,
    kCompare,
    kReduce,
    kOperationCount
};

// The kinds of lanes, each with the unsigned integers of its width.
template <typename T>
struct Kind;
template <>
struct Kind<float> {
    static constexpr char kName[] = "single";
    using Bits = std::uint32_t;
};
template <>
struct Kind<double> {
    static constexpr char kName[] = "double";
    using Bits = std::uint64_t;
};
template <>
struct Kind<std::uint32_t> {
    static constexpr char kName[] = "integer";
    using Bits = std::uint32_t;
};

template <typename T>
inline constexpr std::size_t kLanes = kBlockBytes / sizeof(T);

template <typename T>
struct Operands {
    alignas(kBlockBytes) T a[kLanes<T>];
    alignas(kBlockBytes) T b[kLanes<T>];
    alignas(kBlockBytes) T c[kLanes<T>];
    // A lane of the shuffled result is this lane of a, or, counted on, of b.
    alignas(kBlockBytes) typename Kind<T>::Bits order[kLanes<T>];
};

// A compared lane has all bits set where a's is less than b's, and none elsewhere; a reduced one is the
// sum of all lanes of a.
template <typename T>
struct Results {
    alignas(kBlockBytes) T lanes[kOperationCount][kLanes<T>];
};

template <typename T>
using Compute = void (*)(const Operands<T>&, Results<T>&);

struct VectorCode {
    std::size_t vectorBits;
    Compute<float> single;
    Compute<double> twofold;
    Compute<std::uint32_t> integer;
};

// For every processor of the architecture, and for those of two levels of x86-64.
namespace baseline {
extern const VectorCode kCode;
}
namespace v3 {
extern const VectorCode kCode;
}
namespace v4 {
extern const VectorCode kCode;
}

}  // namespace vectors

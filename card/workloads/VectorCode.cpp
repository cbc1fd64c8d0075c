// One version of the vector arithmetic: compiled once for each VECTOR_LEVEL, with the instructions of that
// level, in vectors of its width.
#include "VectorCode.h"

#include <cstring>
#include <utility>

#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace vectors {
namespace {

#if defined(__AVX512F__)
constexpr std::size_t kVectorBytes = 64;
#elif defined(__AVX2__)
constexpr std::size_t kVectorBytes = 32;
#else
constexpr std::size_t kVectorBytes = 16;
#endif

constexpr std::size_t kVectors = kBlockBytes / kVectorBytes;  // of a block

template <typename T>
struct VectorTypes {
    using Vector [[gnu::vector_size(kVectorBytes)]] = T;
    using Bits [[gnu::vector_size(kVectorBytes)]] = typename Kind<T>::Bits;
    static constexpr std::size_t kLanes = kVectorBytes / sizeof(T);
};
template <typename T>
using Vector = typename VectorTypes<T>::Vector;
template <typename T>
using VectorBits = typename VectorTypes<T>::Bits;

template <typename V, typename Lane>
[[gnu::always_inline]] inline V Load(const Lane* block, std::size_t vector) {
    V loaded;
    std::memcpy(&loaded, block + vector * (sizeof(V) / sizeof(Lane)), sizeof(V));
    return loaded;
}

template <typename V, typename Lane>
[[gnu::always_inline]] inline void Store(Lane* block, std::size_t vector, const V& value) {
    std::memcpy(block + vector * (sizeof(V) / sizeof(Lane)), &value, sizeof(V));
}

#if defined(__AVX2__)

#if defined(__AVX512F__)
[[gnu::always_inline]] inline __m512 Fused(__m512 a, __m512 b, __m512 c) {
    return _mm512_fmadd_ps(a, b, c);
}
[[gnu::always_inline]] inline __m512d Fused(__m512d a, __m512d b, __m512d c) {
    return _mm512_fmadd_pd(a, b, c);
}
#else
[[gnu::always_inline]] inline __m256 Fused(__m256 a, __m256 b, __m256 c) {
    return _mm256_fmadd_ps(a, b, c);
}
[[gnu::always_inline]] inline __m256d Fused(__m256d a, __m256d b, __m256d c) {
    return _mm256_fmadd_pd(a, b, c);
}
#endif

template <typename T>
[[gnu::always_inline]] inline void FuseMultiplyAdd(const Operands<T>& in, std::size_t vector,
                                                   T* out) {
    const auto a = Load<Vector<T>>(in.a, vector);
    const auto b = Load<Vector<T>>(in.b, vector);
    const auto c = Load<Vector<T>>(in.c, vector);
    Store(out, vector, Fused(a, b, c));
}

// An instruction takes its lanes from two vectors: with a block of several, each pair of them is asked,
// and the answer of the pair kept that has the lane.
template <typename T>
[[gnu::always_inline]] inline void Shuffle(const Operands<T>& in, std::size_t vector, T* out) {
    using Bits = typename Kind<T>::Bits;
    constexpr Bits kPairLanes = 2 * VectorTypes<T>::kLanes;
    const auto order = Load<VectorBits<T>>(in.order, vector);
    Vector<T> shuffled = {};
    for (std::size_t pair = 0; pair < kVectors; ++pair) {
        const std::size_t first = 2 * pair;
        const std::size_t second = first + 1;
        const auto one = Load<Vector<T>>(first < kVectors ? in.a : in.b, first % kVectors);
        const auto other = Load<Vector<T>>(second < kVectors ? in.a : in.b, second % kVectors);
        const Vector<T> taken = __builtin_shuffle(one, other, order);
        if (pair == 0)
            shuffled = taken;
        else
            shuffled = order / kPairLanes == static_cast<Bits>(pair) ? taken : shuffled;
    }
    Store(out, vector, shuffled);
}

#else

// The baseline has no instruction that multiplies and adds with one rounding only, and none that takes
// lanes in an order that is not known beforehand.

[[gnu::always_inline]] inline float Fused(float a, float b, float c) {
    return __builtin_fmaf(a, b, c);
}
[[gnu::always_inline]] inline double Fused(double a, double b, double c) {
    return __builtin_fma(a, b, c);
}

template <typename T>
[[gnu::always_inline]] inline void FuseMultiplyAdd(const Operands<T>& in, std::size_t vector,
                                                   T* out) {
    const std::size_t first = vector * VectorTypes<T>::kLanes;
    for (std::size_t lane = first; lane < first + VectorTypes<T>::kLanes; ++lane)
        out[lane] = Fused(in.a[lane], in.b[lane], in.c[lane]);
}

template <typename T>
[[gnu::always_inline]] inline void Shuffle(const Operands<T>& in, std::size_t vector, T* out) {
    constexpr std::size_t kOwn = kLanes<T>;
    const std::size_t first = vector * VectorTypes<T>::kLanes;
    for (std::size_t lane = first; lane < first + VectorTypes<T>::kLanes; ++lane) {
        const std::size_t from = in.order[lane];
        out[lane] = from < kOwn ? in.a[from] : in.b[from - kOwn];
    }
}

#endif

// Integers are never rounded.
[[gnu::always_inline]] inline void FuseMultiplyAdd(const Operands<std::uint32_t>& in,
                                                   std::size_t vector, std::uint32_t* out) {
    using V = Vector<std::uint32_t>;
    Store(out, vector, Load<V>(in.a, vector) * Load<V>(in.b, vector) + Load<V>(in.c, vector));
}

template <std::size_t distance, typename V, std::size_t... lanes>
[[gnu::always_inline]] inline V Exchanged(V vector, std::index_sequence<lanes...>) {
    return __builtin_shufflevector(vector, vector, (lanes ^ distance)...);
}

// Folds the vector on itself until every lane is the sum of all.
template <typename T, std::size_t fold = VectorTypes<T>::kLanes / 2>
[[gnu::always_inline]] inline Vector<T> AddLanes(Vector<T> vector) {
    using Lanes = std::make_index_sequence<VectorTypes<T>::kLanes>;
    if constexpr (fold == 0)
        return vector;
    else
        return AddLanes<T, fold / 2>(vector + Exchanged<fold>(vector, Lanes()));
}

template <typename T>
[[gnu::always_inline]] inline Vector<T> Reduce(const T* block) {
    Vector<T> sums[kVectors];
    for (std::size_t vector = 0; vector < kVectors; ++vector)
        sums[vector] = Load<Vector<T>>(block, vector);
    for (std::size_t fold = kVectors / 2; fold > 0; fold /= 2) {
        for (std::size_t vector = 0; vector < fold; ++vector)
            sums[vector] = sums[vector] + sums[vector + fold];
    }
    return AddLanes<T>(sums[0]);
}

template <typename T>
[[gnu::always_inline]] inline void ComputeBlock(const Operands<T>& __restrict in,
                                                Results<T>& __restrict out) {
    // In front of the rest: where it takes calls, no vector waits for their end.
    for (std::size_t vector = 0; vector < kVectors; ++vector)
        FuseMultiplyAdd(in, vector, out.lanes[kFma]);
    const Vector<T> sum = Reduce(in.a);
    for (std::size_t vector = 0; vector < kVectors; ++vector) {
        const auto a = Load<Vector<T>>(in.a, vector);
        const auto b = Load<Vector<T>>(in.b, vector);
        Store(out.lanes[kAdd], vector, a + b);
        Store(out.lanes[kSubtract], vector, a - b);
        Store(out.lanes[kMultiply], vector, a * b);
        Shuffle(in, vector, out.lanes[kShuffle]);
        Store(out.lanes[kCompare], vector, a < b);
        Store(out.lanes[kReduce], vector, sum);
    }
}

}  // namespace

namespace VECTOR_LEVEL {

void ComputeOnVectors(const Operands<float>& __restrict in, Results<float>& __restrict out) {
    ComputeBlock(in, out);
}
void ComputeOnVectors(const Operands<double>& __restrict in, Results<double>& __restrict out) {
    ComputeBlock(in, out);
}
void ComputeOnVectors(const Operands<std::uint32_t>& __restrict in,
                      Results<std::uint32_t>& __restrict out) {
    ComputeBlock(in, out);
}

const VectorCode kCode = {kVectorBytes * 8, ComputeOnVectors, ComputeOnVectors, ComputeOnVectors};

}  // namespace VECTOR_LEVEL

}  // namespace vectors

#pragma once
// Lower medians of lists of up to 16 values, two lists at a time: a network of comparisons (K. E. Batcher,
// AFIPS Conf. Proc. 32 (1968) 307-314) has no branches, and sorts one list in each lane.

#include <kvmeasure/base/double_pair_p.h>

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#if defined(__GNUC__) && defined(__x86_64__)
#include <emmintrin.h>
#endif

namespace KvMeasure::Internal {

constexpr std::size_t kMostOfFew = 16;

/// A list of up to 16 values.
struct FewValues {
    std::array<double, kMostOfFew> values;  // NOLINT: filled as far as it counts
    std::size_t count = 0;

    void add(double value) { values[count++] = value; }
};

/// The steps that sort `kSize` values, a power of 2.
template <std::size_t kSize, std::size_t kSteps>
struct SortingNetwork {
    std::array<std::pair<std::size_t, std::size_t>, kSteps> steps{};

    constexpr SortingNetwork() {
        std::size_t step = 0;
        for (std::size_t p = 1; p < kSize; p *= 2) {
            for (std::size_t k = p; k >= 1; k /= 2) {
                for (std::size_t j = k % p; j + k < kSize; j += 2 * k) {
                    for (std::size_t i = j; i < j + k && i + k < kSize; ++i) {
                        if (i / (2 * p) == (i + k) / (2 * p)) {
                            steps[step].first = i;
                            steps[step++].second = i + k;
                        }
                    }
                }
            }
        }
    }
};

inline constexpr SortingNetwork<8, 19> kSortEight;
inline constexpr SortingNetwork<16, 63> kSortSixteen;

/// Puts two pairs of values in order, lane by lane.
inline void putInOrder(DoublePair& low, DoublePair& high) {
    const DoublePair first = low;
#if defined(__GNUC__) && defined(__x86_64__)
    low = _mm_min_pd(first, high);
    high = _mm_max_pd(first, high);
#else
    low = high < first ? high : first;
    high = high < first ? first : high;
#endif
}

/// The lower medians of two lists of up to `kSize` values. Both are filled up so that these become the same
/// in order.
template <std::size_t kSize, const auto& kNetwork, std::size_t... kStep>
DoublePair mediansBySorting(const FewValues& one, const FewValues& other, std::index_sequence<kStep...>) {
    constexpr double kBeyond = std::numeric_limits<double>::infinity();
    constexpr std::size_t kMedian = (kSize - 1) / 2;
    const auto filled = [](const FewValues& few, std::size_t i) {
        return i < few.count                                   ? few.values[i]
               : i < few.count + kMedian - (few.count - 1) / 2 ? -kBeyond
                                                               : kBeyond;
    };
    DoublePair pairs[kSize];
    const std::size_t common = std::min({one.count, other.count, kSize});
    for (std::size_t i = 0; i < common; ++i)
        pairs[i] = DoublePair{one.values[i], other.values[i]};
    for (std::size_t i = common; i < kSize; ++i)
        pairs[i] = DoublePair{filled(one, i), filled(other, i)};
    (putInOrder(pairs[kNetwork.steps[kStep].first], pairs[kNetwork.steps[kStep].second]), ...);
    return pairs[kMedian];
}

/// The lower medians of two lists, neither of them empty and all values numbers.
inline DoublePair mediansOfFew(const FewValues& one, const FewValues& other) {
    constexpr std::size_t kEight = 8;
    return one.count <= kEight && other.count <= kEight
               ? mediansBySorting<kEight, kSortEight>(one, other, std::make_index_sequence<19>())
               : mediansBySorting<kMostOfFew, kSortSixteen>(one, other, std::make_index_sequence<63>());
}

}  // namespace KvMeasure::Internal

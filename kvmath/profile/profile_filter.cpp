// Windowed filters and the fixed low-pass. Blocks of points are copied to arrays of their coordinates, where
// the kernels work on several windows at a time. No memory, except in medFilt for windows of more than 64
// points.

#include <kvmath/base/count_p.h>
#include <kvmath/base/instructions_p.h>
#include <kvmath/profile/profile.h>
#include <kvmath/profile/window_rank_p.h>

#include <cstring>
#include <utility>

namespace KvMath {
namespace {

using Internal::ConstPointIterator;
using Internal::PointIterator;

/// Median by x of the windows that start at [from, to), some of them out of order. A sort of neighbours never
/// moves or crosses a NaN x, so the middle position m receives the point of its rank within the NaN-free run
/// of the window around it; both ends of that run only ever advance. `in` and `out` may be the same points.
template <class Ranks>
void medianOfDisorder(ConstPointIterator in, PointIterator out, int from, int to, int window, Ranks& ranks) {
    const ConstPointIterator base = in + from;
    const int middle = window / 2;
    const int count = to - from;
    ranks.reset(base, base + (count - 1 + window));
    int first = 0;  // the run held by `ranks` is [first, last)
    int last = 0;
    for (int i = 0; i < count; ++i) {
        const int m = i + middle;
        int answer = m;
        if (!std::isnan(base[m].x)) {
            if (last <= m) {  // behind a NaN: start anew at it
                for (; first < last; ++first)
                    ranks.remove(first);
                for (first = m; first > i && !std::isnan(base[first - 1].x);)
                    --first;
                last = first;
            }
            for (; last < i + window && !std::isnan(base[last].x); ++last)
                ranks.insert(last);
            for (; first < i; ++first)
                ranks.remove(first);
            answer = ranks.at(m - first);
        }
        out[from + i].y = base[answer].y;
    }
}

/// How many of a window's points are before the point k, none with a NaN x: their x is less, or equal and
/// their index less.
template <int k, int... j>
KVMATH_INLINE_KERNEL int countBefore(const float* x, std::integer_sequence<int, j...> /*all*/) {
    return (0 + ... + (j == k ? 0 : j < k ? (x[j] <= x[k] ? 1 : 0) : (x[k] <= x[j] ? 0 : 1)));
}

/// The bits of the y that belongs to the median by x of one window: its point has as many points before it as
/// a sorted window has before its middle.
template <int... k>
KVMATH_INLINE_KERNEL unsigned medianOf(const float* x, const unsigned* y,
                                       std::integer_sequence<int, k...> all) {
    constexpr int kMiddle = sizeof...(k) / 2;
    return (0U | ... | (y[k] & (countBefore<k>(x, all) == kMiddle ? ~0U : 0U)));
}

/// Medians of `count` windows, several side by side.
template <int kWindow>
KVMATH_INLINE_KERNEL void medianByRank(const float* x, const unsigned* y, int count, unsigned* medians) {
    for (int i = 0; i < count; ++i)
        medians[i] = medianOf(x + i, y + i, std::make_integer_sequence<int, kWindow>());
}
template <int kWindow>
KVMATH_FOR_AVX2 void medianByRankForAvx2(const float* x, const unsigned* y, int count, unsigned* medians) {
    medianByRank<kWindow>(x, y, count, medians);
}
template <int kWindow>
void medianByRankAnywhere(const float* x, const unsigned* y, int count, unsigned* medians) {
    medianByRank<kWindow>(x, y, count, medians);
}

using RankKernel = void (*)(const float* x, const unsigned* y, int count, unsigned* medians);
constexpr int kWidestRanked = 9;  ///< points; the work grows as the square of the window

template <int... kWindows>
RankKernel rankKernel(int window, std::integer_sequence<int, kWindows...> /*windows*/) {
    static constexpr RankKernel kAnywhere[] = {medianByRankAnywhere<kWindows + 1>...};
    static constexpr RankKernel kForAvx2[] = {medianByRankForAvx2<kWindows + 1>...};
    return Internal::hasAvx2() ? kForAvx2[window - 1] : kAnywhere[window - 1];
}

/// The medians of windows that start at [from, to), at most kRankBlock of them, of at most kWidestRanked
/// points. False, nothing written, where there is a NaN x. `in` and `out` may be the same points.
constexpr int kRankBlock = 64;
bool medianOfBlock(ConstPointIterator in, PointIterator out, int from, int to, int window) {
    float x[kRankBlock + kWidestRanked];
    unsigned y[kRankBlock + kWidestRanked];
    unsigned medians[kRankBlock];
    const int size = to - from + window - 1;
    int unset = 0;
    for (int k = 0; k < size; ++k) {
        x[k] = in[from + k].x;
        std::memcpy(&y[k], &in[from + k].y, sizeof y[k]);
        unset |= std::isnan(x[k]) ? 1 : 0;
    }
    if (unset != 0)
        return false;
    rankKernel(window, std::make_integer_sequence<int, kWidestRanked>())(x, y, to - from, medians);
    for (int k = 0; k < to - from; ++k)
        std::memcpy(&out[from + k].y, &medians[k], sizeof medians[k]);
    return true;
}

constexpr int kTaps = 20;
constexpr int kTapBlock = 128;

/// The products are of numbers in single precision. Tap 0 is 0, but still carries an infinity or NaN of its
/// point.
constexpr double kCoefficients[kTaps] = {0.0F,    0.0013F, 0.0047F, 0.0117F, 0.0238F, 0.0407F, 0.0612F,
                                         0.0824F, 0.1011F, 0.1139F, 0.1185F, 0.1139F, 0.1011F, 0.0824F,
                                         0.0612F, 0.0407F, 0.0238F, 0.0117F, 0.0047F, 0.0013F};

/// The sum of one point, from tap 0 on; `heights` is the point's own, those before it lie before it.
template <int... kTap>
KVMATH_INLINE_KERNEL double weighted(const double* heights, std::integer_sequence<int, kTap...> /*taps*/) {
    double sum = 0.0;
    ((sum += kCoefficients[kTap] * heights[-kTap]), ...);
    return sum;
}

/// `condition ? a : b`, where a loop would not be vectorised for reading only one of them.
KVMATH_INLINE_KERNEL float oneOf(bool condition, float a, float b) {
    unsigned bitsOfA;
    unsigned bitsOfB;
    std::memcpy(&bitsOfA, &a, sizeof a);
    std::memcpy(&bitsOfB, &b, sizeof b);
    const unsigned mask = condition ? ~0U : 0U;
    const unsigned bits = (bitsOfA & mask) | (bitsOfB & ~mask);
    float result;
    std::memcpy(&result, &bits, sizeof result);
    return result;
}

/// The points of a block behind the kTaps - 1 points before it, taken apart.
struct TapBlock {
    float x[kTapBlock + kTaps - 1];
    float y[kTapBlock + kTaps - 1];
    double heights[kTapBlock + kTaps - 1];
};

/// The filtered heights of `count` points, several side by side. A point behind a gap keeps its own; a NaN
/// gap is none.
KVMATH_INLINE_KERNEL void weigh(TapBlock& block, int count, float gap, float* filtered) {
    for (int k = 0; k < count; ++k)
        filtered[k] = static_cast<float>(
            weighted(block.heights + kTaps - 1 + k, std::make_integer_sequence<int, kTaps>()));
    const float* const x = block.x + kTaps - 1;
    const float* const y = block.y + kTaps - 1;
    for (int k = 0; k < count; ++k)
        filtered[k] = oneOf(x[k] - x[k - 1] > gap, y[k], filtered[k]);
}
KVMATH_FOR_AVX2 void weighForAvx2(TapBlock& block, int count, float gap, float* filtered) {
    weigh(block, count, gap, filtered);
}

/// Filters the points [first, first + count), at most kTapBlock, none of the first kTaps of the profile.
/// Reads all before it writes.
void weighBlock(ConstPointIterator in, PointIterator out, int first, int count, float gap) {
    TapBlock block;
    const ConstPointIterator start = in + (first - (kTaps - 1));
    for (int k = 0; k < count + kTaps - 1; ++k) {
        block.x[k] = start[k].x;
        block.y[k] = start[k].y;
        block.heights[k] = static_cast<double>(start[k].y);
    }
    float filtered[kTapBlock];
    if (Internal::hasAvx2())
        weighForAvx2(block, count, gap, filtered);
    else
        weigh(block, count, gap, filtered);
    const PointIterator target = out + first;
    for (int k = 0; k < count; ++k) {
        target[k].x = block.x[k + kTaps - 1];
        target[k].y = filtered[k];
    }
}

}  // namespace

void KvProfile::medFilt(KvProfile& dest, int window) const {
    const int n = Internal::countOf(points);
    if (window < 1 || n < window || dest.points.size() < n)
        return;
    const auto out = dest.points.begin();
    const auto in = points.constBegin();
    const int middle = window / 2;
    // Of two neighbours out of order the index of the first: a window without such a pair is sorted as it
    // stands, so that its middle point is the answer. Where there are some, all windows up to the next clean
    // one go together.
    const auto disorderFrom = [=](int i, int end) {
        constexpr int kBlock = 32;  // pairs that are judged together
        for (; end - i >= kBlock; i += kBlock) {
            int ordered = 0;
            for (int k = 0; k < kBlock; ++k)
                ordered += in[i + k].x <= in[i + k + 1].x ? 1 : 0;
            if (ordered < kBlock)
                break;
        }
        while (i < end && in[i].x <= in[i + 1].x)
            ++i;
        return i;
    };
    Internal::NarrowWindowRank narrow;
    Internal::WindowRank wide;
    int start = 0;
    int disorder = disorderFrom(0, n - 1);
    // By design the last window, at n - window, is not visited, and the value lands at the window's first
    // index.
    while (start < n - window) {
        const int cleanEnd = std::min(n - window, disorder - window + 2);
        for (; start < cleanEnd; ++start)
            out[start].y = in[start + middle].y;
        if (start < n - window && window <= kWidestRanked) {
            const int end = std::min(n - window, start + kRankBlock);
            if (medianOfBlock(in, out, start, end, window)) {
                start = end;
                disorder = disorderFrom(std::max(start, disorder), n - 1);
                continue;
            }
        }
        const int dirtyFrom = start;
        while (start < n - window && disorder <= start + window - 2) {
            start = std::min(n - window, disorder + 1);
            disorder = disorderFrom(disorder + 1, n - 1);
        }
        if (start > dirtyFrom && window <= Internal::NarrowWindowRank::kWidest)
            medianOfDisorder(in, out, dirtyFrom, start, window, narrow);
        else if (start > dirtyFrom)
            medianOfDisorder(in, out, dirtyFrom, start, window, wide);
    }
}

void KvProfile::wndFilter(int window) {
    const int n = Internal::countOf(points);
    if (window < 1 || n <= window)
        return;
    const int half = static_cast<int>(window / 2.5);  // by design not 2: the mean lands at two fifths
    const auto p = points.begin();
    for (int i = 0; i < n - window; ++i) {
        float sum = 0.0F;
        for (int k = i; k < i + window; ++k)
            sum += p[k].y;
        p[i + half].y = sum / static_cast<float>(window);  // later windows see it, by design
    }
}

void KvProfile::diffFilt(KvProfile& dest, int window) const {
    const int n = Internal::countOf(points);
    if (window < 1 || n - 2 < window || dest.points.size() < n)
        return;
    const int half = window / 2;
    const auto p = dest.points.begin();
    for (int i = 0; i < n + 1 - window; ++i) {
        double lowerX = 0;
        double lowerY = 0;
        double upperX = 0;
        double upperY = 0;
        for (int k = i; k < i + half; ++k) {
            lowerX += static_cast<double>(p[k].x);
            lowerY += static_cast<double>(p[k].y);
        }
        for (int k = i + half; k < i + window; ++k) {
            upperX += static_cast<double>(p[k].x);
            upperY += static_cast<double>(p[k].y);
        }
        p[i].y = static_cast<float>((upperY - lowerY) / (upperX - lowerX));
    }
}

void KvProfile::zebFilter20(KvProfile& dest, float gap) const {
    const int n = Internal::countOf(points);
    if (n < kTaps || dest.points.size() < n)
        return;
    const auto out = dest.points.begin();
    const auto in = points.constBegin();
    // From the end, so that in place no result is read again.
    int end = n;
    while (end > kTaps) {
        const int count = std::min(kTapBlock, end - kTaps);
        end -= count;
        weighBlock(in, out, end, count, gap);
    }
    std::copy(in, in + kTaps, out);
}

void KvProfile::zebFilter20(float gap) { zebFilter20(*this, gap); }

}  // namespace KvMath

// Windowed filters and the fixed low-pass. No memory, except in medFilt where x is out of order.

#include <kvmath/base/count_p.h>
#include <kvmath/profile/profile.h>
#include <kvmath/profile/window_rank_p.h>

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

constexpr int kTaps = 20;
constexpr int kTapBlock = 64;

/// The products are of numbers in single precision. Tap 0 is 0, but still carries an infinity or NaN of its
/// point.
constexpr double kCoefficients[kTaps] = {0.0F,    0.0013F, 0.0047F, 0.0117F, 0.0238F, 0.0407F, 0.0612F,
                                         0.0824F, 0.1011F, 0.1139F, 0.1185F, 0.1139F, 0.1011F, 0.0824F,
                                         0.0612F, 0.0407F, 0.0238F, 0.0117F, 0.0047F, 0.0013F};

/// The filtered heights of a block, whose own heights start behind those of the last kTaps - 1 points before
/// it. Each sum goes from tap 0 on as a loop over one point does, but several points go side by side.
void weigh(const double* heights, double* sums) {
    constexpr int kLanes = 8;
    for (int k = 0; k < kTapBlock; k += kLanes) {
        double lanes[kLanes] = {};
        for (int j = 0; j < kTaps; ++j) {
            const double* const heightsOfTap = heights + k + kTaps - 1 - j;
            for (int lane = 0; lane < kLanes; ++lane)
                lanes[lane] += kCoefficients[j] * heightsOfTap[lane];
        }
        std::copy(lanes, lanes + kLanes, sums + k);
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
    // From the end, so that in place no result is read again: a block takes its heights before it writes.
    int end = n;
    for (; end - kTapBlock >= kTaps; end -= kTapBlock) {
        const int first = end - kTapBlock;
        double heights[kTapBlock + kTaps - 1];
        for (int k = 0; k < kTapBlock + kTaps - 1; ++k)
            heights[k] = static_cast<double>(in[first - (kTaps - 1) + k].y);
        double sums[kTapBlock];
        weigh(heights, sums);
        for (int k = kTapBlock - 1; k >= 0; --k) {
            const int i = first + k;
            KvPointXY p(in[i]);
            if (!(p.x - in[i - 1].x > gap))  // true for a NaN gap
                p.y = static_cast<float>(sums[k]);
            out[i] = p;
        }
    }
    for (int i = end - 1; i >= 0; --i) {
        KvPointXY p(in[i]);
        const bool atGap = i > 0 && p.x - in[i - 1].x > gap;
        if (i >= kTaps && !atGap) {
            double sum = 0;
            for (int j = 0; j < kTaps; ++j)
                sum += kCoefficients[j] * static_cast<double>(in[i - j].y);
            p.y = static_cast<float>(sum);
        }
        out[i] = p;
    }
}

void KvProfile::zebFilter20(float gap) { zebFilter20(*this, gap); }

}  // namespace KvMath

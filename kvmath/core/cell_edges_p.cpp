#include <kvmath/core/cell_edges_p.h>

#include <algorithm>
#include <cmath>

namespace KvMath::Internal {

float CellEdges::edge(const Stretch& stretch, int k) {
    return k == 0 ? static_cast<float>(stretch.first)
                  : static_cast<float>(stretch.first + k * stretch.increment);
}

/// Between two powers of two all floats are equally spaced, so every addition of one step is rounded alike;
/// only a sum half-way between two floats can go either way, by the parity of the last bit, and then one
/// addition settles the parity for good. So two equal increments in a row within one such span repeat to its
/// end. Single edges elsewhere.
CellEdges::Stretch CellEdges::stretchFrom(float x, float to, float step) {
    Stretch stretch{static_cast<double>(x), 0.0, 0, 1};
    const float second = x + step;
    const float third = second + step;
    const double increment = static_cast<double>(second) - static_cast<double>(x);
    const bool sameSpan = std::isfinite(third) && x != 0.0F && std::signbit(x) == std::signbit(third) &&
                          std::ilogb(x) == std::ilogb(second) && std::ilogb(x) == std::ilogb(third);
    if (!sameSpan || !(increment > 0.0) ||
        static_cast<double>(third) - static_cast<double>(second) != increment)
        return stretch;
    const int exponent = std::ilogb(x);
    const double spanEnd = x > 0.0F ? std::ldexp(1.0, exponent + 1) : -std::ldexp(1.0, exponent);
    const double end = std::min(spanEnd, static_cast<double>(to));
    // One increment short of the end, so that no sum leaves the span before it is rounded.
    const double count = std::floor((end - static_cast<double>(x)) / increment) - 1.0;
    if (count < 2.0)
        return stretch;
    stretch.increment = increment;
    stretch.count = static_cast<int>(count);  // at most 2^23 floats in a span
    return stretch;
}

CellEdges::CellEdges(float from, float to, float step) {
    if (!(from < to) || !(step > 0.0F))
        return;
    for (float x = from;;) {
        Stretch stretch = stretchFrom(x, to, step);
        stretch.index = count_;
        count_ += stretch.count;
        stretches_.push_back(stretch);
        const float last = edge(stretch, stretch.count - 1);
        x = last + step;
        if (!(x < to) || x == last)
            return;
    }
}

float CellEdges::at(int i) const {
    const auto after = std::upper_bound(stretches_.begin(), stretches_.end(), i,
                                        [](int index, const Stretch& s) { return index < s.index; });
    const Stretch& stretch = *(after - 1);
    return edge(stretch, i - stretch.index);
}

/// The division needs no correction. A stretch of more than one edge has another behind it, which begins at
/// first + count * increment; so a target in it lies below that, in the span of the stretch, and is `first`
/// plus a whole number m of units in the last place, the increment is d of them, and the difference is exact.
/// Where m / d is no whole number it lies at least 1 / d > 2^-24 below the next one, which is at most 2^24:
/// farther than a quotient is rounded there.
int CellEdges::lastNotAbove(float p) const {
    const double target = static_cast<double>(p);
    const auto after = std::upper_bound(stretches_.begin(), stretches_.end(), target,
                                        [](double value, const Stretch& s) { return value < s.first; });
    if (after == stretches_.begin())
        return -1;
    const Stretch& stretch = *(after - 1);
    if (stretch.count == 1)
        return stretch.index;
    return stretch.index + static_cast<int>((target - stretch.first) / stretch.increment);
}

}  // namespace KvMath::Internal

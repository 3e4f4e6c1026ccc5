// Points are walked in runs whose steps are all shorter than the gap; contours are looked up only where a run
// ends.

#include <kvmath/segments/contour_group_p.h>

#include <kvmath/segments/contour_ends_p.h>
#include <kvmath/segments/double_pair_p.h>

#include <cmath>

namespace KvMath::Internal {

namespace {

using Point = KvVector2D<double>;

constexpr int kBlock = 64;      // steps that are judged together
constexpr int kLeastBlock = 8;  // where a block has a long one, and at the end

double squaredStep(const Point* p) {
    const double dx = p[0].x - p[-1].x;
    const double dy = p[0].y - p[-1].y;
    return dx * dx + dy * dy;
}

/// The least double whose root is not below the gap, so that comparing squares decides as comparing distances
/// does. Beyond the range where squares are exact enough to step there: NaN.
double leastSquareBeyond(double gap) {
    if (!(gap > 1e-150 && gap < 1e150))
        return std::nan("");
    double square = gap * gap;
    while (std::sqrt(square) >= gap)
        square = std::nextafter(square, 0.0);
    while (std::sqrt(square) < gap)
        square = std::nextafter(square, HUGE_VAL);
    return square;
}

/// Whether all steps to `size` points from p on are shorter than the root of `square`.
template <class Lanes>
KVMATH_INLINE_KERNEL bool areShort(const Point* p, int size, double square) {
    constexpr int kLanes = sizeof(Lanes) / sizeof(double);
    Lanes limit;
    spread(square, square, limit);
    BitsOf<Lanes> all = {};
    all = ~all;
    for (int k = 0; k < size; k += kLanes) {
        Lanes to[2];
        Lanes from[2];
        for (int half = 0; half < 2; ++half) {
            load(p + k + half * (kLanes / 2), to[half]);
            load(p + k + half * (kLanes / 2) - 1, from[half]);
            to[half] -= from[half];
            to[half] *= to[half];
        }
        Lanes squares;
        addWithin(to[0], to[1], squares);
        all &= squares < limit;
    }
    bool areAll = true;
    for (int lane = 0; lane < kLanes; ++lane)
        areAll = areAll && all[lane] != 0;
    return areAll;
}

/// The first point from `from` on whose block of steps is not all short, or that has no whole block left.
template <class Lanes>
KVMATH_INLINE_KERNEL int passShortBlocks(const Point* pts, int from, int n, double square) {
    int k = from;
    for (const int size : {kBlock, kLeastBlock}) {
        while (n - k >= size && areShort<Lanes>(pts + k, size, square))
            k += size;
    }
    return k;
}
KVMATH_FOR_AVX2 int passShortBlocksForAvx2(const Point* pts, int from, int n, double square) {
    return passShortBlocks<DoubleQuad>(pts, from, n, square);
}

/// The first point from `from` on that is not nearer than the gap to the one before it; n when there is none.
int endOfRun(const Point* pts, int from, int n, double gap, double square) {
    int k = from;
    if (!(std::sqrt(squaredStep(pts + k)) < gap))
        return k;
    k = hasAvx2() ? passShortBlocksForAvx2(pts, k, n, square)
                  : passShortBlocks<DoublePair>(pts, k, n, square);
    while (k < n && std::sqrt(squaredStep(pts + k)) < gap)
        ++k;
    return k;
}

}  // namespace

int groupContours(const Point* pts, int n, double gap, std::vector<ContourRun>& runs,
                  std::vector<ContourEnds::End>& storage) {
    runs.clear();
    const double square = leastSquareBeyond(gap);
    ContourEnds ends(pts, n, gap, storage);
    runs.push_back({0, 0, ends.append(0)});
    for (int k = 1;;) {
        k = k < n ? endOfRun(pts, k, n, gap, square) : n;
        runs.back().to = k;
        if (k == n)
            return ends.count();
        const int current = runs.back().contour;
        ends.setEnd(current, k - 1);
        int contour = gap >= 0 ? ends.nearest(pts[k]) : -1;
        if (contour < 0)
            contour = ends.append(k);
        if (contour != current)
            runs.push_back({k, k, contour});
        ++k;
    }
}

}  // namespace KvMath::Internal

// Between two points the height d over the base is linear in the place t = x - x0, so that
//   A = dt (d0 + d1) / 2,  int t dA = t0 A + dt^2 (d0 + 2 d1) / 6,  int d/2 dA = dt (d0^2 + d0 d1 + d1^2)
//   / 6.
// Trapezoids are taken four at a time; where one crosses the base, the part below 0 is cut off. Columns go on
// behind the last point with copies of it, whose trapezoids have no width.

#include <kvmeasure/inspection/kinds/area_sums_p.h>

#include <kvmeasure/base/double_quad_p.h>
#include <kvmeasure/inspection/kinds/fitted_value_p.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure::Internal {

namespace {

constexpr std::size_t kColumns = 5;
constexpr DoubleQuad kNone{0, 0, 0, 0};

KVMEASURE_INLINE_KERNEL void put(const DoubleQuad& four, double* to) { std::memcpy(to, &four, sizeof(four)); }

/// Steps and slopes of the rises, 0 before the first and behind the last one.
KVMEASURE_INLINE_KERNEL void fillSteps(const std::vector<Vector>& points, const AreaColumns::Columns& to) {
    const std::size_t count = points.size();
    std::size_t i = 1;
    for (; i + kFour <= count; i += kFour) {
        DoubleQuad x, y, beforeX, beforeY;
        takeFour(points.data() + i, x, y);
        takeFour(points.data() + i - 1, beforeX, beforeY);
        DoubleQuad step = x - beforeX;
        DoubleQuad rise = y - beforeY;
        takeSizes(step);
        takeSizes(rise);
        put(step, to.steps + i);
        put(rise / step, to.slopes + i);
    }
    for (; i < count; ++i) {
        to.steps[i] = std::fabs(points[i].x - points[i - 1].x);
        to.slopes[i] = std::fabs(points[i].y - points[i - 1].y) / to.steps[i];
    }
}

/// wallShare() without noise, of rises that are over the base at one end at least.
KVMEASURE_INLINE_KERNEL void fillWalls(std::size_t count, const AreaColumns::Columns& to) {
    constexpr double kWide = 1.5;
    for (std::size_t i = 1; i < count; i += kFour) {
        DoubleQuad here, beside, behind, step, widest, stepBehind, low, high;
        takeFour(to.slopes + i, here);
        takeFour(to.slopes + i - 1, beside);
        takeFour(to.slopes + i + 1, behind);
        takeFour(to.steps + i, step);
        takeFour(to.steps + i - 1, widest);
        takeFour(to.steps + i + 1, stepBehind);
        takeFour(to.heights + i - 1, low);
        takeFour(to.heights + i, high);
        replaceWhere(beside < behind, behind, beside);
        DoubleQuad share = 1 - beside / here;
        replaceWhere(0 * share != 0, 1 + kNone, share);  // not finite: 1
        replaceWhere(widest < stepBehind, stepBehind, widest);
        DoubleQuad ofMissing = 1 - here / beside;
        clearUnless((step > kWide * widest) & (0 * ofMissing == 0), ofMissing);
        replaceWhere(share < ofMissing, ofMissing, share);
        clearUnless((share > 0) & (here > 0) & ((low > 0) | (high > 0)), share);
        put(share, to.walls + i);
    }
}

KVMEASURE_INLINE_KERNEL void fill(const std::vector<Vector>& points, const LineFit& base, double side,
                                  const AreaColumns::Columns& to) {
    const std::size_t count = points.size();
    const double slope = base.along.y / base.along.x;
    std::size_t i = 0;
    for (; i + kFour <= count; i += kFour) {
        DoubleQuad x, y;
        takeFour(points.data() + i, x, y);
        const DoubleQuad place = x - base.centre.x;
        put(place, to.places + i);
        put(side * (y - base.centre.y - slope * place), to.heights + i);
    }
    for (; i < count; ++i) {
        to.places[i] = points[i].x - base.centre.x;
        to.heights[i] = side * (points[i].y - base.centre.y - slope * to.places[i]);
    }
    for (std::size_t k = count; k < count + kFour; ++k) {
        to.places[k] = to.places[count - 1];
        to.heights[k] = to.heights[count - 1];
    }
    fillSteps(points, to);
    fillWalls(count, to);
}

KVMEASURE_FOR_AVX2 void fillForAvx2(const std::vector<Vector>& points, const LineFit& base, double side,
                                    const AreaColumns::Columns& to) {
    fill(points, base, side, to);
}

/// The trapezoids before `count` points. A step wider than `widest` counts as none.
KVMEASURE_INLINE_KERNEL void addTrapezoids(const AreaColumns::Columns& from, std::size_t count, double widest,
                                           AreaIntegrals& sum) {
    constexpr double kSixth = 1.0 / 6;
    constexpr double kThird = 1.0 / 3;
    DoubleQuad area = kNone, momentT = kNone, momentD = kNone;
    DoubleQuad length = kNone, momentOfLength = kNone, squareOfLength = kNone;
    DoubleQuad gaps = kNone, leftOut = kNone;
    for (std::size_t i = 1; i < count; i += kFour) {
        DoubleQuad t0, t1, d0, d1, step, wall;
        takeFour(from.places + i - 1, t0);
        takeFour(from.places + i, t1);
        takeFour(from.heights + i - 1, d0);
        takeFour(from.heights + i, d1);
        takeFour(from.steps + i, step);
        takeFour(from.walls + i, wall);
        const auto isWide = step > widest;
        DoubleQuad wide = 1 + kNone;
        clearUnless(isWide, wide);
        gaps += wide;
        clearUnless(isWide, step);
        leftOut += step;
        const DoubleQuad way = t1 - t0;
        const auto isOver = (d0 > 0) | (d1 > 0);
        const DoubleQuad end = t0 + way * (d0 / (d0 - d1));
        replaceWhere(d0 < 0, t1 - way * (d1 / (d1 - d0)), t0);
        replaceWhere(d1 < 0, end, t1);
        clearUnless(d0 > 0, d0);
        clearUnless(d1 > 0, d1);
        DoubleQuad dt = t1 - t0;
        clearUnless(isOver & ~isWide, dt);
        clearUnless(isOver, t0);
        clearUnless(isOver, t1);
        const DoubleQuad own = dt * (d0 + d1) / 2;
        area += own;
        momentT += t0 * own + dt * dt * (d0 + 2 * d1) * kSixth;
        const DoubleQuad rise = d1 - d0;
        momentD += dt * ((d0 * d0 + d0 * d1 + d1 * d1) + wall * rise * rise / 2) * kSixth;
        length += dt;
        momentOfLength += dt * (t0 + t1) / 2;
        squareOfLength += dt * (t0 * t0 + t0 * t1 + t1 * t1) * kThird;
    }
    sum = {sumOf(area),
           sumOf(momentT),
           sumOf(momentD),
           sumOf(length),
           sumOf(momentOfLength),
           sumOf(squareOfLength),
           static_cast<int>(sumOf(gaps)),
           sumOf(leftOut)};
}

KVMEASURE_FOR_AVX2 void addTrapezoidsForAvx2(const AreaColumns::Columns& from, std::size_t count,
                                             double widest, AreaIntegrals& sum) {
    addTrapezoids(from, count, widest, sum);
}

KVMEASURE_INLINE_KERNEL void addSquares(const AreaColumns::Columns& from, std::size_t count, double widest,
                                        const Vector& centroid, AreaSpread& sum) {
    constexpr double kTwelfth = 1.0 / 12;
    DoubleQuad shares = kNone, sharesX = kNone, sharesZ = kNone;
    DoubleQuad walls = kNone, wallsX = kNone, wallsZ = kNone;
    for (std::size_t i = 0; i < count; i += kFour) {
        DoubleQuad place, height, before, behind;
        takeFour(from.places + i, place);
        takeFour(from.heights + i, height);
        takeFour(from.steps + i, before);
        takeFour(from.steps + i + 1, behind);
        clearUnless(before <= widest, before);
        clearUnless(behind <= widest, behind);
        DoubleQuad share = before / 2 + behind / 2;
        clearUnless(height > 0, share);
        const DoubleQuad x = share * (place - centroid.x);
        const DoubleQuad z = share * (height - centroid.y);
        shares += share * share;
        sharesX += x * x;
        sharesZ += z * z;
    }
    for (std::size_t i = 1; i < count; i += kFour) {
        DoubleQuad place, placeBefore, low, high, step, wall;
        takeFour(from.places + i, place);
        takeFour(from.places + i - 1, placeBefore);
        takeFour(from.heights + i, high);
        takeFour(from.heights + i - 1, low);
        takeFour(from.steps + i, step);
        takeFour(from.walls + i, wall);
        clearUnless(high > 0, high);
        clearUnless(low > 0, low);
        clearUnless(step <= widest, step);
        const DoubleQuad change = step * (high - low) * wall;
        const DoubleQuad square = change * change * kTwelfth;
        const DoubleQuad x = (place + placeBefore) / 2 - centroid.x;
        const DoubleQuad z = (low + high) / 2 - centroid.y;
        walls += square;
        wallsX += square * x * x;
        wallsZ += square * z * z;
    }
    sum = {sumOf(shares), sumOf(sharesX), sumOf(sharesZ), sumOf(walls), sumOf(wallsX), sumOf(wallsZ)};
}

KVMEASURE_FOR_AVX2 void addSquaresForAvx2(const AreaColumns::Columns& from, std::size_t count, double widest,
                                          const Vector& centroid, AreaSpread& sum) {
    addSquares(from, count, widest, centroid, sum);
}

}  // namespace

AreaColumns::AreaColumns(const std::vector<Vector>& points, const LineFit& base, double side)
    : count_(points.size()) {
    const std::size_t size = count_ + 2 * kFour;
    values_.resize(kColumns * size);
    double* const all = values_.data();
    columns_ = {all, all + size, all + 2 * size, all + 3 * size, all + 4 * size};
    ofThisMachine(fillForAvx2, fill)(points, base, side, columns_);
}

AreaIntegrals AreaColumns::integrals(double widest) const {
    AreaIntegrals sum;
    ofThisMachine(addTrapezoidsForAvx2, addTrapezoids)(columns_, count_, widest, sum);
    return sum;
}

AreaSpread AreaColumns::spread(const PointSpacing& spacing, double widest, const Vector& centroid) const {
    AreaSpread sum;
    ofThisMachine(addSquaresForAvx2, addSquares)(columns_, count_, widest, centroid, sum);
    // Where it begins and ends in height points may be missing.
    const double ofPitch = spacing.medianStep / kRootOf12;
    const double ofEnd = spacing.deviationOfEnd;
    const double missing = std::max(ofEnd * ofEnd - ofPitch * ofPitch, 0.0);
    for (const std::size_t i : {std::size_t{0}, count_ - 1}) {
        const double high = std::max(columns_.heights[i], 0.0);
        const double x = high * (columns_.places[i] - centroid.x);
        const double z = high * (high / 2 - centroid.y);
        sum.walls += missing * high * high;
        sum.wallsX += missing * x * x;
        sum.wallsZ += missing * z * z;
    }
    return sum;
}

}  // namespace KvMeasure::Internal

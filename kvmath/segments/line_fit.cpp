// Of the two directions where the sum of squared distances is stationary, the better one is the line. Both
// sums need not be formed to know which: see fitLine.

#include <kvmath/segments/line_fit_p.h>

#include <kvmath/segments/double_pair_p.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace KvMath::Internal {

namespace {

constexpr double kHalfPi = 1.5707963705062866;  // single-precision half pi, deliberately: see lsd

LineABC lineAtAngle(double theta, double mx, double my) {
    LineABC line;
    line.a = std::cos(theta);
    line.b = std::sin(theta);
    line.c = -(line.a * mx + line.b * my);
    return line;
}

double squaredDistances(const LineABC& line, PointRange range) {
    double sum = 0;
    for (const KvVector2D<double>* p = range.first; p != range.last; ++p) {
        const double r = line.a * p->x + line.b * p->y + line.c;
        sum += r * r;
    }
    return sum;
}

}  // namespace

// The five sums are independent chains: x with y and xx with yy share a vector, each lane keeping index
// order.
void addPoints(MomentSums& sums, PointRange range) {
    DoublePair s = {sums.x, sums.y};
    DoublePair ss = {sums.xx, sums.yy};
    double xy = sums.xy;
    for (const KvVector2D<double>* p = range.first; p != range.last; ++p) {
        const DoublePair v = pairOf(*p);
        s += v;
        ss += v * v;
        xy += p->x * p->y;
    }
    sums = {s[0], s[1], ss[0], ss[1], xy};
}

// An addition waits for the one before it in its chain; two stretches fill the waiting time of each other.
void addPoints(MomentSums& sums1, PointRange range1, MomentSums& sums2, PointRange range2) {
    const ptrdiff_t common = std::min(range1.last - range1.first, range2.last - range2.first);
    DoublePair s1 = {sums1.x, sums1.y};
    DoublePair s2 = {sums2.x, sums2.y};
    DoublePair ss1 = {sums1.xx, sums1.yy};
    DoublePair ss2 = {sums2.xx, sums2.yy};
    DoublePair xy = {sums1.xy, sums2.xy};
    for (ptrdiff_t i = 0; i < common; ++i) {
        const DoublePair v1 = pairOf(range1.first[i]);
        const DoublePair v2 = pairOf(range2.first[i]);
        s1 += v1;
        s2 += v2;
        ss1 += v1 * v1;
        ss2 += v2 * v2;
        xy += DoublePair{v1[0], v2[0]} * DoublePair{v1[1], v2[1]};
    }
    sums1 = {s1[0], s1[1], ss1[0], ss1[1], xy[0]};
    sums2 = {s2[0], s2[1], ss2[0], ss2[1], xy[1]};
    addPoints(sums1, {range1.first + common, range1.last});
    addPoints(sums2, {range2.first + common, range2.last});
}

// With s = Sxx - Syy and t = 2 Sxy the mean squared distances R1, R2 of the two directions differ by
// R1 - R2 = sign(s) sqrt(s^2 + t^2), since the first angle half atan(t / s) lies within 45 degrees.
// Everything that rounding and the single-precision half pi add to the difference of the computed sums is
// below (34 n + 504) u q + 1e-7 |R1 - R2|, with q the mean of x^2 + y^2 and u = 2^-53 (moments (16 n + 64) u
// q, residual sums (18 n + 240) u q, sine and cosine 200 u q). Beyond nearly twice that the sign of s
// decides; nearer, and for values that could overflow or vanish, the sums are formed.
LineABC fitLine(const MomentSums& sums, PointRange range) {
    const auto n = static_cast<double>(range.last - range.first);
    const double mx = sums.x / n;
    const double my = sums.y / n;
    const double sxx = sums.xx / n - mx * mx;
    const double sxy = sums.xy / n - mx * my;
    const double syy = sums.yy / n - my * my;
    const double s = sxx - syy;
    const double theta1 = 0.5 * std::atan(2 * sxy / s);
    const double theta2 = theta1 + kHalfPi;

    const double q = (sums.xx + sums.yy) / n;
    const double margin = 64 * (n + 64) * 0x1p-53 * q;
    if (q > 1e-200 && q < 1e200 && std::max(std::fabs(s), std::fabs(2 * sxy)) > margin && s != 0)
        return lineAtAngle(s > 0 ? theta2 : theta1, mx, my);

    const LineABC line1 = lineAtAngle(theta1, mx, my);
    const LineABC line2 = lineAtAngle(theta2, mx, my);
    return squaredDistances(line2, range) > squaredDistances(line1, range) ? line1 : line2;
}

}  // namespace KvMath::Internal

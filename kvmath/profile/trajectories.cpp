// With inner control points a[i] = p1 of piece i and p2 = 2 K[i+1] - a[i+1], equal first derivatives hold by
// construction and equal second derivatives ask for a[i-1] + 4 a[i] + a[i+1] = 4 K[i] + 2 K[i+1].

#include <kvmath/profile/trajectories.h>

#include <kvmath/base/count_p.h>
#include <kvmath/profile/profile.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace KvMath {
namespace {

using Point = KvVector2D<double>;

constexpr long long kMostSamples = 1LL << 24;

Point combined(double p, const Point& a, double q, const Point& b) {
    return {p * a.x + q * b.x, p * a.y + q * b.y};
}

/// Tridiagonal elimination with `below` = `above` = 1 except the last row's `lastBelow`; rhs becomes the
/// solution.
void solveTridiagonal(std::vector<double>& diagonal, double lastBelow, std::vector<Point>& rhs) {
    const std::size_t n = rhs.size();
    for (std::size_t i = 1; i < n; ++i) {
        const double factor = (i + 1 == n ? lastBelow : 1.0) / diagonal[i - 1];
        diagonal[i] -= factor;
        rhs[i] = combined(1.0, rhs[i], -factor, rhs[i - 1]);
    }
    rhs[n - 1] = combined(1.0 / diagonal[n - 1], rhs[n - 1], 0.0, rhs[n - 1]);
    for (std::size_t i = n - 1; i-- > 0;)
        rhs[i] = combined(1.0 / diagonal[i], rhs[i], -1.0 / diagonal[i], rhs[i + 1]);
}

Point onCurve(const CubicBezierCurve& curve, double t) {
    const double s = 1.0 - t;
    const double b0 = s * s * s;
    const double b1 = 3.0 * s * s * t;
    const double b2 = 3.0 * s * t * t;
    const double b3 = t * t * t;
    return {b0 * curve.p0.x + b1 * curve.p1.x + b2 * curve.p2.x + b3 * curve.p3.x,
            b0 * curve.p0.y + b1 * curve.p1.y + b2 * curve.p2.y + b3 * curve.p3.y};
}

KvPointXY narrowed(const Point& p) { return {static_cast<float>(p.x), static_cast<float>(p.y)}; }

/// Cyclic system a[i-1] + 4 a[i] + a[i+1] = rhs[i] by the Sherman-Morrison formula; rhs.size() >= 3.
void solveCyclic(std::vector<Point>& rhs) {
    const std::size_t n = rhs.size();
    constexpr double kGamma = -4.0;
    std::vector<double> diagonal(n, 4.0);
    diagonal[0] = 4.0 - kGamma;
    diagonal[n - 1] = 4.0 - 1.0 / kGamma;
    std::vector<double> sameDiagonal = diagonal;
    std::vector<Point> correction(n);
    correction[0] = {kGamma, 0.0};
    correction[n - 1] = {1.0, 0.0};
    solveTridiagonal(diagonal, 1.0, rhs);
    solveTridiagonal(sameDiagonal, 1.0, correction);
    const double denominator = 1.0 + correction[0].x + correction[n - 1].x / kGamma;
    const Point factor = combined(1.0 / denominator, rhs[0], 1.0 / (kGamma * denominator), rhs[n - 1]);
    for (std::size_t i = 0; i < n; ++i)
        rhs[i] = {rhs[i].x - factor.x * correction[i].x, rhs[i].y - factor.y * correction[i].x};
}

}  // namespace

bool interpolateTrajectory(const QList<KvVector2D<double>>& points, QList<CubicBezierCurve>& curves) {
    curves.clear();
    const int pieces = Internal::countOf(points) - 1;
    if (pieces < 1)
        return false;
    const Point& start = points.at(0);
    if (pieces == 1) {
        const Point& end = points.at(1);
        curves.append({start, combined(2.0 / 3.0, start, 1.0 / 3.0, end),
                       combined(1.0 / 3.0, start, 2.0 / 3.0, end), end});
        return true;
    }
    std::vector<Point> a(static_cast<std::size_t>(pieces));
    std::vector<double> diagonal(a.size(), 4.0);
    diagonal.front() = 2.0;
    diagonal.back() = 7.0;
    a.front() = combined(1.0, start, 2.0, points.at(1));
    for (int i = 1; i + 1 < pieces; ++i)
        a[static_cast<std::size_t>(i)] = combined(4.0, points.at(i), 2.0, points.at(i + 1));
    a.back() = combined(8.0, points.at(pieces - 1), 1.0, points.at(pieces));
    solveTridiagonal(diagonal, 2.0, a);
    for (int i = 0; i < pieces; ++i) {
        const Point& end = points.at(i + 1);
        const Point& control = a[static_cast<std::size_t>(i)];
        const Point second = i + 1 < pieces ? combined(2.0, end, -1.0, a[static_cast<std::size_t>(i) + 1])
                                            : combined(0.5, end, 0.5, control);
        curves.append({points.at(i), control, second, end});
    }
    return true;
}

bool interpolateTrajectoryPeriodic(const QList<KvVector2D<double>>& points, QList<CubicBezierCurve>& curves) {
    curves.clear();
    int count = Internal::countOf(points);
    if (count > 1 && points.at(0).x == points.at(count - 1).x && points.at(0).y == points.at(count - 1).y)
        --count;
    if (count < 2)
        return false;
    const auto at = [&points, count](int i) -> const Point& { return points.at(i % count); };
    std::vector<Point> a(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        a[static_cast<std::size_t>(i)] = combined(4.0, at(i), 2.0, at(i + 1));
    if (count == 2) {  // both neighbours are the other point: 4 a0 + 2 a1, 2 a0 + 4 a1
        const Point r0 = a[0];
        const Point r1 = a[1];
        a[0] = combined(1.0 / 3.0, r0, -1.0 / 6.0, r1);
        a[1] = combined(1.0 / 3.0, r1, -1.0 / 6.0, r0);
    } else {
        solveCyclic(a);
    }
    for (int i = 0; i < count; ++i) {
        const Point& next = a[static_cast<std::size_t>((i + 1) % count)];
        curves.append(
            {at(i), a[static_cast<std::size_t>(i)], combined(2.0, at(i + 1), -1.0, next), at(i + 1)});
    }
    return true;
}

int cubicBezierSpline2KvProfile(const QList<CubicBezierCurve>& curves, int pointsPerPiece,
                                KvProfile& profile) {
    profile.clear();
    if (curves.isEmpty() || pointsPerPiece < 1 ||
        static_cast<long long>(curves.size()) * pointsPerPiece + 1 > kMostSamples)
        return 0;
    profile.points.reserve(curves.size() * pointsPerPiece + 1);
    for (const CubicBezierCurve& curve : curves)
        for (int j = 0; j < pointsPerPiece; ++j)
            profile += narrowed(onCurve(curve, static_cast<double>(j) / pointsPerPiece));
    profile += narrowed(curves.last().p3);
    return Internal::countOf(profile.points);
}

void filterProfile(KvProfile& profile, const double* kernel, int half) {
    if (half < 0)
        return;
    const std::ptrdiff_t n = profile.points.size();
    std::vector<double> old;
    old.reserve(static_cast<std::size_t>(n));
    for (const KvPointXY& p : qAsConst(profile.points))
        old.push_back(static_cast<double>(p.y));
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        const std::ptrdiff_t from = std::max<std::ptrdiff_t>(-half, -i);
        const std::ptrdiff_t to = std::min<std::ptrdiff_t>(half, n - 1 - i);
        double sum = 0.0;
        double weights = 0.0;
        for (std::ptrdiff_t j = from; j <= to; ++j) {
            const double y = old[static_cast<std::size_t>(i + j)];
            if (std::isnan(y))
                continue;
            sum += kernel[j + half] * y;
            weights += kernel[j + half];
        }
        if (weights != 0.0)
            profile.points[static_cast<int>(i)].y = static_cast<float>(sum / weights);
    }
}

}  // namespace KvMath

#include <kvmath/profile/circle_fitting.h>

#include <kvmath/base/instructions_p.h>
#include <kvmath/core/circle.h>
#include <kvmath/numerics/optimisers.h>
#include <kvmath/profile/profile.h>

#include <algorithm>
#include <cmath>

namespace KvMath {
namespace {

struct Samples {
    const KvVector2D<double>* pts;
    int n;
    double knownRadius;
};

/// The sum goes from point to point; the roots, which take longer, are drawn for several points at a time.
KVMATH_INLINE_KERNEL double sumOfSquares(const Samples& samples, double cx, double cy, double radius) {
    constexpr int kBlock = 64;
    double squares[kBlock];
    double sum = 0.0;
    for (int from = 0; from < samples.n; from += kBlock) {
        const KvVector2D<double>* pts = samples.pts + from;
        const int count = std::min(kBlock, samples.n - from);
        for (int i = 0; i < count; ++i) {
            const double dx = pts[i].x - cx;
            const double dy = pts[i].y - cy;
            const double residual = std::sqrt(dx * dx + dy * dy) - radius;
            squares[i] = residual * residual;
        }
        for (int i = 0; i < count; ++i)
            sum += squares[i];
    }
    return sum;
}
KVMATH_FOR_AVX2 double sumOfSquaresForAvx2(const Samples& samples, double cx, double cy, double radius) {
    return sumOfSquares(samples, cx, cy, radius);
}

double cost(const Samples& samples, double cx, double cy, double radius) {
    return Internal::hasAvx2() ? sumOfSquaresForAvx2(samples, cx, cy, radius)
                               : sumOfSquares(samples, cx, cy, radius);
}

double freeRadiusCost(double* p, void* data) {
    return cost(*static_cast<const Samples*>(data), p[0], p[1], p[2]);
}

double knownRadiusCost(double* p, void* data) {
    const auto& samples = *static_cast<const Samples*>(data);
    return cost(samples, p[0], p[1], samples.knownRadius);
}

// Centre and radius to start from; the algebraic fit sees the points in single precision.
void startCircle(const Samples& samples, double* p) {
    KvProfile profile;
    profile.points.reserve(samples.n);
    for (int i = 0; i < samples.n; ++i)
        profile += KvPointXY(static_cast<float>(samples.pts[i].x), static_cast<float>(samples.pts[i].y));
    KvCircle circle;
    if (circle.calcFromPointCloud(profile, nullptr)) {
        p[0] = static_cast<double>(circle.x);
        p[1] = static_cast<double>(circle.y);
        p[2] = static_cast<double>(circle.radius);
        return;
    }
    double cx = 0.0;
    double cy = 0.0;
    for (int i = 0; i < samples.n; ++i) {
        cx += samples.pts[i].x;
        cy += samples.pts[i].y;
    }
    cx /= samples.n;
    cy /= samples.n;
    double distances = 0.0;
    for (int i = 0; i < samples.n; ++i) {
        const double dx = samples.pts[i].x - cx;
        const double dy = samples.pts[i].y - cy;
        distances += std::sqrt(dx * dx + dy * dy);
    }
    p[0] = cx;
    p[1] = cy;
    p[2] = distances / samples.n;
}

}  // namespace

bool circleFitting(const KvVector2D<double>* pts, int n, KvVector2D<double>& centre, double& radius,
                   double tol, int maxIter) {
    if (n < 1)
        return false;
    Samples samples{pts, n, 0.0};
    double p[3];
    startCircle(samples, p);
    int evaluations = 0;
    const bool converged = fminsearch(freeRadiusCost, &samples, 3, p, nullptr, tol, maxIter, evaluations);
    centre = KvVector2D<double>(p[0], p[1]);
    radius = p[2];
    return converged;
}

bool circleFittingWithKnownR(const KvVector2D<double>* pts, int n, double R, KvVector2D<double>& centre,
                             double tol, int maxIter) {
    if (n < 1)
        return false;
    Samples samples{pts, n, R};
    double p[3];
    startCircle(samples, p);
    int evaluations = 0;
    const bool converged = fminsearch(knownRadiusCost, &samples, 2, p, nullptr, tol, maxIter, evaluations);
    centre = KvVector2D<double>(p[0], p[1]);
    return converged;
}

}  // namespace KvMath

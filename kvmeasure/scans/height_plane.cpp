// With sums about the centre the normal equations fall apart into the height there and a system of two for
// the slopes.

#include <kvmeasure/scans/height_plane.h>

#include <kvmath/numerics/fitting.h>

#include <cmath>
#include <vector>

namespace KvMeasure {

namespace {

/// Points about their centre: x, scan, height.
struct Centred {
    std::vector<double> xyz;
    double centre[3] = {};
    double farthest = 0;  // of the places, from the origin

    explicit Centred(const Scan& scan) {
        xyz.reserve(3 * std::size_t(scan.points));
        Scan::forEachPoint(scan, [this](float x, float place, float height) {
            xyz.insert(xyz.end(), {double(x), double(place), double(height)});
            farthest = std::max({farthest, std::fabs(double(x)), std::fabs(double(place))});
        });
        for (std::size_t i = 0; i < xyz.size(); ++i)
            centre[i % 3] += xyz[i];
        for (double& coordinate : centre)
            coordinate /= double(count());
        for (std::size_t i = 0; i < xyz.size(); ++i)
            xyz[i] -= centre[i % 3];
    }
    std::size_t count() const { return xyz.size() / 3; }
};

/// Slopes; false where the places lie within the rounding of their coordinates of one line.
bool solveSlopes(const Centred& points, double& a, double& b) {
    constexpr double kRounding = 1.2e-7;  // of a float, relative
    double xx = 0, xy = 0, yy = 0, xz = 0, yz = 0;
    for (std::size_t i = 0; i < points.xyz.size(); i += 3) {
        const double* p = &points.xyz[i];
        xx += p[0] * p[0];
        xy += p[0] * p[1];
        yy += p[1] * p[1];
        xz += p[0] * p[2];
        yz += p[1] * p[2];
    }
    const double determinant = xx * yy - xy * xy;
    const double longer = (xx + yy + std::hypot(xx - yy, 2 * xy)) / 2;  // moments along and across the places
    const double acrossSquares = determinant / longer / double(points.count());
    const double least = kRounding * points.farthest;
    if (!(acrossSquares > least * least))  // false for NaN
        return false;
    a = (xz * yy - yz * xy) / determinant;
    b = (yz * xx - xz * xy) / determinant;
    return true;
}

}  // namespace

double HeightPlane::rms() const { return std::sqrt(squares / count); }

bool fitHeights(const Scan& scan, HeightPlane& plane) {
    if (scan.points < 3)
        return false;
    const Centred points(scan);
    HeightPlane fitted;
    if (!solveSlopes(points, fitted.a, fitted.b))
        return false;
    const double* centre = points.centre;
    fitted.c = centre[2] - fitted.a * centre[0] - fitted.b * centre[1];
    fitted.lowest = std::numeric_limits<double>::infinity();
    fitted.highest = -fitted.lowest;
    for (std::size_t i = 0; i < points.xyz.size(); i += 3) {
        const double* p = &points.xyz[i];
        const double residual = p[2] - fitted.a * p[0] - fitted.b * p[1];
        fitted.squares += residual * residual;
        fitted.lowest = std::min(fitted.lowest, residual);
        fitted.highest = std::max(fitted.highest, residual);
    }
    fitted.count = static_cast<int>(points.count());
    double* n = fitted.normal;
    if (!KvMath::planeFitting(points.xyz.data(), fitted.count, n))
        return false;
    n[3] -= n[0] * centre[0] + n[1] * centre[1] + n[2] * centre[2];
    plane = fitted;
    return true;
}

}  // namespace KvMeasure

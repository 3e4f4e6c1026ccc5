// With (u, v) the coordinates about the centroid and (p, q) the centre there, the sum of
// (u^2 + v^2 - 2pu - 2qv - c)^2 is least where c = (Suu + Svv) / n, the radius squared is c + p^2 + q^2, and
//     Suu p + Suv q = (Suuu + Suvv) / 2
//     Suv p + Svv q = (Svvv + Svuu) / 2
// Three passes over the points, no memory.
#include <kvmath/core/circle.h>

#include <cmath>
#include <limits>

namespace KvMath {
namespace {

constexpr float kUnset = std::numeric_limits<float>::quiet_NaN();
constexpr double kSingular = 1e-12;  // least determinant, as a share of Suu * Svv, that a curved run leaves

struct Centroid {
    double x = 0.0, y = 0.0;
    int n = 0;
};

struct Moments {
    double uu = 0.0, uv = 0.0, vv = 0.0;
    double uuu = 0.0, uvv = 0.0, vvv = 0.0, vuu = 0.0;
};

Centroid centroidOf(const QList<KvPointXY>& points) {
    Centroid mean;
    for (const KvPointXY& p : points) {
        if (std::isnan(p.x) || std::isnan(p.y))
            continue;
        mean.x += static_cast<double>(p.x);
        mean.y += static_cast<double>(p.y);
        ++mean.n;
    }
    mean.x /= mean.n;  // NaN without points, which every later test refuses
    mean.y /= mean.n;
    return mean;
}

Moments momentsAbout(const Centroid& mean, const QList<KvPointXY>& points) {
    Moments s;
    for (const KvPointXY& p : points) {
        if (std::isnan(p.x) || std::isnan(p.y))
            continue;
        const double u = static_cast<double>(p.x) - mean.x;
        const double v = static_cast<double>(p.y) - mean.y;
        const double uu = u * u;
        const double vv = v * v;
        s.uu += uu;
        s.uv += u * v;
        s.vv += vv;
        s.uuu += uu * u;
        s.uvv += u * vv;
        s.vvv += vv * v;
        s.vuu += v * uu;
    }
    return s;
}

double rmsDistance(const QList<KvPointXY>& points, int used, double x, double y, double radius) {
    double sum = 0.0;
    for (const KvPointXY& p : points) {
        if (std::isnan(p.x) || std::isnan(p.y))
            continue;
        const double dx = static_cast<double>(p.x) - x;
        const double dy = static_cast<double>(p.y) - y;
        const double deviation = std::sqrt(dx * dx + dy * dy) - radius;
        sum += deviation * deviation;
    }
    return std::sqrt(sum / used);
}

}  // namespace

KvCircle::KvCircle() : x(kUnset), y(kUnset), radius(kUnset) {}

bool KvCircle::calcFromPointCloud(const KvPointCloud<KvPointXY>& cloud, float* error) {
    const Centroid mean = centroidOf(cloud.points);
    const Moments s = momentsAbout(mean, cloud.points);
    const double determinant = s.uu * s.vv - s.uv * s.uv;
    if (!(determinant > kSingular * s.uu * s.vv))  // NaN is refused as well
        return false;
    const double right1 = 0.5 * (s.uuu + s.uvv);
    const double right2 = 0.5 * (s.vvv + s.vuu);
    const double uc = (right1 * s.vv - right2 * s.uv) / determinant;
    const double vc = (right2 * s.uu - right1 * s.uv) / determinant;
    const double r = std::sqrt(uc * uc + vc * vc + (s.uu + s.vv) / mean.n);

    const auto centreX = static_cast<float>(mean.x + uc);
    const auto centreY = static_cast<float>(mean.y + vc);
    const auto fittedRadius = static_cast<float>(r);
    if (!std::isfinite(centreX) || !std::isfinite(centreY) || !std::isfinite(fittedRadius))
        return false;
    x = centreX;
    y = centreY;
    radius = fittedRadius;
    if (error)
        *error = static_cast<float>(rmsDistance(cloud.points, mean.n, mean.x + uc, mean.y + vc, r));
    return true;
}

}  // namespace KvMath

#include <kvmath/core/plane.h>
#include <kvmath/core/trace_p.h>

#include <QtCore/QLocale>

#include <cmath>
#include <limits>

namespace KvMath {
namespace {

constexpr double kUnset = std::numeric_limits<double>::quiet_NaN();
constexpr int kTraceLevel = 1;

bool tracing() { return Internal::traceEnabled(kTraceLevel); }
void trace(const QString& message) { Internal::trace(kTraceLevel, message); }

// Each product in float, each sum in double.
struct Sums {
    int n = 0;
    double x = 0.0, y = 0.0, z = 0.0;
    double xx = 0.0, yy = 0.0, xy = 0.0, xz = 0.0, yz = 0.0;

    void add(float px, float py, float pz) {
        if (std::isnan(px) || std::isnan(py) || std::isnan(pz))
            return;
        x += static_cast<double>(px);
        y += static_cast<double>(py);
        z += static_cast<double>(pz);
        xx += static_cast<double>(px * px);
        yy += static_cast<double>(py * py);
        xy += static_cast<double>(px * py);
        xz += static_cast<double>(px * pz);
        yz += static_cast<double>(py * pz);
        ++n;
    }
};

void add(Sums& sums, const Vector3D* p) {
    if (p)
        sums.add(p->x, p->y, p->z);
}
void add(Sums& sums, const KvPointXYZ& p) { sums.add(p.x, p.y, p.z); }

// Rows (p0 p1 p2), (q0 q1 q2), (r0 r1 r2).
double determinant(double p0, double p1, double p2, double q0, double q1, double q2, double r0, double r1,
                   double r2) {
    return p0 * (q1 * r2 - q2 * r1) - p1 * (q0 * r2 - q2 * r0) + p2 * (q0 * r1 - q1 * r0);
}

// Cramer's rule on
//     | xx xy x |   | a |   | xz |
//     | xy yy y | * | b | = | yz |
//     | x  y  n |   | c |   | z  |
bool solve(const Sums& s, double& a, double& b, double& c) {
    if (s.n < 3)
        return false;  // D is 0, which the rounded products could hide
    const double n = s.n;
    const double d = determinant(s.xx, s.xy, s.x, s.xy, s.yy, s.y, s.x, s.y, n);
    if (d == 0.0)
        return false;
    a = determinant(s.xz, s.xy, s.x, s.yz, s.yy, s.y, s.z, s.y, n) / d;
    b = determinant(s.xx, s.xz, s.x, s.xy, s.yz, s.y, s.x, s.z, n) / d;
    c = determinant(s.xx, s.xy, s.xz, s.xy, s.yy, s.yz, s.x, s.y, s.z) / d;
    return true;
}

QString shortest(double value) { return QString::number(value, 'g', QLocale::FloatingPointShortest); }

template <class Points>
bool fit(const Points& points, double& a, double& b, double& c) {
    if (tracing())
        trace(QStringLiteral("KvPlane::calcFromPointCloud(pointCloud(count=%1))").arg(points.size()));
    if (points.size() < 3) {
        if (tracing())
            trace(QStringLiteral("KvPlane::calcFromPointCloud returning false <pointCloud.size < 3>"));
        return false;
    }
    Sums sums;
    for (const auto& p : points)
        add(sums, p);
    if (!solve(sums, a, b, c)) {
        if (tracing())
            trace(QStringLiteral("KvPlane::calcFromPointCloud returning false <D=0>"));
        return false;
    }
    if (tracing())
        trace(QStringLiteral("KvPlane::calcFromPointCloud returning true <a=%1, b=%2, c=%3>")
                  .arg(shortest(a), shortest(b), shortest(c)));
    return true;
}

int pointCount(const PointCloud& cloud) {
    int count = 0;
    for (const Profile3D& profile : cloud.profiles())
        count += profile.size();
    return count;
}

}  // namespace

KvPlane::KvPlane() : a(kUnset), b(kUnset), c(kUnset), d(kUnset) {}

void KvPlane::calcFromPoints(const KvPointXYZ& p1, const KvPointXYZ& p2, const KvPointXYZ& p3) {
    a = static_cast<double>(p1.y * (p2.z - p3.z) + p2.y * (p3.z - p1.z) + p3.y * (p1.z - p2.z));
    b = static_cast<double>(p1.z * (p2.x - p3.x) + p2.z * (p3.x - p1.x) + p3.z * (p1.x - p2.x));
    c = static_cast<double>(p1.x * (p2.y - p3.y) + p2.x * (p3.y - p1.y) + p3.x * (p1.y - p2.y));
    d = static_cast<double>(-(p1.x * (p2.y * p3.z - p3.y * p2.z) + p2.x * (p3.y * p1.z - p1.y * p3.z) +
                              p3.x * (p1.y * p2.z - p2.y * p1.z)));
}

float KvPlane::calcDistance(const KvPointXYZ& p) const { return calcDistance(*this, p); }

float KvPlane::calcDistance(const KvPlane& plane, const KvPointXYZ& p) {
    const double height = plane.a * static_cast<double>(p.x) + plane.b * static_cast<double>(p.y) +
                          plane.c * static_cast<double>(p.z) + plane.d;
    const double normal = std::sqrt(plane.a * plane.a + plane.b * plane.b + plane.c * plane.c);
    return static_cast<float>(std::fabs(height) / normal);
}

bool KvPlane::calcFromPointCloud(const QList<const Vector3D*>& points, double& a, double& b, double& c) {
    return fit(points, a, b, c);
}

bool KvPlane::calcFromPointCloud(const KvPointCloud<KvPointXYZ>& cloud, double& a, double& b, double& c) {
    return fit(cloud.points, a, b, c);
}

int KvPlane::removePointsRelativelyPlane(PointCloud& cloud, bool removeUpLevel, double shiftFromPlane,
                                         double a, double b, double c) {
    if (tracing())
        trace(QStringLiteral("KvPlane::removePointsRelativelyPlane(cloud(points.count=%1), removeUpLevel=%2, "
                             "shiftFromPlane=%3, a=%4, b=%5, c=%6)")
                  .arg(pointCount(cloud))
                  .arg(removeUpLevel ? 1 : 0)
                  .arg(shiftFromPlane)
                  .arg(a)
                  .arg(b)
                  .arg(c));
    int removed = 0;
    for (Profile3D& profile : cloud.profiles()) {
        for (int i = profile.size() - 1; i >= 0; --i) {
            const Vector3D* p = profile[i];
            if (!p)
                continue;
            const double zPlane = a * static_cast<double>(p->x) + b * static_cast<double>(p->y) + c;
            const auto z = static_cast<double>(p->z);
            // Strict; false for an unset height.
            if (removeUpLevel ? z > zPlane - shiftFromPlane : z < zPlane + shiftFromPlane) {
                profile.removeAt(i);
                ++removed;
            }
        }
    }
    if (tracing())
        trace(QStringLiteral("KvPlane::removePointsRelativelyPlane: returning %1").arg(removed));
    return removed;
}

int KvPlane::getPointsFromArea(const PointCloud& /*in*/, const LinePP* /*area*/, PointCloud& /*out*/) {
    if (!tracing())
        return 0;
    trace(QStringLiteral("KvPlane::getPointsFromArea"));
    trace(QStringLiteral("KvPlane::getPointsFromArea: returning %1").arg(0));
    return 0;
}

}  // namespace KvMath

// One pass gathers the sums of the normal equations; Cramer's rule solves them. The sums are kept in pairs,
// which the vector unit adds at once without changing how each is rounded. No memory.
#include <kvmath/base/trace_p.h>
#include <kvmath/core/plane.h>

#include <QtCore/QLocale>

#include <cmath>
#include <limits>

namespace KvMath {
namespace {

constexpr double kUnset = std::numeric_limits<double>::quiet_NaN();
constexpr int kTraceLevel = 1;

bool tracing() { return Internal::traceEnabled(kTraceLevel); }
void trace(const QString& message) { Internal::trace(kTraceLevel, message); }

// Two sums side by side: each lane rounds as a plain double does, so that every sum keeps its bits.
using DoublePair = double __attribute__((vector_size(16)));
using FloatPair = float __attribute__((vector_size(8)));

DoublePair widened(float first, float second) {
    return __builtin_convertvector((FloatPair{first, second}), DoublePair);
}

// Each product in float, each sum in double.
class Sums {
public:
    void add(float px, float py, float pz) {
        if (std::isunordered(px, py) || std::isnan(pz))
            return;
        xAndY_ += widened(px, py);
        zAndXz_ += widened(pz, px * pz);
        xxAndYy_ += widened(px * px, py * py);
        xyAndYz_ += widened(px * py, py * pz);
        ++n_;
    }

    int n() const { return n_; }
    double x() const { return xAndY_[0]; }
    double y() const { return xAndY_[1]; }
    double z() const { return zAndXz_[0]; }
    double xx() const { return xxAndYy_[0]; }
    double yy() const { return xxAndYy_[1]; }
    double xy() const { return xyAndYz_[0]; }
    double xz() const { return zAndXz_[1]; }
    double yz() const { return xyAndYz_[1]; }

private:
    int n_ = 0;
    DoublePair xAndY_ = {}, zAndXz_ = {}, xxAndYy_ = {}, xyAndYz_ = {};
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
    if (s.n() < 3)
        return false;  // D is 0, which the rounded products could hide
    const double n = s.n(), x = s.x(), y = s.y(), z = s.z();
    const double xx = s.xx(), yy = s.yy(), xy = s.xy(), xz = s.xz(), yz = s.yz();
    const double d = determinant(xx, xy, x, xy, yy, y, x, y, n);
    if (d == 0.0)
        return false;
    a = determinant(xz, xy, x, yz, yy, y, z, y, n) / d;
    b = determinant(xx, xz, x, xy, yz, y, x, z, n) / d;
    c = determinant(xx, xy, xz, xy, yy, yz, x, y, z) / d;
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
        Internal::trace(kTraceLevel,
                        "KvPlane::removePointsRelativelyPlane(cloud(points.count=%1), removeUpLevel=%2, "
                        "shiftFromPlane=%3, a=%4, b=%5, c=%6)",
                        pointCount(cloud), removeUpLevel ? 1 : 0, shiftFromPlane, a, b, c);
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

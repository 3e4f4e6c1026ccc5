// Circles and straight pieces of wheel profiles.

#include <kvmath/base/constants_p.h>
#include <kvmath/base/count_p.h>
#include <kvmath/numerics/fitting.h>
#include <kvmath/numerics/small_matrix.h>
#include <kvmath/profile/circle_fitting.h>
#include <kvmath/segments/line_geometry.h>
#include <kvmath/tsearch/finder.h>
#include <kvmath/wheel/wheel_variants.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace KvMath {

namespace {

using Point = KvVector2D<double>;

constexpr double kCircleTolerance = 1e-9;  // mm
constexpr int kCircleEvaluations = 2000;

bool isSet(const KvPointXY& p) { return std::isfinite(p.x) && std::isfinite(p.y); }

/// The points first ... last, as far as they exist and are set.
std::vector<Point> selected(const KvProfile& profile, int first, int last) {
    std::vector<Point> points;
    for (int i = std::max(first, 0); i < profile.points.size() && i <= last; ++i) {
        const KvPointXY& p = profile.points.at(i);
        if (isSet(p))
            points.emplace_back(static_cast<double>(p.x), static_cast<double>(p.y));
    }
    return points;
}

bool isFinite(const Point& p) { return std::isfinite(p.x) && std::isfinite(p.y); }

bool centreOfKnownCircle(const std::vector<Point>& points, double radius, Point& centre) {
    Point found;
    if (points.size() < 3 || !(radius > 0) || !std::isfinite(radius) ||
        !circleFittingWithKnownR(points.data(), static_cast<int>(points.size()), radius, found,
                                 kCircleTolerance, kCircleEvaluations) ||
        !isFinite(found))
        return false;
    centre = found;
    return true;
}

double lengthOf(const LinePP& line) { return std::hypot(line.p2.x - line.p1.x, line.p2.y - line.p1.y); }

/// Least distance of an end of one segment from an end of the other.
double endDistance(const LinePP& a, const LinePP& b) {
    double least = std::numeric_limits<double>::infinity();
    for (const Point& p : {a.p1, a.p2}) {
        for (const Point& q : {b.p1, b.p2})
            least = std::min(least, std::hypot(p.x - q.x, p.y - q.y));
    }
    return least;
}

QList<LinePP> segmentsOf(const KvProfile& profile, const TSFindTemplateParams& params) {
    KvProfile set;
    std::copy_if(profile.points.begin(), profile.points.end(), std::back_inserter(set.points), isSet);
    QList<LinePP> lines;
    QList<TSLinesIndecies> results;
    findTemplate(set, nullptr, params, lines, results);
    return lines;
}

/// The straight pieces of a profile and which of them is the face of the rim, -1 if none.
struct Rim {
    QList<LinePP> lines;
    int face = -1;
};

Rim findRim(const KvProfile& profile, const _CalcRimParameters_& params) {
    constexpr int kRefinements = 2;
    constexpr double kNeverCut = 1e300;
    const TSFindTemplateParams search = {static_cast<double>(params.contourGap),
                                         static_cast<double>(params.lineTolerance),
                                         kRefinements,
                                         static_cast<double>(params.minLineLength),
                                         /*allowReversed=*/false,
                                         kNeverCut};
    const double tilt = static_cast<double>(params.maxRimTilt) * Internal::kRadiansPerDegree;
    Rim rim = {segmentsOf(profile, search)};
    double longest = 0;
    for (int i = 0; i < rim.lines.size(); ++i) {
        const LinePP& line = rim.lines.at(i);
        const double fromDepthAxis =
            std::atan2(std::fabs(line.p2.x - line.p1.x), std::fabs(line.p2.y - line.p1.y));
        if (fromDepthAxis <= tilt && lengthOf(line) > longest) {
            longest = lengthOf(line);
            rim.face = i;
        }
    }
    return rim;
}

}  // namespace

bool maxLineDetect(const KvProfile& profile, const TSFindTemplateParams& params, LinePP& line) {
    const QList<LinePP> lines = segmentsOf(profile, params);
    double longest = 0;
    for (const LinePP& candidate : lines) {
        if (lengthOf(candidate) > longest) {
            longest = lengthOf(candidate);
            line = candidate;
        }
    }
    return longest > 0;
}

bool calcRefPoint(const KvProfile& profile, int first, int last, KvPointXY& centre, float& radius) {
    const std::vector<Point> points = selected(profile, first, last);
    Point found;
    double foundRadius = 0;
    if (points.size() < 3 ||
        !circleFitting(points.data(), static_cast<int>(points.size()), found, foundRadius, kCircleTolerance,
                       kCircleEvaluations) ||
        !isFinite(found) || !std::isfinite(foundRadius))
        return false;
    centre = {static_cast<float>(found.x), static_cast<float>(found.y)};
    radius = static_cast<float>(foundRadius);
    return true;
}

bool calcRefPointWithConstR(const KvProfile& profile, int first, int last, float radius, KvPointXY& centre) {
    Point found;
    if (!centreOfKnownCircle(selected(profile, first, last), static_cast<double>(radius), found))
        return false;
    centre = {static_cast<float>(found.x), static_cast<float>(found.y)};
    return true;
}

bool calcRefPointWithConstR3D(const KvPointCloud<KvPointXYZ>& points, float radius, KvPointXYZ& centre) {
    std::vector<double> xyz;
    for (const KvPointXYZ& p : points.points) {
        if (std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z))
            xyz.insert(xyz.end(),
                       {static_cast<double>(p.x), static_cast<double>(p.y), static_cast<double>(p.z)});
    }
    double plane[4];
    if (xyz.size() < 9 || !planeFitting(xyz.data(), static_cast<int>(xyz.size() / 3), plane))
        return false;
    // Axes u, v in the plane; the origin is the plane's point nearest to the origin of the space.
    double u[3], v[3];
    normalVector(plane, u);
    mulV3byScalar(u, 1 / v3Norm(u));
    crossProduct(plane, u, v);
    std::vector<Point> flat;
    for (std::size_t i = 0; i < xyz.size(); i += 3)
        flat.emplace_back(mul13with31(u, &xyz[i]), mul13with31(v, &xyz[i]));
    Point found;
    if (!centreOfKnownCircle(flat, static_cast<double>(radius), found))
        return false;
    float place[3];
    for (int k = 0; k < 3; ++k)
        place[k] = static_cast<float>(found.x * u[k] + found.y * v[k] - plane[3] * plane[k]);
    centre = {place[0], place[1], place[2]};
    return true;
}

bool detectRimForB2B(const KvProfile& profile, const _CalcRimParameters_& params, float& position) {
    const Rim rim = findRim(profile, params);
    if (rim.face < 0)
        return false;
    const LinePP& face = rim.lines.at(rim.face);
    position = static_cast<float>((face.p1.x + face.p2.x) / 2);
    return true;
}

bool calcRimRefPoint(const KvProfile& profile, const _CalcRimParameters_& params, KvPointXY& point) {
    const Rim rim = findRim(profile, params);
    if (rim.face < 0)
        return false;
    int nearest = -1;
    for (int i = 0; i < rim.lines.size(); ++i) {
        if (i != rim.face && (nearest < 0 || endDistance(rim.lines.at(i), rim.lines.at(rim.face)) <
                                                 endDistance(rim.lines.at(nearest), rim.lines.at(rim.face))))
            nearest = i;
    }
    if (nearest < 0)
        return false;
    LineABC face, other;
    Point corner;
    LinePP2LineABC(rim.lines.at(rim.face), face);
    LinePP2LineABC(rim.lines.at(nearest), other);
    linesIntersection(face, other, corner);
    if (!isFinite(corner))
        return false;
    point = {static_cast<float>(corner.x), static_cast<float>(corner.y)};
    return true;
}

float calcRimThFlng(const KvProfile& profile, const KvPointXY& rim) {
    float tip = std::numeric_limits<float>::quiet_NaN();
    for (const KvPointXY& p : profile.points) {
        if (isSet(p) && !(p.y >= tip))
            tip = p.y;
    }
    return rim.y - tip;
}

float calcRimThSurf(const KvProfile& profile, const KvPointXY& rim, float treadPosition) {
    int pair = -1;
    const float tread = profile.calcY(treadPosition, std::numeric_limits<float>::infinity(), &pair);
    const bool outside = profile.points.isEmpty() || treadPosition < profile.points.first().x ||
                         treadPosition > profile.points.last().x;
    return outside ? std::numeric_limits<float>::quiet_NaN() : rim.y - tread;
}

bool detectWheelByCenterScanner(const KvProfile& profile, float minRadius, float maxRadius, KvCircle& wheel) {
    KvCircle found;
    if (!profile.calcCircle(found, nullptr) || !(found.radius >= minRadius) || !(found.radius <= maxRadius))
        return false;
    wheel = found;
    return true;
}

bool detectWheelByCScanOnlyAngle(const KvProfile& profile, float radius, float& angle) {
    const int size = Internal::countOf(profile.points);
    KvPointXY centre;
    if (!calcRefPointWithConstR(profile, 0, size - 1, radius, centre) || !isSet(profile.points.at(size / 2)))
        return false;
    const KvPointXY& middle = profile.points.at(size / 2);
    angle = static_cast<float>(std::atan2(static_cast<double>(centre.y) - static_cast<double>(middle.y),
                                          static_cast<double>(centre.x) - static_cast<double>(middle.x)) /
                               Internal::kRadiansPerDegree);
    return true;
}

void transform2dProfile(KvProfile& profile, float dx, float dy, float degrees) {
    profile.rotateEvklid(degrees);
    profile.shift(dx, dy, 0.0F);
}

}  // namespace KvMath

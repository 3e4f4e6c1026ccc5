// The placement of a sensor in closed form. A laser plane that is inclined by C shows widths shortened by cos
// C, so that the distance of the outer nodes gives C, the direction between them the turn A, and the means of
// all nodes the origin. The residual of all nodes then says whether the answer is believed. No search and no
// start value; a sort of the nodes, else linear.
#include <kvmath/wheel/sensor_calibration.h>

#include <kvmath/wheel/apexes.h>
#include <kvmath/wheel/wheel_lines_p.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

namespace KvMath {

namespace {

using Point = KvVector2D<double>;

constexpr double kDegreesPerRadian =
    180.0 / 3.1415927410125732;  // the pi with which the angles are taken back

struct NodePairs {
    std::vector<Point> apexes;  // x along the laser line, y the height
    std::vector<Point> nodes;   // x is X, y is Z
};

NodePairs pairUp(const QList<KvPointXY>& apexes, const QList<QPointF>& nodes) {
    NodePairs pairs;
    for (int i = 0; i < std::min(apexes.size(), nodes.size()); ++i) {
        pairs.apexes.emplace_back(static_cast<double>(apexes[i].x), static_cast<double>(apexes[i].y));
        pairs.nodes.emplace_back(nodes[i].x(), nodes[i].y());
    }
    return pairs;
}

Point meanOf(const std::vector<Point>& points) {
    Point sum;
    for (const Point& p : points)
        sum = {sum.x + p.x, sum.y + p.y};
    return {sum.x / static_cast<double>(points.size()), sum.y / static_cast<double>(points.size())};
}

/// (x, y) of the profile to (X, Z), without the origin.
struct Turn {
    double sinA, cosA, sinC, cosC;
    Point operator()(const Point& p) const {
        return {sinA * cosC * p.x + cosA * p.y, cosA * cosC * p.x - sinA * p.y};
    }
};

double rmsResidual(const NodePairs& pairs, const Turn& turn, const Point& origin) {
    double sum = 0;
    for (std::size_t i = 0; i < pairs.nodes.size(); ++i) {
        const Point placed = turn(pairs.apexes[i]);
        const double dX = placed.x + origin.x - pairs.nodes[i].x, dZ = placed.y + origin.y - pairs.nodes[i].y;
        sum += dX * dX + dZ * dZ;
    }
    return std::sqrt(sum / static_cast<double>(pairs.nodes.size()));
}

/// Placement of a sensor relative to the object: angles in radians, origin in mm.
struct Placement {
    double A = 0, C = 0;
    Point origin;  ///< X and Z
    double originY = 0;
    double extent = 0;                                           ///< distance of the outer nodes, mm
    double residual = std::numeric_limits<double>::quiet_NaN();  ///< mm, root mean square in X and Z

    bool isKnown() const { return std::isfinite(residual) && extent > 0; }
};

/// The direction and foreshortening of the outer pair give the angles, the means the origin.
Placement placementOf(const NodePairs& pairs) {
    Placement placement;
    if (pairs.nodes.size() < 2)
        return placement;
    const double dx = pairs.apexes.back().x - pairs.apexes.front().x;
    const double dy = pairs.apexes.back().y - pairs.apexes.front().y;
    const double dX = pairs.nodes.back().x - pairs.nodes.front().x;
    const double dZ = pairs.nodes.back().y - pairs.nodes.front().y;
    const double cosSquared = std::min(1.0, std::max(0.0, (dX * dX + dZ * dZ - dy * dy) / (dx * dx)));
    placement.C = std::asin(std::sqrt(1.0 - cosSquared));
    placement.A = std::atan2(dX, dZ) - std::atan2(dy, std::cos(placement.C) * dx);
    placement.extent = std::sqrt(dX * dX + dZ * dZ);
    const Turn turn = {std::sin(placement.A), std::cos(placement.A), std::sin(placement.C),
                       std::cos(placement.C)};
    const Point apexMean = meanOf(pairs.apexes), nodeMean = meanOf(pairs.nodes), placedMean = turn(apexMean);
    placement.origin = {nodeMean.x - placedMean.x, nodeMean.y - placedMean.y};
    placement.originY = turn.sinC * apexMean.x;
    placement.residual = rmsResidual(pairs, turn, placement.origin);
    return placement;
}

/// The sensor's x may run with X or against it: of both orders of the nodes the one that fits better. Two
/// pairs, or nodes that half a turn brings onto themselves, fit either way: then with X.
Placement bestPlacement(const QList<KvPointXY>& apexes, QList<QPointF> nodes) {
    constexpr double kRounding = 1e-9;  // of the extent
    std::stable_sort(nodes.begin(), nodes.end(),
                     [](const QPointF& a, const QPointF& b) { return a.x() < b.x(); });
    const Placement along = placementOf(pairUp(apexes, nodes));
    std::reverse(nodes.begin(), nodes.end());
    const Placement against = placementOf(pairUp(apexes, nodes));
    const bool isAgainst = against.isKnown() &&
                           (!along.isKnown() || against.residual < along.residual - kRounding * along.extent);
    return isAgainst ? against : along;
}

double turnAngle(const Point& before, const Point& vertex, const Point& behind) {
    const double ux = vertex.x - before.x, uy = vertex.y - before.y;
    const double vx = behind.x - vertex.x, vy = behind.y - vertex.y;
    return std::fabs(std::atan2(ux * vy - uy * vx, ux * vx + uy * vy));
}

/// The three inner vertices of sharpest turn, in walking order; fewer if there are fewer.
std::vector<std::size_t> sharpestVertices(const std::vector<Point>& vertices) {
    std::vector<double> turns(vertices.size(), -1.0);
    std::vector<std::size_t> inner;
    for (std::size_t i = 1; i + 1 < vertices.size(); ++i) {
        const double turn = turnAngle(vertices[i - 1], vertices[i], vertices[i + 1]);
        turns[i] = std::isnan(turn) ? 0.0 : turn;
        inner.push_back(i);
    }
    std::stable_sort(inner.begin(), inner.end(),
                     [&](std::size_t a, std::size_t b) { return turns[a] > turns[b]; });
    inner.resize(std::min<std::size_t>(inner.size(), 3));
    std::sort(inner.begin(), inner.end());
    return inner;
}

}  // namespace

bool ORBIS_calcAnglesCoord(KvProfile profile, float objectX, float objectY, float objectZ, float maxResidual,
                           _KvORBIS_SensorCoord_& coord, QList<QPointF> nodes, _KvORBIS_DbgData_* debug) {
    constexpr float kApexTolerance = 2.0F;
    KvProfile apexes;
    QList<KvLine> lines;
    ORBIS_detectApexes(profile, apexes, lines, kApexTolerance);
    if (debug != nullptr) {
        debug->profiles.append(profile);
        debug->lines.append(lines);
        debug->points += apexes.points;
    }
    const Placement placement = bestPlacement(apexes.points, std::move(nodes));
    if (!placement.isKnown() || placement.residual > static_cast<double>(maxResidual))
        return false;
    coord.x = static_cast<float>(placement.origin.x + static_cast<double>(objectX));
    coord.y = static_cast<float>(placement.originY + static_cast<double>(objectY));
    coord.z = static_cast<float>(placement.origin.y + static_cast<double>(objectZ));
    coord.angleA = static_cast<float>(std::remainder(placement.A * kDegreesPerRadian, 360.0));
    coord.angleB = 0.0F;
    coord.angleC = static_cast<float>(placement.C * kDegreesPerRadian);
    return true;
}

codeResult ORBIS_detectCalibrNodes(KvProfile profile, KvVector2D<double>* nodes, float contourGap,
                                   float tolerance, int writePoints) {
    if (nodes == nullptr)
        return CalibrNodesTooFewPoints;
    const std::vector<Internal::PlanePoints> contours =
        Internal::contoursOf(Internal::widened(profile.points), static_cast<double>(contourGap));
    const auto largest = std::max_element(contours.begin(), contours.end(),
                                          [](const auto& a, const auto& b) { return a.size() < b.size(); });
    if (largest == contours.end() || largest->size() < 4)
        return CalibrNodesTooFewPoints;
    const std::vector<Point> vertices =
        Internal::straightPieces(*largest, static_cast<double>(tolerance), 2).vertices;
    const std::vector<std::size_t> chosen = sharpestVertices(vertices);
    if (chosen.size() < 3)
        return CalibrNodesTooFewLines;
    KvProfile written;
    for (std::size_t k = 0; k < 3; ++k) {
        nodes[k] = vertices[chosen[k]];
        written.points.append({static_cast<float>(nodes[k].x), static_cast<float>(nodes[k].y)});
    }
    if (writePoints != 0)
        written.writeToCSVFile(QStringLiteral("points.csv"));
    return CalibrNodesFound;
}

bool ORBIS_detectCalibr3DNodes(const KvPointXY* nodes, KvPointXYZ* positions, float width, float taper,
                               float height) {
    if (nodes == nullptr || positions == nullptr)
        return false;
    const double chordX = static_cast<double>(nodes[2].x) - static_cast<double>(nodes[0].x);
    const double chordY = static_cast<double>(nodes[2].y) - static_cast<double>(nodes[0].y);
    const double d = std::hypot(chordX, chordY);
    if (!std::isfinite(d) || !(d > 0))
        return false;
    const double foot = ((static_cast<double>(nodes[1].x) - static_cast<double>(nodes[0].x)) * chordX +
                         (static_cast<double>(nodes[1].y) - static_cast<double>(nodes[0].y)) * chordY) /
                        d;
    const float Y = taper == 0.0F
                        ? 0.0F
                        : static_cast<float>((d - static_cast<double>(width)) / static_cast<double>(taper));
    const auto half = static_cast<float>(d / 2);
    positions[0] = {-half, Y, 0.0F};
    positions[1] = {static_cast<float>(foot - d / 2), Y, height};
    positions[2] = {half, Y, 0.0F};
    return true;
}

}  // namespace KvMath

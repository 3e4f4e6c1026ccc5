// A scan seen from above: every point lies at its place along the scan and at its x. The coin hull round the
// points is split into straight lines by the template search, which without a template lists all segments.
// Only the form for clouds then moves facing ends to where neighbouring lines meet. Cost: that of grouping
// the points, of the hull and of the line search; the rest is one pass.
#include <kvmath/contours/scan_lines.h>

#include <kvmath/base/count_p.h>
#include <kvmath/base/trace_p.h>
#include <kvmath/contours/edge_points.h>
#include <kvmath/contours/hull.h>
#include <kvmath/contours/scan_grouping_p.h>
#include <kvmath/core/line.h>
#include <kvmath/profile/profile_zset.h>
#include <kvmath/segments/line_geometry.h>
#include <kvmath/tsearch/finder.h>

#include <QtCore/QString>

#include <cmath>

namespace KvMath {
namespace {

using Internal::ScanGrouping;
using Points = QList<KvVector2D<double>>;

constexpr double kNeverCut = 1e300;
constexpr double kParallel = 1e-6;  // sine of the angle between two lines

/// Removes low points and turns (x, height) into (place along the scan, x), in single precision.
void mapProfile(KvProfile& profile, double step, double zStep, double minimumLevel) {
    profile.removeLowLevel(KvLine(0.0F, static_cast<float>(minimumLevel)));
    const float place = static_cast<float>(step) * static_cast<float>(zStep);
    for (KvPointXY& p : profile.points) {
        p.y = p.x;
        p.x = place;
    }
}

void appendAll(const KvProfile& profile, Points& points) {
    for (const KvPointXY& p : profile.points)
        points.append({static_cast<double>(p.x), static_cast<double>(p.y)});
}

Points enteringPoints(const KvProfileZSet& stack, double Lmax, double Lmin, bool simplification) {
    Points points;
    if (simplification) {
        getEdgePoints(stack, Lmax, Lmin, points);
        return points;
    }
    for (const KvProfileZ& profile : stack.profiles)
        appendAll(profile, points);
    return points;
}

KvPointXY narrowed(const KvVector2D<double>& p) {
    return KvPointXY(static_cast<float>(p.x), static_cast<float>(p.y));
}

/// The lines of the hull around the points, and the hull itself. Nothing when the hull does not close.
QList<LinePP> linesAround(const Points& points, double Rmax, const TSFindTemplateParams& params,
                          KvProfile& hull) {
    QList<int> indices;
    if (!getCoinHull(points, Rmax, indices))
        return {};
    for (int index : indices)
        hull.points.append(narrowed(points.at(index)));
    QList<LinePP> lines;
    QList<TSLinesIndecies> results;
    findTemplate(hull, nullptr, params, lines, results);
    return lines;
}

double distance(const KvVector2D<double>& a, const KvVector2D<double>& b) {
    const double dx = a.x - b.x;
    const double dy = a.y - b.y;
    return std::sqrt(dx * dx + dy * dy);
}

/// Moves the facing ends of consecutive lines to where the lines meet. The lines themselves are those before
/// any end was moved.
void joinCorners(QList<LinePP>& lines, double reach) {
    const int n = Internal::countOf(lines);
    QList<LineABC> abc;
    for (const LinePP& line : lines) {
        abc.append(LineABC());
        LinePP2LineABC(line, abc.last());
    }
    for (int i = 0; i < n; ++i) {
        const int next = i + 1 < n ? i + 1 : 0;
        const LineABC& l1 = abc.at(i);
        const LineABC& l2 = abc.at(next);
        const KvVector2D<double> end = lines.at(i).p2;
        const KvVector2D<double> start = lines.at(next).p1;
        if (!(distance(end, start) <= reach && std::fabs(l1.a * l2.b - l2.a * l1.b) > kParallel))
            continue;
        KvVector2D<double> corner;
        linesIntersection(l1, l2, corner);
        if (distance(corner, end) <= reach && distance(corner, start) <= reach) {
            lines[i].p2 = corner;
            lines[next].p1 = corner;
        }
    }
}

void traceGroups(const ScanGrouping& scan, double zStep) {
    if (!Internal::traceEnabled(2))
        return;
    Internal::trace(2, "Contours::convertProfilesZ2Lines istep=%1; istepy=%2",
                    QString::number(scan.span(), 'f', 0), scan.start);
    for (const ScanGrouping::Group& group : scan.groups)
        Internal::trace(2, "Contours::convertProfilesZ2Lines insert profile(z=%1) to %2",
                        scan.start + group.step * zStep, group.place);
}

/// The mapped profiles of the steps. With `separated`, an empty one stands in each gap between them.
KvProfileZSet mappedStack(const ScanGrouping& scan, double zStep, double minimumLevel, bool separated) {
    KvProfileZSet stack;
    stack.zStep = static_cast<float>(zStep);
    double before = -1;
    for (const ScanGrouping::Group& group : scan.ascending()) {
        if (separated && group.step > before + 1)
            stack.append(KvProfileZ());
        before = group.step;
        KvProfileZ profile(static_cast<float>(scan.start + group.step * zStep));
        for (size_t i = group.first; i < group.last; ++i)
            profile.points.append(KvPointXY(scan.points[i].x, scan.points[i].z));
        mapProfile(profile, group.step, zStep, minimumLevel);
        stack.append(profile);
    }
    return stack;
}

}  // namespace

QList<LinePP> convertProfilesZ2Lines(KvProfileZSet& stack, double zStep, double minimumLevel, double Rmax,
                                     double maxWidth, double Lmax, double Lmin, int /*maxPointsNumber*/,
                                     double maxDistanceBetweenPoints, double minimumLineLength,
                                     bool simplification) {
    for (int i = 0; i < stack.size(); ++i)
        mapProfile(stack[i], i, zStep, minimumLevel);
    const Points points = enteringPoints(stack, Lmax, Lmin, simplification);
    KvProfile hull;
    return linesAround(points, Rmax,
                       {maxDistanceBetweenPoints, maxWidth, /*refineIterations=*/0, minimumLineLength,
                        /*allowReversed=*/false, kNeverCut},
                       hull);
}

QList<LinePP> convertProfilesZ2Lines(const PointCloud& cloud, double zStep, double minimumLevel, double Rmax,
                                     double maxWidth, double Lmax, double Lmin, int maxPointsNumber,
                                     double maxDistanceBetweenPoints, double minimumLineLength,
                                     bool simplification, int refineIterations, KvProfileZSet* stack,
                                     KvProfile* outlinePoints, KvProfile* hullPoints) {
    Internal::trace(1,
                    "Contours::convertProfilesZ2Lines (pc(profiles.count=%1), zStep=%2, minimumLevel=%3, "
                    "Rmax=%4, maxWidth=%5, Lmax=%6, Lmin=%7, maxPointsNumber=%8, "
                    "maxDistanceBetweenPoints=%9, minimumLineLength=%10, simplification=%11)",
                    cloud.profiles().size(), zStep, minimumLevel, Rmax, maxWidth, Lmax, Lmin, maxPointsNumber,
                    maxDistanceBetweenPoints, minimumLineLength, simplification ? 1 : 0);
    const ScanGrouping scan(cloud, zStep);
    QList<LinePP> lines;
    KvProfile hull;
    Points points;
    if (!scan.groups.empty()) {
        traceGroups(scan, zStep);
        points = enteringPoints(mappedStack(scan, zStep, minimumLevel, /*separated=*/true), Lmax, Lmin,
                                simplification);
        lines = linesAround(points, Rmax,
                            {maxDistanceBetweenPoints, maxWidth, refineIterations, minimumLineLength,
                             /*allowReversed=*/false, kNeverCut},
                            hull);
        joinCorners(lines, maxDistanceBetweenPoints);
    }
    if (stack != nullptr)
        *stack = mappedStack(scan, zStep, minimumLevel, /*separated=*/false);
    if (outlinePoints != nullptr) {
        *outlinePoints = KvProfile();
        for (const KvVector2D<double>& p : qAsConst(points))
            outlinePoints->points.append(narrowed(p));
    }
    if (hullPoints != nullptr)
        *hullPoints = hull;
    // Published spelling of the first one.
    Internal::trace(1,
                    scan.groups.empty()
                        ? "Contours::convertProfilesZ2Lines retuning lines(count=%1) <profiles.isEmpty=true>"
                        : "Contours::convertProfilesZ2Lines returning lines(count=%1) <ok>",
                    lines.size());
    return lines;
}

}  // namespace KvMath

// Parameters that are not given follow from the point distances and from the smaller side of the object.
// The outline of kvmath gives lines; these are merged and fitted, and again where fitted lines can be merged
// further.
#include <kvmeasure/scans/outline_search.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/scans/height_levels_p.h>
#include <kvmeasure/scans/outline_fit_p.h>

#include <kvmath/contours/scan_lines.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KvMeasure {

using KvMath::KvPointXY;
using KvMath::KvProfileZ;
using KvMath::KvProfileZSet;
using KvMath::LinePP;

namespace {

/// Points above a level, and their extent.
struct Extent {
    double count = 0;
    double fromX = 1e300, toX = -1e300, fromScan = 1e300, toScan = -1e300;

    double smallerSide() const { return std::min(toX - fromX, toScan - fromScan); }
};

Extent extentAbove(const KvProfileZSet& stack, double level) {
    Extent extent;
    for (const KvProfileZ& profile : stack.profiles) {
        for (const KvPointXY& p : profile.points) {
            if (!(double(p.y) > level))
                continue;
            ++extent.count;
            extent.fromX = std::min(extent.fromX, double(p.x));
            extent.toX = std::max(extent.toX, double(p.x));
            extent.fromScan = std::min(extent.fromScan, double(profile.z));
            extent.toScan = std::max(extent.toScan, double(profile.z));
        }
    }
    return extent;
}

void setIfAbsent(double& value, double derived) {
    if (std::isnan(value))
        value = derived;
}

/// The points above the level as a scanner cloud: x along the line, y along the scan, z the height.
PointCloud scannerCloud(const KvProfileZSet& stack, double level, int& count) {
    PointCloud cloud;
    for (const KvProfileZ& profile : stack.profiles) {
        Profile3D line;
        for (const KvPointXY& p : profile.points) {
            if (!(double(p.y) > level))
                continue;
            line.append(new Vector3D(p.x, profile.z, p.y));  // the profile owns it
            ++count;
        }
        cloud.profiles().append(line);
    }
    return cloud;
}

/// Results are (scan from the first profile on, x).
Vector placeOf(const Vector& p, double start) { return {p.y, p.x + start}; }

QList<Vector> placesOf(const KvMath::KvProfile& profile, double start) {
    QList<Vector> places;
    for (const KvPointXY& p : profile.points)
        places.append(placeOf({double(p.x), double(p.y)}, start));
    return places;
}

}  // namespace

OutlineParameters::OutlineParameters() {
    step = level = coin = gap = minRun = split = join = minLength = std::nan("");
}

void deriveParameters(const KvProfileZSet& stack, const QString& path, OutlineParameters& parameters) {
    constexpr double kShareOfCoin = 1.0 / 8;  // of the object's smaller side
    constexpr double kShareOfLine = 1.0 / 10;
    const Steps steps = estimateSteps(stack);
    const double coarser = std::max(steps.x, steps.scan);
    setIfAbsent(parameters.step, steps.scan);
    if (std::isnan(parameters.level)) {
        const HeightLevels levels = findHeightLevels(stack, coarser);
        if (levels.outcome != HeightLevels::Found)
            throw Error(filledIn("%1: no level that parts an object from its support: %2; say \1level\2 MM, "
                                 "above which the points are the object (\1level\2 %3 takes them all)",
                                 path, levels.explanation(),
                                 QString::number(std::floor(levels.lowest) - 1, 'g', 10)));
        parameters.level = levels.level;
        parameters.reason = levels.explanation();
    }
    const Extent extent = extentAbove(stack, parameters.level);
    if (extent.count == 0)
        throw Error(filledIn("%1: no point is above the level of %2 mm", path, parameters.level))
            .inFile(path);
    const double side = extent.smallerSide();
    setIfAbsent(parameters.coin, std::max(5 * coarser, side * kShareOfCoin));
    setIfAbsent(parameters.gap, 5 * steps.x);
    setIfAbsent(parameters.minRun, 10 * steps.x);
    setIfAbsent(parameters.split, 4 * coarser);
    setIfAbsent(parameters.join, 2.02 * parameters.coin);
    setIfAbsent(parameters.minLength, std::max(5 * coarser, side * kShareOfLine));
}

Outline findOutline(const KvProfileZSet& stack, const OutlineParameters& parameters) {
    Outline outline;
    const PointCloud cloud = scannerCloud(stack, parameters.level, outline.objectPoints);
    double start = std::numeric_limits<double>::infinity();
    for (const Profile3D& profile : cloud.profiles()) {
        if (profile.size() > 0)
            start = std::min(start, double(profile[0]->y));
    }
    KvMath::KvProfile edge;
    KvMath::KvProfile hull;
    const Segments found = KvMath::convertProfilesZ2Lines(
        cloud, parameters.step, parameters.level, parameters.coin, parameters.split, parameters.gap,
        parameters.minRun,
        /*maxPointsNumber=*/0, parameters.join, parameters.minLength,
        /*simplification=*/!parameters.allPoints, parameters.passes, nullptr, &edge, &hull);
    for (const LinePP& line : found)
        outline.lines.append({LinePP(placeOf(line.p1, start), placeOf(line.p2, start)), 0, std::nan(""), 0});
    outline.edgePoints = placesOf(edge, start);
    outline.hull = placesOf(hull, start);
    if (!parameters.raw) {
        mergeLines(outline.lines, parameters.merge, parameters.join);
        QList<Vector> objectPoints;
        for (const Profile3D& profile : cloud.profiles()) {
            for (int i = 0; i < profile.size(); ++i)
                objectPoints.append({double(profile[i]->x), double(profile[i]->y)});
        }
        const auto fit = [&] {
            fitLines(outline, objectPoints, estimateSteps(stack), 2 * parameters.split, parameters.join,
                     parameters.compensatesEdges);
        };
        fit();
        constexpr int kRounds =
            2;  // a line that cuts a corner off may be fitted into the side that it leaves
        for (int round = 0; round < kRounds; ++round) {
            QList<OutlineLine> merged = outline.lines;
            mergeLines(merged, parameters.merge, parameters.join);
            if (merged.size() == outline.lines.size())
                break;
            outline.lines = merged;
            fit();
        }
    }
    return outline;
}

}  // namespace KvMeasure

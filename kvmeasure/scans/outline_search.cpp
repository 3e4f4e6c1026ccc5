#include "kvmeasure/outline_search.h"

#include "kvmeasure/failure.h"
#include "kvmeasure/outline_fit.h"

#include <kvmath/contours/scan_lines.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>

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

float lowestHeight(const KvProfileZSet& stack) {
    float lowest = std::numeric_limits<float>::infinity();
    for (const KvProfileZ& profile : stack.profiles) {
        for (const KvPointXY& p : profile.points)
            lowest = std::min(lowest, p.y);
    }
    return lowest;
}

constexpr int bands = 512;

/// Counts of heights between the ends that all but a few in a thousand lie between.
struct Histogram {
    double low = 0, high = 0;
    std::array<double, bands> counts{};

    explicit Histogram(const KvProfileZSet& stack) {
        std::vector<float> heights;
        for (const KvProfileZ& profile : stack.profiles) {
            for (const KvPointXY& p : profile.points)
                heights.push_back(p.y);
        }
        if (heights.empty())
            return;
        const auto few = std::ptrdiff_t(heights.size() / 500);
        std::nth_element(heights.begin(), heights.begin() + few, heights.end());
        low = double(heights[std::size_t(few)]);
        std::nth_element(heights.begin(), heights.end() - 1 - few, heights.end());
        high = double(*(heights.end() - 1 - few));
        for (const float height : heights) {
            const double share = (double(height) - low) / (high - low);
            if (share >= 0 && share <= 1)  // false when all heights are one
                ++counts[std::min(std::size_t(share * bands), std::size_t(bands - 1))];
        }
    }
    double middleOf(std::size_t band) const { return low + (high - low) * (double(band) + 0.5) / bands; }
};

/// The middle of the widest band of heights that hardly occur, with a fair part of the points on either side;
/// NaN when there is none of that height, which a flat object's noise and steps of the scanner do not reach.
double levelBetween(const Histogram& histogram, double leastHeight) {
    constexpr double hardly = 0.1;  // of the mean of all bands
    constexpr double fair = 0.03;   // of all points
    const double total = std::accumulate(histogram.counts.begin(), histogram.counts.end(), 0.0);
    const double bandHeight = (histogram.high - histogram.low) / bands;
    double widest = 0;
    double level = std::nan("");
    double below = 0;
    std::size_t first = 0;
    for (std::size_t i = 0; i < bands; ++i) {
        below += histogram.counts[i];
        if (histogram.counts[i] >= hardly * total / bands) {
            first = i + 1;
            continue;
        }
        const double height = double(i + 1 - first) * bandHeight;
        if (height <= widest || height < leastHeight || below < fair * total || total - below < fair * total)
            continue;
        widest = height;
        level = histogram.low + double(first + i + 1) / 2 * bandHeight;
    }
    return level;
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
    constexpr double shareOfCoin = 1.0 / 8;  // of the object's smaller side
    constexpr double shareOfLine = 1.0 / 10;
    constexpr double leastStep = 4;  // between the two kinds of heights, in distances of points
    const Steps steps = estimateSteps(stack);
    const double coarser = std::max(steps.x, steps.scan);
    setIfAbsent(parameters.step, steps.scan);
    if (std::isnan(parameters.level)) {
        const Histogram histogram(stack);
        const double between = levelBetween(histogram, leastStep * coarser);
        parameters.level = std::isnan(between) ? double(lowestHeight(stack)) - 1 : between;
    }
    const Extent extent = extentAbove(stack, parameters.level);
    if (extent.count == 0)
        throw Failure{QString("%1: no point is above the level of %2 mm").arg(path).arg(parameters.level)};
    const double side = extent.smallerSide();
    setIfAbsent(parameters.coin, std::max(5 * coarser, side * shareOfCoin));
    setIfAbsent(parameters.gap, 5 * steps.x);
    setIfAbsent(parameters.minRun, 10 * steps.x);
    setIfAbsent(parameters.split, 4 * coarser);
    setIfAbsent(parameters.join, 2.02 * parameters.coin);
    setIfAbsent(parameters.minLength, std::max(5 * coarser, side * shareOfLine));
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
        outline.lines.append({LinePP(placeOf(line.p1, start), placeOf(line.p2, start)), 0, std::nan("")});
    outline.edgePoints = placesOf(edge, start);
    outline.hull = placesOf(hull, start);
    if (!parameters.raw) {
        mergeLines(outline.lines, parameters.merge, parameters.join);
        fitLines(outline, estimateSteps(stack), 2 * parameters.split, parameters.join);
    }
    return outline;
}

}  // namespace KvMeasure

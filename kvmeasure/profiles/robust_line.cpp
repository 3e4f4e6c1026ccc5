// The repeated median (Siegel, Biometrika 69 (1982) 242-244) of 15 block medians is the start, since it
// stands up to nearly half of bad blocks at a fixed cost: it and the cut are taken from at most 240 points.
// Then least squares within the cut, at most five times. All else is passes over the points. Uncertainties
// count correlated points by an autocorrelation that falls in a straight line to 0, which also holds where it
// reaches over the line.

#include <kvmeasure/profiles/robust_line.h>

#include <kvmeasure/base/double_pair_p.h>
#include <kvmeasure/profiles/few_medians_p.h>
#include <kvmeasure/profiles/fit_start_p.h>
#include <kvmeasure/profiles/plain_line_p.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace KvMeasure {

using namespace Internal;

namespace {

constexpr std::size_t kStartPoints = 15;
constexpr int kParameters = kLineParameters;

/// A point and a direction.
struct Start {
    Vector at, along;

    double distanceOf(const Vector& p) const { return (p.y - at.y) * along.x - (p.x - at.x) * along.y; }
};

/// The lower median of a few values.
double medianOfFew(const FewValues& values) { return mediansOfFew(values, values)[0]; }

/// A few points.
struct Few {
    std::array<Vector, kStartPoints> points;
    std::size_t count = 0;

    void add(const Vector& p) { points[count++] = p; }
    const Vector& operator[](std::size_t i) const { return points[i]; }
};

/// The repeated median: the median over the points of the median slope to all others, about the axis that
/// most pairs of points run along.
Start repeatedMedian(const Few& points) {
    const std::size_t count = points.count;
    std::size_t steep = 0;
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t k = i + 1; k < count; ++k)
            steep += std::fabs(points[k].y - points[i].y) > std::fabs(points[k].x - points[i].x) ? 1 : 0;
    }
    const bool isSteep = 4 * steep > count * (count - 1);
    std::array<FewValues, kStartPoints> slopes;  // from each point to others
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t k = i + 1; k < count; ++k) {
            const double x = points[k].x - points[i].x;
            const double y = points[k].y - points[i].y;
            const double slope = isSteep ? x / y : y / x;
            if (std::isfinite(slope)) {
                slopes[i].add(slope);
                slopes[k].add(slope);
            }
        }
    }
    FewValues medians;
    const auto known =
        static_cast<std::size_t>(std::partition(slopes.begin(), slopes.begin() + std::ptrdiff_t(count),
                                                [](const FewValues& few) { return few.count > 0; }) -
                                 slopes.begin());
    for (std::size_t i = 0; i < known; i += 2) {
        const DoublePair both = mediansOfFew(slopes[i], slopes[std::min(i + 1, known - 1)]);
        medians.add(both[0]);
        if (i + 1 < known)
            medians.add(both[1]);
    }
    const double slope = known == 0 ? 0 : medianOfFew(medians);
    const double size = std::hypot(1, slope);
    Start start{points[0], isSteep ? Vector(slope / size, 1 / size) : Vector(1 / size, slope / size)};
    FewValues distances;
    for (std::size_t i = 0; i < count; ++i)
        distances.add(start.distanceOf(points[i]));
    const double offset = medianOfFew(distances);
    start.at = Vector(start.at.x - offset * start.along.y, start.at.y + offset * start.along.x);
    return start;
}

/// The medians in x and in y of runs of evenly chosen points; few points themselves.
Few runMedians(const std::vector<Vector>& points, std::size_t sampled) {
    EvenPlaces places(points.size(), sampled);
    Few medians;
    const std::size_t runs = std::min(sampled, kStartPoints);
    std::size_t from = 0;
    for (std::size_t run = 0; run < runs; ++run) {
        FewValues x;
        FewValues y;
        for (const std::size_t end = (run + 1) * sampled / runs; from < end; ++from) {
            const Vector& point = points[places.next()];
            x.add(point.x);
            y.add(point.y);
        }
        const DoublePair both = mediansOfFew(x, y);
        medians.add({both[0], both[1]});
    }
    return medians;
}

/// Which points count: those within `most` of a line.
struct Cut {
    Start line{{0, 0}, {1, 0}};
    double most = std::numeric_limits<double>::infinity();

    bool takes(const Vector& p) const {
        const DoublePair parts = (pairOf(p) - pairOf(line.at)) * DoublePair{line.along.y, line.along.x};
        return std::fabs(parts[1] - parts[0]) <= most;
    }
};

/// The cut about the repeated median, by the median distance from it.
Cut startCut(const std::vector<Vector>& points, double deviations) {
    const std::size_t sampled = std::min(points.size(), kMostSampled);
    Cut cut;
    cut.line = repeatedMedian(runMedians(points, sampled));
    std::vector<double> distances(sampled);
    EvenPlaces places(points.size(), sampled);
    for (std::size_t i = 0; i < sampled; ++i)
        distances[i] = cut.line.distanceOf(points[places.next()]);
    std::vector<double> spent = distances;
    const double offset = medianOf(spent);
    cut.line.at =
        Vector(cut.line.at.x - offset * cut.line.along.y, cut.line.at.y + offset * cut.line.along.x);
    for (double& distance : distances)
        distance = std::fabs(distance - offset);
    cut.most = deviations * robustDeviation(distances, kParameters);
    return cut;
}

/// The points that count.
std::vector<Vector> within(const std::vector<Vector>& points, const Cut& cut) {
    std::vector<Vector> kept(points.size());
    std::size_t count = 0;
    for (const Vector& p : points) {  // written in any case: which are kept cannot be foretold
        kept[count] = p;
        count += std::size_t(cut.takes(p));
    }
    kept.resize(count);
    return kept;
}

bool areDistinct(const std::vector<Vector>& points) {
    return std::any_of(points.begin(), points.end(),
                       [&](const Vector& p) { return p.x != points[0].x || p.y != points[0].y; });
}

}  // namespace

LineFit fitLine(const std::vector<Vector>& points, const RobustFitting& fitting) {
    LineFit line;
    if (fitPlainLine(points, fitting, line))
        return line;
    line = LineFit();
    std::vector<Vector> finite;
    const std::vector<Vector>& usable = finitePoints(points, finite);
    if (!areDistinct(usable)) {
        line.reason = "fewer than two distinct points for a line";
        return line;
    }
    std::vector<Vector> used;
    if (fitting.isRobust && usable.size() >= fewestCut(kParameters))
        used = within(usable, startCut(usable, fitting.cut));
    if (used.empty() || !fitAll(used, line)) {
        used = usable;
        fitAll(used, line);
    }
    // The points within the cut of the fitted line. The median distance of few or correlated points may come
    // out small, and then the first cut takes points of the line: these come back.
    constexpr int kMostRounds = 4;
    for (int round = 0; used.size() < usable.size() && round < kMostRounds; ++round) {
        const double most = fitting.cut * line.deviation * ofFew(used.size(), kParameters);
        std::vector<Vector> again = within(usable, {{line.centre, line.along}, most});
        if (again.size() <= used.size())
            break;
        used.swap(again);
        fitAll(used, line);
    }
    line.rejected = static_cast<int>(usable.size()) - line.points;
    if (!std::isfinite(line.centre.x + line.centre.y + line.along.x + line.along.y + line.deviation))
        line.reason = "the points do not give a line";
    return line;
}

namespace {

/// Variance of the mean and of the slope of n points over those that n / correlation time independent ones
/// would have: 1 for many, less where the correlation reaches over the line.
struct Correlation {
    double ofMean = 1, ofSlope = 1;
};

/// With an autocorrelation that falls in a straight line to 0 and has the correlation time.
Correlation correlationWithin(int points, double time) {
    Correlation sum{1 / time, 1 / time};
    for (int lag = 1; lag < time && lag < points; ++lag) {
        const double q = double(lag) / points;
        const double share = 2 * (1 - lag / time) / time;
        sum.ofMean += share * (1 - q);
        sum.ofSlope += share * (1 - 3 * q + 2 * q * q * q);
    }
    sum.ofSlope = std::max(sum.ofSlope, 1 / time);
    return sum;
}

}  // namespace

double LineUncertainty::at(double place) const { return std::hypot(offset, direction * place); }

LineUncertainty lineUncertainty(const LineFit& line, const NoiseModel& noise) {
    LineUncertainty result;
    result.reason = line.reason;
    if (!line.isFound())
        return result;
    // The noise is that of heights, and smaller by the cosine square to the line.
    constexpr double kLeastShare = 0.1;
    const double share = std::max(kLeastShare, line.along.x);
    const double squares = line.deviation * line.deviation * std::max(line.points - kParameters, 0);
    const double ofHeights = squares / (share * share);
    const FitDeviation deviation = deviationOf(ofHeights, line.points, kParameters, noise);
    result.isShort = deviation.isShort;
    result.reason = deviation.reason;
    if (!result.reason.isEmpty())
        return result;
    const Correlation correlation = correlationWithin(line.points, noise.correlationTime);
    result.offset = share * deviation.deviation * std::sqrt(correlation.ofMean / line.points);
    result.direction = share * deviation.deviation * std::sqrt(correlation.ofSlope / line.spread);
    result.degreesOfFreedom = deviation.degreesOfFreedom;
    return result;
}

}  // namespace KvMeasure

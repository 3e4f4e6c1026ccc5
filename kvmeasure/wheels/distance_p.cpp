#include <kvmeasure/wheels/distance_p.h>

#include <kvmeasure/profiles/residual_noise.h>

#include <kvmath/wheel/wheelset_distance.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace KvMeasure {

namespace {

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// The greatest median distance of an eighth of the points from their common line, 0 within five deviations
/// of what noise makes of it and 0.02 mm. Neighbours tell the noise.
double bendOf(const KvMath::KvProfile& line) {
    constexpr std::size_t kParts = 8, kFewest = 2 * kParts;
    constexpr double kDeviations = 5, kMedianOverMean = 1.2533, kNothing = 0.02;
    constexpr double kPerDeviation = 0.6745 * 1.41421356;  // median distance of two neighbours
    const auto count = static_cast<std::size_t>(line.points.size());
    KvMath::KvLine fitted;
    if (count < kFewest || !line.calcLine(fitted))
        return 0;
    std::vector<double> residuals, steps;
    for (const KvMath::KvPointXY& p : line.points) {
        residuals.push_back(static_cast<double>(p.y) -
                            static_cast<double>(fitted.k) * static_cast<double>(p.x) -
                            static_cast<double>(fitted.b));
        if (residuals.size() > 1)
            steps.push_back(std::fabs(residuals.back() - residuals[residuals.size() - 2]));
    }
    double bend = 0;
    for (std::size_t i = 0; i < kParts; ++i) {
        const auto at = [&](std::size_t part) {
            return residuals.begin() + static_cast<std::ptrdiff_t>(part * count / kParts);
        };
        bend = std::max(bend, std::fabs(median({at(i), at(i + 1)})));
    }
    const double noise = median(steps) / kPerDeviation;
    const double limit =
        kNothing + kDeviations * kMedianOverMean * noise * std::sqrt(double(kParts) / double(count));
    return bend > limit ? bend : 0;
}

/// Residuals of the points of a half of a back from its line, and how far x = 0, where the line is read, lies
/// outside: the squared uncertainty of the distance is that of a mean of the points times `growth`.
struct LineAtOrigin {
    std::vector<double> residuals;
    double squares = 0, growth = 0;
};

LineAtOrigin lineAtOrigin(const BackView& view) {
    const KvMath::KvProfile& line = view.profile;
    LineAtOrigin result;
    KvMath::KvLine fitted;
    if (!line.calcLine(fitted))
        return result;
    const auto count = static_cast<double>(line.points.size());
    double mean = 0, square = 0;
    for (const KvMath::KvPointXY& p : line.points)
        mean += static_cast<double>(p.x) / count;
    result.residuals.reserve(static_cast<std::size_t>(line.points.size()));
    for (const KvMath::KvPointXY& p : line.points) {
        const auto x = static_cast<double>(p.x);
        result.residuals.push_back(static_cast<double>(p.y) - static_cast<double>(fitted.k) * x -
                                   static_cast<double>(fitted.b));
        result.squares += result.residuals.back() * result.residuals.back();
        square += (x - mean) * (x - mean);
    }
    const auto slope = static_cast<double>(view.reference.k);
    result.growth = (1 + count * mean * mean / square) / (1 + slope * slope);  // square to the reference
    return result;
}

/// Both lines, their noise pooled: it is the scanners'.
StandardUncertainty uncertaintyOf(const BackView& left, const BackView& right) {
    const LineAtOrigin lines[2] = {lineAtOrigin(left), lineAtOrigin(right)};
    ResidualNoise noise;
    for (const LineAtOrigin& line : lines)
        noise.add(line.residuals, 2);
    const NoiseModel model = noise.model();
    StandardUncertainty result;
    double squares = 0;
    for (const LineAtOrigin& line : lines) {
        const auto count = static_cast<double>(line.residuals.size());
        const FitDeviation deviation = deviationOf(line.squares, count, 2, model);
        if (!deviation.reason.isEmpty())
            result.reason = deviation.reason;
        squares += deviation.deviation * deviation.deviation / count * line.growth;
    }
    if (std::isfinite(squares))
        result.u = std::sqrt(squares);
    else if (result.reason.isEmpty())
        result.reason = "too few points on a flange back";
    return result;
}

}  // namespace

BackDistance backDistance(BackView left, BackView right, float referenceDistance) {
    left.profile.removeHighLevel(left.level);
    right.profile.removeHighLevel(right.level);
    BackDistance result;
    result.distance = KvMath::ORBIS_calcWheelsDist(left.profile, right.profile, left.reference,
                                                   right.reference, referenceDistance);
    result.bends[0] = bendOf(left.profile);  // the halves that were measured
    result.bends[1] = bendOf(right.profile);
    result.uncertainty = uncertaintyOf(left, right);
    return result;
}

}  // namespace KvMeasure

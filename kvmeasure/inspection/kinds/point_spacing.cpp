#include <kvmeasure/inspection/kinds/point_spacing.h>

#include <kvmeasure/profiles/fit_start_p.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

double medianStep(const std::vector<Vector>& points) {
    if (points.size() < 2)
        return 0;
    const std::size_t all = points.size() - 1;
    const std::size_t count = std::min(all, Internal::kMostSampled);
    std::vector<double> steps;
    steps.reserve(count);
    Internal::EvenPlaces places(all, count);
    for (std::size_t k = 0; k < count; ++k) {
        const std::size_t i = places.next();
        steps.push_back(std::fabs(points[i + 1].x - points[i].x));
    }
    return Internal::ofRank(steps, steps.size() / 2);
}

namespace {

constexpr double kInSteps = 10;
constexpr double kWidest = 1.5;  ///< median steps, within which none is missing

/// The greatest step; 0 of fewer than two points.
double greatestStep(const std::vector<Vector>& points) {
    double greatest = 0;
    double other = 0;
    std::size_t i = 1;
    for (; i + 1 < points.size(); i += 2) {  // two at a time, which need not wait for each other
        greatest = std::max(greatest, std::fabs(points[i].x - points[i - 1].x));
        other = std::max(other, std::fabs(points[i + 1].x - points[i].x));
    }
    if (i < points.size())
        other = std::max(other, std::fabs(points[i].x - points[i - 1].x));
    return std::max(greatest, other);
}

double widestStepOf(const std::vector<Vector>& points, double pitch) {
    const double usual = kInSteps * pitch;
    double widest = 0;
    for (std::size_t i = 1; i < points.size(); ++i) {
        const double step = std::fabs(points[i].x - points[i - 1].x);
        if (step <= usual)
            widest = std::max(widest, step);
    }
    return std::max(usual, 2 * widest);
}

/// The numbers of points that are missing between neighbours, as far as these are of one surface.
std::vector<double> missingPoints(const std::vector<Vector>& points, double pitch, double widest) {
    std::vector<double> missing;
    if (points.size() < 3 || !(pitch > 0))
        return missing;
    // A wide void, as between two parts, is not missing by chance.
    const double most = std::max(widest, std::fabs(points.back().x - points.front().x) / 10);
    for (std::size_t i = 1; i < points.size(); ++i) {
        const double step = std::fabs(points[i].x - points[i - 1].x);
        if (step > kWidest * pitch && step <= most)
            missing.push_back(step / pitch - 1);
    }
    return missing;
}

}  // namespace

double widestStep(const std::vector<Vector>& points) { return widestStepOf(points, medianStep(points)); }

double missingShare(const std::vector<Vector>& points) { return spacingOf(points).missingShare; }

double deviationOfEnd(const std::vector<Vector>& points) { return spacingOf(points).deviationOfEnd; }

PointSpacing spacingOf(const std::vector<Vector>& points) {
    PointSpacing spacing;
    spacing.medianStep = medianStep(points);
    constexpr double kTwelfth = 1.0 / 12;
    if (points.size() > 1 && greatestStep(points) <= kWidest * spacing.medianStep) {  // none is missing
        spacing.widestStep = kInSteps * spacing.medianStep;
        spacing.missingShare = 0;
        spacing.deviationOfEnd = spacing.medianStep * std::sqrt(kTwelfth);
        return spacing;
    }
    double squares = 0;
    double cubes = 0;
    double lost = 0;
    spacing.widestStep = widestStepOf(points, spacing.medianStep);
    for (const double missing : missingPoints(points, spacing.medianStep, spacing.widestStep)) {
        squares += missing * missing;
        cubes += missing * missing * missing;
        lost += missing;
    }
    const auto there = double(points.size());
    spacing.missingShare = there > 0 ? squares / (there * there) : 0;
    const double count = there + lost;
    spacing.deviationOfEnd = spacing.medianStep * std::sqrt(kTwelfth + (count > 0 ? cubes / (3 * count) : 0));
    return spacing;
}

}  // namespace KvMeasure

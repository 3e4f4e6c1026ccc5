// Uncertainties that tools share: of sums of contributions (JCGM 100, G.4), extremes, ranks, means, and
// places of extremes. Where a region is a straight line within the noise its surface is that line; else the
// smoothed surface of the region. A few passes over the points of a region.
#include <kvmeasure/inspection/kinds/fitted_value.h>

#include <kvmeasure/inspection/kinds/average.h>
#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/order_noise.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

void UncertaintySum::add(double contribution, double degreesOfFreedom) {
    const double square = contribution * contribution;
    squares_ += square;
    spread_ += square * square / degreesOfFreedom;
}

double UncertaintySum::u() const { return std::sqrt(squares_); }

double UncertaintySum::degreesOfFreedom() const {
    return spread_ > 0 ? squares_ * squares_ / spread_ : std::numeric_limits<double>::infinity();
}

Vector meetingPoint(const LineFit& a, const LineFit& b) {
    const double sine = a.along.x * b.along.y - a.along.y * b.along.x;
    return a.pointAt(b.distanceOf(a.centre) / sine);
}

namespace Internal {

void give(const char* ending, const FittedValue& value, ToolResults& results) {
    if (value.isFound())
        results.add(ending, value.value, value.u, value.degreesOfFreedom);
    else
        results.refuse(ending, value.reason);
}

void warnOfNoise(const QString& reason, bool isShort, ToolResults& results) {
    if (!reason.isEmpty())
        results.sayNoUncertainty(reason);
    else if (isShort)
        results.warnOfU("the uncertainty rests on few independent points");
}

const LineFit* straightLine(const ToolInput& input, const QString& region) {
    const NoiseModel& noise = input.pointNoise();
    const LineFit& line = input.line(region);
    constexpr double kMostRejected = 0.02;
    constexpr double kWidest = 1.5;  // deviations of the noise
    const bool isStraight = line.isFound() && line.isInHeight &&
                            line.rejected <= kMostRejected * double(line.points + line.rejected) &&
                            line.deviation <= kWidest * noise.deviation;
    return isStraight ? &line : nullptr;
}

OrderNoise orderNoise(const ToolInput& input, const QString& region) {
    const NoiseModel& noise = input.pointNoise();
    const LineFit* const line = straightLine(input, region);
    const std::vector<Vector>& points = input.region(region).points;
    OrderNoise order = line != nullptr
                           ? OrderNoise(double(points.size()), line->along.y * (line->to - line->from), noise)
                           : OrderNoise(input.surface(region), noise);
    order.setMissing(input.spacing(region).missingShare);
    return order;
}

double uOfExtreme(const ToolInput& input, const QString& region, bool isOfX, bool isGreatest) {
    const double ofEnd = input.spacing(region).deviationOfEnd;
    if (isOfX)
        return ofEnd;
    // On a slope the extreme lies at an end, where points may be missing by chance.
    const LineFit& line = input.line(region);
    const double ofPitch = input.spacing(region).medianStep / kRootOf12;
    const double missing = std::sqrt(std::max(ofEnd * ofEnd - ofPitch * ofPitch, 0.0));
    const bool isSlope = line.isFound() && line.isInHeight && missing > 0;
    return std::hypot(orderNoise(input, region).extreme(isGreatest),
                      isSlope ? line.along.y / line.along.x * missing : 0);
}

double uOfExtremePlace(const ToolInput& input, const QString& region, bool isOfX, bool isGreatest) {
    const NoiseModel& noise = input.pointNoise();
    if (isOfX)
        return noise.deviation;
    const std::vector<Vector>& points = input.region(region).points;
    return deviationOfExtremePlace(coordinates(points, /*isOfX=*/true), input.surface(region), isGreatest,
                                   noise);
}

double uOfMean(const std::vector<Vector>& points, bool isOfX, const NoiseModel& noise, double missing) {
    const std::vector<double> values = coordinates(points, isOfX);
    const double mean = meanOf(values);
    const auto count = double(values.size());
    double squares = 0;
    for (const double value : values)
        squares += (value - mean) * (value - mean);
    const double ofNoise = isOfX ? 0 : noise.deviation * noise.deviation;
    const double ofSurface = std::max(squares / count - ofNoise, 0.0);
    return std::sqrt((isOfX ? 0 : ofNoise * noise.correlationTime / count) + ofSurface * missing);
}

void giveRank(const ToolInput& input, const QString& region, double height, double percent,
              ToolResults& results) {
    constexpr double kMost = 100;
    const NoiseModel& noise = input.pointNoise();
    const bool isExtreme = percent <= 0 || percent >= kMost;
    results.add("", height,
                isExtreme ? uOfExtreme(input, region, /*isOfX=*/false, percent >= kMost)
                          : orderNoise(input, region).percentile(percent),
                noise.lengths(noise.points));
    warnOfNoise(noise.reason, noise.isShort(double(input.region(region).points.size())), results);
}

FittedValue refused(const QString& reason) {
    FittedValue value;
    value.reason = reason;
    return value;
}

}  // namespace Internal

}  // namespace KvMeasure

// straightness, roundness: the least zone that holds the points of a region, every point counting.
//
// Noise widens a zone by its outermost points. The uncertainty is that of the greatest and of the least
// distance from the line or circle of least squares (order statistics, see order_noise.h); it does not
// contain by how much noise widens the zone on average. Cost: that of straightness() and roundness(), and a
// pass for the noise.

#include <kvmeasure/form/roundness.h>
#include <kvmeasure/form/straightness.h>
#include <kvmeasure/inspection/kinds/average.h>
#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/tool_input.h>
#include <kvmeasure/inspection/tool_results.h>

#include <cmath>

namespace KvMeasure::Internal {

namespace {

/// Of the greatest less the least distance, the distances being in scan order with this deviation.
double uOfZone(const std::vector<double>& distances, double deviation, const NoiseModel& noise) {
    constexpr double kWidest = 1.5;  // deviations of the noise: more is form
    const OrderNoise order = deviation <= kWidest * noise.deviation
                                 ? OrderNoise(double(distances.size()), 0, noise)
                                 : OrderNoise(smoothHeights(distances, noise.correlationTime), noise);
    return std::hypot(order.extreme(/*isGreatest=*/true), order.extreme(/*isGreatest=*/false));
}

/// Of the root mean square distance: form f and noise s together have the mean square f^2 + s^2, whose
/// variance is that of f times noise and of noise squared; points that are missing by chance take their
/// squares away.
double uOfDeviation(const std::vector<double>& distances, double deviation, const NoiseModel& noise,
                    const std::vector<Vector>& points) {
    const auto count = double(distances.size());
    const double square = deviation * deviation,
                 ofNoise = std::min(noise.deviation * noise.deviation, square);
    double fourth = 0;
    for (const double distance : distances)
        fourth += (distance * distance - square) * (distance * distance - square);
    const double ofForm = square - ofNoise;
    const double variance =
        ofNoise * (ofForm * noise.correlationTime + ofNoise * noise.squaredCorrelation / 2) / count +
        missingShare(points) * fourth / count / 4;
    return deviation > 0 ? std::sqrt(variance) / deviation : 0;
}

void measureStraightness(const Tool& tool, const ToolInput& input, ToolResults& results) {
    const RegionPoints& region = input.region(tool.region("region"));
    if (region.isEmpty())
        return results.refuse(region.reason);
    const Straightness found = straightness(region.points);
    const LineZone& zone = found.minimumZone;
    if (!zone.isValid())
        return results.refuse(zone.reason);
    const NoiseModel& noise = input.pointNoise();
    const LineZone& line = found.leastSquares;
    std::vector<double> distances;
    distances.reserve(region.points.size());
    for (const Vector& point : region.points)
        distances.push_back((point.x - line.origin.x) * line.normal.x +
                            (point.y - line.origin.y) * line.normal.y);
    const double mean = meanOf(distances);  // the least-squares line runs through it
    for (double& distance : distances)
        distance -= mean;
    const double u = uOfZone(distances, found.deviation, noise);
    const double freedom = noise.lengths(noise.points);
    results.add("", zone.width, u, freedom);
    const LineZone& upward = found.minimumZoneAlongZ;
    if (upward.isValid())
        results.add("z", upward.height, zone.width > 0 ? u * upward.height / zone.width : u, freedom);
    else
        results.refuse("z", upward.reason);
    results.add("deviation", found.deviation, uOfDeviation(distances, found.deviation, noise, region.points),
                freedom);
    warnOfNoise(noise.reason, noise.isShort(double(distances.size())), results);
    const Vector contact = region.points[static_cast<std::size_t>(zone.contacts.front())];
    const double at =
        (contact.x - zone.origin.x) * zone.normal.x + (contact.y - zone.origin.y) * zone.normal.y;
    const double across = at - zone.from < zone.to - at ? zone.width : -zone.width;
    results.markDistance(contact, {contact.x + across * zone.normal.x, contact.y + across * zone.normal.y},
                         "");
}

void measureRoundness(const Tool& tool, const ToolInput& input, ToolResults& results) {
    const RegionPoints& region = input.region(tool.region("region"));
    if (region.isEmpty())
        return results.refuse(region.reason);
    const Roundness found = roundness(region.points);
    const RoundZone& zone = found.minimumZone;
    if (!zone.isValid())
        return results.refuse(zone.reason);
    ResidualNoise own;
    std::vector<double> distances;
    distances.reserve(region.points.size());
    for (const Vector& point : region.points)
        distances.push_back(length(found.leastSquares.centre, point) - found.leastSquares.radius);
    constexpr int kParameters = 3;
    own.add(distances, kParameters);
    // Distances hold the form of the part, too: the noise of short pieces comes first.
    const NoiseModel noise = input.pointNoise().reason.isEmpty() ? input.pointNoise() : input.noise(own);
    const double freedom = noise.lengths(noise.points);
    results.add("", zone.width, uOfZone(distances, found.deviation, noise), freedom);
    results.add("radius", zone.radius);
    results.add("x", zone.centre.x);
    results.add("z", zone.centre.y);
    results.add("deviation", found.deviation, uOfDeviation(distances, found.deviation, noise, region.points),
                freedom);
    warnOfNoise(noise.reason, noise.isShort(double(distances.size())), results);
    if (noise.reason.isEmpty())
        results.sayNoUncertainty("four points in contact decide the centre; \"arc\" has one with u");
    // Where no circle is better than that of least squares, as with three points, no contacts are named.
    const int contact = zone.contacts.empty() ? 0 : zone.contacts.front();
    results.markDistance(zone.centre, region.points[static_cast<std::size_t>(contact)], "radius");
}

}  // namespace

const ToolKind straightnessTool{
    "straightness",
    "narrowest pair of parallel lines that holds all points (ISO 12780)",
    {regionField("region", "in", "region")},
    {{"", "mm", "width square to the lines"},
     {"z", "mm", "height of the zone that is narrowest along z"},
     {"deviation", "mm", "root mean square distance from the least-squares line"}},
    measureStraightness};

const ToolKind roundnessTool{
    "roundness",
    "least difference of two radii about one centre that holds all points (ISO 12181)",
    {regionField("region", "in", "region")},
    {{"", "mm", "roundness"},
     {"radius", "mm", "middle radius of the zone"},
     {"x", "mm", "x of its centre"},
     {"z", "mm", "z of its centre"},
     {"deviation", "mm", "root mean square distance from the least-squares circle"}},
    measureRoundness};

}  // namespace KvMeasure::Internal

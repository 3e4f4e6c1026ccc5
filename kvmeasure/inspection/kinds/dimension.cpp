// dimension: distance of a point of one region from a point of another.

#include <kvmeasure/inspection/anchor.h>
#include <kvmeasure/inspection/kinds/average.h>
#include <kvmeasure/inspection/kinds/extreme.h>
#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/tool_input.h>
#include <kvmeasure/inspection/tool_results.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure::Internal {

namespace {

const QStringList features{"max", "min", "left", "right", "centroid"};

/// A point of a region with the standard uncertainties of its x and height.
struct Feature {
    Vector at, u;
};

Feature featureOf(const ToolInput& input, const QString& name, int feature) {
    constexpr int kCentroid = 4;
    const std::vector<Vector>& points = input.region(name).points;
    const NoiseModel& noise = input.pointNoise();
    if (feature == kCentroid) {
        const double missing = input.spacing(name).missingShare;
        return {{meanOf(coordinates(points, /*isOfX=*/true)), meanOf(coordinates(points, /*isOfX=*/false))},
                {uOfMean(points, /*isOfX=*/true, noise, missing),
                 uOfMean(points, /*isOfX=*/false, noise, missing)}};
    }
    const bool isOfX = feature >= 2;
    const bool isGreatest = feature == 0 || feature == 3;
    const double along = uOfExtreme(input, name, isOfX, isGreatest);
    const double across = uOfExtremePlace(input, name, isOfX, isGreatest);
    return {points[std::size_t(extremePoint(points, {isGreatest, isOfX}))],
            isOfX ? Vector(along, across) : Vector(across, along)};
}

void measureDimension(const Tool& tool, const ToolInput& input, ToolResults& results) {
    const RegionPoints& first = input.region(tool.region("first"));
    if (first.isEmpty())
        return results.refuse(first.reason);
    const RegionPoints& second = input.region(tool.region("second"));
    if (second.isEmpty())
        return results.refuse(second.reason);
    const Feature from = featureOf(input, tool.region("first"), tool.choice("from"));
    const Feature to = featureOf(input, tool.region("second"), tool.choice("to"));
    const double distance = length(from.at, to.at);
    const Vector way(to.at.x - from.at.x, to.at.y - from.at.y);
    const Vector u(std::hypot(from.u.x, to.u.x), std::hypot(from.u.y, to.u.y));
    const NoiseModel& noise = input.pointNoise();
    const double degrees = noise.lengths(noise.points);
    results.add("", distance,
                distance > 0 ? std::hypot(way.x * u.x, way.y * u.y) / distance : std::hypot(u.x, u.y),
                degrees);
    results.add("dx", way.x, u.x, degrees);
    results.add("dz", way.y, u.y, degrees);
    results.add("x", middle(from.at, to.at).x, u.x / 2, degrees);
    results.add("z", middle(from.at, to.at).y, u.y / 2, degrees);
    warnOfNoise(noise.reason, noise.isShort(double(std::min(first.points.size(), second.points.size()))),
                results);
    results.markDistance(from.at, to.at, "");
}

}  // namespace

const ToolKind dimensionTool{"dimension",
                             "from a point of the first region to a point of the second",
                             {regionField("first", "", "first region"),
                              regionField("second", "", "second region"),
                              choiceField("from", "from", "point of the first region", features),
                              choiceField("to", "to", "point of the second region", features)},
                             {{"", "mm", "distance"},
                              {"dx", "mm", "way in x"},
                              {"dz", "mm", "way in height"},
                              {"x", "mm", "x halfway"},
                              {"z", "mm", "height halfway"}},
                             measureDimension};

}  // namespace KvMeasure::Internal

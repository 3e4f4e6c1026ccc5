// intersection, angle: of the lines fitted to two regions.

#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/kinds/tools_p.h>
#include <kvmeasure/inspection/tool_input.h>

#include <cmath>

namespace KvMeasure::Internal {

namespace {

std::vector<ToolField> lineFields() {
    return {lineField("first", "", "region of the first line"),
            lineField("second", "", "region of the second line")};
}

/// Both lines, or the reason why one of them is none.
bool takeLines(const Tool& tool, const ToolInput& input, LineFit& first, LineFit& second,
               ToolResults& results) {
    first = input.line(tool.region("first"));
    second = input.line(tool.region("second"));
    for (const LineFit* line : {&first, &second}) {
        if (!line->isFound())
            results.refuse(line->reason);
    }
    return first.isFound() && second.isFound();
}

/// Sine of the angle from the first direction to the second.
double sineBetween(const LineFit& first, const LineFit& second) {
    return first.along.x * second.along.y - first.along.y * second.along.x;
}

/// Why the uncertainties of both lines are not known, or may be too small.
void warnOfBoth(const LineUncertainty& first, const LineUncertainty& second, ToolResults& results) {
    warnOfNoise(first.reason.isEmpty() ? second.reason : first.reason, first.isShort || second.isShort,
                results);
}

void measureMeeting(const Tool& tool, const ToolInput& input, ToolResults& results) {
    LineFit first;
    LineFit second;
    if (!takeLines(tool, input, first, second, results))
        return;
    constexpr double kLeastSine = 1e-9;
    const double sine = sineBetween(first, second);
    if (std::fabs(sine) < kLeastSine)
        return results.refuse("the lines are parallel");
    const NoiseModel noise = input.noise();
    const LineUncertainty ofFirst = lineUncertainty(first, noise);
    const LineUncertainty ofSecond = lineUncertainty(second, noise);
    constexpr double kFewDeviations = 3;
    if (std::fabs(sine) < kFewDeviations * std::hypot(ofFirst.direction, ofSecond.direction))
        return results.refuse("the lines are parallel within three times the uncertainty of their angle");
    const Vector at = meetingPoint(first, second);
    // A line that is moved by e square to itself moves the point along the other line by e / sine.
    const double moved[] = {ofFirst.at(first.placeOf(at)) / sine, ofSecond.at(second.placeOf(at)) / sine};
    UncertaintySum x;
    UncertaintySum z;
    x.add(moved[0] * second.along.x, ofFirst.degreesOfFreedom);
    x.add(moved[1] * first.along.x, ofSecond.degreesOfFreedom);
    z.add(moved[0] * second.along.y, ofFirst.degreesOfFreedom);
    z.add(moved[1] * first.along.y, ofSecond.degreesOfFreedom);
    results.add("x", at.x, x.u(), x.degreesOfFreedom());
    results.add("z", at.y, z.u(), z.degreesOfFreedom());
    warnOfBoth(ofFirst, ofSecond, results);
    results.markPoint(at, tool.name);
}

/// The smaller turn from the first line to the second: lines have no sense, so that it is within 90 degrees.
double turnBetween(const LineFit& first, const LineFit& second) {
    const double cosine = first.along.x * second.along.x + first.along.y * second.along.y;
    const double sine = sineBetween(first, second);
    return cosine < 0 ? std::atan2(-sine, -cosine) : std::atan2(sine, cosine);
}

void measureTurn(const Tool& tool, const ToolInput& input, ToolResults& results) {
    LineFit first;
    LineFit second;
    if (!takeLines(tool, input, first, second, results))
        return;
    const NoiseModel noise = input.noise();
    const LineUncertainty ofFirst = lineUncertainty(first, noise);
    const LineUncertainty ofSecond = lineUncertainty(second, noise);
    UncertaintySum sum;
    sum.add(ofFirst.direction * kDegreesPerRadian, ofFirst.degreesOfFreedom);
    sum.add(ofSecond.direction * kDegreesPerRadian, ofSecond.degreesOfFreedom);
    constexpr double kHalfTurn = 180;
    const double turn = turnBetween(first, second) * kDegreesPerRadian;
    const bool isOpening = tool.choice("as") == 1;
    results.add("", isOpening && turn < 0 ? turn + kHalfTurn : turn, sum.u(), sum.degreesOfFreedom());
    warnOfBoth(ofFirst, ofSecond, results);
    const Vector at = meetingPoint(first, second);
    if (isFinite(at))
        results.markPoint(at, tool.name);
}

}  // namespace

const ToolKind intersectionTool{"intersection",
                                "where the lines fitted to two regions meet",
                                lineFields(),
                                {{"x", "mm", "x of the point"}, {"z", "mm", "height of the point"}},
                                measureMeeting};

const ToolKind angleTool{
    "angle",
    "turn from the first region's line to the second's: -90 to 90 deg; opening: 0 to 180",
    [] {
        std::vector<ToolField> fields = lineFields();
        fields.push_back(choiceField("as", "", "range of the angle", {"turn", "opening"}));
        return fields;
    }(),
    {{"", "deg", "angle"}},
    measureTurn};

}  // namespace KvMeasure::Internal

#include <kvmeasure/report/stored_section.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

Value valueOf(const SectionValue& section, const std::vector<LimitVerdict>& verdicts) {
    Value value;
    value.name = section.key;
    value.unit = section.unit;
    value.isValid = section.isKnown() && std::isfinite(section.value);
    value.value = section.value;
    value.u = section.uncertainty.u;
    if (!value.isValid)
        value.reason = section.reason.isEmpty() ? QString("not measured") : section.reason;
    const auto found =
        std::find_if(verdicts.begin(), verdicts.end(), [&section](const LimitVerdict& verdict) {
            return limitKey(verdict.symbol) == section.key;
        });
    if (found == verdicts.end() || (std::isnan(found->minimum) && std::isnan(found->maximum)))
        return value;
    value.hasTolerance = true;
    value.tolerance.hasNominal = false;
    value.tolerance.lower = std::isnan(found->minimum) ? -kInfinity : found->minimum;
    value.tolerance.upper = std::isnan(found->maximum) ? kInfinity : found->maximum;
    return value;
}

}  // namespace

StoredPart storedPart(const StoredSection& section) {
    StoredPart part;
    part.name = section.name;
    part.reason = section.notes.join("; ");
    part.verdict = overallVerdict(section.verdicts);
    if (!section.isComplete && part.verdict != "OUT")
        part.verdict = "NOT MEASURED";
    part.state = part.verdict.isEmpty() || part.verdict == "good" ? PartState::Good : PartState::Missed;
    for (const SectionValue& value : section.values)
        part.values.append(valueOf(value, section.verdicts));
    return part;
}

std::vector<SectionValue> wheelValues(const WheelResult& wheel) {
    const double radius = static_cast<double>(wheel.circle.radius);
    const struct {
        const char *key, *name;
        double value;
    } all[] = {{"flangeHeight", "flange height", wheel.values.value[0]},
               {"thicknessFromBack", "thickness from back", wheel.values.value[1]},
               {"flangeSteepness", "flange steepness", wheel.values.value[9]},
               {"heightDeviation", "height deviation", wheel.values.value[8]},
               {"radius", "radius", radius},
               {"runningDiameter", "running diameter", 2 * (radius - wheel.values.value[0])}};
    std::vector<SectionValue> values;
    for (const auto& each : all) {
        SectionValue value{
            each.key, each.name, "mm", each.value, {}, {}, wheel.uncertainties.value(each.key)};
        if (!std::isfinite(each.value))
            value.reason = wheel.notes.isEmpty() ? QString("not measured") : wheel.notes.join("; ");
        values.push_back(value);
    }
    return values;
}

}  // namespace KvMeasure

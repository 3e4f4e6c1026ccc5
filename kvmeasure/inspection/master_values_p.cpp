#include <kvmeasure/inspection/master_values_p.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/inspection/comparison.h>

#include <cmath>

namespace KvMeasure::Internal {

namespace {

/// The plan's template alone: it is found in both, which the steps of the plan have gone through or do not.
InspectionPlan templateAlone(const InspectionPlan& plan) {
    InspectionPlan alone(plan);
    alone.master.reset();
    alone.filter.clear();
    alone.tools.clear();
    return alone;
}

Value valueOf(const ValueName& name, const InspectionPlan& plan) {
    Value value;
    value.name = name.name;
    value.unit = name.unit;
    value.hasTolerance = plan.tolerances.contains(name.name);
    value.tolerance = plan.tolerances.value(name.name);
    return value;
}

/// A deviation with the noise of its point, which is an upper bound for an extreme of many.
void setDeviation(const Deviation& deviation, double noise, Value& value) {
    value.value = deviation.value;
    value.note = filledIn("at x %1, z %2", QString::number(deviation.place.x, 'f', 3),
                          QString::number(deviation.place.y, 'f', 3));
    value.isValid = true;
    value.u = noise;
    if (std::isnan(noise))
        value.warning = "no uncertainty: the noise of the profile is not known";
    else
        value.note += "; u is the noise of one point";
}

}  // namespace

QList<ValueName> masterNames(const InspectionPlan& plan) {
    QList<ValueName> names;
    if (!plan.master)
        return names;
    names.append({plan.master->name + ".largest", "mm"});
    names.append({plan.master->name + ".smallest", "mm"});
    if (plan.master->hasBand())
        names.append({plan.master->name + ".shareOutside", ""});
    return names;
}

Evaluation masterValues(const KvMath::KvProfile& profile, const InspectionPlan& plan, double noise) {
    const PlanMaster& master = *plan.master;
    ComparisonSettings settings;
    settings.alignment = master.alignment;
    settings.registration.isRobust = !master.keepsAll;
    settings.lower = master.lower;
    settings.upper = master.upper;
    if (master.alignment == Alignment::Template)
        settings.plan = templateAlone(plan);
    const Comparison result = compare(profile, master.profile, settings);
    Evaluation evaluation;
    for (const ValueName& name : masterNames(plan)) {
        evaluation.values.append(valueOf(name, plan));
        evaluation.values.last().reason = result.reason;
    }
    if (!result.isValid())
        return evaluation;
    QList<Value>& values = evaluation.values;
    const Deviation& largest = result.deviations[std::size_t(result.largest)];
    const Deviation& smallest = result.deviations[std::size_t(result.smallest)];
    setDeviation(largest, noise, values[0]);
    setDeviation(smallest, noise, values[1]);
    if (master.hasBand()) {
        values[2].value = result.shareOutside;
        values[2].isValid = true;
        values[2].warning = "no uncertainty: a share has none from propagation";
    }
    return evaluation;
}

}  // namespace KvMeasure::Internal

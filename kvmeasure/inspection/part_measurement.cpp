// The line search runs once per profile. Its pieces are fitted once, whatever the number of assignments.

#include <kvmeasure/inspection/part_measurement.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/inspection/evaluation_p.h>
#include <kvmeasure/inspection/master_values_p.h>
#include <kvmeasure/inspection/tool_results.h>
#include <kvmeasure/profiles/search_estimate.h>

#include <cmath>
#include <limits>

namespace KvMeasure {

using KvMath::KvProfile;
using KvMath::TSLinesIndecies;

namespace {

int longest(const Segments& segments, const QList<TSLinesIndecies>& found) {
    int best = 0;
    double most = 0;
    for (int i = 0; found.size() > 1 && i < found.size(); ++i) {
        const double length = totalLength(segments, found[i]);
        if (i == 0 || length > most) {
            best = i;
            most = length;
        }
    }
    return best;
}

/// A value with what the plan states beside its noise. Noise and statement are independent; the statement is
/// taken to be known exactly, as B. L. Welch and F. E. Satterthwaite count degrees of freedom.
void addStated(double stated, Value& value) {
    if (!(stated > 0) || !value.isValid || !std::isfinite(value.u))
        return;
    const double combined = std::hypot(value.u, stated);
    const double ratio = combined / value.u;
    value.degreesOfFreedom *= ratio * ratio * ratio * ratio;
    value.u = combined;
    value.statedU = stated;
}

/// What a guard band did to a value that its limits alone would accept.
void sayRefused(Value& value) {
    if (!value.isWithin() || value.isGood())
        return;
    const QString text = std::isnan(value.u)
                             ? QString("not accepted: within the limits, but its uncertainty is not known")
                             : QString("not accepted: within the limits, but less than U inside them");
    value.warning += (value.warning.isEmpty() ? "" : "; ") + text;
}

}  // namespace

PartMeasurement::PartMeasurement(const InspectionPlan& plan, const PartSettings& settings)
    : plan_(plan), settings_(settings),
      order_(std::make_shared<Internal::EvaluationOrder>(plan, measurementReadings(plan))),
      input_(plan.regions, plan.anchors) {
    if (settings.fitting)
        plan_.fitting = *settings.fitting;
    if (plan_.master && plan_.master->hasBand()) {
        const QString share = plan_.master->name + ".shareOutside";
        constexpr double kNoLimit = std::numeric_limits<double>::infinity();
        if (!plan_.tolerances.contains(share))
            plan_.tolerances[share] = {0, -kNoLimit, 0, /*hasNominal=*/false};
    }
    QStringList lineRegions;
    for (const Tool& tool : plan_.tools)
        lineRegions += tool.lineRegions();
    lineRegions.removeDuplicates();
    input_.setLineRegions(lineRegions);
}

KvMath::TSFindTemplateParams PartMeasurement::search(const KvProfile& profile) const {
    return plan_.hasSearch ? plan_.search : estimateSearch(profile);
}

NearMiss PartMeasurement::whyMissing(Segments& segments, const KvProfile& profile) const {
    return nearMiss(segments, plan_, search(profile).allowReversed);
}

void PartMeasurement::prepare(KvProfile& profile) const {
    for (int i = 0; i < static_cast<int>(plan_.filter.size()); ++i)
        applyStep(plan_.filter[i], i + 1, profile);
}

MeasuredPart PartMeasurement::unmeasured(const QString& reason) const {
    MeasuredPart measured;
    measured.reason = reason;
    for (const ValueName& name : valueNames(plan_)) {
        Value value;
        value.name = name.name;
        value.unit = name.unit;
        value.reason = reason;
        value.hasTolerance = plan_.tolerances.contains(name.name);
        value.tolerance = plan_.tolerances.value(name.name);
        measured.best.values.append(value);
    }
    return measured;
}

MeasuredPart PartMeasurement::measure(const KvProfile& profile, const KvProfile& second) {
    if (plan_.filter.isEmpty())
        return measurePrepared(profile, second);
    KvProfile prepared(profile);
    KvProfile preparedSecond(second);
    try {
        prepare(prepared);
        if (!second.points.isEmpty())
            prepare(preparedSecond);
    } catch (const Error& error) {
        return unmeasured(error.text());
    }
    return measurePrepared(prepared, preparedSecond);
}

/// The lines of the template as they are measured.
QList<FoundLine> PartMeasurement::foundLines(const Segments& lines, const TSLinesIndecies& indices) const {
    QList<FoundLine> found;
    for (int i = 0; i < indices.count(); ++i)
        found.append({plan_.lineNames.value(i), assignedLine(lines, indices, i)});
    return found;
}

Evaluation PartMeasurement::measureTools(const KvProfile& profile, const KvProfile& second,
                                         const QList<FoundLine>& lines) {
    Evaluation all;
    if (!plan_.hasTools())
        return all;
    input_.load(profile, lines, second);
    for (const Tool& tool : plan_.tools) {
        ToolResults results(tool, plan_.tolerances, settings_.givesMarks);
        tool.kind->measure(tool, input_, results);
        const Evaluation measured = results.take();
        all.values += measured.values;
        all.marks += measured.marks;
    }
    if (plan_.master)
        all.values += Internal::masterValues(profile, plan_, input_.pointNoise().deviation).values;
    return all;
}

/// Adds what the plan says of uncertainty and decision.
void PartMeasurement::settle(Evaluation& evaluation) const {
    if (plan_.decision == Decision::Simple && plan_.calibration.isEmpty())
        return;
    for (Value& value : evaluation.values) {
        value.decision = plan_.decision;
        addStated(plan_.calibration.of(value.name, value.unit), value);
        sayRefused(value);
        for (Mark& mark : evaluation.marks) {
            if (mark.kind != Mark::Point && mark.name == value.name)
                mark.isGood = value.isGood();
        }
    }
}

Evaluation PartMeasurement::measureAll(const KvProfile& profile, const KvProfile& second,
                                       const ProfilePieces& found, EdgeLines& lines,
                                       const TSLinesIndecies& indices) {
    Evaluation evaluation = Internal::measureOn(found, lines, indices, plan_, *order_, settings_.givesMarks);
    if (!plan_.hasTools())
        return evaluation;
    const Evaluation tools = measureTools(profile, second, foundLines(lines.lines, indices));
    evaluation.values += tools.values;
    evaluation.marks += tools.marks;
    return evaluation;
}

Evaluation PartMeasurement::measureAssigned(const KvProfile& profile, const ProfilePieces& found,
                                            const TSLinesIndecies& indices, const KvProfile& second) {
    Evaluation evaluation;
    if (plan_.hasTemplate()) {
        EdgeLines lines = edgeLines(found, plan_.fitting);
        evaluation = measureAll(profile, second, found, lines, indices);
    } else {
        evaluation = measureTools(profile, second, {});
    }
    settle(evaluation);
    return evaluation;
}

MeasuredPart PartMeasurement::measurePrepared(const KvProfile& profile, const KvProfile& second) {
    MeasuredPart measured = measureOnce(profile, second);
    if (settings_.monteCarloRuns > 1)
        simulateNoise(profile, second, measured);
    settle(measured.best);
    for (Assignment& assignment : measured.assignments)
        settle(assignment.evaluation);
    return measured;
}

/// By the plan without its decision and its stated uncertainties.
MeasuredPart PartMeasurement::measureOnce(const KvProfile& profile, const KvProfile& second) {
    MeasuredPart measured;
    if (!plan_.hasTemplate() && plan_.hasTools()) {
        measured.found = 1;
        measured.best = measureTools(profile, second, {});
        measured.assignments.append({QString(), TSLinesIndecies(), measured.best});
        return measured;
    }
    const KvMath::TSFindTemplateParams params = search(profile);
    const ProfilePieces& pieces = finder_.find(profile, params, plan_.fitting.pieces());
    measured.segments = pieces.segments;
    const QList<TSLinesIndecies> found =
        findAssignments(measured.segments, plan_.lines, params.allowReversed);
    measured.found = static_cast<int>(found.size());
    if (found.isEmpty()) {
        measured.best = measureTools(profile, second, {});
        if (settings_.givesReason)
            measured.reason = nearMiss(measured.segments, plan_, params.allowReversed).text;
        return measured;
    }
    static const QString bestLabel = "best";
    EdgeLines lines = edgeLines(pieces, plan_.fitting);
    const int best = longest(measured.segments, found);
    for (int i = 0; i < found.size(); ++i) {
        if (i != best && !settings_.takesAll)
            continue;
        const Evaluation evaluation = measureAll(profile, second, pieces, lines, found[i]);
        if (i == best) {
            measured.best = evaluation;
            measured.bestIndices = found[i];
        }
        measured.assignments.append({i == best ? bestLabel : QString::number(i), found[i], evaluation});
    }
    measured.lines = lines.lines;
    return measured;
}

}  // namespace KvMeasure

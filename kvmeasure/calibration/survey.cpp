#include <kvmeasure/base/error.h>
#include <kvmeasure/calibration/survey.h>

#include <kvmeasure/base/filled_in.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr int kSteps = KvMath::kCalibrationSteps;

std::vector<int> countLines(const RawRecord& record) {
    std::vector<int> counts(kSteps);
    for (std::size_t i = 0; i < record.positions.size(); ++i)
        counts[i % kSteps] += record.positions[i] != 0 ? 1 : 0;
    return counts;
}

void add(QList<StepRange>& ranges, int step, double z) {
    if (!ranges.isEmpty() && ranges.last().last == step - 1) {
        ranges.last().last = step;
        ranges.last().zLast = z;
        return;
    }
    ranges.append({step, step, z, z});
}

QString named(const QList<StepRange>& ranges) {
    constexpr int kMost = 4;
    QStringList texts;
    for (const StepRange& range : ranges.mid(0, kMost)) {
        const QString numbers = range.first == range.last
                                    ? filledIn("step %1", range.first)
                                    : filledIn("steps %1 to %2", range.first, range.last);
        texts.append(filledIn("%1 (z %2 to %3 mm)", numbers, range.zFirst, range.zLast));
    }
    if (ranges.size() > kMost)
        texts.append(filledIn("and %1 more stretches", ranges.size() - kMost));
    return texts.join(", ");
}

}  // namespace

double zOf(const RawRecord& record, const TableUnits& units, int step) {
    const std::vector<double>& z = record.parameters;
    const bool isRecorded = z[0] != z[1];  // what the builders ask
    return (isRecorded ? z[std::size_t(step)] : step * units.zStep / 1000) + units.zOffset;
}

StepSurvey surveySteps(const RawRecord& record, const BuildPlan& plan) {
    const double lowest = plan.byTriangles ? -0.5 : -1;  // table units that are cut or rounded to a cell's
    const double beyond = KvMath::kEmptyCell - (plan.byTriangles ? 0.5 : 0);
    const std::vector<int> lines = countLines(record);
    StepSurvey survey;
    int before = -1;  // the last step with lines
    for (int step = 0; step < kSteps; ++step) {
        const int count = lines[std::size_t(step)];
        if (count == 0)
            continue;
        const double z = zOf(record, plan.units, step);
        if (before >= 0 && step > before + 1)
            survey.empty.append({before + 1, step - 1, zOf(record, plan.units, before), z});
        before = step;
        survey.found += count;
        const double cell = z * KvMath::kUnitsPerRange / plan.units.zRange;
        const bool isBelow = plan.byTriangles ? cell < lowest : cell <= lowest;
        if (!isBelow && cell < beyond)
            continue;
        survey.outside += count;
        add(isBelow ? survey.below : survey.beyond, step, z);
        if (isBelow)
            survey.lowest = std::min(survey.lowest, z);
    }
    return survey;
}

QStringList StepSurvey::sentences(double zRange) const {
    QStringList texts;
    if (!below.isEmpty())
        texts << filledIn(
            "%1: z below zero, which a table cannot hold; \1zOffset\2 %2 would move them into it",
            named(below), std::ceil(-lowest));
    if (!beyond.isEmpty())
        texts << filledIn("%1: z beyond twice the range, %2 mm, which a table cannot hold; it needs a larger "
                          "\1zRange\2 or a negative \1zOffset\2",
                          named(beyond), 2 * zRange);
    if (!empty.isEmpty())
        texts << filledIn("%1: without any line; the table has a hole there", named(empty));
    return texts;
}

}  // namespace KvMeasure

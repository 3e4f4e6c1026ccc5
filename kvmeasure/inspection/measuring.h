#pragma once
// From an assignment to values: the lines that are measured, and what is to be said beside the values.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/matching.h>
#include <kvmeasure/profiles/line_refit.h>

namespace KvMeasure {

/// What a measurement of a template reads and delivers.
struct MeasurementReading {
    QList<int> lines;   ///< template lines, ascending
    QStringList names;  ///< of its values
};

/// Of each measurement of a template, in their order.
KVMEASURE_EXPORT std::vector<MeasurementReading> measurementReadings(const InspectionPlan& plan);

/// Runs the measurements on the lines that `fitting` asks for. Each value says by how much free edges moved
/// it, and where its lines are cut short or a piece between them is lost. `indices` assigns the segments of
/// `found`; the measurements in `plan` keep their results, nothing else of it changes.
///
///     InspectionPlan plan = readPlan("plan.json");
///     const LoadedProfile part = loadOnlyProfile("part.csv", TextOptions());
///     const auto search = plan.hasSearch ? plan.search : estimateSearch(part.profile);
///     const ProfilePieces found = findPieces(part.profile, search, plan.fitting.pieces());
///     for (const auto& indices : findAssignments(found.segments, plan.lines, search.allowReversed))
///         show(measure(found, indices, plan, plan.fitting).values);
KVMEASURE_EXPORT Evaluation measure(const ProfilePieces& found, const KvMath::TSLinesIndecies& indices,
                                    InspectionPlan& plan, const LineFitting& fitting);

/// The same for many profiles: `lines` are those of `found`, `readings` those of the template.
KVMEASURE_EXPORT Evaluation measure(const ProfilePieces& found, const EdgeLines& lines,
                                    const KvMath::TSLinesIndecies& indices, InspectionPlan& plan,
                                    const std::vector<MeasurementReading>& readings, bool givesMarks);

}  // namespace KvMeasure

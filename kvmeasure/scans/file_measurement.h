#pragma once
// Every profile of a file measured with a plan: a file of any form gives named values.
//
//     FileMeasurement file(readPlan("groove.json"), "part.csv");
//     for (MeasuredProfile measured; file.next(measured);)
//         for (const Value& value : measured.values)
//             ...value.name, value.value, value.unit, value.verdict(), value.reason...

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/part_measurement.h>
#include <kvmeasure/scans/profile_sequence.h>

namespace KvMeasure {

/// What one profile of a file gave.
struct MeasuredProfile {
    QString name;         ///< "path", or "path#n" of a file with several profiles, n from 0
    float z = 0;          ///< mm, its position along the scan; NaN for profiles without
    QList<Value> values;  ///< one for each column of valueNames(plan), in that order; `value` is NaN and
                          ///< `reason` says why where it is not valid
    QString warning;      ///< of the first profile: what in the file may have been misunderstood
    MeasuredPart part;    ///< the lines, assignments and marks behind the values
};

/// Measures one profile of a file after another.
class KVMEASURE_EXPORT FileMeasurement {
public:
    /// The plan as PartMeasurement takes it, the file as ProfileSequence does; throws Error as both.
    FileMeasurement(const InspectionPlan& plan, const QString& path, const TextOptions& text = {},
                    const ScanOptions& scan = {}, const PartSettings& settings = {});

    /// Replaces `measured` by what the next profile gives. False when there are no more; `measured` is then
    /// not to be used. Throws Error at a damaged place of the file, and for a profile whose search is given
    /// up: the next call goes on after that.
    bool next(MeasuredProfile& measured);

private:
    PartMeasurement part_;
    ProfileSequence profiles_;
};

}  // namespace KvMeasure

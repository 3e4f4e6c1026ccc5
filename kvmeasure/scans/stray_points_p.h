#pragma once
// Points that deviate unlike their neighbours.

#include <kvmeasure/scans/scan_rows_p.h>

namespace KvMeasure::Internal {

/// Sets the deviation of every stray to NaN, by the rule at compareScans, and says how many there were.
/// `values` are in the order of rows.points; NaN does not count.
qint64 leaveStraysOut(const ScanRows& rows, std::vector<float>& values);

}  // namespace KvMeasure::Internal

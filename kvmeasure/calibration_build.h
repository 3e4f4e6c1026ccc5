#pragma once
// Tables from raw records.

#include "kvmeasure/calibration_file.h"
#include "kvmeasure/calibration_truth.h"

namespace KvMeasure {

/// What is built, and how.
struct BuildPlan {
    bool byTriangles = true;  ///< else step by step, values truncated
    bool isCompact = false;
    TableUnits units;
    int firstColumn = 0, lastColumn = KvMath::kSensorColumns - 1;
};

/// Throws Failure when the record gives no table.
PixelTable buildTable(RawRecord& record, const BuildPlan& plan);

/// A toothed target, as it is known from its drawing.
struct Teeth {
    double pitch = 0, height = 0;  ///< mm
};

/// What a record of teeth told about X.
struct TeethFit {
    int steps = 0;        ///< in which teeth were seen
    int places = 0;       ///< places on flanks
    double residual = 0;  ///< RMS between these places and the fitted surface, mm
};

/// Replaces the X half of a table, wherever it has Z, by what a second record of the same scanner with a
/// toothed target says. The parameters of that record are the z of the tips. The tip nearest to the sensor's
/// middle column gets half the range. Throws Failure when no teeth are recognised.
TeethFit buildXFromTeeth(PixelTable& table, const RawRecord& record, const TableUnits& units,
                         const Teeth& teeth);

}  // namespace KvMeasure

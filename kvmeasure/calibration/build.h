#pragma once
// Tables from raw records.
//
//     RawRecord flat = loadRaw("flat.raw");
//     BuildPlan plan;
//     plan.units = {100, 140, 0, 216, 0};                    // zRange, xRange, zStep, xStep, zOffset
//     dropReflections(flat);                                 // clean.h
//     const StepSurvey survey = surveySteps(flat, plan);     // survey.h; before the table: it moves the z
//     PixelTable table = buildTable(flat, plan);
//     buildXFromTeeth(table, loadRaw("teeth.raw"), plan.units, {10, 5});
//     saveTable(table, "scanner.tbl");

#include <kvmeasure/base/global.h>
#include <kvmeasure/calibration/table.h>
#include <kvmeasure/calibration/units.h>

namespace KvMeasure {

/// What is built, and how.
struct BuildPlan {
    bool byTriangles = true;   ///< rounded, without bias; else step by step, values truncated
    bool isCompact = false;    ///< a compact table, else a full one
    bool keepsStrays = false;  ///< for the caller: builds from the record as it is; buildTable never cleans
    TableUnits units;          ///< of the table
    int firstColumn = 0;       ///< first sensor column that is looked at, 0 to 647
    int lastColumn = KvMath::kSensorColumns - 1;  ///< last one, >= firstColumn, up to 647
};

/// A table of a record, by the builders of kvmath/calibration/table_build.h. With an offset in z the
/// parameters of the record become the z of the table: build from a record once. Reflections are not looked
/// for, see dropReflections. X is that of equal columns, see buildXFromTeeth.
///
/// Throws Error when the record gives no table: no step with a line in two of the columns, ranges or a used
/// step that are not finite and > 0, columns out of order, and a gap in the steps below 500, which only a
/// full table by triangles takes. The record must have 648,000 positions and 1,000 parameters; not checked.
KVMEASURE_EXPORT PixelTable buildTable(RawRecord& record, const BuildPlan& plan);

/// A toothed target, as it is known from its drawing.
struct Teeth {
    double pitch = 0;   ///< from tip to tip, mm, > 0
    double height = 0;  ///< from ground to tip, mm, > 0
};

/// What a record of teeth told about X.
struct TeethFit {
    int steps = 0;        ///< in which teeth were seen
    int places = 0;       ///< places on flanks
    double residual = 0;  ///< root mean square between these places and the fitted surface, mm
};

/// Replaces the X half of a table, wherever it has Z, by what a second record of the same scanner with a
/// toothed target says. The parameters of that record are the z of the tips. The tip nearest to the sensor's
/// middle column gets half the range. X grows with the column, as no record tells which way it runs.
///
/// A flank is straight, so that its z tells x; a polynomial of degree 7 in column and row takes in all places
/// on flanks. Throws Error, the table untouched, when no teeth are recognised (an empty record, a table
/// without Z, another pitch or height) and when the places lie off by 5 % of the pitch.
KVMEASURE_EXPORT TeethFit buildXFromTeeth(PixelTable& table, const RawRecord& record, const TableUnits& units,
                                          const Teeth& teeth);

}  // namespace KvMeasure

#pragma once
// How far a table is from the truth, or from a second record.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/plane_geometry.h>
#include <kvmeasure/base/raster.h>
#include <kvmeasure/calibration/table.h>
#include <kvmeasure/calibration/units.h>

#include <functional>

namespace KvMeasure {

/// What a set of deviations, mm, is like. All 0 without any.
struct ErrorStatistics {
    int count = 0;            ///< deviations
    double mean = 0;          ///< with its sign, mm
    double rms = 0;           ///< root mean square, mm
    double percentile95 = 0;  ///< 95 % are at most this far off, mm
    double worst = 0;         ///< the one of largest magnitude, with its sign, mm
    double worstColumn = 0;   ///< sensor column of the worst
    double worstRow = 0;      ///< sensor row of the worst
};

constexpr int kRegionsAcross = 3;  ///< regions of the sensor side by side, and as many one above the other

/// The deviations of one coordinate over the sensor.
struct ErrorMap {
    Half half = Half::Z;  ///< which coordinate
    Raster raster;        ///< mm; a row per table row of the sensor; NaN where the table is empty
    ErrorStatistics all;  ///< of all deviations
    std::array<ErrorStatistics, kRegionsAcross * kRegionsAcross>
        regions;        ///< of thirds of the sensor, row by row
    double offset = 0;  ///< of X, mm, which was taken out: a record has no origin in X
    double slope = 1;   ///< of X: true mm per mm of the table, by regression
};

/// Cells inside and outside the area that the calibration target has covered. The border is at most one
/// position unit and five times the noise outside.
struct Coverage {
    int inside = 0;         ///< cells that the target has covered
    int insideFilled = 0;   ///< of these, with Z
    int border = 0;         ///< cells of the border
    int borderFilled = 0;   ///< of these, with Z or X
    int outside = 0;        ///< cells farther outside
    int outsideFilled = 0;  ///< of these, with Z or X
};

/// A cell of the table beside the truth. NaN: not filled.
struct CellSample {
    int column = 0;        ///< of the sensor
    double sensorRow = 0;  ///< of the sensor
    double z;              ///< of the table, in the scanner's plane, mm
    double trueZ;          ///< of the truth, mm
    double x;              ///< of the table, without the mean deviation of all cells, mm
    double trueX;          ///< of the truth, mm
};

/// How far a table is from the truth.
struct TruthReport {
    QList<ErrorMap> maps;          ///< of Z and of X
    Coverage coverage;             ///< of the sensor by the target
    QList<CellSample> samples;     ///< of each region, the filled cell nearest to its middle, if there is one
    double expectedRounded = 0;    ///< RMS that positions and units leave for Z with values rounded, mm
    double expectedTruncated = 0;  ///< the same with values truncated, mm
};

/// What is known of the scanner and the run that a table was built from. z in records less `zOrigin` is z in
/// the scanner's plane.
struct CalibrationTruth {
    /// Point (x, z) of the plane that a place (column, row) of the sensor sees, mm; NaN where it sees none.
    /// Not empty; called for places up to half a row, or the border, beyond the sensor too.
    std::function<Vector(const Vector& place)> toPlane;
    /// Height of the target at x over the z of its step, mm. Not empty.
    std::function<double(double x)> targetSurface;
    double xRange = 0;       ///< mm; the target's middle is at half of it
    double targetWidth = 0;  ///< mm
    double zFirst = 0;       ///< z of the first step, mm
    double zStep = 0;        ///< from step to step, mm; may be negative
    double zOrigin = 0;      ///< mm
    double noise = 0;        ///< deviation of the positions, sensor rows, >= 0
};

/// Compares every cell of a table on the sensor with the truth. An empty table: maps without deviations, and
/// no samples. The ranges of `units` must be those that the table was built with; a table does not tell.
KVMEASURE_EXPORT TruthReport compareWithTruth(const PixelTable& table, const TableUnits& units,
                                              const CalibrationTruth& truth);

/// How far a table is from a second record of a flat target.
struct RecordReport {
    ErrorMap map;     ///< of Z; a row per sensor row, means of the positions in each cell
    int found = 0;    ///< positions of the record on the sensor
    int covered = 0;  ///< of these, with z in the table
};

/// Compares the z of a table at the positions of a second record, with its parameters as the true z, mm. An
/// empty record or table: nothing covered, a map without deviations. The offset of `units` is that of the
/// table; 648,000 positions and 1,000 parameters, not checked.
KVMEASURE_EXPORT RecordReport compareWithRecord(const PixelTable& table, const TableUnits& units,
                                                const RawRecord& record);

}  // namespace KvMeasure

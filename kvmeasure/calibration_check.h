#pragma once
// How far a table is from the truth, or from a second record.

#include "kvmeasure/calibration_file.h"
#include "kvmeasure/calibration_truth.h"
#include "kvmeasure/plot_raster.h"

namespace KvMeasure {

/// Of a set of deviations, mm.
struct ErrorStatistics {
    int count = 0;
    double mean = 0, rms = 0;
    double percentile95 = 0;               ///< 95 % are at most this far off
    double worst = 0;                      ///< with its sign
    double worstColumn = 0, worstRow = 0;  ///< sensor place of the worst
};

constexpr int regionsAcross = 3;  ///< and as many down

/// The deviations of one coordinate over the sensor.
struct ErrorMap {
    Half half = Half::Z;
    Raster raster;  ///< mm; a row per table row of the sensor
    ErrorStatistics all;
    std::array<ErrorStatistics, regionsAcross * regionsAcross>
        regions;  ///< row by row of thirds of the sensor

    double offset = 0;  ///< of X, which was taken out: a record has no origin in X
    double slope = 1;   ///< of X: true mm per mm of the table, by regression
};

/// Cells inside and outside the area that the calibration target has covered.
struct Coverage {
    int inside = 0, insideFilled = 0;
    int border = 0, borderFilled = 0;  ///< at most one position unit and five times the noise outside
    int outside = 0, outsideFilled = 0;
};

struct TruthReport {
    QList<ErrorMap> maps;  ///< Z, X
    Coverage coverage;
    /// RMS that the positions and the table units leave for Z with values rounded and truncated, mm.
    double expectedRounded = 0, expectedTruncated = 0;
};

TruthReport compareWithTruth(const PixelTable& table, const TableUnits& units,
                             const CalibrationRecipe& truth);

/// Z against a second record of a flat target: at the found positions.
struct RecordReport {
    ErrorMap map;
    int found = 0, covered = 0;  ///< positions of the record, and those with z in the table
};

RecordReport compareWithRecord(const PixelTable& table, const TableUnits& units, const RawRecord& record);

/// Error maps against a reference, one below the other, with their colour scales and the RMS of each region.
QByteArray drawErrorMaps(const QString& title, const QString& reference, const QList<ErrorMap>& maps);

}  // namespace KvMeasure

#pragma once
// What "kvmeasure wheels conicity" reads: sections of wheels and rails, tables of differences, amplitudes.

#include "cli/arguments.h"

#include <kvmeasure/wheels/rolling_radius.h>

#include <vector>

namespace KvMeasure {

/// A table of the rolling radius difference.
struct DifferenceTable {
    std::vector<double> shifts;       ///< mm, ascending
    std::vector<double> differences;  ///< mm
};

/// Reads the columns y and dr of a table, by their names or by --columns; sorted by y. Throws Error.
DifferenceTable readDifferences(const QString& path, const Arguments& arguments);

/// The options that place wheels and rails.
std::vector<Option> wheelsetOptions();

/// The wheelset over its track, by these options. `notes` gets what was done to the sections. Throws Error.
WheelsetOnTrack readWheelset(const Arguments& arguments, QStringList& notes);

/// Diameters at the running circles, by Side, mm. Throws Error.
void readDiameters(const Arguments& arguments, double (&diameters)[2]);

/// Reads amplitudes in mm: numbers and ranges FROM..TO:STEP between commas, at most 10,000, each above 0 and
/// at most 100. Throws Error.
std::vector<double> readAmplitudes(const QString& text);

}  // namespace KvMeasure

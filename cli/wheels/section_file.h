#pragma once
// A wheel's cross-section in a file, measured.

#include "cli/wheels/sections.h"

namespace KvMeasure {

/// Radii over a lateral position that grows away from the flange: that of the file, or its negative.
struct SectionFile {
    std::vector<Vector> radii;
    double direction = 1;  ///< 1 or -1
    GaugeProfile file;
    WheelSection upright;
};

/// What is known of one file when it has been measured.
struct MeasuredFile {
    SectionFile section;
    WheelResult wheel;
    MeasuredSection seen;
    GaugeValues gauge;  ///< with the wear, where that is measured
    WheelWear wear;
    std::vector<LimitVerdict> verdicts;
};

/// Reads and measures a file. Throws Error.
MeasuredFile measureFile(const QString& path, const SectionOptions& options);

/// The values of gauges of a section, and its wear where there is a nominal one, with their uncertainties.
void measureGauge(const WheelSection& section, const SectionOptions& options, MeasuredFile& measured);

/// The running diameter, mm: as the options give it, else as the gauge stored it; NaN: not known.
double diameterOf(const MeasuredFile& measured, const SectionOptions& options);

/// All values are there, those that gauges take, too.
bool isComplete(const MeasuredFile& measured);

/// Takes the values away that need the diameter: an assumed one is no measurement.
void withholdSize(WheelResult& wheel);

}  // namespace KvMeasure

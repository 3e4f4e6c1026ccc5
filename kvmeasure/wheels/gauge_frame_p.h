#pragma once
// Rows of points in files of gauges, and the frame that such a file states.

#include <kvmeasure/profiles/column_choice.h>
#include <kvmeasure/wheels/gauge_file.h>

#include <limits>

namespace KvMeasure::Internal {

/// The first two numbers of a row.
struct GaugeRow {
    double numbers[2] = {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::quiet_NaN()};
    bool isPoint = false;  ///< there are two, and nothing but numbers
};

/// The numbers of a row between blanks, tabs, commas or semicolons; commas are decimal marks where each word
/// has one within it.
GaugeRow gaugeRow(const QByteArray& line);

/// Brings the points of a file of blocks or of KEY=VALUE lines into the frame and unit that it states, and
/// sets object, zero and side by its header. `options.units`, where given, is the unit of the points.
void bringIntoFrame(GaugeProfile& profile, const TextOptions& options);

}  // namespace KvMeasure::Internal

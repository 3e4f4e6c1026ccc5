#pragma once
// Strips: what rises between two edges, as a bead, a ridge or a part on a belt.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/kinds/fitted_value.h>

#include <limits>
#include <vector>

namespace KvMeasure {

/// What counts as a strip, and which is measured.
struct StripSettings {
    int number = 0;            ///< 0: the widest; n from 1: the n-th from the left; -n: from the right
    double leastHeight = 0.1;  ///< mm over the base, > 0; points below it, or below five standard deviations
                               ///< of the noise, are of the base
    double leastWidth = 0;     ///< mm; what is narrower is no strip
    double widestGap =
        std::numeric_limits<double>::quiet_NaN();  ///< widest step in x within a strip, mm; NaN: as
                                                   ///< widestStep(); a wider one is a void, which ends it
    bool movesFreeEdges = true;  ///< an edge at a void or the end of the data lies half a point distance
                                 ///< beyond its last point
};

/// A strip. Nothing but the reason means anything where there is one.
struct StripResult {
    QString reason;      ///< why there is no strip; empty: there is one
    FittedValue width;   ///< from edge to edge along the base, mm
    FittedValue height;  ///< of its top over the base, mm: the median of the points above eight tenths of it;
                         ///< with a reason without a base
    FittedValue left;    ///< x of the left edge, mm
    FittedValue right;   ///< x of the right edge, mm
    Vector leftEdge;     ///< the left edge, at half of the height; a free one at the height of its last point
    Vector rightEdge;    ///< the right edge
    int freeEdges = 0;   ///< how many edges are at a void or at the end of the data
    double moved = 0;    ///< what was added beyond free edges, mm
    double bridged = 0;  ///< the widest step in x within it that is wider than ten median steps, mm; 0: none
    bool isAmbiguous = false;  ///< without a widest step: an edge lies at a void of less than twice that, or
                               ///< points are missing elsewhere, too; the void may be missing points
    int points = 0;            ///< of the strip
};

/// Measures a strip in points in scan order. The base is a line, or none (a line with a reason): then strips
/// are what lies between voids. Over a base a strip is a run of points higher than the least height; its
/// edges are where the profile passes half of its height: on a flank of five points and more their line does,
/// on a wall in proportion between two points. No strip, with a
/// reason: no point that is high enough, a number that there is not, nothing wide enough.
///
/// Mirroring exchanges both edges; reversing the points changes nothing.
KVMEASURE_EXPORT StripResult measureStrip(const std::vector<Vector>& points, const LineFit& base,
                                          const NoiseModel& noise, const StripSettings& settings = {});

}  // namespace KvMeasure

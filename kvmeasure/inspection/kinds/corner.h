#pragma once
// Corners of two straight surfaces, sharp or round.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/kinds/fitted_value.h>

#include <vector>

namespace KvMeasure {

/// A corner. Nothing but the reason means anything where there is one.
struct CornerResult {
    QString reason;        ///< why there is no corner; empty: there is one
    FittedValue x;         ///< of the point where the lines meet, mm
    FittedValue z;         ///< of this point, mm
    FittedValue radius;    ///< of the arc between the lines, mm; a sharp corner has none, with a reason
    FittedValue angle;     ///< between the surfaces, degrees, 0 to 180
    Vector point;          ///< where the lines meet
    LineFit first;         ///< the line before the corner
    LineFit second;        ///< the line after it
    ArcFit arc;            ///< between them
    NoiseModel noise;      ///< of lines and arc, with what the caller knew
    bool isShort = false;  ///< a line holds too few correlation lengths, see NoiseModel::isShort
};

/// Measures a corner in points in scan order: a straight surface, possibly a round part, and another straight
/// surface. The points part at the one that is furthest from the line through the ends. A robust line is
/// fitted to the outer half of each side; the points between where both are left are the round part. Then
/// lines and circle are fitted again, parted where they touch, three times. Fewer than six points on the
/// round part: sharp.
///
/// No corner, with a reason: fewer than eight points, lines that are nearer to parallel than 3 degrees, a
/// side that is no line (its points scatter more than five times as much as the other's). `known` is noise
/// that is known beside that of these points.
KVMEASURE_EXPORT CornerResult measureCorner(const std::vector<Vector>& points,
                                            const ResidualNoise& known = {});

}  // namespace KvMeasure

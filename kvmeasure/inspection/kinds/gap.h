#pragma once
// Gap and flush of two sides.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/kinds/edge_point.h>

namespace KvMeasure {

/// Gap and flush, with the points that they lie between.
struct GapResult {
    FittedValue gap;     ///< along the line of the first side, mm, negative where the sides overlap
    FittedValue flush;   ///< distance of the second side from the line of the first, square to it, mm
    Vector firstPoint;   ///< edge point of the first side
    Vector secondPoint;  ///< edge point of the second side
    double freeEdges =
        0;  ///< what was added beyond the last points of sharp edges, mm: the gap is less by it
    bool isShort = false;  ///< a line or hem holds too few correlation lengths, see NoiseModel::isShort
};

/// The gap between the features of two sides along the line of the first, and how far the second lies above
/// that line. A side with a reason: neither, with that reason. The order of the points of a side and which of
/// them is on the left do not matter.
KVMEASURE_EXPORT GapResult measureGap(const EdgeSide& first, const EdgeSide& second, EdgeFeature feature,
                                      const NoiseModel& noise);

}  // namespace KvMeasure

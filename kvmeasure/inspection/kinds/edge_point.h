#pragma once
// The end of a surface at a gap: a rounded hem, or a sharp edge.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/kinds/fitted_value.h>

#include <vector>

namespace KvMeasure {

/// How the end of a side is found.
struct EdgeSettings {
    bool movesFreeEdges = true;  ///< a sharp edge lies half a point distance beyond its last point
    /// Points below the surface by more than this many standard deviations belong to the hem, > 0.
    double hemCut = 4;
};

/// One side of a gap. Nothing but the reason means anything where there is one.
struct KVMEASURE_EXPORT EdgeSide {
    QString reason;             ///< why there is no side; empty: there is one
    LineFit surface;            ///< the line of the surface, fitted without the hem
    bool hasHem = false;        ///< the surface bends down to the gap in an arc
    FittedCircle hem;           ///< the arc, with hasHem; it touches the line of the surface
    std::vector<Vector> ofHem;  ///< the points that it rests on
    /// Place along the surface, towards the gap, from where points bend down that are no hem; NaN: none do.
    double bendStart = std::numeric_limits<double>::quiet_NaN();
    double uEnd = 0;   ///< standard uncertainty of a sharp edge along the surface, mm, see deviationOfEnd()
    Vector lastPoint;  ///< the point furthest towards the gap
    double pitch = 0;  ///< point distance along the surface near the gap, mm
    double freeEdge = 0;  ///< what was added beyond the last point of a sharp edge, mm
    int towardsGap = 1;   ///< 1: the gap is where the line of the surface points to; -1: behind it
};

/// Finds the end of a surface in the points of a side in scan order; `gap` is a place beyond it. The surface
/// is a robust line. Points beyond its last point that lie below by more than the cut are of a hem, from
/// whose radius follows where it begins. Then the line is fitted again to the points before this place, and
/// the circle that touches it to those after, three times with the place where they touch. The edge is sharp
/// where the hem has fewer than four points or they are no arc that bends down with a radius below twice the
/// length of the surface. No side, with a reason: fewer than three points, or no two distinct ones.
KVMEASURE_EXPORT EdgeSide findEdge(const std::vector<Vector>& points, const Vector& gap,
                                   const EdgeSettings& settings = {});

/// Which point of a side counts.
enum class EdgeFeature {
    Extreme,  ///< the point furthest towards the gap: of the hem's circle, or the sharp edge
    Tangent,  ///< where the surface ends: where its line touches the hem, where points bend down, or the edge
    Corner,   ///< on the line of the surface, square above the extreme point
};

/// A point of a side with the variances that it has along a direction and square to it.
struct KVMEASURE_EXPORT EdgePoint {
    Vector at;                    ///< mm
    double along = 0;             ///< standard uncertainty along `direction`, mm
    double across = 0;            ///< standard uncertainty square to it, mm
    double degreesOfFreedom = 0;  ///< of both
};

/// The feature of a side, extreme along `direction`, a unit vector towards the gap. The side has no reason.
KVMEASURE_EXPORT EdgePoint edgePoint(const EdgeSide& side, EdgeFeature feature, const Vector& direction,
                                     const NoiseModel& noise);

}  // namespace KvMeasure

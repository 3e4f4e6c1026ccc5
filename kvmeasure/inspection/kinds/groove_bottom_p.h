#pragma once
// What the bottom of a groove rests on: a floor, two flanks, or one point.

#include <kvmeasure/inspection/kinds/groove.h>
#include <kvmeasure/inspection/kinds/groove_side_p.h>
#include <kvmeasure/profiles/robust_arc.h>

#include <vector>

namespace KvMeasure::Internal {

/// The bottom between two sides.
struct BottomFit {
    GrooveBottom form = GrooveBottom::Lowest;  ///< Automatic: there is none of the form that was wanted
    LineFit floor, left, right;                ///< the lines of a flat one, of a V
    ArcFit arc;                                ///< of a round one
    bool isWholeArc = false;                   ///< from rim to rim
    Vector lowest;                             ///< the deepest point
    double toNeighbour = 0;                    ///< how much higher the nearer of its neighbours is, mm
    bool lacksPoints = false;                  ///< points beside the lowest are missing
};

/// Finds the form of the bottom: a V where the flanks lead to its lowest points; flat or round where the
/// points that lie off both flanks, or those in the deepest fifth, are a line or an arc; else the lowest
/// point.
BottomFit fitBottom(const std::vector<Vector>& points, const GrooveSide& left, const GrooveSide& right,
                    GrooveBottom wanted);

}  // namespace KvMeasure::Internal

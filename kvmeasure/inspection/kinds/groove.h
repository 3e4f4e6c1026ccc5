#pragma once
// Grooves: gaps in a surface under a lid that lies on their rims.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/kinds/fitted_value.h>

#include <vector>

namespace KvMeasure {

/// What counts as the bottom of a groove.
enum class GrooveBottom {
    Automatic,  ///< flat, V or round where the groove has that form, else the lowest point
    Lowest,     ///< the lowest point
    Flat,       ///< the middle of the line fitted to the floor
    V,          ///< where the lines of the flanks meet
    Round       ///< the point of the circle fitted to the bottom that is farthest from the lid
};

/// Which groove is measured, and how.
struct GrooveSettings {
    int number = 0;  ///< 0: the deepest; n from 1: the n-th from the left; -n: from the right
    GrooveBottom bottom = GrooveBottom::Automatic;  ///< where the depth is measured
    double leastDepth = 0;                          ///< mm; what is less deep is no groove
    double leastWidth = 0;                          ///< mm; what is narrower is no groove
};

/// A groove. Nothing but the reason means anything where there is one.
struct GrooveResult {
    QString reason;     ///< why there is no groove; empty: there is one
    FittedValue width;  ///< distance of the rims, mm
    FittedValue depth;  ///< of the bottom under the lid, square to it, mm
    FittedValue x;      ///< of the bottom, mm
    FittedValue z;      ///< of the bottom, mm
    FittedValue area;   ///< between lid and points, mm^2
    Vector leftRim;     ///< the end of the surface before the groove: on its line, where the flank meets it
    Vector rightRim;    ///< the same after the groove
    Vector bottom;      ///< the bottom
    Vector underLid;    ///< the point of the lid above it
    NoiseModel noise;   ///< of the lines that it was found by, with what the caller knew
    bool isShort = false;      ///< a line holds too few correlation lengths, see NoiseModel::isShort
    bool isLowest = false;     ///< the depth is that of one point
    bool lacksBottom = false;  ///< it is, and points beside that one are missing
};

/// Measures a groove in points in scan order. Grooves are the gaps under the upper convex hull of the points,
/// seen from the line through their ends; less deep ones than a quarter of the deepest are none. Beside the
/// groove, up to the next one or the end of the points, a line is fitted to each land. A rim is where it
/// meets the line of the flank (points from a tenth to a half of the depth, to nine tenths where these are
/// fewer than three), or, at a wall without a line, half way between the last point of the land and the next
/// one. The lid joins the rims. The form is V where the lines of the flanks lead to the lowest points, flat
/// or round where the points that lie off both, or those deeper than eight tenths of the depth, are a line or
/// an arc; else the depth is that of the lowest point. Flanks that curve are fitted near the rim, those below
/// a round edge in their lower half: the rim is where the wall would meet the land. Areas end at walls that
/// are upright in the profile, whatever the lid's direction.
///
/// No groove, with a reason: fewer than seven points, no gap, a land of fewer than three points or one that
/// runs on into the flank (a rim lies outside the region), a groove shallower than five standard deviations
/// of its lands or the limits, a number that there is not. `known` is noise that is known beside that of
/// these points.
KVMEASURE_EXPORT GrooveResult measureGroove(const std::vector<Vector>& points,
                                            const GrooveSettings& settings = {},
                                            const ResidualNoise& known = {});

}  // namespace KvMeasure

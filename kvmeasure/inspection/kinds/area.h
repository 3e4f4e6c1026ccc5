#pragma once
// Area between the points of a profile and a base line.

#include <kvmeasure/base/global.h>
#include <kvmeasure/inspection/kinds/fitted_value.h>

#include <limits>
#include <vector>

namespace KvMeasure {

/// What area is wanted.
struct AreaSettings {
    bool isAbove = true;  ///< between the base and points above it; false: and points below it
    /// Widest step in x from point to point that is counted, mm; NaN: ten times the median step.
    double widestGap = std::numeric_limits<double>::quiet_NaN();
};

/// An area with what its uncertainty rests on.
struct KVMEASURE_EXPORT AreaResult {
    double area = std::numeric_limits<double>::quiet_NaN();  ///< mm^2, >= 0 where the points do not turn back
    Vector centroid;                                         ///< of the area, mm; NaN without an area
    int gaps = 0;                                            ///< steps that were wider than the limit
    double leftOut = 0;                                      ///< length of these in x, mm
    double length = 0;                                       ///< length in x over which there is area, mm
    double moment = 0;         ///< integral over that length of x from the centre of the base, mm^2
    double secondMoment = 0;   ///< integral of its square, mm^3
    double squaredShares = 0;  ///< sum of the squares of the lengths that the points stand for, mm^2
    /// The same sum, each times the square of what a change of the area there does to the centroid: its way
    /// in x or in height from the centroid, mm^4.
    double squaredSharesX = 0;
    double squaredSharesZ = 0;  ///< the same in height, mm^4
    /// Sums of the squares of what walls change that lie anywhere between their points: of the area, mm^4,
    /// and of the area times the way from the centroid, mm^6.
    double walls = 0;
    double wallsX = 0;  ///< times the way in x
    double wallsZ = 0;  ///< times the way in height
    QString reason;     ///< why there is no area; empty: there is one

    bool isFound() const { return reason.isEmpty(); }  ///< there is an area
};

/// The integral over x of the height over the base, where the points are on the wanted side; trapezoids from
/// point to point in scan order, cut exactly where the profile crosses the base. A base at a height is a line
/// with its centre there and the direction (1, 0). Places that the scan passes backwards, as below an
/// overhang, count negative; reversing the order of the points changes nothing. No area, with a reason: fewer
/// than two points, points that begin and end at one x, an upright base.
///
/// Two neighbouring points whose heights differ by more than the slopes beside them explain are a wall, see
/// wallShare().
///
/// (1) Above and below together are the integral of the absolute height.
/// (2) Shifting and shearing points and base together changes nothing, scaling by f multiplies by f^2.
KVMEASURE_EXPORT AreaResult measureArea(const std::vector<Vector>& points, const LineFit& base,
                                        const AreaSettings& settings = {});

/// Standard uncertainties of an area and its centroid: noise of the points, a base that was fitted (with no
/// points: a height that is known), walls. NaN where the noise is not known.
struct KVMEASURE_EXPORT AreaUncertainty {
    FittedValue area;      ///< the area, mm^2
    FittedValue x;         ///< of the centroid, mm
    FittedValue z;         ///< of the centroid, mm
    bool isShort = false;  ///< the base holds too few correlation lengths, see NoiseModel::isShort
};

/// The uncertainties of an area above the base `base`, or below it.
KVMEASURE_EXPORT AreaUncertainty areaUncertainty(const AreaResult& area, const LineFit& base,
                                                 const NoiseModel& noise);

}  // namespace KvMeasure

#pragma once
// An arc of a circle through points of which some do not belong to it, with what its uncertainty rests on.

#include <kvmeasure/base/global.h>
#include <kvmeasure/profiles/circle_fit.h>
#include <kvmeasure/profiles/robust_line.h>

#include <array>
#include <limits>
#include <vector>

namespace KvMeasure {

/// A fitted arc. Nothing but the reason means anything where there is one.
struct KVMEASURE_EXPORT ArcFit {
    QString reason;        ///< why there is no arc; empty: there is one
    FittedCircle circle;   ///< least sum of squared distances, mm
    ArcSpan span;          ///< what the points cover of it
    int points = 0;        ///< number of points that it was fitted to
    int rejected = 0;      ///< number of points that were left out
    double deviation = 0;  ///< standard deviation of the points from the circle, mm; 0 for three points
    bool isNearlyStraight = false;  ///< the arc rises over its chord by less than three standard deviations
    LargestError outside;           ///< largest distance from the circle outside it; 0: no point is there
    LargestError inside;            ///< the same inside it, negative
    std::vector<double> residuals;  ///< of these points in the order given, mm, outside positive
    std::vector<Vector> used;       ///< these points

    bool isFound() const { return reason.isEmpty(); }  ///< there is an arc
};

/// Fits the circle of least squared distances (never the algebraic fit, which shrinks short arcs) to points
/// in scan order; those without finite coordinates below 1e9 mm are left out. Robust fits start from the
/// circle through three of the medians of 11 runs of points that has the least median distance to these
/// medians, and leave out, twice, what lies further off than `cut` times 1.4826 times the median distance, of
/// more than 240 points that of 240 of them; 96 and more that look like an arc with Gaussian noise need no
/// such start. No arc, with a reason: fewer than three distinct points, points on a straight line, a fit that
/// does not come to an end. Shifting, turning, mirroring and scaling the points does so to it, to rounding.
KVMEASURE_EXPORT ArcFit fitArc(const std::vector<Vector>& points, const RobustFitting& fitting = {});

/// Standard uncertainties of a fitted arc.
struct ArcUncertainty {
    double x = std::numeric_limits<double>::quiet_NaN();       ///< of the centre, mm
    double z = std::numeric_limits<double>::quiet_NaN();       ///< of the centre, mm
    double radius = std::numeric_limits<double>::quiet_NaN();  ///< mm
    /// Covariances of x, z and radius, mm^2.
    std::array<std::array<double, 3>, 3> covariance{};
    double degreesOfFreedom = 0;  ///< 0 where nothing is known
    bool isShort = false;         ///< the arc holds too few correlation lengths, see NoiseModel::isShort
    QString reason;               ///< why they are not known; empty: they are
};

/// The uncertainties of an arc from its residuals and the noise of its profile. Noise of heights counts fully
/// at the top of an arc and little at its sides; where the residuals look as large everywhere, they count so.
/// Not known, with a reason, for a nearly straight arc: its radius may be any, and does not follow the
/// slopes.
KVMEASURE_EXPORT ArcUncertainty arcUncertainty(const ArcFit& arc, const NoiseModel& noise);

}  // namespace KvMeasure

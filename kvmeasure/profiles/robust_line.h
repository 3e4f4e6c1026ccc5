#pragma once
// A straight line through points of which some do not belong to it, with what its uncertainty rests on.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/plane_geometry.h>
#include <kvmeasure/profiles/residual_noise.h>

#include <QtCore/QString>

#include <limits>
#include <vector>

namespace KvMeasure {

/// How fits treat points that do not belong to the line or arc.
struct RobustFitting {
    /// False: least squares of all points, as always for fewer than 8 points of a line and 12 of an arc.
    bool isRobust = true;
    double cut = 3.5;  ///< points further off than this many standard deviations are left out, > 0
};

/// The largest distance of a point from a fitted line or arc on one side.
struct LargestError {
    double distance = 0;  ///< mm, with its sign
    Vector at;            ///< the point
};

/// A fitted line. Nothing but the reason means anything where there is one.
struct KVMEASURE_EXPORT LineFit {
    QString reason;          ///< why there is no line; empty: there is one
    Vector centre;           ///< the point of the line at the mean of the points that it was fitted to, mm
    Vector along;            ///< its direction, a unit vector: x > 0, or (0, 1)
    double from = 0;         ///< place of the first of these points along the line from the centre, mm, <= 0
    double to = 0;           ///< place of the last one, mm, >= 0
    bool isInHeight = true;  ///< heights were fitted; false: distances square to the line
    int points = 0;          ///< number of points that it was fitted to
    int rejected = 0;        ///< number of points that were left out
    double deviation = 0;    ///< standard deviation of the points square to the line, mm; 0 for two points
    double spread = 0;       ///< sum of the squared places along the line, mm^2
    LargestError above;      ///< largest distance square to the line above it; 0: no point is there
    LargestError below;      ///< the same below it, negative
    std::vector<double> residuals;  ///< of these points in scan order, mm, in height or square to the line

    bool isFound() const { return reason.isEmpty(); }  ///< there is a line
    /// The direction square to the line that counts as above: to the left of `along`, so that z > 0, or (-1,
    /// 0).
    Vector normal() const { return {-along.y, along.x}; }
    /// Distance of a point from the line, mm, positive above.
    double distanceOf(const Vector& point) const {
        return (point.y - centre.y) * along.x - (point.x - centre.x) * along.y;
    }
    /// Place of a point along the line from its centre, mm.
    double placeOf(const Vector& point) const {
        return (point.x - centre.x) * along.x + (point.y - centre.y) * along.y;
    }
    /// The point at that place along the line and that distance above it.
    Vector pointAt(double place, double distance = 0) const {
        return {centre.x + place * along.x - distance * along.y,
                centre.y + place * along.y + distance * along.x};
    }
};

/// Fits a line to points in any order; those without finite coordinates below 1e9 mm are left out.
///
/// The heights are fitted where the line rises by less than 60 degrees, since heights carry the noise of a
/// scanner line, else the distances square to it, so that a vertical line is one like others. Robust fits
/// start from the repeated median (A. F. Siegel, Biometrika 69 (1982) 242-244) of the medians of at most 15
/// runs of points and leave out what lies further from that than `cut` times 1.4826 times the median
/// distance; of more than 240 points the start and this distance are those of 240 of them. 96 and more points
/// whose distances from the line of least squares look like Gaussian noise need no such start: those within
/// the cut of this line count. No line, with a reason: fewer than two distinct points.
///
/// (1) Shifting, turning by 180 degrees, mirroring and scaling the points does so to the line, to rounding.
/// (2) So does turning by any angle where distances are fitted before and after, or the points lie on a line.
/// (3) Reversing the points changes nothing but the order of the residuals, to rounding.
KVMEASURE_EXPORT LineFit fitLine(const std::vector<Vector>& points, const RobustFitting& fitting = {});

/// Standard uncertainties of a fitted line. Offset and direction are independent of each other.
struct KVMEASURE_EXPORT LineUncertainty {
    double offset = std::numeric_limits<double>::quiet_NaN();     ///< square to the line at its centre, mm
    double direction = std::numeric_limits<double>::quiet_NaN();  ///< radians
    double degreesOfFreedom = 0;                                  ///< of both; 0 where they are not known
    bool isShort = false;  ///< the line holds too few correlation lengths, see NoiseModel::isShort
    QString reason;        ///< why they are not known (both are NaN then); empty: they are

    /// Standard uncertainty square to the line at a place along it from its centre, mm.
    double at(double place) const;
};

/// The uncertainties of a line from its residuals and the noise of its profile: s / sqrt(n) for the offset
/// and s / sqrt(sum of t^2) for the direction, with n and the sum divided by the correlation time. They
/// contain the noise of this profile, and nothing of calibration, part and temperature.
KVMEASURE_EXPORT LineUncertainty lineUncertainty(const LineFit& line, const NoiseModel& noise);

}  // namespace KvMeasure

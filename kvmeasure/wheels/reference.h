#pragma once
// What a known wheel that rolls through the post tells of one scanner.

#include <kvmath/core/point_cloud.h>
#include <kvmeasure/base/global.h>

#include <QtCore/QList>

#include <limits>
#include <vector>

namespace KvMeasure {

/// The section of the reference wheel: radius over the lateral position from the flange back, mm.
class KVMEASURE_EXPORT ReferenceSection {
public:
    static constexpr double kRunningCircle = 70;  ///< lateral position that stands on the rail, mm

    /// Lateral positions, ascending, each with its radius; finite, as many of one as of the other, at least
    /// two. Not checked.
    ReferenceSection(std::vector<double> laterals, std::vector<double> radii);

    /// The radius at a lateral position, straight between points, mm; NaN outside and for NaN.
    double radius(double lateral) const;
    /// The slope of the radius there, mm per mm, at a point that of the piece after it; NaN outside and for
    /// NaN.
    double slope(double lateral) const;
    /// The radius on the rail, mm; NaN for a section that does not reach there.
    double runningRadius() const { return radius(kRunningCircle); }
    /// The greatest radius of a point, that of the flange tip, mm.
    double tipRadius() const;

private:
    std::size_t behind(double lateral) const;  ///< index of the first point beyond; 0 outside

    std::vector<double> laterals_, radii_;
};

/// Points that a scanner saw at one moment, in the axes of the post.
struct ReferenceView {
    double axisX;                                     ///< where the wheel's axis was, mm along the track
    KvMath::KvPointCloud<KvMath::KvPointXYZ> points;  ///< X along the track, Y across it, Z up, mm
};

/// How a scanner's points lie against the wheel: their own place less that of the wheel. All NaN: not found.
struct ScannerError {
    double x = std::numeric_limits<double>::quiet_NaN();  ///< along the track, mm
    double y = x;                                         ///< across it, mm, at the running circle
    double z = x;                                         ///< upwards, mm, at the running circle
    double lean = x;                                      ///< about the track, radians
    double deviation = x;  ///< of the points from the wheel then, root mean square, mm
    int points = 0;        ///< that these come from
};

/// How the points of a scanner lie against a wheel that stands on the rail with its running circle, its
/// flange back at Y = `back`, mm. Least squares of the distances of the points from the surface by eight
/// Gauss-Newton steps, without those beyond 3.5 standard deviations; where the section is steeper than 3 to 1
/// it is not used. The start across the track is sought within 25 mm.
///
/// Not found: no views, fewer than 200 points on the wheel, a section that does not reach the running circle,
/// and steps that lead to no finite values.
KVMEASURE_EXPORT ScannerError errorOf(const QList<ReferenceView>& views, const ReferenceSection& section,
                                      double back);

}  // namespace KvMeasure

#pragma once
// The section of a wheel or of a rail as a smooth function of the lateral position, for contact.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/plane_geometry.h>

#include <QtCore/QString>

#include <vector>

namespace KvMeasure {

/// What stands uppermost at each lateral position, between the points as a cubic of continuous slope. Points
/// on a straight line give that line. "Up" is away from the axle for a wheel and upwards for a rail.
///
/// (1) Heights at the points are those of the points, where no other part stands above them.
/// (2) The order of the points may be reversed. (3) A straight line is kept exactly beside a corner.
class KVMEASURE_EXPORT ContactProfile {
public:
    /// A section without points: height() is NaN everywhere.
    ContactProfile() = default;
    /// Points along the section: x the lateral position, y the height, mm. Points that are not finite and
    /// those that repeat the point before them are left out; parts below others, such as the underside of a
    /// head, too. Throws Error: fewer than four points, a width below 20 mm or above 400 mm (another unit), a
    /// section that turns back laterally more than 100 times (points out of order), more than 100,000 points.
    explicit ContactProfile(const std::vector<Vector>& points);

    /// Lateral positions of the kept points, ascending, mm.
    const std::vector<double>& laterals() const { return laterals_; }
    double from() const { return laterals_.front(); }  ///< the least lateral position; there must be points
    double to() const { return laterals_.back(); }     ///< the greatest; there must be points

    /// Height at a lateral position, mm; NaN outside of the points.
    double height(double lateral) const;
    /// Its slope; NaN outside of the points.
    double slope(double lateral) const;
    /// Distance of the two points about a lateral position, mm; 0 outside of the points.
    double gapAt(double lateral) const;

    /// Between two neighbouring points: a polynomial of the way from the first of them.
    struct Cubic {
        double from = 0;    ///< lateral position of the first point, mm
        double height = 0;  ///< at that point
        double slope = 0;   ///< at that point
        double second = 0;  ///< factor of the square of the way
        double third = 0;   ///< factor of its third power

        /// Height at a lateral position, mm.
        double heightAt(double lateral) const {
            const double t = lateral - from;
            return height + t * (slope + t * (second + t * third));
        }
        /// Slope at a lateral position.
        double slopeAt(double lateral) const {
            const double t = lateral - from;
            return slope + t * (2 * second + 3 * t * third);
        }
    };
    /// The cubics in the order of the points, one less than there are points.
    const std::vector<Cubic>& cubics() const { return cubics_; }
    /// Index of the cubic that holds a lateral position; the first or last one for a position outside.
    int intervalAt(double lateral) const;

private:
    std::vector<double> laterals_;
    std::vector<Cubic> cubics_;
};

/// Why points are no section of a wheel in the frame of the running circle (x = 0 there, the flange at
/// negative x, y up to the flange tip): they are a rail's head or upside
/// down, or the flange stands on the other side. Empty
/// where they can be one; a tread without flange can.
KVMEASURE_EXPORT QString whyNoWheel(const ContactProfile& profile);

/// Why points are no head of a rail: they are upside down, or a flange, narrower than 45 mm
/// 14 mm below its tip. Empty where
/// they can be one.
KVMEASURE_EXPORT QString whyNoRail(const ContactProfile& profile);

}  // namespace KvMeasure

#pragma once
// A wheel's or a rail's cross-section put upright, in the frame that its values are measured in.

#include <kvmeasure/base/global.h>
#include <kvmeasure/wheels/gauge_file.h>
#include <kvmeasure/wheels/values.h>

#include <limits>

namespace KvMeasure {

/// How a section of a file was turned to stand upright: first the axes were exchanged, then their signs.
struct KVMEASURE_EXPORT SectionTurn {
    bool areExchanged = false;  ///< x and y of the file
    bool isMirrored = false;    ///< the sign of what is x then
    bool isUpsideDown = false;  ///< the sign of what is y then

    /// A point of the file, turned.
    Vector applied(const Vector& p) const {
        const Vector q = areExchanged ? Vector(p.y, p.x) : p;
        return {isMirrored ? -q.x : q.x, isUpsideDown ? -q.y : q.y};
    }
    QString text() const;  ///< e.g. "mirrored and upside down"; empty where nothing was turned
};

/// How the place of a wheel's flange back is known: given by the caller, stated by the file or by its
/// coordinates (x = 0, or 70 mm beside it), seen as an upright part of the section, or not at all.
enum class BackSource { Given, File, Seen, Unknown };

/// A wheel's cross-section: x from the flange back towards the field side, y up to the flange tip, mm.
struct WheelSection {
    std::vector<Vector> points;  ///< from the flange back to the field side; empty where there is a reason
    SectionTurn turn;            ///< of the points of the file
    BackSource source = BackSource::Unknown;  ///< with Unknown, x counts from the innermost point
    double back = std::numeric_limits<double>::quiet_NaN();  ///< its place in the turned file, mm
    int tip = -1;                                            ///< index of the flange tip, the highest point
    QString reason;                                          ///< why this is no wheel; empty where it is one
    QString backReason;  ///< why the place of the flange back is not known; empty where it is
    QStringList notes;   ///< what was done to the points

    bool isWheel() const { return reason.isEmpty(); }  ///< there is a section of a wheel
};

/// Finds the flange in a section and puts it upright; files that are mirrored, upside down or on their side
/// are recognised by their shape. A tilt is not taken away. `back` is the place of the flange back along the
/// file's lateral axis, NaN: stated by the file (x = 0, or 70 mm beside the running circle), else where the
/// coordinates say so within 1 mm (the innermost point lies there), else where the section is upright.
/// No wheel, with a reason: a rail by its header or shape, no flange of 15 to 50 mm, fewer than 10 points,
/// other units than mm (the reason names the unit that fits).
KVMEASURE_EXPORT WheelSection wheelSection(const GaugeProfile& profile,
                                           double back = std::numeric_limits<double>::quiet_NaN());

/// The section of a wheel that calcWheelValues measured, e.g. one of a pass. No wheel where that has no
/// places.
KVMEASURE_EXPORT WheelSection wheelSection(const MeasuredSection& measured, const WheelResult& wheel);

/// A rail's cross-section: y upwards to the top of the head, x as in the file, mm.
struct RailSection {
    std::vector<Vector> points;  ///< with x growing over the head; empty where there is a reason
    SectionTurn turn;            ///< of the points of the file
    int top = -1;                ///< index of the highest point
    QString reason;              ///< why this is no rail; empty where it is one
    QStringList notes;           ///< what was done to the points

    bool isRail() const { return reason.isEmpty(); }  ///< there is a head of a rail
};

/// Finds the head of a rail and puts it upright. x keeps its sign, unless the section lies on its side. No
/// rail, with a reason: a wheel by its header, no head (a top that falls by 14 mm on one side at least,
/// within 70 mm, and is 20 mm wide), fewer than 10 points, other units than mm.
KVMEASURE_EXPORT RailSection railSection(const GaugeProfile& profile);

}  // namespace KvMeasure

#pragma once
// Rigid motions of the plane: how a measured part is laid on its master, and what that does not determine.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/plane_geometry.h>

#include <QtCore/QString>

#include <vector>

namespace KvMeasure {

/// A turn about a centre and then a shift.
struct KVMEASURE_EXPORT RigidMotion {
    Vector centre;     ///< of the turn, mm
    double angle = 0;  ///< radians, to the left
    Vector shift;      ///< mm

    Vector apply(const Vector& point) const;                ///< where the point goes
    RigidMotion followedBy(const RigidMotion& next) const;  ///< both in one, about the centre of this one
};

/// One of the three motions that a registration is made of: a turn about a point, or a shift.
struct KVMEASURE_EXPORT MotionPart {
    bool isTurn = false;     ///< about `pole`; otherwise a shift along `direction`
    Vector pole;             ///< mm
    Vector direction;        ///< unit
    double information = 0;  ///< eigenvalue of the normal matrix per point, 0 to about 1: the mean square of
                             ///< the way square to the master for a motion of 1 mm (of a turn: 1 mm at the
                             ///< mean radius of the points)
    double uncertainty = 0;  ///< one standard uncertainty, mm, of a turn degrees; infinite where it is free
    bool isFree = false;     ///< the master does not determine it: it was left as it is

    QString text() const;  ///< e.g. "shift along (1.000, 0.000)" or "turn about (3.20, -41.7)"
};

/// How a part was laid on a master.
struct KVMEASURE_EXPORT Registration {
    RigidMotion motion;             ///< from the part to the master
    std::vector<MotionPart> parts;  ///< three, the least determined first; none where nothing was registered
    double deviation = 0;           ///< mm, rms square to the master of the points that were used
    int used = 0;                   ///< points that determine the motion
    int rejected = 0;               ///< points left out as too far from the master

    bool isFixed() const;  ///< no motion is free
};

/// How points are laid on a master.
struct RegistrationSettings {
    /// Points off by more than 3.5 standard deviations (from the median of sizes) are left out.
    bool isRobust = true;
    bool findsStart =
        true;  ///< tries shifts and turns of the whole profile first; otherwise from where it is
};

/// Lays points on the contours of a master by least squares of the distances square to it (Chen, Medioni,
/// Image and Vision Computing 10 (1992) 145-155). A motion that the master does not determine, as a shift
/// along a straight line or a turn about the centre of a circle, is not made, and is said to be free: its
/// eigenvalue is within what the noise of the master gives. Without findsStart the part must lie nearer to
/// its place than to another one that fits. Points that are not finite
/// are left out; of more than 20,000, evenly chosen ones are taken. Fewer than two points or
/// a master without a piece: no motion, and no parts.
KVMEASURE_EXPORT Registration registerPoints(const std::vector<Vector>& points,
                                             const std::vector<std::vector<Vector>>& master,
                                             const RegistrationSettings& settings = {});

/// Lays lines on those of a master, one on one, by least squares of the distances of their ends and middles
/// from the endless lines. Free motions as above. Both lists are of one length; without lines: no motion.
KVMEASURE_EXPORT Registration registerLines(const Segments& lines, const Segments& master);

}  // namespace KvMeasure

#pragma once
// Rigid motions in space: how a measured scan is laid on its master, and what that does not determine.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/space_geometry.h>

#include <QtCore/QString>

#include <array>
#include <vector>

namespace KvMeasure {

/// A turn about an axis through a centre, and then a shift.
struct KVMEASURE_EXPORT SpaceMotion {
    SpaceVector centre;  ///< of the turn, mm
    std::array<SpaceVector, 3> rows{SpaceVector{1, 0, 0}, SpaceVector{0, 1, 0}, SpaceVector{0, 0, 1}};
    ///< of the rotation matrix
    SpaceVector shift;  ///< mm

    SpaceVector apply(const SpaceVector& point) const;      ///< where the point goes
    SpaceMotion followedBy(const SpaceMotion& next) const;  ///< both in one, about the centre of this one
    /// Direction of the axis times the angle, radians, 0 to pi: a right-handed turn.
    SpaceVector turn() const;
    /// The motion that turns by this (as turn() gives it) about a centre and then shifts.
    static SpaceMotion of(const SpaceVector& centre, const SpaceVector& turn, const SpaceVector& shift);
};

/// One of the six motions that a registration in space is made of: a turn about an axis, or a shift.
struct KVMEASURE_EXPORT SpaceMotionPart {
    bool isTurn = false;     ///< about the axis along `direction` through `pole`; otherwise a shift
    SpaceVector direction;   ///< unit
    SpaceVector pole;        ///< of a turn, mm: the place of its axis next to the middle of the points
    double information = 0;  ///< of the normal matrix per point, 0 to about 1: the mean square of the way
                             ///< square to the master for a motion of 1 mm (of a turn: 1 mm at the mean
                             ///< radius of the points)
    double uncertainty = 0;  ///< one standard uncertainty, mm, of a turn degrees; infinite where it is free
    bool isFree = false;     ///< the master does not determine it: it was left as it is

    /// E.g. "shift along (1.000, 0.000, 0.000)" or "turn about the axis along (0.000, 1.000, 0.000) through
    /// (3.200, 0.100, 20.000)": x, height, scan.
    QString text() const;
};

/// How a scan was laid on a master.
struct KVMEASURE_EXPORT ScanRegistration {
    SpaceMotion motion;                  ///< from the scan to the master
    std::vector<SpaceMotionPart> parts;  ///< six, the free ones first, then the least determined; none where
                                         ///< nothing was registered
    double deviation = 0;                ///< mm, rms square to the master of the points that were used
    int used = 0;      ///< points that determine the motion, of at most 10,000 that were chosen
    int rejected = 0;  ///< of these, points left out as too far from the master

    bool isFixed() const;  ///< no motion is free
};

}  // namespace KvMeasure

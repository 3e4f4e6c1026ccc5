#pragma once
// A measuring post: where its scanners stand, what they see of a wheel, and the settings that describe it.
//
// The space of a side of the track, in mm: X in the direction of travel from the middle of the post, Y
// outwards from the middle of the track, Z upwards from the top of the rail. Both sides count Y outwards, so
// that the flange back has the smallest Y on either of them.

#include "simulator/wheel_shape.h"

#include <QtCore/QByteArray>

#include <vector>

namespace Simulator {

/// One scanner. Its profile point (x, y) lies at origin + x e + y d: for a section scanner, which looks
/// upwards in a plane across the track, e = (0, cos tilt, -sin tilt), d = (0, sin tilt, cos tilt); for a face
/// scanner, which looks outwards in a level plane, e = (cos tilt, -sin tilt, 0), d = (sin tilt, cos tilt, 0).
struct Scanner {
    int index = 0;        ///< i of SENSOR<i>
    int serial = 0;       ///< of its recordings
    int side = 0;         ///< 0 left, 1 right
    bool isFace = false;  ///< looks at the back of the wheel, for the distance of a wheelset
    double originX = 0, originY = 0, originZ = 0;
    double tilt = 0;  ///< radians
    double xFrom = 0, xStep = 0;
    int points = 0;
    double high = 0,
           low = 0;  ///< wheel band: Z of a section scanner, range square to the track of a face scanner

    /// Slope and intercept in the profile of the line that is `level` in the sense of `high` and `low`.
    double slope() const;
    double intercept(double level) const;
};

/// The eight scanners: SENSOR1 and 2 see the backs of the left and right wheels, SENSOR3 to 5 sections of the
/// left wheel at X = -200, 0, 200, SENSOR11 to 13 those of the right one.
std::vector<Scanner> measuringPost();

/// The settings of the post as an INI file: serial numbers, wheel bands, filters, calibration, rules, defect
/// search.
QByteArray postSettings(const std::vector<Scanner>& post);

/// A wheel in view, worked out once for all its profiles.
struct Wheel {
    Wheel(const WheelShape& shape, double back);

    WheelShape shape;
    double back;  ///< Y of the flange back
    double axisZ;
    double tipRadius;                     ///< largest radius without defects
    std::vector<double> laterals, radii;  ///< the section without defects
};

/// Ranges of the scanner's columns, NaN where it sees no wheel, with the wheel's axis at this X. False,
/// `ranges` left alone, when no part of the wheel is in view.
bool seeWheel(const Scanner& scanner, const Wheel& wheel, double axisX, std::vector<double>& ranges);

}  // namespace Simulator

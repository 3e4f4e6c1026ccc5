#pragma once
// A measuring post: where its scanners stand, what they see of a wheel, and the settings that describe it.
//
// The space of a side of the track, in mm: X in the direction of travel from the middle of the post, Y
// outwards from the middle of the track, Z upwards from the top of the rail. Both sides count Y outwards, so
// that the flange back has the smallest Y on either of them.

#include "simulator/wheel_shape.h"

#include <QtCore/QByteArray>

#include <cstddef>
#include <vector>

namespace Simulator {

/// One scanner. Its profile point (x, y) lies at origin + x e + y d: for a section scanner, which looks
/// upwards in a plane across the track, e = (0, cos tilt, -sin tilt), d = (0, sin tilt, cos tilt); for a face
/// scanner, which looks outwards in a level plane, e = (cos tilt, -sin tilt, 0), d = (sin tilt, cos tilt, 0).
///
/// A column of parallel rays has one x. In a fan all rays leave (0, 0), and a column has one x / y: its x of
/// the parallel rays at `fanRange`.
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
           low = 0;       ///< wheel band: Z of a section scanner, range square to the track of a face scanner
    double fanRange = 0;  ///< 0: parallel rays
    double camera = 0;    ///< x of the camera of a section scanner; 0: it sees all that is lit
    double zero = 0;      ///< range that profiles count as 0
    double searchSlope = 0;   ///< slope in the profile of the inner edge of the defect search
    bool isMirrored = false;  ///< it stores -x in place of x, points in the opposite order

    /// Slope and intercept in the profile of the line that is `level` in the sense of `high` and `low`.
    double slope() const;
    double intercept(double level) const;
    double x(int column, double range) const;
    double column(double x, double range) const;  ///< the inverse
};

/// How the scanners look, and from where they count ranges.
struct PostView {
    bool isFan = false;           ///< the rays of a laser leave one point; section scanners then stand inside
    double camera = 0;            ///< Scanner::camera
    bool isZeroInMiddle = false;  ///< ranges count from the middle of the measuring range
    bool isMirrored[2] = {false, false};  ///< Scanner::isMirrored of all scanners of the left, right side
};

/// The eight scanners: SENSOR1 and 2 see the backs of the left and right wheels, SENSOR3 to 5 sections of the
/// left wheel at X = -200, 0, 200, SENSOR11 to 13 those of the right one.
std::vector<Scanner> measuringPost(const PostView& view = {});

/// The settings of the post as an INI file: serial numbers, wheel bands, filters, calibration, rules, defect
/// search. The noise filters stand reflections where there are some.
QByteArray postSettings(const std::vector<Scanner>& post, bool hasGlints = false);

/// A wheel in view, worked out once for all its profiles. Its back is plane up to where the rounding of the
/// flange begins.
struct Wheel {
    Wheel(const WheelShape& shape, double back, bool endsAtPlaneBack = false);

    double lateralOfBack(double radius) const;  ///< on the side of the back; NaN beyond the wheel

    WheelShape shape;
    double back;           ///< Y of the flange back
    bool endsAtPlaneBack;  ///< face scanners do not see the rounding
    double axisZ;
    double tipRadius;                     ///< largest radius without defects
    std::size_t tip;                      ///< where it is
    std::vector<double> laterals, radii;  ///< the section without defects
};

/// Ranges of the scanner's columns, NaN where it sees no wheel, with the wheel's axis at this X. False,
/// `ranges` left alone, when no part of the wheel is in view.
bool seeWheel(const Scanner& scanner, const Wheel& wheel, double axisX, std::vector<double>& ranges);

}  // namespace Simulator

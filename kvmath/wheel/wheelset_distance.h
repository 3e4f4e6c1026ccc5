#pragma once
// The distance between the two wheels of a wheelset, from one scanner on either side of the track; mm.

#include <kvmath/core/line.h>
#include <kvmath/profile/profile.h>

#include <QtCore/QString>

class QSettings;

namespace KvMath {

/// Distance of the two wheel faces: calibDistance, that of the two reference lines, plus the offset of each
/// profile's line from its reference line, square to the reference line. A profile's line is fitted
/// (calcLine) to its first size / 2 points; both profiles are cut down to these. Only its intercept counts,
/// its slope does deliberately not: (bA - bRA) |cos atan kRA| + calibDistance + (bB - bRB) |cos atan kRB|, in
/// double, narrowed once. A half of fewer than 2 points: NaN. Both may be one object.
KVMATH_EXPORT float ORBIS_calcWheelsDist(KvProfile& profileA, KvProfile& profileB, KvLine refA, KvLine refB,
                                         float calibDistance);

/// The distances of wheelsets 1 ... wheelCount of a pass, to distances[0 ... wheelCount - 1], from the wheel
/// files that ORBIS_detectWheels made of the two recordings. The serial of a recording's name selects the
/// group G, SENSOR1 or SENSOR2, whose "SN" it equals: reference line "G/k2", "G/b2", high level line
/// "G/level_k", "G/level_b" (all 0 by default), and "calibrLines2" for both.
///
/// Of each wheel the profile after the one with most points is taken, cut with the level line, the first if
/// the first has most: deliberately so; where the last has most there is none after it, and the distance is
/// NaN.
///
/// False, with the distances so far in place: null settings or distances, an unknown serial, no directory, a
/// wheel without first file or without points below the level line. wheelCount < 1: true, nothing written.
KVMATH_EXPORT bool ORBIS_calcWheelsDistInTrain(QString recordingA, QString recordingB, int wheelCount,
                                               QSettings* settings, float* const distances);

/// The distances of wheelsets firstWheel ... firstWheel + wheelCount - 1, as the form from wheelset 1 on, to
/// distances[0 ... wheelCount - 1]: after a wheel that one scanner missed the work can go on. False also for
/// a firstWheel below 1 or a last wheel that is no int.
KVMATH_EXPORT bool ORBIS_calcWheelsDistInTrain(QString recordingA, QString recordingB, int firstWheel,
                                               int wheelCount, QSettings* settings, float* const distances);

}  // namespace KvMath

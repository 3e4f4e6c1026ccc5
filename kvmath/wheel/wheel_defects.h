#pragma once
// Flats and breakouts: wheel profiles that leave a smooth curve.

#include <kvmath/profile/profile.h>

#include <QtCore/QString>

class QSettings;

namespace KvMath {

/// True when the profile has NO defect: at most maxOutliers of its points lie more than maxDeviation mm above
/// or below the polynomial of `degree` through them (KvProfile::polynomFit, on a copy). A negative degree
/// fits nothing, so that no point deviates.
KVMATH_EXPORT bool ORBIS_detectWheelDefect(const KvProfile& profile, float maxDeviation, int maxOutliers,
                                           int degree);

/// Tests the files that ORBIS_detectWheels made of a recording: those of wheel w = 0 ... wheelCount - 1 are
/// w_00 if it exists, then w_01, w_02, ... while they exist. Each is cut with the level lines of its scanner
/// ("SENSOR<i>/level_k" -0.4, "level_b" 187, "lowLevel_k" -0.4, "lowLevel_b" 67; mind the capital L) and
/// tested as ORBIS_detectWheelDefect(profile, polynomDegree, int(maxDeviation), pointsHigher), deliberately
/// in this order. Settings "polynomDegree" 20, "maxDeviation" 0.3, "pointsHigher" 5, "minimalDefectsProf" 1
/// are looked up in the scanner's group, then without group. More than minimalDefectsProf defective profiles:
/// the wheel's flag becomes 0, in flags2 for a scanner above 10, else in flags1; no other flag is touched.
/// The arrays belong to the caller and hold wheelCount flags; the one of another scanner group may be null.
///
/// False: null settings or needed flags, a serial that is not configured, no directory of wheel files.
KVMATH_EXPORT bool ORBIS_detectDefectsInTrain(QString fileName, QSettings* settings, unsigned char* flags1,
                                              unsigned char* flags2, int wheelCount);

}  // namespace KvMath

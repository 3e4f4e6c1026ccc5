#pragma once
// Flats and out-of-roundness of a wheel from radii round its circumference.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/plane_geometry.h>

#include <QtCore/QStringList>

#include <limits>
#include <vector>

namespace KvMeasure {

/// How a circumference is evaluated.
struct CircumferenceOptions {
    double cutoff = 5;        ///< > 0; of the Gaussian filter (ISO 16610-21), mm of circumference
    int orders = 20;          ///< 1 to 500; harmonics per turn
    double leastDepth = 0.1;  ///< > 0; of a flat, mm
};

/// A wave round the wheel.
struct WheelHarmonic {
    int order = 0;         ///< waves per turn
    double amplitude = 0;  ///< half from trough to crest, mm
    double angle = 0;      ///< of the first crest, degrees, 0 to 360 / order
    double level = 0;      ///< of its root mean square, dB above 1 micrometre
};

/// A place where the wheel is worn flat.
struct WheelFlat {
    double angle = 0;         ///< of its middle, degrees
    double from = 0;          ///< where it begins, degrees; above `to` where it holds angle 0
    double to = 0;            ///< where it ends, degrees
    double depth = 0;         ///< below the wheel without flats, mm; NaN: not known
    double length = 0;        ///< of the chord, mm; NaN: not known
    double depthOfChord = 0;  ///< R - sqrt(R^2 - length^2 / 4), mm: that of a fresh flat of this length
    QString reason;           ///< why depth and length are not known; empty: they are
    QString note;             ///< how it differs from a fresh flat; empty: it does not
};

/// What radii round a wheel tell.
struct KVMEASURE_EXPORT Circumference {
    /// Of the mean circle, mm; NaN: not known.
    double meanRadius = std::numeric_limits<double>::quiet_NaN();
    /// Of the mean circle from the centre of the angles: how far off the wheel was clamped, mm.
    double eccentricity = std::numeric_limits<double>::quiet_NaN();
    double eccentricityAngle = std::numeric_limits<double>::quiet_NaN();  ///< towards it, degrees
    /// Largest less smallest filtered radius about the centre of the mean circle, mm.
    double outOfRoundness = std::numeric_limits<double>::quiet_NaN();
    /// Root mean square of the filtered deviations from the mean circle, mm.
    double deviation = std::numeric_limits<double>::quiet_NaN();
    double level = std::numeric_limits<double>::quiet_NaN();  ///< the same, dB above 1 micrometre
    double seen = 0;                                          ///< degrees of the circumference with points
    std::vector<WheelHarmonic> harmonics;                     ///< from order 1, the eccentricity, on
    std::vector<WheelFlat> flats;                             ///< the deepest first
    std::vector<Vector>
        deviations;           ///< angle, degrees; filtered radius less mean circle, mm; NaN between gaps
    QString reason;           ///< why nothing is known; empty: something is
    QString roundnessReason;  ///< why radius, eccentricity, out-of-roundness and harmonics are not known
    QString flatsReason;      ///< why no flats were looked for
    QStringList notes;        ///< what is to be known of the points
};

/// Evaluates points of angle (degrees, any turn, any order) and radius (mm). Points that are not finite are
/// left out. Nothing, with a reason: fewer than 36 points, a mean radius that is none of a wheel (125 to
/// 1,300 mm), angles in radians or turns, several radii at one angle. Less than a turn (a gap above 10
/// degrees): flats alone. Throws Error for options out of their ranges, and where the filter needs too many
/// products.
KVMEASURE_EXPORT Circumference evaluateCircumference(const std::vector<Vector>& points,
                                                     const CircumferenceOptions& options);

}  // namespace KvMeasure

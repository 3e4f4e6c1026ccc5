#pragma once
// Where a wheelset touches its rails, and the difference of the rolling radii that follows.

#include <kvmeasure/base/global.h>
#include <kvmeasure/wheels/contact_profile.h>
#include <kvmeasure/wheels/post.h>

#include <QtCore/QStringList>

#include <vector>

namespace KvMeasure {

/// A wheelset over a track. Lateral positions of each section grow from the middle of the track outwards, on
/// both sides: those of a wheel count from its running circle, those of a rail from a point whose distance
/// from the middle of the track is given. By Side.
struct KVMEASURE_EXPORT WheelsetOnTrack {
    ContactProfile wheels[2];  ///< by Side; heights grow away from the axle: the flange tip is highest
    ContactProfile rails[2];   ///< by Side; heights grow upwards; their zero does not matter
    double diameters[2] = {920, 920};    ///< at the running circle, mm, > 0
    double backToBack = 1360;            ///< distance of the flange backs, mm, > 0
    double runningCircle = 70;           ///< distance of the running circle from the flange back, mm
    double railOrigins[2] = {750, 750};  ///< of x = 0 of a rail from the middle of the track, mm, > 0
};

/// The lateral position of a rail's gauge face: the innermost one that is at most `depth` below the top, mm.
/// Where the section ends higher up, its end. The profile must have points.
KVMEASURE_EXPORT double gaugeFace(const ContactProfile& rail, double depth = 14);

/// Which lateral shifts of the wheelset are looked at.
struct ShiftSettings {
    double largest = 10;   ///< to both sides, mm; the step to 50
    double step = 0.1;     ///< between them, mm, >= 0.01
    double widestGap = 5;  ///< contact between points farther apart is none, mm
};

/// Where a wheel touches its rail.
struct Contact {
    double wheel = 0;   ///< lateral position on the wheel, from its running circle, mm
    double rail = 0;    ///< lateral position on the rail, in the rail's frame, mm
    double radius = 0;  ///< rolling radius, mm
};

/// The contact leaps from one place of a wheel to another: at this shift it touches at both.
struct ContactLeap {
    double shift = 0;  ///< in the middle of the step in which it leaps, mm
    Side side = Left;  ///< the wheel that it leaps on
    double from = 0;   ///< lateral position on the wheel at the lesser shift, mm
    double to = 0;     ///< at the greater shift, mm
};

/// Rolling radius difference over the lateral shift of a wheelset, positive to the right.
struct KVMEASURE_EXPORT RollingRadii {
    std::vector<double> shifts;        ///< ascending, mm; equally spaced, with 0 among them
    std::vector<double> differences;   ///< rolling radius of the right wheel less that of the left, mm
    std::vector<Contact> contacts[2];  ///< by Side, for each shift
    std::vector<ContactLeap> leaps;    ///< in ascending order of shift, by more than 1 mm
    QStringList notes;                 ///< why the shifts end before the largest
    QString reason;                    ///< why there is no shift; empty where there is one
};

/// The contact of a rigid wheelset that does not roll about the track, for shifts to both sides up to the
/// largest or to where a contact reaches the end of a section's points, or lies in a gap of them. Both rails
/// are touched where the vertical gap to the wheel is least. The sections must have points.
///
/// (1) Exchanging left and right changes the signs of shifts and differences. (2) Heights of a rail may be
/// counted from anywhere. Throws Error for settings out of their range.
KVMEASURE_EXPORT RollingRadii rollingRadii(const WheelsetOnTrack& wheelset, const ShiftSettings& settings);

}  // namespace KvMeasure

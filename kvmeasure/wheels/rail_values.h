#pragma once
// The values of a rail's section: the form of its head, and its wear against a nominal rail.

#include <kvmeasure/base/global.h>
#include <kvmeasure/wheels/gauge_section.h>
#include <kvmeasure/wheels/gauge_values.h>

#include <cmath>

namespace KvMeasure {

/// The side of a head that the flanges touch, as x grows to the right.
enum class GaugeSide { Unknown, Left, Right };

/// Where a rail is measured, mm and degrees.
struct RailPlaces {
    double sideDepth = 14;                ///< > 0: of W2 and of the head width, below the top
    double cornerAngle = 45;              ///< 0 to 90: of W3, inclination of the head where it is measured
    double crownWidth = 16;               ///< > 0: of the part of the head that the crown radius is fitted to
    GaugeSide side = GaugeSide::Unknown;  ///< Unknown: the one with the larger W2
};

/// Where wear was measured, for a picture, mm; NaN: nowhere.
struct WearMark {
    Vector nominal{std::nan(""), std::nan("")};  ///< a point of the nominal section
    Vector worn{std::nan(""), std::nan("")};     ///< the point of the worn one
};

/// What is measured of a rail.
struct KVMEASURE_EXPORT RailValues {
    std::vector<SectionValue> values;     ///< in the order of railValues
    GaugeSide side = GaugeSide::Unknown;  ///< that W2 and W3 belong to
    bool isMirrored = false;              ///< the worn rail was mirrored to fit the nominal one
    std::vector<Vector> worn;             ///< its points in the frame of the nominal rail
    WearMark w1;                          ///< where W1 was measured
    WearMark w2;                          ///< where W2 was measured
    WearMark w3;                          ///< where W3 was measured
    QStringList notes;                    ///< how sides and frames were taken
};

/// Measures a rail; `nominal` may be null. Without it, or where it is no rail, W1 to W3 and the area have a
/// reason.
///   headWidth    along x at sideDepth below the top of this rail
///   crownRadius  circle through crownWidth of the head about its middle
///   inclination  of the axis of the head against the upright, degrees, positive to the right: the middle of
///   the
///       directions of both sides 16 to 26 mm below the top, where these are straight within 0.1 mm
///   W1  height wear: how far this rail lies below the nominal one, in the middle of the nominal head
///   W2  side wear: how far its gauge face lies inside the nominal one, along x at sideDepth below the top of
///       the nominal rail
///   W3  corner wear, square to the nominal head from where that falls by cornerAngle
///   areaLost  between the nominal head and this one, above sideDepth below the nominal top, mm2
/// Wear is positive where material is missing. Both files are in one frame, as gauges store them: nothing is
/// fitted. A rail that does not fit as it is, and does when mirrored in x, is mirrored, with a note. A value
/// that the section does not show has a reason: gaps of more than 5 mm, one side not seen, no rail.
KVMEASURE_EXPORT RailValues railValues(const RailSection& rail, const RailSection* nominal,
                                       const RailPlaces& places = {});

}  // namespace KvMeasure

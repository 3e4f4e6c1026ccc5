#pragma once
// The gauge of a track from the sections of both rails.

#include <kvmeasure/base/global.h>
#include <kvmeasure/wheels/gauge_section.h>
#include <kvmeasure/wheels/gauge_values.h>

#include <cmath>

namespace KvMeasure {

/// How the gauge is measured.
struct TrackGaugeOptions {
    double depth = 14;     ///< mm below the running surface, > 0
    bool isLevel = false;  ///< each file has heights of its own: both tops count as equally high
};

/// The gauge, and where it was measured.
struct KVMEASURE_EXPORT TrackGauge {
    SectionValue gauge;                                       ///< "gauge", mm
    Vector leftFace{std::nan(""), std::nan("")};              ///< of the left rail, in the frame of the rails
    Vector rightFace{std::nan(""), std::nan("")};             ///< of the right one
    double slope = std::numeric_limits<double>::quiet_NaN();  ///< of the running surface; with isLevel 0
};

/// The least distance of the gauge faces from the running surface down to `depth` below it, along the running
/// surface (EN 13848-1). That is the line that touches both heads from above. Points of both rails are in one
/// frame, x growing across the track to the right.
/// Invariant under shifts and turns of this frame, and under mirroring with left and right exchanged.
/// No value, with a reason: one is no rail; the left head does not stand to the left of the right one; the
/// gauge side of a head is not seen down to the depth or lies in a gap of more than 5 mm; its top is not
/// seen, because the section ends where it still rises; heads nearer than 300 mm or farther than 3,000 mm, or
/// put upright in different ways (unless isLevel), which have no common frame. Throws Error with parameter()
/// "depth".
KVMEASURE_EXPORT TrackGauge trackGauge(const RailSection& left, const RailSection& right,
                                       const TrackGaugeOptions& options = {});

/// Sets the uncertainty of the gauge: what the noise of the points and their distance make of it. Errors of
/// the frame, such as a wrong place of the rails, are not in it.
KVMEASURE_EXPORT void addUncertainty(const RailSection& left, const RailSection& right,
                                     const TrackGaugeOptions& options, TrackGauge& gauge);

/// A rail of a file that has its own frame, x growing to the field side from `origin` mm beside the middle of
/// the track: the same in the frame of the track.
KVMEASURE_EXPORT RailSection placedRail(const RailSection& rail, double origin, bool isLeft);

/// The two rails of a section of the whole track, parted where no point lies for at least 200 mm across.
/// Both without points where there is no such place.
KVMEASURE_EXPORT std::pair<GaugeProfile, GaugeProfile> partedRails(const GaugeProfile& track);

}  // namespace KvMeasure

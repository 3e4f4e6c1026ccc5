#pragma once
// The distance from back to back of a wheelset at one moment.

#include <kvmath/core/line.h>
#include <kvmath/profile/profile.h>
#include <kvmeasure/wheels/standard_uncertainty.h>

namespace KvMeasure {

/// What a face scanner sees of a flange back, and where it stands.
struct BackView {
    KvMath::KvProfile profile;
    KvMath::KvLine reference, level;
};

struct BackDistance {
    float distance;                   ///< NaN: not known
    double bends[2];                  ///< of the line on each back, mm; 0: within the noise
    StandardUncertainty uncertainty;  ///< from the noise of both lines
};

/// ORBIS_calcWheelsDist of the parts below the level lines.
BackDistance backDistance(BackView left, BackView right, float referenceDistance);

}  // namespace KvMeasure

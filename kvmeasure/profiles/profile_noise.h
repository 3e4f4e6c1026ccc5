#pragma once
// The noise of a profile of which nothing else is known.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/plane_geometry.h>
#include <kvmeasure/profiles/residual_noise.h>

namespace KvMeasure {

/// The noise of points in scan order, all finite, about the straight pieces of their profile, as the line
/// search finds them with estimated parameters; on a curved surface, where these are chords, about parabolas
/// through runs of 60 points. Not known, with a reason, where fewer than 24 points lie on straight pieces and
/// there is no run of 60.
KVMEASURE_EXPORT NoiseModel profileNoise(const std::vector<Vector>& points);

}  // namespace KvMeasure

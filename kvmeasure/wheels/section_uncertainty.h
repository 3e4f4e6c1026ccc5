#pragma once
// Uncertainties of the values of sections that gauges recorded.

#include <kvmeasure/base/global.h>
#include <kvmeasure/wheels/gauge_values.h>
#include <kvmeasure/wheels/rail_values.h>
#include <kvmeasure/wheels/wheel_wear.h>

namespace KvMeasure {

/// Sets the uncertainty of each value of a section, which are gaugeValues at these places and, where there is
/// a nominal section, those of wheelWear after them: what the noise of its points, taken from what parabolas
/// over 2 mm leave of them, and the point distance make of it, square to the surface and with their
/// correlation, by 100 simulated measurements. The same section gives the same figures. Where the flange back
/// was seen in the section, its place scatters, too; where it was given or stated, it counts as exact. Errors
/// that the whole section shares, such as a tilt, are not in it.
/// Not known, with a reason: a missing value, points too few for their noise (fewer than 40), a value that is
/// missing in more than half of the simulated measurements.
KVMEASURE_EXPORT void addUncertainties(const WheelSection& section, const WheelSection* nominal,
                                       WearAlignment alignment, const GaugePlaces& places,
                                       std::vector<SectionValue>& values);

/// The same of a rail whose values were measured with these; the nominal rail is exact.
KVMEASURE_EXPORT void addUncertainties(const RailSection& rail, const RailSection* nominal,
                                       const RailPlaces& places, RailValues& values);

}  // namespace KvMeasure

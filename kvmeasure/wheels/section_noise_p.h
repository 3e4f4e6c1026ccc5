#pragma once
// What the noise and the steps of its points do to the values of a wheel.

#include <kvmath/wheel/sensor_coord.h>
#include <kvmeasure/wheels/values.h>

namespace KvMeasure {

/// What a scanner saw of a wheel at the measured moment.
struct ScannedSection {
    KvMath::KvProfile profile;  ///< as recorded
    KvMath::_KvORBIS_SensorCoordROT_ rule;
};

/// Every uncertainty is missing, for this reason.
void refuseUncertainties(const QString& reason, const ValueOptions& options, WheelResult& wheel);

/// Sets wheel.uncertainties of a wheel whose section was measured with these options on the middle one of
/// three. Simulates noise, see the source; the same input gives the same figures.
void addUncertainties(const ScannedSection (&sections)[3], const ValueOptions& options,
                      const MeasuredSection& section, WheelResult& wheel);

}  // namespace KvMeasure

#pragma once
// Uncertainty that no profile shows and that the plan states: of the calibration, of a reference.

#include <QtCore/QMap>
#include <QtCore/QString>

namespace KvMeasure {

/// Standard uncertainties (k = 1) that are added to those from the noise of the profile, in quadrature.
struct StatedUncertainty {
    QMap<QString, double> ofUnit;   ///< by the unit of the value, "mm", "deg" or "mm2"; >= 0, in that unit
    QMap<QString, double> ofValue;  ///< by the name of the value; counts in place of its unit's

    bool isEmpty() const { return ofUnit.isEmpty() && ofValue.isEmpty(); }  ///< nothing is stated
    /// That of a value; 0: none is stated.
    double of(const QString& name, const QString& unit) const {
        return ofValue.value(name, ofUnit.value(unit, 0));
    }
};

}  // namespace KvMeasure

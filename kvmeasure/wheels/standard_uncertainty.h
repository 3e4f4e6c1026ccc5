#pragma once
// The standard uncertainty of a value, or why there is none.

#include <QtCore/QString>

#include <cmath>
#include <limits>

namespace KvMeasure {

/// What the noise and the steps of the points do to a value, and what is stated of the calibration.
struct StandardUncertainty {
    double u = std::numeric_limits<double>::quiet_NaN();  ///< k = 1, in the unit of the value; NaN: not known
    QString reason;                                       ///< why it is not known; empty: it is

    bool isKnown() const { return std::isfinite(u); }  ///< u is a number
    double expanded() const { return 2 * u; }          ///< U, k = 2
};

}  // namespace KvMeasure

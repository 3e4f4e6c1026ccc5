#pragma once
// A run chart of single values with control limits and rules.

#include <kvmeasure/base/global.h>

#include <QtCore/QString>

#include <limits>
#include <vector>

namespace KvMeasure {

/// What a rule finds: values that are unlikely by chance.
struct ChartSignal {
    int index = 0;  ///< of the last value that makes it
    QString rule;   ///< in words
};

/// Limits of a run chart, and what breaks its rules.
struct KVMEASURE_EXPORT ControlChart {
    double centre = std::numeric_limits<double>::quiet_NaN();  ///< mean
    /// Centre less and plus 3 standard deviations, which the moving ranges give.
    double lower = std::numeric_limits<double>::quiet_NaN();
    double upper = std::numeric_limits<double>::quiet_NaN();  ///< see `lower`
    std::vector<ChartSignal> findings;                        ///< in order of index
};

/// The chart of values in the order of their making. Rules: a value beyond 3 standard deviations; 9 in a row
/// on one side of the centre; 6 in a row that rise or fall; 2 of 3 beyond 2 standard deviations on one side.
/// Fewer than two values, or equal ones: no limits and no signals.
KVMEASURE_EXPORT ControlChart controlChart(const std::vector<double>& values);

}  // namespace KvMeasure

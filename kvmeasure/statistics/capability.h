#pragma once
// Capability of a process, and of a gauge against a reference.

#include <kvmeasure/statistics/sample.h>

#include <QtCore/QString>

#include <limits>
#include <vector>

namespace KvMeasure {

/// Limits of a characteristic; infinite where there is none.
struct Limits {
    double lower = -std::numeric_limits<double>::infinity();  ///< a value on it is good
    double upper = std::numeric_limits<double>::infinity();   ///< likewise
};

/// A figure with the limits within which the true one lies with 95 %.
struct Estimate {
    double value = std::numeric_limits<double>::quiet_NaN();  ///< NaN: it does not exist
    double low = std::numeric_limits<double>::quiet_NaN();    ///< 2.5 % of the true ones lie below
    double high = std::numeric_limits<double>::quiet_NaN();   ///< 2.5 % lie above
};

/// Capability by the deviation within, overall, and by percentiles.
struct KVMEASURE_EXPORT Capability {
    double deviationWithin =
        std::numeric_limits<double>::quiet_NaN();  ///< mean range of subgroups divided by d2
    double deviationOverall = std::numeric_limits<double>::quiet_NaN();  ///< of all values, with n - 1
    double cp = std::numeric_limits<double>::quiet_NaN();                ///< (U - L) / 6 deviationWithin
    double cpk = std::numeric_limits<double>::quiet_NaN();               ///< of the nearer limit
    Estimate pp;                                                         ///< the same with deviationOverall
    Estimate ppk;                                                        ///< of the nearer limit
    double ppByPercentiles = std::numeric_limits<double>::quiet_NaN();   ///< ISO 22514-2: (U - L) over the
                                                                         ///< distance of 0.135 % and 99.865 %
    double ppkByPercentiles =
        std::numeric_limits<double>::quiet_NaN();                    ///< of the nearer limit, from the median
    double shareOutside = std::numeric_limits<double>::quiet_NaN();  ///< expected of a normal distribution
    int outside = 0;                                                 ///< values that are
    QString reason;             ///< why cp and pp do not exist; empty where they do, or without limits
    QString percentilesReason;  ///< likewise of the percentiles
};

/// The capability of values in the order of their making. Ranges are those of `subgroup` values each, one
/// after the other (an incomplete last one is left out); with 1 the moving ranges of neighbours. One limit
/// alone: cpk and ppk. The percentiles need 1000 values: fewer have none beyond 0.135 %.
KVMEASURE_EXPORT Capability capability(const std::vector<double>& values, const Limits& limits,
                                       int subgroup = 1);

/// Capability of a gauge by repeated readings of a reference.
struct GaugeCapability {
    double bias = std::numeric_limits<double>::quiet_NaN();  ///< mean - reference
    double cg = std::numeric_limits<double>::quiet_NaN();    ///< 0.2 T / 6 s
    double cgk = std::numeric_limits<double>::quiet_NaN();   ///< (0.1 T - |bias|) / 3 s
    double t = std::numeric_limits<double>::quiet_NaN();     ///< bias in standard deviations of the mean
    bool isBiased = false;  ///< |t| is beyond the 95 % of Student's distribution
    QString reason;         ///< why they do not exist; empty where they do
};

/// The readings are of one reference with this value; T is the distance of both limits.
KVMEASURE_EXPORT GaugeCapability gaugeCapability(const std::vector<double>& readings, double reference,
                                                 const Limits& limits);

}  // namespace KvMeasure

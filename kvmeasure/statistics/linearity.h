#pragma once
// Bias and linearity of a gauge: readings of parts whose values are known.

#include <kvmeasure/base/global.h>
#include <kvmeasure/statistics/capability.h>

#include <QtCore/QString>

#include <limits>
#include <vector>

namespace KvMeasure {

/// A reading of a part of known value.
struct ReferenceReading {
    double reference = 0;  ///< what it is
    double value = 0;      ///< what was read
};

/// The bias at one reference: mean of value - reference.
struct KVMEASURE_EXPORT BiasOfReference {
    double reference = 0;  ///< of the part
    int count = 0;         ///< readings
    Estimate bias;         ///< with 95 % limits; these are NaN below two readings
    /// Standard deviation of its readings; NaN below two.
    double deviation = std::numeric_limits<double>::quiet_NaN();
    double probability = std::numeric_limits<double>::quiet_NaN();  ///< of a greater one without bias, by
                                                                    ///< Student's distribution; NaN: no test
    bool isBiased() const { return probability < 0.05; }            ///< beyond chance
};

/// The bias of one reference; NaN without readings.
KVMEASURE_EXPORT BiasOfReference biasOf(double reference, const std::vector<double>& readings);

/// bias = slope reference + intercept, by least squares over all readings.
struct KVMEASURE_EXPORT Linearity {
    int count = 0;                                               ///< readings
    std::vector<BiasOfReference> references;                     ///< in ascending order
    double meanBias = std::numeric_limits<double>::quiet_NaN();  ///< of all readings
    Estimate slope;                                              ///< with 95 % limits
    Estimate intercept;                                          ///< likewise: the bias at reference 0
    double slopeProbability = std::numeric_limits<double>::quiet_NaN();  ///< of a greater one of a gauge
                                                                         ///< whose bias is everywhere equal
    double interceptProbability = std::numeric_limits<double>::quiet_NaN();  ///< likewise
    /// Standard deviation of the readings about the line.
    double deviation = std::numeric_limits<double>::quiet_NaN();
    double rSquared = std::numeric_limits<double>::quiet_NaN();    ///< share of the line in the scatter
    double curvatureF = std::numeric_limits<double>::quiet_NaN();  ///< lack of fit: mean square of the biases
                                                                   ///< about the line over that of readings
    double curvatureProbability = std::numeric_limits<double>::quiet_NaN();  ///< of a greater one of a
                                                                             ///< straight bias; NaN: no test
    QString reason;           ///< why there is no line; empty where there is
    QString curvatureReason;  ///< why there is no test of straightness; empty where there is
    /// The slope is within chance.
    bool isLinear() const { return !(slopeProbability < 0.05); }
};

/// Evaluates a study; references may be read differently often. No line, with a reason: fewer than two
/// references or three readings, all readings on the line exactly (its limits are then of no width, and the
/// probabilities NaN).
KVMEASURE_EXPORT Linearity linearity(const std::vector<ReferenceReading>& readings);

}  // namespace KvMeasure

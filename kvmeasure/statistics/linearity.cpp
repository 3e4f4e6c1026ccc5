// A straight line through the biases over the references, with the tests of AIAG, Measurement Systems
// Analysis, 4th edition, 2010: slope and intercept against 0 by Student's distribution. Readings of one
// reference tell their scatter without any line, so that a bent bias shows as lack of fit. Sums are of
// differences from the mean reference, in long double.

#include <kvmeasure/statistics/linearity.h>

#include <kvmeasure/statistics/centred_sums_p.h>
#include <kvmeasure/statistics/distributions.h>

#include <cmath>
#include <map>

namespace KvMeasure {

using Internal::Real;

namespace {

constexpr double kConfidence = 0.975;  // below the upper of two limits of 95 %

/// Two-sided, of a t of so many degrees of freedom.
double probabilityOf(double t, double freedom) { return fShareAbove(t * t, 1, freedom); }

Estimate estimate(double value, double u, double freedom) {
    const double reach = studentQuantile(kConfidence, freedom) * u;
    return {value, value - reach, value + reach};
}

}  // namespace

BiasOfReference biasOf(double reference, const std::vector<double>& readings) {
    BiasOfReference result;
    result.reference = reference;
    result.count = static_cast<int>(readings.size());
    if (readings.empty())
        return result;
    const Internal::CentredSums sums = Internal::centredSums(readings, reference);
    result.bias.value = double(sums.offset);
    if (readings.size() < 2)
        return result;
    const auto count = static_cast<double>(readings.size());
    result.deviation = double(std::sqrt(sums.squares / (static_cast<Real>(readings.size()) - 1)));
    const double u = result.deviation / std::sqrt(count);
    result.bias = estimate(result.bias.value, u, count - 1);
    if (u > 0)
        result.probability = probabilityOf(result.bias.value / u, count - 1);
    return result;
}

namespace {

/// Sums over all readings, references relative to their mean.
struct LineSums {
    Real mean = 0, meanBias = 0;
    Real xx = 0, xy = 0, yy = 0;
    Real pure = 0;  ///< squares of the readings about the mean of their reference
};

LineSums sumsOf(const std::vector<ReferenceReading>& readings,
                const std::map<double, std::vector<double>>& groups) {
    LineSums sums;
    const auto count = static_cast<Real>(readings.size());
    const double base = readings.front().reference;
    for (const ReferenceReading& reading : readings) {
        sums.mean += Real(reading.reference) - base;
        sums.meanBias += Real(reading.value) - reading.reference;
    }
    sums.mean /= count;
    sums.meanBias /= count;
    for (const ReferenceReading& reading : readings) {
        const Real x = (Real(reading.reference) - base) - sums.mean;
        const Real y = (Real(reading.value) - reading.reference) - sums.meanBias;
        sums.xx += x * x;
        sums.xy += x * y;
        sums.yy += y * y;
    }
    sums.mean += base;
    for (const auto& [reference, values] : groups)
        sums.pure += Internal::centredSums(values, reference).squares;
    return sums;
}

/// Biases about the line beside readings about their means.
void testCurvature(const LineSums& sums, Real residual, Linearity& result) {
    const auto groups = static_cast<int>(result.references.size());
    const int above = groups - 2, below = result.count - groups;
    if (above < 1)
        result.curvatureReason = "two references: any bias of them is straight";
    else if (below < 1 || !(sums.pure > 0))
        result.curvatureReason =
            "no reference has readings that differ: nothing says how much chance bends the line";
    if (!result.curvatureReason.isEmpty())
        return;
    result.curvatureF = double(std::max(Real(0), residual - sums.pure) / above / (sums.pure / below));
    result.curvatureProbability = fShareAbove(result.curvatureF, above, below);
}

}  // namespace

Linearity linearity(const std::vector<ReferenceReading>& readings) {
    Linearity result;
    result.count = static_cast<int>(readings.size());
    std::map<double, std::vector<double>> groups;
    for (const ReferenceReading& reading : readings)
        groups[reading.reference].push_back(reading.value);
    for (const auto& [reference, values] : groups)
        result.references.push_back(biasOf(reference, values));
    if (groups.size() < 2 || readings.size() < 3) {
        result.reason = groups.size() == 1 ? "one reference alone: nothing says how the bias changes"
                                           : "fewer than three readings";
        result.curvatureReason = result.reason;
        if (!groups.empty() && groups.size() == 1)
            result.meanBias = result.references.front().bias.value;
        return result;
    }
    const LineSums sums = sumsOf(readings, groups);
    const Real slope = sums.xy / sums.xx;
    const Real residual = std::max(Real(0), sums.yy - slope * sums.xy);
    const double freedom = result.count - 2;
    result.meanBias = double(sums.meanBias);
    result.deviation = double(std::sqrt(residual / (result.count - 2)));
    const double uSlope = double(result.deviation / std::sqrt(sums.xx));
    const double uIntercept =
        double(result.deviation * std::sqrt(Real(1) / result.count + sums.mean * sums.mean / sums.xx));
    result.slope = estimate(double(slope), uSlope, freedom);
    result.intercept = estimate(double(sums.meanBias - slope * sums.mean), uIntercept, freedom);
    if (sums.yy > 0)
        result.rSquared = double(slope * sums.xy / sums.yy);
    if (result.deviation > 0) {
        result.slopeProbability = probabilityOf(result.slope.value / uSlope, freedom);
        result.interceptProbability = probabilityOf(result.intercept.value / uIntercept, freedom);
    }
    testCurvature(sums, residual, result);
    return result;
}

}  // namespace KvMeasure

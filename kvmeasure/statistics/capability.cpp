// Confidence limits: of Pp by the chi-square distribution of the variance, of Ppk by A. F. Bissell (Appl.
// Stat. 39 (1990) 331-340).

#include <kvmeasure/statistics/capability.h>

#include <kvmeasure/statistics/distributions.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kOutsideConfidence = 0.025;  // on either side of 95 %

/// Mean range over d2; NaN without a range.
double deviationOfRanges(const std::vector<double>& values, int subgroup) {
    const auto size = static_cast<std::size_t>(std::max(subgroup, 2));
    const std::size_t step = subgroup < 2 ? 1 : size;
    double sum = 0;
    int count = 0;
    for (std::size_t i = 0; i + size <= values.size(); i += step, ++count) {
        const auto first = values.begin() + static_cast<std::ptrdiff_t>(i);
        const auto ends = std::minmax_element(first, first + static_cast<std::ptrdiff_t>(size));
        sum += *ends.second - *ends.first;
    }
    return count == 0 ? std::nan("") : sum / count / meanRangeOfNormal(static_cast<int>(size));
}

double both(const Limits& limits, double deviation) {
    return (limits.upper - limits.lower) / (6 * deviation);
}

double nearer(const Limits& limits, double mean, double deviation) {
    return std::min(limits.upper - mean, mean - limits.lower) / (3 * deviation);
}

void addPercentiles(const std::vector<double>& values, const Limits& limits, Capability& result) {
    constexpr std::size_t kFewest = 1000;
    constexpr double kTail = 0.00135;
    if (values.size() < kFewest) {
        result.percentilesReason = "fewer than 1000 values say nothing of the outermost 0.135 %";
        return;
    }
    const double low = percentile(values, kTail), middle = percentile(values, 0.5),
                 high = percentile(values, 1 - kTail);
    if (!(low < middle && middle < high)) {
        result.percentilesReason = "the percentiles are equal";
        return;
    }
    if (std::isfinite(limits.upper - limits.lower))
        result.ppByPercentiles = (limits.upper - limits.lower) / (high - low);
    result.ppkByPercentiles =
        std::min((limits.upper - middle) / (high - middle), (middle - limits.lower) / (middle - low));
}

}  // namespace

Capability capability(const std::vector<double>& values, const Limits& limits, int subgroup) {
    Capability result;
    const SampleSummary summary = summarize(values);
    result.deviationOverall = summary.standardDeviation;
    result.deviationWithin = deviationOfRanges(values, subgroup);
    for (const double value : values)
        result.outside += value < limits.lower || value > limits.upper ? 1 : 0;
    const bool hasBoth = std::isfinite(limits.lower) && std::isfinite(limits.upper);
    if (!std::isfinite(limits.lower) && !std::isfinite(limits.upper))
        return result;
    if (values.size() < 2)
        result.reason = "fewer than two values have no deviation";
    else if (!(summary.standardDeviation > 0))
        result.reason = "all values are equal: the deviation is 0";
    if (!result.reason.isEmpty())
        return result;
    const double s = result.deviationOverall;
    const auto freedom = static_cast<double>(values.size()) - 1;
    if (result.deviationWithin > 0) {
        result.cp = hasBoth ? both(limits, result.deviationWithin) : std::nan("");
        result.cpk = nearer(limits, summary.mean, result.deviationWithin);
    }
    if (hasBoth)
        result.pp = {both(limits, s),
                     both(limits, s) * std::sqrt(chiSquareQuantile(kOutsideConfidence, freedom) / freedom),
                     both(limits, s) *
                         std::sqrt(chiSquareQuantile(1 - kOutsideConfidence, freedom) / freedom)};
    const double ppk = nearer(limits, summary.mean, s);
    const double scatter =
        -normalQuantile(kOutsideConfidence) * std::sqrt(1 / (9 * (freedom + 1)) + ppk * ppk / (2 * freedom));
    result.ppk = {ppk, ppk - scatter, ppk + scatter};
    result.shareOutside = normalShareBelow((limits.lower - summary.mean) / s) +
                          normalShareBelow((summary.mean - limits.upper) / s);
    addPercentiles(values, limits, result);
    return result;
}

GaugeCapability gaugeCapability(const std::vector<double>& readings, double reference, const Limits& limits) {
    GaugeCapability result;
    const SampleSummary summary = summarize(readings);
    result.bias = summary.mean - reference;
    const double tolerance = limits.upper - limits.lower;
    if (!std::isfinite(tolerance))
        result.reason = "Cg needs both limits";
    else if (readings.size() < 2)
        result.reason = "fewer than two readings have no deviation";
    else if (!(summary.standardDeviation > 0))
        result.reason = "all readings are equal: the gauge does not resolve their deviation";
    if (!result.reason.isEmpty())
        return result;
    const double s = summary.standardDeviation;
    result.cg = 0.2 * tolerance / (6 * s);
    result.cgk = (0.1 * tolerance - std::fabs(result.bias)) / (3 * s);
    result.t = result.bias / (s / std::sqrt(static_cast<double>(readings.size())));
    result.isBiased = std::fabs(result.t) >
                      studentQuantile(1 - kOutsideConfidence, static_cast<double>(readings.size()) - 1);
    return result;
}

}  // namespace KvMeasure

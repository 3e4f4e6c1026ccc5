#include <kvmeasure/statistics/sample.h>

#include <kvmeasure/statistics/centred_sums_p.h>
#include <kvmeasure/statistics/distributions.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

using Internal::Real;

SampleSummary summarize(const std::vector<double>& values) {
    SampleSummary result;
    result.count = static_cast<int>(values.size());
    if (values.empty())
        return result;
    const Internal::CentredSums sums = Internal::centredSums(values, values.front());
    result.mean = double(values.front() + sums.offset);
    const auto ends = std::minmax_element(values.begin(), values.end());
    result.minimum = *ends.first;
    result.maximum = *ends.second;
    result.median = percentile(values, 0.5);
    if (values.size() < 2)
        return result;
    result.standardDeviation = double(std::sqrt(sums.squares / (static_cast<Real>(values.size()) - 1)));
    Real products = 0;
    const auto off = [&](double value) { return (Real(value) - values.front()) - sums.offset; };
    for (std::size_t i = 1; i < values.size(); ++i)
        products += off(values[i]) * off(values[i - 1]);
    if (sums.squares > 0)
        result.autocorrelation = double(products / sums.squares);
    return result;
}

double percentile(const std::vector<double>& values, double p) {
    if (values.empty() || !(p >= 0 && p <= 1))
        return std::nan("");
    std::vector<double> sorted = values;
    std::sort(sorted.begin(), sorted.end());
    const double place = p * static_cast<double>(sorted.size()) - 0.5;
    if (place <= 0)
        return sorted.front();
    const auto i = static_cast<std::size_t>(place);
    if (i + 1 >= sorted.size())
        return sorted.back();
    const double part = place - static_cast<double>(i);
    return sorted[i] + part * (sorted[i + 1] - sorted[i]);
}

NormalityTest testNormality(const std::vector<double>& values) {
    constexpr std::size_t kFewest = 8;
    NormalityTest test;
    const SampleSummary summary = summarize(values);
    if (values.size() < kFewest || !(summary.standardDeviation > 0))
        return test;
    std::vector<double> sorted = values;
    std::sort(sorted.begin(), sorted.end());
    const auto n = static_cast<double>(sorted.size());
    double sum = 0;
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        const auto standard = [&](std::size_t k) {
            return (sorted[k] - summary.mean) / summary.standardDeviation;
        };
        constexpr double kLeast = 1e-300;  // its logarithm is finite
        const double below = std::max(kLeast, normalShareBelow(standard(i)));
        const double above = std::max(kLeast, normalShareBelow(-standard(sorted.size() - 1 - i)));
        sum += (2 * static_cast<double>(i) + 1) * (std::log(below) + std::log(above));
    }
    const double a = (-n - sum / n) * (1 + 0.75 / n + 2.25 / (n * n));
    test.statistic = a;
    const double p = a < 0.2    ? 1 - std::exp(-13.436 + 101.14 * a - 223.73 * a * a)
                     : a < 0.34 ? 1 - std::exp(-8.318 + 42.796 * a - 59.938 * a * a)
                     : a < 0.6  ? std::exp(0.9177 - 4.279 * a - 1.38 * a * a)
                     : a < 10   ? std::exp(1.2937 - 5.709 * a + 0.0186 * a * a)
                                : 0;
    test.probability = std::min(1.0, std::max(0.0, p));
    return test;
}

OutlierTest testOutlier(const std::vector<double>& values) {
    constexpr double kSignificance = 0.05;
    OutlierTest test;
    const SampleSummary summary = summarize(values);
    if (values.size() < 3 || !(summary.standardDeviation > 0))
        return test;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double off = std::fabs(values[i] - summary.mean) / summary.standardDeviation;
        if (test.index < 0 || off > test.statistic) {
            test.index = static_cast<int>(i);
            test.statistic = off;
        }
    }
    const auto n = static_cast<double>(values.size());
    const double t = studentQuantile(1 - kSignificance / (2 * n), n - 2);
    test.critical = (n - 1) / std::sqrt(n) * std::sqrt(t * t / (n - 2 + t * t));
    return test;
}

}  // namespace KvMeasure

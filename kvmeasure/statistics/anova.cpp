#include <kvmeasure/statistics/anova.h>

#include <kvmeasure/statistics/centred_sums_p.h>
#include <kvmeasure/statistics/distributions.h>

#include <QtCore/QMap>

namespace KvMeasure {

using Internal::CentredSums;
using Internal::Real;

OneWayAnova oneWayAnova(const std::vector<double>& values, const QStringList& groups) {
    OneWayAnova result;
    result.count = static_cast<int>(values.size());
    QMap<QString, std::vector<double>> parts;
    for (int i = 0, end = std::min(result.count, static_cast<int>(groups.size())); i < end; ++i)
        parts[groups[i]].push_back(values[static_cast<std::size_t>(i)]);
    result.groups = static_cast<int>(parts.size());
    result.betweenFreedom = result.groups - 1;
    result.withinFreedom = result.count - result.groups;
    if (result.groups < 2) {
        result.reason = values.empty() ? "no values" : "one group alone: there is nothing to compare";
        return result;
    }
    if (result.withinFreedom < 1) {
        result.reason = "one value in each group: nothing says how much values of a group differ";
        return result;
    }
    const double base = values.front();
    const Real mean = Internal::centredSums(values, base).offset;
    Real between = 0, within = 0, sizes = 0;
    for (const std::vector<double>& part : parts) {
        const CentredSums sums = Internal::centredSums(part, base);
        const auto size = static_cast<Real>(part.size());
        sizes += size * size;
        between += size * (sums.offset - mean) * (sums.offset - mean);
        within += sums.squares;
    }
    const Real residual = within / result.withinFreedom;
    result.betweenSS = double(between);
    result.withinSS = double(within);
    result.residualStandardDeviation = double(std::sqrt(residual));
    const Real usualSize = (result.count - sizes / result.count) / result.betweenFreedom;
    result.varianceWithin = double(residual);
    result.varianceBetween =
        double(std::max(Real(0), (between / result.betweenFreedom - residual) / usualSize));
    if (between + within > 0)
        result.rSquared = double(between / (between + within));
    if (!(within > 0)) {
        result.reason = "all values of each group are equal: F has no value";
        return result;
    }
    result.f = double(between / result.betweenFreedom / residual);
    result.probability = fShareAbove(result.f, result.betweenFreedom, result.withinFreedom);
    return result;
}

}  // namespace KvMeasure

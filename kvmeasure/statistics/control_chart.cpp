#include <kvmeasure/statistics/control_chart.h>

#include <kvmeasure/statistics/capability.h>

#include <cmath>

namespace KvMeasure {

ControlChart controlChart(const std::vector<double>& values) {
    ControlChart chart;
    const double deviation = capability(values, Limits()).deviationWithin;
    if (!(deviation > 0))
        return chart;
    constexpr double kDeviations = 3;
    constexpr int kLongestSide = 9, kLongestTrend = 6;
    chart.centre = summarize(values).mean;
    chart.lower = chart.centre - kDeviations * deviation;
    chart.upper = chart.centre + kDeviations * deviation;
    int side = 0, trend = 0;  // lengths with the sign of their direction
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double off = (values[i] - chart.centre) / deviation;
        const auto say = [&](const char* rule) { chart.findings.push_back({static_cast<int>(i), rule}); };
        const auto extended = [](int length, double step) {
            return step > 0 ? (length > 0 ? length + 1 : 1) : step < 0 ? (length < 0 ? length - 1 : -1) : 0;
        };
        side = extended(side, off);
        trend = i == 0 ? 0 : extended(trend, values[i] - values[i - 1]);
        if (std::fabs(off) > kDeviations)
            say("beyond 3 deviations");
        if (std::abs(side) == kLongestSide)
            say("9 in a row on one side of the centre");
        if (std::abs(trend) == kLongestTrend - 1)
            say("6 in a row that rise or fall");
        int far = 0;
        for (std::size_t k = i < 2 ? 0 : i - 2; k <= i; ++k)
            far += (values[k] - chart.centre) / deviation * (off > 0 ? 1 : -1) > 2 ? 1 : 0;
        if (far >= 2 && std::fabs(off) > 2)
            say("2 of 3 beyond 2 deviations");
    }
    return chart;
}

}  // namespace KvMeasure

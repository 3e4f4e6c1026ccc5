#include <kvmeasure/drawing/deviation_scale_p.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/progress.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace KvMeasure {

namespace {

constexpr double kLeastLimit = 1e-6;  // mm; deviations below are none

/// Two digits of a value, rounded up.
double roundedUp(double value) {
    constexpr double kRounding = 1e-9;
    const double unit = std::pow(10.0, std::floor(std::log10(value)) - 1);
    return std::ceil(value / unit - kRounding) * unit;
}

/// The size of deviations that all but a hundredth of the points do not exceed.
double usualSize(const ScanComparison& comparison) {
    constexpr double kShare = 0.99;
    std::vector<float> sizes;
    sizes.reserve(comparison.deviations.size());
    for (const float deviation : comparison.deviations) {
        if (!std::isnan(deviation))
            sizes.push_back(std::fabs(deviation));
    }
    if (sizes.empty())
        return 0;
    const auto at = sizes.begin() + static_cast<std::ptrdiff_t>(kShare * double(sizes.size() - 1));
    std::nth_element(sizes.begin(), at, sizes.end());
    return double(*at);
}

}  // namespace

ColourScale Internal::deviationScale(const DeviationMap& map) {
    double limit = 0;
    for (const double bound : {map.lower, map.upper}) {
        if (std::isfinite(bound))
            limit = std::max(limit, std::fabs(bound));
    }
    if (!(limit > kLeastLimit) && map.comparison != nullptr)
        limit = usualSize(*map.comparison);
    limit = roundedUp(std::max(limit, kLeastLimit));
    const bool isCut =
        map.comparison != nullptr && std::fabs(map.comparison->worst().value) > limit;  // false for NaN
    return {ColourScale::Kind::Diverging, -limit, limit, "deviation, mm", isCut};
}

void writeDeviationCloud(const QString& path, const DeviationMap& map, bool heightLast,
                         const Progress& progress) {
    constexpr int kEnough = 1 << 20;  // bytes at once
    const ColourScale scale = Internal::deviationScale(map);
    const qint64 points = map.comparison != nullptr ? map.comparison->compared : 0;
    OutputFile file(path);
    ProgressReport report(progress, path, points);
    QByteArray bytes =
        filledIn("ply\nformat binary_little_endian 1.0\ncomment mm; x along the laser line, %1\n"
                 "element vertex %2\nproperty float x\nproperty float y\nproperty float z\n"
                 "property float deviation\nproperty uchar red\nproperty uchar green\n"
                 "property uchar blue\nend_header\n",
                 heightLast ? "y along the scan, z height" : "y height, z along the scan", points)
            .toUtf8();
    qint64 written = 0;
    Internal::forEachDeviation(map, [&](const SpaceVector& point, float deviation) {
        if (std::isnan(deviation))
            return;
        const unsigned colour = colourOf(scale, double(deviation));
        for (const double value : {point.x, heightLast ? point.z : point.y, heightLast ? point.y : point.z})
            appendLittleEndian(bytes, static_cast<float>(value));
        appendLittleEndian(bytes, deviation);
        for (const unsigned shift : {16U, 8U, 0U})
            bytes += static_cast<char>((colour >> shift) & 0xFFU);
        ++written;
        if (bytes.size() < kEnough)
            return;
        file.write(bytes);
        bytes.clear();
        report.show(written);
    });
    file.write(bytes);
    report.show(written);  // the last moment to cancel
    file.commit();
}

}  // namespace KvMeasure

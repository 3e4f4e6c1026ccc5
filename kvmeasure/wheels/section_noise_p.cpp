// Uncertainty of the values of a wheel by simulation (JCGM 101). Most of them rest on the flange tip, which
// is the lowest of noisy points, and on the pair of points that passes a level: noise moves them in one
// direction, and half a step of the points counts. So each of the three sections is smoothed, its points are
// moved along it by a share of their distance, noise of the size and correlation of the section's own is
// added, and all is measured anew, 100 times. The values of the smooth section with ten points in place of
// one are what they are compared with: the root of the mean square is the uncertainty, the mean error with
// it. Cost: 100 times calcWheelValues and one of ten times as many points; 9 ms a wheel of 450 points.

#include <kvmeasure/wheels/section_noise_p.h>

#include <kvmeasure/wheels/gauge_values.h>
#include <kvmeasure/wheels/section_surface_p.h>

#include <kvmath/wheel/wheel_parameters.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace KvMeasure {

namespace {

using Cloud = KvMath::KvPointCloud<KvMath::KvPointXYZ>;

constexpr std::size_t kScanners = 3;
const std::array<const char*, 8> valueKeys{
    "flangeHeight", "thicknessFromBack", "flangeSteepness", "heightDeviation",
    "radius",       "runningDiameter",   "centreX",         "centreZ"};

/// In the order of valueKeys.
std::vector<double> valuesOf(const WheelResult& wheel) {
    const auto radius = static_cast<double>(wheel.circle.radius);
    return {wheel.values.value[0],
            wheel.values.value[1],
            wheel.values.value[9],
            wheel.values.value[8],
            radius,
            2 * (radius - wheel.values.value[0]),
            static_cast<double>(wheel.circle.x),
            static_cast<double>(wheel.circle.y)};
}

/// Those of gauges behind them, where they are asked for.
std::vector<double> allValuesOf(const WheelResult& wheel, const MeasuredSection& section,
                                const ValueOptions& options) {
    std::vector<double> values = valuesOf(wheel);
    if (options.hasGaugeValues) {
        for (const SectionValue& value : gaugeValues(wheelSection(section, wheel)).values)
            values.push_back(value.value);
    }
    return values;
}

QStringList allKeys(const ValueOptions& options) {
    QStringList keys;
    for (const char* key : valueKeys)
        keys.append(key);
    if (options.hasGaugeValues) {
        for (const SectionValue& value : gaugeValues(WheelSection()).values)
            keys.append(value.key);
    }
    return keys;
}

Cloud placed(const std::vector<Vector>& points, const KvMath::_KvORBIS_SensorCoordROT_& rule) {
    KvMath::KvProfile profile;
    profile.points.reserve(static_cast<int>(points.size()));
    for (const Vector& point : points)
        profile.points.append({static_cast<float>(point.x), static_cast<float>(point.y)});
    Cloud cloud;
    KvMath::ORBIS_XYtoXYZ(profile, cloud, rule);
    return cloud;
}

std::vector<Vector> pointsOf(const KvMath::KvProfile& profile) {
    std::vector<Vector> points;
    points.reserve(static_cast<std::size_t>(profile.points.size()));
    for (const KvMath::KvPointXY& point : profile.points) {
        if (isFinite(point))
            points.push_back({static_cast<double>(point.x), static_cast<double>(point.y)});
    }
    return points;
}

std::vector<double> measured(const Cloud (&clouds)[kScanners], const ValueOptions& options) {
    WheelResult wheel;
    MeasuredSection section;
    if (KvMath::ORBIS_calcWheel(clouds[0], clouds[1], clouds[2], wheel.circle, 0, nullptr))
        calcWheelValues(options, clouds[1], wheel, section);
    else
        wheel.circle = KvMath::KvCircle();
    return allValuesOf(wheel, section, options);
}

}  // namespace

void refuseUncertainties(const QString& reason, const ValueOptions& options, WheelResult& wheel) {
    for (const QString& key : allKeys(options))
        wheel.uncertainties[key] = {std::nan(""), reason};
}

void addUncertainties(const ScannedSection (&sections)[kScanners], const ValueOptions& options,
                      const MeasuredSection& section, WheelResult& wheel) {
    const std::vector<double> own = allValuesOf(wheel, section, options);
    if (std::none_of(own.begin(), own.end(), [](double value) { return std::isfinite(value); }))
        return refuseUncertainties(kMissingValue, options, wheel);
    std::vector<SectionSurface> surfaces;
    ResidualNoise all;
    for (const ScannedSection& scanned : sections) {
        surfaces.emplace_back(pointsOf(scanned.profile), SectionSurface::Upright);
        all.add(surfaces.back().residuals());
    }
    const NoiseModel pooled = all.model();
    quint64 seed = 0;
    for (SectionSurface& surface : surfaces) {
        const QString reason = surface.startNoise(pooled, ++seed);
        if (!reason.isEmpty())
            return refuseUncertainties("the noise of the sections is not known: " + reason, options, wheel);
    }
    ValueOptions same = options;
    same.nominal = wheel.nominal;  // else noise makes the height deviation leap by 2 mm beside a height of 29
    const auto measuredOn = [&](auto view) {
        const Cloud clouds[kScanners] = {placed(view(surfaces[0]), sections[0].rule),
                                         placed(view(surfaces[1]), sections[1].rule),
                                         placed(view(surfaces[2]), sections[2].rule)};
        return measured(clouds, same);
    };
    SimulatedScatter scatter(measuredOn([](const SectionSurface& surface) { return surface.dense(); }));
    for (int run = 0; run < SimulatedScatter::kRuns; ++run)
        scatter.add(measuredOn([](SectionSurface& surface) { return surface.drawn(); }));
    const QStringList keys = allKeys(options);
    for (std::size_t i = 0; i < own.size(); ++i)
        wheel.uncertainties[keys.at(static_cast<int>(i))] = scatter.of(i, own[i]);
}

}  // namespace KvMeasure

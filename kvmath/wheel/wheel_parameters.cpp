#include <kvmath/wheel/wheel_parameters.h>

#include <kvmath/wheel/wheel_profile_p.h>

#include <limits>

namespace KvMath {

namespace {

/// The index of the lowest point, -1 when no Z is set.
int lowestPoint(KvPointCloud<KvPointXYZ> cloud) {
    cloud.calcRange();
    return cloud.getIndexZ(cloud.minZ);
}

}  // namespace

static_assert(sizeof(_WheelProfileValues) == 89, "one byte and eleven doubles, packed");

bool ORBIS_calcWheel(const KvPointCloud<KvPointXYZ>& a, const KvPointCloud<KvPointXYZ>& b,
                     const KvPointCloud<KvPointXYZ>& c, KvCircle& wheel, double /*unused*/,
                     debugWheelPosCalc* debug) {
    constexpr int kFewestPoints = 50;
    const KvPointCloud<KvPointXYZ>* clouds[3] = {&a, &b, &c};
    for (const auto* cloud : clouds) {
        if (cloud->points.size() < kFewestPoints)
            return false;
    }
    const int indices[3] = {lowestPoint(a), lowestPoint(b), lowestPoint(c)};
    if (debug != nullptr)
        *debug = {indices[0], indices[1], indices[2]};
    KvPointCloud<KvPointXY> section;
    for (int i = 0; i < 3; ++i) {
        if (indices[i] < 0)
            return false;
        const KvPointXYZ& p = clouds[i]->points.at(indices[i]);
        section.points.append({p.x, p.z});
    }
    return wheel.calcFromPointCloud(section, nullptr);
}

void ORBIS_calcWheelParameters(const KvPointCloud<KvPointXYZ>& points, KvCircle wheel,
                               _WheelProfileValues* values, KvProfile* profileOut, KvProfile* debugPoints) {
    if (values == nullptr)
        return;
    for (const int computed : {0, 1, 2, 3, 6, 7, 8, 9, 10})
        values->value[computed] = std::numeric_limits<double>::quiet_NaN();
    const KvProfile profile = Internal::wheelProfileOf(points, wheel).profile;
    if (profileOut != nullptr)
        *profileOut = profile;
    if (debugPoints != nullptr)
        debugPoints->clear();
    Internal::measureFlange(profile, Internal::kBasicWheel, *values, debugPoints);
}

}  // namespace KvMath

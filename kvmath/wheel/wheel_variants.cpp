#include <kvmath/wheel/wheel_variants.h>

#include <kvmath/profile/point_list_p.h>
#include <kvmath/wheel/wheel_profile_p.h>

#include <cmath>
#include <limits>

namespace KvMath {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr _CalcProfileParameters_ kTramWheel = {60, 2, 10, 14, 24};
constexpr _CalcProfileParameters_ kLocomotiveWheel = {70, 2, 13, 18, 30};
constexpr _CalcRimParameters_ kRim = {5.0F, 0.5F, 8.0F, 10.0F};
enum WheelType : unsigned char { TramWheel = 1, LocomotiveWheel = 2 };

void evaluateRim(const KvProfile& profile, const _CalcProfileParameters_& profileParams,
                 const _CalcRimParameters_& rimParams, _WheelProfileValues& values, KvProfile* debugPoints) {
    KvPointXY corner;
    float face = 0;
    if (detectRimForB2B(profile, rimParams, face))
        values.value[6] = static_cast<double>(face);
    if (!calcRimRefPoint(profile, rimParams, corner))
        return;
    values.value[2] = static_cast<double>(calcRimThFlng(profile, corner));
    values.value[3] = static_cast<double>(calcRimThSurf(profile, corner, profileParams.treadPosition));
    values.value[4] = static_cast<double>(corner.x);
    values.value[5] = static_cast<double>(corner.y);
    if (debugPoints != nullptr)
        debugPoints->points.append(corner);
}

void evaluateWheel(const KvPointCloud<KvPointXYZ>& points, const KvCircle& wheel, WheelType type,
                   const _CalcProfileParameters_& params, _WheelProfileValues* values, KvProfile* profileOut,
                   KvProfile* debugPoints) {
    if (values == nullptr)
        return;
    Internal::WheelProfile measured = Internal::wheelProfileOf(points, wheel);
    values->wheelType = type;
    if (ORBIS_calcWheelParams_FromProf_Tram(measured.profile, params, kRim, values, debugPoints))
        values->value[7] = 2 * (measured.largestRadius - values->value[0]);
    if (profileOut != nullptr)
        *profileOut = measured.profile;
}

}  // namespace

bool ORBIS_calcWheelParams_FromProf_Tram(KvProfile& profile, const _CalcProfileParameters_& profileParams,
                                         const _CalcRimParameters_& rimParams, _WheelProfileValues* values,
                                         KvProfile* debugPoints) {
    if (values == nullptr)
        return false;
    for (int k = 0; k < 11; ++k)
        values->value[k] = kNaN;  // by index: the record is packed, no pointer to a double may be formed
    if (debugPoints != nullptr)
        debugPoints->clear();
    Internal::keepIf(profile.points, Internal::isFinite);  // unset points would bound the sort
    profile.sort(KvSortAscending, KvSortNone);
    const Internal::FlangeLevels levels = {
        static_cast<double>(profileParams.treadPosition), static_cast<double>(profileParams.flankDepth),
        static_cast<double>(profileParams.thicknessDepth), static_cast<double>(profileParams.referenceDepth),
        static_cast<double>(profileParams.nominalHeight)};
    Internal::measureFlange(profile, levels, *values, debugPoints);
    evaluateRim(profile, profileParams, rimParams, *values, debugPoints);
    return !std::isnan(values->value[0]);
}

void ORBIS_calcWheelParameters_Tram(const KvPointCloud<KvPointXYZ>& points, KvCircle wheel,
                                    _WheelProfileValues* values, KvProfile* profileOut,
                                    KvProfile* debugPoints) {
    evaluateWheel(points, wheel, TramWheel, kTramWheel, values, profileOut, debugPoints);
}

void ORBIS_calcWheelParameters_Loko(const KvPointCloud<KvPointXYZ>& points, KvCircle wheel,
                                    _WheelProfileValues* values, KvProfile* profileOut,
                                    KvProfile* debugPoints) {
    evaluateWheel(points, wheel, LocomotiveWheel, kLocomotiveWheel, values, profileOut, debugPoints);
}

}  // namespace KvMath

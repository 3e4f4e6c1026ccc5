#pragma once
// Wheels of trams and locomotives, and the rim: circles of known radius, the face and the corner of the rim.
// All on the wheel profile (wheel_parameters.h): x lateral, y depth below the flange tip, mm. Points with a
// coordinate that is not finite take no part unless a function says otherwise.

#include <kvmath/core/circle.h>
#include <kvmath/profile/profile.h>
#include <kvmath/segments/find_params.h>
#include <kvmath/segments/line_types.h>
#include <kvmath/wheel/wheel_parameters.h>

namespace KvMath {

/// Where the values of a profile are taken, mm. The basic wheel: 70, 2, 13, 18, NaN.
struct _CalcProfileParameters_ {
    float treadPosition;   ///< lateral position of the tread point
    float flankDepth;      ///< depth of the flank point
    float thicknessDepth;  ///< how far above the tread the flange thickness is taken
    float referenceDepth;  ///< depth whose lateral position is wanted
    float nominalHeight;   ///< nominal flange height; NaN: 30 from a height of 29 on, else 28
};

/// How the straight pieces of a rim are found, see TSFindTemplateParams.
struct _CalcRimParameters_ {
    float contourGap;     ///< mm
    float lineTolerance;  ///< mm
    float minLineLength;  ///< mm
    float maxRimTilt;     ///< degrees between the rim's face and the depth axis
};

/// All values of a tram wheel: profile as in ORBIS_calcWheelParameters, positions 60, 2, 10, 14 and nominal
/// 24, rim pieces of 5 mm gap, 0.5 mm tolerance, 8 mm length and 10 degrees tilt; value[7] the running
/// diameter, 2 (largest radius - flange height); wheelType 1. What is not found is NaN. Null `values`:
/// nothing happens.
KVMATH_EXPORT void ORBIS_calcWheelParameters_Tram(const KvPointCloud<KvPointXYZ>& points, KvCircle wheel,
                                                  _WheelProfileValues* values, KvProfile* profileOut,
                                                  KvProfile* debugPoints);
/// All values of a locomotive wheel, as for a tram wheel: positions of the basic wheel, nominal 30,
/// wheelType 2.
KVMATH_EXPORT void ORBIS_calcWheelParameters_Loko(const KvPointCloud<KvPointXYZ>& points, KvCircle wheel,
                                                  _WheelProfileValues* values, KvProfile* profileOut,
                                                  KvProfile* debugPoints);

/// Frees the wheel profile of points that are not finite, sorts it by x (cut off an underside before: it
/// would mix with the flange) and fills `values` from it: 0, 1, 8, 9 as for the basic wheel, at the given
/// places; 2 and 3 the rim thickness below flange and tread (calcRimThFlng, calcRimThSurf), 4 and 5 the rim's
/// corner (calcRimRefPoint), 6 its face (detectRimForB2B); NaN where not found, 7 and 10 as well.
/// `debugPoints`, optional, is replaced by the places. Returns whether the flange height was found; null
/// `values`: false.
KVMATH_EXPORT bool ORBIS_calcWheelParams_FromProf_Tram(KvProfile& profile,
                                                       const _CalcProfileParameters_& profileParams,
                                                       const _CalcRimParameters_& rimParams,
                                                       _WheelProfileValues* values, KvProfile* debugPoints);

/// The longest straight segment of the profile, the first of equals. False, `line` untouched, if there is
/// none.
KVMATH_EXPORT bool maxLineDetect(const KvProfile& profile, const TSFindTemplateParams& params, LinePP& line);

/// Circle of least squared distances through the points first ... last (limited to the profile;
/// circleFitting, to 1e-9 within 2000 evaluations). False, outputs untouched: fewer than three points, or no
/// convergence. Points on a line can end in some huge circle: look at the radius.
KVMATH_EXPORT bool calcRefPoint(const KvProfile& profile, int first, int last, KvPointXY& centre,
                                float& radius);
/// Centre of the circle of known radius through the points first ... last, found as in calcRefPoint. False
/// also for a radius that is not finite and > 0.
KVMATH_EXPORT bool calcRefPointWithConstR(const KvProfile& profile, int first, int last, float radius,
                                          KvPointXY& centre);
/// Centre of the circle of known radius through all points of a cloud, in their plane (planeFitting). False,
/// `centre` untouched, as calcRefPointWithConstR.
KVMATH_EXPORT bool calcRefPointWithConstR3D(const KvPointCloud<KvPointXYZ>& points, float radius,
                                            KvPointXYZ& centre);

/// Lateral position of the rim's face, for the distance from back to back: the middle of the longest segment
/// that is tilted by at most maxRimTilt from the depth axis. False, `position` untouched, without one.
KVMATH_EXPORT bool detectRimForB2B(const KvProfile& profile, const _CalcRimParameters_& params,
                                   float& position);
/// Corner of the rim: where the line of that face meets the line of the segment whose end is nearest to one
/// of its ends. False, `point` untouched: no face, no other segment, or exactly parallel ones.
KVMATH_EXPORT bool calcRimRefPoint(const KvProfile& profile, const _CalcRimParameters_& params,
                                   KvPointXY& point);
/// Depth of the rim's corner below the flange tip, the least depth of the profile. NaN without points.
KVMATH_EXPORT float calcRimThFlng(const KvProfile& profile, const KvPointXY& rim);
/// Depth of the rim's corner below the tread at this lateral position, on the line between its two
/// neighbours. The points rise in x and are all set, as ORBIS_calcWheelParams_FromProf_Tram leaves them. NaN
/// beyond the ends of the profile.
KVMATH_EXPORT float calcRimThSurf(const KvProfile& profile, const KvPointXY& rim, float treadPosition);

/// A wheel seen from the side, by a scanner whose plane holds the wheel's circle: the algebraic circle fit
/// when its radius lies within the limits (ends included). False, `wheel` untouched, otherwise.
KVMATH_EXPORT bool detectWheelByCenterScanner(const KvProfile& profile, float minRadius, float maxRadius,
                                              KvCircle& wheel);
/// The direction, degrees from +x in (-180, 180], from the middle point of such a profile (index size / 2) to
/// the centre of the circle of known radius through it. False, `angle` untouched, as calcRefPointWithConstR
/// and for an unset middle point.
KVMATH_EXPORT bool detectWheelByCScanOnlyAngle(const KvProfile& profile, float radius, float& angle);

/// Turns all points about the origin by `degrees`, counter-clockwise, then moves them by (dx, dy), mm.
KVMATH_EXPORT void transform2dProfile(KvProfile& profile, float dx, float dy, float degrees);

}  // namespace KvMath

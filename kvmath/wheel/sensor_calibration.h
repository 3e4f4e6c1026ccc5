#pragma once
// Where a sensor stands, from one profile of an object whose ridges are known; mm and degrees.

#include <kvmath/base/vector2d.h>
#include <kvmath/core/line.h>
#include <kvmath/profile/profile.h>
#include <kvmath/wheel/sensor_coord.h>

#include <QtCore/QPointF>

namespace KvMath {

/// What a calibration looked at, for display.
struct _KvORBIS_DbgData_ {
    QList<KvProfile> profiles;   ///< one per call, as it was given
    QList<QList<KvLine>> lines;  ///< per call, two for each apex: before and after it
    QList<KvPointXY> points;     ///< apexes of all calls, mm
};

/// What ORBIS_detectCalibrNodes answers.
enum codeResult : int { CalibrNodesFound = 0, CalibrNodesTooFewPoints = 1, CalibrNodesTooFewLines = 2 };

/// Placement by angles, in degrees, of a sensor that sees ridges of a calibration object at (objectX,
/// objectY, objectZ). `nodes` are the (X, Z) of the ridges relative to the object. The apexes of the profile
/// (ORBIS_detectApexes, 2 mm) in order of x are paired with the nodes in order of X and, since the sensor's x
/// may run against X, once more in the opposite order; the smaller residual is kept. Two pairs, or nodes that
/// half a turn brings onto themselves, fit both ways alike: then x runs with X, A being half a turn off where
/// that is wrong. More pairs in other places tell. B is 0: one profile does not show it.
/// The outer pair gives C from the foreshortening, |dNode|^2 = cos^2 C dx^2 + dy^2 with cos^2 C limited to
/// [0, 1] and C in [0, 90] (its sign does not show either), and A from the direction; the origin makes the
/// means coincide. False, `coord` untouched: fewer than two pairs, pairs without extent, or a root mean
/// square distance in X, Z above maxResidual mm (NaN: no limit). `debug`, optional, gets the profile, the
/// apexes and their lines appended in any case.
KVMATH_EXPORT bool ORBIS_calcAnglesCoord(KvProfile profile, float objectX, float objectY, float objectZ,
                                         float maxResidual, _KvORBIS_SensorCoord_& coord,
                                         QList<QPointF> nodes, _KvORBIS_DbgData_* debug);

/// The three corners of an object in a profile: of its contour with most points (profile2contours, contourGap
/// mm) the three inner vertices of sharpest turn (contour2lines, `tolerance` mm, two passes), in walking
/// order, to nodes[0 ... 2]; equal turns prefer the earlier. writePoints other than 0 also writes them to
/// "points.csv" in the current directory. A contour of fewer than 4 points, or fewer than 3 inner vertices,
/// answers with the other codes, nodes untouched; null nodes with the first.
KVMATH_EXPORT codeResult ORBIS_detectCalibrNodes(KvProfile profile, KvVector2D<double>* nodes,
                                                 float contourGap, float tolerance, int writePoints);

/// The places in space of three such corners on a wedge that is `width` mm wide at Y = 0, widens by `taper`
/// per mm of Y (0: Y is 0) and has its ridge at `height`. With d the distance of the outer nodes, Y = (d -
/// width) / taper: positions (-d/2, Y, 0), (foot of the middle node on the chord, from its middle, Y,
/// height), (d/2, Y, 0). False, positions untouched: null pointers, or d not finite and > 0.
KVMATH_EXPORT bool ORBIS_detectCalibr3DNodes(const KvPointXY* nodes, KvPointXYZ* positions, float width,
                                             float taper, float height);

}  // namespace KvMath

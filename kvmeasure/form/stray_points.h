#pragma once
// Points that lie far off their neighbours: dust, reflections. A zone of form counts every point, so that
// they have to be left out before, by a filter that the report states.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/plane_geometry.h>
#include <kvmeasure/form/flatness.h>

#include <QtCore/QString>

#include <limits>
#include <vector>

namespace KvMeasure {

/// What the filter found.
struct KVMEASURE_EXPORT StrayPoints {
    std::vector<int> strays;                                 ///< indices from 0, ascending
    double cell = std::numeric_limits<double>::quiet_NaN();  ///< side of a cell, mm
    double deviation =
        std::numeric_limits<double>::quiet_NaN();             ///< 1.4826 times the median distance of a
                                                              ///< point from the median of its neighbours, mm
    double limit = std::numeric_limits<double>::quiet_NaN();  ///< distance beyond which a point is stray, mm
    int alone = 0;                                            ///< points with fewer than four neighbours
    QString text() const;                                     ///< the filter in words, with its figures
};

/// The stray points of a surface, a profile or a circle. Distances from the plane, line or circle of least
/// squares (of the points that are left, in three passes) are compared with the median of the distances in
/// the cells around; a cell is `cell` mm wide, or, NaN, wide enough for 16 points on average. A point is
/// stray beyond `cut` standard deviations; one with fewer than four neighbours beyond as many deviations of
/// all points from their median. Where all distances are equal nothing is. Fewer than 8 points: none. A
/// surface or profile that is not upright is fitted in height, and a stray counts to the cell below it.
KVMEASURE_EXPORT StrayPoints strayPoints(const std::vector<SpacePoint>& surface, double cut,
                                         double cell = std::numeric_limits<double>::quiet_NaN());
/// Of a profile.
KVMEASURE_EXPORT StrayPoints strayPoints(const std::vector<Vector>& profile, double cut,
                                         double cell = std::numeric_limits<double>::quiet_NaN());
/// Of points about a circle: cells lie side by side along it.
KVMEASURE_EXPORT StrayPoints strayPointsOfCircle(const std::vector<Vector>& circle, double cut,
                                                 double cell = std::numeric_limits<double>::quiet_NaN());

}  // namespace KvMeasure

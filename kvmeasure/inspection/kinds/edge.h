#pragma once
// The place of a step of height along a profile.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/plane_geometry.h>

#include <QtCore/QString>

#include <vector>

namespace KvMeasure {

/// What edge is wanted.
struct EdgeSettings {
    /// Which steps count: rising or falling ones, from the first point of the scan to the last.
    enum Sense { Any, Rising, Falling };
    /// Which of several is taken: the highest, or the first or last in scan order.
    enum Place { Best, First, Last };

    double leastHeight = 0.1;  ///< mm, > 0: lower steps are no edges
    int window = 5;            ///< points on each side whose mean height counts, 1 to 1000
    Sense sense = Any;         ///< which steps count
    Place place = Best;        ///< which of several is taken
};

/// An edge, or why there is none.
struct EdgeResult {
    Vector at;          ///< where the profile passes half of the step, between points; mm
    double height = 0;  ///< of the step, mm, positive where it rises
    double pitch = 0;   ///< distance in x of the two points around the place, mm
    double wall = 1;  ///< what of the rise between these points the slopes beside them do not explain, 0 to 1
    double slope = 0;         ///< of the profile between these points
    int window = 0;           ///< points on each side whose mean was taken
    bool isOffFlank = false;  ///< no point between the levels is in these means
    QString reason;           ///< why there is no edge; empty: there is one

    bool isFound() const { return reason.isEmpty(); }  ///< there is an edge
};

/// The step of the mean height of the next points over that of the points before, where that is greatest
/// among its neighbours. Where a flank lies between the levels the means are taken again beyond its ends, for
/// as long as these are within the window. The place is where the heights pass the middle of both means, in
/// proportion between points. None, with a reason: fewer than two points, no step of the least height and
/// sense.
KVMEASURE_EXPORT EdgeResult findEdge(const std::vector<Vector>& points, const EdgeSettings& settings = {});

}  // namespace KvMeasure

#pragma once
// Depth of a groove or height of a ridge by the method for measurement standards (ISO 5436-1).

#include <kvmeasure/base/plane_geometry.h>

#include <QtCore/QString>
#include <kvmeasure/base/global.h>

#include <limits>
#include <vector>

namespace KvMeasure {

/// The shape of the bottom of a groove: flat, or rounded.
enum class StepType { A1, A2 };

/// The depth of one groove. With W the distance of the edges, the references lie from 3 W / 2 to 5 W / 6 on
/// either side of the middle, the bottom within W / 6 of it, limits included.
struct KVMEASURE_EXPORT StepHeight {
    double fromEdge = 0;  ///< x of the left edge, mm
    double toEdge = 0;    ///< x of the right edge, mm
    double height =
        std::numeric_limits<double>::quiet_NaN();  ///< depth, mm; positive of a groove, negative of a ridge
    double slope = std::numeric_limits<double>::quiet_NaN();      ///< of the references, mm / mm
    double deviation = std::numeric_limits<double>::quiet_NaN();  ///< of the fit with its degrees of freedom,
                                                                  ///< mm; NaN where there are none
    /// Of the height where points scatter independently by 1 mm; NaN for type A2.
    double scatter = std::numeric_limits<double>::quiet_NaN();
    int pointsA = 0;          ///< of the left reference
    int pointsB = 0;          ///< of the right reference
    int pointsC = 0;          ///< of the bottom
    bool isComplete = false;  ///< the points cover all of 3 W, but for a pitch at either end
    QString reason;           ///< why there is no height; empty where there is one

    bool isValid() const { return reason.isEmpty(); }  ///< there is a height
};

/// The depth of the groove between two edges. A1: a least-squares fit of z = slope x + b + h d to references
/// (d = 1) and bottom (d = -1); the depth is 2 h. A2: the distance along z from the line of both references
/// to the vertex of a parabola through the bottom where that lies within it, else to its lowest or highest
/// point. Points in any order; those that are not finite are left out. No height: edges that are not finite
/// or not in order, fewer than two points in a reference or one in the bottom (three for A2).
KVMEASURE_EXPORT StepHeight stepHeight(const std::vector<Vector>& points, double fromEdge, double toEdge,
                                       StepType type = StepType::A1);

}  // namespace KvMeasure

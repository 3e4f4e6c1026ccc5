#pragma once
// A scanner cloud cut into profiles at equal steps along the scan.

#include <tarn/tarn.h>

#include <vector>

namespace KvMath::Internal {

/// The finite points of a cloud, by step and along the line. Memory follows the points, not the steps.
struct ScanGrouping {
    struct Point {
        double step;  ///< a whole number >= 0
        float x, z;
    };
    struct Group {
        double step;
        size_t first, last;  ///< points first ... last - 1
        size_t place;        ///< among the groups whose points came earlier in the cloud
    };

    double start = 0;           ///< smallest y of the points
    std::vector<Point> points;  ///< by step, then by x; equal ones in the order of the cloud
    std::vector<Group> groups;  ///< in the order in which the cloud first shows a point of theirs

    /// No groups: no finite point, or a zStep that is not finite and > 0 or gives 2^53 steps or more.
    ScanGrouping(const PointCloud& cloud, double zStep);

    std::vector<Group> ascending() const;  ///< the groups in the order of their steps
    double span() const;                   ///< number of steps from the first to the last of the groups, >= 1
};

}  // namespace KvMath::Internal

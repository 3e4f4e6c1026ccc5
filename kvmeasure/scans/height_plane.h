#pragma once
// A plane through the heights of a scan.

#include <kvmeasure/base/global.h>
#include <kvmeasure/scans/scan_file.h>

namespace KvMeasure {

/// height = a * x + b * scan + c, mm, and what the points say of it. All 0 until it is fitted.
struct KVMEASURE_EXPORT HeightPlane {
    double a = 0;           ///< slope along x, mm per mm
    double b = 0;           ///< slope along the scan, mm per mm
    double c = 0;           ///< height at x = 0, scan = 0, mm
    double normal[4] = {};  ///< normal[0]*x + normal[1]*scan + normal[2]*height + normal[3] = 0
    double squares = 0;     ///< sum of the squared residuals of height, mm^2
    double lowest = 0;      ///< least residual (height of a point less that of the plane), mm
    double highest = 0;     ///< greatest residual, mm
    int count = 0;          ///< points of the fit

    /// Height of the plane at a place, mm.
    double height(double x, double scan) const { return a * x + b * scan + c; }
    /// Root mean square of the residuals, mm: sqrt(squares / count). NaN before a fit.
    double rms() const;
};

/// Fits the plane of least squares of the heights to all points of a scan, in double about their centre, so
/// that a scan far from the origin loses no digits. `normal`, of length 1 and normal[2] >= 0, is that of the
/// plane nearest to the points square to it.
///
/// False, `plane` untouched: fewer than three points, a point that is not finite, places that lie on one line
/// as far as their coordinates, which are floats, tell, and no plane nearest to the points.
KVMEASURE_EXPORT bool fitHeights(const Scan& scan, HeightPlane& plane);

/// The same to those points that belong to one plane: from the plane through three points that lies nearest
/// to the middle one of all points (1,000 random ones, always the same, are tried on 2,000 points), points
/// farther off than 3.5 standard deviations are left out until they stay the same. More than half of the
/// points should lie on the plane. Of two planes that hold less, either may come out. `count` says how many
/// points were taken. False as fitHeights.
KVMEASURE_EXPORT bool fitHeightsRobustly(const Scan& scan, HeightPlane& plane);

}  // namespace KvMeasure

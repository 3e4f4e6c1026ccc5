#pragma once
// How far the points of a surface lie apart in x, and what those that are missing do to values.

#include <kvmeasure/base/global.h>
#include <kvmeasure/base/plane_geometry.h>

#include <vector>

namespace KvMeasure {

/// Median distance in x of neighbours, of more than 241 points that of 240 pairs, mm; 0 for fewer than two
/// points.
KVMEASURE_EXPORT double medianStep(const std::vector<Vector>& points);

/// The widest step in x between neighbours of one surface, mm: ten times the median step, or, where points
/// are missing by chance, twice the widest step that is no wider than that, since two such voids may meet. A
/// wider one is a void.
KVMEASURE_EXPORT double widestStep(const std::vector<Vector>& points);

/// What points that are missing by chance add to the variance of a mean, in variances of the heights over
/// the region: the sum of the squares of the missing points of each gap over the square of the points'
/// number. A step in x of more than one and a half of the median step is a gap, one of more than widestStep()
/// and a tenth of the region is a void that does not count. 0 for fewer than three points.
KVMEASURE_EXPORT double missingShare(const std::vector<Vector>& points);

/// Standard deviation of the place where points end, mm: the end lies anywhere within a point distance, and
/// points that are missing by chance may be missing there, too. A run of m missing points in N lies over the
/// end in m of N places, and takes off 1 to m points: the sum of m^3 / (3 N).
KVMEASURE_EXPORT double deviationOfEnd(const std::vector<Vector>& points);

/// What the distances of neighbours in x say of points, each as the function of that name gives it.
struct PointSpacing {
    double medianStep = 0;      ///< mm
    double missingShare = 0;    ///< of the variance of the heights over the region
    double deviationOfEnd = 0;  ///< mm
    double widestStep = 0;      ///< mm
};

/// All in one.
KVMEASURE_EXPORT PointSpacing spacingOf(const std::vector<Vector>& points);

}  // namespace KvMeasure

#pragma once
// Least squares of all points of a line, and whether they look as if all belong to it.

#include <kvmeasure/profiles/robust_line.h>

namespace KvMeasure::Internal {

constexpr int kLineParameters = 2;

/// Sums over points, about one of them.
struct LineMoments {
    Vector zero;
    int count = 0;
    double x = 0, y = 0, xx = 0, xy = 0, yy = 0;

    /// A line follows: more points than it has parameters, not all in one place.
    bool giveLine() const { return count > kLineParameters && xx + yy > 0; }
};

/// Centre, direction and number of points of the line of least squares; without direction of no two distinct
/// points.
void solveLine(const LineMoments& sum, LineFit& line);

/// Least squares of all of one or more points, and all that is said of them but the points left out. False:
/// they give no line of that many parameters.
bool fitAll(const std::vector<Vector>& points, LineFit& line);

/// Fits all of at least two points and returns true, where they are distinct and finite below about 1e8 mm,
/// and either the fit is not robust or the points look like a line with Gaussian noise: with a skewness and a
/// mean size as such noise has, without parts that lie aside, and hardly one further off than the cut, which
/// is left out. Such a line differs from one with a robust start by little more than rounding. False: nothing
/// is known of `line`. Two passes over the points.
bool fitPlainLine(const std::vector<Vector>& points, const RobustFitting& fitting, LineFit& line);

/// The distances of points from a fit, in scan order, have a skewness and a mean size as those of Gaussian
/// noise have, and no part of them lies aside. At least 96; false where one is not finite.
bool looksGaussian(const std::vector<double>& distances);

}  // namespace KvMeasure::Internal

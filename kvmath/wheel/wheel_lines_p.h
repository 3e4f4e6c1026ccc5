#pragma once
// Contours and straight pieces as vectors, which free themselves on every way out.

#include <kvmath/base/vector2d.h>
#include <kvmath/profile/profile.h>

#include <vector>

namespace KvMath::Internal {

using PlanePoints = std::vector<KvVector2D<double>>;

PlanePoints widened(const QList<KvPointXY>& points);

/// See profile2contours.
std::vector<PlanePoints> contoursOf(const PlanePoints& points, double gap);

/// See contour2lines: piece k runs from vertices[k] to vertices[k + 1], measured at the points breaks[k] and
/// breaks[k + 1]. Both are empty for fewer than two points.
struct StraightPieces {
    std::vector<int> breaks;
    PlanePoints vertices;
};
StraightPieces straightPieces(const PlanePoints& contour, double tolerance, int passes);

}  // namespace KvMath::Internal

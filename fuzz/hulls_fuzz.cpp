// Outlines around raw doubles, and the edge points of stacks made of them.

#include "fuzz/fuzz_input.h"

#include <kvmath/contours/edge_points.h>
#include <kvmath/contours/hull.h>
#include <kvmath/profile/profile_zset.h>

#include <algorithm>

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Fuzz::Input input(data, size);
    const double radius = input.number(), lmax = input.number(), lmin = input.number();
    const int most = input.integer(), profileSize = 1 + input.below(40);
    const QList<KvMath::KvVector2D<double>> points = input.places(300);

    QList<int> indices;
    const bool isClosed = KvMath::getCoinHull(points, radius, indices);
    for (const int i : indices)
        Fuzz::require(i >= 0 && i < points.size(), "a hull has indices of points");
    Fuzz::require(!isClosed || indices.size() < 2 || indices.first() == indices.last(), "a hull ends closed");

    const auto hull = KvMath::getPseudoConvexHull(points, radius, most);
    Fuzz::require(hull.size() <= points.size(), "an outline has points once");
    Fuzz::require(points.size() < 3 || most < 1 || hull.size() <= most, "the number of points is limited");

    KvMath::KvProfileZSet stack;
    for (int i = 0; i < points.size(); ++i) {
        if (i % profileSize == 0)
            stack.append(KvMath::KvProfileZ());
        stack.profiles.last().points.append(
            {float(qBound(-1e30, points[i].x, 1e30)), float(qBound(-1e30, points[i].y, 1e30))});
    }
    QList<KvMath::KvVector2D<double>> edges;
    Fuzz::require(KvMath::getEdgePoints(stack, lmax, lmin, edges), "always true");
    Fuzz::require(edges.size() <= 2 * points.size(), "edge points are points");
    return 0;
}

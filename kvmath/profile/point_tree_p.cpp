#include <kvmath/profile/point_tree_p.h>

#include <algorithm>
#include <cmath>

namespace KvMath::Internal {
namespace {

constexpr size_t kPointsPerLeaf = 8;

}  // namespace

PointTree::PointTree(const QList<KvPointXY>& points) : points_(points.constBegin(), points.constEnd()) {
    size_t leaves = 1;
    while (leaves * kPointsPerLeaf < points_.size())
        leaves *= 2;
    nodes_.resize(2 * leaves - 1);
    build(0, 0, static_cast<int>(points_.size()));
}

void PointTree::build(size_t node, int first, int last) {
    const auto from = points_.begin() + first;
    const auto to = points_.begin() + last;
    const auto byX = [](const KvPointXY& a, const KvPointXY& b) { return a.x < b.x; };
    const auto byY = [](const KvPointXY& a, const KvPointXY& b) { return a.y < b.y; };
    const auto [left, right] = std::minmax_element(from, to, byX);
    const auto [low, high] = std::minmax_element(from, to, byY);
    nodes_[node] = Node{left->x, right->x, low->y, high->y, first, last};
    if (isLeaf(node))
        return;
    const int middle = first + (last - first) / 2;
    if (static_cast<double>(right->x) - static_cast<double>(left->x) >
        static_cast<double>(high->y) - static_cast<double>(low->y))
        std::nth_element(from, points_.begin() + middle, to, byX);
    else
        std::nth_element(from, points_.begin() + middle, to, byY);
    build(2 * node + 1, first, middle);
    build(2 * node + 2, middle, last);
}

int PointTree::countWithin(const KvPointXY& centre, double radius, int enough) const {
    int found = 0;
    count(0, centre, radius * radius, enough, found);
    return found;
}

void PointTree::count(size_t node, const KvPointXY& centre, double squared, int enough, int& found) const {
    const Node& n = nodes_[node];
    const float nearX = std::min(std::max(centre.x, n.minX), n.maxX);
    const float nearY = std::min(std::max(centre.y, n.minY), n.maxY);
    if (found > enough || squaredDistance(nearX, nearY, centre) > squared)
        return;
    const double farX = std::max(std::abs(static_cast<double>(n.minX) - static_cast<double>(centre.x)),
                                 std::abs(static_cast<double>(n.maxX) - static_cast<double>(centre.x)));
    const double farY = std::max(std::abs(static_cast<double>(n.minY) - static_cast<double>(centre.y)),
                                 std::abs(static_cast<double>(n.maxY) - static_cast<double>(centre.y)));
    if (farX * farX + farY * farY <= squared) {
        found += n.last - n.first;
        return;
    }
    if (isLeaf(node)) {
        for (int i = n.first; i < n.last; ++i) {
            const KvPointXY& p = points_[static_cast<size_t>(i)];
            found += squaredDistance(p.x, p.y, centre) <= squared ? 1 : 0;
        }
        return;
    }
    count(2 * node + 1, centre, squared, enough, found);
    count(2 * node + 2, centre, squared, enough, found);
}

}  // namespace KvMath::Internal

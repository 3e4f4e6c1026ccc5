#pragma once
// Counting the points near a place.

#include <kvmath/core/point.h>

#include <QtCore/QList>

#include <vector>

namespace KvMath::Internal {

inline double squaredDistance(float x, float y, const KvPointXY& p) {
    const double dx = static_cast<double>(x) - static_cast<double>(p.x);
    const double dy = static_cast<double>(y) - static_cast<double>(p.y);
    return dx * dx + dy * dy;
}

/// Balanced k-d tree of finite points with the bounds of every node (Bentley 1975). Built in n log n; a count
/// touches only the nodes that the rim of the disc crosses, however the points lie.
class PointTree {
public:
    explicit PointTree(const QList<KvPointXY>& points);  // at least one

    /// Number of points at a distance <= radius of `centre`, itself included if it is one; counting may end
    /// beyond `enough`. Distances are compared squared, in double.
    int countWithin(const KvPointXY& centre, double radius, int enough) const;

private:
    struct Node {
        float minX, maxX, minY, maxY;
        int first, last;  ///< points_[first, last)
    };

    void build(size_t node, int first, int last);
    void count(size_t node, const KvPointXY& centre, double squared, int enough, int& found) const;
    bool isLeaf(size_t node) const { return 2 * node + 1 >= nodes_.size(); }

    std::vector<KvPointXY> points_;
    std::vector<Node> nodes_;  ///< complete binary tree: the children of i are 2i + 1 and 2i + 2
};

}  // namespace KvMath::Internal

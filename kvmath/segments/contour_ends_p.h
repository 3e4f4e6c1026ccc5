#pragma once
// The last points of contours, searched for the one nearest to a point.

#include <kvmath/base/vector2d.h>

#include <QtCore/qglobal.h>

#include <vector>

namespace KvMath::Internal {

/// Few ends are compared one by one. Many stand in a hash grid whose cells are so much wider than the gap
/// that rounding cannot bring two points within the gap farther apart than neighbouring cells. Either way the
/// answer is the smallest distance, of equal ones the highest contour, so that the order of looking does not
/// matter.
class ContourEnds {
public:
    struct End {
        KvVector2D<double> p;
        int next = -1;    ///< the next contour in the same bucket
        int bucket = -1;  ///< -1: not in the grid
    };

    /// Points give the largest coordinate to come. gap >= 0. The storage is emptied first; it must outlive
    /// the object.
    ContourEnds(const KvVector2D<double>* pts, int n, double gap, std::vector<End>& storage)
        : pts_(pts), n_(n), gap_(gap), ends_(storage) {
        ends_.clear();
    }

    int count() const { return static_cast<int>(ends_.size()); }
    int append(int point);                ///< a new contour that ends at this point; returns its number
    void setEnd(int contour, int point);  ///< the contour has grown to this point
    int nearest(const KvVector2D<double>& p) const;  ///< the contour within the gap; -1: none

private:
    struct Best {
        double distance;
        int contour = -1;
    };

    bool isGrid() const { return !heads_.empty(); }
    void makeGrid();
    void insert(int contour);
    void remove(int contour);
    size_t bucket(double cellX, double cellY) const;
    void compare(const KvVector2D<double>& p, int contour, Best& best) const;

    const KvVector2D<double>* pts_;
    int n_;
    double gap_;
    double cell_ = 0;
    std::vector<End>& ends_;
    std::vector<int> heads_;  ///< first contour of each bucket, a power of two of them; empty: no grid
};

}  // namespace KvMath::Internal

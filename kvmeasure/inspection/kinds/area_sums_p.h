#pragma once
// Sums over the trapezoids between the points of a profile and a base.

#include <kvmeasure/inspection/kinds/point_spacing.h>
#include <kvmeasure/profiles/robust_line.h>

#include <vector>

namespace KvMeasure::Internal {

/// Integrals over the trapezoids; t is the place in x from the centre of the base, d the height over the
/// base.
struct AreaIntegrals {
    double area = 0, momentT = 0, momentD = 0;                  ///< of 1, t and d/2 over the area
    double length = 0, momentOfLength = 0, squareOfLength = 0;  ///< of 1, t and t^2 over its length
    int gaps = 0;                                               ///< steps wider than the limit
    double leftOut = 0;                                         ///< their length
};

/// Sums of squares of what points and walls change: of the area, and times the way to its centroid.
struct AreaSpread {
    double shares = 0, sharesX = 0, sharesZ = 0;
    double walls = 0, wallsX = 0, wallsZ = 0;
};

/// The points of a profile over a base, in columns that four at a time are taken from.
class AreaColumns {
public:
    /// A value for each point.
    struct Columns {
        double* places;
        double* heights;
        double* steps;   ///< in x to the point before; 0 of the first
        double* slopes;  ///< the sizes of theirs
        double* walls;   ///< wallShare() of the rises that count
    };

    AreaColumns(const AreaColumns&) = delete;
    AreaColumns& operator=(const AreaColumns&) = delete;
    /// At least two points; `side` 1 above the base, which is not upright, -1 below it.
    AreaColumns(const std::vector<Vector>& points, const LineFit& base, double side);

    double along() const {
        return columns_.places[count_ - 1] - columns_.places[0];
    }  ///< from the first point to the last one
    AreaIntegrals integrals(double widest) const;
    /// `centroid`: its place and height.
    AreaSpread spread(const PointSpacing& spacing, double widest, const Vector& centroid) const;

private:
    std::size_t count_;
    std::vector<double>
        values_;  ///< of all columns, each with room for a block of four behind the last point
    Columns columns_{};
};

}  // namespace KvMeasure::Internal

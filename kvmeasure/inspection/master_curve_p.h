#pragma once
// A master as contours of straight pieces: the nearest place on it, and the direction of the surface there.

#include <kvmeasure/base/plane_geometry.h>

#include <cstddef>
#include <vector>

namespace KvMeasure::Internal {

/// The nearest place of a master to a point.
struct NearestPlace {
    Vector place;           ///< on the master, mm
    Vector normal;          ///< unit, square to the smoothed surface, to the left of the scan direction
    Vector across;          ///< unit, square to the piece itself; at a corner the mean of both
    double distance = 0;    ///< from the point, mm; positive to the left
    double slopeNoise = 0;  ///< variance of the direction of `normal`, radians^2
    bool isBeyond = false;  ///< the point lies beyond the end of a contour, or far off beside it, as on a
                            ///< wall that the master does not show
    std::size_t piece = 0;  ///< where the next search may start
};

/// Contours in scan order, along rising x as a whole, with a tree of boxes over their pieces: a search costs
/// about the logarithm of their number.
class MasterCurve {
public:
    /// Contours of fewer than two points are left out.
    explicit MasterCurve(const std::vector<std::vector<Vector>>& contours);

    bool isEmpty() const { return pieces_.empty(); }
    const std::vector<Vector>& points() const { return points_; }
    /// The nearest place. There must be one. `near` is a piece to start from, which is taken where others are
    /// as near; `likely` is one more, which spares searching where it is near, and changes nothing else.
    NearestPlace nearest(const Vector& point, std::size_t near = 0, std::size_t likely = 0) const;

private:
    struct Piece {
        std::size_t from = 0;   ///< its first point; the other follows
        std::size_t first = 0;  ///< piece of its contour
        std::size_t last = 0;   ///< piece of its contour
    };
    struct Box {
        double left, bottom, right, top;
        double squaredDistance(const Vector& p) const;
    };
    struct Foot {
        double squared, share;
    };
    struct Nearest {
        std::size_t piece;
        std::size_t preferred;  ///< of pieces as near
        Foot foot;
    };

    void addContour(const std::vector<Vector>& contour);
    void smoothTangents(std::size_t from, std::size_t to, double noise);
    void buildTree();
    bool isBeyond(std::size_t piece, const Foot& foot) const;
    Foot footOn(std::size_t piece, const Vector& point) const;
    static void take(std::size_t piece, const Foot& here, Nearest& nearest);
    void search(std::size_t level, std::size_t box, const Vector& point, Nearest& nearest) const;
    Vector acrossOf(std::size_t piece) const;

    std::vector<Vector> points_;
    std::vector<Vector> tangents_;     ///< unit, one per point
    std::vector<double> slopeNoises_;  ///< of these
    std::vector<Piece> pieces_;
    std::vector<std::vector<Box>> levels_;  ///< boxes of 8 pieces, then of 8 boxes each, to a single one
};

}  // namespace KvMeasure::Internal

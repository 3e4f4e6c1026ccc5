#pragma once
// Where grooves may be: the gaps between a profile and its upper convex hull.

#include <kvmeasure/profiles/robust_line.h>

#include <utility>
#include <vector>

namespace KvMeasure::Internal {

/// A gap under the hull, by the numbers of the points at its ends.
struct GrooveGap {
    std::size_t from, to;                        ///< points of the hull
    std::size_t deepest;                         ///< between them
    double depth;                                ///< of that one under the hull, mm
    std::size_t landBefore = 0, landBehind = 0;  ///< first points on either side of it that are land again
};

/// How far points lie to the right of the way from one to another: below it where that leads to the right.
class DepthBelow {
public:
    DepthBelow(const Vector& from, const Vector& to)
        : from_(from), way_(to.x - from.x, to.y - from.y), size_(length(from, to)) {}

    double operator()(const Vector& p) const {
        return (way_.y * (p.x - from_.x) - way_.x * (p.y - from_.y)) / size_;
    }
    const Vector& from() const { return from_; }
    const Vector& way() const { return way_; }  ///< to the other one
    double size() const { return size_; }       ///< of the way

private:
    Vector from_, way_;
    double size_;
};

/// The same of one point.
double below(const Vector& p, const Vector& from, const Vector& to);

/// The last point before the land, on the way from the deepest one to `stop`: those of the land lie less deep
/// than `most`.
template <class Depth>
std::size_t landEnd(const std::vector<Vector>& points, std::size_t deepest, std::size_t stop, double most,
                    const Depth& depth) {
    std::size_t at = deepest;
    while (at != stop && !(depth(points[at]) < most))
        at = stop < at ? at - 1 : at + 1;
    return at;
}

/// The finite points, from left to right where the scan went from right to left.
std::vector<Vector> inScanOrder(const std::vector<Vector>& points);

/// Of finite points, one at least, the gaps from left to right that are deeper than a quarter of the deepest
/// and than eight standard deviations of the noise, or six tenths of the deepest. Land between two grooves
/// parts them, three points in a row at least, whether it is a corner of the hull or lies on it but for
/// noise.
std::vector<GrooveGap> gapsUnderHull(const std::vector<Vector>& points);

/// The points from one number to another, in either order, that lie to the right of the way from `left` to
/// `right` by `least` to `most` mm.
std::vector<Vector> between(const std::vector<Vector>& points, std::size_t from, std::size_t to,
                            const Vector& left, const Vector& right, double least, double most);

/// Numbers of two points, in either order, and those between.
using PointRange = std::pair<std::size_t, std::size_t>;

/// Fits a flank to the points of a range that lie `least` to `most` deep. Noise has a part in which these
/// are, and bends the line: on a slope they are chosen again from a wider range, by the depth that the line
/// has at their places. Lines that points are chosen by need no more than thinned() points, and neither does
/// the last one where `isRough`. `start`: such a line, where one is known; null: none. No line, with a
/// reason, through fewer than three.
LineFit fitFlank(const std::vector<Vector>& points, const PointRange& wide, const PointRange& narrow,
                 const DepthBelow& depthOf, double least, double most, const LineFit* start = nullptr,
                 bool isRough = false);

/// The greatest mean of the depths of five neighbours from one number to another: how deep it is, without the
/// noise of the deepest point. 0 for fewer than five.
double depthOfFive(const std::vector<Vector>& points, std::size_t from, std::size_t to, const Vector& left,
                   const Vector& right);

}  // namespace KvMeasure::Internal

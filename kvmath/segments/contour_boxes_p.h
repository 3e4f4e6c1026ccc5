#pragma once
// Bounds of the distances of points from a chord, block by block and box in box, for contours whose pieces
// are looked at again and again: a sawtooth that loses a tooth with every split. The farthest point is then
// found without looking at most others, and is the same as that of a scan.
//
// A box holds the least and greatest x and y of its points. The distance |nx (ox - x) + ny (oy - y)| of each
// point is rounded step by step, and rounding keeps order: the same steps on the bounds bound the result, to
// the last bit. Along a slanting contour such boxes are thick, so each holds bounds along and across the way
// from the first point to the last as well; there a margin for rounding is added.

#include <kvmath/base/vector2d.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

namespace KvMath::Internal {

/// A chord from `origin` with the unit normal (nx, ny).
struct ChordNormal {
    KvVector2D<double> origin;
    double nx, ny;
};

/// Built in time and memory that grow as the number of points. The points stay the caller's, are finite and
/// so small that no distance overflows.
class ContourBoxes {
public:
    static constexpr int kBlock = 64;  // points

    ContourBoxes() = default;
    ContourBoxes(const KvVector2D<double>* pts, int n) : pts_(pts), blocks_(n / kBlock) {
        while (leaves_ < blocks_)
            leaves_ *= 2;
        boxes_.resize(static_cast<std::size_t>(2 * leaves_ - 1));
        const double dx = pts[n - 1].x - pts[0].x, dy = pts[n - 1].y - pts[0].y;
        const double length = std::sqrt(dx * dx + dy * dy);
        if (length > 0)
            along_ = {dx / length, dy / length};
        for (int block = 0; block < blocks_; ++block)
            for (int k = block * kBlock; k < (block + 1) * kBlock; ++k)
                at(leaves_ - 1 + block).take(inAxes(pts[k]));
        for (int node = leaves_ - 2; node >= 0; --node) {
            at(node) = at(2 * node + 1);
            at(node).take(at(2 * node + 2));
        }
        margin_ = kRounding * (at(0).extent() + std::fabs(dx) + std::fabs(dy));
    }

    bool isEmpty() const { return blocks_ == 0; }

    /// The greatest of `greatest` and of the distances in the blocks from .. to - 1; `greatestInBlock` gives
    /// that of a block from its first point.
    template <class GreatestInBlock>
    double greatest(const ChordNormal& chord, int from, int to, double greatest,
                    const GreatestInBlock& greatestInBlock) const {
        const View view = viewOf(chord);
        raise(view, {0, 0, leaves_}, from, to, greatestInBlock, greatest);
        return greatest;
    }

    /// The first block of from .. to - 1 that may hold a distance not below `distance` and for which `holds`
    /// says so, given its first point; -1 when there is none.
    template <class Holds>
    int firstBlock(const ChordNormal& chord, int from, int to, double distance, const Holds& holds) const {
        return first(viewOf(chord), {0, 0, leaves_}, from, to, distance, holds);
    }

private:
    static constexpr double kRounding = 1e-14;     // of lengths, in a few steps
    static constexpr double kLongest = 1 + 1e-12;  // of a unit vector's squared length

    using Axes = std::array<double, 4>;  // x, y, along, across; the last two from the first point

    struct Box {
        Axes low = filled(std::numeric_limits<double>::infinity());
        Axes high = filled(-std::numeric_limits<double>::infinity());

        static Axes filled(double value) { return {value, value, value, value}; }
        void take(const Axes& v) {
            for (std::size_t k = 0; k < v.size(); ++k) {
                low[k] = std::min(low[k], v[k]);
                high[k] = std::max(high[k], v[k]);
            }
        }
        void take(const Box& other) {
            for (std::size_t k = 0; k < low.size(); ++k) {
                low[k] = std::min(low[k], other.low[k]);
                high[k] = std::max(high[k], other.high[k]);
            }
        }
        double extent() const { return high[0] - low[0] + (high[1] - low[1]); }
    };

    /// A node and its blocks first .. last - 1.
    struct Part {
        int node, first, last;
        Part child(int second) const {
            const int middle = (first + last) / 2;
            return {2 * node + 1 + second, second == 0 ? first : middle, second == 0 ? middle : last};
        }
    };

    struct View {
        ChordNormal chord;
        double alongNormal, acrossNormal;  ///< of the chord, in the axes of the contour
        double originAlong, originAcross;
        bool isUnit;
    };

    Axes inAxes(const KvVector2D<double>& p) const {
        const double x = p.x - pts_[0].x, y = p.y - pts_[0].y;
        return {p.x, p.y, x * along_.x + y * along_.y, along_.x * y - along_.y * x};
    }

    View viewOf(const ChordNormal& chord) const {
        const Axes origin = inAxes(chord.origin);
        return {chord,
                chord.nx * along_.x + chord.ny * along_.y,
                along_.x * chord.ny - along_.y * chord.nx,
                origin[2],
                origin[3],
                chord.nx * chord.nx + chord.ny * chord.ny < kLongest};
    }

    /// Greatest of |a + b|, a between the two products of `n` with `origin` - low and - high, b alike.
    static double greatestSum(double n, double origin, double low, double high, double m, double other,
                              double below, double above) {
        const double a0 = n * (origin - low), a1 = n * (origin - high);
        const double b0 = m * (other - below), b1 = m * (other - above);
        return std::max(std::fabs(std::min(a0, a1) + std::min(b0, b1)),
                        std::fabs(std::max(a0, a1) + std::max(b0, b1)));
    }

    /// No distance of a point in the box is greater.
    double bound(const View& view, int node) const {
        const Box& box = at(node);
        const double upright = greatestSum(view.chord.nx, view.chord.origin.x, box.low[0], box.high[0],
                                           view.chord.ny, view.chord.origin.y, box.low[1], box.high[1]);
        if (!view.isUnit)
            return upright;
        const double slanting = greatestSum(view.alongNormal, view.originAlong, box.low[2], box.high[2],
                                            view.acrossNormal, view.originAcross, box.low[3], box.high[3]);
        return std::min(upright, slanting + margin_);
    }

    /// The part with the higher bound first, so that the other is refused the sooner.
    template <class GreatestInBlock>
    void raise(const View& view, const Part& part, int from, int to, const GreatestInBlock& greatestInBlock,
               double& greatest) const {
        if (part.last <= from || part.first >= to || !(bound(view, part.node) > greatest))
            return;
        if (part.last - part.first == 1) {
            greatest = std::max(greatest, greatestInBlock(part.first * kBlock));
            return;
        }
        const Part parts[] = {part.child(0), part.child(1)};
        const bool isSecondHigher =
            parts[1].first < blocks_ && bound(view, parts[1].node) > bound(view, parts[0].node);
        raise(view, parts[isSecondHigher ? 1 : 0], from, to, greatestInBlock, greatest);
        raise(view, parts[isSecondHigher ? 0 : 1], from, to, greatestInBlock, greatest);
    }

    template <class Holds>
    int first(const View& view, const Part& part, int from, int to, double distance,
              const Holds& holds) const {
        if (part.last <= from || part.first >= to || bound(view, part.node) < distance)
            return -1;
        if (part.last - part.first == 1)
            return holds(part.first * kBlock) ? part.first : -1;
        const int found = first(view, part.child(0), from, to, distance, holds);
        return found >= 0 ? found : first(view, part.child(1), from, to, distance, holds);
    }

    Box& at(int node) { return boxes_[static_cast<std::size_t>(node)]; }
    const Box& at(int node) const { return boxes_[static_cast<std::size_t>(node)]; }

    const KvVector2D<double>* pts_ = nullptr;
    int blocks_ = 0, leaves_ = 1;
    KvVector2D<double> along_{1, 0};
    std::vector<Box> boxes_;  ///< the children of node i are 2 i + 1 and 2 i + 2
    double margin_ = 0;
};

}  // namespace KvMath::Internal

// For each point the cells that are near enough are looked up on each axis, and only their combinations are
// tested. A counting sort then makes the lists, so that each holds its points in their order. Cost: linear in
// points, balls and memberships, and one look-up a point and axis, mostly a guess from the mean spacing.
#include <kvmath/core/ball_lists_p.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace KvMath::Internal {
namespace {

/// A middle of one axis that is near enough to a coordinate on this axis alone.
struct Near {
    int index;
    float square;  ///< of the distance on this axis
};

struct NearMiddles {
    std::array<Near, 8> found;
    int count = 0;
    const Near* begin() const { return found.data(); }
    const Near* end() const { return found.data() + count; }
};

class Axis {
public:
    Axis(const CellEdges& edges, float cell) : edges_(edges), cell_(cell) {
        for (int i = 0; i < edges.count(); ++i) {
            lower_.push_back(edges.at(i));
            middle_.push_back(lower_.back() + cell / 2.0F);
        }
        const float span = lower_.back() - lower_.front();
        perMm_ = span > 0.0F ? static_cast<float>(edges.count() - 1) / span : 0.0F;
        lower_.push_back(std::numeric_limits<float>::infinity());
    }
    int count() const { return edges_.count(); }

    /// Edges are at least half a cell apart, so that the window is wider than any rounding. What is farther
    /// than a whole cell needs no root.
    NearMiddles near(float p) const {
        NearMiddles near;
        if (std::isnan(p))
            return near;
        const int last = lastNotAbove(p);
        const int end = std::min(last + 3, count());
        for (int i = std::max(last - 4, 0); i < end; ++i) {
            const float d = p - middle_[static_cast<std::size_t>(i)];
            if (std::fabs(d) > cell_ || !(std::sqrt(d * d) <= cell_ * 0.5F))
                continue;
            near.found[static_cast<std::size_t>(near.count++)] = {i, d * d};
        }
        return near;
    }

private:
    /// A guess from the mean spacing, where the table confirms it.
    int lastNotAbove(float p) const {
        const float guess = (p - lower_.front()) * perMm_;
        if (guess >= 0.0F && guess < static_cast<float>(count())) {
            const float* const lower = lower_.data() + static_cast<int>(guess);
            if (lower[0] <= p && p < lower[1])
                return static_cast<int>(guess);
        }
        return edges_.lastNotAbove(p);
    }

    const CellEdges& edges_;
    std::vector<float> lower_, middle_;  // of the cells; behind the last lower one infinity
    float cell_;
    float perMm_;
};

struct Membership {
    int ball, point;
};

}  // namespace

BallLists::BallLists(const QList<KvPointXYZ>& points, const CellEdges& x, const CellEdges& y,
                     const CellEdges& z, float cell) {
    const Axis axisX(x, cell);
    const Axis axisY(y, cell);
    const Axis axisZ(z, cell);
    const double reach = static_cast<double>(cell) * 0.5;
    first_.resize(static_cast<std::size_t>(x.count()) * static_cast<std::size_t>(y.count()) *
                      static_cast<std::size_t>(z.count()) +
                  1);
    std::vector<Membership> memberships;
    memberships.reserve(2 * static_cast<std::size_t>(points.size()));
    for (int i = 0; i < points.size(); ++i) {
        const KvPointXYZ& p = points.at(i);
        const NearMiddles nearX = axisX.near(p.x);
        const NearMiddles nearY = axisY.near(p.y);
        const NearMiddles nearZ = axisZ.near(p.z);
        for (const Near& inX : nearX) {
            for (const Near& inY : nearY) {
                const int row = (inX.index * y.count() + inY.index) * z.count();
                for (const Near& inZ : nearZ) {
                    const float distance = std::sqrt(inX.square + inY.square + inZ.square);
                    if (!(static_cast<double>(distance) <= reach))
                        continue;
                    const int ball = row + inZ.index;
                    memberships.push_back({ball, i});
                    ++first_[static_cast<std::size_t>(ball)];
                }
            }
        }
    }
    // Counts become ends, and filling from behind turns the ends into beginnings.
    int sum = 0;
    for (int& entry : first_)
        entry = sum += entry;
    points_.resize(memberships.size());
    for (auto m = memberships.crbegin(); m != memberships.crend(); ++m)
        points_[static_cast<std::size_t>(--first_[static_cast<std::size_t>(m->ball)])] = m->point;
}

int BallLists::thinOut(int minCount, std::vector<bool>& gone) const {
    int removed = 0;
    for (std::size_t ball = 0; ball + 1 < first_.size(); ++ball) {
        const auto begin = points_.begin() + first_[ball];
        const auto end = points_.begin() + first_[ball + 1];
        const auto left =
            std::count_if(begin, end, [&gone](int point) { return !gone[static_cast<std::size_t>(point)]; });
        if (left >= minCount)
            continue;
        std::for_each(begin, end, [&gone](int point) { gone[static_cast<std::size_t>(point)] = true; });
        removed += static_cast<int>(left);
    }
    return removed;
}

}  // namespace KvMath::Internal

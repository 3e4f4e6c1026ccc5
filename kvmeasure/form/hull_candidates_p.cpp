// The first levels of a quick hull: the point farthest beyond an edge makes a triangle with it, whose inside
// holds no corner. A point is dropped where the sign of its turn is certain in double, by the bound of
// J. R. Shewchuk (Discrete Comput. Geom. 18 (1997) 305-363). A few passes over the points, without branches
// that depend on them.

#include <kvmeasure/form/hull_candidates_p.h>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace KvMeasure::Internal {

namespace {

/// The way from one point to another.
struct Edge {
    Edge(const Vector& from, const Vector& to) : start(from), dx(to.x - from.x), dy(to.y - from.y) {}

    /// Twice the area of the triangle with p, positive where p lies to the right; zero where rounding leaves
    /// the side open.
    double rightOf(const Vector& p) const {
        constexpr double kBound = 3.4e-16;  // of the sum of the products
        const double a = dy * (p.x - start.x), b = dx * (p.y - start.y);
        const double area = a - b;
        return std::fabs(area) > kBound * (std::fabs(a) + std::fabs(b)) ? area : 0;
    }

    Vector start;
    double dx, dy;
};

/// Points right of an edge for certain: a run of the list, and the farthest of them.
struct Beyond {
    std::size_t begin = 0, end = 0;
    int farthest = -1;
};

class Thinning {
public:
    explicit Thinning(const std::vector<Vector>& points)
        : points_(points), list_(points.size()), spare_(points.size()) {}
    std::vector<int> run();

private:
    const Vector& at(int i) const { return points_[static_cast<std::size_t>(i)]; }
    template <class Area>
    void split(const Beyond& all, const Area& areaOf, Beyond (&beyond)[2]);
    void thin(const Beyond& beyond, int a, int b, int level);

    const std::vector<Vector>& points_;
    std::vector<int> list_, spare_, kept_;
};

/// The points of a run that lie right of the edge that each belongs to, by areaOf(point, side). Those of
/// which it is open are kept, those to the left dropped.
template <class Area>
void Thinning::split(const Beyond& all, const Area& areaOf, Beyond (&beyond)[2]) {
    double greatest[2] = {0, 0};
    std::size_t first = all.begin, second = 0;
    for (std::size_t k = all.begin; k < all.end; ++k) {
        const int i = list_[k];
        const Vector& p = at(i);
        int side = 0;
        const double area = areaOf(p, side);
        if (area == 0)
            kept_.push_back(i);
        if (area > greatest[side]) {
            greatest[side] = area;
            beyond[side].farthest = i;
        }
        list_[first] = i;
        spare_[second] = i;
        first += area > 0 && side == 0 ? 1 : 0;
        second += area > 0 && side == 1 ? 1 : 0;
    }
    std::copy_n(spare_.begin(), second, list_.begin() + static_cast<std::ptrdiff_t>(first));
    beyond[0].begin = all.begin;
    beyond[0].end = beyond[1].begin = first;
    beyond[1].end = first + second;
}

/// Keeps those of the points right of the edge that may be corners. The ways round the hull run to the right
/// below it and to the left above it, so that x tells which side of the triangle a point can lie beyond.
void Thinning::thin(const Beyond& beyond, int a, int b, int level) {
    constexpr int kLevels = 6;
    constexpr std::size_t kFew = 32;
    if (level == kLevels || beyond.end - beyond.begin < kFew) {
        kept_.insert(kept_.end(), list_.begin() + static_cast<std::ptrdiff_t>(beyond.begin),
                     list_.begin() + static_cast<std::ptrdiff_t>(beyond.end));
        return;
    }
    const int corner = beyond.farthest;
    const double sign = at(a).x <= at(b).x ? 1 : -1, x = sign * at(corner).x;
    const Edge edges[2] = {{at(a), at(corner)}, {at(corner), at(b)}};
    Beyond parts[2];
    const auto areaOf = [&](const Vector& p, int& side) {
        side = sign * p.x >= x ? 1 : 0;
        return edges[side].rightOf(p);
    };
    split(beyond, areaOf, parts);
    thin(parts[0], a, corner, level + 1);
    thin(parts[1], corner, b, level + 1);
}

std::vector<int> Thinning::run() {
    std::iota(list_.begin(), list_.end(), 0);
    const auto isLess = [](const Vector& p, const Vector& q) { return p.x < q.x; };
    const auto [left, right] = std::minmax_element(points_.begin(), points_.end(), isLess);
    const auto a = static_cast<int>(left - points_.begin()), b = static_cast<int>(right - points_.begin());
    const Edge edge(*left, *right);
    const auto areaOf = [&](const Vector& p, int& side) {
        const double area = edge.rightOf(p);
        side = area < 0 ? 1 : 0;
        return std::fabs(area);
    };
    Beyond all, parts[2];
    all.end = list_.size();
    split(all, areaOf, parts);
    thin(parts[0], a, b, 0);
    thin(parts[1], b, a, 0);
    kept_.insert(kept_.end(), {a, b});
    std::sort(kept_.begin(), kept_.end());
    kept_.erase(std::unique(kept_.begin(), kept_.end()), kept_.end());
    return std::move(kept_);
}

}  // namespace

std::vector<int> hullCandidates(const std::vector<Vector>& points) { return Thinning(points).run(); }

}  // namespace KvMeasure::Internal

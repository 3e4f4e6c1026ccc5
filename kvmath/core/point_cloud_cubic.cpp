// Sparse-cell filters. A scan over all cells would search the whole cloud once per cell. Only occupied cells
// can lose points, so each point is put into the few cells that hold it, the pairs are sorted into scan
// order, and each cell counts what is left of its points when its turn comes. Cost n log n in the points,
// whatever the number of cells. Cells that are not many more than the points are counted in tables instead;
// of cubes only the points on faces lie in several and make the order matter. Cost n.

#include <kvmath/base/count_p.h>
#include <kvmath/core/point_cloud.h>

#include <kvmath/core/ball_lists_p.h>
#include <kvmath/core/cell_edges_p.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace KvMath {
namespace {

using Internal::CellEdges;

/// One point in one cell; the order of pairs is the order of the scan: x, y, z, then point.
using Membership = std::pair<quint64, quint64>;

/// Indices of the cells of one axis that can hold a coordinate.
struct Candidates {
    std::array<int, 8> cells;
    int count = 0;
    void add(int cell) { cells[static_cast<std::size_t>(count++)] = cell; }
    const int* begin() const { return cells.data(); }
    const int* end() const { return cells.data() + count; }
};

/// The edges of one axis with a table of the first few thousand, for clouds of many points.
class TabledEdges {
public:
    explicit TabledEdges(const CellEdges& edges) : edges_(edges) {
        constexpr int kMostTabled = 4096;
        const int count = edges.count() <= kMostTabled ? edges.count() : 0;
        for (int i = 0; i < count; ++i)
            table_.push_back(edges.at(i));
        if (count > 1 && std::isfinite(table_.back() - table_.front()))
            perMm_ = static_cast<float>(count - 1) / (table_.back() - table_.front());
        tabled_ = static_cast<float>(count);
        table_.push_back(std::numeric_limits<float>::infinity());
    }
    int count() const { return edges_.count(); }
    float at(int i) const { return edges_.at(i); }
    int lastNotAbove(float p) const { return edges_.lastNotAbove(p); }

    /// The cube that holds a coordinate away from any face: a guess from the mean spacing that the table
    /// confirms. -1 where it does not, and on faces, where there may be two cubes or none.
    int cubeInside(float p, float cell) const {
        const float guess = (p - table_.front()) * perMm_;
        if (!(guess >= 0.0F && guess < tabled_))  // NaN too
            return -1;
        const int i = static_cast<int>(guess);
        const float* const lower = table_.data() + i;
        return lower[0] < p && p < lower[1] && !(p > lower[0] + cell) ? i : -1;
    }

private:
    const CellEdges& edges_;
    std::vector<float> table_;  // and infinity behind the last
    float tabled_ = 0.0F;
    float perMm_ = 0.0F;
};

/// Cubes closed on both ends: the upper face of a cell is, bit for bit, the lower face of the next.
template <class Edges>
Candidates cubesHolding(const Edges& edges, float cell, float p) {
    Candidates found;
    const int last = std::isnan(p) ? -1 : edges.lastNotAbove(p);
    if (last < 0)
        return found;
    const float lower = edges.at(last);
    if (last > 0 && p == lower)
        found.add(last - 1);
    if (!(p > lower + cell))  // a face that is no number is no limit
        found.add(last);
    return found;
}

/// Balls whose centre is near enough on this axis alone. Centres lie half a cell above edges that are at
/// least half a cell apart, so the window is wider than any rounding.
Candidates ballsNear(const CellEdges& edges, float cell, float p) {
    Candidates found;
    if (std::isnan(p))
        return found;
    const int last = edges.lastNotAbove(p);
    for (int i = std::max(last - 4, 0); i <= std::min(last + 2, edges.count() - 1); ++i) {
        const float d = p - (edges.at(i) + cell / 2.0F);
        if (std::sqrt(d * d) <= cell * 0.5F)
            found.add(i);
    }
    return found;
}

struct Grid {
    CellEdges x, y, z;
    float cell;

    Grid(const KvPointCloud<KvPointXYZ>& cloud, float step, float cellSize)
        : x(cloud.minX, cloud.maxX, step), y(cloud.minY, cloud.maxY, step), z(cloud.minZ, cloud.maxZ, step),
          cell(cellSize) {}

    bool holdsInBall(const KvPointXYZ& p, int ix, int iy, int iz) const {
        const float half = cell / 2.0F;
        const KvPointXYZ centre(x.at(ix) + half, y.at(iy) + half, z.at(iz) + half);
        return static_cast<double>(p.calcDistance(centre)) <= static_cast<double>(cell) * 0.5;
    }
};

std::vector<Membership> membershipsOf(const QList<KvPointXYZ>& points, const Grid& grid, bool balls) {
    const auto candidates = balls ? ballsNear : cubesHolding<CellEdges>;
    std::vector<Membership> found;
    found.reserve(static_cast<std::size_t>(points.size()));
    for (int i = 0; i < points.size(); ++i) {
        const KvPointXYZ& p = points.at(i);
        const Candidates inX = candidates(grid.x, grid.cell, p.x);
        const Candidates inY = candidates(grid.y, grid.cell, p.y);
        const Candidates inZ = candidates(grid.z, grid.cell, p.z);
        for (const int ix : inX)
            for (const int iy : inY)
                for (const int iz : inZ)
                    if (!balls || grid.holdsInBall(p, ix, iy, iz))
                        found.emplace_back(quint64(ix) << 32 | quint64(iy), quint64(iz) << 32 | quint64(i));
    }
    std::sort(found.begin(), found.end());
    return found;
}

bool sameCell(const Membership& a, const Membership& b) {
    return a.first == b.first && a.second >> 32 == b.second >> 32;
}

std::size_t pointOf(const Membership& m) { return static_cast<std::size_t>(m.second & 0xFFFFFFFFU); }

/// Visits the cells in scan order and takes the points of those with too few left. Returns the number taken.
int thinOut(const std::vector<Membership>& memberships, int minCount, std::vector<bool>& gone) {
    int removed = 0;
    for (auto cell = memberships.begin(); cell != memberships.end();) {
        const auto stop = std::find_if_not(cell, memberships.end(),
                                           [cell](const Membership& m) { return sameCell(*cell, m); });
        const auto left =
            std::count_if(cell, stop, [&gone](const Membership& m) { return !gone[pointOf(m)]; });
        if (left < minCount) {
            std::for_each(cell, stop, [&gone](const Membership& m) { gone[pointOf(m)] = true; });
            removed += static_cast<int>(left);
        }
        cell = stop;
    }
    return removed;
}

/// Whether the cells are not many more than the points.
bool isSmall(const Grid& grid, int points) {
    constexpr double kPerPoint = 16;
    constexpr double kAlways = 4096;
    const double cells = double(grid.x.count()) * double(grid.y.count()) * double(grid.z.count());
    constexpr int kMostPoints = 1 << 27;  // in up to eight balls each, counted by int
    return points < kMostPoints && cells <= std::min(kPerPoint * points + kAlways, double(1 << 30));
}

/// The same for cubes of a grid that is small enough for one counter each.
class CubeCounter {
public:
    CubeCounter(const QList<KvPointXYZ>& points, const Grid& grid, int minCount)
        : points_(points), x_(grid.x), y_(grid.y), z_(grid.z), cell_(grid.cell), minCount_(minCount) {}

    int thinOut(std::vector<bool>& gone);

private:
    struct Shared {
        int cube, point;
        bool operator<(const Shared& other) const {
            return cube != other.cube ? cube < other.cube : point < other.point;
        }
    };
    template <class Visit>
    void forCubes(const KvPointXYZ& p, Visit visit) const {
        for (const int ix : cubesHolding(x_, cell_, p.x))
            for (const int iy : cubesHolding(y_, cell_, p.y))
                for (const int iz : cubesHolding(z_, cell_, p.z))
                    visit(cubeAt(ix, iy, iz));
    }
    int cubeAt(int ix, int iy, int iz) const { return (ix * y_.count() + iy) * z_.count() + iz; }
    void count();
    int countAtFace(int point);
    int thinOutShared(std::vector<bool>& gone);
    int& left(int cube) { return left_[static_cast<std::size_t>(cube)]; }

    const QList<KvPointXYZ>& points_;
    TabledEdges x_, y_, z_;
    float cell_;
    int minCount_;
    std::vector<int> left_;       // per cube, in scan order; its points, until its turn has come
    std::vector<int> cubeOf_;     // per point; -1 in none or several
    std::vector<Shared> shared_;  // points in several, in scan order
};

void CubeCounter::count() {
    left_.resize(static_cast<std::size_t>(x_.count()) * static_cast<std::size_t>(y_.count()) *
                 static_cast<std::size_t>(z_.count()));
    cubeOf_.resize(static_cast<std::size_t>(points_.size()));
    int* cubeOf = cubeOf_.data();
    for (int i = 0; i < points_.size(); ++i) {
        const KvPointXYZ& p = points_.at(i);
        const int ix = x_.cubeInside(p.x, cell_);
        const int iy = y_.cubeInside(p.y, cell_);
        const int iz = z_.cubeInside(p.z, cell_);
        if ((ix | iy | iz) >= 0) {
            *cubeOf = cubeAt(ix, iy, iz);
            ++left(*cubeOf);
        } else {
            *cubeOf = countAtFace(i);
        }
        ++cubeOf;
    }
    std::sort(shared_.begin(), shared_.end());
}

/// The same for a point that may be in none or several cubes. The one cube, or -1.
int CubeCounter::countAtFace(int point) {
    int cubes = 0;
    int only = -1;
    forCubes(points_.at(point), [&](int cube) {
        ++left(cube);
        if (++cubes == 2)
            shared_.push_back({only, point});
        if (cubes > 1)
            shared_.push_back({cube, point});
        only = cube;
    });
    return cubes == 1 ? only : -1;
}

/// A point taken by one cube is missing in those of its cubes that come later.
int CubeCounter::thinOutShared(std::vector<bool>& gone) {
    int removed = 0;
    for (std::size_t first = 0, stop = 0; first < shared_.size(); first = stop) {
        const int cube = shared_[first].cube;
        const bool isSparse = left(cube) < minCount_;
        for (stop = first; stop < shared_.size() && shared_[stop].cube == cube; ++stop) {
            const int point = shared_[stop].point;
            if (!isSparse || gone[static_cast<std::size_t>(point)])
                continue;
            gone[static_cast<std::size_t>(point)] = true;
            ++removed;
            forCubes(points_.at(point), [&](int other) { left(other) -= other > cube ? 1 : 0; });
        }
    }
    return removed;
}

int CubeCounter::thinOut(std::vector<bool>& gone) {
    count();
    int removed = thinOutShared(gone);
    for (std::size_t i = 0; i < cubeOf_.size(); ++i) {
        if (cubeOf_[i] >= 0 && left(cubeOf_[i]) < minCount_) {
            gone[i] = true;
            ++removed;
        }
    }
    return removed;
}

/// The points that are not gone, in their places in memory where no other cloud shares these.
void keepOthers(QList<KvPointXYZ>& points, const std::vector<bool>& gone, int removed) {
    const int size = Internal::countOf(points);
    if (points.isDetached()) {
        auto kept = points.begin();
        auto point = kept;
        for (int i = 0; i < size; ++i, ++point) {
            if (!gone[static_cast<std::size_t>(i)])
                *kept++ = *point;
        }
        points.erase(kept, points.end());
        return;
    }
    QList<KvPointXYZ> others;
    others.reserve(size - removed);
    for (int i = 0; i < size; ++i) {
        if (!gone[static_cast<std::size_t>(i)])
            others.append(points.at(i));
    }
    points.swap(others);
}

int removeSparse(KvPointCloud<KvPointXYZ>& cloud, float step, float cell, int minCount, bool balls) {
    if (std::isnan(cloud.minX) || std::isnan(cloud.maxX) || std::isnan(cloud.minY) ||
        std::isnan(cloud.maxY) || std::isnan(cloud.minZ) || std::isnan(cloud.maxZ))
        cloud.calcRange();
    if (!(cell > 0.0F) || minCount < 1)
        return 0;
    const Grid grid(cloud, step, cell);
    if (grid.x.count() == 0 || grid.y.count() == 0 || grid.z.count() == 0)
        return 0;
    const QList<KvPointXYZ>& source = qAsConst(cloud.points);
    std::vector<bool> gone(static_cast<std::size_t>(source.size()), false);
    int removed = 0;
    if (!isSmall(grid, Internal::countOf(source)))
        removed = thinOut(membershipsOf(source, grid, balls), minCount, gone);
    else if (balls)
        removed = Internal::BallLists(source, grid.x, grid.y, grid.z, cell).thinOut(minCount, gone);
    else
        removed = CubeCounter(source, grid, minCount).thinOut(gone);
    if (removed == 0)
        return 0;
    keepOthers(cloud.points, gone, removed);
    cloud.zIndexBuilt = false;
    return removed;
}

/// Balls below this edge, mm, are refused: distances are single precision, whose squares must not vanish.
constexpr float kSmallestBall = 1e-15F;

}  // namespace

int KvPointCloud<KvPointXYZ>::cubicFilter(float cell, int minCount) {
    return points.size() < minCount ? 0 : removeSparse(*this, cell, cell, minCount, /*balls=*/false);
}

int KvPointCloud<KvPointXYZ>::cubicFilter2(float cell, float /*second*/, int minCount, bool spherical) {
    if (points.size() < 2)
        return 0;
    if (!spherical)
        return removeSparse(*this, cell, cell, minCount, /*balls=*/false);
    if (!(cell >= kSmallestBall))
        return 0;
    const float step = static_cast<float>(static_cast<double>(cell) / 1.41421);
    return removeSparse(*this, step, cell, minCount, /*balls=*/true);
}

int KvPointCloud<KvPointXYZ>::sphericalFilter2(float cell, float second, int minCount) {
    return cubicFilter2(cell, second, minCount, /*spherical=*/true);
}

}  // namespace KvMath

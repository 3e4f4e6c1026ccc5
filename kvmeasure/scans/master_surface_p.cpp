// Neighbouring rows are joined by a strip of triangles: of the next point of either row the nearer one in x
// comes first. The triangles are sorted along a Z curve over (x, scan) (G. M. Morton, 1966), so that runs of
// eight are compact, and boxes over runs make a pyramid. Building: n log n; a search: about log n. The sign
// of a distance is that of the normal at the nearest place; at edges and corners of triangles that is the
// mean by angles (J. A. Baerentzen, H. Aanaes, IEEE Trans. Vis. Comput. Graph. 11 (2005) 243-253).

#include <kvmeasure/scans/master_surface_p.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace KvMeasure::Internal {

namespace {

constexpr std::size_t kFanOut = 8;
constexpr std::size_t kMostPoints = 4'000'000;
constexpr std::uint8_t kRings = 3;  // about the border, in which far points do not count
constexpr std::uint8_t kRowSide = 1;
constexpr std::uint8_t kExitSide = 2;
constexpr std::uint8_t kEntrySide = 4;
constexpr double kVanishing = 1e-300;

/// Bits of a number, a zero before each.
std::uint32_t spread(std::uint32_t bits) {
    bits = (bits | (bits << 8U)) & 0x00FF00FFU;
    bits = (bits | (bits << 4U)) & 0x0F0F0F0FU;
    bits = (bits | (bits << 2U)) & 0x33333333U;
    return (bits | (bits << 1U)) & 0x55555555U;
}

}  // namespace

/// The nearest place found so far.
struct MasterSurface::Foot {
    std::uint32_t triangle = 0;
    double squared = std::numeric_limits<double>::infinity();
    SpaceVector place;
    int side = -1;                    // on which it lies; -1: within the triangle
    int corner = -1;                  // at which it lies
    std::array<double, 3> weights{};  // of the corners
};

inline double MasterSurface::Box::squaredDistance(const SpaceVector& p) const {
    const double dx = std::max({double(low[0]) - p.x, 0.0, p.x - double(high[0])});
    const double dy = std::max({double(low[1]) - p.y, 0.0, p.y - double(high[1])});
    const double dz = std::max({double(low[2]) - p.z, 0.0, p.z - double(high[2])});
    return dx * dx + dy * dy + dz * dz;
}

MasterSurface::MasterSurface(const HeightPlane& plane) : isPlane_(true), plane_(plane) {}

MasterSurface::MasterSurface(const Scan& scan) : rows_(scan, kMostPoints) {
    std::vector<std::uint8_t> sides(rows_.points.size());
    triangles_.reserve(2 * rows_.points.size());
    for (std::size_t row = 0; row + 1 < rows_.size(); ++row)
        joinRows(row, sides);
    markBorders(sides);
    findNormals();
    sortTriangles();
    buildTree();
}

SpaceVector MasterSurface::at(std::uint32_t vertex) const {
    const KvMath::KvPointXYZ& p = rows_.points[vertex];
    return {double(p.x), double(p.y), double(p.z)};
}

bool MasterSurface::isTooSteep(const SpaceVector& way) const {
    constexpr double kSteepest = 5.67;  // tangent of 80 degrees
    constexpr double kMostNoise = 12;   // deviations
    return std::fabs(way.y) > kSteepest * std::sqrt(way.x * way.x + way.z * way.z) + kMostNoise * rows_.noise;
}

bool MasterSurface::areJoined(std::uint32_t a, std::uint32_t b) const {
    constexpr double kMostSteps = 5;
    const SpaceVector way = at(b) - at(a);
    return std::fabs(way.x) <= kMostSteps * rows_.stepX && std::fabs(way.z) <= kMostSteps * rows_.stepZ &&
           !isTooSteep(way);
}

/// The strip between a row and the next one. `sides`: bits 1 and 2 of a point, where the side to its
/// neighbour in the row has a triangle behind and before it.
void MasterSurface::joinRows(std::size_t row, std::vector<std::uint8_t>& sides) {
    std::uint32_t i = rows_.starts[row];
    std::uint32_t k = rows_.starts[row + 1];
    const std::uint32_t lastI = rows_.starts[row + 1] - 1;
    const std::uint32_t lastK = rows_.starts[row + 2] - 1;
    const auto x = [this](std::uint32_t point) { return double(rows_.points[point].x); };
    bool wasKept = false;
    while (i < lastI || k < lastK) {
        const bool takesI =
            k == lastK || (i < lastI && std::fabs(x(i + 1) - x(k)) <= std::fabs(x(k + 1) - x(i)));
        Triangle triangle;
        triangle.corners =
            takesI ? std::array<std::uint32_t, 3>{i, i + 1, k} : std::array<std::uint32_t, 3>{k, k + 1, i};
        const auto& [a, b, c] = triangle.corners;
        const bool isKept = areJoined(a, b) && areJoined(b, c) && areJoined(c, a) &&
                            length(cross(at(b) - at(a), at(c) - at(a))) > kVanishing;
        if (wasKept && !isKept)
            triangles_.back().border |= kExitSide;
        if (isKept) {
            triangle.border = wasKept ? 0 : kEntrySide;
            sides[a] = static_cast<std::uint8_t>(sides[a] | (takesI ? 1U : 2U));
            triangles_.push_back(triangle);
        }
        wasKept = isKept;
        ++(takesI ? i : k);
    }
    if (wasKept)
        triangles_.back().border |= kExitSide;
}

void MasterSurface::markBorders(const std::vector<std::uint8_t>& sides) {
    constexpr std::uint8_t kBoth = 3;
    rings_.assign(rows_.points.size(), kRings);
    for (Triangle& triangle : triangles_) {
        if (sides[triangle.corners[0]] != kBoth)
            triangle.border |= kRowSide;
        for (std::size_t i = 0; i < 3; ++i) {
            if ((triangle.border & (1U << i)) != 0)
                rings_[triangle.corners[i]] = rings_[triangle.corners[(i + 1) % 3]] = 0;
        }
    }
    for (std::uint8_t ring = 1; ring < kRings; ++ring) {
        for (const Triangle& triangle : triangles_) {
            const auto& [a, b, c] = triangle.corners;
            if (std::min({rings_[a], rings_[b], rings_[c]}) != ring - 1)
                continue;
            for (const std::uint32_t corner : triangle.corners)
                rings_[corner] = std::min(rings_[corner], ring);
        }
    }
}

SpaceVector MasterSurface::faceNormal(const Triangle& triangle) const {
    const auto& [a, b, c] = triangle.corners;
    const SpaceVector normal = unit(cross(at(b) - at(a), at(c) - at(a)), {0, 1, 0});
    return normal.y < 0 ? -1.0 * normal : normal;
}

void MasterSurface::findNormals() {
    normals_.assign(rows_.points.size(), {0, 0, 0});
    for (const Triangle& triangle : triangles_) {
        const SpaceVector normal = faceNormal(triangle);
        for (std::size_t i = 0; i < 3; ++i) {
            const SpaceVector here = at(triangle.corners[i]);
            const SpaceVector one = at(triangle.corners[(i + 1) % 3]) - here;
            const SpaceVector other = at(triangle.corners[(i + 2) % 3]) - here;
            const double angle = std::atan2(length(cross(one, other)), dot(one, other));
            std::array<float, 3>& sum = normals_[triangle.corners[i]];
            sum[0] += static_cast<float>(angle * normal.x);
            sum[1] += static_cast<float>(angle * normal.y);
            sum[2] += static_cast<float>(angle * normal.z);
        }
    }
    for (std::array<float, 3>& sum : normals_) {
        const SpaceVector normal = unit(vectorOf(sum), {0, 1, 0});
        sum = {static_cast<float>(normal.x), static_cast<float>(normal.y), static_cast<float>(normal.z)};
    }
}

void MasterSurface::sortTriangles() {
    constexpr double kCells = 65'535;
    if (triangles_.empty())
        return;
    SpaceVector low = at(triangles_[0].corners[0]);
    SpaceVector high = low;
    for (const Triangle& triangle : triangles_) {
        const SpaceVector corner = at(triangle.corners[0]);
        low = {std::min(low.x, corner.x), 0, std::min(low.z, corner.z)};
        high = {std::max(high.x, corner.x), 0, std::max(high.z, corner.z)};
    }
    const double extent = std::max({high.x - low.x, high.z - low.z, std::numeric_limits<double>::min()});
    std::vector<std::pair<std::uint32_t, std::uint32_t>> keys;
    keys.reserve(triangles_.size());
    for (const Triangle& triangle : triangles_) {
        const SpaceVector corner = at(triangle.corners[0]) - low;
        const auto column = static_cast<std::uint32_t>(kCells * (corner.x / extent));
        const auto row = static_cast<std::uint32_t>(kCells * (corner.z / extent));
        keys.emplace_back(spread(column) | (spread(row) << 1U), static_cast<std::uint32_t>(keys.size()));
    }
    std::sort(keys.begin(), keys.end());
    std::vector<Triangle> sorted;
    sorted.reserve(keys.size());
    for (const auto& key : keys)
        sorted.push_back(triangles_[key.second]);
    triangles_.swap(sorted);
}

void MasterSurface::buildTree() {
    if (triangles_.empty())
        return;
    const auto widen = [](Box& box, const Box& by) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            box.low[axis] = std::min(box.low[axis], by.low[axis]);
            box.high[axis] = std::max(box.high[axis], by.high[axis]);
        }
    };
    std::vector<Box> boxes;
    boxes.reserve(triangles_.size() / kFanOut + 1);
    for (std::size_t i = 0; i < triangles_.size(); ++i) {
        for (const std::uint32_t corner : triangles_[i].corners) {
            const KvMath::KvPointXYZ& p = rows_.points[corner];
            const Box point{{p.x, p.y, p.z}, {p.x, p.y, p.z}};
            if (boxes.size() == i / kFanOut)
                boxes.push_back(point);
            widen(boxes.back(), point);
        }
    }
    levels_.push_back(std::move(boxes));
    while (levels_.back().size() > 1) {
        const std::vector<Box>& below = levels_.back();
        std::vector<Box> above;
        above.reserve(below.size() / kFanOut + 1);
        for (std::size_t i = 0; i < below.size(); ++i) {
            if (i % kFanOut == 0)
                above.push_back(below[i]);
            widen(above.back(), below[i]);
        }
        levels_.push_back(std::move(above));
    }
}

/// Replaces the best place by the nearest one of a triangle where that is nearer.
void MasterSurface::takeFoot(std::uint32_t triangle, const SpaceVector& point, Foot& best) const {
    const std::array<std::uint32_t, 3>& corners = triangles_[triangle].corners;
    const SpaceVector p[3] = {at(corners[0]), at(corners[1]), at(corners[2])};
    const auto farBeside = [&p](double SpaceVector::*axis, double value) {
        const double least = std::min({p[0].*axis, p[1].*axis, p[2].*axis});
        const double most = std::max({p[0].*axis, p[1].*axis, p[2].*axis});
        const double way = std::max({least - value, 0.0, value - most});
        return way * way;
    };
    if (farBeside(&SpaceVector::x, point.x) + farBeside(&SpaceVector::y, point.y) +
            farBeside(&SpaceVector::z, point.z) >=
        best.squared)
        return;
    const SpaceVector one = p[1] - p[0];
    const SpaceVector other = p[2] - p[0];
    const SpaceVector to = point - p[0];
    const double ones = dot(one, one);
    const double others = dot(other, other);
    const double mixed = dot(one, other);
    const double determinant = ones * others - mixed * mixed;
    const double v = (others * dot(one, to) - mixed * dot(other, to)) / determinant;
    const double w = (ones * dot(other, to) - mixed * dot(one, to)) / determinant;
    const auto take = [&](const SpaceVector& place, int side, int corner,
                          const std::array<double, 3>& weights) {
        const SpaceVector way = point - place;
        const double squared = dot(way, way);
        if (squared < best.squared)
            best = {triangle, squared, place, side, corner, weights};
    };
    if (v >= 0 && w >= 0 && v + w <= 1) {
        take(p[0] + v * one + w * other, -1, -1, {1 - v - w, v, w});
        return;
    }
    for (int side = 0; side < 3; ++side) {
        const auto start = static_cast<std::size_t>(side);
        const std::size_t end = (start + 1) % 3;
        const SpaceVector along = p[end] - p[start];
        const double share = std::clamp(dot(point - p[start], along) / dot(along, along), 0.0, 1.0);
        std::array<double, 3> weights{};
        weights[start] = 1 - share;
        weights[end] = share;
        if (share == 0)
            take(p[start], side, side, weights);
        else if (share == 1)
            take(p[end], side, static_cast<int>(end), weights);
        else
            take(p[start] + share * along, side, -1, weights);
    }
}

/// The nearest boxes come first: what is found there spares the others.
void MasterSurface::search(std::size_t level, std::size_t box, const SpaceVector& point, Foot& best) const {
    const std::size_t first = box * kFanOut;
    if (level == 0) {
        for (std::size_t i = first; i < std::min(first + kFanOut, triangles_.size()); ++i)
            takeFoot(static_cast<std::uint32_t>(i), point, best);
        return;
    }
    std::array<std::pair<double, std::size_t>, kFanOut> children;
    std::size_t count = 0;
    for (std::size_t child = first; child < std::min(first + kFanOut, levels_[level - 1].size()); ++child) {
        const double squared = levels_[level - 1][child].squaredDistance(point);
        if (squared >= best.squared)
            continue;
        std::size_t place = count++;
        for (; place > 0 && children[place - 1].first > squared; --place)
            children[place] = children[place - 1];
        children[place] = {squared, child};
    }
    for (std::size_t i = 0; i < count && children[i].first < best.squared; ++i)
        search(level - 1, children[i].second, point, best);
}

SpaceVector MasterSurface::normalAt(const Foot& foot) const {
    const Triangle& triangle = triangles_[foot.triangle];
    const SpaceVector face = faceNormal(triangle);
    if (foot.side < 0)
        return face;
    const auto side = static_cast<std::size_t>(foot.side);
    if (foot.corner >= 0)
        return vectorOf(normals_[triangle.corners[static_cast<std::size_t>(foot.corner)]]);
    return unit(vectorOf(normals_[triangle.corners[side]]) +
                    vectorOf(normals_[triangle.corners[(side + 1) % 3]]),
                face);
}

SurfacePlace MasterSurface::nearest(const SpaceVector& point, std::uint32_t near) const {
    SurfacePlace found;
    if (isPlane_) {
        found.normal = unit({-plane_.a, 1, -plane_.b}, {0, 1, 0});
        found.distance = (point.y - plane_.height(point.x, point.z)) * found.normal.y;
        found.place = point - found.distance * found.normal;
        return found;
    }
    Foot foot;
    takeFoot(near < triangles_.size() ? near : 0, point, foot);
    search(levels_.size() - 1, 0, point, foot);
    const Triangle& triangle = triangles_[foot.triangle];
    found.triangle = foot.triangle;
    found.vertices = triangle.corners;
    found.weights = foot.weights;
    found.place = foot.place;
    found.normal = normalAt(foot);
    const SpaceVector way = point - foot.place;
    const double along = dot(way, found.normal);
    found.distance = along < 0 ? -std::sqrt(foot.squared) : std::sqrt(foot.squared);
    const bool isBorder = foot.corner >= 0
                              ? rings_[triangle.corners[static_cast<std::size_t>(foot.corner)]] == 0
                              : foot.side >= 0 && (triangle.border & (1U << unsigned(foot.side))) != 0;
    if (isBorder) {
        constexpr double kHalfStep = 0.5;
        const double beside = std::sqrt(std::max(0.0, foot.squared - along * along));
        found.distance = along;
        found.isBeyond = beside > kHalfStep * std::min(rows_.stepX, rows_.stepZ);
    }
    constexpr double kFewSteps = 3;
    const auto& [a, b, c] = triangle.corners;
    if (std::min({rings_[a], rings_[b], rings_[c]}) < kRings &&
        std::fabs(found.distance) > kFewSteps * std::max(rows_.stepX, rows_.stepZ))
        found.isBeyond = true;
    return found;
}

}  // namespace KvMeasure::Internal

// Normals for a registration must not carry the noise of the master: a flat plane would seem to fix shifts
// along it. So the normal at a vertex is that of the least-squares plane of heights about it, over the widest
// window that is plane within the noise. The uncertainty of its two slopes goes with it.

#include <kvmeasure/scans/master_surface_p.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure::Internal {

/// Sums over the points of a window about its vertex.
struct WindowSums {
    double n = 0, x = 0, z = 0, y = 0, xx = 0, xz = 0, zz = 0, xy = 0, zy = 0, yy = 0;

    void add(const SpaceVector& p) {
        n += 1;
        x += p.x;
        z += p.z;
        y += p.y;
        xx += p.x * p.x;
        xz += p.x * p.z;
        zz += p.z * p.z;
        xy += p.x * p.y;
        zy += p.z * p.y;
        yy += p.y * p.y;
    }
};

namespace {

/// The plane of a window.
struct WindowPlane {
    bool isFound = false;
    double slopeX = 0, slopeScan = 0;
    double deviation = 0;                                    // mm, of the heights
    double inverseX = 0, inverseScan = 0, inverseMixed = 0;  // of the moments, mm^-2
};

WindowPlane planeOf(const WindowSums& s) {
    constexpr double kFewest = 4;
    constexpr double kRounding = 1e-9;
    WindowPlane plane;
    if (s.n < kFewest)
        return plane;
    const double xx = s.xx - s.x * s.x / s.n;
    const double xz = s.xz - s.x * s.z / s.n;
    const double zz = s.zz - s.z * s.z / s.n;
    const double xy = s.xy - s.x * s.y / s.n;
    const double zy = s.zy - s.z * s.y / s.n;
    const double yy = s.yy - s.y * s.y / s.n;
    const double determinant = xx * zz - xz * xz;
    if (!(determinant > kRounding * xx * zz))
        return plane;
    plane.isFound = true;
    plane.slopeX = (xy * zz - zy * xz) / determinant;
    plane.slopeScan = (zy * xx - xy * xz) / determinant;
    plane.deviation = std::sqrt(std::max(0.0, yy - plane.slopeX * xy - plane.slopeScan * zy) / (s.n - 3));
    plane.inverseX = zz / determinant;
    plane.inverseScan = xx / determinant;
    plane.inverseMixed = -xz / determinant;
    return plane;
}

}  // namespace

/// The points around a vertex; false where they lie to one side of it, as at a border.
bool MasterSurface::takeWindow(std::uint32_t vertex, std::size_t half, WindowSums& sums) const {
    constexpr double kRounding = 1.01;
    constexpr std::size_t kMostRows = 100;
    const SpaceVector centre = at(vertex);
    const std::size_t row = rows_.rowOf(vertex);
    const double reach = static_cast<double>(half) * std::sqrt(rows_.stepX * rows_.stepZ);
    const double reachX = kRounding * std::max(reach, rows_.stepX);
    const auto reachRows = static_cast<std::size_t>(std::clamp(reach / rows_.stepZ, 1.0, double(kMostRows)));
    const std::size_t last = std::min(row + reachRows, rows_.size() - 1);
    for (std::size_t r = std::max(row, reachRows) - reachRows; r <= last; ++r) {
        const auto end = rows_.points.begin() + rows_.starts[r + 1];
        auto point = std::lower_bound(rows_.points.begin() + rows_.starts[r], end, centre.x - reachX,
                                      [](const KvMath::KvPointXYZ& p, double x) { return double(p.x) < x; });
        for (; point != end && double(point->x) <= centre.x + reachX; ++point) {
            const SpaceVector way =
                SpaceVector{double(point->x), double(point->y), double(point->z)} - centre;
            if (!isTooSteep(way))
                sums.add(way);
        }
    }
    return std::fabs(sums.x) <= 0.5 * rows_.stepX * sums.n && std::fabs(sums.z) <= 0.5 * rows_.stepZ * sums.n;
}

SmoothedNormal MasterSurface::smoothedAt(std::uint32_t vertex) const {
    constexpr std::size_t kWidest = 12;  // steps on either side
    constexpr double kFlatness = 2;      // deviations of the noise
    WindowPlane plane;
    if (isPlane_) {
        plane.slopeX = plane_.a;
        plane.slopeScan = plane_.b;
    }
    for (std::size_t half = isPlane_ ? 0 : kWidest; half > 0; half /= 2) {
        WindowSums sums;
        const bool isCentred = takeWindow(vertex, half, sums);
        plane = planeOf(sums);
        if (isCentred && plane.isFound && plane.deviation <= kFlatness * rows_.noise)
            break;
    }
    const double noise = std::max(rows_.noise, plane.deviation);
    if (!isPlane_ && !plane.isFound) {
        constexpr double kLeastRise = 0.01;
        const SpaceVector normal = vectorOf(normals_[vertex]);
        plane.slopeX = -normal.x / std::max(kLeastRise, normal.y);
        plane.slopeScan = -normal.z / std::max(kLeastRise, normal.y);
        plane.inverseX = 1 / (rows_.stepX * rows_.stepX);
        plane.inverseScan = 1 / (rows_.stepZ * rows_.stepZ);
    }
    const SpaceVector raised{-plane.slopeX, 1, -plane.slopeScan};
    const double size = length(raised);
    SmoothedNormal smoothed;
    smoothed.normal = (1 / size) * raised;
    smoothed.varianceX = noise * noise * plane.inverseX;
    smoothed.varianceScan = noise * noise * plane.inverseScan;
    smoothed.covariance = noise * noise * plane.inverseMixed;
    const auto changeFor = [&](const SpaceVector& way) {  // of the unit normal
        return (1 / size) * (dot(way, smoothed.normal) * smoothed.normal - way);
    };
    smoothed.alongX = changeFor({1, 0, 0});
    smoothed.alongScan = changeFor({0, 0, 1});
    return smoothed;
}

}  // namespace KvMeasure::Internal

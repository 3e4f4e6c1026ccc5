#pragma once
// A master in space: the surface that joins the points of a scan, or a plane, and the nearest place on it.

#include <kvmeasure/base/space_geometry.h>
#include <kvmeasure/scans/height_plane.h>
#include <kvmeasure/scans/scan_rows_p.h>

#include <array>

namespace KvMeasure::Internal {

/// A stored direction.
inline SpaceVector vectorOf(const std::array<float, 3>& v) {
    return {double(v[0]), double(v[1]), double(v[2])};
}

/// The nearest place of a master to a point.
struct SurfacePlace {
    SpaceVector place;      ///< on the master, mm
    SpaceVector normal;     ///< unit, upwards; at an edge the mean of both sides
    double distance = 0;    ///< from the point, mm; positive above
    bool isBeyond = false;  ///< the point lies beyond the border of the master, or in a gap of it
    std::array<std::uint32_t, 3> vertices{};  ///< of the nearest triangle
    std::array<double, 3> weights{1, 0, 0};   ///< of these, whose mean is the place
    std::uint32_t triangle = 0;               ///< where the next search may start
};

/// The smoothed direction of the master, and how sure it is.
struct SmoothedNormal {
    SpaceVector normal;             ///< unit
    SpaceVector alongX, alongScan;  ///< by how much the normal changes for a change of slope of 1
    double varianceX = 0;           ///< of the slope along x
    double varianceScan = 0;        ///< of the slope along the scan
    double covariance = 0;          ///< of both
};

struct WindowSums;

/// Triangles between neighbouring points of neighbouring rows, with a tree of boxes over them: a search costs
/// about the logarithm of their number. Points more than five steps apart, or one above the other more
/// steeply than 80 degrees as far as the noise tells, are not joined.
class MasterSurface {
public:
    explicit MasterSurface(const Scan& scan);  ///< of more than 5 million points, evenly chosen ones
    explicit MasterSurface(const HeightPlane& plane);

    bool isEmpty() const { return !isPlane_ && triangles_.empty(); }
    const std::vector<KvMath::KvPointXYZ>& points() const { return rows_.points; }  ///< none for a plane
    /// The nearest place. There must be one; `near` is a triangle to start from.
    SurfacePlace nearest(const SpaceVector& point, std::uint32_t near = 0) const;
    /// The least-squares plane about a vertex, over the widest window that is plane within the noise.
    SmoothedNormal smoothedAt(std::uint32_t vertex) const;

private:
    struct Triangle {
        std::array<std::uint32_t, 3> corners;
        std::uint8_t border = 0;  ///< bit i: the side from corner i to the next one belongs to no other
    };
    struct Box {
        std::array<float, 3> low, high;
        double squaredDistance(const SpaceVector& p) const;
    };
    struct Foot;

    SpaceVector at(std::uint32_t vertex) const;
    bool isTooSteep(const SpaceVector& way) const;
    bool areJoined(std::uint32_t a, std::uint32_t b) const;
    void joinRows(std::size_t row, std::vector<std::uint8_t>& sides);
    void markBorders(const std::vector<std::uint8_t>& sides);
    void findNormals();
    void sortTriangles();
    void buildTree();
    void takeFoot(std::uint32_t triangle, const SpaceVector& point, Foot& best) const;
    void search(std::size_t level, std::size_t box, const SpaceVector& point, Foot& best) const;
    bool takeWindow(std::uint32_t vertex, std::size_t half, WindowSums& sums) const;
    SpaceVector normalAt(const Foot& foot) const;
    SpaceVector faceNormal(const Triangle& triangle) const;

    bool isPlane_ = false;
    HeightPlane plane_;
    ScanRows rows_{Scan()};
    std::vector<Triangle> triangles_;
    std::vector<std::array<float, 3>> normals_;  ///< of the vertices, weighted by angles
    std::vector<std::uint8_t> rings_;            ///< of the vertices: triangles from the border, 3 at most
    std::vector<std::vector<Box>> levels_;       ///< boxes of 8 triangles, then of 8 boxes each, to one
};

}  // namespace KvMeasure::Internal

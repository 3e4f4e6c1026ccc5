#include <kvmath/wheel/wheel_lines_p.h>

#include <kvmath/segments/line_extraction.h>

#include <memory>

namespace KvMath::Internal {

PlanePoints widened(const QList<KvPointXY>& points) {
    PlanePoints wide;
    wide.reserve(static_cast<std::size_t>(points.size()));
    for (const KvPointXY& p : points)
        wide.emplace_back(static_cast<double>(p.x), static_cast<double>(p.y));
    return wide;
}

std::vector<PlanePoints> contoursOf(const PlanePoints& points, double gap) {
    KvVector2D<double>** arrays = nullptr;
    int* sizes = nullptr;
    int count = 0;
    profile2contours(points.data(), static_cast<int>(points.size()), gap, arrays, count, sizes);
    const std::unique_ptr<KvVector2D<double>*[]> owner(arrays);
    const std::unique_ptr<int[]> sizeOwner(sizes);
    std::vector<PlanePoints> contours;
    contours.reserve(static_cast<std::size_t>(count));
    for (int k = 0; k < count; ++k) {
        const std::unique_ptr<KvVector2D<double>[]> contour(arrays[k]);
        contours.emplace_back(contour.get(), contour.get() + sizes[k]);
    }
    return contours;
}

StraightPieces straightPieces(const PlanePoints& contour, double tolerance, int passes) {
    constexpr double kNeverCut = 1e300;
    if (contour.size() < 2)
        return {};
    int* breaks = nullptr;
    KvVector2D<double>* vertices = nullptr;
    int count = 0;
    contour2lines(contour.data(), static_cast<int>(contour.size()), tolerance, passes, kNeverCut, breaks,
                  count, vertices);
    const std::unique_ptr<int[]> breakOwner(breaks);
    const std::unique_ptr<KvVector2D<double>[]> vertexOwner(vertices);
    return {{breaks, breaks + count}, {vertices, vertices + count}};
}

}  // namespace KvMath::Internal

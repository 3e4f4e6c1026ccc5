// One sort by row and x. Steps and noise are medians, so that gaps, walls and stray points do not move them.

#include <kvmeasure/scans/scan_rows_p.h>

#include <algorithm>
#include <cmath>
#include <unordered_set>

namespace KvMeasure::Internal {

using KvMath::KvPointXYZ;

namespace {

/// A point before it has its place.
struct Placed {
    KvPointXYZ point;
    float row = 0;  // by which rows are told apart
    std::uint32_t number = 0;
};

double median(std::vector<double>& values) {
    if (values.empty())
        return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

bool hasProfiles(const std::vector<Placed>& all) {
    std::unordered_set<float> positions;
    for (const Placed& placed : all) {
        positions.insert(placed.point.z + 0.0F);  // -0 and 0 are one
        if (2 * positions.size() > all.size())
            return false;
    }
    return true;
}

/// Divides a cloud without profiles into bands.
void divide(std::vector<Placed>& all) {
    constexpr double kDistances = 1.5;  // width of a band
    const auto byX = std::minmax_element(
        all.begin(), all.end(), [](const Placed& a, const Placed& b) { return a.point.x < b.point.x; });
    const auto byZ = std::minmax_element(
        all.begin(), all.end(), [](const Placed& a, const Placed& b) { return a.point.z < b.point.z; });
    const double width = double(byX.second->point.x) - double(byX.first->point.x);
    const double first = double(byZ.first->point.z);
    const double depth = double(byZ.second->point.z) - first;
    const double area = width * depth;
    const auto n = static_cast<double>(all.size());
    const double band = area > 0 ? kDistances * std::sqrt(area / n) : depth / n;
    for (Placed& placed : all)
        placed.row = band > 0 ? static_cast<float>(std::floor((double(placed.point.z) - first) / band)) : 0;
}

}  // namespace

ScanRows::ScanRows(const Scan& scan, std::size_t most) {
    std::vector<Placed> all;
    all.reserve(static_cast<std::size_t>(scan.points));
    Scan::forEachPoint(scan, [&all](float x, float place, float height) {
        all.push_back({KvPointXYZ(x, height, place), place + 0.0F, static_cast<std::uint32_t>(all.size())});
    });
    starts.push_back(0);
    if (all.empty())
        return;
    if (!scan.isStack && !hasProfiles(all))
        divide(all);
    std::sort(all.begin(), all.end(), [](const Placed& a, const Placed& b) {
        return a.row != b.row           ? a.row < b.row
               : a.point.x != b.point.x ? a.point.x < b.point.x
                                        : a.number < b.number;
    });
    const double excess = static_cast<double>(all.size()) / static_cast<double>(most);
    const std::size_t every =
        std::max<std::size_t>(1, static_cast<std::size_t>(std::ceil(std::sqrt(excess))));
    points.reserve(all.size() / every / every);
    order.reserve(all.size() / every / every);
    std::size_t row = 0;
    for (std::size_t i = 0, next = 0; i < all.size(); i = next, ++row) {
        for (next = i; next < all.size() && all[next].row == all[i].row; ++next) {
            if (row % every != 0 || (next - i) % every != 0)
                continue;
            points.push_back(all[next].point);
            order.push_back(all[next].number);
        }
        if (points.size() > starts.back())
            starts.push_back(static_cast<std::uint32_t>(points.size()));
    }
    measure();
}

void ScanRows::measure() {
    constexpr double kBendOfNoise = 0.6745 * 2.449489742783178;  // median of |a - 2 b + c|, in deviations
    std::vector<double> across;
    std::vector<double> along;
    std::vector<double> bends;
    along.reserve(points.size());
    bends.reserve(points.size());
    for (std::size_t row = 0; row + 1 < starts.size(); ++row) {
        for (std::size_t i = starts[row] + 1; i < starts[row + 1]; ++i) {
            const double step = double(points[i].x) - double(points[i - 1].x);
            if (step > 0)
                along.push_back(step);
            if (i + 1 < starts[row + 1])
                bends.push_back(
                    std::fabs(double(points[i - 1].y) - 2 * double(points[i].y) + double(points[i + 1].y)));
        }
        if (row > 0)
            across.push_back(double(points[starts[row]].z) - double(points[starts[row - 1]].z));
    }
    stepX = median(along);
    stepZ = median(across);
    if (!(stepX > 0))
        stepX = stepZ > 0 ? stepZ : 1;
    if (!(stepZ > 0))
        stepZ = stepX;
    noise = median(bends) / kBendOfNoise;
}

std::size_t ScanRows::rowOf(std::size_t point) const {
    const auto behind = std::upper_bound(starts.begin(), starts.end(), point);
    return static_cast<std::size_t>(behind - starts.begin()) - 1;
}

}  // namespace KvMeasure::Internal

// Shifts are tried on mean heights in equal cells, 24 over the longer side of both, each with the median of
// the height differences; a third of the part must lie over the master. 24^4 differences at most.

#include <kvmeasure/scans/registration_in_space_p.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KvMeasure::Internal {

namespace {

constexpr int kCells = 24;

std::size_t placeOf(int row, int column) {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(kCells) +
           static_cast<std::size_t>(column);
}

/// Seen from above, mm.
struct Extent {
    double left, right, first, last;

    explicit Extent(const std::vector<KvMath::KvPointXYZ>& points)
        : left(std::numeric_limits<double>::infinity()), right(-left), first(left), last(-left) {
        for (const KvMath::KvPointXYZ& p : points) {
            left = std::min(left, double(p.x));
            right = std::max(right, double(p.x));
            first = std::min(first, double(p.z));
            last = std::max(last, double(p.z));
        }
    }
    double longer() const { return std::max(right - left, last - first); }
};

/// Mean heights in square cells; NaN where there is none.
struct Cells {
    std::vector<double> heights;
    int filled = 0;

    Cells(const std::vector<KvMath::KvPointXYZ>& points, const Extent& extent, double step)
        : heights(placeOf(kCells, 0)) {
        std::vector<int> counts(heights.size());
        for (const KvMath::KvPointXYZ& p : points) {
            const int column = std::min(kCells - 1, static_cast<int>((double(p.x) - extent.left) / step));
            const int row = std::min(kCells - 1, static_cast<int>((double(p.z) - extent.first) / step));
            const std::size_t cell = placeOf(row, column);
            heights[cell] += double(p.y);
            ++counts[cell];
        }
        for (std::size_t i = 0; i < heights.size(); ++i) {
            heights[i] /= counts[i];
            filled += counts[i] > 0 ? 1 : 0;
        }
    }
};

/// A shift by whole cells, and how well the heights agree there.
struct Agreement {
    int columns = 0, rows = 0;
    double height = 0;
    double misfit = std::numeric_limits<double>::infinity();
};

Agreement agreementAt(const Cells& part, const Cells& master, int columns, int rows) {
    constexpr std::size_t kFewest = 10;
    std::vector<double> differences;
    differences.reserve(part.heights.size());
    for (int row = std::max(0, -rows); row < std::min(kCells, kCells - rows); ++row) {
        for (int column = std::max(0, -columns); column < std::min(kCells, kCells - columns); ++column) {
            const double difference =
                master.heights[placeOf(row + rows, column + columns)] - part.heights[placeOf(row, column)];
            if (!std::isnan(difference))
                differences.push_back(difference);
        }
    }
    Agreement agreement;
    agreement.columns = columns;
    agreement.rows = rows;
    if (differences.size() < std::max(kFewest, std::size_t(part.filled / 3)))
        return agreement;
    const auto middle = differences.begin() + static_cast<std::ptrdiff_t>(differences.size() / 2);
    std::nth_element(differences.begin(), middle, differences.end());
    agreement.height = *middle;
    double sum = 0;
    for (const double difference : differences)
        sum += std::fabs(difference - agreement.height);
    agreement.misfit = sum / static_cast<double>(differences.size());
    return agreement;
}

}  // namespace

std::vector<SpaceMotion> registrationStarts(const std::vector<KvMath::KvPointXYZ>& points,
                                            const std::vector<KvMath::KvPointXYZ>& master) {
    constexpr std::size_t kMost = 3;
    std::vector<SpaceMotion> starts{SpaceMotion()};
    if (points.empty() || master.empty())
        return starts;
    const Extent ofPart(points);
    const Extent ofMaster(master);
    const double step = std::max(ofPart.longer(), ofMaster.longer()) / kCells;
    if (!(step > 0))
        return starts;
    const Cells part(points, ofPart, step);
    const Cells wanted(master, ofMaster, step);
    std::vector<Agreement> best;
    for (int rows = 1 - kCells; rows < kCells; ++rows) {
        for (int columns = 1 - kCells; columns < kCells; ++columns) {
            const Agreement here = agreementAt(part, wanted, columns, rows);
            if (std::isfinite(here.misfit))
                best.push_back(here);
        }
    }
    std::sort(best.begin(), best.end(),
              [](const Agreement& a, const Agreement& b) { return a.misfit < b.misfit; });
    for (std::size_t i = 0; i < std::min(kMost, best.size()); ++i) {
        SpaceMotion start;
        start.shift = {ofMaster.left - ofPart.left + best[i].columns * step, best[i].height,
                       ofMaster.first - ofPart.first + best[i].rows * step};
        starts.push_back(start);
    }
    return starts;
}

}  // namespace KvMeasure::Internal

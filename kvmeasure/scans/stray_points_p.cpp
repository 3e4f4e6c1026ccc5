// A defect, however steep, has neighbours on it or between which it lies; a stray stands out of all of them.
// One neighbour may be a stray itself. A bisection per point and profile beside.

#include <kvmeasure/scans/stray_points_p.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace KvMeasure::Internal {

namespace {

constexpr double kFar = 5;     // steps, beyond which points are no neighbours
constexpr double kNoises = 6;  // deviations

/// Deviations of the neighbours of a point.
struct Neighbours {
    std::array<float, 10> values{};
    std::size_t count = 0;

    void add(float value) {
        if (!std::isnan(value))
            values[count++] = value;
    }
};

class StraySearch {
public:
    StraySearch(const ScanRows& rows, const std::vector<float>& values)
        : rows_(rows), values_(values), cut_(kNoises * noise()) {}

    bool isStray(std::size_t row, std::size_t point) const;

private:
    double noise() const;
    Neighbours neighboursOf(std::size_t row, std::size_t point) const;
    void addFrom(std::size_t row, std::size_t from, std::size_t to, std::size_t point,
                 Neighbours& found) const;
    bool areNear(std::size_t a, std::size_t b) const;

    const ScanRows& rows_;
    const std::vector<float>& values_;
    double cut_;
};

/// Standard deviation of the deviations, from the differences of neighbours; not below what floats hold.
double StraySearch::noise() const {
    constexpr double kDifferenceOfNoise =
        0.6745 * 1.4142135623730951;  // median of the size of a - b, in deviations
    constexpr double kOfFloat = 1.2e-7;
    std::vector<double> sizes;
    sizes.reserve(values_.size());
    double farthest = 0;
    for (std::size_t i = 1; i < values_.size(); ++i) {
        const double size = std::fabs(double(values_[i]) - double(values_[i - 1]));
        if (!std::isnan(size))
            sizes.push_back(size);
        const KvMath::KvPointXYZ& p = rows_.points[i];
        farthest =
            std::max({farthest, std::fabs(double(p.x)), std::fabs(double(p.y)), std::fabs(double(p.z))});
    }
    if (sizes.empty())
        return 0;
    const auto middle = sizes.begin() + static_cast<std::ptrdiff_t>(sizes.size() / 2);
    std::nth_element(sizes.begin(), middle, sizes.end());
    return std::max(*middle / kDifferenceOfNoise, kOfFloat * farthest);
}

bool StraySearch::areNear(std::size_t a, std::size_t b) const {
    const KvMath::KvPointXYZ& p = rows_.points[a];
    const KvMath::KvPointXYZ& q = rows_.points[b];
    return std::fabs(double(p.x) - double(q.x)) <= kFar * rows_.stepX &&
           std::fabs(double(p.z) - double(q.z)) <= kFar * rows_.stepZ;
}

/// Those of a row from one place to before another, but not the point itself.
void StraySearch::addFrom(std::size_t row, std::size_t from, std::size_t to, std::size_t point,
                          Neighbours& found) const {
    for (std::size_t i = std::max<std::size_t>(from, rows_.starts[row]);
         i < std::min<std::size_t>(to, rows_.starts[row + 1]); ++i) {
        if (i != point && areNear(i, point))
            found.add(values_[i]);
    }
}

Neighbours StraySearch::neighboursOf(std::size_t row, std::size_t point) const {
    Neighbours found;
    addFrom(row, std::max<std::size_t>(point, 2) - 2, point + 3, point, found);
    const auto addBeside = [&](std::size_t beside) {
        const auto begin = rows_.points.begin();
        const auto at = std::lower_bound(begin + rows_.starts[beside], begin + rows_.starts[beside + 1],
                                         rows_.points[point].x,
                                         [](const KvMath::KvPointXYZ& p, float x) { return p.x < x; });
        const auto middle = static_cast<std::size_t>(at - begin);
        addFrom(beside, std::max<std::size_t>(middle, 1) - 1, middle + 2, point, found);
    };
    if (row > 0)
        addBeside(row - 1);
    if (row + 1 < rows_.size())
        addBeside(row + 1);
    return found;
}

bool StraySearch::isStray(std::size_t row, std::size_t point) const {
    Neighbours others = neighboursOf(row, point);
    if (others.count < 2)
        return true;
    const auto end = others.values.begin() + static_cast<std::ptrdiff_t>(others.count);
    std::sort(others.values.begin(), end);
    const double low = double(others.values[1]);
    const double high = double(others.values[others.count - 2]);
    const double room = std::max(cut_, high - low);
    const double value = double(values_[point]);
    return value > high + room || value < low - room;
}

}  // namespace

qint64 leaveStraysOut(const ScanRows& rows, std::vector<float>& values) {
    const StraySearch search(rows, values);
    std::vector<std::size_t> strays;
    for (std::size_t row = 0; row < rows.size(); ++row) {
        for (std::size_t i = rows.starts[row]; i < rows.starts[row + 1]; ++i) {
            if (!std::isnan(values[i]) && search.isStray(row, i))
                strays.push_back(i);
        }
    }
    for (const std::size_t i : strays)
        values[i] = std::nanf("");
    return static_cast<qint64>(strays.size());
}

}  // namespace KvMeasure::Internal

// Every operation visits a cell a fixed number of times.

#include <kvmath/core/matrix_cloud.h>

#include <kvmath/base/count_p.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KvMath {
namespace {

constexpr float kUnset = std::numeric_limits<float>::quiet_NaN();
constexpr qint64 kMaxCells = qint64(1) << 24;
constexpr int kMaxBands = 1 << 22;

double middle(float origin, float step, int index) {
    return static_cast<double>(origin) + (index + 0.5) * static_cast<double>(step);
}

/// A place between two neighbouring middles of one axis.
struct Place {
    int index = -1;       ///< of the lower middle; -1: outside
    double weight = 0.0;  ///< of the upper middle, in [0, 1)
};

/// A middle rounded to float, as toPointCloud gives it, is that middle.
Place placeOf(float value, float origin, float step, int count) {
    const double t =
        (static_cast<double>(value) - static_cast<double>(origin)) / static_cast<double>(step) - 0.5;
    if (!(t > -1.0 && t < count))  // NaN too
        return {};
    const int nearest = static_cast<int>(std::floor(t + 0.5));
    if (nearest >= 0 && nearest < count && static_cast<float>(middle(origin, step, nearest)) == value)
        return {nearest, 0.0};
    if (t < 0.0 || t > count - 1.0)
        return {};
    const int index = static_cast<int>(t);
    return {index, t - index};
}

/// Where the finite heights of a grid lie.
struct Bands {
    double low, width;
    QVector<int> counts;
    QVector<bool> isSeed;

    int bandOf(float height) const { return static_cast<int>((static_cast<double>(height) - low) / width); }

    /// A band is a seed when the nearest bands of another count are lower on both sides.
    void findSeeds() {
        isSeed.fill(false, counts.size());
        for (int first = 0; first < counts.size();) {
            int end = first + 1;
            while (end < counts.size() && counts.at(end) == counts.at(first))
                ++end;
            const int before = first > 0 ? counts.at(first - 1) : 0;
            const int behind = end < counts.size() ? counts.at(end) : 0;
            if (counts.at(first) > before && counts.at(first) > behind)
                std::fill(isSeed.begin() + first, isSeed.begin() + end, true);
            first = end;
        }
    }
};

/// False without a finite height or with too many bands.
bool countBands(const QVector<float>& heights, float width, Bands& bands) {
    float low = kUnset;
    float high = kUnset;
    for (const float y : heights) {
        if (!std::isfinite(y))
            continue;
        low = y >= low ? low : y;
        high = y <= high ? high : y;
    }
    const double last = (static_cast<double>(high) - static_cast<double>(low)) / static_cast<double>(width);
    if (!(last < kMaxBands))
        return false;
    bands.low = static_cast<double>(low);
    bands.width = static_cast<double>(width);
    bands.counts.fill(0, static_cast<int>(last) + 1);
    for (const float y : heights)
        if (std::isfinite(y))
            ++bands.counts[bands.bandOf(y)];
    bands.findSeeds();
    return true;
}

}  // namespace

KvMatrixCloud::KvMatrixCloud()
    : rows(0), columns(0), originX(kUnset), originZ(kUnset), stepX(kUnset), stepZ(kUnset) {}

void KvMatrixCloud::clear() { *this = KvMatrixCloud(); }

bool KvMatrixCloud::resize(int rowCount, int columnCount) {
    if (rowCount < 0 || columnCount < 0 || qint64(rowCount) * columnCount > kMaxCells)
        return false;
    rows = rowCount;
    columns = columnCount;
    heights.fill(kUnset, rowCount * columnCount);
    return true;
}

float KvMatrixCloud::height(int row, int column) const {
    if (row < 0 || row >= rows || column < 0 || column >= columns)
        return kUnset;
    const qint64 cell = qint64(row) * columns + column;
    return cell < heights.size() ? heights.at(static_cast<int>(cell)) : kUnset;
}

void KvMatrixCloud::setHeight(int row, int column, float y) {
    if (row < 0 || row >= rows || column < 0 || column >= columns)
        return;
    const qint64 cell = qint64(row) * columns + column;
    if (cell < heights.size())
        heights[static_cast<int>(cell)] = y;
}

float KvMatrixCloud::sample(float x, float z) const {
    const Place across = placeOf(x, originX, stepX, columns);
    const Place along = placeOf(z, originZ, stepZ, rows);
    if (across.index < 0 || along.index < 0)
        return kUnset;
    double sum = 0.0;
    for (int dr = 0; dr < 2; ++dr) {
        for (int dc = 0; dc < 2; ++dc) {
            const double weight =
                (dr ? along.weight : 1.0 - along.weight) * (dc ? across.weight : 1.0 - across.weight);
            if (weight > 0.0)
                sum += weight * static_cast<double>(height(along.index + dr, across.index + dc));
        }
    }
    return static_cast<float>(sum);
}

int KvMatrixCloud::toPointCloud(KvPointCloud<KvPointXYZ>& cloud) const {
    cloud.clear();
    cloud.zIndexBuilt = false;
    const qint64 cells =
        std::min<qint64>(heights.size(), rows > 0 && columns > 0 ? qint64(rows) * columns : 0);
    for (int cell = 0; cell < cells; ++cell) {
        const float y = heights.at(cell);
        if (!std::isnan(y))
            cloud.points.append(KvPointXYZ(static_cast<float>(middle(originX, stepX, cell % columns)), y,
                                           static_cast<float>(middle(originZ, stepZ, cell / columns))));
    }
    return Internal::countOf(cloud.points);
}

KvMatrixWithHistos::KvMatrixWithHistos(const KvMatrixCloud& matrix) : KvMatrixCloud(matrix) {}

// Which seed is taken first cannot matter: a region is a whole component of the cells joined by small steps,
// so two seeds either share it or never meet. One walk over the components in the order of their cells
// therefore numbers them as well.
int KvMatrixWithHistos::segment(float binWidth, float maxStep, int minCells) {
    regions.clear();
    bins.clear();
    Bands bands;
    if (!(binWidth > 0.0F) || !std::isfinite(binWidth) || !(maxStep > 0.0F) || rows < 1 || columns < 1 ||
        qint64(rows) * columns != heights.size() || !countBands(heights, binWidth, bands))
        return 0;
    for (int band = 0; band < bands.counts.size(); ++band)
        if (bands.counts.at(band) > 0)
            bins[static_cast<float>(bands.low + band * bands.width)] += bands.counts.at(band);

    constexpr int kDropped = -1;
    const float* y = heights.constData();
    regions.fill(0, heights.size());
    int* label = regions.data();
    QVector<int> component;
    int found = 0;
    for (int start = 0; start < heights.size(); ++start) {
        if (label[start] != 0 || !std::isfinite(y[start]))
            continue;
        const int next = found + 1;
        bool hasSeed = false;
        const auto visit = [&](int from, int cell) {
            if (label[cell] != 0 || !(std::fabs(y[cell] - y[from]) <= maxStep) || !std::isfinite(y[cell]))
                return;
            label[cell] = next;
            component.append(cell);
        };
        component.clear();
        visit(start, start);
        for (int i = 0; i < component.size(); ++i) {
            const int cell = component.at(i);
            const int column = cell % columns;
            hasSeed = hasSeed || bands.isSeed.at(bands.bandOf(y[cell]));
            if (column > 0)
                visit(cell, cell - 1);
            if (column + 1 < columns)
                visit(cell, cell + 1);
            if (cell >= columns)
                visit(cell, cell - columns);
            if (cell < heights.size() - columns)
                visit(cell, cell + columns);
        }
        if (hasSeed && component.size() >= minCells)
            ++found;
        else
            for (const int cell : component)
                label[cell] = kDropped;
    }
    std::replace(regions.begin(), regions.end(), kDropped, 0);
    return found;
}

}  // namespace KvMath

// The point distances, the distances of profiles, and mean heights in cells. A distance is the mean of those
// within a tenth of the median: gaps do not count, and the rounding of coordinates averages out. Linear in
// points and cells.
#include <kvmeasure/scans/height_grid.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace KvMeasure {

using KvMath::KvMatrixCloud;
using KvMath::KvProfileZ;
using KvMath::KvProfileZSet;

namespace {

/// Mean of the values within a tenth of the median; 0 for none. Rounding of coordinates averages out.
double usualValue(std::vector<double>& values) {
    if (values.empty())
        return 0;
    const auto middle = values.begin() + std::ptrdiff_t(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    const double median = *middle;
    double sum = 0;
    double count = 0;
    for (const double value : values) {
        if (std::fabs(value - median) > 0.1 * median)
            continue;
        sum += value;
        ++count;
    }
    return sum / count;
}

void addDistance(std::vector<double>& distances, float from, float to) {
    const double distance = std::fabs(double(to) - double(from));
    if (distance > 0 && std::isfinite(distance))
        distances.push_back(distance);
}

}  // namespace

Steps estimateSteps(const KvProfileZSet& stack) {
    constexpr std::size_t kEnough = 1'000'000;
    std::vector<double> along;
    std::vector<double> across;
    for (int i = 0; i < stack.size(); ++i) {
        const KvProfileZ& profile = stack.at(i);
        if (i > 0)
            addDistance(across, stack.at(i - 1).z, profile.z);
        for (int k = 1; k < profile.points.size() && along.size() < kEnough; ++k)
            addDistance(along, profile.points[k - 1].x, profile.points[k].x);
    }
    Steps steps;
    steps.x = usualValue(along);
    steps.scan = usualValue(across);
    if (!(steps.x > 0))
        steps.x = steps.scan > 0 ? steps.scan : 1;
    if (!(steps.scan > 0))
        steps.scan = steps.x;
    return steps;
}

KvMatrixCloud makeGrid(const KvProfileZSet& stack, const Steps& steps, const QString& path) {
    // Cells begin at the lowest point: one that lies one and a half cells before all others moves them by
    // half a cell, and the row and column that are made for it are left out again.
    constexpr double kBefore = 1.5;
    KvProfileZSet marked = stack;
    marked.calcRange();
    const auto first = [](float lowest, double step) {
        return static_cast<float>(double(lowest) - kBefore * step);
    };
    KvProfileZ marker(first(marked.minZ, steps.scan));
    marker.points.append(KvMath::KvPointXY(first(marked.minX, steps.x), 0.0F));
    marked.append(marker);
    KvMatrixCloud wide;
    if (marked.toMatrixCloud(wide, static_cast<float>(steps.x), static_cast<float>(steps.scan)) == 0)
        throw Error(
            filledIn("%1: cells of %2 mm along x and %3 mm along the scan are too many; take larger steps",
                     path, steps.x, steps.scan))
            .inFile(path);
    KvMatrixCloud grid;
    grid.resize(wide.rows - 1, wide.columns - 1);
    grid.stepX = wide.stepX;
    grid.stepZ = wide.stepZ;
    grid.originX = wide.originX + wide.stepX;
    grid.originZ = wide.originZ + wide.stepZ;
    for (int row = 0; row < grid.rows; ++row) {
        for (int column = 0; column < grid.columns; ++column)
            grid.setHeight(row, column, wide.height(row + 1, column + 1));
    }
    return grid;
}

double cellX(const KvMatrixCloud& grid, int column) {
    return double(grid.originX) + (column + 0.5) * double(grid.stepX);
}

double cellScan(const KvMatrixCloud& grid, int row) {
    return double(grid.originZ) + (row + 0.5) * double(grid.stepZ);
}

int filledCells(const KvMatrixCloud& grid) {
    return int(
        std::count_if(grid.heights.begin(), grid.heights.end(), [](float h) { return !std::isnan(h); }));
}

QByteArray gridCsv(const KvMatrixCloud& grid) {
    constexpr int kDigits = 9;
    QByteArray text = "scan_mm/x_mm";
    for (int column = 0; column < grid.columns; ++column)
        text += ',' + QByteArray::number(cellX(grid, column), 'g', kDigits);
    text += '\n';
    for (int row = 0; row < grid.rows; ++row) {
        text += QByteArray::number(cellScan(grid, row), 'g', kDigits);
        for (int column = 0; column < grid.columns; ++column) {
            const float height = grid.height(row, column);
            text += ',';
            if (!std::isnan(height))
                text += QByteArray::number(double(height), 'g', kDigits);
        }
        text += '\n';
    }
    return text;
}

}  // namespace KvMeasure

// Range, mean, drift, edges and grid of a stack. Points with a coordinate that is not finite take no part,
// but for the range, which passes over unset ones only.

#include <kvmath/base/count_p.h>
#include <kvmath/core/matrix_cloud.h>
#include <kvmath/profile/point_list_p.h>
#include <kvmath/profile/profile_zset.h>

#include <QtCore/QVector>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace KvMath {
namespace {

constexpr float kUnset = std::numeric_limits<float>::quiet_NaN();
constexpr double kMaxCells = 1 << 24;

/// Extends a range that is unknown as long as it is NaN.
void extend(float value, float& low, float& high) {
    if (std::isnan(value))
        return;
    if (!(value >= low))
        low = value;
    if (!(value <= high))
        high = value;
}

struct Mean {
    double sum = 0.0;
    qint64 count = 0;

    void add(float value) {
        if (!std::isfinite(value))
            return;
        sum += static_cast<double>(value);
        ++count;
    }
    double value() const { return sum / static_cast<double>(count); }
};

/// Slope of the least-squares line through the points, about their means: far from the origin no digits are
/// lost.
struct Drift {
    double meanZ = 0.0, slope = 0.0;
    bool known = false;

    explicit Drift(const QVector<std::pair<double, double>>& places) {
        const auto n = static_cast<double>(places.size());
        double meanY = 0.0;
        for (const auto& [z, y] : places) {
            meanZ += z / n;
            meanY += y / n;
        }
        double zz = 0.0;
        double zy = 0.0;
        for (const auto& [z, y] : places) {
            zz += (z - meanZ) * (z - meanZ);
            zy += (z - meanZ) * (y - meanY);
        }
        known = std::any_of(places.begin(), places.end(),
                            [&places](const auto& place) { return place.first != places.first().first; });
        slope = zy / zz;
    }
    double at(float z) const { return slope * (static_cast<double>(z) - meanZ); }
};

double meanHeight(const KvProfile& profile) {
    Mean mean;
    for (const KvPointXY& p : profile.points)
        mean.add(p.y);
    return mean.value();  // NaN without a height
}

/// First and last point to keep.
std::pair<int, int> betweenValleys(const QList<KvPointXY>& points) {
    const auto y = [&points](int i) { return points.at(i).y; };
    int top = -1;
    for (int i = 0; i < points.size(); ++i)
        if (!std::isnan(y(i)) && (top < 0 || y(i) >= y(top)))
            top = i;
    int left = -1;
    for (int i = 0; i < top; ++i)
        if (!std::isnan(y(i)) && (left < 0 || y(i) <= y(left)))
            left = i;
    int right = -1;
    for (int i = Internal::countOf(points) - 1; i > top && top >= 0; --i)
        if (!std::isnan(y(i)) && (right < 0 || y(i) < y(right)))
            right = i;
    return {std::max(left, 0), right < 0 ? points.size() - 1 : right};
}

/// One axis of a grid: cells of `step` from the lowest coordinate on.
struct Axis {
    float low = kUnset, high = kUnset, step;

    double placeOf(float value) const {
        return (static_cast<double>(value) - static_cast<double>(low)) / static_cast<double>(step);
    }
    double cells() const { return std::floor(placeOf(high)) + 1.0; }  // NaN without points
    /// Only once the number of cells is known to be small.
    int cellOf(float value) const { return static_cast<int>(placeOf(value)); }
};

bool isStep(float step) { return step > 0.0F && std::isfinite(step); }

/// Means of the cells of one row; scratch that is used for all rows.
class RowOfMeans {
public:
    explicit RowOfMeans(int columns) : means_(columns) {}

    void add(const KvProfile& profile, const Axis& across) {
        Mean* const means = means_.data();
        for (const KvPointXY& p : profile.points)
            if (Internal::isFinite(p))
                means[across.cellOf(p.x)].add(p.y);
    }

    /// Writes the heights of the filled cells and forgets them. Returns their number.
    int moveTo(float* heights) {
        int filled = 0;
        for (Mean& mean : means_) {
            if (mean.count > 0) {
                *heights = static_cast<float>(mean.value());
                ++filled;
                mean = Mean();
            }
            ++heights;
        }
        return filled;
    }

private:
    QVector<Mean> means_;
};

}  // namespace

bool KvProfileZSet::calcRange() {
    minX = maxX = minY = maxY = minZ = maxZ = kUnset;
    bool hasPoints = false;
    for (const KvProfileZ& profile : profiles) {
        hasPoints = hasPoints || !profile.points.isEmpty();
        for (const KvPointXY& p : profile.points) {
            extend(p.x, minX, maxX);
            extend(p.y, minY, maxY);
        }
        extend(profile.z, minZ, maxZ);
    }
    if (!hasPoints)
        minZ = maxZ = kUnset;
    return hasPoints;
}

float KvProfileZSet::calcAverageY() const {
    Mean mean;
    for (const KvProfileZ& profile : profiles)
        for (const KvPointXY& p : profile.points)
            mean.add(p.y);
    return mean.count > 0 ? static_cast<float>(mean.value()) : 0.0F;
}

bool KvProfileZSet::removePCfromZ() {
    QVector<std::pair<double, double>> places;
    for (const KvProfileZ& profile : profiles)
        if (const double height = meanHeight(profile); std::isfinite(height) && std::isfinite(profile.z))
            places.append({static_cast<double>(profile.z), height});
    const Drift drift(places);
    if (!drift.known)
        return false;
    for (KvProfileZ& profile : profiles) {
        if (!std::isfinite(profile.z))
            continue;
        const double lowering = drift.at(profile.z);
        for (KvPointXY& p : profile.points)
            p.y = static_cast<float>(static_cast<double>(p.y) - lowering);
    }
    return true;
}

void KvProfileZSet::clearEdgeEffect() {
    for (KvProfileZ& profile : profiles) {
        if (profile.points.isEmpty())
            continue;
        const auto [first, last] = betweenValleys(profile.points);
        if (first > 0 || last < profile.points.size() - 1)
            profile.points = profile.points.mid(first, last - first + 1);
    }
}

int KvProfileZSet::toMatrixCloud(KvMatrixCloud& matrix, float stepX, float stepZ) const {
    matrix.clear();
    Axis across{kUnset, kUnset, stepX};
    Axis along{kUnset, kUnset, stepZ};
    for (const KvProfileZ& profile : profiles) {
        if (!std::isfinite(profile.z))
            continue;
        for (const KvPointXY& p : profile.points) {
            if (!Internal::isFinite(p))
                continue;
            extend(p.x, across.low, across.high);
            extend(profile.z, along.low, along.high);
        }
    }
    if (!isStep(stepX) || !isStep(stepZ) || !(across.cells() * along.cells() <= kMaxCells))
        return 0;
    matrix.resize(static_cast<int>(along.cells()), static_cast<int>(across.cells()));
    matrix.originX = across.low;
    matrix.originZ = along.low;
    matrix.stepX = stepX;
    matrix.stepZ = stepZ;

    // Row by row, so that the sums take the memory of one row.
    QVector<std::pair<int, int>> profileOfRow;
    for (int i = 0; i < profiles.size(); ++i)
        if (const float z = profiles.at(i).z; z >= along.low && z <= along.high)
            profileOfRow.append({along.cellOf(z), i});
    std::sort(profileOfRow.begin(), profileOfRow.end());
    RowOfMeans means(matrix.columns);
    int filled = 0;
    for (int i = 0; i < profileOfRow.size(); ++i) {
        const int row = profileOfRow.at(i).first;
        means.add(profiles.at(profileOfRow.at(i).second), across);
        if (i + 1 == profileOfRow.size() || profileOfRow.at(i + 1).first != row)
            filled += means.moveTo(matrix.heights.data() + row * matrix.columns);
    }
    return filled;
}

}  // namespace KvMath

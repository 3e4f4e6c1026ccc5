// The points of a wheel become (y, depth below the largest radius) about its axle, sorted by y. The values
// follow from a few searches along this profile, each from where the one before ended or from the flange top.
// The first that finds nothing ends them; values found before stay. A sort, else linear.
#include <kvmath/wheel/wheel_profile_p.h>

#include <kvmath/base/count_p.h>

#include <cmath>

namespace KvMath::Internal {

namespace {

/// Doubles of the points of a wheel profile, and the searches along it. Every search ends before point n - 2.
class Flange {
public:
    explicit Flange(const QList<KvPointXY>& points) : points_(points), end_(countOf(points) - 2) {}

    double x(int i) const { return static_cast<double>(points_.at(i).x); }
    double depth(int i) const { return static_cast<double>(points_.at(i).y); }

    /// The point of least depth above 0, the first and the last one excluded; -1 if none.
    int top() const {
        int best = -1;
        for (int i = 1; i <= end_; ++i) {
            if (depth(i) > 0 && (best < 0 || depth(i) < depth(best)))
                best = i;
        }
        return best;
    }

    /// The first i from `first` on whose pair (i - 1, i) passes the depth downwards; -1 if none.
    int passing(int first, double level) const {
        for (int i = first; i < end_; ++i) {
            if (depth(i - 1) <= level && level <= depth(i))
                return i;
        }
        return -1;
    }

    /// The first k from `first` on whose pair (k, k + 1) encloses the position; -1 if none.
    int enclosing(int first, double position) const {
        for (int k = first; k < end_; ++k) {
            if (x(k) <= position && position <= x(k + 1))
                return k;
        }
        return -1;
    }

    double middle(int i) const { return (x(i - 1) + x(i)) / 2; }

    double depthAt(int k, double position) const {
        constexpr double kNoSpacing = 0.01;
        const double spacing = x(k + 1) - x(k);
        if (spacing <= kNoSpacing)
            return (depth(k) + depth(k + 1)) / 2;
        return depth(k) + (depth(k + 1) - depth(k)) * (position - x(k)) / spacing;
    }

    double positionAt(int i, double level) const {
        return x(i - 1) + (level - depth(i - 1)) / (depth(i) - depth(i - 1)) * (x(i) - x(i - 1));
    }

private:
    const QList<KvPointXY>& points_;
    int end_;
};

double nominalHeight(const FlangeLevels& levels, double height) {
    constexpr double kHigh = 30.0, kLow = 28.0, kHighFrom = 29.0;
    if (!std::isnan(levels.nominal))
        return levels.nominal;
    return height >= kHighFrom ? kHigh : kLow;
}

}  // namespace

WheelProfile wheelProfileOf(const KvPointCloud<KvPointXYZ>& points, const KvCircle& wheel) {
    WheelProfile result = {{}, std::numeric_limits<double>::quiet_NaN()};
    KvProfile& profile = result.profile;
    for (const KvPointXYZ& p : points.points) {
        const double dx = static_cast<double>(p.x) - static_cast<double>(wheel.x);
        const double dz = static_cast<double>(p.z) - static_cast<double>(wheel.y);
        const auto radius = static_cast<float>(std::sqrt(dx * dx + dz * dz));
        if (std::isfinite(p.y) && std::isfinite(radius))
            profile.points.append({p.y, -radius});
    }
    profile.sort(KvSortAscending, KvSortNone);
    if (!profile.calcRange())
        return result;
    result.largestRadius = -static_cast<double>(profile.minY);
    profile.shift(-profile.minX, -profile.minY, 0.0F);
    profile.calcRange();
    return result;
}

void measureFlange(const KvProfile& profile, const FlangeLevels& levels, _WheelProfileValues& values,
                   KvProfile* debugPoints) {
    const auto mark = [&](double x, double y) {
        if (debugPoints != nullptr)
            debugPoints->points.append({static_cast<float>(x), static_cast<float>(y)});
    };
    const Flange flange(profile.points);
    const int top = flange.top();
    if (top < 0)
        return;
    mark(flange.x(top), flange.depth(top));

    const int flank = flange.passing(top + 1, levels.flank);
    if (flank < 0)
        return;
    mark(flange.middle(flank), levels.flank);

    const int tread = flange.enclosing(flank, levels.tread);
    if (tread < 0)
        return;
    const double height = flange.depthAt(tread, levels.tread);
    values.value[0] = height;
    mark(levels.tread, height);

    const int inner = flange.passing(top + 1, height - levels.thickness);
    if (inner < 0)
        return;
    values.value[9] = flange.middle(inner) - flange.middle(flank);
    mark(flange.middle(inner), height - levels.thickness);
    values.value[8] = height - nominalHeight(levels, height);

    const int reference = flange.passing(top + 1, levels.reference);
    if (reference < 0)
        return;
    values.value[1] = flange.positionAt(reference, levels.reference);
    mark(values.value[1], levels.reference);
}

}  // namespace KvMath::Internal

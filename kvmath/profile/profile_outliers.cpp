// Filters against outliers: spikes along the line, and points with too few neighbours.

#include <kvmath/core/constants_p.h>
#include <kvmath/profile/point_list_p.h>
#include <kvmath/profile/point_tree_p.h>
#include <kvmath/profile/profile.h>

#include <vector>

namespace KvMath {
namespace {

constexpr size_t kLongestSpike = 1024;  ///< points; bounds the search behind each step

/// A point as the spike filters see it.
struct Sample {
    double along;  ///< x, or theta without wraps
    double level;  ///< y, or r
    int index;     ///< of the point in the profile
    bool kept;
};

/// Index behind the spike that starts behind `before`, or before + 1 where none starts.
size_t endOfSpike(const std::vector<Sample>& samples, size_t before, double maxJump, double maxWidth) {
    const size_t start = before + 1;
    const double level = samples[before].level;
    const double entry = samples[start].level - level;
    if (!(std::abs(entry) > maxJump))
        return start;
    double low = samples[start].along;
    double high = low;
    const size_t stop = std::min(samples.size(), start + kLongestSpike + 1);
    for (size_t i = start + 1; i < stop && high - low <= maxWidth; ++i) {
        const double exit = samples[i].level - samples[i - 1].level;
        const bool leaves = std::abs(exit) > maxJump && (exit > 0.0) != (entry > 0.0);
        if (leaves && std::abs(samples[i].level - level) <= maxJump)
            return i;
        low = std::min(low, samples[i].along);
        high = std::max(high, samples[i].along);
    }
    return start;
}

void markSpikes(std::vector<Sample>& samples, float maxJump, float maxWidth) {
    size_t before = 0;
    while (before + 1 < samples.size()) {
        const size_t end =
            endOfSpike(samples, before, static_cast<double>(maxJump), static_cast<double>(maxWidth));
        for (size_t i = before + 1; i < end; ++i)
            samples[i].kept = false;
        before = end;
    }
}

/// The common frame: `sampleOf(point, sample)` fills a sample or refuses the point, which is then removed.
template <class SampleOf>
bool filterSpikes(const KvProfile& source, KvProfile& dest, float maxJump, float maxWidth,
                  SampleOf sampleOf) {
    const QList<KvPointXY> input = source.points;  // dest may be the source
    if (&dest != &source)
        dest = source;
    const int n = input.size();
    if (n < 3)
        return false;
    const auto in = input.constBegin();
    std::vector<Sample> samples;
    samples.reserve(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) {
        Sample sample{0, 0, i, true};
        if (Internal::isFinite(in[i]) && sampleOf(in[i], sample))
            samples.push_back(sample);
    }
    markSpikes(samples, maxJump, maxWidth);
    auto target = dest.points.begin();
    for (const Sample& sample : samples) {
        if (sample.kept)
            *target++ = in[sample.index];
    }
    dest.points.erase(target, dest.points.end());
    return true;
}

}  // namespace

bool KvProfile::splashFilter(KvProfile& dest, float maxJump, float maxWidth) const {
    return filterSpikes(*this, dest, maxJump, maxWidth, [](const KvPointXY& p, Sample& sample) {
        sample.along = static_cast<double>(p.x);
        sample.level = static_cast<double>(p.y);
        return true;
    });
}

bool KvProfile::splashFilterPolar(KvProfile& dest, float maxJump, float maxWidth, float minRadius) const {
    const double least = static_cast<double>(minRadius);
    double theta = 0.0;  // of the point before, without wraps
    return filterSpikes(*this, dest, maxJump, maxWidth,
                        [least, theta](const KvPointXY& p, Sample& sample) mutable {
                            const double x = static_cast<double>(p.x);
                            const double y = static_cast<double>(p.y);
                            sample.level = std::sqrt(x * x + y * y);
                            theta += std::remainder(std::atan2(y, x) * 180.0 / Internal::kPi - theta, 360.0);
                            sample.along = theta;
                            return !(sample.level < least);  // true for NaN: no limit
                        });
}

void KvProfile::removeNoisyPoints(float radius, int minNeighbours) {
    if (!(radius > 0.0F) || minNeighbours < 1)
        return;
    Internal::keepIf(points, Internal::isFinite);
    const Internal::PointTree tree(points);
    QList<KvPointXY> kept = points;
    Internal::keepIf(kept, [&tree, radius, minNeighbours](const KvPointXY& p) {
        // The point itself is counted too.
        return tree.countWithin(p, static_cast<double>(radius), minNeighbours) > minNeighbours;
    });
    points.swap(kept);
}

}  // namespace KvMath

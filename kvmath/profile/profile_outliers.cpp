// Filters against outliers: spikes along the line, and points with too few neighbours.

#include <kvmath/base/constants_p.h>
#include <kvmath/base/count_p.h>
#include <kvmath/profile/point_list_p.h>
#include <kvmath/profile/point_tree_p.h>
#include <kvmath/profile/profile.h>

#include <optional>
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
    const int n = Internal::countOf(input);
    if (n < 3)
        return false;
    const auto in = input.constBegin();
    std::vector<Sample> samples(static_cast<size_t>(n));
    size_t taken = 0;
    for (int i = 0; i < n; ++i) {
        Sample& sample = samples[taken];
        sample.index = i;
        sample.kept = true;
        if (Internal::isFinite(in[i]) && sampleOf(in[i], sample))
            ++taken;
    }
    samples.resize(taken);
    markSpikes(samples, maxJump, maxWidth);
    // Points before the first that goes are in their places.
    int inPlace = 0;
    auto sample = samples.cbegin();
    for (; sample != samples.cend() && sample->kept && sample->index == inPlace; ++sample)
        ++inPlace;
    if (inPlace == n)
        return true;
    auto target = dest.points.begin() + inPlace;
    for (; sample != samples.cend(); ++sample) {
        if (sample->kept)
            *target++ = in[sample->index];
    }
    dest.points.erase(target, dest.points.end());
    return true;
}

/// Whether a point has more than so many points within the radius, itself counted. On a scanner line nearly
/// all have them among those just before and behind it; the tree is asked only for the others, and alone
/// where the order of the points is no help.
class NeighbourTest {
public:
    NeighbourTest(const QList<KvPointXY>& points, float radius, int minNeighbours)
        : points_(points), radius_(static_cast<double>(radius)), minNeighbours_(minNeighbours),
          reach_(std::min(minNeighbours, kLongestReach) + 2) {}

    bool hasEnough(int i) {
        if (misses_ <= hits_ + kMissesToGiveUp) {
            if (hasEnoughNearby(i)) {
                ++hits_;
                return true;
            }
            ++misses_;
        }
        if (!tree_)
            tree_.emplace(points_);
        return tree_->countWithin(points_.at(i), radius_, minNeighbours_) > minNeighbours_;
    }

private:
    static constexpr int kLongestReach = 30;
    static constexpr int kMissesToGiveUp = 64;

    bool hasEnoughNearby(int i) const {
        const auto p = points_.constBegin();
        const int end = std::min(i + reach_ + 1, Internal::countOf(points_));
        const double squared = radius_ * radius_;
        int found = 0;
        for (int k = std::max(i - reach_, 0); k < end; ++k)
            found += Internal::squaredDistance(p[k].x, p[k].y, p[i]) <= squared ? 1 : 0;
        return found > minNeighbours_;
    }

    const QList<KvPointXY>& points_;
    double radius_;
    int minNeighbours_;
    int reach_;  // points on either side
    int hits_ = 0;
    int misses_ = 0;
    std::optional<Internal::PointTree> tree_;
};

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
    NeighbourTest test(points, radius, minNeighbours);
    QList<KvPointXY> kept = points;
    auto target = kept.begin();
    for (int i = 0; i < qAsConst(points).size(); ++i) {
        if (test.hasEnough(i))
            *target++ = points.at(i);
    }
    kept.erase(target, kept.end());
    points.swap(kept);
}

}  // namespace KvMath

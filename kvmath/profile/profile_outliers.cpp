// Filters against outliers: spikes along the line, and points with too few neighbours.

#include <kvmath/base/constants_p.h>
#include <kvmath/base/count_p.h>
#include <kvmath/base/instructions_p.h>
#include <kvmath/profile/point_list_p.h>
#include <kvmath/profile/point_tree_p.h>
#include <kvmath/profile/profile.h>

#include <limits>
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

constexpr int kNeighbourBlock = 128;  // points whose neighbours are counted together
constexpr int kLongestReach = 32;     // points on either side

/// A block of points with those within reach before and behind it.
struct Stretch {
    static constexpr int kSize = kNeighbourBlock + 2 * kLongestReach;
    int size = 0;
    int blockBegin = 0, blockEnd = 0;  ///< within the stretch
    double x[kSize], y[kSize];
    double behind[kSize];  ///< neighbours of each point among the next ones
    double before[kSize];  ///< and among those before it
};

/// How many points of the block have fewer neighbours than `least`.
KVMATH_INLINE_KERNEL int countLonely(Stretch& s, double least) {
    int lonely = 0;
    for (int i = s.blockBegin; i < s.blockEnd; ++i)
        lonely += s.behind[i] + s.before[i] < least ? 1 : 0;
    return lonely;
}

/// Counts the neighbours of all points of the block among the `reach` next points and those before, within
/// the root of `squared`: each pair is compared once, several pairs side by side. Ends early where all have
/// `least` of them: inside a line half as many steps will do, at its ends as many. Returns the number of
/// points that have fewer.
KVMATH_INLINE_KERNEL int countNeighbours(Stretch& s, int reach, double squared, int least) {
    for (int i = 0; i < s.size; ++i) {
        s.behind[i] = 0.0;
        s.before[i] = 0.0;
    }
    for (int step = 1; step <= reach; ++step) {
        for (int i = 0; i < s.size - step; ++i) {
            const double dx = s.x[i] - s.x[i + step];
            const double dy = s.y[i] - s.y[i + step];
            const double isNear = dx * dx + dy * dy <= squared ? 1.0 : 0.0;
            s.behind[i] += isNear;
            s.before[i + step] += isNear;
        }
        if ((step == least || step == least - least / 2) && countLonely(s, least) == 0)
            return 0;
    }
    return countLonely(s, least);
}
KVMATH_FOR_AVX2 int countNeighboursForAvx2(Stretch& s, int reach, double squared, int least) {
    return countNeighbours(s, reach, squared, least);
}

/// How many of n points lie within the root of `squared` of `centre`.
KVMATH_INLINE_KERNEL int countAmongAll(Internal::ConstPointIterator p, int n, const KvPointXY& centre,
                                       double squared) {
    int found = 0;
    for (int i = 0; i < n; ++i)
        found += Internal::squaredDistance(p[i].x, p[i].y, centre) <= squared ? 1 : 0;
    return found;
}
KVMATH_FOR_AVX2 int countAmongAllForAvx2(Internal::ConstPointIterator p, int n, const KvPointXY& centre,
                                         double squared) {
    return countAmongAll(p, n, centre, squared);
}

/// Finds the points with fewer than so many others within the radius. On a scanner line nearly all have them
/// among those just before and behind them. The others are compared with all points as long as they are few,
/// which takes less than a tree; the tree is asked alone where the order of the points is no help.
class NeighbourTest {
public:
    NeighbourTest(const QList<KvPointXY>& points, float radius, int minNeighbours)
        : points_(points), radius_(static_cast<double>(radius)), minNeighbours_(minNeighbours),
          reach_(std::min(minNeighbours, kLongestReach - 2) + 2) {}

    /// Their numbers, ascending.
    std::vector<int> lonelyPoints() {
        const int n = Internal::countOf(points_);
        std::vector<int> lonely;
        for (int first = 0; first < n; first += kNeighbourBlock) {
            const int end = std::min(n - first, kNeighbourBlock) + first;
            const bool isOrderOfHelp = misses_ <= hits_ + kMissesToGiveUp;
            const int misses = isOrderOfHelp ? countNearby(first, end) : end - first;
            hits_ += end - first - misses;
            misses_ += misses;
            for (int i = first; misses > 0 && i < end; ++i) {
                const int at = stretch_.blockBegin + i - first;
                const bool isKnown =
                    isOrderOfHelp && stretch_.behind[at] + stretch_.before[at] >= minNeighbours_;
                if (!isKnown && isLonely(i, misses <= kFewMisses))
                    lonely.push_back(i);
            }
        }
        return lonely;
    }

private:
    static constexpr int kMissesToGiveUp = 64;
    static constexpr int kFewMisses = kNeighbourBlock / 4;  // of a block
    static constexpr int kMostComparisons = 64;             // of points with all others

    /// Returns the number of points in first .. end - 1 that need the tree.
    int countNearby(int first, int end) {
        const int begin = std::max(first - reach_, 0);
        stretch_.size = static_cast<int>(std::min<qint64>(qint64{end} + reach_, points_.size())) - begin;
        stretch_.blockBegin = first - begin;
        stretch_.blockEnd = end - begin;
        const auto from = points_.constBegin() + begin;
        for (int i = 0; i < stretch_.size; ++i) {
            stretch_.x[i] = static_cast<double>(from[i].x);
            stretch_.y[i] = static_cast<double>(from[i].y);
        }
        const double squared = radius_ * radius_;
        return Internal::hasAvx2() ? countNeighboursForAvx2(stretch_, reach_, squared, minNeighbours_)
                                   : countNeighbours(stretch_, reach_, squared, minNeighbours_);
    }

    bool isLonely(int i, bool isOneOfFew) {
        if (isOneOfFew && !tree_ && comparisons_ < kMostComparisons) {
            ++comparisons_;
            const int n = Internal::countOf(points_);
            const double squared = radius_ * radius_;
            const int found = Internal::hasAvx2()
                                  ? countAmongAllForAvx2(points_.constBegin(), n, points_.at(i), squared)
                                  : countAmongAll(points_.constBegin(), n, points_.at(i), squared);
            return found <= minNeighbours_;  // itself counts
        }
        if (!tree_)
            tree_.emplace(points_);
        return tree_->countWithin(points_.at(i), radius_, minNeighbours_) <= minNeighbours_;
    }

    const QList<KvPointXY>& points_;
    double radius_;
    int minNeighbours_;
    int reach_;  // points on either side
    int comparisons_ = 0;
    qint64 hits_ = 0;
    qint64 misses_ = 0;
    Stretch stretch_;
    std::optional<Internal::PointTree> tree_;
};

/// Whether every point of the list is finite.
bool areFinite(const QList<KvPointXY>& points) {
    const auto p = points.constBegin();
    const int n = Internal::countOf(points);
    constexpr float kMost = std::numeric_limits<float>::max();
    int finite = 0;
    for (int i = 0; i < n; ++i)
        finite += (std::abs(p[i].x) <= kMost ? 1 : 0) & (std::abs(p[i].y) <= kMost ? 1 : 0);
    return finite == n;
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
    if (!areFinite(points))
        Internal::keepIf(points, Internal::isFinite);
    const std::vector<int> lonely = NeighbourTest(points, radius, minNeighbours).lonelyPoints();
    if (lonely.empty())
        return;
    const auto begin = points.begin();
    auto target = begin + lonely.front();
    for (size_t k = 0; k < lonely.size(); ++k) {
        const auto end = k + 1 < lonely.size() ? begin + lonely[k + 1] : points.end();
        target = std::copy(begin + lonely[k] + 1, end, target);
    }
    points.erase(target, points.end());
}

}  // namespace KvMath

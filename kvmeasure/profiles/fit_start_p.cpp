// What robust fits start from. A value of a given rank: two values of a small sample that probably enclose it
// part the others in three, of which the part with the rank is kept, until few are left (R. W. Floyd,
// R. L. Rivest, Comm. ACM 18 (1975) 165-172); about two passes over the values, without branches that the
// processor cannot foretell. Samples and block medians bound what a start costs, whatever the number of
// points.
#include <kvmeasure/profiles/fit_start_p.h>

#include <kvmeasure/base/double_pair_p.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace KvMeasure::Internal {

namespace {

constexpr std::size_t kPivots = 15;

/// Three values of a sample in order; the first and the last probably enclose the value of that rank, the
/// middle one is near it.
std::array<double, 3> pivotsAt(const std::vector<double>& values, std::size_t rank) {
    constexpr std::size_t kBeside = 2;
    std::array<double, kPivots> sorted{};
    EvenPlaces places(values.size(), kPivots);
    for (std::size_t i = 0; i < kPivots; ++i) {
        const double value = values[places.next()];
        std::size_t at = i;
        for (; at > 0 && sorted[at - 1] > value; --at)
            sorted[at] = sorted[at - 1];
        sorted[at] = value;
    }
    const std::size_t middle = rank * kPivots / values.size();
    const std::size_t low = middle > kBeside ? middle - kBeside : 0;
    return {sorted[low], sorted[middle], sorted[std::min(middle + kBeside, kPivots - 1)]};
}

/// Keeps the values that are kept.
template <class Kept>
void keepOnly(std::vector<double>& values, const Kept& isKept) {
    std::size_t kept = 0;
    for (const double value : values) {  // written in any case: which are kept cannot be foretold
        values[kept] = value;
        kept += std::size_t(isKept(value));
    }
    values.resize(kept);
}

/// How many values lie below, below or at the pivots.
struct Counts {
    std::size_t belowLow, belowMiddle, upToMiddle, upToHigh;
};

Counts countsOf(const std::vector<double>& values, double low, double middle, double high) {
    using Pair = decltype(DoublePair() < DoublePair());  // -1 where it holds
    Pair belowLow{0, 0}, belowMiddle{0, 0}, upToMiddle{0, 0}, upToHigh{0, 0};
    const auto take = [&](const DoublePair& pair) {
        belowLow -= pair < low;
        belowMiddle -= pair < middle;
        upToMiddle -= pair <= middle;
        upToHigh -= pair <= high;
    };
    std::size_t i = 0;
    for (; i + 2 <= values.size(); i += 2)
        take(pairAt(values.data() + i));
    if (i < values.size())
        take(DoublePair{values[i], std::nan("")});  // which counts nowhere
    const auto sum = [](const Pair& pair) { return static_cast<std::size_t>(pair[0] + pair[1]); };
    return {sum(belowLow), sum(belowMiddle), sum(upToMiddle), sum(upToHigh)};
}

/// Keeps the part of the values that holds the one of rank `rank`, which becomes its rank there; of equal
/// values a single one.
void keepPart(std::vector<double>& values, std::size_t& rank) {
    const auto [low, middle, high] = pivotsAt(values, rank);
    const auto [belowLow, belowMiddle, upToMiddle, upToHigh] = countsOf(values, low, middle, high);
    if (rank < belowLow) {
        keepOnly(values, [low = low](double value) { return value < low; });
    } else if (rank < belowMiddle) {
        rank -= belowLow;
        keepOnly(values,
                 [low = low, middle = middle](double value) { return (value >= low) & (value < middle); });
    } else if (rank < upToMiddle) {
        rank = 0;
        values.assign(1, middle);
    } else if (rank < upToHigh) {
        rank -= upToMiddle;
        keepOnly(values,
                 [middle = middle, high = high](double value) { return (value > middle) & (value <= high); });
    } else {
        rank -= upToHigh;
        keepOnly(values, [high = high](double value) { return value > high; });
    }
}

}  // namespace

double ofRank(std::vector<double>& values, std::size_t rank) {
    constexpr std::size_t kFew = 40;
    constexpr int kMostRounds = 32;  // more than any list needs that was not made to defeat the samples
    if (std::is_sorted(values.begin(), values.end()))  // as x is in scan order
        return values[rank];
    for (int round = 0; values.size() > kFew && round < kMostRounds; ++round)
        keepPart(values, rank);
    if (rank >= values.size())  // where one is NaN
        return std::nan("");
    const auto middle = values.begin() + std::ptrdiff_t(rank);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

double medianOf(std::vector<double>& values) { return ofRank(values, (values.size() - 1) / 2); }

const std::vector<Vector>& sampled(const std::vector<Vector>& points, std::vector<Vector>& sample) {
    if (points.size() <= kMostSampled)
        return points;
    sample.reserve(kMostSampled);
    EvenPlaces places(points.size(), kMostSampled);
    for (std::size_t i = 0; i < kMostSampled; ++i)
        sample.push_back(points[places.next()]);
    return sample;
}

std::vector<Vector> thinned(const std::vector<Vector>& points, std::size_t from, std::size_t end,
                            std::size_t most) {
    const std::size_t all = end - from;
    const std::size_t count = std::min(all, most);
    std::vector<Vector> chosen;
    chosen.reserve(count);
    EvenPlaces places(all, std::max<std::size_t>(count, 1));
    for (std::size_t i = 0; i < count; ++i)
        chosen.push_back(points[from + places.next()]);
    return chosen;
}

std::vector<Vector> blockMedians(const std::vector<Vector>& points, std::size_t most) {
    if (points.size() <= most)
        return points;
    std::vector<Vector> medians;
    medians.reserve(most);
    std::vector<double> x;
    std::vector<double> y;
    for (std::size_t block = 0; block < most; ++block) {
        const std::size_t from = block * points.size() / most;
        const std::size_t count = (block + 1) * points.size() / most - from;
        x.resize(count);
        y.resize(count);
        for (std::size_t i = 0; i < count; ++i) {
            x[i] = points[from + i].x;
            y[i] = points[from + i].y;
        }
        medians.emplace_back(medianOf(x), medianOf(y));
    }
    return medians;
}

double ofFew(std::size_t count, int parameters) { return 1 + 5 / std::max(1.0, double(count) - parameters); }

double robustDeviation(std::vector<double>& sizes, int parameters) {
    constexpr double kOfMedian = 1.4826022185056018;  // of a normal distribution, as the next
    constexpr double kOfMean = 1.2533141373155003;
    if (sizes.empty())
        return 0;
    double sum = 0;
    for (const double size : sizes)
        sum += size;
    const std::size_t count = sizes.size();
    const double median = medianOf(sizes);
    return ofFew(count, parameters) * (median > 0 ? kOfMedian * median : kOfMean * sum / double(count));
}

const std::vector<Vector>& finitePoints(const std::vector<Vector>& points, std::vector<Vector>& kept) {
    constexpr double kMost = 1e9;
    const auto isUsable = [](const Vector& p) { return std::fabs(p.x) < kMost && std::fabs(p.y) < kMost; };
    if (std::all_of(points.begin(), points.end(), isUsable))
        return points;
    std::copy_if(points.begin(), points.end(), std::back_inserter(kept), isUsable);
    return kept;
}

}  // namespace KvMeasure::Internal

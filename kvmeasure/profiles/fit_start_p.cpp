// What robust fits start from. A value of a given rank: the values are counted in 128 equally wide buckets,
// and only the bucket that holds the rank is kept, until few are left; about linear, and without branches
// that the processor cannot foretell. Samples and block medians bound what a start costs, whatever the number
// of points.
#include <kvmeasure/profiles/fit_start_p.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace KvMeasure::Internal {

namespace {

constexpr std::size_t kBuckets = 128;

/// Keeps of `values` only the bucket of equally wide ones that holds the one of rank `rank`, which becomes
/// its rank there. False where they are not parted: not finite, or all nearly equal.
bool keepBucket(std::vector<double>& values, std::size_t& rank) {
    double least = values[0];
    double greatest = values[0];
    for (const double value : values) {
        least = value < least ? value : least;
        greatest = value > greatest ? value : greatest;
    }
    const double scale = (kBuckets - 1) / (greatest - least);
    if (!(scale > 0 && scale < 1e300) || !(std::fabs(least) < 1e100 && std::fabs(greatest) < 1e100))
        return false;
    const auto bucketOf = [&](double value) {
        return static_cast<unsigned>(static_cast<int>((value - least) * scale));
    };
    std::array<unsigned, kBuckets> counts{};
    for (const double value : values) {
        if (!(value >= least))
            return false;  // NaN
        ++counts[bucketOf(value)];
    }
    unsigned wanted = 0;
    while (rank >= counts[wanted])
        rank -= counts[wanted++];
    std::size_t kept = 0;
    for (const double value : values) {  // written in any case: the processor cannot foretell which are kept
        values[kept] = value;
        kept += bucketOf(value) == wanted ? 1 : 0;
    }
    values.resize(kept);
    return true;
}

}  // namespace

double ofRank(std::vector<double>& values, std::size_t rank) {
    constexpr std::size_t kFew = 96;
    if (std::is_sorted(values.begin(), values.end()))  // as x is in scan order
        return values[rank];
    for (std::size_t before = values.size() + 1; values.size() > kFew && values.size() < before;) {
        before = values.size();
        if (!keepBucket(values, rank))
            break;
    }
    const auto middle = values.begin() + std::ptrdiff_t(rank);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

double medianOf(std::vector<double>& values) { return ofRank(values, (values.size() - 1) / 2); }

const std::vector<Vector>& sampled(const std::vector<Vector>& points, std::vector<Vector>& sample) {
    if (points.size() <= kMostSampled)
        return points;
    sample.reserve(kMostSampled);
    for (std::size_t i = 0; i < kMostSampled; ++i)
        sample.push_back(points[i * points.size() / kMostSampled]);
    return sample;
}

std::vector<Vector> thinned(const std::vector<Vector>& points, std::size_t from, std::size_t end,
                            std::size_t most) {
    const std::size_t all = end - from;
    const std::size_t count = std::min(all, most);
    std::vector<Vector> chosen;
    chosen.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        chosen.push_back(points[from + i * all / count]);
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

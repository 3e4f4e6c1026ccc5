// Order statistics of points that are not alike: each has the height of the surface and the same noise. Near
// the value that is read the points are counted in bins of a quarter of a deviation; those further away lie
// above or below for certain. A value costs a pass over the points, and for the bins some fifteen times the
// error function.

#include <kvmeasure/inspection/kinds/order_noise.h>

#include <kvmeasure/inspection/kinds/normal_table_p.h>
#include <kvmeasure/profiles/fit_start_p.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace KvMeasure {

namespace {

constexpr int kMostBins = 400;
constexpr double kFinest = 0.25;  ///< deviations: finer bins change nothing
constexpr double kReach = 6;      ///< deviations: points further off are above or below
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
constexpr double kRootOf2 = 1.4142135623730951;
constexpr double kFarDeviations = 10;  ///< no noise reaches so far
constexpr double kFewBeyond = 6.5;     ///< deviations, which one point in 10^10 exceeds

/// Share of the standard normal distribution below a value.
double below(double value) { return std::erfc(-value / kRootOf2) / 2; }

double density(double value) {
    constexpr double kRootOf2Pi = 2.5066282746310002;
    return std::exp(-value * value / 2) / kRootOf2Pi;
}

/// The value below which `sum(value)`, which grows with it, is negative; to a thousandth. Where the chord is
/// 0, moved towards the middle and never so far from it that halving would be done sooner (I. F. D. Oliveira,
/// R. H. C. Takahashi, ACM Trans. Math. Software 47 (2021) 5): some six sums where halving takes fourteen.
template <class Sum>
double rootOf(double from, double to, const Sum& sum) {
    const double close = 1e-3 * (1 + 1e-12 * std::fabs(to));
    constexpr double kTowardsMiddle = 0.2;
    const double whole = to - from;
    double below = sum(from);
    double above = sum(to);
    if (!(below < 0))
        return from;
    if (!(above > 0))
        return to;
    double reach = close;  // half of what halving may leave after this sum, with one sum to spare
    while (reach < 2 * whole)
        reach *= 2;
    for (reach /= 2; to - from > close; reach /= 2) {
        const double middle = (from + to) / 2;
        if (!(middle > from && middle < to))
            break;
        const double chord = (above * from - below * to) / (above - below);
        const double side = chord < middle ? 1 : -1;
        const double push = kTowardsMiddle * (to - from) * (to - from) / whole;
        const double pushed = push < std::fabs(middle - chord) ? chord + side * push : middle;
        const double most = std::max(reach - (to - from) / 2, 0.0);
        const double place = std::fabs(pushed - middle) <= most ? pushed : middle - side * most;
        const double value = sum(place);
        (value < 0 ? below : above) = value;
        (value < 0 ? from : to) = place;
    }
    return (from + to) / 2;
}

/// Those of some bins that hold points.
template <class Bins>
Bins withPoints(Bins bins) {
    const auto isEmpty = [](const auto& bin) { return !(bin.share > 0); };
    bins.erase(std::remove_if(bins.begin(), bins.end(), isEmpty), bins.end());
    return bins;
}

/// Mean and mean square of a standard normal value that is clipped to limits.
struct Clipped {
    double mean, square;
    double inside;  ///< share between the limits

    Clipped(double low, double high) {
        const double under = below(low);
        const double over = below(-high);
        inside = 1 - under - over;
        const double first = density(low) - density(high);
        mean = low * under + high * over + first;
        square = low * low * under + high * high * over + inside + low * density(low) - high * density(high);
    }
};

}  // namespace

OrderNoise::OrderNoise(double count, double rise, const NoiseModel& noise) : noise_(noise), count_(count) {
    if (!std::isfinite(rise))
        count_ = kNone;
    if (!isUnknown())
        range_ = std::fabs(rise) / noise_.deviation;
}

OrderNoise::OrderNoise(const std::vector<double>& heights, const NoiseModel& noise)
    : noise_(noise), count_(double(heights.size())) {
    if (isUnknown())
        return;
    const auto [least, greatest] = std::minmax_element(heights.begin(), heights.end());
    const double middle = *least + (*greatest - *least) / 2;
    range_ = (*greatest - *least) / noise_.deviation;
    if (!std::isfinite(range_))
        count_ = kNone;
    heights_.reserve(heights.size());
    for (const double height : heights)
        heights_.push_back((height - middle) / noise_.deviation);
}

bool OrderNoise::isUnknown() const {
    return !(count_ > 0) || !std::isfinite(noise_.deviation) || !std::isfinite(noise_.correlationTime) ||
           noise_.deviation == 0;
}

/// Bins with points between two heights, each where the mean of its points is; the points below and above lie
/// at the heights themselves, less or more by `reach`.
OrderNoise::Bins OrderNoise::between(double low, double high) const {
    const double width = high - low;
    const double finest = width / kFinest;  // beyond all whole numbers where heights lie that far apart
    const int count = finest < kMostBins ? std::max(static_cast<int>(finest) + 1, 1) : kMostBins;
    Bins bins(std::size_t(count) + 2, Bin{0, 0});
    const auto binOf = [&](double height) {
        if (height < low)
            return std::size_t{0};
        if (height > high)
            return bins.size() - 1;
        const double place = (height - low) / width * count;  // NaN where there is no width
        return 1 + (place > 0 ? std::min(std::size_t(place), std::size_t(count - 1)) : std::size_t{0});
    };
    if (heights_.empty()) {
        // A line: its even heights as far as they lie in a bin.
        const double top = range_ / 2;
        const auto shareBelow = [&](double height) {
            return range_ > 0 ? std::clamp((height + top) / range_, 0.0, 1.0) : height > 0 ? 1.0 : 0.0;
        };
        for (std::size_t i = 1; i + 1 < bins.size(); ++i) {
            const double from = low + width * double(i - 1) / count;
            const double to = low + width * double(i) / count;
            bins[i].share = shareBelow(to) - shareBelow(from);
            bins[i].height = (std::clamp(from, -top, top) + std::clamp(to, -top, top)) / 2;
        }
        bins.front() = {low - kReach, shareBelow(low)};
        bins.back() = {high + kReach, 1 - shareBelow(high)};
        return withPoints(bins);
    }
    for (const double height : heights_) {
        Bin& bin = bins[binOf(height)];
        bin.height += height;
        bin.share += 1;
    }
    for (Bin& bin : bins) {
        bin.height = bin.share > 0 ? bin.height / bin.share : 0;
        bin.share /= count_;
    }
    bins.front().height = low - kReach;
    bins.back().height = high + kReach;
    return withPoints(bins);
}

/// Where the extremes come from, the nearest to the extreme one first.
OrderNoise::Bins OrderNoise::extremeBins(bool isGreatest) const {
    constexpr double kRounding = 1e-9;  // the extreme itself is in its bin however its height was rounded
    const double top = range_ / 2 + kRounding;
    Bins bins = isGreatest ? between(top - 2 * kReach, top) : between(-top, -top + 2 * kReach);
    if (isGreatest)
        std::reverse(bins.begin(), bins.end());
    return bins;
}

double OrderNoise::extremeQuantile(double share, bool isGreatest) const {
    return isUnknown() ? kNone : quantileOfExtreme(share, isGreatest, extremeBins(isGreatest));
}

double OrderNoise::quantileOfExtreme(double share, bool isGreatest, const Bins& bins) const {
    const double sign = isGreatest ? 1 : -1;
    const double points = std::max(count_ / noise_.correlationTime, 1.0);
    const double top = range_ / 2;
    constexpr double kLeast = 1e-12;  // keeps logarithms finite
    // The logarithm of the share of extremes below a value is that of the quantile; the logarithms of both
    // are nearly parabolas.
    const double wanted = std::log(std::max(-std::log(share), kLeast));
    return noise_.deviation * rootOf(top - kFarDeviations, top + kFarDeviations, [&](double value) {
               double sum = 0;
               for (const Bin& bin : bins) {
                   const double over = value - sign * bin.height;
                   if (over > kFewBeyond)
                       break;
                   sum += bin.share * Internal::logarithmOfShare(over);
               }
               return wanted - std::log(std::max(-points * sum, kLeast));
           });
}

double OrderNoise::extreme(bool isGreatest) const {
    if (isUnknown())
        return noise_.deviation == 0 ? 0 : kNone;
    constexpr double kMostDeviations = 1e12;  // beyond, doubles do not tell parts of a deviation
    if (range_ > kMostDeviations)
        return noise_.deviation;  // of one point: hardly another is as near
    constexpr double kUpper = 0.8413447460685429;
    const Bins bins = extremeBins(isGreatest);
    return (quantileOfExtreme(kUpper, isGreatest, bins) - quantileOfExtreme(1 - kUpper, isGreatest, bins)) /
           2;
}

std::vector<double> OrderNoise::extremeQuantiles(const std::vector<double>& shares, bool isGreatest) const {
    std::vector<double> quantiles(shares.size(), kNone);
    if (isUnknown())
        return quantiles;
    const Bins bins = extremeBins(isGreatest);
    for (std::size_t i = 0; i < shares.size(); ++i)
        quantiles[i] = quantileOfExtreme(shares[i], isGreatest, bins);
    return quantiles;
}

double deviationOfExtremePlace(const std::vector<double>& places, const std::vector<double>& heights,
                               bool isGreatest, const NoiseModel& noise) {
    if (heights.empty() || !(noise.deviation > 0) || !std::isfinite(noise.correlationTime))
        return noise.deviation == 0 ? 0 : kNone;
    const OrderNoise order(heights, noise);
    const auto [least, greatest] = std::minmax_element(heights.begin(), heights.end());
    const double zero = (*least + *greatest) / 2;
    const double sign = isGreatest ? 1 : -1;
    double weights = 0;
    double sum = 0;
    double squares = 0;
    // Thirds of the extremes. Points further below have no weight.
    const std::vector<double> thirds = order.extremeQuantiles({1.0 / 6, 1.0 / 2, 5.0 / 6}, isGreatest);
    const double lowest = thirds.front() - kFewBeyond * noise.deviation;
    std::vector<std::pair<double, double>> near;  // place and height of the points that may be the extreme
    near.reserve(heights.size());
    for (std::size_t i = 0; i < heights.size(); ++i) {
        const double height = sign * (heights[i] - zero);
        if (height >= lowest)
            near.emplace_back(places[i] - places.front(), height);
    }
    for (const double value : thirds) {
        double third = 0;
        double ofThird = 0;
        double squaresOfThird = 0;
        for (const auto& [place, height] : near) {
            const double weight = Internal::hazardAt((value - height) / noise.deviation);
            third += weight;
            ofThird += weight * place;
            squaresOfThird += weight * place * place;
        }
        weights += 1;
        sum += ofThird / third;
        squares += squaresOfThird / third;
    }
    return std::sqrt(std::max(squares / weights - sum / weights * (sum / weights), 0.0));
}

/// The height, in deviations, below which that share of the points lies: within `reach` of where it would lie
/// without noise.
double OrderNoise::quantile(double share) const {
    double start = range_ * (share - 1.0 / 2);
    if (!heights_.empty()) {
        std::vector<double> sorted(heights_);
        const auto at = sorted.begin() + static_cast<std::ptrdiff_t>(share * double(sorted.size() - 1));
        std::nth_element(sorted.begin(), at, sorted.end());
        start = *at;
    }
    const Bins bins = between(start - 2 * kReach, start + 2 * kReach);
    return rootOf(start - kReach, start + kReach, [&](double value) {
        double sum = 0;
        for (const Bin& bin : bins)
            sum += bin.share * Internal::shareBelow(value - bin.height);
        return sum - share;
    });
}

/// Of a mean over the points of a function of their heights: its mean variance by noise, of that the part
/// that is linear in the noise, and its variance over the surface. Powers of the noise are less correlated
/// than the noise; the sums over the lags fall from each power to the next as they do from the first to the
/// second. What is not linear counts as the third power.
double OrderNoise::scattered(double ofNoise, double linear, double ofMissing) const {
    const double first = noise_.correlationTime;
    const double second = std::clamp(noise_.squaredCorrelation, 1.0, std::max(first, 1.0));
    const double third = first > 1 ? 1 + (second - 1) * (second - 1) / (first - 1) : 1;
    const double rest = std::max(ofNoise - linear, 0.0);
    return std::sqrt((linear * first + rest * third) / count_ + std::max(ofMissing, 0.0) * missing_);
}

double OrderNoise::percentile(double percent) const {
    constexpr double kMost = 100;
    if (!(percent > 0 && percent < kMost) || isUnknown())
        return percent > 0 && percent < kMost && noise_.deviation == 0 ? 0 : kNone;
    const double share = percent / kMost;
    const double value = quantile(share);
    double ofNoise = 0;
    double linear = 0;
    double squares = 0;
    double crowd = 0;
    for (const Bin& bin : between(value - kReach, value + kReach)) {
        const double under = below(value - bin.height);
        const double here = density(value - bin.height);
        ofNoise += bin.share * under * (1 - under);
        linear += bin.share * here * here;
        squares += bin.share * under * under;
        crowd += bin.share * here;
    }
    return noise_.deviation * scattered(ofNoise, linear, squares - share * share) / crowd;
}

double OrderNoise::bandMean(double skip, double window) const {
    constexpr double kMost = 100;
    if (!(skip >= 0 && skip < window && window <= kMost) || isUnknown())
        return skip >= 0 && skip < window && window <= kMost && noise_.deviation == 0 ? 0 : kNone;
    const double high = quantile(1 - skip / kMost);
    const double low = quantile(1 - window / kMost);
    double ofNoise = 0;
    double linear = 0;
    double sum = 0;
    double squares = 0;
    for (const Bin& bin : between(low - kReach, high + kReach)) {
        const Clipped clipped(low - bin.height, high - bin.height);
        const double at = bin.height + clipped.mean;
        ofNoise += bin.share * (clipped.square - clipped.mean * clipped.mean);
        linear += bin.share * clipped.inside * clipped.inside;
        sum += bin.share * at;
        squares += bin.share * at * at;
    }
    return noise_.deviation * scattered(ofNoise, linear, squares - sum * sum) * kMost / (window - skip);
}

std::vector<double> smoothHeights(const std::vector<double>& heights, double correlationTime) {
    constexpr double kTimes = 3;
    constexpr double kFewest = 5;
    constexpr double kMostPoints = 1000;
    const auto count = static_cast<std::ptrdiff_t>(heights.size());
    const auto wanted = std::isfinite(correlationTime) ? kTimes * correlationTime : kFewest;
    const auto neighbours = static_cast<std::ptrdiff_t>(std::clamp(wanted, kFewest, kMostPoints));
    // Running sums of the heights from the first one, and of these times the number of the point.
    std::vector<double> sums(heights.size() + 1);
    std::vector<double> moments(heights.size() + 1);
    for (std::size_t i = 0; i < heights.size(); ++i) {
        const double height = heights[i] - heights.front();
        sums[i + 1] = sums[i] + height;
        moments[i + 1] = moments[i] + height * double(i);
    }
    std::vector<double> smooth(heights.size());
    double of = 0;  // how many points `spread` is of
    double spread = 0;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const auto from = std::size_t(std::max<std::ptrdiff_t>(i - neighbours, 0));
        const auto to = std::size_t(std::min(i + neighbours + 1, count));
        const double n = double(to - from);
        const double middle = double(from) + (n - 1) / 2;
        const double mean = (sums[to] - sums[from]) / n;
        if (n != of) {
            of = n;
            spread = n * (n * n - 1) / 12;
        }
        const double moment = moments[to] - moments[from] - mean * n * middle;
        smooth[std::size_t(i)] =
            heights.front() + mean + (spread > 0 ? moment / spread * (double(i) - middle) : 0);
    }
    return smooth;
}

}  // namespace KvMeasure

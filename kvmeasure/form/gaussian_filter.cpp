#include <kvmeasure/form/gaussian_filter.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>

#include <algorithm>

namespace KvMeasure {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kAlpha = 0.46971863934982566;  // sqrt(ln 2 / pi)

/// First and last point within a cut-off of each.
struct Window {
    std::size_t from = 0, to = 0;
};

std::vector<Window> windowsOf(const std::vector<Vector>& points, double cutoff) {
    constexpr double kMostProducts = 4e8;
    std::vector<Window> windows(points.size());
    double products = 0;
    std::size_t from = 0, to = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        while (points[i].x - points[from].x > cutoff)
            ++from;
        while (to < points.size() && points[to].x - points[i].x <= cutoff)
            ++to;
        windows[i] = {from, to};
        products += static_cast<double>(to - from);
    }
    if (products > kMostProducts)
        throw Error(filledIn("a cut-off of %1 mm spans %2 of %3 points; take fewer of them", cutoff,
                             products / static_cast<double>(points.size()), points.size()));
    return windows;
}

/// The weights by the number of pitches between points that lie equally far apart; none for others.
std::vector<double> weightsOfPitch(const std::vector<Vector>& points, double scale, double cutoff) {
    constexpr double kSame = 1e-6;  // of the pitch: a weight changes by less than 1e-9
    const double pitch = (points.back().x - points.front().x) / static_cast<double>(points.size() - 1);
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (!(std::fabs(points[i].x - points.front().x - static_cast<double>(i) * pitch) <= kSame * pitch))
            return {};
    }
    std::vector<double> weights;
    for (std::size_t i = 0; i <= points.size() && static_cast<double>(i) * pitch <= cutoff + pitch; ++i) {
        const double d = static_cast<double>(i) * pitch;
        weights.push_back(std::exp(scale * d * d));
    }
    return weights;
}

std::vector<double> weightedMeans(const std::vector<Vector>& points, const std::vector<Window>& windows,
                                  double cutoff, const std::vector<double>& trust) {
    std::vector<double> line(points.size());
    const double scale = -kPi / (kAlpha * cutoff * kAlpha * cutoff);
    const std::vector<double> table = weightsOfPitch(points, scale, cutoff);
    const auto weightOf = [&](std::size_t i, std::size_t k) {
        const double d = points[k].x - points[i].x;
        return table.empty() ? std::exp(scale * d * d) : table[i < k ? k - i : i - k];
    };
    for (std::size_t i = 0; i < points.size(); ++i) {
        double sum = 0, weights = 0;
        for (std::size_t k = windows[i].from; k < windows[i].to; ++k) {
            const double weight = weightOf(i, k) * (trust.empty() ? 1 : trust[k]);
            sum += weight * (points[k].y - points[i].y);
            weights += weight;
        }
        line[i] = points[i].y + (weights > 0 ? sum / weights : 0);
    }
    return line;
}

double medianOf(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace

std::vector<double> gaussianMeanLine(const std::vector<Vector>& points, double cutoff, bool isRobust) {
    if (!(cutoff > 0))
        throw Error("the cut-off must be above 0");
    if (points.empty())
        return {};
    const std::vector<Window> windows = windowsOf(points, cutoff);
    std::vector<double> line = weightedMeans(points, windows, cutoff, {});
    constexpr int kMostRounds = 30;
    constexpr double kMedians = 4.4478;  // three deviations of normal noise
    constexpr double kEnough = 1e-4;
    std::vector<double> off(points.size()), trust(points.size());
    for (int round = 0; isRobust && round < kMostRounds; ++round) {
        for (std::size_t i = 0; i < points.size(); ++i)
            off[i] = std::fabs(points[i].y - line[i]);
        const double limit = kMedians * medianOf(off);
        if (!(limit > 0))
            break;
        for (std::size_t i = 0; i < points.size(); ++i) {
            const double share = off[i] / limit;
            trust[i] = share < 1 ? (1 - share * share) * (1 - share * share) : 0;
        }
        const std::vector<double> next = weightedMeans(points, windows, cutoff, trust);
        double change = 0;
        for (std::size_t i = 0; i < line.size(); ++i)
            change = std::max(change, std::fabs(next[i] - line[i]));
        line = next;
        if (change <= kEnough * limit)
            break;
    }
    return line;
}

}  // namespace KvMeasure

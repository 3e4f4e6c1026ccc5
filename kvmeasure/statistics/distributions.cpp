// Incomplete beta function by the continued fraction of Lentz's method (W. J. Lentz, Appl. Opt. 15 (1976)
// 668-671), incomplete gamma function by its series; quantiles by halving the interval, which needs no start
// value. Range: Simpson's rule over the density of the pair of extremes, 1e-9.

#include <kvmeasure/statistics/distributions.h>

#include <algorithm>
#include <cmath>
#include <functional>

namespace KvMeasure {

namespace {

const double notANumber = std::nan("");

double fraction(double a, double b, double x) {
    constexpr double kTiny = 1e-300, kEnough = 1e-16;
    constexpr int kMostTerms = 10'000;
    const auto guarded = [](double v) { return std::fabs(v) < kTiny ? kTiny : v; };
    double c = 1, d = 1 / guarded(1 - (a + b) * x / (a + 1)), h = d;
    for (int m = 1; m < kMostTerms; ++m) {
        const double even = m * (b - m) * x / ((a + 2 * m - 1) * (a + 2 * m));
        d = 1 / guarded(1 + even * d);
        c = guarded(1 + even / c);
        h *= d * c;
        const double odd = -(a + m) * (a + b + m) * x / ((a + 2 * m) * (a + 2 * m + 1));
        d = 1 / guarded(1 + odd * d);
        c = guarded(1 + odd / c);
        h *= d * c;
        if (std::fabs(d * c - 1) < kEnough)
            break;
    }
    return h;
}

/// The regularized incomplete beta function.
double betaShare(double a, double b, double x) {
    if (!(x > 0))
        return 0;
    if (x >= 1)
        return 1;
    const double front =
        std::exp(std::lgamma(a + b) - std::lgamma(a) - std::lgamma(b) + a * std::log(x) + b * std::log1p(-x));
    return x < (a + 1) / (a + b + 2) ? front * fraction(a, b, x) / a : 1 - front * fraction(b, a, 1 - x) / b;
}

/// The regularized lower incomplete gamma function.
double gammaShare(double a, double x) {
    if (!(x > 0))
        return 0;
    double term = 1 / a, sum = term;
    for (int n = 1; n < 100'000 && term > sum * 1e-17; ++n) {
        term *= x / (a + n);
        sum += term;
    }
    return std::min(1.0, sum * std::exp(a * std::log(x) - x - std::lgamma(a)));
}

/// Where an increasing share reaches a value, between two places.
double solve(const std::function<double(double)>& share, double value, double from, double to) {
    constexpr int kMostHalvings = 200;
    for (int i = 0; i < kMostHalvings; ++i) {
        const double middle = from + (to - from) / 2;
        if (middle <= from || middle >= to)
            break;
        (share(middle) < value ? from : to) = middle;
    }
    return from + (to - from) / 2;
}

bool isShare(double share) { return share > 0 && share < 1; }

constexpr int kMostOfRange = 1000;

bool isRanged(int count) { return count >= 2 && count <= kMostOfRange; }

/// Of the range of so many normal values, by sums over equal steps of the share P(x) below x.
class SharesOfRange {
public:
    explicit SharesOfRange(int count) : count_(count) {
        for (int i = 0; i <= kSteps; ++i) {
            share_[i] = normalShareBelow(-kFarthest + i * kStep);
            allBelow_[i] = std::pow(share_[i], count);
            allAbove_[i] = std::pow(1 - share_[i], count);
        }
    }
    /// Integral of 1 - P^n - (1 - P)^n.
    double mean() const {
        double sum = 0;
        for (int i = 0; i <= kSteps; ++i)
            sum += (1 - allBelow_[i] - allAbove_[i]) * kStep;
        return sum;
    }
    /// Twice the double integral over x < y of 1 - P(y)^n - (1 - P(x))^n + (P(y) - P(x))^n.
    double meanSquare() const {
        double sum = 0;
        for (int i = 0; i <= kSteps; ++i) {
            for (int k = 0; k <= i; ++k) {
                const double both = 1 - allBelow_[i] - allAbove_[k] + std::pow(share_[i] - share_[k], count_);
                sum += 2 * both * kStep * kStep * (k == i ? 0.5 : 1);
            }
        }
        return sum;
    }

private:
    static constexpr int kSteps = 400;
    static constexpr double kFarthest = 9, kStep = 2 * kFarthest / kSteps;

    int count_;
    double share_[kSteps + 1], allBelow_[kSteps + 1], allAbove_[kSteps + 1];
};

}  // namespace

double normalShareBelow(double x) { return std::erfc(-x / std::sqrt(2.0)) / 2; }

double normalQuantile(double share) {
    if (!isShare(share))
        return notANumber;
    constexpr double kFarthest = 40;
    return share > 0.5 ? -normalQuantile(1 - share) : solve(normalShareBelow, share, -kFarthest, 0);
}

double fShareAbove(double f, double freedomAbove, double freedomBelow) {
    if (!(freedomAbove > 0) || !(freedomBelow > 0) || std::isnan(f))
        return notANumber;
    if (f <= 0)
        return 1;
    return betaShare(freedomBelow / 2, freedomAbove / 2, freedomBelow / (freedomBelow + freedomAbove * f));
}

namespace {

/// Twice, four times, ... a value, up to one that has this share below it.
template <class Below>
double doubledUpTo(const Below& below, double share, double value) {
    while (below(value) < share && value < 1e300)
        value *= 2;
    return value;
}

}  // namespace

double studentQuantile(double share, double freedom) {
    if (!isShare(share) || !(freedom > 0))
        return notANumber;
    if (share < 0.5)
        return -studentQuantile(1 - share, freedom);
    const auto below = [freedom](double t) {
        return 1 - betaShare(freedom / 2, 0.5, freedom / (freedom + t * t)) / 2;
    };
    return solve(below, share, 0, doubledUpTo(below, share, 1));
}

double chiSquareQuantile(double share, double freedom) {
    if (!isShare(share) || !(freedom > 0))
        return notANumber;
    const auto below = [freedom](double x) { return gammaShare(freedom / 2, x / 2); };
    return solve(below, share, 0, doubledUpTo(below, share, freedom + 1));
}

double meanRangeOfNormal(int count) { return isRanged(count) ? SharesOfRange(count).mean() : notANumber; }

RangeOfNormal rangeOfNormal(int count) {
    if (!isRanged(count))
        return {notANumber, notANumber};
    const SharesOfRange shares(count);
    return {shares.mean(), std::sqrt(std::max(0.0, shares.meanSquare() - shares.mean() * shares.mean()))};
}

}  // namespace KvMeasure

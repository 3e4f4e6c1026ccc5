// The autocovariance of residuals is pooled over the fits, each scaled to variance 1. A fit with p parameters
// projects the noise e on what it does not explain, r = (1 - H) e. With S the sum of the autocovariances over
// all lags, the expected products are those of e less S times the entries of H, so that S is known up to a
// linear equation: S (1 - b) = a, a the sum over the lags of the products seen, b that of the entries of H.

#include <kvmeasure/profiles/residual_noise.h>

#include <kvmeasure/base/double_pair_p.h>
#include <kvmeasure/profiles/lag_sums_p.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace KvMeasure {

using namespace Internal;

namespace {

constexpr std::size_t kMostResiduals = 200'000;
constexpr int kMostLags = 128;
constexpr double kFewestResiduals = 24;
constexpr double kFewestLengths = 5;       // below it the correlation time is not known
constexpr double kGreatestPutBack = 0.65;  // b above
constexpr double kTrustedLengths = 30;
constexpr double kPooledLengths = 10;

/// Sum of the squares.
double squaresOf(const std::vector<double>& values) {
    DoublePair sum{0, 0};
    DoublePair other{0, 0};
    std::size_t i = 0;
    for (; i + 4 <= values.size(); i += 4) {
        const DoublePair first = pairAt(values.data() + i);
        const DoublePair second = pairAt(values.data() + i + 2);
        sum += first * first;
        other += second * second;
    }
    sum += other;
    double squares = sum[0] + sum[1];
    for (; i < values.size(); ++i)
        squares += values[i] * values[i];
    return squares;
}

/// Sum of the entries of H at a lag, for n equally spaced points and the polynomials below degree p: the
/// correlation of a Legendre polynomial with itself, moved by the share q of its length, is 1 - q for degree
/// 0, 1 - 3 q + 2 q^3 for degree 1, near 1 - (2 d + 1) q beyond.
double hatSum(double n, double lag, int parameters) {
    const double q = lag / n;
    if (q >= 1)
        return 0;
    double sum = parameters > 0 ? 1 - q : 0;
    if (parameters > 1)
        sum += 1 - 3 * q + 2 * q * q * q;
    for (int degree = 2; degree < parameters; ++degree)
        sum += std::max(0.0, 1 - (2 * degree + 1) * q);
    return sum;
}

}  // namespace

/// Sums of products of the residuals at each lag, made as lags are asked for.
class ResidualNoise::Correlogram {
public:
    explicit Correlogram(const ResidualNoise& noise) : noise_(noise) {
        for (const Piece& piece : noise.pieces_)
            longest_ = std::max(longest_, static_cast<int>(piece.residuals.size()));
        longest_ = std::min(longest_, kMostLags + 1);
        padded_.reserve(noise.count_ + kLagsAtOnce * noise.pieces_.size());
        for (const Piece& piece : noise.pieces_) {
            padded_.insert(padded_.end(), piece.residuals.begin(), piece.residuals.end());
            padded_.insert(padded_.end(), kLagsAtOnce, 0.0);
        }
    }

    struct Window {
        double sum = 0;      ///< S, variances
        double putBack = 0;  ///< b
        double squares = 1;  ///< sum of the squared autocorrelations
        int lags = 0;
    };

    /// The window of lags that are correlated. `strictness`: how many standard deviations a pair must exceed.
    Window settled(double strictness) {
        Window window;
        double greatest = 0;
        constexpr int kRounds = 4;  // S changes the autocorrelations, these the window
        for (int i = 0; i < kRounds; ++i) {
            const double before = window.sum;
            window = pass(before, strictness);
            greatest = std::max(greatest, window.putBack);
            if (window.sum == before)  // so are the next ones
                break;
        }
        window.putBack = greatest;
        return window;
    }

    double variance(double sum) { return corrected(0, sum); }
    /// The autocorrelation of neighbours.
    double ofNeighbours(double sum) { return reaches(1) ? corrected(1, sum) / corrected(0, sum) : 0; }

private:
    double corrected(int lag, double sum) {
        const auto k = std::size_t(lag);
        return (products_[k] + sum * hats_[k]) / counts_[k];
    }

    bool reaches(int lag) {
        if (lag >= longest_)
            return false;
        if (lag >= static_cast<int>(products_.size()))
            extend(std::min(
                longest_, static_cast<int>(products_.empty() ? kFirstLags : products_.size() + kLagsAtOnce)));
        return true;
    }

    void extend(int end) {
        const auto first = products_.size();
        const auto last = std::size_t(end);
        products_.resize(last);
        counts_.resize(last);
        hats_.resize(last);
        const double* residuals = padded_.data();
        for (const Piece& piece : noise_.pieces_) {
            const std::size_t n = piece.residuals.size();
            const double scale = double(n) / piece.squares;
            const Products sums = productsOf(residuals, n, first, last - first);
            residuals += n + kLagsAtOnce;
            for (std::size_t lag = first; lag < std::min(last, n); ++lag) {
                products_[lag] += scale * sums[lag - first];
                counts_[lag] += double(n - lag);
                hats_[lag] += hatSum(double(n), double(lag), piece.parameters);
            }
        }
    }

    using Products = std::array<double, kLagsAtOnce>;

    /// Sums of products at a lag and the ones behind it. 0 beyond the length.
    static Products productsOf(const double* residuals, std::size_t n, std::size_t lag, std::size_t count) {
        Products sums{};
        std::size_t done = 0;
        for (; count - done >= kLagsAtOnce; done += kLagsAtOnce)
            addProducts<kLagsAtOnce>(residuals, n, lag + done, sums.data() + done);
        for (; count - done >= kFirstLags; done += kFirstLags)
            addProducts<kFirstLags>(residuals, n, lag + done, sums.data() + done);
        for (; done < count; ++done)
            sums[done] = productAt(residuals, n, lag + done);
        return sums;
    }

    Window pass(double sum, double strictness) {
        constexpr double kMostPutBack = 0.8;  // keeps S finite while it is looked for
        Window window;
        if (!reaches(1))
            return window;
        const double total = double(noise_.count_);
        const double variance = corrected(0, sum);
        double seen = products_[0] / counts_[0];
        window.putBack = hats_[0] / counts_[0];
        for (int lag = 0; reaches(lag + 1); lag += 2) {
            const double even = corrected(lag, sum) / variance;
            const double odd = corrected(lag + 1, sum) / variance;
            const double scatter = std::sqrt(window.squares / total);
            if (lag == 0 ? odd <= strictness * scatter : even + odd <= 2 * strictness * scatter)
                break;
            for (int k = std::max(lag, 1); k <= lag + 1; ++k) {
                const auto at = std::size_t(k);
                seen += 2 * products_[at] / counts_[at];
                window.putBack += 2 * hats_[at] / counts_[at];
            }
            window.squares += 2 * ((lag > 0 ? even * even : 0) + odd * odd);
            window.lags = lag + 1;
        }
        window.sum = std::max(0.0, seen / (1 - std::min(window.putBack, kMostPutBack)));
        return window;
    }

    const ResidualNoise& noise_;
    int longest_ = 0;             ///< one more than the greatest lag
    std::vector<double> padded_;  ///< the residuals of each fit, zeros behind them
    std::vector<double> products_, counts_, hats_;
};

void ResidualNoise::add(const std::vector<double>& residuals, int parameters) {
    add(std::vector<double>(residuals), parameters);
}

void ResidualNoise::add(std::vector<double>&& residuals, int parameters) {
    const std::size_t count = residuals.size();
    Piece piece{std::move(residuals), std::max(parameters, 0), 0};
    piece.squares = squaresOf(piece.residuals);
    if (count <= 2 * std::size_t(piece.parameters) || count_ + count > kMostResiduals)
        return;
    if (piece.squares == 0)
        zeroCount_ += count;
    if (!(piece.squares > 0) || !std::isfinite(double(count) / piece.squares))
        return;
    count_ += count;
    pieces_.push_back(std::move(piece));
}

void ResidualNoise::add(const ResidualNoise& other) {
    const std::vector<Piece> pieces = other.pieces_;  // a copy: the other may be this one
    for (const Piece& piece : pieces)
        add(piece.residuals, piece.parameters);
    zeroCount_ += other.zeroCount_;
}

NoiseModel ResidualNoise::model() const {
    NoiseModel model;
    model.points = double(count_);
    model.pieces = static_cast<int>(pieces_.size());
    if (count_ == 0 && zeroCount_ > 0) {
        model.points = double(zeroCount_);
        model.deviation = 0;
        model.correlationTime = 1;
        return model;
    }
    double squares = 0;
    double parameters = 0;
    for (const Piece& piece : pieces_) {
        squares += piece.squares;
        parameters += piece.parameters;
    }
    if (model.points > parameters)
        model.deviation = std::sqrt(squares / (model.points - parameters));
    if (model.points < kFewestResiduals) {
        model.reason = "the noise is not known: fewer than 24 points";
        return model;
    }
    Correlogram correlogram(*this);
    constexpr double kFewLengths = 15;  // below it a long correlation hides in its own scatter
    constexpr double kLoose = 0.5;
    Correlogram::Window window = correlogram.settled(1);
    double time = window.sum / correlogram.variance(window.sum);
    if (window.lags > 0 && !(model.points / time >= kFewLengths)) {
        window = correlogram.settled(kLoose);
        time = window.sum / correlogram.variance(window.sum);
    }
    if (!(window.putBack <= kGreatestPutBack) || !(model.points / time >= kFewestLengths)) {
        static const QString tooLong =
            "the noise is correlated over too many of the points to be known from these";
        model.reason = tooLong;
        return model;
    }
    model.correlationTime = std::max(1.0, time);
    model.squaredCorrelation = window.squares;
    constexpr double kSmooth = 0.7;
    model.isSmooth = correlogram.ofNeighbours(window.sum) > kSmooth;
    model.lags = window.lags;
    if (model.points > parameters * model.correlationTime)
        model.deviation = std::sqrt(squares / (model.points - parameters * model.correlationTime));
    return model;
}

bool NoiseModel::isShort(double count) const {
    const bool isPooled = pieces > 1 && lengths(points) >= kTrustedLengths;
    return !(lengths(count) >= (isPooled ? kPooledLengths : kTrustedLengths));
}

double NoiseModel::widening() const {
    constexpr double kScatter = 0.6;  // an uncertainty that scatters itself holds fewer truths than its mean
    constexpr double kBias = 3;       // a long correlation hides in few points
    constexpr double kEnough = 12;    // correlation lengths
    const double lacking = std::max(0.0, 1 / lengths(points) - 1 / kEnough);
    // A long correlation shows in few points as a smooth curve, and its length does not.
    constexpr double kEnoughSmooth = 75;
    const double curve = isSmooth ? std::pow(std::max(1.0, kEnoughSmooth / points), 1.5) : 1;
    return curve * (1 + kScatter * (2 * lags + 1) / points + kBias * lacking);
}

FitDeviation deviationOf(double squares, double count, int parameters, const NoiseModel& noise) {
    constexpr double kAlike = 2;  // own and pooled deviation
    FitDeviation result;
    result.isShort = noise.isShort(count);
    result.reason = noise.reason;
    const double time = noise.correlationTime;
    if (!(time >= 1)) {
        if (result.reason.isEmpty())
            result.reason = "the noise is not known";
        return result;
    }
    const double own = std::sqrt(squares / (count - parameters * time));  // NaN: too few points
    const bool isOwnSure = noise.lengths(count) >= kTrustedLengths;
    const bool isAlike = own <= kAlike * noise.deviation && noise.deviation <= kAlike * own;
    const bool takesOwn = own > 0 && (isOwnSure || !isAlike) && count > 2 * parameters * time;
    const double deviation = takesOwn ? own : noise.deviation;
    result.deviation = deviation * std::sqrt(time) * noise.widening();
    // Relative variances of an estimated variance and of the correlation time.
    const double ofVariance = noise.squaredCorrelation / (takesOwn ? count - parameters : noise.points);
    const double ofTime = 2 * noise.lags / noise.points;
    result.degreesOfFreedom = std::max(1.0, 1 / (ofVariance + ofTime));
    return result;
}

}  // namespace KvMeasure

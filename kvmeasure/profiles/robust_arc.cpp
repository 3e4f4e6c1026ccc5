// The covariance is that of least squares with unequal, correlated variances: with the slopes J of the
// distances over centre and radius, (J'J)^-1 (sum of j_i v_ik j_k') (J'J)^-1. v is the variance of heights
// seen square to the circle, or the same for all points, whichever makes the residuals more likely, times an
// autocorrelation that falls in a straight line to 0 and has the correlation time of the noise.

#include <kvmeasure/profiles/robust_arc.h>

#include <kvmeasure/profiles/fit_start_p.h>
#include <kvmeasure/profiles/plain_line_p.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KvMeasure {

using namespace Internal;

namespace {

constexpr std::size_t kStartPoints = 11;
constexpr int kParameters = 3;
constexpr double kInfinity = std::numeric_limits<double>::infinity();

using Matrix = std::array<std::array<double, 3>, 3>;

/// The circle through three points; not finite for three on a line.
FittedCircle circleThrough(const Vector& a, const Vector& b, const Vector& c) {
    const Vector p(b.x - a.x, b.y - a.y);
    const Vector q(c.x - a.x, c.y - a.y);
    const double area = 2 * (p.x * q.y - p.y * q.x);
    const double pp = p.x * p.x + p.y * p.y;
    const double qq = q.x * q.x + q.y * q.y;
    const Vector centre((q.y * pp - p.y * qq) / area, (p.x * qq - q.x * pp) / area);
    return {{a.x + centre.x, a.y + centre.y}, nearLength({0, 0}, centre)};
}

/// The median distance of the points from the circle, or infinity where it is not below `least`: seen as soon
/// as half of the distances are not.
double medianDistance(const std::vector<Vector>& points, const FittedCircle& circle, double least,
                      std::vector<double>& distances) {
    distances.clear();
    const std::size_t mostBeyond = points.size() / 2;
    std::size_t beyond = 0;
    for (const Vector& p : points) {
        distances.push_back(std::fabs(nearLength(circle.centre, p) - circle.radius));
        beyond += distances.back() < least ? 0 : 1;
        if (beyond > mostBeyond)
            return kInfinity;
    }
    return medianOf(distances);
}

/// The best circle through three of the medians; of radius 0 where all lie on lines.
FittedCircle startCircle(const std::vector<Vector>& points) {
    const std::vector<Vector> medians = blockMedians(points, kStartPoints);
    FittedCircle best;
    double least = kInfinity;
    std::vector<double> distances;
    for (std::size_t i = 0; i < medians.size(); ++i) {
        for (std::size_t j = i + 1; j < medians.size(); ++j) {
            for (std::size_t k = j + 1; k < medians.size(); ++k) {
                const FittedCircle circle = circleThrough(medians[i], medians[j], medians[k]);
                if (!std::isfinite(circle.radius))
                    continue;
                const double distance = medianDistance(medians, circle, least, distances);
                if (distance < least) {
                    least = distance;
                    best = circle;
                }
            }
        }
    }
    return best;
}

/// Standard deviation of the points by their median distance.
double deviationFrom(const FittedCircle& circle, const std::vector<Vector>& points) {
    std::vector<Vector> store;
    const std::vector<Vector>& sample = sampled(points, store);
    std::vector<double> distances;
    distances.reserve(sample.size());
    for (const Vector& p : sample)
        distances.push_back(std::fabs(nearLength(circle.centre, p) - circle.radius));
    return robustDeviation(distances, kParameters);
}

std::vector<Vector> keptPoints(const std::vector<Vector>& points, const FittedCircle& circle, double most) {
    const double inner = std::max(circle.radius - most, 0.0);
    const double outer = circle.radius + most;
    std::vector<Vector> kept;
    kept.reserve(points.size());
    for (const Vector& p : points) {
        const double x = p.x - circle.centre.x;
        const double y = p.y - circle.centre.y;
        const double square = x * x + y * y;
        if (square >= inner * inner && square <= outer * outer)
            kept.push_back(p);
    }
    return kept;
}

void describe(ArcFit& arc) {
    double squares = 0;
    arc.residuals.reserve(arc.used.size());
    for (const Vector& p : arc.used) {
        const double distance = nearLength(arc.circle.centre, p) - arc.circle.radius;
        squares += distance * distance;
        arc.residuals.push_back(distance);
        if (distance > arc.outside.distance)
            arc.outside = {distance, p};
        if (distance < arc.inside.distance)
            arc.inside = {distance, p};
    }
    arc.points = static_cast<int>(arc.used.size());
    arc.deviation = arc.points > kParameters ? std::sqrt(squares / (arc.points - kParameters)) : 0;
    arc.span = arcSpan(arc.used, arc.circle.centre);
    constexpr double kLeast = 3;
    arc.isNearlyStraight = sagitta(arc.circle.radius, arc.span.span) < kLeast * arc.deviation;
}

bool hasThreeDistinct(const std::vector<Vector>& points) {
    const auto isSame = [](const Vector& a, const Vector& b) { return a.x == b.x && a.y == b.y; };
    const Vector* second = nullptr;
    for (const Vector& p : points) {
        if (isSame(p, points[0]))
            continue;
        if (second != nullptr && !isSame(p, *second))
            return true;
        second = &p;
    }
    return false;
}

/// Inverse of a symmetric matrix; not finite of a singular one.
Matrix inverse(const Matrix& m) {
    Matrix result{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t k = 0; k < 3; ++k) {
            const std::size_t i1 = (i + 1) % 3;
            const std::size_t i2 = (i + 2) % 3;
            const std::size_t k1 = (k + 1) % 3;
            const std::size_t k2 = (k + 2) % 3;
            result[i][k] = m[i1][k1] * m[i2][k2] - m[i1][k2] * m[i2][k1];
        }
    }
    const double determinant = m[0][0] * result[0][0] + m[0][1] * result[0][1] + m[0][2] * result[0][2];
    for (auto& row : result) {
        for (double& value : row)
            value /= determinant;
    }
    return result;
}

/// Adds the product of two rows, of which the last element is -1, and its transpose.
void addProduct(const std::array<double, 3>& first, const std::array<double, 3>& second, double weight,
                Matrix& sum) {
    const double half = weight / 2;
    sum[0][0] += weight * first[0] * second[0];
    sum[0][1] += half * (first[0] * second[1] + first[1] * second[0]);
    sum[0][2] -= half * (first[0] + second[0]);
    sum[1][1] += weight * first[1] * second[1];
    sum[1][2] -= half * (first[1] + second[1]);
    sum[2][2] += weight;
}

void mirror(Matrix& sum) {
    sum[1][0] = sum[0][1];
    sum[2][0] = sum[0][2];
    sum[2][1] = sum[1][2];
}

/// What the noise of a point weighs square to the circle: its height's share, with sign, or 1.
std::vector<double> noiseShares(const ArcFit& arc) {
    constexpr double kLeast = 0.1;
    std::vector<double> shares;
    shares.reserve(arc.used.size());
    double logarithms = 0;
    double product = 1;  // of some, whose logarithm is taken at once
    double ofHeights = 0;
    double squares = 0;
    for (std::size_t i = 0; i < arc.used.size(); ++i) {
        const double distance = arc.residuals[i] + arc.circle.radius;
        const double height = (arc.used[i].y - arc.circle.centre.y) / distance;
        const double share = std::copysign(std::max(std::fabs(height), kLeast), height);
        const double square = arc.residuals[i] * arc.residuals[i];
        shares.push_back(share);
        product *= share * share;
        constexpr double kSmall = 1e-200;
        if (product < kSmall) {
            logarithms += std::log(product);
            product = 1;
        }
        ofHeights += square / (share * share);
        squares += square;
    }
    logarithms += std::log(product);
    const double n = double(shares.size());
    if (!(logarithms + n * std::log(ofHeights / n) <= n * std::log(squares / n)))
        shares.assign(shares.size(), 1);
    return shares;
}

Matrix product(const Matrix& a, const Matrix& b) {
    Matrix result{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t k = 0; k < 3; ++k) {
            for (std::size_t j = 0; j < 3; ++j)
                result[i][k] += a[i][j] * b[j][k];
        }
    }
    return result;
}

}  // namespace

namespace {

/// They count from now on, where they are enough for a circle.
void takeKept(std::vector<Vector>&& kept, ArcFit& arc) {
    if (hasThreeDistinct(kept))
        arc.used = std::move(kept);
}

/// Fits the circle to the points within the cut, which it is given twice, each time by the median distance.
/// Roughly, unless these points are the whole arc.
bool fitStart(const std::vector<Vector>& points, const RobustFitting& fitting, bool isWhole, ArcFit& arc) {
    bool isFitted = true;
    constexpr int kRounds = 2;
    constexpr double kRough = 1e-4;  // gain of a step that ends a fit which only says which points count
    arc.used = points;
    for (int round = 0; round < kRounds; ++round) {
        std::vector<Vector> kept =
            fitting.isRobust ? keptPoints(points, arc.circle, fitting.cut * deviationFrom(arc.circle, points))
                             : points;
        takeKept(std::move(kept), arc);
        const bool takesAll = arc.used.size() == points.size();
        const bool isLast = isWhole && (takesAll || round + 1 == kRounds);
        if (isLast)
            isFitted = polishCircle(arc.used, /*knowsRadius=*/false, arc.circle);
        else
            polishCircle(arc.used, /*knowsRadius=*/false, arc.circle, kRough);
        if (takesAll)
            break;
    }
    return isFitted;
}

/// The mean of the points from one number to before another.
Vector meanPoint(const std::vector<Vector>& points, std::size_t from, std::size_t end) {
    Vector sum(0, 0);
    for (std::size_t i = from; i < end; ++i)
        sum = Vector(sum.x + points[i].x, sum.y + points[i].y);
    const double count = double(end - from);
    return {sum.x / count, sum.y / count};
}

/// Fits all points but at most a few where their distances look like Gaussian noise, from the circle through
/// the first, the middle and the last of them. False: nothing is known of `arc`.
bool fitPlainArc(const std::vector<Vector>& points, double cut, ArcFit& arc) {
    constexpr std::size_t kFewest = 96;  // fewer do not show that some of them do not belong to the arc
    constexpr std::size_t kMostLeftOut = 8;
    constexpr std::size_t kShare = 8;
    const std::size_t n = points.size();
    if (n < kFewest)
        return false;
    arc.circle = circleThrough(meanPoint(points, 0, n / kShare),
                               meanPoint(points, n / 2 - n / (2 * kShare), n / 2 + n / (2 * kShare)),
                               meanPoint(points, n - n / kShare, n));
    if (!std::isfinite(arc.circle.radius))
        return false;
    arc.used = points;
    const auto most = [&] { return cut * ofFew(arc.used.size(), kParameters) * arc.deviation; };
    const auto fit = [&] {
        const bool isFitted = polishCircle(arc.used, /*knowsRadius=*/false, arc.circle);
        arc.residuals.clear();
        arc.outside = arc.inside = {};
        if (isFitted)
            describe(arc);
        return isFitted;
    };
    const auto holdsAll = [&] { return arc.outside.distance <= most() && -arc.inside.distance <= most(); };
    if (!fit() || !looksGaussian(arc.residuals))
        return false;
    if (holdsAll())
        return true;
    arc.used = keptPoints(points, arc.circle, most());
    return n - arc.used.size() <= kMostLeftOut && fit() && holdsAll() &&
           keptPoints(points, arc.circle, most()).size() == arc.used.size();
}

/// From the start circle to the fit: with a sample of many points, then with all within its cut; last come
/// back those within the cut by the deviation of these.
bool fitUsed(const std::vector<Vector>& usable, const RobustFitting& fitting, ArcFit& arc) {
    std::vector<Vector> store;
    const std::vector<Vector>& sample = sampled(usable, store);
    bool isFitted = fitStart(sample, fitting, /*isWhole=*/sample.size() == usable.size(), arc);
    if (sample.size() < usable.size()) {
        arc.used = fitting.isRobust
                       ? keptPoints(usable, arc.circle, fitting.cut * deviationFrom(arc.circle, sample))
                       : usable;
        isFitted = polishCircle(arc.used, /*knowsRadius=*/false, arc.circle);
    }
    constexpr int kMostRounds = 2;
    for (int round = 0; isFitted && arc.used.size() < usable.size() && round < kMostRounds; ++round) {
        const std::size_t n = arc.used.size();
        const double squared = circleCost(arc.used, arc.circle) / std::max(1.0, double(n) - kParameters);
        std::vector<Vector> kept =
            keptPoints(usable, arc.circle, fitting.cut * ofFew(n, kParameters) * std::sqrt(squared));
        if (kept.size() <= n)
            break;
        takeKept(std::move(kept), arc);
        isFitted = polishCircle(arc.used, /*knowsRadius=*/false, arc.circle);
    }
    return isFitted;
}

}  // namespace

ArcFit fitArc(const std::vector<Vector>& points, const RobustFitting& fitting) {
    ArcFit arc;
    std::vector<Vector> finite;
    const std::vector<Vector>& usable = finitePoints(points, finite);
    if (!hasThreeDistinct(usable)) {
        arc.reason = "fewer than three distinct points for an arc";
        return arc;
    }
    const RobustFitting usual{fitting.isRobust && usable.size() >= fewestCut(kParameters), fitting.cut};
    const bool isPlain = usual.isRobust && fitPlainArc(usable, usual.cut, arc);
    arc.rejected = static_cast<int>(usable.size() - arc.used.size());
    if (isPlain)
        return arc;
    arc = ArcFit();
    arc.circle = startCircle(usable);
    const bool isFitted = arc.circle.radius > 0 && fitUsed(usable, usual, arc);
    arc.rejected = static_cast<int>(usable.size() - arc.used.size());
    if (!isFitted || !std::isfinite(arc.circle.radius + arc.circle.centre.x + arc.circle.centre.y))
        arc.reason = "the points lie on a straight line: it has no radius";
    else
        describe(arc);
    return arc;
}

ArcUncertainty arcUncertainty(const ArcFit& arc, const NoiseModel& noise) {
    ArcUncertainty result;
    result.reason = arc.reason;
    if (arc.isNearlyStraight && arc.isFound())
        result.reason = "the arc rises over its chord by less than three deviations";
    if (!result.reason.isEmpty())
        return result;
    const std::vector<double> shares = noiseShares(arc);
    double squares = 0;
    double ofShares = 0;
    for (std::size_t i = 0; i < shares.size(); ++i) {
        squares += arc.residuals[i] * arc.residuals[i];
        ofShares += shares[i] * shares[i];
    }
    const FitDeviation deviation =
        deviationOf(squares * arc.points / ofShares, arc.points, kParameters, noise);
    result.isShort = deviation.isShort;
    result.reason = deviation.reason;
    result.degreesOfFreedom = deviation.degreesOfFreedom;
    if (!result.reason.isEmpty())
        return result;
    std::vector<std::array<double, 3>> rows(shares.size());
    Matrix normal{};
    for (std::size_t i = 0; i < shares.size(); ++i) {
        const double toUnit = 1 / (arc.residuals[i] + arc.circle.radius);
        rows[i] = {(arc.circle.centre.x - arc.used[i].x) * toUnit,
                   (arc.circle.centre.y - arc.used[i].y) * toUnit, -1};
        addProduct(rows[i], rows[i], 1, normal);
    }
    Matrix scattered{};
    const double time = noise.correlationTime;
    for (std::size_t lag = 0; double(lag) < time && lag < shares.size(); ++lag) {
        const double weight = (lag > 0 ? 2 : 1) * (1 - double(lag) / time) / time;
        for (std::size_t i = 0; i + lag < shares.size(); ++i)
            addProduct(rows[i], rows[i + lag], weight * shares[i] * shares[i + lag], scattered);
    }
    mirror(normal);
    mirror(scattered);
    const Matrix inverted = inverse(normal);
    result.covariance = product(product(inverted, scattered), inverted);
    for (auto& row : result.covariance) {
        for (double& value : row)
            value *= deviation.deviation * deviation.deviation;
    }
    result.x = std::sqrt(result.covariance[0][0]);
    result.z = std::sqrt(result.covariance[1][1]);
    result.radius = std::sqrt(result.covariance[2][2]);
    return result;
}

}  // namespace KvMeasure

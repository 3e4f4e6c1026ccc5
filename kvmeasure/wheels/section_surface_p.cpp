// The surface is smoothed by parabolas over 2 mm, more in much noise. Its noise is what cubics through runs
// of 20 or 40 points leave, of those runs that scatter least: the tread or the head is most of a section.
// Cost: for each point one pass over its neighbours within 2 mm.

#include <kvmeasure/wheels/section_surface_p.h>

#include <kvmeasure/base/filled_in.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr int kParameters = 4;
constexpr double kGap = 1.5;        // steps; points are missing between
constexpr double kNothing = 0.001;  // mm: what the cubics leave of the surface; no scanner has as little

/// The point moved onto the parabola of least squares through [from, to), square to the chord of these,
/// because a fan of rays may see a flange back with x falling; the point itself where they are too few or
/// have no chord, without which nothing below is a number.
Vector onParabola(const std::vector<Vector>& points, std::size_t at, std::size_t from, std::size_t to) {
    constexpr std::size_t kFewest = 6;
    const Vector& own = points[at];
    const double chord = length(points[from], points[to - 1]);
    if (to - from < kFewest)
        return own;
    const Vector along{(points[to - 1].x - points[from].x) / chord,
                       (points[to - 1].y - points[from].y) / chord};
    double sums[5] = {}, products[3] = {};
    for (std::size_t i = from; i < to; ++i) {
        const double dx = points[i].x - own.x, dy = points[i].y - own.y;
        const double u = along.x * dx + along.y * dy, v = along.x * dy - along.y * dx;
        const double powers[5] = {1, u, u * u, u * u * u, u * u * u * u};
        for (int k = 0; k < 5; ++k)
            sums[k] += powers[k];
        for (int k = 0; k < 3; ++k)
            products[k] += powers[k] * v;
    }
    const double a = sums[2] * sums[4] - sums[3] * sums[3], b = sums[2] * sums[3] - sums[1] * sums[4],
                 c = sums[1] * sums[3] - sums[2] * sums[2],
                 determinant = sums[0] * a + sums[1] * b + sums[2] * c;
    const double off = (a * products[0] + b * products[1] + c * products[2]) / determinant;
    return std::isfinite(off) ? Vector{own.x - off * along.y, own.y + off * along.x} : own;
}

/// The section without its noise: each point from its neighbours within 2 mm, up to 4 mm in much noise. There
/// a parabola stays within 0.002 mm of an arc of radius 12 mm, as flange tips have.
std::vector<Vector> smoothed(const std::vector<Vector>& points, double deviation) {
    constexpr double kLeast = 2, kMostReach = 4, kPerDeviation = 80;
    constexpr std::size_t kMost = 200;  // neighbours on a side
    const double reach =
        std::isfinite(deviation) ? std::clamp(kPerDeviation * deviation, kLeast, kMostReach) : kLeast;
    std::vector<Vector> result(points);
    for (std::size_t i = 0; i < points.size(); ++i) {
        std::size_t from = i, to = i + 1;
        while (from > 0 && i - from < kMost && length(points[from - 1], points[i]) <= reach)
            --from;
        while (to < points.size() && to - i < kMost && length(points[to], points[i]) <= reach)
            ++to;
        const std::size_t side = std::min(i - from, to - 1 - i);
        if (side > 2) {
            from = i - side;
            to = i + side + 1;
        }
        result[i] = onParabola(points, i, from, to);
    }
    return result;
}

/// Residuals of the heights of a run from the cubic of least squares, by polynomials that are orthogonal on
/// its places.
std::vector<double> fromCubic(const std::vector<Vector>& points, std::size_t from, std::size_t count) {
    std::vector<double> residuals(count), places(count);
    for (std::size_t i = 0; i < count; ++i) {
        residuals[i] = points[from + i].y - points[from].y;
        places[i] = points[from + i].x - points[from + count / 2].x;
    }
    std::vector<std::vector<double>> basis;
    basis.reserve(kParameters);
    const auto takeAway = [count](const std::vector<double>& polynomial, std::vector<double>& values) {
        double product = 0, size = 0;
        for (std::size_t i = 0; i < count; ++i) {
            product += values[i] * polynomial[i];
            size += polynomial[i] * polynomial[i];
        }
        for (std::size_t i = 0; size > 0 && i < count; ++i)
            values[i] -= product / size * polynomial[i];
    };
    for (int degree = 0; degree < kParameters; ++degree) {
        std::vector<double> next(count, 1);
        for (std::size_t i = 0; degree > 0 && i < count; ++i)
            next[i] = basis.back()[i] * places[i];
        for (const std::vector<double>& polynomial : basis)
            takeAway(polynomial, next);
        takeAway(next, residuals);
        basis.push_back(next);
    }
    return residuals;
}

/// Of runs of points, of which the half that scatters least counts, and others that scatter as little: the
/// tread is most of a section.
ResidualNoise noiseOf(const std::vector<Vector>& points, std::size_t run) {
    constexpr double kAlike = 1.5;
    std::vector<std::vector<double>> runs;
    std::vector<double> deviations;
    runs.reserve(points.size() / run);
    deviations.reserve(points.size() / run);
    for (std::size_t from = 0; from + run <= points.size(); from += run) {
        runs.push_back(fromCubic(points, from, run));
        double squares = 0;
        for (const double residual : runs.back())
            squares += residual * residual;
        deviations.push_back(std::sqrt(squares));
    }
    ResidualNoise noise;
    if (runs.empty())
        return noise;
    std::vector<double> sorted(deviations);
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>((sorted.size() - 1) / 2);
    std::nth_element(sorted.begin(), middle, sorted.end());
    for (std::size_t i = 0; i < runs.size(); ++i) {
        if (deviations[i] <= kAlike * *middle)
            noise.add(runs[i], kParameters);
    }
    return noise;
}

/// By short runs, which follow the surface. Where the noise is correlated over too many of their points, as
/// that of gauges which smooth them, by long ones.
ResidualNoise noiseAlong(const std::vector<Vector>& points, SectionSurface::Direction direction) {
    constexpr std::size_t kShort = 20, kLong = 40, kManyPoints = 400;
    ResidualNoise noise = noiseOf(points, kShort);
    const NoiseModel model = noise.model();
    const bool isKnown = std::isfinite(model.correlationTime) || model.deviation < kNothing;
    return isKnown || direction == SectionSurface::Upright || points.size() < kManyPoints
               ? noise
               : noiseOf(points, kLong);
}

}  // namespace

SectionSurface::SectionSurface(const std::vector<Vector>& points, Direction direction)
    : direction_(direction), residuals_(noiseAlong(points, direction)),
      smooth_(smoothed(points, residuals_.model().deviation)) {
    std::vector<double> steps;
    steps.reserve(smooth_.size());
    for (std::size_t i = 0; i + 1 < smooth_.size(); ++i)
        steps.push_back(way(i));
    if (steps.empty())
        return;
    const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
    std::nth_element(steps.begin(), middle, steps.end());
    step_ = *middle;
}

QString SectionSurface::startNoise(const NoiseModel& pooled, quint64 seed) {
    NoiseModel noise(pooled);
    noise.deviation = residuals_.model().deviation;
    if (noise.deviation < kNothing)
        noise.correlationTime = 1;
    else
        noise.deviation *= noise.widening();
    if (!std::isfinite(noise.deviation) || !std::isfinite(noise.correlationTime))
        return noise.reason.isEmpty() ? QString("too few points") : noise.reason;
    source_.emplace(noise, seed);
    return {};
}

std::vector<Vector> SectionSurface::dense() const {
    constexpr int kParts = 10;
    std::vector<Vector> points;
    if (smooth_.empty())
        return points;
    points.reserve(kParts * smooth_.size());
    for (std::size_t i = 0; i + 1 < smooth_.size(); ++i) {
        for (int k = 0; k < (way(i) > kGap * step_ ? 1 : kParts); ++k)
            points.push_back(between(i, static_cast<double>(k) / kParts));
    }
    points.push_back(smooth_.back());
    return points;
}

std::vector<Vector> SectionSurface::drawn() {
    const double phase = source_->uniform();
    std::vector<Vector> points;
    points.reserve(smooth_.size());
    for (std::size_t i = 0; i + 1 < smooth_.size(); ++i)
        points.push_back(between(i, way(i) > kGap * step_ ? phase * step_ / way(i) : phase));
    const std::vector<double>& noise = source_->draw(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        const Vector square = normal(i);
        points[i].x += noise[i] * square.x;
        points[i].y += noise[i] * square.y;
    }
    return points;
}

double SectionSurface::way(std::size_t i) const {
    return direction_ == Upright ? std::fabs(smooth_[i + 1].x - smooth_[i].x)
                                 : length(smooth_[i], smooth_[i + 1]);
}

Vector SectionSurface::between(std::size_t i, double share) const {
    const Vector &a = smooth_[i], &b = smooth_[i + 1];
    return {a.x + share * (b.x - a.x), a.y + share * (b.y - a.y)};
}

Vector SectionSurface::normal(std::size_t i) const {
    const double chord = length(smooth_[i], smooth_[i + 1]);
    if (direction_ == Upright || !(chord > 0))
        return {0, 1};
    return {-(smooth_[i + 1].y - smooth_[i].y) / chord, (smooth_[i + 1].x - smooth_[i].x) / chord};
}

void SimulatedScatter::add(const std::vector<double>& values) {
    ++runs_;
    for (std::size_t i = 0, end = std::min(smooth_.size(), values.size()); i < end; ++i) {
        const double difference = values[i] - smooth_[i];
        if (!std::isfinite(difference))
            continue;
        ++counts_[i];
        squares_[i] += difference * difference;
    }
}

StandardUncertainty SimulatedScatter::of(std::size_t i, double own) const {
    StandardUncertainty result;
    if (!std::isfinite(own))
        result.reason = kMissingValue;
    else if (2 * counts_[i] < runs_)
        result.reason =
            filledIn("the value is missing in %1 of %2 runs with simulated noise", runs_ - counts_[i], runs_);
    else
        result.u = std::sqrt(squares_[i] / counts_[i]);
    return result;
}

}  // namespace KvMeasure

// Uncertainty of the values of a wheel by simulation (JCGM 101). Most of them rest on the flange tip, which
// is the lowest of noisy points, and on the pair of points that passes a level: noise moves them in one
// direction, and half a step of the points counts. So each of the three sections is smoothed by parabolas
// over 2 mm of the surface, its points are moved along it by a share of their distance, noise of the size and
// correlation of the section's own is added, and all is measured anew, 100 times. The values of the smooth
// section with ten points in place of one are what they are compared with: the root of the mean square is the
// uncertainty, the mean error with it. Cost: 100 times calcWheelValues and one of ten times as many points; 9
// ms a wheel of 450 points.

#include <kvmeasure/wheels/section_noise_p.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/plane_geometry.h>
#include <kvmeasure/profiles/noise_source_p.h>

#include <kvmath/wheel/wheel_parameters.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace KvMeasure {

namespace {

using Cloud = KvMath::KvPointCloud<KvMath::KvPointXYZ>;

constexpr std::size_t kScanners = 3;
constexpr std::size_t kRun = 20;  // points of a fitted cubic
constexpr int kParameters = 4;
constexpr std::size_t kValues = 8;
const std::array<const char*, kValues> valueKeys{
    "flangeHeight", "thicknessFromBack", "flangeSteepness", "heightDeviation",
    "radius",       "runningDiameter",   "centreX",         "centreZ"};
using Values = std::array<double, kValues>;

Values valuesOf(const WheelResult& wheel) {
    const auto radius = static_cast<double>(wheel.circle.radius);
    return {wheel.values.value[0],
            wheel.values.value[1],
            wheel.values.value[9],
            wheel.values.value[8],
            radius,
            2 * (radius - wheel.values.value[0]),
            static_cast<double>(wheel.circle.x),
            static_cast<double>(wheel.circle.y)};
}

std::vector<Vector> pointsOf(const KvMath::KvProfile& profile) {
    std::vector<Vector> points;
    points.reserve(static_cast<std::size_t>(profile.points.size()));
    for (const KvMath::KvPointXY& point : profile.points) {
        if (std::isfinite(point.x) && std::isfinite(point.y))
            points.push_back({static_cast<double>(point.x), static_cast<double>(point.y)});
    }
    return points;
}

/// The point moved onto the parabola of least squares through [from, to), square to the chord of these,
/// because a fan of rays may see a flange back with x falling; the point itself where they are too few.
Vector onParabola(const std::vector<Vector>& points, std::size_t at, std::size_t from, std::size_t to) {
    constexpr std::size_t kFewest = 6;
    const Vector& own = points[at];
    const double chord = length(points[from], points[to - 1]);
    if (to - from < kFewest || !(chord > 0))
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
std::vector<double> fromCubic(const std::vector<Vector>& points, std::size_t from) {
    std::vector<double> residuals(kRun), places(kRun);
    for (std::size_t i = 0; i < kRun; ++i) {
        residuals[i] = points[from + i].y - points[from].y;
        places[i] = points[from + i].x - points[from + kRun / 2].x;
    }
    std::vector<std::vector<double>> basis;
    basis.reserve(kParameters);
    const auto takeAway = [](const std::vector<double>& polynomial, std::vector<double>& values) {
        double product = 0, size = 0;
        for (std::size_t i = 0; i < kRun; ++i) {
            product += values[i] * polynomial[i];
            size += polynomial[i] * polynomial[i];
        }
        for (std::size_t i = 0; size > 0 && i < kRun; ++i)
            values[i] -= product / size * polynomial[i];
    };
    for (int degree = 0; degree < kParameters; ++degree) {
        std::vector<double> next(kRun, 1);
        for (std::size_t i = 0; degree > 0 && i < kRun; ++i)
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
ResidualNoise noiseOf(const std::vector<Vector>& points) {
    constexpr double kAlike = 1.5;
    std::vector<std::vector<double>> runs;
    std::vector<double> deviations;
    runs.reserve(points.size() / kRun);
    deviations.reserve(points.size() / kRun);
    for (std::size_t from = 0; from + kRun <= points.size(); from += kRun) {
        runs.push_back(fromCubic(points, from));
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

/// One of the three scanners.
class Surface {
public:
    explicit Surface(const ScannedSection& section) : rule_(section.rule) {
        const std::vector<Vector> points = pointsOf(section.profile);
        residuals_ = noiseOf(points);
        smooth_ = smoothed(points, residuals_.model().deviation);
        std::vector<double> steps;
        steps.reserve(smooth_.size());
        for (std::size_t i = 1; i < smooth_.size(); ++i)
            steps.push_back(std::fabs(smooth_[i].x - smooth_[i - 1].x));
        if (!steps.empty()) {
            const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
            std::nth_element(steps.begin(), middle, steps.end());
            step_ = *middle;
        }
    }

    const ResidualNoise& residuals() const { return residuals_; }

    /// Its own deviation, with the correlation that it shares with the others; why the noise is not known.
    QString startNoise(const NoiseModel& pooled, quint64 seed) {
        constexpr double kNothing =
            0.001;  // mm: what the cubics leave of the surface; no scanner has as little
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

    /// Ten points in place of one, without noise.
    Cloud dense() const {
        constexpr int kParts = 10;
        std::vector<Vector> points;
        points.reserve(kParts * smooth_.size());
        for (std::size_t i = 0; i + 1 < smooth_.size(); ++i) {
            const bool isGap = std::fabs(smooth_[i + 1].x - smooth_[i].x) > kGap * step_;
            for (int k = 0; k < (isGap ? 1 : kParts); ++k)
                points.push_back(between(i, static_cast<double>(k) / kParts));
        }
        points.push_back(smooth_.back());
        return placed(points);
    }

    /// The points elsewhere on the surface, with noise.
    Cloud drawn() {
        const double phase = source_->uniform();
        std::vector<Vector> points;
        points.reserve(smooth_.size());
        for (std::size_t i = 0; i + 1 < smooth_.size(); ++i) {
            const double way = std::fabs(smooth_[i + 1].x - smooth_[i].x);
            points.push_back(between(i, way > kGap * step_ ? phase * step_ / way : phase));
        }
        const std::vector<double>& noise = source_->draw(points.size());
        for (std::size_t i = 0; i < points.size(); ++i)
            points[i].y += noise[i];
        return placed(points);
    }

private:
    static constexpr double kGap = 1.5;  ///< steps; points are missing between

    Vector between(std::size_t i, double share) const {
        const Vector &a = smooth_[i], &b = smooth_[i + 1];
        return {a.x + share * (b.x - a.x), a.y + share * (b.y - a.y)};
    }
    Cloud placed(const std::vector<Vector>& points) const {
        KvMath::KvProfile profile;
        profile.points.reserve(static_cast<int>(points.size()));
        for (const Vector& point : points)
            profile.points.append({static_cast<float>(point.x), static_cast<float>(point.y)});
        Cloud cloud;
        KvMath::ORBIS_XYtoXYZ(profile, cloud, rule_);
        return cloud;
    }

    KvMath::_KvORBIS_SensorCoordROT_ rule_;
    ResidualNoise residuals_;
    std::vector<Vector> smooth_;  ///< in scan order
    double step_ = 0;             ///< usual distance of two points in x
    std::optional<NoiseSource> source_;
};

Values measured(const Cloud (&clouds)[kScanners], const ValueOptions& options) {
    WheelResult wheel;
    MeasuredSection section;
    if (KvMath::ORBIS_calcWheel(clouds[0], clouds[1], clouds[2], wheel.circle, 0, nullptr))
        calcWheelValues(options, clouds[1], wheel, section);
    else
        wheel.circle = KvMath::KvCircle();
    return valuesOf(wheel);
}

struct MeanSquare {
    int count = 0;
    double sum = 0;
};

void setFrom(const std::array<MeanSquare, kValues>& found, int runs, WheelResult& wheel) {
    const Values own = valuesOf(wheel);
    for (std::size_t i = 0; i < kValues; ++i) {
        StandardUncertainty& result = wheel.uncertainties[valueKeys[i]];
        result = StandardUncertainty();
        const MeanSquare& square = found[i];
        if (!std::isfinite(own[i]))
            result.reason = kMissing;
        else if (2 * square.count < runs)
            result.reason = filledIn("the value is missing in %1 of %2 runs with simulated noise",
                                     runs - square.count, runs);
        else
            result.u = std::sqrt(square.sum / square.count);
    }
}

}  // namespace

void refuseUncertainties(const QString& reason, WheelResult& wheel) {
    for (const char* key : valueKeys)
        wheel.uncertainties[key] = {std::nan(""), reason};
}

void addUncertainties(const ScannedSection (&sections)[kScanners], const ValueOptions& options,
                      WheelResult& wheel) {
    constexpr int kRuns = 100;
    const Values own = valuesOf(wheel);
    if (std::none_of(own.begin(), own.end(), [](double value) { return std::isfinite(value); }))
        return refuseUncertainties(kMissing, wheel);
    Surface surfaces[kScanners] = {Surface(sections[0]), Surface(sections[1]), Surface(sections[2])};
    ResidualNoise all;
    for (const Surface& surface : surfaces)
        all.add(surface.residuals());
    const NoiseModel pooled = all.model();
    quint64 seed = 0;
    for (Surface& surface : surfaces) {
        const QString reason = surface.startNoise(pooled, ++seed);
        if (!reason.isEmpty())
            return refuseUncertainties("the noise of the sections is not known: " + reason, wheel);
    }
    const auto measuredOn = [&](auto view) {
        const Cloud clouds[kScanners] = {view(surfaces[0]), view(surfaces[1]), view(surfaces[2])};
        return measured(clouds, options);
    };
    const Values smooth = measuredOn([](const Surface& surface) { return surface.dense(); });
    std::array<MeanSquare, kValues> squares;
    for (int run = 0; run < kRuns; ++run) {
        const Values drawn = measuredOn([](Surface& surface) { return surface.drawn(); });
        for (std::size_t i = 0; i < kValues; ++i) {
            const double difference = drawn[i] - smooth[i];
            if (!std::isfinite(difference))
                continue;
            ++squares[i].count;
            squares[i].sum += difference * difference;
        }
    }
    setFrom(squares, kRuns, wheel);
}

}  // namespace KvMeasure

// Strays that least squares hides show in the distribution of the residuals: far ones in the ratio of the
// mean size to the deviation (R. C. Geary, Biometrika 27 (1935) 310-332), those on one side in the skewness,
// those that lie together in the means of 16 runs of points. Where none of these is beyond what Gaussian
// noise gives, no robust start is needed, which costs ten times as much. Points are taken in pairs, lane by
// lane.

#include <kvmeasure/profiles/plain_line_p.h>

#include <kvmeasure/base/double_pair_p.h>
#include <kvmeasure/profiles/fit_start_p.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace KvMeasure::Internal {

namespace {

constexpr std::size_t kRuns = 16;
constexpr double kSteepest = 1.7320508075688772;  // 60 degrees

LineMoments momentsOf(const std::vector<Vector>& points) {
    LineMoments sum;
    sum.zero = points[points.size() / 2];
    const DoublePair zero = pairOf(sum.zero);
    DoublePair sums{0, 0};
    DoublePair squares{0, 0};
    for (const Vector& p : points) {
        const DoublePair d = pairOf(p) - zero;
        sums += d;
        squares += d * d;
        sum.xy += d[0] * d[1];
    }
    sum.count = static_cast<int>(points.size());
    sum.x = sums[0];
    sum.y = sums[1];
    sum.xx = squares[0];
    sum.yy = squares[1];
    return sum;
}

/// Without one of its points.
void takeOut(const Vector& p, LineMoments& sum) {
    const double x = p.x - sum.zero.x;
    const double y = p.y - sum.zero.y;
    --sum.count;
    sum.x -= x;
    sum.y -= y;
    sum.xx -= x * x;
    sum.xy -= x * y;
    sum.yy -= y * y;
}

/// What the distances from a line say.
struct Scatter {
    double squares = 0, cubes = 0, sizes = 0;  ///< sums of these powers of all distances, and of their sizes
    double ofRuns = 0;  ///< sum of the squared means of the runs, each times its points
};

/// Distances and places of points about a line, as sums and extremes.
class RunSums {
public:
    explicit RunSums(const LineFit& line)
        : centre_(line.centre), along_(line.along), scale_(line.isInHeight ? 1 / line.along.x : 1) {}

    /// Adds a run of points, whose residuals it writes. Sum of the distances.
    double add(const Vector* points, std::size_t count, double* residuals);
    void give(LineFit& line, Scatter& scatter) const {
        line.from = std::min(from_[0], from_[1]);
        line.to = std::max(to_[0], to_[1]);
        line.spread = spread_[0] + spread_[1];
        scatter.squares = squares_[0] + squares_[1];
        scatter.cubes = cubes_[0] + cubes_[1];
        scatter.sizes = sizes_[0] + sizes_[1];
    }
    double least() const { return std::min(least_[0], least_[1]); }
    double greatest() const { return std::max(greatest_[0], greatest_[1]); }

private:
    const Vector centre_, along_;
    const double scale_;
    DoublePair from_{0, 0}, to_{0, 0}, least_{0, 0}, greatest_{0, 0};
    DoublePair spread_{0, 0}, squares_{0, 0}, cubes_{0, 0}, sizes_{0, 0};
};

double RunSums::add(const Vector* points, std::size_t count, double* residuals) {
    DoublePair from = from_, to = to_, least = least_, greatest = greatest_;
    DoublePair spread = spread_, squares = squares_, cubes = cubes_, sizes = sizes_;
    DoublePair sum{0, 0};
    const auto take = [&](const Vector& one, const Vector& other) {
        const DoublePair x = DoublePair{one.x, other.x} - centre_.x;
        const DoublePair y = DoublePair{one.y, other.y} - centre_.y;
        const DoublePair place = x * along_.x + y * along_.y;
        const DoublePair distance = y * along_.x - x * along_.y;
        from = place < from ? place : from;
        to = place > to ? place : to;
        least = distance < least ? distance : least;
        greatest = distance > greatest ? distance : greatest;
        spread += place * place;
        sum += distance;
        const DoublePair square = distance * distance;
        squares += square;
        cubes += square * distance;
        sizes += distance < 0 ? -distance : distance;
        return distance * scale_;
    };
    std::size_t i = 0;
    for (; i + 2 <= count; i += 2) {
        const DoublePair taken = take(points[i], points[i + 1]);
        residuals[i] = taken[0];
        residuals[i + 1] = taken[1];
    }
    if (i < count)
        residuals[i] = take(points[i], centre_)[0];  // the centre adds nothing
    from_ = from, to_ = to, least_ = least, greatest_ = greatest;
    spread_ = spread, squares_ = squares, cubes_ = cubes, sizes_ = sizes;
    return sum[0] + sum[1];
}

/// The first point of a run at that distance.
LargestError errorAt(const std::vector<Vector>& points, std::size_t from, const LineFit& line,
                     double distance) {
    const auto at = std::find_if(points.begin() + std::ptrdiff_t(from), points.end(),
                                 [&](const Vector& p) { return line.distanceOf(p) == distance; });
    return distance == 0 || at == points.end() ? LargestError() : LargestError{distance, *at};
}

/// All that a fit says of points that it was made from.
Scatter describeAll(const std::vector<Vector>& points, LineFit& line) {
    Scatter scatter;
    RunSums sums(line);
    line.residuals.resize(points.size());
    const std::size_t runs = std::min(points.size(), kRuns);
    std::size_t lowest = 0;
    std::size_t highest = 0;
    for (std::size_t run = 0; run < runs; ++run) {
        const std::size_t from = run * points.size() / runs;
        const std::size_t count = (run + 1) * points.size() / runs - from;
        const double least = sums.least();
        const double greatest = sums.greatest();
        const double sum = sums.add(points.data() + from, count, line.residuals.data() + from);
        scatter.ofRuns += sum * sum / double(count);
        lowest = sums.least() < least ? from : lowest;
        highest = sums.greatest() > greatest ? from : highest;
    }
    sums.give(line, scatter);
    line.above = errorAt(points, highest, line, sums.greatest());
    line.below = errorAt(points, lowest, line, sums.least());
    const int degrees = line.points - kLineParameters;
    line.deviation = degrees > 0 ? std::sqrt(scatter.squares / degrees) : 0;
    return scatter;
}

/// Nothing tells the distances from those of Gaussian noise.
bool looksGaussian(const Scatter& scatter, double count) {
    constexpr double kOfSkewness = 3;  // standard deviations
    constexpr double kOfSize = 3;
    constexpr double kMeanSize = 0.7978845608028654;  // in deviations
    constexpr double kScatterOfSize = 0.2123;         // times the root of the number of points
    constexpr double kMostOfRuns = 35;                // four deviations above the 14 of white noise
    constexpr double kShareOfRuns = 0.2;              // correlated noise has more
    const double variance = scatter.squares / count;
    const double deviation = std::sqrt(variance);
    const double skewness = scatter.cubes / count / (variance * deviation);
    const double size = scatter.sizes / count / deviation;
    return std::fabs(skewness) <= kOfSkewness * std::sqrt(6 / count) &&
           std::fabs(size - kMeanSize) <= kOfSize * kScatterOfSize / std::sqrt(count) &&
           scatter.ofRuns <= variance * std::max(kMostOfRuns, kShareOfRuns * count);
}

/// Fits without the few points beyond the cut; false: they are many, or one of them would come back.
bool leaveOutFew(const std::vector<Vector>& points, double cut, LineMoments& sum, LineFit& line) {
    constexpr std::size_t kMost = 8;
    std::array<Vector, kMost> out;
    std::size_t count = 0;
    std::vector<Vector> kept;
    kept.reserve(points.size());
    const double most = cut * line.deviation / (line.isInHeight ? line.along.x : 1);
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (std::fabs(line.residuals[i]) <= most) {
            kept.push_back(points[i]);
            continue;
        }
        if (count == kMost)
            return false;
        out[count++] = points[i];
        takeOut(points[i], sum);
    }
    solveLine(sum, line);
    describeAll(kept, line);
    line.rejected = static_cast<int>(count);
    return std::none_of(out.begin(), out.begin() + std::ptrdiff_t(count), [&](const Vector& p) {
        return std::fabs(line.distanceOf(p)) <= cut * line.deviation;
    });
}

}  // namespace

void solveLine(const LineMoments& sum, LineFit& line) {
    const double n = sum.count;
    line.centre = Vector(sum.zero.x + sum.x / n, sum.zero.y + sum.y / n);
    const double sxx = sum.xx - sum.x * sum.x / n;
    const double sxy = sum.xy - sum.x * sum.y / n;
    const double syy = sum.yy - sum.y * sum.y / n;
    const double angle = std::atan2(2 * sxy, sxx - syy) / 2;
    line.along = Vector(std::cos(angle), std::sin(angle));
    line.isInHeight = std::fabs(line.along.y) < kSteepest * std::fabs(line.along.x);
    if (line.isInHeight) {
        const double slope = sxy / sxx;
        const double size = std::hypot(1, slope);
        line.along = Vector(1 / size, slope / size);
    }
    constexpr double kVertical = 1e-15;  // what rounding leaves of x
    if (line.along.x < kVertical)
        line.along =
            std::fabs(line.along.x) < kVertical ? Vector(0, 1) : Vector(-line.along.x, -line.along.y);
    line.points = sum.count;
}

bool fitPlainLine(const std::vector<Vector>& points, const RobustFitting& fitting, LineFit& line) {
    constexpr std::size_t kFewest = 96;  // fewer do not show that some of them do not belong to the line
    constexpr double kMost = 1e8;
    if (points.size() < kLineParameters || (fitting.isRobust && points.size() < kFewest))
        return false;
    LineMoments sum = momentsOf(points);
    const bool isUsable = sum.xx <= kMost * kMost && sum.yy <= kMost * kMost &&
                          std::fabs(sum.zero.x) <= kMost && std::fabs(sum.zero.y) <= kMost;
    if (!isUsable || !sum.giveLine())
        return false;
    solveLine(sum, line);
    const Scatter scatter = describeAll(points, line);
    if (!std::isfinite(scatter.squares) || !std::isfinite(line.along.x))
        return false;
    if (!fitting.isRobust)
        return true;
    const double count = double(points.size());
    if (!looksGaussian(scatter, count))
        return false;
    const double cut = fitting.cut * ofFew(points.size(), kLineParameters);
    return (line.above.distance <= cut * line.deviation && -line.below.distance <= cut * line.deviation) ||
           leaveOutFew(points, cut, sum, line);
}

}  // namespace KvMeasure::Internal

// Strays that least squares hides show in the distribution of the residuals: far ones in the ratio of the
// mean size to the deviation (R. C. Geary, Biometrika 27 (1935) 310-332), those on one side in the skewness,
// those that lie together in the means of 16 runs of points. Where none of these is beyond what Gaussian
// noise gives, no robust start is needed, which costs ten times as much. Points are taken by four, lane by
// lane.

#include <kvmeasure/profiles/plain_line_p.h>

#include <kvmeasure/base/double_quad_p.h>
#include <kvmeasure/profiles/fit_start_p.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace KvMeasure::Internal {

namespace {

constexpr std::size_t kRuns = 16;
constexpr DoubleQuad kNone{0, 0, 0, 0};
constexpr double kSteepest = 1.7320508075688772;  // 60 degrees

KVMEASURE_INLINE_KERNEL void takeMoments(const std::vector<Vector>& points, LineMoments& sum) {
    sum.zero = points[points.size() / 2];
    DoubleQuad ofX = kNone, ofY = kNone, ofXx = kNone, ofXy = kNone, ofYy = kNone;
    std::size_t i = 0;
    for (; i + kFour <= points.size(); i += kFour) {
        DoubleQuad x, y;
        takeFour(points.data() + i, x, y);
        x -= sum.zero.x;
        y -= sum.zero.y;
        ofX += x;
        ofY += y;
        ofXx += x * x;
        ofXy += x * y;
        ofYy += y * y;
    }
    sum.count = static_cast<int>(points.size());
    sum.x = sumOf(ofX);
    sum.y = sumOf(ofY);
    sum.xx = sumOf(ofXx);
    sum.xy = sumOf(ofXy);
    sum.yy = sumOf(ofYy);
    for (; i < points.size(); ++i) {
        const double x = points[i].x - sum.zero.x;
        const double y = points[i].y - sum.zero.y;
        sum.x += x;
        sum.y += y;
        sum.xx += x * x;
        sum.xy += x * y;
        sum.yy += y * y;
    }
}

KVMEASURE_FOR_AVX2 void takeMomentsForAvx2(const std::vector<Vector>& points, LineMoments& sum) {
    takeMoments(points, sum);
}

LineMoments momentsOf(const std::vector<Vector>& points) {
    LineMoments sum;
    ofThisMachine(takeMomentsForAvx2, takeMoments)(points, sum);
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
    KVMEASURE_INLINE_KERNEL explicit RunSums(const LineFit& line)
        : centre_(line.centre), along_(line.along), scale_(line.isInHeight ? 1 / line.along.x : 1) {}

    /// Adds a run of points, whose residuals it writes. Sum of the distances. Lanes of the last block without
    /// a point hold the centre, which adds nothing.
    KVMEASURE_INLINE_KERNEL double add(const Vector* points, std::size_t count, double* residuals) {
        DoubleQuad sum = kNone;
        std::size_t i = 0;
        for (; i + kFour <= count; i += kFour) {
            DoubleQuad x, y;
            takeFour(points + i, x, y);
            DoubleQuad distance = kNone;
            take(x, y, distance);
            sum += distance;
            const DoubleQuad residual = distance * scale_;
            std::memcpy(residuals + i, &residual, sizeof(residual));
        }
        if (i < count) {
            DoubleQuad x = centre_.x + kNone;
            DoubleQuad y = centre_.y + kNone;
            for (std::size_t k = 0; i + k < count; ++k) {
                x[k] = points[i + k].x;
                y[k] = points[i + k].y;
            }
            DoubleQuad distance = kNone;
            take(x, y, distance);
            sum += distance;
            for (std::size_t k = 0; i + k < count; ++k)
                residuals[i + k] = distance[k] * scale_;
        }
        return sumOf(sum);
    }
    KVMEASURE_INLINE_KERNEL void give(LineFit& line, Scatter& scatter) const {
        line.from = leastOf(from_);
        line.to = greatestOf(to_);
        line.spread = sumOf(spread_);
        scatter.squares = sumOf(squares_);
        scatter.cubes = sumOf(cubes_);
        scatter.sizes = sumOf(sizes_);
    }
    KVMEASURE_INLINE_KERNEL double least() const { return leastOf(least_); }
    KVMEASURE_INLINE_KERNEL double greatest() const { return greatestOf(greatest_); }

private:
    KVMEASURE_INLINE_KERNEL static double leastOf(const DoubleQuad& four) {
        return std::min(std::min(four[0], four[1]), std::min(four[2], four[3]));
    }
    KVMEASURE_INLINE_KERNEL static double greatestOf(const DoubleQuad& four) {
        return std::max(std::max(four[0], four[1]), std::max(four[2], four[3]));
    }
    /// Adds four points and gives their distances.
    KVMEASURE_INLINE_KERNEL void take(DoubleQuad& x, DoubleQuad& y, DoubleQuad& distance) {
        x -= centre_.x;
        y -= centre_.y;
        const DoubleQuad place = x * along_.x + y * along_.y;
        distance = y * along_.x - x * along_.y;
        replaceWhere(place < from_, place, from_);
        replaceWhere(place > to_, place, to_);
        replaceWhere(distance < least_, distance, least_);
        replaceWhere(distance > greatest_, distance, greatest_);
        spread_ += place * place;
        const DoubleQuad square = distance * distance;
        squares_ += square;
        cubes_ += square * distance;
        DoubleQuad size = distance;
        takeSizes(size);
        sizes_ += size;
    }

    const Vector centre_, along_;
    const double scale_;
    DoubleQuad from_{0, 0, 0, 0}, to_{0, 0, 0, 0}, least_{0, 0, 0, 0}, greatest_{0, 0, 0, 0};
    DoubleQuad spread_{0, 0, 0, 0}, squares_{0, 0, 0, 0}, cubes_{0, 0, 0, 0}, sizes_{0, 0, 0, 0};
};

/// The first point of a run at that distance.
LargestError errorAt(const std::vector<Vector>& points, std::size_t from, const LineFit& line,
                     double distance) {
    const auto at = std::find_if(points.begin() + std::ptrdiff_t(from), points.end(),
                                 [&](const Vector& p) { return line.distanceOf(p) == distance; });
    return distance == 0 || at == points.end() ? LargestError() : LargestError{distance, *at};
}

/// The extreme distances, and the numbers of the points with which the runs that hold them begin.
struct Extremes {
    double least = 0, greatest = 0;
    std::size_t lowest = 0, highest = 0;
};

KVMEASURE_INLINE_KERNEL void takeRuns(const std::vector<Vector>& points, std::size_t most, LineFit& line,
                                      Scatter& scatter, Extremes& extremes) {
    RunSums sums(line);
    const std::size_t runs = std::min(points.size(), most);
    for (std::size_t run = 0; run < runs; ++run) {
        const std::size_t from = run * points.size() / runs;
        const std::size_t count = (run + 1) * points.size() / runs - from;
        const double sum = sums.add(points.data() + from, count, line.residuals.data() + from);
        scatter.ofRuns += sum * sum / double(count);
        extremes.lowest = sums.least() < extremes.least ? from : extremes.lowest;
        extremes.highest = sums.greatest() > extremes.greatest ? from : extremes.highest;
        extremes.least = sums.least();
        extremes.greatest = sums.greatest();
    }
    sums.give(line, scatter);
}

KVMEASURE_FOR_AVX2 void takeRunsForAvx2(const std::vector<Vector>& points, std::size_t most, LineFit& line,
                                        Scatter& scatter, Extremes& extremes) {
    takeRuns(points, most, line, scatter, extremes);
    KVMEASURE_LEAVE_AVX2();
}

/// All that a fit says of points that it was made from, by that many runs.
Scatter describeAll(const std::vector<Vector>& points, std::size_t runs, LineFit& line) {
    Scatter scatter;
    Extremes extremes;
    line.residuals.resize(points.size());
    ofThisMachine(takeRunsForAvx2, takeRuns)(points, runs, line, scatter, extremes);
    line.above = errorAt(points, extremes.highest, line, extremes.greatest);
    line.below = errorAt(points, extremes.lowest, line, extremes.least);
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

}  // namespace

bool looksGaussian(const std::vector<double>& distances) {
    Scatter scatter;
    const std::size_t runs = std::min(distances.size(), kRuns);
    for (std::size_t run = 0; run < runs; ++run) {
        const std::size_t from = run * distances.size() / runs;
        const std::size_t end = (run + 1) * distances.size() / runs;
        double sum = 0;
        for (std::size_t i = from; i < end; ++i) {
            const double distance = distances[i];
            sum += distance;
            scatter.squares += distance * distance;
            scatter.cubes += distance * distance * distance;
            scatter.sizes += std::fabs(distance);
        }
        scatter.ofRuns += sum * sum / double(end - from);
    }
    return looksGaussian(scatter, double(distances.size()));
}

namespace {

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
    describeAll(kept, /*runs=*/1, line);
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

bool fitAll(const std::vector<Vector>& points, LineFit& line) {
    const LineMoments sum = momentsOf(points);
    solveLine(sum, line);
    describeAll(points, /*runs=*/1, line);
    return sum.giveLine();
}

bool fitPlainLine(const std::vector<Vector>& points, const RobustFitting& fitting, LineFit& line) {
    constexpr std::size_t kFewest = 96;  // fewer do not show that some of them do not belong to the line
    constexpr double kMost = 1e8;
    if (points.size() < kLineParameters || (fitting.isRobust && points.size() < kFewest))
        return false;
    LineMoments sum = momentsOf(points);
    const double squares = sum.xx + sum.yy + sum.zero.x * sum.zero.x + sum.zero.y * sum.zero.y;
    if (!(squares <= kMost * kMost) || !sum.giveLine())
        return false;
    solveLine(sum, line);
    const Scatter scatter = describeAll(points, kRuns, line);
    if (!std::isfinite(scatter.squares + line.along.x))
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

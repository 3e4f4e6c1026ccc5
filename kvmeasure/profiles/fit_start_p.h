#pragma once
// What the robust fits of lines and arcs start from.

#include <kvmeasure/base/plane_geometry.h>

#include <cmath>
#include <vector>

namespace KvMeasure::Internal {

/// The median of values, of which it leaves a few in another order; the lower one of two. At least one, all
/// finite.
double medianOf(std::vector<double>& values);

/// The value of that rank in ascending order, 0 the least; the values are left in another order, and fewer of
/// them. Some passes over them, whatever their order. A rank that there is, all finite.
double ofRank(std::vector<double>& values, std::size_t rank);

/// The places i * all / count for i = 0, 1, 2 ...: `count` of `all` elements, evenly chosen. `count` > 0.
class EvenPlaces {
public:
    EvenPlaces(std::size_t all, std::size_t count) : count_(count), step_(all / count), rest_(all % count) {}

    std::size_t next() {
        const std::size_t at = at_;
        at_ += step_;
        over_ += rest_;
        if (over_ >= count_) {
            over_ -= count_;
            ++at_;
        }
        return at;
    }

private:
    std::size_t count_, step_, rest_;
    std::size_t at_ = 0;
    std::size_t over_ = 0;  ///< in parts of `count`
};

/// Points that a start and the deviation about it are taken from, 15 runs of 16. The median of so many
/// distances is known to a thirteenth: a cut at 3.5 standard deviations lies between 3.2 and 3.8, where there
/// are few points of the line; the fits take back what a low cut left out.
constexpr std::size_t kMostSampled = 240;

/// Points of a line that only says which points belong to the next one.
constexpr std::size_t kEnoughForRough = 120;

/// Evenly chosen points, at most kMostSampled: `points` itself where there are no more, else `sample`.
const std::vector<Vector>& sampled(const std::vector<Vector>& points, std::vector<Vector>& sample);

/// Evenly chosen points of those from number `from` to before `end`, at most `most`.
std::vector<Vector> thinned(const std::vector<Vector>& points, std::size_t from, std::size_t end,
                            std::size_t most = kEnoughForRough);

/// Distance of two points, mm, coordinates below 1e9 mm: length() without its care for greater ones.
inline double nearLength(const Vector& a, const Vector& b) {
    const double x = b.x - a.x;
    const double y = b.y - a.y;
    return std::sqrt(x * x + y * y);
}

/// At most `most` points that stand for all: medians in x and in y of as many runs of equal length, in order;
/// the points themselves where there are no more.
std::vector<Vector> blockMedians(const std::vector<Vector>& points, std::size_t most);

/// Of fewer points none is left out: a start from few of them tells good from bad points no more.
constexpr std::size_t fewestCut(int parameters) { return 4 * std::size_t(parameters); }

/// What the standard deviation of n residuals of a fit with p parameters is multiplied with before points are
/// left out by it, 1 + 5 / (n - p): that of few residuals may come out small (P. J. Rousseeuw, A. M. Leroy:
/// Robust regression and outlier detection, 1987, chapter 5).
double ofFew(std::size_t count, int parameters);

/// The standard deviation of residuals by their median size, 1.4826 ofFew() times it, which uses them up;
/// from their mean size where more than half are 0. 0 without residuals.
double robustDeviation(std::vector<double>& sizes, int parameters);

/// The points whose coordinates are finite and below 1e9 mm: `points` itself where all are, else `kept`.
const std::vector<Vector>& finitePoints(const std::vector<Vector>& points, std::vector<Vector>& kept);

}  // namespace KvMeasure::Internal
